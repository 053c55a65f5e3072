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
using testing::ElementsAre;

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

/// The element ranges of the leaves in the order of the node array.
template <class Tree>
Ranges leavesOf(const Tree& tree, std::size_t numberOfNodes)
{
  Ranges leaves;
  for (unsigned i = 0; i < numberOfNodes; ++i)
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

template <class Tree>
void expectSameTree(const Tree& a, const Tree& b, unsigned numberOfNodes)
{
  ASSERT_EQ(a.numberOfElements(), b.numberOfElements());
  for (unsigned i = 0; i < a.numberOfElements(); ++i)
    ASSERT_EQ(a.getElementId(i), b.getElementId(i)) << i;
  for (unsigned i = 0; i < numberOfNodes; ++i) {
    ASSERT_EQ(a.getNode(i).firstWord, b.getNode(i).firstWord) << i;
    ASSERT_EQ(a.getNode(i).secondWord, b.getNode(i).secondWord) << i;
    ASSERT_EQ(a.getNode(i).volume, b.getNode(i).volume) << i;
  }
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

} // namespace

TEST(TopDownPartitioner, ShapeFollowsFromCountLeafSizeAndDepth)
{
  const std::tuple<std::size_t, unsigned, unsigned, unsigned, Ranges> rows[] = {
      {0, 2, 30, 2, {{0, 0}}},
      {1, 1, 30, 1, {{0, 1}}},
      {4, 4, 30, 4, {{0, 4}}},
      {5, 4, 30, 4, {{0, 3}, {3, 5}}},
      {5, 2, 30, 2, {{3, 5}, {0, 2}, {2, 3}}},
      {3, 1, 30, 1, {{2, 3}, {0, 1}, {1, 2}}},
      {10, 4, 0, 19, {{0, 10}}},
      {10, 1, 1, 9, {{0, 5}, {5, 10}}},
      {4, 1, 2, 1, {{0, 1}, {1, 2}, {2, 3}, {3, 4}}},
      {4, 1, 4000000000U, 1, {{0, 1}, {1, 2}, {2, 3}, {3, 4}}},
  };
  for (const auto& [count, leafSize, maxDepth, leafSizeInForce, leaves] : rows) {
    SCOPED_TRACE(testing::Message() << count << " elements, leaf " << leafSize << ", depth " << maxDepth);
    const PointTree tree(randomPoints(count), leafSize, maxDepth);
    EXPECT_EQ(tree.getMaxLeafSize(), leafSizeInForce);
    EXPECT_EQ(tree.empty(), count == 0);
    EXPECT_THAT(leavesOf(tree, countNodes(tree)), testing::UnorderedElementsAreArray(leaves));
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
  const Mesh sphere = Testing::sphere(5000);
  checkTree<3>(ElementTree<Triangle*, 3>(sphere, 8, 30));
  checkTree<3>(
      TopDownPartitioner<SetIndexElementSetProvider<Mesh, Triangle>, AxisAlignedBox<float, 3>, KdTreeSorter, 3>(sphere,
                                                                                                                2, 30));
}

TEST(TopDownPartitioner, BoxesAreWidenedByAMillionthOrByTheLeastMargin)
{
  const PointTree tree(std::vector<Vector<double, 3>>{Vector<double, 3>(1000.0, 0.0, -1000.0)}, 1, 30);
  EXPECT_EQ(tree.getRoot().volume, (AxisAlignedBox<float, 3>({1000.0F - 1e-3F, -1e-6F, -1000.0F - 1e-3F},
                                                             {1000.0F + 1e-3F, 1e-6F, -1000.0F + 1e-3F})));
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
    expectSameTree(parallel, serial, countNodes(serial));
  }
}

TEST(TopDownPartitioner, BuildsInsideAParallelRegionAndManyAtOnce)
{
  const std::vector<Vector<double, 3>> points = randomPoints(120000);
  const PointTree alone(points, 8, 30);
  std::vector<std::unique_ptr<PointTree>> trees(4);
#pragma omp parallel for num_threads(4)
  for (int i = 0; i < 4; ++i)
    trees[static_cast<unsigned>(i)] = std::make_unique<PointTree>(points, 8, 30);
  for (const auto& tree : trees)
    expectSameTree(*tree, alone, countNodes(alone));

  std::vector<std::thread> threads;
  for (auto& tree : trees)
    threads.emplace_back([&tree, &points] { tree = std::make_unique<PointTree>(points, 8, 30); });
  for (std::thread& thread : threads)
    thread.join();
  for (const auto& tree : trees)
    expectSameTree(*tree, alone, countNodes(alone));
}

TEST(TopDownPartitioner, IdsRunOnOverSourcesAndSkipNull)
{
  using P = Point<double, 2>;
  const auto first = std::make_shared<const PolyLine<P>>(Testing::polyLineFrom<P>("0,0 1,0 2,0"));
  const auto second = std::make_shared<const PolyLine<P>>(Testing::polyLineFrom<P>("5,0 6,0 6,1 closed"));
  using Lines = std::vector<std::shared_ptr<const PolyLine<P>>>;
  const ElementTree<Segment<P>, 2> lines(Lines{nullptr, first, nullptr, second}, 1, 30);
  ASSERT_EQ(lines.numberOfElements(), 5U);
  for (unsigned i = 0; i < 5; ++i) {
    const unsigned id = lines.getElementId(i);
    const Segment<P> expected = id < 2 ? first->getSegment(id) : second->getSegment(id - 2);
    EXPECT_EQ(lines.getElement(i).getStart(), expected.getStart());
    EXPECT_EQ(lines.getElement(i).getEnd(), expected.getEnd());
  }
  EXPECT_TRUE((ElementTree<Segment<P>, 2>(Lines{nullptr, nullptr}, 1, 30).empty()));

  const Mesh cube = Testing::cube();
  const Mesh tetrahedron = Testing::tetrahedron();
  const ElementTree<Triangle, 3> meshes(std::vector<const Mesh*>{&cube, nullptr, &tetrahedron}, 3, 30);
  ASSERT_EQ(meshes.numberOfElements(), 16U);
  for (unsigned i = 0; i < 16; ++i) {
    const unsigned id = meshes.getElementId(i);
    const Triangle& expected = id < 12 ? cube.getTriangleRef(id) : tetrahedron.getTriangleRef(id - 12);
    EXPECT_EQ(meshes.getElement(i).getVertex(0), expected.getVertex(0));
    EXPECT_EQ(meshes.getElement(i).getIndex(), expected.getIndex());
  }

  Mesh own = Testing::cube();
  std::vector<Triangle*> backwards;
  for (unsigned i = 12; i-- > 0;)
    backwards.push_back(&own.getTriangleRef(i));
  const ElementTree<Triangle*, 3> pointers(backwards, 2, 30);
  for (unsigned i = 0; i < 12; ++i)
    EXPECT_EQ(pointers.getElement(i), backwards[pointers.getElementId(i)]);
}

TEST(TopDownPartitioner, NullSorterKeepsTheOrderOfTheSource)
{
  using P = Point<float, 3>;
  const auto line = Testing::polyLineFrom<P>("0,0,0 9,0,0 1,0,0 8,0,0 2,0,0 7,0,0 3,0,0 6,0,0");
  const TopDownPartitioner<ElementSetProvider<Segment<P>>, AxisAlignedBox<float, 3>, NullSorter, 3> tree(line, 2, 30);
  for (unsigned i = 0; i < tree.numberOfElements(); ++i)
    EXPECT_EQ(tree.getElementId(i), i);
  EXPECT_THAT(leavesOf(tree, countNodes(tree)), testing::UnorderedElementsAre(std::pair(0U, 2U), std::pair(2U, 4U),
                                                                              std::pair(4U, 6U), std::pair(6U, 7U)));
  // 0 at the start of the first segment, 9 at its end and at the start of the second.
  EXPECT_NEAR(static_cast<double>(tree.getRoot().volume.max[0]), 9.0, 2e-5);
}

TEST(TopDownPartitioner, ViewsOfRawMeshesReadTheirOwnersArrays)
{
  const std::int32_t triangles[] = {0, 1, 2, 2, 1, 3};
  std::vector<float> coordinates = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 5};
  const float* current = coordinates.data();
  const DEMeshAdapter adapter{triangles, 2, &current};
  const TopDownPartitioner<SetIndexElementSetProvider<DEMeshAdapter, SetIndexElement<DEMeshAdapter>>,
                           AxisAlignedBox<float, 3>, KdTreeSorter, 3>
      tree(adapter, 1, 30);
  EXPECT_NEAR(static_cast<double>(tree.getRoot().volume.max[2]), 5.0, 1e-5);
  const std::vector<float> moved = {0, 0, 7, 1, 0, 0, 0, 1, 0, 1, 1, 5};
  current = moved.data();
  for (unsigned i = 0; i < 2; ++i) {
    const auto element = tree.getElement(i);
    EXPECT_EQ(element.index, tree.getElementId(i));
    if (element.index == 0) {
      EXPECT_EQ(element.set->getCorner(0, 0)[2], 7.0F);
    }
  }

  const Mesh mesh = Testing::cube();
  std::vector<float> x(mesh.numberOfVertices()), y(mesh.numberOfVertices());
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i] = static_cast<float>(i);
    y[i] = 10.0F - static_cast<float>(i);
  }
  const InitialCoordinatesMesh flat(mesh, x, y);
  const TopDownPartitioner<SetIndexElementSetProvider<InitialCoordinatesMesh, SetIndexElement<InitialCoordinatesMesh>>,
                           AxisAlignedBox<float, 2>, KdTreeSorter, 2>
      flatTree(flat, 2, 30);
  checkTree<2>(flatTree);
  EXPECT_NEAR(static_cast<double>(flatTree.getRoot().volume.max[0]), 7.0, 1e-5);
  EXPECT_NEAR(static_cast<double>(flatTree.getRoot().volume.min[1]), 3.0, 1e-5);
}

TEST(TopDownPartitioner, BytesFollowTheCapacity)
{
  const std::size_t count = 1000;
  const PointTree tree(randomPoints(count), 9, 30);
  // 128 leaves and 127 inner nodes against a reserve of 400: more than half of it used, so it stays.
  EXPECT_EQ(countNodes(tree), 255U);
  EXPECT_EQ(tree.estimateBytes(), count * 32 + 400 * 32 + sizeof(PointTree));
  // 7 nodes against a reserve of 15: less than half of it used, so it goes.
  const PointTree trimmed(randomPoints(120), 30, 30);
  EXPECT_EQ(countNodes(trimmed), 7U);
  EXPECT_EQ(trimmed.estimateBytes(), 120 * 32 + 7 * 32 + sizeof(PointTree));
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
