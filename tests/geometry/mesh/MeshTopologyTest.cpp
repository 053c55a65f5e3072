#include "geometry/mesh/Mesh.h"

#include "geometry/Plane.h"
#include "support/MeshBuilder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <utility>

namespace Kavrel::Testing {
namespace {

constexpr unsigned none = 0xFFFFFFFF;

struct Pairing
{
  std::vector<unsigned> neighbours;    // by half-edge
  std::vector<unsigned> firstOutgoing; // by vertex
};

/// The pairing from lists of outgoing half-edges, searched from their start for each half-edge without partner.
Pairing pairingBySearch(const Mesh& mesh)
{
  using Spoke = std::pair<unsigned, unsigned>; // the half-edge and the vertex that it leads to
  std::vector<std::vector<Spoke>> spokes(mesh.numberOfVertices());
  std::vector<unsigned> neighbours;
  for (const Triangle& triangle : mesh.getTriangleCollection()) {
    unsigned c[3];
    triangle.getVertexIndices(c[0], c[1], c[2]);
    for (unsigned i = 0; i < 3; ++i) {
      spokes[c[i]].push_back({static_cast<unsigned>(neighbours.size()), c[(i + 1) % 3]});
      neighbours.push_back(none);
    }
  }
  for (unsigned v = 0; v < spokes.size(); ++v)
    for (const auto& [edge, head] : spokes[v]) {
      if (neighbours[edge] != none) continue;
      for (const auto& [other, back] : spokes[head])
        if (back == v) {
          neighbours[edge] = other;
          neighbours[other] = edge;
          break;
        }
    }
  Pairing result{std::move(neighbours), {}};
  for (const auto& list : spokes)
    result.firstOutgoing.push_back(list.empty() ? none : list.front().first);
  return result;
}

template <class T>
unsigned indexOf(const T* element)
{
  return element ? element->getIndex() : none;
}

void expectPairing(const Mesh& mesh, const Pairing& expected)
{
  ASSERT_EQ(mesh.numberOfHalfEdges(), expected.neighbours.size());
  for (unsigned i = 0; i < mesh.numberOfHalfEdges(); ++i) {
    SCOPED_TRACE(i);
    const HalfEdge& edge = mesh.getHalfEdgeRef(i);
    const Triangle& triangle = mesh.getTriangleRef(i / 3);
    ASSERT_EQ(edge.getIndex(), i);
    ASSERT_EQ(indexOf(edge.getNeighbourEdge()), expected.neighbours[i]);
    ASSERT_EQ(edge.getTriangle(), &triangle);
    ASSERT_EQ(edge.getVertex(), triangle.getVertex((i + 1) % 3));
    ASSERT_EQ(edge.getPreviousEdge()->getVertex(), triangle.getVertex(i % 3));
    ASSERT_EQ(edge.getNextEdge()->getIndex(), i % 3 == 2 ? i - 2 : i + 1);
  }
  for (const Triangle& triangle : mesh.getTriangleCollection())
    ASSERT_EQ(indexOf(triangle.getHalfEdge()), 3 * triangle.getIndex());
  for (const Vertex& vertex : mesh.getVertexCollection())
    ASSERT_EQ(indexOf(vertex.getHalfEdge()), expected.firstOutgoing[vertex.getIndex()]);
}

TEST(MeshTopology, PairsKnownShapes)
{
  std::tuple<const char*, Mesh, int, bool> rows[] = {
      {"no triangle", meshFromText("0 0 0"), 0, true},
      {"tetrahedron", tetrahedron(), 0, true},
      {"cube", cube(), 0, true},
      {"sphere", sphere(500), 0, true},
      {"grid", grid(5, 3), 16, true},
      {"strip with two holes", stripWithHoles(2), 16 + 2 * 4, true},
      {"equal orientation", meshFromText("0 0 0, 1 0 0, 0 1 0, 0 -1 0 | 0 1 2, 0 1 3"), 6, true},
      {"three on an edge", meshFromText("0 0 0, 1 0 0, 0 1 0, 0 -1 0, 0 0 1 | 0 1 2, 0 1 3, 1 0 4"), 6, false},
      {"four on an edge", meshFromText("0 0 0, 1 0 0, 0 1 0, 0 -1 0, 0 0 1, 0 0 -1 | 0 1 2, 0 1 3, 1 0 4, 1 0 5"), 8,
       true},
      {"equal corners", meshFromText("0 0 0, 1 0 0 | 0 0 1"), 0, true},
      {"two at one corner", meshFromText("0 0 0, 1 0 0, 0 1 0, -1 0 0, 0 -1 0 | 0 1 2, 0 3 4"), 6, true},
  };
  for (auto& [name, mesh, boundary, consistent] : rows) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(mesh.isTopologyConsistent());
    mesh.computeTopology();
    EXPECT_EQ(mesh.hasTopology(), mesh.numberOfTriangles() > 0);
    const auto& edges = mesh.getHalfEdgeCollection();
    EXPECT_EQ(std::count_if(edges.begin(), edges.end(), [](const HalfEdge& e) { return !e.getNeighbourEdge(); }),
              boundary);
    EXPECT_EQ(mesh.isTopologyConsistent(), consistent);
    expectPairing(mesh, pairingBySearch(mesh));
  }
}

TEST(MeshTopology, EqualsSearchThroughListsOnTangledMeshes)
{
  repeat(300, 5201, [&](RandomGeometry& random) {
    // Few vertices and many triangles: equal orientations, crowded edges and equal corners abound.
    const std::size_t vertices = 1 + random.index(8), triangles = random.index(40);
    Mesh mesh;
    for (std::size_t i = 0; i < vertices; ++i)
      mesh.addVertex(0, 0, 0);
    for (std::size_t i = 0; i < triangles; ++i)
      mesh.addTriangle(random.index(vertices), random.index(vertices), random.index(vertices));
    mesh.computeTopology();
    expectPairing(mesh, pairingBySearch(mesh));
  });
}

TEST(MeshTopology, EqualsSearchThroughListsOnShuffledSurfaces)
{
  RandomGeometry random(5202);
  const Mesh surfaces[] = {sphere(3000), hills(40, 30), stripWithHoles(50), fan(700, true)};
  for (const Mesh& surface : surfaces) {
    Mesh mesh = shuffled(surface, random);
    mesh.computeTopology();
    expectPairing(mesh, pairingBySearch(mesh));
    EXPECT_TRUE(mesh.isTopologyConsistent());
  }
}

TEST(MeshTopology, IsReplacedAndRemoved)
{
  Mesh mesh = cube();
  mesh.computeTopology();
  mesh.addVertex(2, 2, 2);
  mesh.addTriangle(6, 8, 2);
  mesh.computeTopology();
  expectPairing(mesh, pairingBySearch(mesh));
  EXPECT_FALSE(mesh.isTopologyConsistent());

  mesh.removeTopology();
  EXPECT_FALSE(mesh.hasTopology());
  EXPECT_TRUE(mesh.isTopologyConsistent());
  for (const Vertex& vertex : mesh.getVertexCollection())
    EXPECT_EQ(vertex.getHalfEdge(), nullptr);
  for (const Triangle& triangle : mesh.getTriangleCollection())
    EXPECT_EQ(triangle.getHalfEdge(), nullptr);
}

TEST(MeshTopology, IsMirroredAlong)
{
  RandomGeometry random(5203);
  Mesh mesh = shuffled(hills(8, 8), random);
  mesh.computeTopology();
  mesh.mirror(Plane<double, 3>(Vector<double, 3>(1, 2, 3), 0.5));
  expectPairing(mesh, pairingBySearch(mesh));
}

} // namespace
} // namespace Kavrel::Testing
