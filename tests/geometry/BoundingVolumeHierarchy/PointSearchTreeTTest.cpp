#include "geometry/BoundingVolumeHierarchy/PointSearchTreeT.h"

#include "geometry/ConstraintPoint.h"
#include "geometry/Point3N.h"
#include "geometry/Point3NT.h"
#include "geometry/ProjectionPoint.h"
#include "geometry/mesh/Mesh.h"
#include "support/BruteForce.h"
#include "support/MeshBuilder.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::RandomGeometry;
namespace Brute = Testing::BruteForce;

namespace {

constexpr double largest = std::numeric_limits<double>::max();

template <unsigned dim>
using Cloud = std::pair<const char*, std::vector<Vector<double, dim>>>;

/// Clouds that hurt: spread over many sizes, on a grid full of ties, along a line, far from the origin.
template <unsigned dim>
std::vector<Cloud<dim>> clouds()
{
  RandomGeometry random(101);
  std::vector<Cloud<dim>> all = {{"cube", {}}, {"any size", {}}, {"grid", {}},
                                 {"line", {}}, {"far off", {}},  {"one", {}}};
  for (int i = 0; i < 700; ++i) {
    all[0].second.push_back(random.inCube<dim>(10));
    all[1].second.push_back(random.ofAnySize<dim>(1e-9, 1e9));
    auto grid = random.inCube<dim>(4);
    for (unsigned axis = 0; axis < dim; ++axis)
      grid[axis] = std::floor(grid[axis]);
    all[2].second.push_back(grid);
    Vector<double, dim> onLine;
    onLine[1] = random.uniform(-5, 5);
    all[3].second.push_back(onLine);
    auto far = random.inCube<dim>(1e-3);
    far[0] += 1e8;
    all[4].second.push_back(far);
  }
  all[5].second.push_back(random.inCube<dim>(1));
  return all;
}

/// Points of the cloud themselves, points near it and points far away.
template <unsigned dim>
std::vector<Vector<double, dim>> queriesFor(const std::vector<Vector<double, dim>>& points)
{
  RandomGeometry random(102);
  std::vector<Vector<double, dim>> queries;
  for (int i = 0; i < 25; ++i) {
    const auto& at = points[random.index(points.size())];
    queries.push_back(at);
    queries.push_back(at + random.ofAnySize<dim>(1e-6, 1e3));
  }
  queries.push_back(random.ofAnySize<dim>(1e12, 1e13));
  return queries;
}

template <unsigned dim>
std::vector<double> distancesTo(const std::vector<Vector<double, dim>>& points, const Vector<double, dim>& query)
{
  std::vector<double> distances;
  for (const auto& point : points)
    distances.push_back(Brute::squareDistance(point, query));
  return distances;
}

constexpr double rounding = 1e-14;

template <class Dimension>
class PointSearchTree : public testing::Test
{};
using Dimensions = testing::Types<std::integral_constant<unsigned, 2>, std::integral_constant<unsigned, 3>>;
TYPED_TEST_SUITE(PointSearchTree, Dimensions);

TYPED_TEST(PointSearchTree, FindsTheNearestPointWhateverTheLeafSize)
{
  constexpr unsigned dim = TypeParam::value;
  for (const auto& [name, points] : clouds<dim>())
    for (const unsigned leafSize : {1U, 4U, 1000U}) {
      SCOPED_TRACE(testing::Message() << name << ", leaf " << leafSize);
      const PointSearchTreeT<dim> tree(points, leafSize);
      for (const auto& query : queriesFor<dim>(points)) {
        const auto distances = distancesTo<dim>(points, query);
        const double expected = *std::min_element(distances.begin(), distances.end());
        std::uint64_t id = 0, sameId = 0;
        Point<double, dim> nearest;
        ASSERT_TRUE(tree.selectClosest(query, id));
        ASSERT_TRUE(tree.getNearestPoint(query, nearest));
        EXPECT_NEAR(distances[id], expected, rounding * expected);
        EXPECT_EQ(nearest, points[id]);
        EXPECT_DOUBLE_EQ(tree.squareDistance(query), distances[id]);
        EXPECT_EQ(tree.squareDistance(query, sameId), tree.squareDistance(query));
        EXPECT_EQ(sameId, id);
      }
    }
}

TYPED_TEST(PointSearchTree, ListsTheNearestPoints)
{
  constexpr unsigned dim = TypeParam::value;
  for (const auto& [name, points] : clouds<dim>()) {
    SCOPED_TRACE(name);
    const PointSearchTreeT<dim> tree(points, 6);
    for (const auto& query : queriesFor<dim>(points)) {
      auto expected = distancesTo<dim>(points, query);
      const auto distanceOf = expected;
      std::sort(expected.begin(), expected.end());
      for (const int k : {1, 2, 7, 64, 1000})
        for (const bool sorted : {true, false}) {
          std::vector<int> ids = {-7};
          std::vector<double> found = {-7.0, 3.0};
          ASSERT_TRUE(tree.nearestPointIndices(query, k, ids, found, sorted));
          const auto count = std::min<std::size_t>(static_cast<std::size_t>(k), expected.size());
          ASSERT_EQ(ids.size(), count);
          ASSERT_EQ(found.size(), count);
          for (std::size_t i = 0; i < count; ++i)
            EXPECT_DOUBLE_EQ(found[i], distanceOf[static_cast<std::size_t>(ids[i])]);
          EXPECT_TRUE(!sorted || std::is_sorted(found.begin(), found.end()));
          EXPECT_EQ(*std::max_element(found.begin(), found.end()), sorted ? found.back() : found.front());
          std::sort(found.begin(), found.end());
          for (std::size_t i = 0; i < count; ++i)
            EXPECT_NEAR(found[i], expected[i], rounding * expected[i]);
          std::sort(ids.begin(), ids.end());
          EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
        }
    }
  }
}

TYPED_TEST(PointSearchTree, SelectsWithinARadius)
{
  constexpr unsigned dim = TypeParam::value;
  for (const auto& [name, points] : clouds<dim>()) {
    SCOPED_TRACE(name);
    const PointSearchTreeT<dim> tree(points, 5);
    for (const auto& query : queriesFor<dim>(points)) {
      const auto distances = distancesTo<dim>(points, query);
      const double nearest = *std::min_element(distances.begin(), distances.end());
      for (const double radius : {0.0, 0.3, 2.0, 1e5, std::sqrt(nearest) * 0.99}) {
        const auto expected =
            Brute::selected(distances.size(), [&](std::size_t i) { return distances[i] <= radius * radius; });
        std::vector<int> ids = {1, 2};
        EXPECT_EQ(tree.sphereSelectAll(query, radius, ids), !expected.empty());
        std::sort(ids.begin(), ids.end());
        EXPECT_EQ(ids, expected);
        std::uint64_t id = 99;
        ASSERT_EQ(tree.sphereSelectFirst(query, radius, id), !expected.empty());
        if (expected.empty())
          EXPECT_EQ(id, 0U);
        else
          EXPECT_NEAR(distances[id], nearest, rounding * nearest);
      }
    }
  }
}

TYPED_TEST(PointSearchTree, LeavesOutTheExcludedId)
{
  constexpr unsigned dim = TypeParam::value;
  for (const auto& [name, points] : clouds<dim>()) {
    SCOPED_TRACE(name);
    const PointSearchTreeT<dim> tree(points, 3);
    for (std::size_t excluded = 0; excluded < points.size(); excluded += 37) {
      auto distances = distancesTo<dim>(points, points[excluded]);
      distances[excluded] = largest;
      const double expected = *std::min_element(distances.begin(), distances.end());
      std::uint64_t id = 99;
      ASSERT_EQ(tree.nearestPointIndexExcluded(points[excluded], excluded, id), points.size() > 1);
      if (points.size() == 1) {
        EXPECT_EQ(id, 0U);
        continue;
      }
      EXPECT_NE(id, excluded);
      EXPECT_NEAR(distances[id], expected, rounding * expected);
    }
  }
}

TYPED_TEST(PointSearchTree, AnswersAllTheSameWhenEmpty)
{
  constexpr unsigned dim = TypeParam::value;
  const Vector<double, dim> query;
  for (const auto& tree : {PointSearchTreeT<dim>(), PointSearchTreeT<dim>(std::vector<Point<float, dim>>(), 4)}) {
    std::uint64_t ids[] = {5, 5, 5, 5};
    EXPECT_FALSE(tree.selectClosest(query, ids[0]));
    EXPECT_FALSE(tree.nearestPointIndexExcluded(query, 3, ids[1]));
    EXPECT_EQ(tree.squareDistance(query, ids[2]), largest);
    EXPECT_FALSE(tree.sphereSelectFirst(query, 10, ids[3]));
    EXPECT_THAT(ids, testing::Each(0U));
    Point<double, dim> nearest;
    nearest[0] = 42;
    EXPECT_FALSE(tree.getNearestPoint(query, nearest));
    EXPECT_EQ(nearest[0], 42);
    std::vector<int> list = {1};
    std::vector<double> distances = {1};
    EXPECT_FALSE(tree.sphereSelectAll(query, 10, list) || !list.empty());
    EXPECT_FALSE(tree.nearestPointIndices(query, 4, list, distances, true) || !list.empty() || !distances.empty());
    double distance = 7;
    EXPECT_FALSE(tree.minimumSignedPlaneDistance(Vector<double, 3>(0, 0, 1), 0, ids[0], distance));
    EXPECT_EQ(distance, 7);
  }
}

TYPED_TEST(PointSearchTree, SurvivesBadNumbers)
{
  constexpr unsigned dim = TypeParam::value;
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  std::vector<Vector<double, dim>> points = clouds<dim>()[0].second;
  Vector<double, dim> bad;
  for (const double value : {nan, infinity, -infinity, 1e300, 5e-324}) {
    bad[0] = value;
    std::uint64_t id = 0;
    std::vector<int> ids;
    std::vector<double> distances;
    const PointSearchTreeT<dim> sound(points, 4);
    sound.selectClosest(bad, id);
    EXPECT_LT(id, points.size());
    sound.nearestPointIndices(bad, 5, ids, distances, true);
    EXPECT_LE(ids.size(), 5U);
    EXPECT_EQ(sound.sphereSelectAll(points[0], value, ids), !std::isnan(value));
    EXPECT_EQ(sound.sphereSelectFirst(points[0], value, id), !std::isnan(value));
    auto withBad = points;
    withBad.insert(withBad.begin() + 3, bad);
    const PointSearchTreeT<dim> tree(withBad, 4);
    EXPECT_EQ(tree.getBvh().numberOfElements(), withBad.size());
    ASSERT_TRUE(tree.selectClosest(points[0], id));
    EXPECT_LT(id, withBad.size());
  }
  const PointSearchTreeT<dim> same(std::vector<Vector<double, dim>>(500), 2);
  std::vector<int> ids;
  EXPECT_TRUE(same.sphereSelectAll(Vector<double, dim>(), 0, ids));
  EXPECT_EQ(ids.size(), 500U);
  std::vector<double> distances;
  EXPECT_FALSE(same.nearestPointIndices(Vector<double, dim>(), 0, ids, distances, true));
  EXPECT_FALSE(same.nearestPointIndices(Vector<double, dim>(), -3, ids, distances, true));
}

TEST(PointSearchTree3, FindsTheLowestPointOverAPlane)
{
  RandomGeometry random(104);
  for (const auto& [name, points] : clouds<3>()) {
    SCOPED_TRACE(name);
    const PointSearchTreeT<3> tree(points, 4);
    for (int i = 0; i < 50; ++i) {
      const auto normal = random.ofAnySize<3>(1e-3, 1e3);
      const double offset = random.uniform(-20, 20);
      const auto lowest = Brute::nearest(points.size(), [&](std::size_t k) { return normal.dot(points[k]) - offset; });
      std::uint64_t id = 0;
      double distance = 0;
      ASSERT_TRUE(tree.minimumSignedPlaneDistance(normal, offset, id, distance));
      EXPECT_EQ(distance, lowest.value);
      EXPECT_EQ(normal.dot(points[id]) - offset, lowest.value);
    }
  }
}

template <class PointType>
void expectSameTree(const std::vector<Vector<double, 3>>& points)
{
  using T = typename PointType::Scalar;
  std::vector<PointType> list;
  for (const auto& p : points)
    list.emplace_back(Point<T, 3>(static_cast<T>(p[0]), static_cast<T>(p[1]), static_cast<T>(p[2])));
  const PointSearchTreeT<3> tree(list, 4);
  for (std::size_t i = 0; i < list.size(); ++i) {
    std::uint64_t id = 0;
    EXPECT_EQ(tree.squareDistance(Vector<double, 3>(list[i][0], list[i][1], list[i][2]), id), 0);
    EXPECT_EQ(id, i);
  }
}

TEST(PointSearchTree3, TakesEveryPointType)
{
  const auto points = clouds<3>()[0].second;
  expectSameTree<Point<float, 3>>(points);
  expectSameTree<ConstraintPoint>(points);
  expectSameTree<Point3N>(points);
  expectSameTree<Point3NT>(points);
  expectSameTree<ProjectionPoint>(points);
}

TEST(PointSearchTree3, TakesTheVerticesOrTheTriangleCentresOfAMesh)
{
  auto mesh = std::make_shared<Mesh>(Testing::hills(9, 7));
  std::vector<Vector<double, 3>> expected[2];
  for (const auto& vertex : mesh->getVertexCollection())
    expected[false].push_back(vertex);
  for (const auto& triangle : mesh->getTriangleCollection())
    expected[true].push_back((triangle.getVertexRef(0) + triangle.getVertexRef(1) + triangle.getVertexRef(2)) / 3.0);
  const PointSearchTreeT<3> trees[2][2] = {
      {PointSearchTreeT<3>(*mesh, false, 4), PointSearchTreeT<3>(std::shared_ptr<const Mesh>(mesh), false, 4)},
      {PointSearchTreeT<3>(*mesh, true, 4), PointSearchTreeT<3>(std::shared_ptr<const Mesh>(mesh), true, 4)}};
  mesh.reset();
  for (const bool centres : {false, true})
    for (const auto& tree : trees[centres]) {
      SCOPED_TRACE(centres ? "centres" : "vertices");
      ASSERT_EQ(tree.getBvh().numberOfElements(), expected[centres].size());
      for (std::size_t i = 0; i < expected[centres].size(); ++i) {
        std::uint64_t id = 0;
        EXPECT_NEAR(tree.squareDistance(expected[centres][i], id), 0, 1e-28);
        EXPECT_EQ(id, i);
      }
    }
  const PointSearchTreeT<3> none(std::shared_ptr<const Mesh>(), true, 4);
  EXPECT_EQ(none.squareDistance(Vector<double, 3>()), largest);
  EXPECT_TRUE(none.getBvh().empty());
}

TEST(PointSearchTree3, GivesTheFirstOfEqualsInTraversalOrder)
{
  using V3 = Vector<double, 3>;
  const V3 left(-1, 0, 0), right(1, 0, 0);
  const std::tuple<const char*, std::vector<V3>, unsigned, std::uint64_t> rows[] = {
      {"in one leaf by position in the list", {right, left}, 2, 0},
      {"across leaves the first child", {right, left}, 1, 1},
      {"the same, listed in order", {left, right}, 1, 0}};
  for (const auto& [name, points, leafSize, expectedId] : rows) {
    SCOPED_TRACE(name);
    const PointSearchTreeT<3> tree(points, leafSize);
    std::uint64_t id = 9;
    EXPECT_TRUE(tree.selectClosest(V3(0, 2, 0), id));
    EXPECT_EQ(id, expectedId);
    EXPECT_TRUE(tree.sphereSelectFirst(V3(0, 2, 0), 3, id));
    EXPECT_EQ(id, expectedId);
    EXPECT_TRUE(tree.nearestPointIndexExcluded(V3(0, 2, 0), expectedId, id));
    EXPECT_EQ(id, 1 - expectedId);
  }
}

TEST(PointSearchTree3, CopiesShareTheHierarchyAndOutliveTheOriginal)
{
  const auto points = clouds<3>()[0].second;
  auto original = std::make_unique<PointSearchTreeT<3>>(points, 4);
  PointSearchTreeT<3> assigned;
  assigned = *original;
  EXPECT_EQ(&assigned.getBvh(), &original->getBvh());
  original.reset();
  EXPECT_EQ(assigned.squareDistance(points[18]), 0);
}

} // namespace
