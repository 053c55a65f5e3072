#include "geometry/BoundingVolumeHierarchy/BoxSearchTree.h"

#include "support/BruteForce.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::RandomGeometry;
namespace Brute = Testing::BruteForce;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

template <unsigned dim>
using Box = AxisAlignedBox<double, dim>;

template <unsigned dim>
Box<dim> boxOf(const Vector<double, dim>& low, const Vector<double, dim>& high)
{
  Box<dim> box;
  box.min = low;
  box.max = high;
  return box;
}

/// Boxes of all sizes, some of them points, on a coarse grid so that many touch.
template <unsigned dim>
std::vector<Box<dim>> randomBoxes(std::uint64_t seed, int count)
{
  RandomGeometry random(seed);
  std::vector<Box<dim>> boxes;
  for (int i = 0; i < count; ++i) {
    auto low = random.inCube<dim>(20);
    auto high = low;
    const double size = i % 5 == 0 ? 0 : random.logUniform(1e-3, 8);
    for (unsigned axis = 0; axis < dim; ++axis) {
      if (i % 2 == 0) low[axis] = std::round(low[axis]);
      high[axis] = low[axis] + (i % 2 == 0 ? std::round(size) : size * random.uniform(0, 1));
    }
    boxes.push_back(boxOf<dim>(low, high));
  }
  return boxes;
}

template <unsigned dim>
bool overlap(const Box<dim>& a, const Box<dim>& b)
{
  for (unsigned axis = 0; axis < dim; ++axis)
    if (std::max(a.min[axis], b.min[axis]) > std::min(a.max[axis], b.max[axis])) return false;
  return true;
}

template <class Dimension>
class BoxSearchTreeDim : public testing::Test
{};
using Dimensions = testing::Types<std::integral_constant<unsigned, 1>, std::integral_constant<unsigned, 2>,
                                  std::integral_constant<unsigned, 3>>;
TYPED_TEST_SUITE(BoxSearchTreeDim, Dimensions);

TYPED_TEST(BoxSearchTreeDim, FindsTheBoxesAroundAPoint)
{
  constexpr unsigned dim = TypeParam::value;
  const auto boxes = randomBoxes<dim>(201, 900);
  RandomGeometry random(202);
  for (const unsigned leafSize : {1U, 7U, 2000U}) {
    SCOPED_TRACE(leafSize);
    const BoxSearchTree<dim> tree(boxes, leafSize);
    for (int i = 0; i < 300; ++i) {
      const auto& box = boxes[random.index(boxes.size())];
      const auto point = i % 3 == 0 ? box.min : i % 3 == 1 ? box.max : random.inCube<dim>(22);
      const auto expected = Brute::selected(
          boxes.size(), [&](std::size_t k) { return overlap<dim>(boxes[k], boxOf<dim>(point, point)); });
      std::vector<int> ids = {4, 4};
      EXPECT_EQ(tree.getBoxesContaining(point, ids), !expected.empty());
      EXPECT_THAT(ids, UnorderedElementsAreArray(expected));
    }
  }
}

TYPED_TEST(BoxSearchTreeDim, FindsTheBoxesThatOverlapABox)
{
  constexpr unsigned dim = TypeParam::value;
  const auto boxes = randomBoxes<dim>(203, 900);
  const auto queries = randomBoxes<dim>(204, 300);
  std::vector<std::pair<Vector<double, dim>, Vector<double, dim>>> corners;
  for (const auto& box : boxes)
    corners.emplace_back(box.min, box.max);
  const BoxSearchTree<dim> tree(boxes, 4), fromCorners(corners, 4);
  for (const auto& query : queries) {
    const auto expected = Brute::selected(boxes.size(), [&](std::size_t k) { return overlap<dim>(boxes[k], query); });
    std::vector<int> ids = {4}, idsFromCorners;
    EXPECT_EQ(tree.getBoxesIntersecting(query, ids), !expected.empty());
    EXPECT_THAT(ids, UnorderedElementsAreArray(expected));
    fromCorners.getBoxesIntersecting(query, idsFromCorners);
    EXPECT_EQ(idsFromCorners, ids);
  }
}

TYPED_TEST(BoxSearchTreeDim, FindsThePairsOfTwoTrees)
{
  constexpr unsigned dim = TypeParam::value;
  for (const auto& [n, m] : {std::pair(300, 250), std::pair(1, 400), std::pair(400, 1), std::pair(1, 1)}) {
    SCOPED_TRACE(testing::Message() << n << " x " << m);
    const auto boxes = randomBoxes<dim>(205, n), others = randomBoxes<dim>(206, m);
    const BoxSearchTree<dim> tree(boxes, 3);
    const auto other = std::make_shared<BoxSearchTree<dim>>(others, 8);
    std::vector<std::pair<int, int>> expected, pairs = {{9, 9}};
    for (std::size_t i = 0; i < boxes.size(); ++i)
      for (std::size_t k = 0; k < others.size(); ++k)
        if (overlap<dim>(boxes[i], others[k])) expected.emplace_back(static_cast<int>(i), static_cast<int>(k));
    EXPECT_EQ(tree.getIntersections(other, pairs), !expected.empty());
    std::sort(pairs.begin(), pairs.end());
    EXPECT_EQ(pairs, expected);
  }
}

TYPED_TEST(BoxSearchTreeDim, FindsNothingWhenEmpty)
{
  constexpr unsigned dim = TypeParam::value;
  const auto boxes = randomBoxes<dim>(207, 10);
  const auto full = std::make_shared<BoxSearchTree<dim>>(boxes, 4);
  const auto none = std::make_shared<BoxSearchTree<dim>>(std::vector<Box<dim>>{}, 4);
  std::vector<int> ids = {1}, others = {1};
  EXPECT_FALSE(none->getBoxesContaining(Vector<double, dim>(), ids) || !ids.empty());
  EXPECT_FALSE(none->getBoxesIntersecting(boxes[0], others) || !others.empty());
  for (const auto& [a, b] : {std::pair(full, none), std::pair(none, full), std::pair(none, none),
                             std::pair(full, std::shared_ptr<BoxSearchTree<dim>>())}) {
    std::vector<std::pair<int, int>> pairs = {{1, 1}};
    EXPECT_FALSE(a->getIntersections(b, pairs) || !pairs.empty());
  }
}

TEST(BoxSearchTree, DecidesInDoublePrecision)
{
  const double low = 1000, next = std::nextafter(1000.0, 2000.0), before = std::nextafter(1000.0, 0.0);
  const BoxSearchTree<1> tree({boxOf<1>(Vector<double, 1>(low), Vector<double, 1>(low))}, 1);
  std::vector<int> ids;
  EXPECT_TRUE(tree.getBoxesContaining(low, ids));
  EXPECT_THAT(ids, ElementsAre(0));
  EXPECT_FALSE(tree.getBoxesContaining(next, ids));
  EXPECT_FALSE(tree.getBoxesContaining(before, ids));
  EXPECT_TRUE(tree.getBoxesIntersecting(boxOf<1>(Vector<double, 1>(low), Vector<double, 1>(next)), ids));
  EXPECT_FALSE(tree.getBoxesIntersecting(boxOf<1>(Vector<double, 1>(next), Vector<double, 1>(next)), ids));
}

TEST(BoxSearchTree, LeavesInvertedCornersAsTheyAre)
{
  using Corner = Vector<double, 2>;
  const std::vector<std::pair<Corner, Corner>> corners = {{Corner(1, 1), Corner(-1, -1)}, {Corner(0, 0), Corner(3, 3)}};
  const BoxSearchTree<2> tree(corners, 1);
  std::vector<int> ids;
  tree.getBoxesContaining(Corner(0, 0), ids);
  EXPECT_THAT(ids, ElementsAre(1));
}

TEST(BoxSearchTree, SurvivesBadNumbers)
{
  constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  auto boxes = randomBoxes<2>(208, 50);
  boxes[7].min[0] = nan;
  boxes[9].max[1] = infinity;
  boxes[11].min[1] = -1e300;
  const BoxSearchTree<2> tree(boxes, 2);
  std::vector<int> ids;
  for (const double value : {nan, infinity, -infinity, 1e300, 0.0}) {
    tree.getBoxesContaining(Vector<double, 2>(value, 0), ids);
    for (const int id : ids)
      EXPECT_LT(id, 50);
  }
}

} // namespace
