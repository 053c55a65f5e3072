#include "geometry/BoundingVolumeHierarchy/PointSearchTreeT.h"

#include "geometry/BoundingVolumeHierarchy/ElementIds.h"
#include "geometry/BoundingVolumeHierarchy/Queries.h"
#include "geometry/mesh/Mesh.h"

#include <algorithm>
#include <utility>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

constexpr unsigned maxDepth = 30;

template <unsigned dim>
using NearestResult = DistanceQueryResult<Vector<double, dim>, Vector<double, dim>>;

template <class Hierarchy, class Result>
std::uint64_t idOf(const Hierarchy& tree, const Result& result)
{
  return result.found ? tree.getElementId(result.secondIndex) : 0;
}

/// The nearest candidates so far as a binary heap with the farthest at its root, kept in the lists of the caller.
class NearestHeap
{
public:
  /// Both lists have room for as many entries as the heap may hold.
  NearestHeap(std::vector<int>& elements, std::vector<double>& squareDistances)
      : capacity(elements.size()), positions(elements.data()), keys(squareDistances.data())
  {}

  std::size_t size() const { return count; }
  bool isFull() const { return count == capacity; }
  /// There must be an entry.
  double farthest() const { return keys[0]; }

  void offer(int position, double key)
  {
    if (!isFull())
      siftUp(count++, position, key);
    else if (keys[0] > key)
      siftDown(count, position, key);
  }

  /// Turns the heap into an ascending list.
  void sort()
  {
    for (std::size_t last = count; last-- > 1;) {
      const int position = positions[last];
      const double key = keys[last];
      move(0, last);
      siftDown(last, position, key);
    }
  }

private:
  void put(std::size_t at, int position, double key)
  {
    positions[at] = position;
    keys[at] = key;
  }
  void move(std::size_t from, std::size_t to) { put(to, positions[from], keys[from]); }

  void siftUp(std::size_t hole, int position, double key)
  {
    while (hole > 0 && keys[(hole - 1) / 2] < key) {
      move((hole - 1) / 2, hole);
      hole = (hole - 1) / 2;
    }
    put(hole, position, key);
  }

  /// Replaces the root in the heap of the first `end` entries.
  void siftDown(std::size_t end, int position, double key)
  {
    std::size_t hole = 0;
    for (std::size_t child = 1; child < end; child = 2 * hole + 1) {
      if (child + 1 < end && keys[child + 1] > keys[child]) ++child;
      if (!(keys[child] > key)) break;
      move(child, hole);
      hole = child;
    }
    put(hole, position, key);
  }

  std::size_t capacity;
  std::size_t count = 0;
  int* positions;
  double* keys;
};

} // namespace

template <unsigned dim>
PointSearchTreeT<dim>::PointSearchTreeT() : bvh(std::make_shared<const Hierarchy>())
{}

template <unsigned dim>
template <TreePoint<dim> PointType>
PointSearchTreeT<dim>::PointSearchTreeT(const std::vector<PointType>& points, unsigned maxLeafSize)
    : bvh(std::make_shared<const Hierarchy>(points, maxLeafSize, maxDepth))
{}

template <unsigned dim>
PointSearchTreeT<dim>::PointSearchTreeT(const Mesh& mesh, bool useTriangleCenters,
                                        unsigned maxLeafSize) requires(dim == 3)
{
  initFromMesh(mesh, useTriangleCenters, maxLeafSize);
}

template <unsigned dim>
PointSearchTreeT<dim>::PointSearchTreeT(const std::shared_ptr<const Mesh>& mesh, bool useTriangleCenters,
                                        unsigned maxLeafSize) requires(dim == 3)
    : PointSearchTreeT()
{
  if (mesh) initFromMesh(*mesh, useTriangleCenters, maxLeafSize);
}

template <unsigned dim>
void PointSearchTreeT<dim>::initFromMesh(const Mesh& mesh, bool useTriangleCenters,
                                         unsigned maxLeafSize) requires(dim == 3)
{
  std::vector<Point<double, 3>> points;
  if (useTriangleCenters) {
    points.reserve(mesh.numberOfTriangles());
    for (const Triangle& triangle : mesh.getTriangleCollection())
      points.push_back(triangle.getCenter());
  } else {
    points.assign(mesh.beginVertex(), mesh.endVertex());
  }
  bvh = std::make_shared<const Hierarchy>(points, maxLeafSize, maxDepth);
}

template <unsigned dim>
bool PointSearchTreeT<dim>::selectClosest(const Vector<double, dim>& point, std::uint64_t& id) const
{
  NearestResult<dim> result;
  closest(*bvh, point, result);
  id = idOf(*bvh, result);
  return result.found;
}

template <unsigned dim>
bool PointSearchTreeT<dim>::getNearestPoint(const Vector<double, dim>& point, Point<double, dim>& nearest) const
{
  NearestResult<dim> result;
  closest(*bvh, point, result);
  if (result.found) nearest = bvh->getElement(result.secondIndex);
  return result.found;
}

template <unsigned dim>
double PointSearchTreeT<dim>::squareDistance(const Vector<double, dim>& point) const
{
  NearestResult<dim> result;
  closest(*bvh, point, result);
  return result.squareDistance;
}

template <unsigned dim>
double PointSearchTreeT<dim>::squareDistance(const Vector<double, dim>& point, std::uint64_t& id) const
{
  NearestResult<dim> result;
  closest(*bvh, point, result);
  id = idOf(*bvh, result);
  return result.squareDistance;
}

template <unsigned dim>
bool PointSearchTreeT<dim>::nearestPointIndexExcluded(const Vector<double, dim>& point, std::uint64_t excludedId,
                                                      std::uint64_t& id) const
{
  NearestResult<dim> result;
  visitNearestFirst(
      *bvh, SquareDistanceOfChildren(point),
      [&result](double value) { return result.found && value > result.squareDistance; },
      [&](std::uint32_t first, std::uint32_t end) {
        for (std::uint32_t position = first; position < end; ++position)
          if (bvh->getElementId(position) != excludedId && distance(point, bvh->getElement(position), result))
            result.secondIndex = position;
      });
  id = idOf(*bvh, result);
  return result.found;
}

template <unsigned dim>
bool PointSearchTreeT<dim>::nearestPointIndices(const Vector<double, dim>& point, int k, std::vector<int>& ids,
                                                std::vector<double>& squareDistances, bool sorted) const
{
  const auto capacity = std::min<std::size_t>(static_cast<std::size_t>(std::max(k, 0)), bvh->numberOfElements());
  ids.resize(capacity);
  squareDistances.resize(capacity);
  if (capacity == 0) return false;

  NearestHeap heap(ids, squareDistances);
  visitNearestFirst(
      *bvh, SquareDistanceOfChildren(point), [&heap](double value) { return heap.isFull() && value > heap.farthest(); },
      [&](std::uint32_t first, std::uint32_t end) {
        for (std::uint32_t position = first; position < end; ++position) {
          NearestResult<dim> candidate;
          distance(point, bvh->getElement(position), candidate);
          heap.offer(static_cast<int>(position), candidate.squareDistance);
        }
      });
  turnIntoIds(*bvh, ids);
  if (sorted) heap.sort();
  return true;
}

template <unsigned dim>
bool PointSearchTreeT<dim>::sphereSelectFirst(const Vector<double, dim>& point, double radius, std::uint64_t& id) const
{
  NearestResult<dim> result;
  closestWithin(*bvh, point, radius * radius, result);
  id = idOf(*bvh, result);
  return result.found;
}

template <unsigned dim>
bool PointSearchTreeT<dim>::sphereSelectAll(const Vector<double, dim>& point, double radius,
                                            std::vector<int>& ids) const
{
  ids.clear();
  withinRadius<NearestResult<dim>>(*bvh, point, radius * radius, [&ids](const NearestResult<dim>& result) {
    ids.push_back(static_cast<int>(result.secondIndex));
  });
  turnIntoIds(*bvh, ids);
  return !ids.empty();
}

template <unsigned dim>
bool PointSearchTreeT<dim>::minimumSignedPlaneDistance([[maybe_unused]] const Vector<double, 3>& normal,
                                                       [[maybe_unused]] double offset,
                                                       [[maybe_unused]] std::uint64_t& id,
                                                       [[maybe_unused]] double& distance) const
{
  if constexpr (dim == 3) {
    const SignedPlane plane(normal, offset);
    DistanceQueryResult<SignedPlane, Vector<double, 3>> result;
    visitNearestFirst(
        *bvh, SignedDistanceOfChildren(plane),
        [&result](double value) { return result.found && value > result.squareDistance; },
        NearestLeaf(*bvh, plane, result));
    if (!result.found) return false;
    id = idOf(*bvh, result);
    distance = result.squareDistance;
    return true;
  } else {
    return false;
  }
}

#define KV_INSTANTIATE(dim, ...)                                                                                       \
  template KVSHAPES_EXPORT PointSearchTreeT<dim>::PointSearchTreeT(const std::vector<__VA_ARGS__>&, unsigned);
KV_INSTANTIATE(2, Vector<double, 2>)
KV_INSTANTIATE(2, Point<float, 2>)
KV_INSTANTIATE(2, Point<double, 2>)
KV_INSTANTIATE(3, Vector<double, 3>)
KV_INSTANTIATE(3, Point<float, 3>)
KV_INSTANTIATE(3, Point<double, 3>)
KV_INSTANTIATE(3, ConstraintPoint)
KV_INSTANTIATE(3, Point3N)
KV_INSTANTIATE(3, Point3NT)
KV_INSTANTIATE(3, ProjectionPoint)
#undef KV_INSTANTIATE

template class PointSearchTreeT<2>;
template class PointSearchTreeT<3>;

} // namespace Kavrel::BoundingVolumeHierarchy
