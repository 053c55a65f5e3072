#include "geometry/mesh/MeshNormalCalculator.h"

#include "geometry/mesh/Mesh.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace Kavrel::Testing {
namespace {

using Normal = Vector<double, 3>;

std::vector<Normal> normalsOf(const Mesh& mesh, bool useConstraints, bool useAngles)
{
  std::vector<Normal> normals;
  EXPECT_TRUE(MeshNormalCalculator::calculate(mesh, normals, useConstraints, useAngles));
  return normals;
}

/// Angle-weighted normals corner by corner, each angle from the two edges at its corner.
std::vector<Normal> angleWeighted(const Mesh& mesh)
{
  std::vector<Normal> sums(mesh.numberOfVertices());
  for (const Triangle& triangle : mesh.getTriangleCollection())
    for (unsigned i = 0; i < 3; ++i) {
      const Vertex& p = triangle.getVertexRef(i);
      const Normal u = triangle.getVertexRef((i + 1) % 3) - p, v = triangle.getVertexRef((i + 2) % 3) - p;
      const double angle = std::atan2(u.cross(v).length(), u.dot(v));
      sums[p.getIndex()] += u.cross(v) / u.cross(v).length() * angle;
    }
  for (Normal& sum : sums)
    sum /= sum.length();
  return sums;
}

TEST(MeshNormalCalculator, WeightsByAreaOrAngle)
{
  // At vertex 0 a large triangle in the xy plane meets a small one in the xz plane, at equal angles of 90 degrees.
  const Mesh mesh = meshFromText("0 0 0, 4 0 0, 0 4 0, 0 0 1, 1 0 0 | 0 1 2, 0 3 4");
  const double r = 1 / std::numbers::sqrt2;
  const double s = 1 / std::sqrt(257.0);
  EXPECT_THAT(normalsOf(mesh, false, true)[0], IsNear(Normal(0, r, r), 1e-15));
  EXPECT_THAT(normalsOf(mesh, false, false)[0], IsNear(Normal(0, s, 16 * s), 1e-15));
  // The size of a triangle has no part in the weight of its angles.
  const Mesh large = meshFromText("0 0 0, 4 0 0, 0 4 0, 0 0 900, 900 0 0 | 0 1 2, 0 3 4");
  EXPECT_THAT(normalsOf(large, false, true)[0], IsNear(Normal(0, r, r), 1e-15));
}

TEST(MeshNormalCalculator, AgreesWithAnglesBetweenEdges)
{
  RandomGeometry random(5211);
  for (const Mesh& surface : {sphere(2000), hills(20, 30), cube()}) {
    const Mesh mesh = shuffled(surface, random);
    const auto actual = normalsOf(mesh, false, true), expected = angleWeighted(mesh);
    for (std::size_t i = 0; i < actual.size(); ++i)
      ASSERT_THAT(actual[i], IsNear(expected[i], 1e-12)) << i;
  }
}

TEST(MeshNormalCalculator, FallsBackWhereNothingIsLeft)
{
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Mesh withNaN = meshFromText("0 0 0, 1 0 0, 0 0 1, 0 1 0, 0 0 0 | 0 1 2, 0 3 4");
  withNaN.getVertexRef(3).set(nan, 0, 0);
  // The normals at vertex 0 by area and by angle.
  const std::tuple<const char*, Mesh, Normal, Normal> rows[] = {
      {"in no triangle", meshFromText("0 0 0, 1 0 0, 0 1 0, 0 0 1 | 1 2 3"), Normal(0, 0, 1), Normal(0, 0, 1)},
      {"no triangle at all", meshFromText("0 0 0, 1 0 0"), Normal(0, 0, 1), Normal(0, 0, 1)},
      {"two opposite ones cancel", meshFromText("0 0 0, 1 0 0, 0 0 1 | 0 1 2, 0 2 1"), Normal(0, -1, 0),
       Normal(0, -1, 0)},
      {"only degenerate ones", meshFromText("0 0 0, 1 0 0, 2 0 0 | 0 1 2"), Normal(0, 0, 1), Normal(0, 0, 1)},
      {"a degenerate one first", meshFromText("0 0 0, 1 0 0, 2 0 0, 0 0 1 | 0 1 2, 0 1 3, 0 3 1"), Normal(0, -1, 0),
       Normal(0, -1, 0)},
      {"an edge without length", meshFromText("0 0 0, 0 0 0, 1 0 0, 0 0 1 | 0 1 2, 0 2 3"), Normal(0, -1, 0),
       Normal(0, -1, 0)},
      {"legs of half a micron", meshFromText("0 0 0, 5e-7 0 0, 0 0 5e-7 | 0 1 2"), Normal(0, 0, 1), Normal(0, -1, 0)},
      {"not a number elsewhere", std::move(withNaN), Normal(0, -1, 0), Normal(0, -1, 0)},
  };
  for (const auto& [name, mesh, byArea, byAngles] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(normalsOf(mesh, false, false)[0], byArea);
    EXPECT_THAT(normalsOf(mesh, false, true)[0], IsNear(byAngles, 1e-15));
  }
}

/// A roof whose right half is split once more: vertex 4 hangs on the edge from 0 to 1.
Mesh hangingRoof() { return meshFromText("0 0 0, 0 2 0, -1 1 -1, 1 1 -3, 0 1 0 | 0 1 2, 0 3 4, 4 3 1"); }

TEST(MeshNormalCalculator, GivesHangingNodesTheMeanOfTheirEdge)
{
  const Mesh mesh = hangingRoof();
  ASSERT_TRUE(mesh.isConstraintVertex(4));
  const auto normals = normalsOf(mesh, true, true), unconstrained = normalsOf(mesh, false, true);
  EXPECT_THAT(normals[4], IsNear((normals[0] + normals[1]).getNormalized(), 1e-15));
  EXPECT_GT((normals[4] - unconstrained[4]).length(), 0.1);
  for (unsigned i = 0; i < 4; ++i)
    EXPECT_EQ(normals[i], unconstrained[i]);
}

TEST(MeshNormalCalculator, KeepsItsResultUntilAnOptionChanges)
{
  const Mesh mesh = cube();
  MeshNormalCalculator calculator(mesh);
  EXPECT_TRUE(calculator.calculateNormals());
  EXPECT_FALSE(calculator.calculateNormals());
  calculator.setUseAngles(false).setUseConstraintsAndAngles(false, false);
  EXPECT_EQ(calculator.getNormals().size(), 8u);
  for (const auto& change : {&MeshNormalCalculator::setUseAngles, &MeshNormalCalculator::setUseConstraints}) {
    (calculator.*change)(true);
    EXPECT_TRUE(calculator.getNormals().empty());
    EXPECT_TRUE(calculator.calculateNormals());
  }
  std::vector<Normal> out(3);
  EXPECT_FALSE(MeshNormalCalculator::calculate(Mesh(), out, false, false));
  EXPECT_TRUE(out.empty());
}

TEST(MeshNormalCalculator, LeavesNormalsOfAMeshAloneUntilTheyAreRecomputed)
{
  Mesh mesh = meshFromText("0 0 0, 1 0 0, 0 0 1, 5 5 5 | 0 1 2");
  mesh.computeTopology();
  EXPECT_EQ(mesh.getVertexRef(3).getHalfEdge(), nullptr);
  mesh.computeNormals(false, true);
  EXPECT_EQ(mesh.getVertexRef(3).getNormal(), Normal(0, 0, 1)) << "in no triangle";
  mesh.check();
  const std::string hash = mesh.getHash();
  mesh.getVertexRef(0).setNormal(1, 0, 0);
  mesh.computeNormals(false, false);
  EXPECT_EQ(mesh.getVertexRef(0).getNormal(), Normal(1, 0, 0));
  EXPECT_EQ(mesh.getHash(), hash) << "nothing changed";
  mesh.getVertexRef(2).set(0, 0, -1);
  mesh.recomputeNormals(false, false);
  EXPECT_EQ(mesh.getVertexRef(0).getNormal(), Normal(0, 1, 0));
  EXPECT_NE(mesh.getHash(), hash);

  Mesh empty;
  empty.computeNormals(false, true);
  EXPECT_FALSE(empty.hasNormals());
}

} // namespace
} // namespace Kavrel::Testing
