#include "geometry/mesh/MeshConstraintsCalculator.h"

#include "geometry/mesh/Mesh.h"
#include "support/MeshBuilder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <tuple>

namespace Kavrel {
namespace {

using namespace Testing;

using Hanging = std::set<std::tuple<unsigned, unsigned, unsigned>>; // vertex, lower end, higher end

Hanging hangingVertices(Mesh& mesh)
{
  Hanging found;
  const auto constraints = MeshConstraintsCalculator::computeConstraints(mesh);
  EXPECT_EQ(constraints->size(), mesh.numberOfVertices());
  for (std::size_t i = 0; i < constraints->size(); ++i) {
    const MeshConstraint& record = (*constraints)[i];
    if (!record.vertex) continue;
    EXPECT_EQ(record.vertex->getIndex(), i);
    const unsigned a = record.first->getIndex(), b = record.second->getIndex();
    found.emplace(record.vertex->getIndex(), std::min(a, b), std::max(a, b));
  }
  return found;
}

// A coarse triangle below the edge from (0, 0) to (2, 0); above it two fine ones with a common corner in the middle.
TEST(MeshConstraintsCalculator, onlyMidpointsOfCoarseEdgesHang)
{
  const std::string ends = "0 0 0, 2 0 0, 1 -2 0, 1 2 0, ", faces = " | 1 0 2, 0 4 3, 4 1 3";
  const std::tuple<const char*, std::string, Hanging> rows[] = {
      {"in the middle", ends + "1 0 0" + faces, {{4, 0, 1}}},
      {"half a percent off", ends + "1.01 0 0" + faces, {{4, 0, 1}}},
      {"one and a half percent off", ends + "1.03 0 0" + faces, {}},
      {"no coarse triangle", ends + "1 0 0 | 0 4 3, 4 1 3", {}},
      {"the coarse triangle has the vertex", "0 0 0, 2 0 0, 1 0 0 | 0 1 2", {}},
      {"on a refined border",
       "0 0 0, 1 0 0, 2 0 0, 3 0 0, 4 0 0, 0 -2 0, 2 -2 0, 4 -2 0, 0 1 0, 1 1 0, 2 1 0, 3 1 0, 4 1 0 |"
       "5 2 0, 5 6 2, 6 4 2, 6 7 4, 0 1 9, 0 9 8, 1 2 10, 1 10 9, 2 3 11, 2 11 10, 3 4 12, 3 12 11",
       {{1, 0, 2}, {3, 2, 4}}},
      {"a corner twice", "0 0 0, 2 0 0, 1 0 0 | 0 0 1, 2 2 2", {}},
      {"an empty mesh", "", {}}};
  for (const auto& [what, text, expected] : rows) {
    SCOPED_TRACE(what);
    Mesh mesh = meshFromText(text);
    EXPECT_EQ(hangingVertices(mesh), expected);
    repeat(20, 54, [&](RandomGeometry& random) {
      Mesh mixed = shuffled(mesh, random);
      EXPECT_EQ(hangingVertices(mixed).size(), expected.size());
    });
  }
}

// The lists as they are defined: six updates per triangle, found or appended.
TEST(MeshConstraintsCalculator, listsNeighboursInTheOrderOfTheTriangles)
{
  repeat(50, 55, [&](RandomGeometry& random) {
    Mesh mesh;
    const std::size_t vertices = 3 + random.index(12);
    for (std::size_t i = 0; i < vertices; ++i)
      mesh.addVertex(random.uniform(0, 1), 0, 0);
    for (int i = 0; i < 30; ++i)
      mesh.addTriangle(random.index(vertices), random.index(vertices), random.index(vertices));

    std::vector<std::vector<VertexTriangleAdjacency>> expected(vertices);
    const auto update = [&expected](Triangle& t, unsigned from, unsigned to) {
      auto& list = expected[t.getVertexRef(from).getIndex()];
      for (auto& record : list)
        if (record.neighbour == t.getVertex(to)) {
          ++record.count;
          return;
        }
      list.push_back({t.getVertex(to), &t, 1});
    };
    for (auto t = mesh.beginTriangle(); t != mesh.endTriangle(); ++t)
      for (const auto& [from, to] : {std::pair(0U, 1U), {0U, 2U}, {1U, 0U}, {1U, 2U}, {2U, 0U}, {2U, 1U}})
        update(*t, from, to);

    const auto result = MeshConstraintsCalculator::computeConstraintsAndNeighbourStructure(mesh);
    ASSERT_EQ(result.neighbours->size(), vertices);
    for (std::size_t i = 0; i < vertices; ++i) {
      const auto& list = (*result.neighbours)[i];
      const auto isSame = [](const VertexTriangleAdjacency& a, const VertexTriangleAdjacency& b) {
        return a.neighbour == b.neighbour && a.firstTriangle == b.firstTriangle && a.count == b.count;
      };
      EXPECT_TRUE(std::equal(list.begin(), list.end(), expected[i].begin(), expected[i].end(), isSame)) << i;
    }
  });
}

} // namespace
} // namespace Kavrel
