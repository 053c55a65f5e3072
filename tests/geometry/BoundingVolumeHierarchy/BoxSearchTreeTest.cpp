#include "geometry/BoundingVolumeHierarchy/BoxSearchTree.h"

#include "support/BruteForce.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <type_traits>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::RandomGeometry;
namespace Brute = Testing::BruteForce;
using testing::UnorderedElementsAreArray;

namespace {

template <unsigned dim>
using Box = AxisAlignedBox<double, dim>;

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
    boxes.emplace_back(low, high);
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

TYPED_TEST(BoxSearchTreeDim, FindsTheBoxesThatMeetABoxOrAPoint)
{
  constexpr unsigned dim = TypeParam::value;
  const auto boxes = randomBoxes<dim>(203, 900), queries = randomBoxes<dim>(204, 300);
  RandomGeometry random(202);
  const auto meeting = [&boxes](const Box<dim>& query) {
    return Brute::selected(boxes.size(), [&](std::size_t k) { return overlap<dim>(boxes[k], query); });
  };
  for (const unsigned leafSize : {1U, 7U, 2000U}) {
    SCOPED_TRACE(leafSize);
    const BoxSearchTree<dim> tree(boxes, leafSize);
    std::vector<int> ids = {4, 4};
    for (const auto& query : queries) {
      const auto expected = meeting(query);
      EXPECT_EQ(tree.getBoxesIntersecting(query, ids), !expected.empty());
      EXPECT_THAT(ids, UnorderedElementsAreArray(expected));
      const auto& box = boxes[random.index(boxes.size())];
      for (const auto& point : {query.min, box.min, box.max}) {
        tree.getBoxesContaining(point, ids);
        EXPECT_THAT(ids, UnorderedElementsAreArray(meeting(Box<dim>(point, point))));
      }
    }
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

TEST(BoxSearchTree, FindsNothingWhenEmpty)
{
  const auto boxes = randomBoxes<2>(207, 10);
  const auto full = std::make_shared<BoxSearchTree<2>>(boxes, 4);
  const auto none = std::make_shared<BoxSearchTree<2>>(std::vector<Box<2>>{}, 4);
  std::vector<std::pair<int, int>> pairs = {{1, 1}};
  EXPECT_FALSE(full->getIntersections(none, pairs) || none->getIntersections(full, pairs));
  EXPECT_FALSE(full->getIntersections(nullptr, pairs) || !pairs.empty());
}

TEST(BoxSearchTree, DecidesInDoublePrecision)
{
  const double low = 1000, next = std::nextafter(1000.0, 2000.0), before = std::nextafter(1000.0, 0.0);
  const BoxSearchTree<1> tree({Box<1>(Vector<double, 1>(low), Vector<double, 1>(low))}, 1);
  std::vector<int> ids;
  for (const double coordinate : {before, low, next}) {
    EXPECT_EQ(tree.getBoxesContaining(coordinate, ids), coordinate == low);
    const auto query = Box<1>(Vector<double, 1>(coordinate), Vector<double, 1>(next));
    EXPECT_EQ(tree.getBoxesIntersecting(query, ids), coordinate <= low);
  }
}

TEST(BoxSearchTree, LeavesInvertedCornersAsTheyAre)
{
  using Corner = Vector<double, 2>;
  const std::vector<std::pair<Corner, Corner>> corners = {{Corner(1, 1), Corner(-1, -1)}, {Corner(0, 0), Corner(3, 3)}};
  std::vector<int> ids;
  BoxSearchTree<2>(corners, 1).getBoxesContaining(Corner(0, 0), ids);
  EXPECT_THAT(ids, testing::ElementsAre(1));
}

} // namespace
