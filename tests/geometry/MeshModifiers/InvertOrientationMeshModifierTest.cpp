#include "geometry/MeshModifiers/InvertOrientationMeshModifier.h"

#include "geometry/mesh/Mesh.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"

#include <gtest/gtest.h>

namespace Kavrel {
namespace {

using namespace Testing;

TEST(InvertOrientationMeshModifier, turnsTrianglesNormalsAndMeasures)
{
  Mesh mesh = hills(5, 7);
  mesh.computeNormals(false, true);
  mesh.computeTopology();
  const Mesh original = mesh;
  const Vector<double, 3> normal = mesh.getAreaWeightedNormal();
  const double area = mesh.getArea();
  const std::string hash = mesh.getHash();

  InvertOrientationMeshModifier(mesh).invertOrientation();
  EXPECT_EQ(mesh.getAreaWeightedNormal(), -normal);
  EXPECT_EQ(mesh.getArea(), area);
  EXPECT_NE(mesh.getHash(), hash);
  EXPECT_TRUE(mesh.isTopologyConsistent());
  for (auto edge = mesh.beginEdge(); edge != mesh.endEdge(); ++edge)
    if (const HalfEdge* other = edge->getNeighbourEdge()) {
      EXPECT_EQ(edge->getVertex(), other->getPreviousEdge()->getVertex());
    }
  for (unsigned i = 0; i < mesh.numberOfVertices(); ++i)
    EXPECT_EQ(mesh.getVertexRef(i).getNormal(), -original.getVertexRef(i).getNormal());
  mesh.clearCachedData();
  EXPECT_THAT(mesh.getAreaWeightedNormal(), IsNear(-normal, 1e-12)) << "measured anew it is the same";

  mesh.invertOrientation();
  EXPECT_EQ(mesh.getHash(), hash);
  for (unsigned t = 0; t < mesh.numberOfTriangles(); ++t)
    for (unsigned corner = 0; corner < 3; ++corner)
      EXPECT_EQ(mesh.getTriangleRef(t).getVertexRef(corner).getIndex(),
                original.getTriangleRef(t).getVertexRef(corner).getIndex());
}

} // namespace
} // namespace Kavrel
