#include "geometry/BoundingVolumeHierarchy/Queries.h"

#include "geometry/BoundingVolumeHierarchy/TopDownPartitioner.h"
#include "geometry/PolyLine.h"
#include "geometry/mesh/Mesh.h"
#include "support/BruteForce.h"
#include "support/MeshBuilder.h"
#include "support/RandomGeometry.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
namespace BruteForce = Kavrel::Testing::BruteForce;

namespace {

using Vector3 = Vector<double, 3>;
using MeshTree = ElementTree<Triangle, 3>;
using HalfLine = BoundingVolumeHierarchy::Ray;
using Pair = std::pair<std::uint32_t, std::uint32_t>;

/// Calls with a name, a mesh and queries that suit it: near it, on it, inside and far away.
void forEachMesh(const std::function<void(const char*, const Mesh&, const std::vector<Vector3>&)>& test)
{
  Testing::RandomGeometry random(41);
  const auto call = [&](const char* name, const Mesh& mesh, double size) {
    std::vector<Vector3> queries;
    for (int i = 0; i < 24; ++i) {
      const Triangle& triangle = mesh.getTriangleRef(static_cast<unsigned>(random.index(mesh.numberOfTriangles())));
      queries.push_back(triangle.getCenter());
      queries.push_back(triangle.getVertexRef(0));
      queries.push_back(Vector3(triangle.getVertexRef(0)).linearInterpolation(0.5, triangle.getVertexRef(1)));
      queries.push_back(triangle.getCenter() + random.ofAnySize<3>(1e-7 * size, 0.1 * size));
      queries.push_back(random.inCube<3>(size));
      queries.push_back(random.direction<3>() * (size * random.logUniform(2, 1e4)));
    }
    // Many elements equally far.
    queries.push_back(Vector3());
    test(name, mesh, queries);
  };
  call("sphere", Testing::sphere(3000), 1.0);
  call("large sphere", Testing::shuffled(Testing::sphere(1000, 1e5), random), 1e5);
  call("soup", Testing::triangleSoup(random, 2000, 0.3), 1.0);
  call("tiny soup", Testing::triangleSoup(random, 500, 1e-5, 1e-4), 1e-4);
  call("vast soup", Testing::triangleSoup(random, 200, 2e19, 2e19), 2e19);
  call("flat grid", Testing::grid(20, 20), 20.0);
  Mesh moved = Testing::sphere(1000);
  moved.move(Vector3(1e4, -2e4, 3e3));
  call("far from the origin", moved, 2.5e4);
}

/// The nearest pair of two trees by exact tests of all pairs of leaves on the way.
struct PlainPairs
{
  using Result = DistanceQueryResult<Triangle, Triangle>;

  const MeshTree& treeA;
  const MeshTree& treeB;
  Result best;

  bool tooFar(double value) const { return best.found && value >= best.squareDistance; }

  template <class Node>
  void operator()(const Node& a, const Node& b)
  {
    for (std::uint32_t i = a.firstElement(); i < a.endElement(); ++i)
      for (std::uint32_t j = b.firstElement(); j < b.endElement(); ++j)
        if (distance(treeA.getElement(i), treeB.getElement(j), best)) best.firstIndex = i, best.secondIndex = j;
  }
};

/// The nearest-first walk as plain recursion. `value(volume)` measures a node, `tooFar` prunes, `leaf` takes positions.
struct Recursion
{
  const MeshTree& tree;
  std::function<double(const AxisAlignedBox<float, 3>&)> value;
  std::function<bool(double)> tooFar;
  std::function<void(std::uint32_t)> element;

  void walk(std::uint32_t index = 0) const
  {
    const auto& node = tree.getNode(index);
    if (node.isLeaf()) {
      for (std::uint32_t i = node.firstElement(); i < node.endElement(); ++i)
        element(i);
      return;
    }
    const double first = value(tree.getNode(node.firstWord).volume);
    const double second = value(tree.getNode(node.secondWord).volume);
    const bool swapped = first > second;
    if (!tooFar(swapped ? second : first)) walk(swapped ? node.secondWord : node.firstWord);
    if (!tooFar(swapped ? first : second)) walk(swapped ? node.firstWord : node.secondWord);
  }
};

/// The nearest one is the first in traversal order; those in a radius, or across a plane, come in the order of the
/// tree.
template <class Query>
void checkNearest(const MeshTree& tree, const Query& query)
{
  using Result = DistanceQueryResult<Query, Triangle>;
  Result expected, actual;
  Recursion{tree, [&](const auto& volume) { return squareDistance(query, volume); },
            [&](double value) { return expected.found && value > expected.squareDistance; },
            [&](std::uint32_t i) {
              if (distance(query, tree.getElement(i), expected)) expected.secondIndex = i;
            }}
      .walk();
  closest(tree, query, actual);
  ASSERT_EQ(actual.squareDistance, expected.squareDistance);
  ASSERT_EQ(actual.secondIndex, expected.secondIndex);
  if constexpr (std::is_same_v<Query, Vector3>) {
    ASSERT_EQ(actual.point, expected.point);
    ASSERT_EQ(actual.xi, expected.xi);
  }

  std::vector<double> distances;
  for (std::uint32_t i = 0; i < tree.numberOfElements(); ++i) {
    Result result;
    distance(query, tree.getElement(i), result);
    distances.push_back(result.squareDistance);
  }
  // Exactly the distance of some element, and a bit less.
  std::vector<double> sorted = distances;
  const auto some = sorted.begin() + std::min<std::ptrdiff_t>(20, std::ssize(sorted) - 1);
  std::nth_element(sorted.begin(), some, sorted.end());
  const double exact = *some;
  for (const double bound : {exact, std::nextafter(exact, 0.0), 0.0}) {
    std::vector<int> found;
    withinRadius<Result>(tree, query, bound, [&](const Result& hit) {
      EXPECT_EQ(hit.squareDistance, distances[hit.secondIndex]);
      found.push_back(static_cast<int>(hit.secondIndex));
    });
    ASSERT_EQ(found, BruteForce::selected(distances.size(), [&](std::size_t i) { return distances[i] <= bound; }));
  }
  if constexpr (std::is_same_v<Query, Plane<double, 3>>) {
    using Crossing = IntersectionQueryResult<Query, Triangle>;
    std::vector<std::uint32_t> crossed;
    allHits<Crossing>(tree, query, [&](const Crossing& crossing) { crossed.push_back(crossing.secondIndex); });
    EXPECT_TRUE(std::is_sorted(crossed.begin(), crossed.end()));
  }
}

template <class LineType>
void checkLine(const MeshTree& tree, const LineType& line)
{
  using Result = IntersectionQueryResult<LineType, Triangle>;
  Result expected, actual;
  double best = BruteForce::largest;
  Recursion{tree,
            [&](const auto& volume) {
              IntersectionQueryResult<LineType, AxisAlignedBox<float, 3>> result;
              return intersect(line, volume, result) ? result.parameter : std::numeric_limits<double>::infinity();
            },
            [&](double value) { return value > best; },
            [&](std::uint32_t i) {
              Result candidate;
              if (!intersect(line, tree.getElement(i), candidate) || !(best > std::abs(candidate.parameter))) return;
              best = std::abs(candidate.parameter);
              expected = candidate;
              expected.secondIndex = i;
            }}
      .walk();
  firstHit(tree, line, actual);
  ASSERT_EQ(actual.intersected, expected.intersected);
  ASSERT_EQ(actual.secondIndex, expected.secondIndex);
  ASSERT_EQ(actual.parameter, expected.parameter);
  ASSERT_EQ(actual.xi, expected.xi);

  std::vector<int> all, found;
  for (std::uint32_t i = 0; i < tree.numberOfElements(); ++i) {
    Result candidate;
    if (intersect(line, tree.getElement(i), candidate)) all.push_back(static_cast<int>(i));
  }
  allHits<Result>(tree, line, [&](const Result& hit) { found.push_back(static_cast<int>(hit.secondIndex)); });
  ASSERT_EQ(found, all);
  ASSERT_EQ(actual.intersected, !all.empty());
}

} // namespace

TEST(Queries, NearestAndWithinRadiusAreThoseOfAScan)
{
  Testing::RandomGeometry random(53);
  forEachMesh([&random](const char* name, const Mesh& mesh, const std::vector<Vector3>& queries) {
    SCOPED_TRACE(name);
    for (const unsigned leafSize : {1U, 8U, 13U}) {
      const MeshTree tree(mesh, leafSize, 30);
      for (std::size_t i = 0; i < queries.size(); ++i) {
        SCOPED_TRACE(testing::Message() << queries[i] << " leaf " << leafSize);
        ASSERT_NO_FATAL_FAILURE(checkNearest(tree, queries[i]));
        if (i % 7 != 0) continue;
        const Vector3 normal = i % 2 ? random.direction<3>() : Vector3(0, 0, 1);
        ASSERT_NO_FATAL_FAILURE(checkNearest(tree, Plane<double, 3>(normal, Point<double, 3>(queries[i]))));
      }
    }
  });
}

TEST(Queries, LinesHitWhatAScanHits)
{
  Testing::RandomGeometry random(47);
  forEachMesh([&random](const char* name, const Mesh& mesh, const std::vector<Vector3>& queries) {
    SCOPED_TRACE(name);
    const MeshTree tree(mesh, 8, 30);
    for (std::size_t i = 0; i < queries.size(); i += 2) {
      std::vector<Vector3> ways = {Vector3(0, 0, 1), Vector3(0, -1, 0), Vector3(-0.0, 0.0, 1), random.direction<3>()};
      const Triangle& aim = mesh.getTriangleRef(static_cast<unsigned>(random.index(mesh.numberOfTriangles())));
      for (const Vector3& target : {Vector3(aim.getCenter()), Vector3(aim.getVertexRef(1))}) {
        Vector3 direction = target - queries[i];
        if (direction.normalize(1e-12)) ways.push_back(direction);
      }
      for (const Vector3& direction : ways) {
        SCOPED_TRACE(testing::Message() << queries[i] << " along " << direction);
        ASSERT_NO_FATAL_FAILURE(checkLine(tree, Line(queries[i], direction)));
        ASSERT_NO_FATAL_FAILURE(checkLine(tree, HalfLine(queries[i], direction)));
        ASSERT_NO_FATAL_FAILURE(checkLine(tree, LegacyLine(queries[i], direction, 1e-3)));
      }
    }
  });
}

TEST(Queries, PairsOfMeshesAgreeWithAScan)
{
  using Result = DistanceQueryResult<Triangle, Triangle>;
  Testing::RandomGeometry random(61);
  for (int round = 0; round < 12; ++round) {
    SCOPED_TRACE(round);
    const double size = round < 8 ? 1.0 : 3e13;
    Mesh a = round % 2 ? Testing::sphere(120, size) : Testing::triangleSoup(random, 90, 0.3 * size, size);
    Mesh b = round % 3 ? Testing::sphere(150, 0.7 * size) : Testing::triangleSoup(random, 110, 0.4 * size, size);
    b.move(random.inCube<3>(round % 4 == 0 ? 4.0 * size : size));
    const unsigned leafSize = 1 + static_cast<unsigned>(round) % 8;
    const MeshTree treeA(a, leafSize, 30), treeB(b, 8, 30);

    double nearest = BruteForce::largest;
    std::vector<Pair> near, crossing, found;
    const double bound = 0.02 * round * size * size;
    for (std::uint32_t i = 0; i < treeA.numberOfElements(); ++i)
      for (std::uint32_t j = 0; j < treeB.numberOfElements(); ++j) {
        Result result;
        distance(treeA.getElement(i), treeB.getElement(j), result);
        nearest = std::min(nearest, result.squareDistance);
        if (result.squareDistance <= bound) near.emplace_back(i, j);
        IntersectionQueryResult<Triangle, Triangle> crossed;
        if (intersect(treeA.getElement(i), treeB.getElement(j), crossed)) crossing.emplace_back(i, j);
      }

    Result best;
    closestPair(treeA, treeB, best);
    EXPECT_EQ(best.squareDistance, nearest);

    pairsWithin<Result>(treeA, treeB, bound, [&](const Result& r) { found.emplace_back(r.firstIndex, r.secondIndex); });
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(near));
    found.clear();
    crossingPairs(treeA, treeB, [&](const auto& r) { found.emplace_back(r.firstIndex, r.secondIndex); });
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(crossing));
  }
}

TEST(Queries, NearestPairOfFineMeshesAgreesWithAScan)
{
  const Mesh a = Testing::sphere(500);
  Mesh b = a;
  b.move(Vector3(1.6, 1, 3.5)); // the nearest pair comes late, when the trees have been cut along the gap
  const MeshTree treeA(a, 1, 30), treeB(b, 1, 30);
  DistanceQueryResult<Triangle, Triangle> best, scanned;
  closestPair(treeA, treeB, best);
  for (std::uint32_t i = 0; i < treeA.numberOfElements(); ++i)
    for (std::uint32_t j = 0; j < treeB.numberOfElements(); ++j)
      distance(treeA.getElement(i), treeB.getElement(j), scanned);
  EXPECT_EQ(best.squareDistance, scanned.squareDistance);
}

TEST(Queries, NearestPairOfFineMeshesIsTheFirstOfAPlainWalk)
{
  const Mesh sphere = Testing::sphere(2000), hills = Testing::hills(30, 30), grid = Testing::grid(30, 30);
  const auto tilted = [](double height) {
    return Testing::gridOf(30, 30, Testing::everyCell,
                           [height](double x, double y) { return 0.25 * x + 0.125 * y + height; });
  };
  const std::tuple<Mesh, Mesh, Vector3> rows[] = {{sphere, sphere, Vector3(1.6, 1, 3.5)},
                                                  {sphere, Testing::sphere(800, 0.9), Vector3()},
                                                  {hills, hills, Vector3(0, 0, 0.3)},
                                                  {grid, grid, Vector3(0.5, 0, 2)},
                                                  {tilted(0), tilted(1.5), Vector3()}};
  for (const auto& [a, other, way] : rows)
    for (const unsigned leafSize : {1U, 8U}) {
      Mesh b = other;
      b.move(way);
      const MeshTree treeA(a, leafSize, 30), treeB(b, leafSize, 30);
      DistanceQueryResult<Triangle, Triangle> best;
      closestPair(treeA, treeB, best);
      PlainPairs plain{treeA, treeB, {}};
      visitNearestPairs(
          treeA, treeB, 0, 0, [&plain](double value) { return plain.tooFar(value); }, plain);
      EXPECT_EQ(best.squareDistance, plain.best.squareDistance);
      EXPECT_EQ(Pair(best.firstIndex, best.secondIndex), Pair(plain.best.firstIndex, plain.best.secondIndex));
    }
}

TEST(Queries, OfEquallyNearPairsTheFirstInTraversalOrderStays)
{
  const Mesh grid = Testing::grid(9, 7);
  Mesh above = grid;
  above.move(Vector3(0, 0, 2));
  // The larger root is split first: that of the tall mesh, whose lower half is near the second triangle of the flat
  // one.
  const Mesh flat = Testing::meshFromText("0 0 0, .1 0 0, 0 .1 0, 3 0 0, 3.1 0 0, 3 .1 0 | 0 1 2, 3 4 5");
  const Mesh tall = Testing::meshFromText("0 0 2, .1 0 2, 0 .1 2, 3 0 -2, 3.1 0 -2, 3 .1 -2 | 0 1 2, 3 4 5");
  const std::tuple<const Mesh&, const Mesh&, unsigned, Pair> rows[] = {{grid, above, 1, {0, 0}},
                                                                       {grid, above, 4, {0, 0}},
                                                                       {flat, tall, 1, {1, 0}},
                                                                       {tall, flat, 1, {0, 1}},
                                                                       {flat, tall, 9, {0, 0}}};
  for (const auto& [a, b, leafSize, expected] : rows) {
    DistanceQueryResult<Triangle, Triangle> best;
    closestPair(MeshTree(a, leafSize, 30), MeshTree(b, leafSize, 30), best);
    EXPECT_EQ(best.squareDistance, 4);
    EXPECT_EQ(Pair(best.firstIndex, best.secondIndex), expected);
  }
}
