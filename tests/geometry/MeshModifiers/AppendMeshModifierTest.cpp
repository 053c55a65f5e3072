#include "geometry/MeshModifiers/AppendMeshModifier.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/mesh/Mesh.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"

#include <gtest/gtest.h>

namespace Kavrel {
namespace {

using namespace Testing;
using System = CoordinateSystem<double, 3>;

System quarterTurnAndShift()
{
  System system;
  const Vector<double, 3> columns[3] = {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}};
  system.setOrientation(OrthMatrix<double, 3>(columns));
  system.setOrigin(Point<double, 3>(10, 0, 0));
  return system;
}

Mesh solidWithNormals()
{
  Mesh mesh = tetrahedron();
  mesh.computeNormals(false, true);
  return mesh;
}

TEST(AppendMeshModifier, placesCopiesBehindWhatIsThere)
{
  const Mesh source = [] {
    Mesh mesh = solidWithNormals();
    mesh.computeTopology();
    return mesh;
  }();
  Mesh mesh = cube();
  mesh.getArea();
  const System system = quarterTurnAndShift();
  AppendMeshModifier(mesh).appendMesh(source, &system);

  ASSERT_EQ(mesh.numberOfVertices(), 12U);
  ASSERT_EQ(mesh.numberOfTriangles(), 16U);
  EXPECT_FALSE(mesh.hasTopology());
  for (unsigned i = 0; i < 4; ++i) {
    const Vertex &from = source.getVertexRef(i), &to = mesh.getVertexRef(8 + i);
    EXPECT_THAT(to, IsNear(Vector<double, 3>(10 - from.y(), from.x(), from.z()), 1e-15));
    const Vector<double, 3>& n = from.getNormal();
    EXPECT_THAT(to.getNormal(), IsNear(Vector<double, 3>(-n.y(), n.x(), n.z()), 1e-15));
    EXPECT_EQ(to.getIndex(), 8 + i);
    EXPECT_EQ(to.getHalfEdge(), nullptr);
  }
  for (unsigned t = 0; t < 4; ++t)
    for (unsigned corner = 0; corner < 3; ++corner)
      EXPECT_EQ(mesh.getTriangleRef(12 + t).getVertex(corner),
                mesh.getVertex(8 + source.getTriangleRef(t).getVertexRef(corner).getIndex()));
  EXPECT_NEAR(mesh.getArea(), 6 + 1.5 + std::sqrt(3) / 2, 1e-12) << "the measures are taken anew";
}

TEST(AppendMeshModifier, normalsNeedBothSides)
{
  const std::tuple<const char*, bool, bool, bool, bool> rows[] = {{"both", false, true, true, true},
                                                                  {"target only", false, true, false, false},
                                                                  {"source only", false, false, true, false},
                                                                  {"neither", false, false, false, false},
                                                                  {"to an empty mesh", true, false, true, true},
                                                                  {"bare to an empty mesh", true, true, false, false}};
  for (const auto& [what, targetEmpty, targetHas, sourceHas, expected] : rows) {
    SCOPED_TRACE(what);
    Mesh mesh;
    if (!targetEmpty) mesh = targetHas ? solidWithNormals() : tetrahedron();
    mesh.setHasNormals(targetHas);
    mesh.appendMesh(sourceHas ? solidWithNormals() : tetrahedron());
    EXPECT_EQ(mesh.hasNormals(), expected);
  }
}

TEST(AppendMeshModifier, buildsTopologyOnceForAWholeList)
{
  const auto solid = std::make_shared<const Mesh>(tetrahedron());
  const auto empty = std::make_shared<const Mesh>();
  Mesh mesh = tetrahedron();
  mesh.computeTopology();
  AppendMeshModifier::PlacedMeshes list;
  list.emplace_back(solid, quarterTurnAndShift());
  list.emplace_back(nullptr, System());
  list.emplace_back(empty, System());
  list.emplace_back(solid, System());
  {
    AppendMeshModifier append(mesh);
    append(list);
    EXPECT_EQ(mesh.numberOfHalfEdges(), 12U);
  }
  EXPECT_EQ(mesh.numberOfHalfEdges(), 36U);
  EXPECT_TRUE(mesh.isTopologyConsistent());
  EXPECT_EQ(mesh.getVertexRef(8), solid->getVertexRef(0));
}

TEST(AppendMeshModifier, anEmptyListInvalidatesNothingButAnEmptyMeshDoes)
{
  const auto areaAfter = [](auto&& append) {
    Mesh mesh = tetrahedron();
    mesh.getArea();
    for (Vertex& vertex : mesh.getVertexCollection())
      vertex *= 2; // behind the back of the mesh
    append(mesh);
    return mesh.getArea();
  };
  const double before = tetrahedron().getArea();
  EXPECT_EQ(areaAfter([](Mesh& mesh) { AppendMeshModifier(mesh).appendMeshes({}); }), before);
  EXPECT_EQ(areaAfter([](Mesh& mesh) {
              AppendMeshModifier(mesh).appendMeshes({{nullptr, System()}, {std::make_shared<const Mesh>(), System()}});
            }),
            before);
  EXPECT_EQ(areaAfter([](Mesh& mesh) { AppendMeshModifier(mesh).appendMesh(Mesh()); }), 4 * before);
  Mesh point;
  point.addVertex(0, 0, 0);
  for (const bool listFirst : {true, false})
    EXPECT_EQ(areaAfter([&](Mesh& mesh) {
                AppendMeshModifier append(mesh);
                if (listFirst) append.appendMeshes({});
                append.appendMesh(point);
                if (!listFirst) append.appendMeshes({});
              }),
              4 * before);
}

} // namespace
} // namespace Kavrel
