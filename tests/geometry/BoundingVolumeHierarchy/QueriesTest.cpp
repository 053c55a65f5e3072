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
#include <memory>
#include <set>

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
  call("one triangle", Testing::meshFromText("0 0 0, 1 0 0, 0 1 0 | 0 1 2"), 1.0);
  Mesh moved = Testing::sphere(1000);
  moved.move(Vector3(1e4, -2e4, 3e3));
  call("far from the origin", moved, 2.5e4);
  // Slivers and triangles without area.
  Mesh needles;
  for (int i = 0; i < 400; ++i) {
    const Vector3 a = random.inCube<3>(1), b = a + random.inCube<3>(0.3);
    for (const Vector3& corner : {a, b, a + (b - a) * random.uniform(0, 1) + random.inCube<3>(1e-9) * (i % 3)})
      needles.addVertex(corner[0], corner[1], corner[2]);
    const auto first = static_cast<unsigned>(3 * i);
    needles.addTriangle(first, first + 1, first + 2);
  }
  call("needles", needles, 1.0);
}

/// The nearest-first walk as plain recursion. `value(volume)` measures a node, `tooFar` prunes, `leaf` takes positions.
template <class Tree>
struct Recursion
{
  const Tree& tree;
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

template <class Result, class Tree, class Query>
Result closestByRecursion(const Tree& tree, const Query& query)
{
  Result result;
  Recursion<Tree>{tree, [&](const auto& volume) { return squareDistance(query, volume); },
                  [&](double value) { return result.found && value > result.squareDistance; },
                  [&](std::uint32_t i) {
                    if (distance(query, tree.getElement(i), result)) result.secondIndex = i;
                  }}
      .walk();
  return result;
}

/// The nearest pair as plain recursion. Of two inner nodes the larger is split; what is only as near is left out.
template <class Tree, class Result>
void closestPairByRecursion(const Tree& treeA, const Tree& treeB, std::uint32_t indexA, std::uint32_t indexB,
                            Result& result)
{
  const auto& a = treeA.getNode(indexA);
  const auto& b = treeB.getNode(indexB);
  if (a.isLeaf() && b.isLeaf()) {
    for (std::uint32_t i = a.firstElement(); i < a.endElement(); ++i)
      for (std::uint32_t j = b.firstElement(); j < b.endElement(); ++j)
        if (distance(treeA.getElement(i), treeB.getElement(j), result)) {
          result.firstIndex = i;
          result.secondIndex = j;
        }
    return;
  }
  const bool splitsB = a.isLeaf() || (!b.isLeaf() && volume(b.volume) > volume(a.volume));
  const auto& split = splitsB ? b : a;
  const auto valueOf = [&](std::uint32_t child) {
    return splitsB ? squareDistance(a.volume, treeB.getNode(child).volume)
                   : squareDistance(treeA.getNode(child).volume, b.volume);
  };
  std::pair<double, std::uint32_t> children[2] = {{valueOf(split.firstWord), split.firstWord},
                                                  {valueOf(split.secondWord), split.secondWord}};
  if (children[1].first < children[0].first) std::swap(children[0], children[1]);
  for (const auto& [value, child] : children)
    if (!result.found || value < result.squareDistance)
      closestPairByRecursion(treeA, treeB, splitsB ? indexA : child, splitsB ? child : indexB, result);
}

/// What stands above both ends of a range of directions.
std::vector<Vector3> directions(Testing::RandomGeometry& random)
{
  return {Vector3(0, 0, 1), Vector3(0, -1, 0), Vector3(-1, 0, 0), Vector3(-0.0, 0.0, 1), random.direction<3>()};
}

template <class LineType>
double parameterOfVolume(const LineType& line, const AxisAlignedBox<float, 3>& volume)
{
  IntersectionQueryResult<LineType, AxisAlignedBox<float, 3>> result;
  return intersect(line, volume, result) ? result.parameter : std::numeric_limits<double>::infinity();
}

template <class LineType, class Tree>
void checkLine(const Tree& tree, const LineType& line)
{
  using Result = IntersectionQueryResult<LineType, Triangle>;
  Result expected, actual;
  double best = BruteForce::largest;
  Recursion<Tree>{tree, [&](const auto& volume) { return parameterOfVolume(line, volume); },
                  [&](double value) { return value > best; },
                  [&](std::uint32_t i) {
                    Result candidate;
                    if (!intersect(line, tree.getElement(i), candidate) || !(best > std::abs(candidate.parameter)))
                      return;
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

TEST(Queries, ClosestIsTheFirstNearestInTraversalOrder)
{
  using Result = DistanceQueryResult<Vector3, Triangle>;
  forEachMesh([](const char* name, const Mesh& mesh, const std::vector<Vector3>& queries) {
    SCOPED_TRACE(name);
    for (const unsigned leafSize : {1U, 4U, 8U, 13U}) {
      const MeshTree tree(mesh, leafSize, 30);
      for (const Vector3& query : queries) {
        const auto expected = closestByRecursion<Result>(tree, query);
        Result actual;
        closest(tree, query, actual);
        ASSERT_EQ(actual.squareDistance, expected.squareDistance) << query;
        ASSERT_EQ(actual.secondIndex, expected.secondIndex) << query;
        ASSERT_EQ(actual.xi, expected.xi) << query;
        ASSERT_EQ(actual.point, expected.point) << query;
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
      std::vector<Vector3> ways = directions(random);
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

TEST(Queries, WithinRadiusFindsWhatAScanFinds)
{
  using Result = DistanceQueryResult<Vector3, Triangle>;
  forEachMesh([](const char* name, const Mesh& mesh, const std::vector<Vector3>& queries) {
    SCOPED_TRACE(name);
    const MeshTree tree(mesh, 8, 30);
    for (const Vector3& query : queries) {
      // Three bounds: exactly the distance of some element, a bit less, a bit more.
      std::vector<double> distances;
      for (std::uint32_t i = 0; i < tree.numberOfElements(); ++i) {
        Result result;
        distance(query, tree.getElement(i), result);
        distances.push_back(result.squareDistance);
      }
      std::vector<double> sorted = distances;
      std::sort(sorted.begin(), sorted.end());
      const double exact = sorted[std::min<std::size_t>(20, sorted.size() - 1)];
      for (const double bound : {exact, std::nextafter(exact, 0.0), exact * 1.01, 0.0}) {
        std::vector<int> found;
        withinRadius<Result>(tree, query, bound, [&](const Result& hit) {
          EXPECT_EQ(hit.squareDistance, distances[hit.secondIndex]);
          found.push_back(static_cast<int>(hit.secondIndex));
        });
        ASSERT_EQ(found, BruteForce::selected(distances.size(), [&](std::size_t i) { return distances[i] <= bound; }))
            << query << " " << bound;
      }
    }
  });
}

TEST(Queries, PlanesFindWhatAScanFinds)
{
  using Distance = DistanceQueryResult<Plane<double, 3>, Triangle>;
  using Crossing = IntersectionQueryResult<Plane<double, 3>, Triangle>;
  Testing::RandomGeometry random(53);
  forEachMesh([&random](const char* name, const Mesh& mesh, const std::vector<Vector3>& queries) {
    SCOPED_TRACE(name);
    const MeshTree tree(mesh, 8, 30);
    for (std::size_t i = 0; i < queries.size(); i += 7) {
      const Vector3 normal = i % 2 ? random.direction<3>() : Vector3(0, 0, 1);
      const Plane<double, 3> plane(normal, Point<double, 3>(queries[i]));
      const auto expected = closestByRecursion<Distance>(tree, plane);
      Distance actual;
      closest(tree, plane, actual);
      ASSERT_EQ(actual.squareDistance, expected.squareDistance);
      ASSERT_EQ(actual.secondIndex, expected.secondIndex);

      std::vector<int> near, crossed;
      const double bound = actual.squareDistance * 1.5 + 1e-4;
      withinRadius<Distance>(tree, plane, bound, [&](const Distance& d) { near.push_back(int(d.secondIndex)); });
      allHits<Crossing>(tree, plane, [&](const Crossing& c) { crossed.push_back(int(c.secondIndex)); });
      const auto measure = [&](std::size_t t) {
        Distance result;
        distance(plane, tree.getElement(unsigned(t)), result);
        return result.squareDistance;
      };
      ASSERT_EQ(near, BruteForce::selected(mesh.numberOfTriangles(), [&](auto t) { return measure(t) <= bound; }));
      ASSERT_EQ(crossed, BruteForce::selected(mesh.numberOfTriangles(), [&](std::size_t t) {
                  Crossing result;
                  return intersect(plane, tree.getElement(unsigned(t)), result);
                }));
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
    std::vector<Pair> near, crossing;
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
    // Many pairs are equally near, where corners are: the first in traversal order stays.
    Result recursed;
    closestPairByRecursion(treeA, treeB, 0, 0, recursed);
    EXPECT_EQ(best.firstIndex, recursed.firstIndex);
    EXPECT_EQ(best.secondIndex, recursed.secondIndex);

    std::vector<Pair> found;
    pairsWithin<Result>(treeA, treeB, bound, [&](const Result& r) { found.emplace_back(r.firstIndex, r.secondIndex); });
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(near));
    found.clear();
    crossingPairs(treeA, treeB, [&](const auto& r) { found.emplace_back(r.firstIndex, r.secondIndex); });
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(crossing));

    // A search with a limit takes the distance itself and nothing beyond.
    for (const auto& [limit, isFound] : {std::pair(nearest, true), std::pair(std::nextafter(nearest, 0.0), false)}) {
      if (nearest == 0.0 && !isFound) continue;
      Result limited;
      searchWithin(limit, limited, [&] { closestPair(treeA, treeB, limited); });
      EXPECT_EQ(limited.found, isFound);
    }
  }
}
