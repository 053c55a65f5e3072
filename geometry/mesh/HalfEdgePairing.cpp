#include "geometry/mesh/HalfEdgePairing.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace Kavrel {

namespace {

/// A half-edge in the bucket of its lower vertex, ordered by its higher vertex, then by position.
using BucketEntry = std::uint64_t;

BucketEntry entryOf(std::uint32_t higherVertex, std::uint32_t edge) { return std::uint64_t{higherVertex} << 32 | edge; }
std::uint32_t higherVertexOf(BucketEntry entry) { return static_cast<std::uint32_t>(entry >> 32); }
std::uint32_t edgeOf(BucketEntry entry) { return static_cast<std::uint32_t>(entry); }

/// Works on indices alone and writes the records last, front to back: most of the time goes into memory.
class HalfEdgeBuilder
{
public:
  explicit HalfEdgeBuilder(MeshData& meshData)
      : data(meshData), firstOutgoing(meshData.vertices.size(), none), bucketEnds(meshData.vertices.size(), 0)
  {}

  void build()
  {
    readCorners();
    countEdges();
    fillBuckets();
    pairBuckets();
    writeHalfEdges();
    writeVertices();
  }

private:
  void readCorners()
  {
    origins.reserve(3 * data.triangles.size());
    for (const Triangle& triangle : data.triangles)
      for (unsigned corner = 0; corner < 3; ++corner)
        origins.push_back(triangle.getVertexRef(corner).getIndex());
  }

  void countEdges()
  {
    forEachHalfEdge([this](std::uint32_t edge, std::uint32_t origin, std::uint32_t head) {
      if (firstOutgoing[origin] == none) firstOutgoing[origin] = edge;
      ++bucketEnds[std::min(origin, head)];
    });
  }

  void fillBuckets()
  {
    std::uint32_t sum = 0;
    for (std::uint32_t& end : bucketEnds)
      sum += std::exchange(end, sum);
    entries.resize(origins.size());
    forEachHalfEdge([this](std::uint32_t edge, std::uint32_t origin, std::uint32_t head) {
      entries[bucketEnds[std::min(origin, head)]++] = entryOf(std::max(origin, head), edge);
    });
  }

  template <class Visit>
  void forEachHalfEdge(Visit visit) const
  {
    for (std::uint32_t first = 0; first < origins.size(); first += 3)
      for (std::uint32_t i = 0; i < 3; ++i)
        visit(first + i, origins[first + i], origins[first + (i + 1) % 3]);
  }

  void pairBuckets()
  {
    neighbours.assign(origins.size(), none);
    std::uint32_t begin = 0;
    for (std::uint32_t vertex = 0; vertex < bucketEnds.size(); ++vertex) {
      pairBucket(vertex, std::span(entries).subspan(begin, bucketEnds[vertex] - begin));
      begin = bucketEnds[vertex];
    }
  }

  void pairBucket(std::uint32_t lower, std::span<BucketEntry> bucket)
  {
    std::sort(bucket.begin(), bucket.end());
    for (std::size_t begin = 0, end = 0; begin < bucket.size(); begin = end) {
      const std::uint32_t higher = higherVertexOf(bucket[begin]);
      do
        ++end;
      while (end < bucket.size() && higherVertexOf(bucket[end]) == higher);
      const auto edge = bucket.subspan(begin, end - begin);
      if (higher == lower)
        pairWithFirst(edge, edge.front());
      else if (edge.size() > 1)
        pairEdge(edge);
    }
  }

  /// Pairs all half-edges between two different vertices. Every one that finds itself without partner takes the first
  /// opposite one, and so takes it away from those before; this is the state in which that ends.
  void pairEdge(std::span<const BucketEntry> edge)
  {
    const auto forward = [this](BucketEntry entry) { return !isFromHigher(entry); };
    if (edge.size() == 2) {
      if (forward(edge[0]) != forward(edge[1])) {
        setNeighbour(edge[0], edge[1]);
        setNeighbour(edge[1], edge[0]);
      }
      return;
    }
    std::vector<BucketEntry> ordered(edge.begin(), edge.end());
    const auto middle = std::stable_partition(ordered.begin(), ordered.end(), forward);
    if (middle == ordered.begin() || middle == ordered.end()) return;
    const std::span<const BucketEntry> upward(ordered.begin(), middle), downward(middle, ordered.end());
    pairWithFirst(upward, downward.front());
    if (downward.size() > 1) pairWithFirst(downward.subspan(1), upward.front());
  }

  /// The partner of \p first is the last of \p edges that took it.
  void pairWithFirst(std::span<const BucketEntry> edges, BucketEntry first)
  {
    for (const BucketEntry entry : edges) {
      setNeighbour(entry, first);
      setNeighbour(first, entry);
    }
  }

  void setNeighbour(BucketEntry entry, BucketEntry neighbour) { neighbours[edgeOf(entry)] = edgeOf(neighbour); }

  bool isFromHigher(BucketEntry entry) const { return origins[edgeOf(entry)] == higherVertexOf(entry); }

  void writeHalfEdges()
  {
    data.halfEdges.resize(origins.size());
    auto next = data.halfEdges.begin();
    std::uint32_t index = 0;
    for (Triangle& triangle : data.triangles) {
      std::array<HalfEdge*, 3> sides;
      for (HalfEdge*& side : sides)
        side = &*next++;
      for (unsigned corner = 0; corner < 3; ++corner, ++index) {
        const unsigned following = (corner + 1) % 3;
        HalfEdge& side = *sides[corner];
        side.setIndex(index);
        side.setTriangle(&triangle);
        side.setVertex(triangle.getVertex(following));
        side.setNextEdge(sides[following]);
        side.setNeighbourEdge(halfEdgeAt(neighbours[index]));
      }
      triangle.setHalfEdge(sides[0]);
    }
  }

  void writeVertices()
  {
    auto first = firstOutgoing.begin();
    for (Vertex& vertex : data.vertices)
      vertex.setHalfEdge(halfEdgeAt(*first++));
  }

  HalfEdge* halfEdgeAt(std::uint32_t index) { return index == none ? nullptr : &data.halfEdges[index]; }

  static constexpr std::uint32_t none = 0xFFFFFFFF;

  MeshData& data;
  std::vector<std::uint32_t> origins;       // by half-edge
  std::vector<std::uint32_t> neighbours;    // by half-edge
  std::vector<std::uint32_t> firstOutgoing; // by vertex
  std::vector<std::uint32_t> bucketEnds;    // by vertex
  std::vector<BucketEntry> entries;         // by lower vertex of the edge
};

} // namespace

void buildHalfEdges(MeshData& data) { HalfEdgeBuilder(data).build(); }

} // namespace Kavrel
