#include "geometry/mesh/MeshNormalCalculator.h"

#include "geometry/mesh/Mesh.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Kavrel::Testing {
namespace {

using Normal = Vector<double, 3>;

std::vector<Normal> normalsOf(const Mesh& mesh, bool useAngles)
{
  std::vector<Normal> normals;
  EXPECT_TRUE(MeshNormalCalculator::calculate(mesh, normals, false, useAngles));
  return normals;
}

/// Normals corner by corner, weighted by the area of the triangle or by the angle between the two edges at the corner.
std::vector<Normal> weighted(const Mesh& mesh, bool useAngles)
{
  std::vector<Normal> sums(mesh.numberOfVertices());
  for (const Triangle& triangle : mesh.getTriangleCollection())
    for (unsigned i = 0; i < 3; ++i) {
      const Vertex& p = triangle.getVertexRef(i);
      const Normal u = triangle.getVertexRef((i + 1) % 3) - p, v = triangle.getVertexRef((i + 2) % 3) - p;
      const double area = u.cross(v).length(), angle = std::atan2(area, u.dot(v));
      sums[p.getIndex()] += u.cross(v) * (useAngles ? angle / area : 1);
    }
  for (Normal& sum : sums)
    sum /= sum.length();
  return sums;
}

TEST(MeshNormalCalculator, WeightsByAreaOrAngle)
{
  RandomGeometry random(5211);
  for (const Mesh& surface : {sphere(2000), hills(20, 30), cube()})
    for (const bool useAngles : {false, true}) {
      const Mesh mesh = shuffled(surface, random);
      const auto actual = normalsOf(mesh, useAngles), expected = weighted(mesh, useAngles);
      for (std::size_t i = 0; i < actual.size(); ++i)
        ASSERT_THAT(actual[i], IsNear(expected[i], 1e-12)) << i;
    }
}

TEST(MeshNormalCalculator, FallsBackWhereNothingIsLeft)
{
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Mesh withNaN = meshFromText("0 0 0, 1 0 0, 0 0 1, 0 1 0, 0 0 0 | 0 1 2, 0 3 4");
  withNaN.getVertexRef(3).set(nan, 0, 0);
  const std::tuple<const char*, Mesh, Normal> rows[] = {
      {"in no triangle", meshFromText("0 0 0, 1 0 0, 0 1 0, 0 0 1 | 1 2 3"), Normal(0, 0, 1)},
      {"two opposite ones cancel", meshFromText("0 0 0, 1 0 0, 0 0 1 | 0 1 2, 0 2 1"), Normal(0, -1, 0)},
      {"only degenerate ones", meshFromText("0 0 0, 1 0 0, 2 0 0 | 0 1 2"), Normal(0, 0, 1)},
      {"a degenerate one first", meshFromText("0 0 0, 1 0 0, 2 0 0, 0 0 1 | 0 1 2, 0 1 3, 0 3 1"), Normal(0, -1, 0)},
      {"an edge without length", meshFromText("0 0 0, 0 0 0, 1 0 0, 0 0 1 | 0 1 2, 0 2 3"), Normal(0, -1, 0)},
      {"not a number elsewhere", std::move(withNaN), Normal(0, -1, 0)}};
  for (const auto& [name, mesh, normal] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(normalsOf(mesh, false)[0], normal);
    EXPECT_THAT(normalsOf(mesh, true)[0], IsNear(normal, 1e-15));
  }
  const Mesh tiny = meshFromText("0 0 0, 5e-7 0 0, 0 0 5e-7 | 0 1 2");
  EXPECT_EQ(normalsOf(tiny, false)[0], Normal(0, 0, 1));
  EXPECT_THAT(normalsOf(tiny, true)[0], IsNear(Normal(0, -1, 0), 1e-15));
}

TEST(MeshNormalCalculator, GivesHangingNodesTheMeanOfTheirEdge)
{
  // A roof whose right half is split once more: vertex 4 hangs on the edge from 0 to 1.
  const Mesh mesh = meshFromText("0 0 0, 0 2 0, -1 1 -1, 1 1 -3, 0 1 0 | 0 1 2, 0 3 4, 4 3 1");
  MeshNormalCalculator calculator(mesh);
  EXPECT_TRUE(calculator.setUseConstraints(false).calculateNormals() && !calculator.calculateNormals());
  const auto unconstrained = calculator.getNormals();
  EXPECT_TRUE(calculator.setUseConstraints(true).calculateNormals()) << "an option has changed";
  const auto normals = calculator.getNormals();
  EXPECT_THAT(normals[4], IsNear((normals[0] + normals[1]).getNormalized(), 1e-15));
  EXPECT_GT((normals[4] - unconstrained[4]).length(), 0.1);
  for (unsigned i = 0; i < 4; ++i)
    EXPECT_EQ(normals[i], unconstrained[i]);
}

TEST(MeshNormalCalculator, LeavesNormalsOfAMeshAloneUntilTheyAreRecomputed)
{
  Mesh mesh = meshFromText("0 0 0, 1 0 0, 0 0 1 | 0 1 2");
  mesh.computeNormals(false, true);
  mesh.getVertexRef(0).setNormal(1, 0, 0);
  mesh.computeNormals(false, false);
  EXPECT_EQ(mesh.getVertexRef(0).getNormal(), Normal(1, 0, 0));
  mesh.getVertexRef(2).set(0, 0, -1);
  mesh.recomputeNormals(false, false);
  EXPECT_EQ(mesh.getVertexRef(0).getNormal(), Normal(0, 1, 0));
}

} // namespace
} // namespace Kavrel::Testing
