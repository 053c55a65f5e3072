#include "geometry/MeshModifiers/TopologyGenerationMeshModifier.h"

#include "geometry/mesh/Mesh.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace Kavrel {

namespace {

using Index = std::uint32_t;

constexpr Index none = 0xFFFFFFFF;
constexpr std::size_t longList = 32; // beyond it the shorter of the two lists of an edge is searched

/// The half-edge behind or before another one of the same triangle; triangle t has 3t, 3t + 1 and 3t + 2.
Index next(Index halfEdge) { return halfEdge % 3 == 2 ? halfEdge - 2 : halfEdge + 1; }
Index previous(Index halfEdge) { return halfEdge % 3 == 0 ? halfEdge + 2 : halfEdge - 1; }

/// The half-edges as indices alone, listed by the vertex where they start, ascending within each list.
class Spokes
{
public:
  struct Spoke
  {
    Index halfEdge;
    Index head;
  };

  explicit Spokes(const MeshData& data) : offsets(data.vertices.size() + 1), origins(3 * data.triangles.size())
  {
    std::size_t position = 0;
    for (const Triangle& triangle : data.triangles)
      for (unsigned corner = 0; corner < 3; ++corner) {
        const Index origin = triangle.getVertex(corner)->getIndex();
        origins[position++] = origin;
        ++offsets[origin + 1];
      }
    list();
  }

  std::span<const Spoke> of(Index vertex) const
  {
    return {spokes.data() + offsets[vertex], spokes.data() + offsets[vertex + 1]};
  }

  /// The first half-edge from w to v.
  Index find(Index w, Index v) const
  {
    const auto fromW = of(w);
    if (fromW.size() > longList && of(v).size() < fromW.size()) return findAtHead(w, v);
    for (const Spoke& spoke : fromW)
      if (spoke.head == v) return spoke.halfEdge;
    return none;
  }

private:
  // A counting sort by origin: each list's end moves down to its start while it fills from the back.
  void list()
  {
    for (std::size_t i = 1; i < offsets.size(); ++i)
      offsets[i] += offsets[i - 1];
    spokes.resize(origins.size());
    std::vector<Index> ends(offsets.begin() + 1, offsets.end());
    for (std::size_t i = origins.size(); i-- > 0;) {
      const Index halfEdge = static_cast<Index>(i);
      spokes[--ends[origins[i]]] = {halfEdge, origins[next(halfEdge)]};
    }
  }

  // What runs to v comes just before what leaves v.
  Index findAtHead(Index w, Index v) const
  {
    Index first = none;
    for (const Spoke& spoke : of(v)) {
      const Index incoming = previous(spoke.halfEdge);
      if (origins[incoming] == w) first = std::min(first, incoming);
    }
    return first;
  }

  std::vector<Index> offsets;
  std::vector<Index> origins;
  std::vector<Spoke> spokes;
};

std::vector<Index> pairHalfEdges(const Spokes& spokes, std::size_t vertexCount, std::size_t halfEdgeCount)
{
  std::vector<Index> neighbours(halfEdgeCount, none);
  for (Index v = 0; v < vertexCount; ++v)
    for (const auto& [halfEdge, head] : spokes.of(v)) {
      if (neighbours[halfEdge] != none) continue;
      const Index opposite = spokes.find(head, v);
      if (opposite == none) continue;
      neighbours[halfEdge] = opposite;
      neighbours[opposite] = halfEdge;
    }
  return neighbours;
}

void linkHalfEdges(MeshData& data, const std::vector<Index>& neighbours)
{
  auto& halfEdges = data.halfEdges;
  const auto address = [&halfEdges](Index i) { return i == none ? nullptr : &halfEdges[i]; };
  Index first = 0;
  for (Triangle& triangle : data.triangles) {
    HalfEdge* const sides[3] = {&halfEdges[first], &halfEdges[first + 1], &halfEdges[first + 2]};
    for (unsigned corner = 0; corner < 3; ++corner) {
      const unsigned following = (corner + 1) % 3;
      HalfEdge& side = *sides[corner];
      side.setIndex(first + corner);
      side.setTriangle(&triangle);
      side.setVertex(triangle.getVertex(following));
      side.setNextEdge(sides[following]);
      side.setNeighbourEdge(address(neighbours[first + corner]));
    }
    triangle.setHalfEdge(sides[0]);
    first += 3;
  }
}

void linkVertices(MeshData& data, const Spokes& spokes)
{
  Index index = 0;
  for (Vertex& vertex : data.vertices) {
    const auto outgoing = spokes.of(index++);
    vertex.setHalfEdge(outgoing.empty() ? nullptr : &data.halfEdges[outgoing.front().halfEdge]);
  }
}

} // namespace

TopologyGenerationMeshModifier::TopologyGenerationMeshModifier(Mesh& meshToEdit) : MeshModifier(meshToEdit)
{
  clearCacheFlags();
}

TopologyGenerationMeshModifier::~TopologyGenerationMeshModifier() = default;

void TopologyGenerationMeshModifier::computeTopology()
{
  MeshData& elements = getData();
  const Spokes spokes(elements);
  const std::vector<Index> neighbours = pairHalfEdges(spokes, elements.vertices.size(), 3 * elements.triangles.size());
  elements.halfEdges.clear();
  elements.halfEdges.resize(neighbours.size());
  linkHalfEdges(elements, neighbours);
  linkVertices(elements, spokes);
}

void TopologyGenerationMeshModifier::operator()() { computeTopology(); }

} // namespace Kavrel
