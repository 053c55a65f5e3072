#include "geometry/BoundingVolumeHierarchy/TopDownPartitioner.h"

#include "geometry/BoundingVolumeHierarchy/ElementGeometry.h"
#include "geometry/BoundingVolumeHierarchy/VolumeTests.h"
#include "geometry/PolyLine.h"
#include "support/MeshBuilder.h"
#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <omp.h>
#include <thread>
#include <utility>
#include <vector>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;

namespace {

using PointTree = ElementTree<Vector<double, 3>, 3>;
using Ranges = std::vector<std::pair<unsigned, unsigned>>;

std::vector<Vector<double, 3>> randomPoints(std::size_t count)
{
  Testing::RandomGeometry random(count);
  std::vector<Vector<double, 3>> points;
  while (points.size() < count)
    points.push_back(random.inCube<3>(10.0));
  return points;
}

/// The last node is the last of the right spine, or below the last inner one's first child.
template <class Tree>
unsigned countNodes(const Tree& tree)
{
  unsigned count = 1;
  for (unsigned i = 0; i < count; ++i)
    if (!tree.getNode(i).isLeaf()) count = std::max(count, tree.getNode(i).secondWord + 1);
  return count;
}

/// The element ranges of the leaves in the order of the node array.
template <class Tree>
Ranges leavesOf(const Tree& tree)
{
  Ranges leaves;
  for (unsigned i = 0; i < countNodes(tree); ++i)
    if (tree.getNode(i).isLeaf()) leaves.emplace_back(tree.getNode(i).firstElement(), tree.getNode(i).endElement());
  return leaves;
}

/// Checks a node and all below against the definition; counts nodes, and elements under the node.
template <unsigned dim, class Tree>
struct Checker
{
  const Tree& tree;
  unsigned nextNode = 1;

  std::pair<unsigned, unsigned> check(unsigned index)
  {
    const auto& node = tree.getNode(index);
    if (node.isLeaf()) {
      checkLeaf(node);
      return {node.firstElement(), node.endElement()};
    }
    EXPECT_EQ(node.firstWord, nextNode);
    EXPECT_EQ(node.secondWord, nextNode + 1);
    nextNode += 2;
    const auto left = check(node.firstWord);
    const auto right = check(node.secondWord);
    EXPECT_EQ(left.second, right.first);
    EXPECT_EQ(left.second, (left.first + right.second + 1) / 2);
    AxisAlignedBox<float, dim> both = tree.getNode(node.firstWord).volume;
    both.extend(tree.getNode(node.secondWord).volume);
    EXPECT_EQ(node.volume, both);
    checkCut(left, right);
    return {left.first, right.second};
  }

  void checkLeaf(const Node<AxisAlignedBox<float, dim>>& node)
  {
    EXPECT_LE(node.endElement() - node.firstElement(), tree.getMaxLeafSize());
    AxisAlignedBox<double, dim> exact;
    for (unsigned i = node.firstElement(); i < node.endElement(); ++i)
      visitPoints(tree.getElement(i), [&exact](const auto& point) { exact.extend(point); });
    for (unsigned axis = 0; axis < dim; ++axis) {
      const auto checkBound = [](double bound, double exactBound, double sign) {
        const double margin = std::max(std::abs(exactBound) * 1e-6, 1e-6);
        // Rounding to float takes at most an eighth of the margin on either side of the bound.
        EXPECT_NEAR(bound, exactBound + sign * margin, margin * 0.13);
      };
      checkBound(static_cast<double>(node.volume.min[axis]), exact.min[axis], -1.0);
      checkBound(static_cast<double>(node.volume.max[axis]), exact.max[axis], 1.0);
    }
  }

  void checkCut(std::pair<unsigned, unsigned> left, std::pair<unsigned, unsigned> right)
  {
    AxisAlignedBox<double, dim> parts[2];
    for (unsigned i = left.first; i < right.second; ++i)
      parts[i >= left.second].extend(positionOf<dim>(tree.getElement(i)));
    AxisAlignedBox<double, dim> all = parts[0];
    all.extend(parts[1]);
    unsigned longest = 0;
    for (unsigned axis = 1; axis < dim; ++axis)
      if (all.max[axis] - all.min[axis] > all.max[longest] - all.min[longest]) longest = axis;
    EXPECT_LE(parts[0].max[longest], parts[1].min[longest]);
  }
};

template <unsigned dim, class Tree>
void checkTree(const Tree& tree)
{
  const auto range = Checker<dim, Tree>{tree}.check(0);
  EXPECT_EQ(range.first, 0U);
  EXPECT_EQ(range.second, tree.numberOfElements());
  std::vector<bool> seen(tree.numberOfElements());
  for (unsigned i = 0; i < tree.numberOfElements(); ++i)
    seen[tree.getElementId(i)] = true;
  EXPECT_EQ(std::count(seen.begin(), seen.end(), true), static_cast<std::ptrdiff_t>(seen.size()));
}

void expectSameTree(const PointTree& a, const PointTree& b)
{
  ASSERT_EQ(a.numberOfElements(), b.numberOfElements());
  const unsigned numberOfNodes = countNodes(b);
  for (unsigned i = 0; i < a.numberOfElements(); ++i)
    ASSERT_EQ(a.getElementId(i), b.getElementId(i)) << i;
  for (unsigned i = 0; i < numberOfNodes; ++i) {
    const auto &first = a.getNode(i), &second = b.getNode(i);
    ASSERT_TRUE(first.firstWord == second.firstWord && first.secondWord == second.secondWord) << i;
    ASSERT_EQ(first.volume, second.volume) << i;
  }
}

} // namespace

TEST(TopDownPartitioner, ShapeFollowsFromCountLeafSizeAndDepth)
{
  const std::tuple<std::size_t, unsigned, unsigned, unsigned, Ranges> rows[] = {
      {0, 2, 30, 2, {{0, 0}}},
      {4, 4, 30, 4, {{0, 4}}},
      {5, 4, 30, 4, {{0, 3}, {3, 5}}},
      {5, 2, 30, 2, {{3, 5}, {0, 2}, {2, 3}}},
      {3, 1, 30, 1, {{2, 3}, {0, 1}, {1, 2}}},
      {10, 4, 0, 19, {{0, 10}}},
      {10, 1, 1, 9, {{0, 5}, {5, 10}}},
      {4, 1, 4000000000U, 1, {{0, 1}, {1, 2}, {2, 3}, {3, 4}}},
  };
  for (const auto& [count, leafSize, maxDepth, leafSizeInForce, leaves] : rows) {
    SCOPED_TRACE(testing::Message() << count << " elements, leaf " << leafSize << ", depth " << maxDepth);
    const PointTree tree(randomPoints(count), leafSize, maxDepth);
    EXPECT_EQ(tree.getMaxLeafSize(), leafSizeInForce);
    EXPECT_EQ(tree.empty(), count == 0);
    EXPECT_THAT(leavesOf(tree), testing::UnorderedElementsAreArray(leaves));
    if (count > 0) checkTree<3>(tree);
  }
  EXPECT_TRUE(PointTree().empty());
  EXPECT_EQ(PointTree().getRoot().volume, (AxisAlignedBox<float, 3>()));
}

TEST(TopDownPartitioner, TreesOfManySizesHoldTheirElementsTightly)
{
  for (const std::size_t count : {2U, 7U, 100U, 1234U, 20000U})
    for (const unsigned leafSize : {1U, 3U, 8U})
      checkTree<3>(PointTree(randomPoints(count), leafSize, 30));

  const PointTree equal(std::vector<Vector<double, 3>>(1000, Vector<double, 3>(1.0, 2.0, 3.0)), 1, 30);
  EXPECT_EQ(countNodes(equal), 1999U) << "equal positions are split by rank";
  checkTree<3>(equal);
  Testing::RandomGeometry random(3);
  checkTree<3>(ElementTree<Triangle, 3>(Testing::triangleSoup(random, 3000, 0.2, 1000.0), 4, 30));
  Mesh sphere = Testing::sphere(5000);
  checkTree<3>(ElementTree<Triangle*, 3>(sphere, 8, 30));
  std::vector<Triangle*> backwards;
  for (unsigned i = 4000; i-- > 0;)
    backwards.push_back(&sphere.getTriangleRef(i));
  const ElementTree<Triangle*, 3> pointers(backwards, 2, 30);
  for (unsigned i = 0; i < 4000; ++i)
    ASSERT_EQ(pointers.getElement(i), backwards[pointers.getElementId(i)]);
  checkTree<3>(
      TopDownPartitioner<SetIndexElementSetProvider<Mesh, Triangle>, AxisAlignedBox<float, 3>, KdTreeSorter, 3>(sphere,
                                                                                                                2, 30));
}

TEST(TopDownPartitioner, ParallelAndSerialBuildsAreTheSameTree)
{
  for (const std::size_t count : {100000U, 130007U, 600000U}) {
    SCOPED_TRACE(count);
    std::vector<Vector<double, 3>> points = randomPoints(count);
    // Equal coordinates, too, must come to the same place.
    for (std::size_t i = 0; i < count; i += 3)
      points[i][1] = std::round(points[i][1]);
    omp_set_num_threads(2);
    const PointTree parallel(points, 4, 30);
    omp_set_num_threads(1);
    const PointTree serial(points, 4, 30);
    omp_set_num_threads(2);
    expectSameTree(parallel, serial);
  }
}

TEST(TopDownPartitioner, BuildsInsideAParallelRegionAndManyAtOnce)
{
  const std::vector<Vector<double, 3>> points = randomPoints(120000);
  const PointTree alone(points, 8, 30);
  std::vector<std::unique_ptr<PointTree>> trees(8);
#pragma omp parallel for num_threads(4)
  for (int i = 0; i < 4; ++i)
    trees[static_cast<unsigned>(i)] = std::make_unique<PointTree>(points, 8, 30);
  std::vector<std::thread> threads;
  for (unsigned i = 4; i < 8; ++i)
    threads.emplace_back([&, i] { trees[i] = std::make_unique<PointTree>(points, 8, 30); });
  for (std::thread& thread : threads)
    thread.join();
  for (const auto& tree : trees)
    expectSameTree(*tree, alone);
}

TEST(TopDownPartitioner, NullSorterKeepsTheOrderOfTheSource)
{
  using P = Point<float, 3>;
  const auto line = Testing::polyLineFrom<P>("0,0,0 9,0,0 1,0,0 8,0,0 2,0,0 7,0,0 3,0,0 6,0,0");
  const TopDownPartitioner<ElementSetProvider<Segment<P>>, AxisAlignedBox<float, 3>, NullSorter, 3> tree(line, 2, 30);
  for (unsigned i = 0; i < tree.numberOfElements(); ++i)
    EXPECT_EQ(tree.getElementId(i), i);
  EXPECT_EQ(leavesOf(tree), (Ranges{{0, 2}, {2, 4}, {4, 6}, {6, 7}}));
}

TEST(TopDownPartitioner, ViewsOfRawMeshesReadTheirOwnersArrays)
{
  const std::int32_t triangles[] = {0, 1, 2, 2, 1, 3};
  float coordinates[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 5};
  const float* current = coordinates;
  const DEMeshAdapter adapter{triangles, 2, &current};
  const TopDownPartitioner<SetIndexElementSetProvider<DEMeshAdapter, SetIndexElement<DEMeshAdapter>>,
                           AxisAlignedBox<float, 3>, KdTreeSorter, 3>
      tree(adapter, 1, 30);
  EXPECT_NEAR(static_cast<double>(tree.getRoot().volume.max[2]), 5.0, 1e-5);
  const float moved[] = {0, 0, 7, 1, 0, 0, 0, 1, 0, 1, 1, 5};
  current = moved;
  for (unsigned i = 0; i < 2; ++i) {
    const auto element = tree.getElement(i);
    EXPECT_EQ(element.index, tree.getElementId(i));
    EXPECT_EQ(element.set->getCorner(0, 0)[2], 7.0F);
  }
}

TEST(TopDownPartitioner, HostileCoordinatesDontStopABuild)
{
  constexpr double infinity = std::numeric_limits<double>::infinity();
  std::vector<Vector<double, 3>> points = randomPoints(3000);
  for (std::size_t i = 0; i < points.size(); i += 7)
    points[i] = Vector<double, 3>(std::nan(""), infinity, -1e300);
  const PointTree tree(points, 2, 30);
  EXPECT_EQ(countNodes(tree), 3951U);
}
