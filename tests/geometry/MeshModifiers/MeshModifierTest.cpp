#include "geometry/MeshModifiers/MeshModifier.h"

#include "geometry/mesh/Mesh.h"
#include "support/MeshBuilder.h"

#include <gtest/gtest.h>
#include <string>

namespace Kavrel {
namespace {

using namespace Testing;

/// A modifier that opens its flags and edits nothing by itself.
struct Edit : MeshModifier
{
  using MeshModifier::CacheInvalidate;
  using MeshModifier::clearTopology;
  using MeshModifier::createTopology;
  using MeshModifier::getData;
  using MeshModifier::halfEdgeCount;
  using MeshModifier::isInvalid;
  using MeshModifier::setCacheFlags;
  using MeshModifier::setInvalid;
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
  const std::tuple<int, const char*, double> rows[] = {
      {-1, "area normal hash ", 1}, {0, "", 0.5}, {1, "area normal ", 0.5}, {4, "hash ", 0.5}, {8, "", 0.5},
      {5, "area normal hash ", 0.5}};
  for (const auto& [flags, stale, centerX] : rows) {
    SCOPED_TRACE(flags);
    Mesh mesh = measuredSquare(false);
    {
      Edit edit(mesh);
      edit.setCacheFlags(flags);
      for (Vertex& vertex : edit.getData().vertices)
        vertex.x() *= 2;
    }
    EXPECT_EQ(staleMeasures(mesh), stale);
    EXPECT_EQ(mesh.getCenterOfGravity().x(), centerX);
  }
  Mesh mesh = measuredSquare(false);
  {
    Edit edit(mesh);
    edit.setCacheFlags(MeshModifier::InvalidateCenterOfGravity);
    for (Vertex& vertex : edit.getData().vertices)
      vertex.x() *= 2;
  }
  EXPECT_EQ(mesh.getCenterOfGravity().x(), 1);
}

TEST(MeshModifier, commitsTopologyByMode)
{
  using M = MeshModifier;
  constexpr int all = -1, none = 0, withoutTopology = ~int(M::InvalidateTopology);
  // At the end the half-edges: 6 when built before the third triangle came, 9 after.
  const std::tuple<const char*, M::TopologyCalcMode, int, bool, std::size_t> rows[] = {
      {"clear", M::TopologyClear, all, true, 0},
      {"clear, nothing stale", M::TopologyClear, withoutTopology, true, 6},
      {"clear, had none", M::TopologyClear, all, false, 0},
      {"update", M::TopologyUpdate, all, true, 9},
      {"update, had none", M::TopologyUpdate, all, false, 0},
      {"update, nothing stale", M::TopologyUpdate, withoutTopology, true, 6},
      {"create", M::TopologyCreate, all, true, 9},
      {"create, had none", M::TopologyCreate, all, false, 9},
      {"create, nothing stale, had none", M::TopologyCreate, withoutTopology, false, 9},
      {"create, nothing stale, had some", M::TopologyCreate, withoutTopology, true, 6},
      {"create without any flag", M::TopologyCreate, none, false, 0},
      {"keep", M::TopologyKeep, all, true, 6},
      {"keep, had none", M::TopologyKeep, all, false, 0}};
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
    edit.setTopologyCalcMode(MeshModifier::TopologyUpdate);
    EXPECT_TRUE(edit.clearTopology());
    EXPECT_EQ(edit.halfEdgeCount(), 0U);
    EXPECT_FALSE(edit.clearTopology());
    EXPECT_FALSE(edit.updateTopology());
    EXPECT_FALSE(edit.createTopology()) << "the mesh had topology when the edit began";
  }
  EXPECT_FALSE(mesh.hasTopology());
}

TEST(MeshModifier, remembersTheTopologyOfAMeshThatItClears)
{
  Mesh mesh = measuredSquare(true);
  {
    const Edit edit(mesh);
    mesh.clear();
    mesh = measuredSquare(false);
    EXPECT_FALSE(mesh.hasTopology());
  }
  EXPECT_EQ(mesh.numberOfHalfEdges(), 6U);
}

TEST(MeshModifier, aCopyCommitsAsWell)
{
  Mesh mesh = measuredSquare(true);
  {
    Edit edit(mesh);
    const Edit copy(edit);
    edit.setCacheFlags(0);
    mesh.addTriangle(0, 3, 2);
  }
  EXPECT_EQ(mesh.numberOfHalfEdges(), 9U);
}

} // namespace
} // namespace Kavrel
