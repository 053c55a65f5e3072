#include "geometry/mesh/MeshAlgorithm.h"

#include "geometry/mesh/Mesh.h"
#include "platform/kvident/TigerHash.h"
#include "support/CommaLocale.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace Kavrel {
namespace {

using namespace Testing;

TEST(MeshAlgorithm, centreOfGravityIsThatOfTheSurface)
{
  struct Row
  {
    const char* what;
    Mesh mesh;
    Vector<double, 3> centre;
    double area;
  };
  const double slope = std::sqrt(3) / 2, corner = (1 / 3.0 + slope / 3) / (1.5 + slope);
  const Row rows[] = {{"empty", Mesh(), {0, 0, 0}, 0},
                      {"cube", cube(), {0.5, 0.5, 0.5}, 6},
                      {"one triangle", meshFromText("0 0 0, 3 0 0, 0 6 0 | 0 1 2"), {1, 2, 0}, 9},
                      {"two of unequal size",
                       meshFromText("0 0 0, 3 0 0, 0 3 0, 0 0 9, 6 0 9, 0 6 9 | 0 1 2, 3 4 5"),
                       {1.8, 1.8, 7.2},
                       22.5},
                      {"tetrahedron", tetrahedron(), {corner, corner, corner}, 1.5 + slope}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    double area = -1;
    EXPECT_THAT(MeshAlgorithm::calculateAreaWeightedCenterOfGravity(row.mesh, area), IsNear(row.centre, 1e-14));
    EXPECT_NEAR(area, row.area, 1e-13);
  }
}

TEST(MeshAlgorithm, centreOfGravityWithoutAreaIsNotFinite)
{
  double area = -1;
  const Mesh points = meshFromText("1 2 3, 4 5 6");
  EXPECT_FALSE(std::isfinite(MeshAlgorithm::calculateAreaWeightedCenterOfGravity(points, area).x()));
  EXPECT_EQ(area, 0);
}

TEST(MeshAlgorithm, areaWeightedNormalVanishesForClosedSurfaces)
{
  for (const std::size_t triangles : {6U, 100U, 5000U})
    EXPECT_NEAR(MeshAlgorithm::calculateAreaWeightedNormal(sphere(triangles, 3)).length(), 0, 1e-11);
  // A surface over the unit cells has their area as its z component, whatever its height.
  EXPECT_NEAR(MeshAlgorithm::calculateAreaWeightedNormal(hills(6, 9)).z(), 54, 1e-11);
}

TEST(MeshAlgorithm, hashIsTheDigestOfTheSumsInSixDigits)
{
  Mesh mesh = meshFromText("1 2 3.25, 1000 0 0, 0 0.5 0 | 0 1 2, 0 2 1, 1 1 1");
  const CommaLocale foreign;
  const std::string bare = MeshAlgorithm::computeHash(mesh);
  for (Vertex& vertex : mesh.getVertexCollection())
    vertex.setNormal(0, 0.125, 0);
  const std::string unmarked = MeshAlgorithm::computeHash(mesh);
  mesh.setHasNormals(true);
  const std::string withNormals = MeshAlgorithm::computeHash(mesh);
  // The coordinates add up to 1006.75, the normals to 0.375, the indices to 9.
  EXPECT_EQ(bare, TigerHash::tHash("1006.759"));
  EXPECT_EQ(unmarked, bare) << "normals count only when the mesh says that it has them";
  EXPECT_EQ(withNormals, TigerHash::tHash("1006.750.3759"));
  EXPECT_EQ(MeshAlgorithm::computeHash(Mesh()), TigerHash::tHash("00"));
}

} // namespace
} // namespace Kavrel
