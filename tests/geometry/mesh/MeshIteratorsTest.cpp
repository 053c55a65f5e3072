#include "geometry/mesh/OuterTriangleTriangleIterator.h"
#include "geometry/mesh/TriangleTriangleIterator.h"
#include "geometry/mesh/VertexTriangleIterator.h"
#include "geometry/mesh/VertexVertexIterator.h"
#include "support/MeshBuilder.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <stdexcept>

namespace Kavrel::Testing {
namespace {

using Indices = std::vector<unsigned>;

/// The indices on the way from begin to end. Fails for a way back that isn't its reverse, and for a way without end.
template <class Iterator>
Indices walk(Iterator begin, Iterator end)
{
  Indices forward;
  for (Iterator i = begin; i != end; ++i) {
    forward.push_back(i->getIndex());
    if (forward.size() > 10000) throw std::runtime_error("no end");
  }
  Indices backward;
  for (Iterator i = end; i != begin && backward.size() <= forward.size();)
    backward.push_back((--i)->getIndex());
  std::reverse(backward.begin(), backward.end());
  EXPECT_EQ(backward, forward);
  return forward;
}

std::set<unsigned> corners(const Triangle& triangle)
{
  unsigned a, b, c;
  triangle.getVertexIndices(a, b, c);
  return {a, b, c};
}

Indices outerRing(const Triangle& triangle)
{
  return walk(OuterTriangleTriangleIterator<const Triangle>(triangle, false),
              OuterTriangleTriangleIterator<const Triangle>(triangle, true));
}

/// Each walk against what the triangles say. Holds where every vertex has a single fan.
void expectWalksSeeEveryNeighbourOnce(const Mesh& mesh)
{
  std::vector<std::set<unsigned>> vertices(mesh.numberOfVertices()), triangles(mesh.numberOfVertices());
  for (const Triangle& triangle : mesh.getTriangleCollection())
    for (const unsigned i : corners(triangle)) {
      triangles[i].insert(triangle.getIndex());
      for (const unsigned j : corners(triangle))
        if (i != j) vertices[i].insert(j);
    }
  for (const Vertex& vertex : mesh.getVertexCollection()) {
    SCOPED_TRACE(vertex.getIndex());
    EXPECT_THAT(walk(vertex.vertexBegin(), vertex.vertexEnd()),
                testing::UnorderedElementsAreArray(vertices[vertex.getIndex()]));
    EXPECT_THAT(walk(vertex.triangleBegin(), vertex.triangleEnd()),
                testing::UnorderedElementsAreArray(triangles[vertex.getIndex()]));
  }
  for (const Triangle& centre : mesh.getTriangleCollection()) {
    SCOPED_TRACE(centre.getIndex());
    std::map<unsigned, int> sharedCorners;
    for (const unsigned i : corners(centre))
      for (const unsigned other : triangles[i])
        ++sharedCorners[other];
    Indices acrossEdge, touching;
    for (const auto& [other, shared] : sharedCorners) {
      if (shared == 2) acrossEdge.push_back(other);
      if (shared < 3) touching.push_back(other);
    }
    EXPECT_THAT(walk(centre.triangleBegin(), centre.triangleEnd()), testing::UnorderedElementsAreArray(acrossEdge));
    if (acrossEdge.empty()) touching.clear();
    EXPECT_THAT(outerRing(centre), testing::UnorderedElementsAreArray(touching));
  }
}

TEST(MeshIterators, SeeEveryNeighbourOnce)
{
  RandomGeometry random(5101);
  const std::pair<const char*, Mesh> rows[] = {{"one triangle", meshFromText("0 0 0, 1 0 0, 0 1 0, 5 5 5 | 0 1 2")},
                                               {"tetrahedron", tetrahedron()},
                                               {"sphere", sphere(300)},
                                               {"closed fan", fan(7, true)},
                                               {"strip with holes", stripWithHoles(4)}};
  for (const auto& [name, surface] : rows) {
    SCOPED_TRACE(name);
    // The shuffling moves the half-edges at which the walks start to any spoke of the fans.
    for (int round = 0; round < 5; ++round) {
      Mesh mesh = round == 0 ? surface : shuffled(surface, random);
      mesh.computeTopology();
      expectWalksSeeEveryNeighbourOnce(mesh);
    }
  }
}

TEST(MeshIterators, WalkOpenFansFromAnySpoke)
{
  for (unsigned count = 1; count <= 5; ++count) {
    Mesh mesh = fan(count, false);
    mesh.computeTopology();
    const Indices rim = walk(mesh.getVertex(0)->vertexBegin(), mesh.getVertex(0)->vertexEnd());
    EXPECT_EQ(rim.size(), count + 1);
    for (HalfEdge& edge : mesh.getHalfEdgeCollection()) {
      if (edge.getPreviousEdge()->getVertex() != mesh.getVertex(0)) continue;
      SCOPED_TRACE(edge.getIndex());
      mesh.getVertex(0)->setHalfEdge(&edge);
      Indices turned = walk(mesh.getVertex(0)->vertexBegin(), mesh.getVertex(0)->vertexEnd());
      EXPECT_EQ(turned.front(), edge.getVertex()->getIndex());
      EXPECT_EQ(walk(mesh.getVertex(0)->triangleBegin(), mesh.getVertex(0)->triangleEnd()).size(), count);
      // The same cyclic order from another start.
      std::rotate(turned.begin(), std::find(turned.begin(), turned.end(), rim.front()), turned.end());
      EXPECT_EQ(turned, rim);
    }
  }
}

TEST(MeshIterators, TakeOneWayLinksForBoundaries)
{
  Mesh mesh = meshFromText("0 0 0, 1 0 0, 0 1 0, 0 -1 0, 0 0 1 | 0 1 2, 0 1 3, 1 0 4");
  mesh.computeTopology();
  ASSERT_FALSE(mesh.isTopologyConsistent());
  const Vertex& vertex = *mesh.getVertex(0);
  EXPECT_THAT(walk(vertex.triangleBegin(), vertex.triangleEnd()), testing::ElementsAre(0));
  EXPECT_THAT(walk(vertex.vertexBegin(), vertex.vertexEnd()), testing::ElementsAre(1, 2));
  EXPECT_TRUE(outerRing(mesh.getTriangleRef(0)).empty());
  // This walk alone crosses any link.
  const Triangle& triangle = mesh.getTriangleRef(0);
  EXPECT_THAT(walk(triangle.triangleBegin(), triangle.triangleEnd()), testing::ElementsAre(2));
}

TEST(MeshIterators, EndOnTangledMeshes)
{
  repeat(300, 5102, [&](RandomGeometry& random) {
    const bool withEqualCorners = random.coin();
    const std::size_t vertices = 3 + random.index(6);
    Mesh mesh;
    for (std::size_t i = 0; i < vertices; ++i)
      mesh.addVertex(0, 0, 0);
    for (std::size_t i = 0; i < 12; ++i) {
      const std::size_t a = random.index(vertices), b = random.index(vertices), c = random.index(vertices);
      if (withEqualCorners || (a != b && b != c && c != a)) mesh.addTriangle(a, b, c);
    }
    mesh.computeTopology();
    for (const Vertex& vertex : mesh.getVertexCollection()) {
      walk(vertex.vertexBegin(), vertex.vertexEnd());
      walk(vertex.triangleBegin(), vertex.triangleEnd());
    }
    for (const Triangle& triangle : mesh.getTriangleCollection()) {
      walk(triangle.triangleBegin(), triangle.triangleEnd());
      if (!withEqualCorners) outerRing(triangle);
    }
  });
}

TEST(MeshIterators, AreEmptyWithoutTopology)
{
  const Mesh mesh = cube();
  const Vertex& vertex = mesh.getVertexRef(3);
  EXPECT_EQ(vertex.vertexBegin(), vertex.vertexEnd());
  EXPECT_EQ(vertex.triangleBegin(), vertex.triangleEnd());
  EXPECT_EQ(mesh.getTriangle(0)->triangleBegin(), mesh.getTriangle(0)->triangleEnd());
  EXPECT_TRUE(outerRing(mesh.getTriangleRef(0)).empty());
}

} // namespace
} // namespace Kavrel::Testing
