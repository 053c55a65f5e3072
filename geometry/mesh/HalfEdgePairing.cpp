#include "geometry/mesh/HalfEdgePairing.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace Kavrel {

namespace {

/// A half-edge in the bucket of its lower vertex, ordered by its higher vertex, then by position.
using BucketEntry = std::uint64_t;

BucketEntry entryOf(std::uint32_t higherVertex, std::uint32_t edge) { return std::uint64_t{higherVertex} << 32 | edge; }
std::uint32_t higherVertexOf(BucketEntry entry) { return static_cast<std::uint32_t>(entry >> 32); }
std::uint32_t edgeOf(BucketEntry entry) { return static_cast<std::uint32_t>(entry); }

class HalfEdgeBuilder
{
public:
  explicit HalfEdgeBuilder(MeshData& meshData) : data(meshData), bucketEnds(meshData.vertices.size(), 0) {}

  void build()
  {
    createHalfEdges();
    fillBuckets();
    std::uint32_t begin = 0;
    for (std::uint32_t v = 0; v < bucketEnds.size(); ++v) {
      pairBucket(v, std::span(entries).subspan(begin, bucketEnds[v] - begin));
      begin = bucketEnds[v];
    }
  }

private:
  /// Also counts the half-edges of each bucket.
  void createHalfEdges()
  {
    for (Vertex& vertex : data.vertices)
      vertex.setHalfEdge(nullptr);
    data.halfEdges.clear();
    origins.reserve(3 * data.triangles.size());
    for (Triangle& triangle : data.triangles) {
      HalfEdge* const edges[3] = {appendHalfEdge(), appendHalfEdge(), appendHalfEdge()};
      triangle.setHalfEdge(edges[0]);
      for (unsigned i = 0; i < 3; ++i) {
        Vertex& origin = triangle.getVertexRef(i);
        edges[i]->setTriangle(&triangle);
        edges[i]->setVertex(triangle.getVertex((i + 1) % 3));
        edges[i]->setNextEdge(edges[(i + 1) % 3]);
        if (!origin.getHalfEdge()) origin.setHalfEdge(edges[i]);
        origins.push_back(origin.getIndex());
      }
      const std::uint32_t* const corners = &origins[origins.size() - 3];
      for (unsigned i = 0; i < 3; ++i)
        ++bucketEnds[std::min(corners[i], corners[(i + 1) % 3])];
    }
  }

  HalfEdge* appendHalfEdge()
  {
    HalfEdge& edge = data.halfEdges.emplace_back();
    edge.setIndex(static_cast<unsigned>(data.halfEdges.size() - 1));
    return &edge;
  }

  void fillBuckets()
  {
    std::uint32_t sum = 0;
    for (std::uint32_t& end : bucketEnds) {
      const std::uint32_t count = end;
      end = sum;
      sum += count;
    }
    entries.resize(origins.size());
    for (std::uint32_t first = 0; first < origins.size(); first += 3)
      for (unsigned i = 0; i < 3; ++i) {
        const auto [lower, higher] = std::minmax(origins[first + i], origins[first + (i + 1) % 3]);
        entries[bucketEnds[lower]++] = entryOf(higher, first + i);
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

  void setNeighbour(BucketEntry entry, BucketEntry neighbour)
  {
    data.halfEdges[edgeOf(entry)].setNeighbourEdge(&data.halfEdges[edgeOf(neighbour)]);
  }

  bool isFromHigher(BucketEntry entry) const { return origins[edgeOf(entry)] == higherVertexOf(entry); }

  MeshData& data;
  std::vector<std::uint32_t> origins; // by half-edge
  std::vector<std::uint32_t> bucketEnds;
  std::vector<BucketEntry> entries;
};

} // namespace

void buildHalfEdges(MeshData& data) { HalfEdgeBuilder(data).build(); }

} // namespace Kavrel
