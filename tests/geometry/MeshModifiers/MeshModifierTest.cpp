#include "geometry/MeshModifiers/AppendMeshModifier.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/mesh/Mesh.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"

#include <gtest/gtest.h>
#include <string>

namespace Kavrel {
namespace {

using namespace Testing;

/// A modifier that opens its flags and edits nothing by itself.
struct Edit : MeshModifier
{
  using MeshModifier::clearTopology;
  using MeshModifier::createTopology;
  using MeshModifier::getData;
  using MeshModifier::setCacheFlags;
  using MeshModifier::updateTopology;

  explicit Edit(Mesh& meshToEdit) : MeshModifier(meshToEdit) {}
};

/// Two triangles of a square, with everything measured.
Mesh measuredSquare(bool withTopology)
{
  Mesh mesh = meshFromText("0 0 0, 1 0 0, 1 1 0, 0 1 0 | 0 1 2, 0 2 3");
  if (withTopology) mesh.computeTopology();
  mesh.getArea();
  mesh.getAreaWeightedNormal();
  mesh.getCenterOfGravity();
  mesh.getHash();
  return mesh;
}

/// Which measures a mesh computed anew after its vertices were moved behind its back.
std::string staleMeasures(Mesh& mesh)
{
  std::string stale;
  if (mesh.getArea() != 1) stale += "area ";
  if (mesh.getAreaWeightedNormal().z() != 1) stale += "normal ";
  if (mesh.getHash() != measuredSquare(false).getHash()) stale += "hash ";
  return stale;
}

TEST(MeshModifier, dropsTheMeasuresThatItsFlagsName)
{
  const std::pair<int, std::string> rows[] = {
      {-1, "area normal hash "}, {0, ""}, {1, "area normal "}, {2, ""}, {4, "hash "}, {8, ""}};
  for (const auto& [flags, stale] : rows) {
    SCOPED_TRACE(flags);
    Mesh mesh = measuredSquare(false);
    {
      Edit edit(mesh);
      edit.setCacheFlags(flags);
      for (Vertex& vertex : edit.getData().vertices)
        vertex.x() *= 2;
    }
    EXPECT_EQ(staleMeasures(mesh), stale);
    EXPECT_EQ(mesh.getCenterOfGravity().x(), flags & 2 ? 1 : 0.5);
  }
}

TEST(MeshModifier, commitsTopologyByMode)
{
  using M = MeshModifier;
  constexpr int all = -1, none = 0, withoutTopology = ~int(M::InvalidateTopology);
  // At the end the half-edges: 6 when built before the third triangle came, 9 after.
  const std::tuple<const char*, M::TopologyCalcMode, int, bool, std::size_t> rows[] = {
      {"clear", M::TopologyClear, all, true, 0},
      {"update", M::TopologyUpdate, all, true, 9},
      {"update, had none", M::TopologyUpdate, all, false, 0},
      {"update, nothing stale", M::TopologyUpdate, withoutTopology, true, 6},
      {"create", M::TopologyCreate, all, true, 9},
      {"create, had none", M::TopologyCreate, all, false, 9},
      {"create, nothing stale, had none", M::TopologyCreate, withoutTopology, false, 9},
      {"create, nothing stale, had some", M::TopologyCreate, withoutTopology, true, 6},
      {"create without any flag", M::TopologyCreate, none, false, 0},
      {"keep", M::TopologyKeep, all, true, 6},
  };
  for (const auto& [what, mode, flags, had, halfEdges] : rows) {
    SCOPED_TRACE(what);
    Mesh mesh = measuredSquare(had);
    {
      Edit edit(mesh);
      edit.setTopologyCalcMode(mode);
      edit.setCacheFlags(flags);
      mesh.addTriangle(0, 3, 2);
    }
    EXPECT_EQ(mesh.numberOfHalfEdges(), halfEdges);
  }
}

TEST(MeshModifier, dealsWithTopologyOnce)
{
  Mesh mesh = measuredSquare(true);
  {
    Edit edit(mesh);
    EXPECT_TRUE(edit.clearTopology());
    EXPECT_FALSE(edit.clearTopology() || edit.updateTopology());
    EXPECT_FALSE(edit.createTopology()) << "the mesh had topology when the edit began";
  }
  EXPECT_FALSE(mesh.hasTopology());
}

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
  const System system = quarterTurnAndShift();
  for (const bool itself : {false, true}) {
    SCOPED_TRACE(itself ? "of itself" : "of another one");
    Mesh mesh = solidWithNormals();
    mesh.computeTopology();
    mesh.getArea();
    const Mesh source(mesh);
    mesh.appendMesh(itself ? mesh : source, &system);

    ASSERT_EQ(mesh.numberOfVertices(), 8U);
    ASSERT_EQ(mesh.numberOfTriangles(), 8U);
    EXPECT_TRUE(mesh.numberOfHalfEdges() == 24 && mesh.isTopologyConsistent());
    for (unsigned i = 0; i < 4; ++i) {
      const Vertex &from = source.getVertexRef(i), &to = mesh.getVertexRef(4 + i);
      EXPECT_THAT(to, IsNear(Vector<double, 3>(10 - from.y(), from.x(), from.z()), 1e-15));
      const Vector<double, 3>& n = from.getNormal();
      EXPECT_THAT(to.getNormal(), IsNear(Vector<double, 3>(-n.y(), n.x(), n.z()), 1e-15));
      EXPECT_EQ(to.getIndex(), 4 + i);
      for (unsigned corner = 0; corner < 3; ++corner)
        EXPECT_EQ(mesh.getTriangleRef(4 + i).getVertex(corner),
                  mesh.getVertex(4 + source.getTriangleRef(i).getVertexRef(corner).getIndex()));
    }
    EXPECT_NEAR(mesh.getArea(), 2 * source.getArea(), 1e-12) << "the measures are taken anew";
  }
}

TEST(AppendMeshModifier, normalsNeedBothSides)
{
  for (const bool targetIsEmpty : {false, true})
    for (const bool targetHas : {false, true})
      for (const bool sourceHas : {false, true}) {
        SCOPED_TRACE(testing::Message() << targetIsEmpty << targetHas << sourceHas);
        Mesh mesh = targetIsEmpty ? Mesh() : tetrahedron();
        mesh.setHasNormals(targetHas);
        mesh.appendMesh(sourceHas ? solidWithNormals() : tetrahedron());
        EXPECT_EQ(mesh.hasNormals(), sourceHas && (targetHas || targetIsEmpty));
      }
}

TEST(AppendMeshModifier, takesAWholeListAtOnce)
{
  const auto solid = std::make_shared<const Mesh>(tetrahedron());
  Mesh mesh = tetrahedron();
  mesh.computeTopology();
  const double area = mesh.getArea();
  for (Vertex& vertex : mesh.getVertexCollection())
    vertex *= 2; // behind the back of the mesh
  AppendMeshModifier(mesh).appendMeshes({{nullptr, System()}, {std::make_shared<const Mesh>(), System()}});
  EXPECT_EQ(mesh.getArea(), area) << "nothing came";
  {
    AppendMeshModifier append(mesh);
    append.appendMeshes({});
    append.appendMeshes({{solid, quarterTurnAndShift()}, {nullptr, System()}, {solid, System()}});
    append.appendMeshes({});
    EXPECT_EQ(mesh.numberOfHalfEdges(), 12U) << "topology waits for the end";
  }
  EXPECT_TRUE(mesh.numberOfHalfEdges() == 36U && mesh.isTopologyConsistent());
  EXPECT_NEAR(mesh.getArea(), 6 * area, 1e-12);
}

} // namespace
} // namespace Kavrel
