#include "geometry/mesh/MeshConstraintsCalculator.h"

#include "geometry/mesh/Mesh.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>

namespace Kavrel {

namespace {

using Adjacencies = std::vector<VertexTriangleAdjacency>;

constexpr std::size_t usualNeighbours = 10;
constexpr double sqrMidpointTolerance = 0.0001; // of the squared edge length, inclusive: a hundredth of the edge

/// For each vertex its appearances as a corner, in the order of the mesh. A flat list for all of them.
struct Corners
{
  struct Corner
  {
    Triangle* triangle;
    unsigned number;
  };

  explicit Corners(Mesh& mesh) : offsets(mesh.numberOfVertices() + 1), entries(3 * mesh.numberOfTriangles())
  {
    for (auto triangle = mesh.beginTriangle(); triangle != mesh.endTriangle(); ++triangle)
      for (unsigned i = 0; i < 3; ++i)
        ++offsets[triangle->getVertexRef(i).getIndex() + 1];
    std::partial_sum(offsets.begin(), offsets.end(), offsets.begin());

    std::vector<std::size_t> next(offsets);
    for (auto triangle = mesh.beginTriangle(); triangle != mesh.endTriangle(); ++triangle)
      for (unsigned i = 0; i < 3; ++i)
        entries[next[triangle->getVertexRef(i).getIndex()]++] = {&*triangle, i};
  }

  std::vector<std::size_t> offsets;
  std::vector<Corner> entries;
};

class NeighbourFinder
{
public:
  explicit NeighbourFinder(Mesh& mesh) : corners(mesh), owners(mesh.numberOfVertices(), none), positions(owners.size())
  {}

  Adjacencies neighboursOf(std::size_t vertex)
  {
    Adjacencies list;
    list.reserve(usualNeighbours);
    for (std::size_t i = corners.offsets[vertex]; i < corners.offsets[vertex + 1]; ++i) {
      const auto [triangle, number] = corners.entries[i];
      for (unsigned other = 0; other < 3; ++other)
        if (other != number) count(list, static_cast<std::uint32_t>(vertex), *triangle->getVertex(other), *triangle);
    }
    return list;
  }

private:
  static constexpr std::uint32_t none = 0xFFFFFFFF;

  // The two tables tell where a neighbour stands in the list at hand, however long that list is.
  void count(Adjacencies& list, std::uint32_t vertex, Vertex& neighbour, Triangle& triangle)
  {
    const unsigned index = neighbour.getIndex();
    if (owners[index] == vertex) {
      ++list[positions[index]].count;
      return;
    }
    owners[index] = vertex;
    positions[index] = list.size();
    list.push_back({&neighbour, &triangle, 1});
  }

  Corners corners;
  std::vector<std::uint32_t> owners;
  std::vector<std::size_t> positions;
};

bool hasCorner(const Triangle& triangle, const Vertex& vertex)
{
  return triangle.getVertex(0) == &vertex || triangle.getVertex(1) == &vertex || triangle.getVertex(2) == &vertex;
}

/// The two neighbours along the boundary, or null when there aren't exactly two.
std::array<Vertex*, 2> boundaryNeighbours(const Adjacencies& list)
{
  std::array<Vertex*, 2> ends{};
  std::size_t found = 0;
  for (const VertexTriangleAdjacency& adjacency : list) {
    if (adjacency.count != 1) continue;
    if (found == ends.size()) return {};
    ends[found++] = adjacency.neighbour;
  }
  if (found < ends.size()) return {};
  return ends;
}

bool isCoarseEdge(const Adjacencies& listOfOneEnd, const Vertex& otherEnd, const Vertex& hanging)
{
  return std::any_of(listOfOneEnd.begin(), listOfOneEnd.end(), [&](const VertexTriangleAdjacency& adjacency) {
    return adjacency.neighbour == &otherEnd && adjacency.count == 1 && !hasCorner(*adjacency.firstTriangle, hanging);
  });
}

bool isNearMidpoint(const Vertex& vertex, const Vertex& first, const Vertex& second)
{
  const Point<double, 3> middle((first + second) * 0.5);
  return first.sqrDistance(second) * sqrMidpointTolerance >= vertex.sqrDistance(middle);
}

} // namespace

MeshConstraintsCalculator::Result MeshConstraintsCalculator::computeConstraintsAndNeighbourStructure(Mesh& mesh)
{
  Result result{std::make_unique<std::vector<MeshConstraint>>(mesh.numberOfVertices()),
                std::make_unique<std::vector<Adjacencies>>()};
  NeighbourFinder finder(mesh);
  auto& neighbours = *result.neighbours;
  neighbours.reserve(mesh.numberOfVertices());
  for (std::size_t i = 0; i < mesh.numberOfVertices(); ++i)
    neighbours.push_back(finder.neighboursOf(i));

  for (auto vertex = mesh.beginVertex(); vertex != mesh.endVertex(); ++vertex) {
    const auto [first, second] = boundaryNeighbours(neighbours[vertex->getIndex()]);
    if (first && isCoarseEdge(neighbours[first->getIndex()], *second, *vertex) &&
        isNearMidpoint(*vertex, *first, *second))
      (*result.constraints)[vertex->getIndex()] = {&*vertex, first, second};
  }
  return result;
}

std::unique_ptr<std::vector<MeshConstraint>> MeshConstraintsCalculator::computeConstraints(Mesh& mesh)
{
  return computeConstraintsAndNeighbourStructure(mesh).constraints;
}

} // namespace Kavrel
