#include "geometry/mesh/Mesh.h"

#include "geometry/Plane.h"
#include "support/MeshBuilder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <utility>

namespace Kavrel::Testing {
namespace {

constexpr unsigned none = 0xFFFFFFFF;

/// The neighbour of each half-edge from lists of outgoing ones, searched from their start for each one without partner.
std::vector<unsigned> neighboursBySearch(const Mesh& mesh)
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
  return neighbours;
}

template <class T>
unsigned indexOf(const T* element)
{
  return element ? element->getIndex() : none;
}

void expectPairing(const Mesh& mesh)
{
  const std::vector<unsigned> neighbours = neighboursBySearch(mesh);
  std::vector<unsigned> firstOutgoing(mesh.numberOfVertices(), none);
  ASSERT_EQ(mesh.numberOfHalfEdges(), neighbours.size());
  for (unsigned i = 0; i < mesh.numberOfHalfEdges(); ++i) {
    SCOPED_TRACE(i);
    const HalfEdge& edge = mesh.getHalfEdgeRef(i);
    const Triangle& triangle = mesh.getTriangleRef(i / 3);
    ASSERT_EQ(edge.getIndex(), i);
    ASSERT_EQ(indexOf(edge.getNeighbourEdge()), neighbours[i]);
    ASSERT_EQ(edge.getTriangle(), &triangle);
    ASSERT_EQ(edge.getVertex(), triangle.getVertex((i + 1) % 3));
    const Vertex* const origin = triangle.getVertex(i % 3);
    ASSERT_EQ(edge.getPreviousEdge()->getVertex(), origin);
    firstOutgoing[origin->getIndex()] = std::min(firstOutgoing[origin->getIndex()], i);
    ASSERT_EQ(edge.getNextEdge()->getIndex(), i % 3 == 2 ? i - 2 : i + 1);
  }
  for (const Triangle& triangle : mesh.getTriangleCollection())
    ASSERT_EQ(indexOf(triangle.getHalfEdge()), 3 * triangle.getIndex());
  for (const Vertex& vertex : mesh.getVertexCollection())
    ASSERT_EQ(indexOf(vertex.getHalfEdge()), firstOutgoing[vertex.getIndex()]);
}

TEST(MeshTopology, PairsKnownShapes)
{
  RandomGeometry random(5202);
  const std::tuple<const char*, Mesh, int, bool> rows[] = {
      {"sphere", sphere(3000), 0, true},
      {"hills", hills(40, 30), 140, true},
      {"strip with holes", stripWithHoles(50), 2 * (101 + 3) + 50 * 4, true},
      {"closed fan", fan(700, true), 700, true},
      {"equal orientation", meshFromText("0 0 0, 1 0 0, 0 1 0, 0 -1 0 | 0 1 2, 0 1 3"), 6, true},
      {"three on an edge", meshFromText("0 0 0, 1 0 0, 0 1 0, 0 -1 0, 0 0 1 | 0 1 2, 0 1 3, 1 0 4"), 6, false},
      {"equal corners", meshFromText("0 0 0, 1 0 0 | 0 0 1"), 0, true}};
  for (const auto& [name, surface, boundary, consistent] : rows) {
    SCOPED_TRACE(name);
    Mesh mesh = shuffled(surface, random);
    mesh.computeTopology();
    const auto& edges = mesh.getHalfEdgeCollection();
    EXPECT_EQ(std::count_if(edges.begin(), edges.end(), [](const HalfEdge& e) { return !e.getNeighbourEdge(); }),
              boundary);
    EXPECT_EQ(mesh.isTopologyConsistent(), consistent);
    expectPairing(mesh);
    mesh.mirror(Plane<double, 3>(Vector<double, 3>(1, 2, 3), 0.5));
    expectPairing(mesh);
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
    expectPairing(mesh);
  });
}

TEST(MeshTopology, IsReplacedAndRemoved)
{
  Mesh mesh = cube();
  mesh.computeTopology();
  mesh.addTriangle(6, 0, 2);
  mesh.computeTopology();
  expectPairing(mesh);
  mesh.removeTopology();
  EXPECT_TRUE(!mesh.hasTopology() && mesh.isTopologyConsistent());
  EXPECT_EQ(mesh.getVertexRef(6).getHalfEdge(), nullptr);
  EXPECT_EQ(mesh.getTriangleRef(6).getHalfEdge(), nullptr);
}

} // namespace
} // namespace Kavrel::Testing
