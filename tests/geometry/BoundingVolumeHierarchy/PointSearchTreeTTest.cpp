#include "geometry/BoundingVolumeHierarchy/PointSearchTreeT.h"

#include "geometry/DoublePrecision.h"
#include "geometry/mesh/Mesh.h"
#include "support/BruteForce.h"
#include "support/MeshBuilder.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::RandomGeometry;
namespace Brute = Testing::BruteForce;

namespace {

using Brute::largest;

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

constexpr double rounding = 1e-14;

/// The nearest point, and all of them within some radii.
template <unsigned dim>
void expectNearest(const PointSearchTreeT<dim>& tree, const std::vector<Vector<double, dim>>& points,
                   const Vector<double, dim>& query, const std::vector<double>& distances)
{
  const double expected = *std::min_element(distances.begin(), distances.end());
  std::uint64_t id = 0, sameId = 0;
  Point<double, dim> nearest;
  ASSERT_TRUE(tree.selectClosest(query, id));
  ASSERT_TRUE(tree.getNearestPoint(query, nearest));
  EXPECT_NEAR(distances[id], expected, rounding * expected);
  EXPECT_EQ(nearest, points[id]);
  EXPECT_DOUBLE_EQ(tree.squareDistance(query, sameId), distances[id]);
  EXPECT_EQ(tree.squareDistance(query), tree.squareDistance(query, sameId));
  EXPECT_EQ(sameId, id);
  for (const double radius : {0.0, 0.3, 2.0, 1e5, std::sqrt(expected) * 0.99}) {
    const auto within =
        Brute::selected(distances.size(), [&](std::size_t i) { return distances[i] <= radius * radius; });
    std::vector<int> ids = {1, 2};
    EXPECT_EQ(tree.sphereSelectAll(query, radius, ids), !within.empty());
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, within);
    ASSERT_EQ(tree.sphereSelectFirst(query, radius, sameId), !within.empty());
    EXPECT_EQ(sameId, within.empty() ? 0 : id);
  }
}

/// The k nearest points as an ascending list or as a heap with the farthest in front.
template <unsigned dim>
void expectNearestOnes(const PointSearchTreeT<dim>& tree, const Vector<double, dim>& query,
                       const std::vector<double>& distances, int k, bool sorted)
{
  std::vector<double> expected = distances, found = {-7.0, 3.0};
  std::sort(expected.begin(), expected.end());
  std::vector<int> ids = {-7};
  ASSERT_TRUE(tree.nearestPointIndices(query, k, ids, found, sorted));
  const auto count = std::min<std::size_t>(static_cast<std::size_t>(k), expected.size());
  ASSERT_EQ(std::set<int>(ids.begin(), ids.end()).size(), count);
  ASSERT_EQ(found.size(), count);
  EXPECT_EQ(*std::max_element(found.begin(), found.end()), sorted ? found.back() : found.front());
  for (std::size_t i = 0; i < count; ++i)
    EXPECT_DOUBLE_EQ(found[i], distances[static_cast<std::size_t>(ids[i])]);
  if (!sorted) std::sort(found.begin(), found.end());
  for (std::size_t i = 0; i < count; ++i)
    EXPECT_NEAR(found[i], expected[i], rounding * expected[i]);
}

template <class Dimension>
class PointSearchTree : public testing::Test
{};
using Dimensions = testing::Types<std::integral_constant<unsigned, 2>, std::integral_constant<unsigned, 3>>;
TYPED_TEST_SUITE(PointSearchTree, Dimensions);

TYPED_TEST(PointSearchTree, FindsTheNearestPointsAndThoseWithinARadius)
{
  constexpr unsigned dim = TypeParam::value;
  for (const auto& [name, points] : clouds<dim>())
    for (const unsigned leafSize : {1U, 5U, 1000U}) {
      SCOPED_TRACE(testing::Message() << name << ", leaf " << leafSize);
      const PointSearchTreeT<dim> tree(points, leafSize);
      for (const auto& query : queriesFor<dim>(points)) {
        std::vector<double> distances;
        for (const auto& point : points)
          distances.push_back(Brute::squareDistance(point, query));
        expectNearest(tree, points, query, distances);
        if (leafSize != 5) continue;
        for (const int k : {1, 2, 7, 64, 1000})
          for (const bool sorted : {true, false})
            expectNearestOnes(tree, query, distances, k, sorted);
      }
    }
}

TEST(PointSearchTree3, LeavesOutTheExcludedId)
{
  for (const auto& [name, points] : clouds<3>()) {
    SCOPED_TRACE(name);
    const PointSearchTreeT<3> tree(points, 3);
    for (std::size_t excluded = 0; excluded < points.size(); excluded += 37) {
      const auto distanceTo = [&](std::size_t k) { return Brute::squareDistance(points[excluded], points[k]); };
      const auto expected =
          Brute::nearest(points.size(), [&](std::size_t k) { return k == excluded ? Brute::largest : distanceTo(k); });
      std::uint64_t id = 99;
      ASSERT_EQ(tree.nearestPointIndexExcluded(points[excluded], excluded, id), expected.found);
      EXPECT_EQ(id == excluded, !expected.found);
      EXPECT_NEAR(distanceTo(id), expected.found ? expected.value : 0, rounding * expected.value);
    }
  }
}

TEST(PointSearchTree3, AnswersAllTheSameWhenEmpty)
{
  const Vector<double, 3> query;
  const PointSearchTreeT<3> tree(std::shared_ptr<const Mesh>(), true, 4);
  std::uint64_t ids[] = {5, 5, 5, 5};
  EXPECT_FALSE(tree.selectClosest(query, ids[0]) || tree.nearestPointIndexExcluded(query, 3, ids[1]));
  EXPECT_EQ(tree.squareDistance(query, ids[2]), largest);
  EXPECT_FALSE(tree.sphereSelectFirst(query, 10, ids[3]));
  EXPECT_THAT(ids, testing::Each(0U));
  Point<double, 3> nearest(42, 0, 0);
  EXPECT_TRUE(!tree.getNearestPoint(query, nearest) && nearest[0] == 42);
  std::vector<int> list = {1};
  std::vector<double> distances = {1};
  EXPECT_FALSE(tree.nearestPointIndices(query, 4, list, distances, true) || !list.empty() || !distances.empty());
  EXPECT_FALSE(tree.minimumSignedPlaneDistance(query, 0, ids[0], nearest[0]) || nearest[0] != 42);
}

TEST(PointSearchTree3, SurvivesBadNumbers)
{
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  auto points = clouds<3>()[0].second;
  const PointSearchTreeT<3> sound(points, 4), same(std::vector<Vector<double, 3>>(500), 2);
  std::vector<int> ids;
  std::vector<double> distances;
  for (const double value : {nan, infinity, -infinity, 1e300, 5e-324}) {
    std::uint64_t id = 0, otherId = 0;
    points[3] = Vector<double, 3>(value, 0, 0);
    sound.selectClosest(points[3], id);
    EXPECT_TRUE(PointSearchTreeT<3>(points, 4).selectClosest(points[0], otherId));
    EXPECT_LT(std::max(id, otherId), points.size());
    sound.nearestPointIndices(points[3], 5, ids, distances, true);
    EXPECT_LE(ids.size(), 5U);
    EXPECT_EQ(sound.sphereSelectAll(points[0], value, ids), !std::isnan(value));
    EXPECT_EQ(sound.sphereSelectFirst(points[0], value, id), !std::isnan(value));
  }
  EXPECT_TRUE(same.sphereSelectAll(Vector<double, 3>(), 0, ids) && ids.size() == 500U);
  EXPECT_FALSE(same.nearestPointIndices(Vector<double, 3>(), -3, ids, distances, true));
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
      const auto height = [&](std::size_t k) { return normal.dot(points[k]) - offset; };
      std::uint64_t id = 0;
      double distance = 0;
      ASSERT_TRUE(tree.minimumSignedPlaneDistance(normal, offset, id, distance));
      EXPECT_EQ(distance, Brute::nearest(points.size(), height).value);
      EXPECT_EQ(height(id), distance);
    }
  }
}

TEST(PointSearchTree3, TakesPointsOrTheVerticesOrTriangleCentresOfAMesh)
{
  auto mesh = std::make_shared<Mesh>(Testing::hills(9, 7));
  std::vector<Vector<double, 3>> vertices(mesh->beginVertex(), mesh->endVertex()), centres, rounded;
  for (const auto& triangle : mesh->getTriangleCollection())
    centres.push_back((triangle.getVertexRef(0) + triangle.getVertexRef(1) + triangle.getVertexRef(2)) / 3.0);
  std::vector<Point<float, 3>> points;
  for (const auto& v : vertices) {
    points.emplace_back(static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]));
    rounded.push_back(toDouble(points.back()));
  }
  using Tree = PointSearchTreeT<3>;
  const std::pair<Tree, const std::vector<Vector<double, 3>>*> rows[] = {
      {Tree(*mesh, false, 4), &vertices},
      {Tree(std::shared_ptr<const Mesh>(mesh), true, 4), &centres},
      {Tree(points, 4), &rounded}};
  mesh.reset();
  for (const auto& [tree, expected] : rows) {
    ASSERT_EQ(tree.getBvh().numberOfElements(), expected->size());
    for (std::size_t i = 0; i < expected->size(); ++i) {
      std::uint64_t id = 0;
      EXPECT_NEAR(tree.squareDistance((*expected)[i], id), 0, 1e-28);
      EXPECT_EQ(id, i);
    }
  }
}

TEST(PointSearchTree3, GivesTheFirstOfEqualsInTraversalOrder)
{
  const Vector<double, 3> left(-1, 0, 0), right(1, 0, 0), query(0, 2, 0);
  const auto expectFirst = [&](const std::vector<Vector<double, 3>>& points, unsigned leafSize,
                               std::uint64_t expected) {
    const PointSearchTreeT<3> tree(points, leafSize);
    std::uint64_t id = 9, sameId = 9;
    EXPECT_TRUE(tree.selectClosest(query, id) && tree.sphereSelectFirst(query, 3, sameId));
    EXPECT_TRUE(id == expected && sameId == expected) << id << " and " << sameId;
  };
  expectFirst({right, left}, 2, 0); // in one leaf by position in the list
  expectFirst({right, left}, 1, 1); // across leaves the first child
}

} // namespace
