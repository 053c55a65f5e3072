#include "geometry/mesh/MeshAlgorithm.h"

#include "geometry/mesh/Mesh.h"
#include "platform/kvident/TigerHash.h"
#include "support/CommaLocale.h"
#include "support/MeshBuilder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace Kavrel {
namespace {

using namespace Testing;

TEST(MeshAlgorithm, centreOfGravityWithoutAreaIsNotFinite)
{
  double area = -1;
  const Mesh points = meshFromText("1 2 3, 4 5 6");
  EXPECT_FALSE(std::isfinite(MeshAlgorithm::calculateAreaWeightedCenterOfGravity(points, area).x()));
  EXPECT_EQ(area, 0);
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
