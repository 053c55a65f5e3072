#include "geometry/BoundingVolumeHierarchy/BoxSearchTree.h"
#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"
#include "geometry/BoundingVolumeHierarchy/PointSearchTreeT.h"
#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"
#include "geometry/NurbsCurve.h"
#include "geometry/PolyLine.h"
#include "geometry/mesh/Mesh.h"
#include "support/MeshBuilder.h"
#include "support/RandomGeometry.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <new>

namespace {
std::atomic<std::size_t> allocations = 0;
}

[[gnu::noinline]] void* operator new(std::size_t size)
{
  ++allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment)
{
  ++allocations;
  const auto align = static_cast<std::size_t>(alignment);
  if (void* memory = std::aligned_alloc(align, (size + align - 1) / align * align)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;

namespace {

using V3 = Vector<double, 3>;
using P3 = Point<double, 3>;
constexpr double largest = std::numeric_limits<double>::max();

/// Runs every query twice: the first run gives its output lists room, the second must not ask for memory.
void expectNoAllocation(const std::vector<std::pair<const char*, std::function<void()>>>& rows)
{
  for (const auto& [name, query] : rows) {
    SCOPED_TRACE(name);
    query();
    const std::size_t before = allocations;
    query();
    EXPECT_EQ(allocations - before, 0U);
  }
}

TEST(QueryAllocation, TheCounterCounts)
{
  const std::size_t before = allocations;
  const auto value = std::make_unique<int>(3);
  EXPECT_EQ(allocations - before, static_cast<std::size_t>(*value - 2));
}

TEST(QueryAllocation, PointsAndBoxes)
{
  Testing::RandomGeometry random(501);
  std::vector<V3> points;
  std::vector<AxisAlignedBox<double, 3>> boxes;
  for (int i = 0; i < 5000; ++i) {
    points.push_back(random.inCube<3>(1));
    boxes.emplace_back(points.back(), points.back() + V3(0.1, 0.1, 0.1));
  }
  const PointSearchTreeT<3> tree(points, 8);
  const BoxSearchTree<3> boxTree(boxes, 8);
  const auto otherBoxes = std::make_shared<BoxSearchTree<3>>(std::vector(boxes.begin(), boxes.begin() + 100), 8);
  const V3 query(0.1, 0.2, 0.3);
  std::uint64_t id = 0;
  double distance = 0;
  std::vector<int> ids;
  std::vector<double> distances;
  std::vector<std::pair<int, int>> pairs;
  expectNoAllocation({
      {"closest", [&] { tree.selectClosest(query, id); }},
      {"excluded", [&] { tree.nearestPointIndexExcluded(query, 5, id); }},
      {"k nearest", [&] { tree.nearestPointIndices(query, 50, ids, distances, true); }},
      {"sphere, first", [&] { tree.sphereSelectFirst(query, 0.5, id); }},
      {"sphere, all", [&] { tree.sphereSelectAll(query, 0.5, ids); }},
      {"plane", [&] { tree.minimumSignedPlaneDistance(query, 0.5, id, distance); }},
      {"boxes containing", [&] { boxTree.getBoxesContaining(query, ids); }},
      {"boxes intersecting", [&] { boxTree.getBoxesIntersecting(boxes[7], ids); }},
      {"box pairs", [&] { boxTree.getIntersections(otherBoxes, pairs); }},
  });
}

TEST(QueryAllocation, PolyLines)
{
  Testing::RandomGeometry random(502);
  PolyLine<Point3N> line, other;
  for (const auto& p : random.walk<3>(3000, 1))
    line.addPoint(Point3N(p));
  for (const auto& p : random.walk<3>(2000, 1))
    other.addPoint(Point3N(p));
  const PolyLineSearchTree<Point3N> tree(line, 5), otherTree(other, 5);
  const V3 query(1, 2, 3);
  const Plane<double, 3> plane;
  double distance = 0;
  Point3N onThis, onOther;
  const std::vector<double> parameters(3000);
  std::vector<PolyLineSearchTree<Point3N>::SegmentIntersection> list;
  expectNoAllocation({
      {"distance", [&] { tree.squareDistance(query); }},
      {"limited distance", [&] { tree.squareDistance(query, 4.0, distance); }},
      {"projection", [&] { onThis = tree.projectPoint(query); }},
      {"parameter", [&] { tree.calcParameter(query, distance, parameters); }},
      {"plane", [&] { tree.squareDistanceToPlane(plane); }},
      {"pair", [&] { tree.squareDistance(otherTree, onThis, onOther, largest); }},
      {"Hausdorff", [&] { tree.oneSidedHausdorffDistance(other); }},
      {"crossings",
       [&] {
         list.clear();
         tree.intersectXY(otherTree, list, false, 0);
       }},
  });
}

TEST(QueryAllocation, NurbsCurves)
{
  NurbsCurve<double, 3> curve({P3(0, 0, 0), P3(1, 2, 0), P3(3, 2, 1), P3(4, 0, 0)}, {1, 2, 0.5, 1},
                              {0, 0, 0, 0, 1, 1, 1, 1}, false, false, false, 0.1);
  auto cached = curve;
  cached.enableAndGenerateIgNurbsCurveCache();
  std::vector<P3> derivatives;
  P3 point;
  expectNoAllocation({
      {"point", [&] { point = curve.evaluate(0.3); }},
      {"point by the cache", [&] { point = cached.evaluate(0.3); }},
      {"derivation", [&] { point = curve.evaluateDerivation(0.3); }},
      {"derivatives",
       [&] {
         derivatives.clear();
         curve.derivates(derivatives, 0.3);
       }},
  });
}

TEST(QueryAllocation, Meshes)
{
  const Mesh mesh = Testing::sphere(3000, 5);
  Mesh moved = Testing::sphere(1000, 5);
  moved.move(V3(3, 2, 1));
  const MeshSearchTree tree(mesh, 8, 30), other(moved, 8, 30);
  PolyLine<Point3N> line;
  for (int i = 0; i < 500; ++i)
    line.addPoint(Point3N(10, i * 0.01, 0));
  const PolyLineSearchTree<Point3N> lineTree(line, 5);
  const V3 query(1, 2, 3), direction(0.1, 0.2, -1);
  const Plane<double, 3> plane;
  XiEtaPoint place;
  Point3N point, onOther;
  double distance = 0;
  MeshSearchTree::RayIntersectionResult hit;
  std::vector<XiEtaPoint> places;
  std::vector<int> ids;
  std::vector<MeshSearchTree::TriangleIntersectionResult> pairs;
  expectNoAllocation({
      {"nearest", [&] { tree.getNearestPoint(query, point, place); }},
      {"plane distance", [&] { tree.calcMinDistanceToPlane(plane); }},
      {"sphere, first", [&] { tree.sphereSelectFirst(query, 2, point); }},
      {"sphere, all", [&] { tree.sphereSelectAll(query, 4, places); }},
      {"near plane", [&] { tree.planeSelectAll(plane, 0.3, ids); }},
      {"plane cut", [&] { tree.planeIntersections(plane, ids); }},
      {"leaves", [&] { tree.collectLeafs(V3(0, 0, 0), V3(9, 9, 9), ids); }},
      {"line", [&] { tree.lineSelectFirst(query, direction, hit); }},
      {"tolerant line", [&] { tree.lineSelectFirstLegacy(query, direction, 0.01, hit); }},
      {"vertical", [&] { tree.lineSelectFirstZ(query, hit); }},
      {"ray", [&] { tree.raySelectFirst(query, direction, place, point, distance); }},
      {"line, all", [&] { tree.lineSelectAll(query, direction, places); }},
      {"ray, all", [&] { tree.raySelectAll(query, direction, places); }},
      {"crossing meshes", [&] { tree.getMeshIntersections(other, pairs); }},
      {"nearest meshes", [&] { tree.getNearestPoints(other, point, onOther, distance, largest); }},
      {"nearest polyline", [&] { tree.getNearestPoints(lineTree, point, onOther, distance, largest); }},
  });
}

} // namespace
