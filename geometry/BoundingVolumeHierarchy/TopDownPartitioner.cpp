#include "geometry/BoundingVolumeHierarchy/TopDownPartitioner.h"

#include "geometry/BoundingVolumeHierarchy/ElementGeometry.h"
#include "geometry/BoundingVolumeHierarchy/KdTreeSorter.h"
#include "geometry/BoundingVolumeHierarchy/NullSorter.h"
#include "geometry/BoundingVolumeHierarchy/ThreadPool.h"
#include "geometry/mesh/Mesh.h"

#include <algorithm>
#include <cmath>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

/// From this many elements on the sort runs on the thread pool.
constexpr std::size_t parallelBuildThreshold = 100000;
/// Ranges below this size are not split between tasks.
constexpr int sortTaskThreshold = 5000;
/// A depth beyond this one limits nothing.
constexpr std::uint32_t maximumDepthLimit = 30;
/// How far a leaf's bounds are moved outwards, relative to the bound, and at least.
constexpr double boxMargin = 1e-6;
/// How many elements ahead their corners are fetched.
constexpr std::uint32_t prefetchAhead = 16;

template <class T>
T margin(T bound)
{
  return static_cast<T>(std::max(std::abs(static_cast<double>(bound)) * boxMargin, boxMargin));
}

template <class T, unsigned dim>
void widen(AxisAlignedBox<T, dim>& box)
{
  for (unsigned i = 0; i < dim; ++i) {
    box.min[i] -= margin(box.min[i]);
    box.max[i] += margin(box.max[i]);
  }
}

} // namespace

template <class Provider, class Volume>
void BoundingVolumeHierarchyBase<Provider, Volume>::createBoundingVolumesBottomUp(NodeType& node)
{
  if (node.isLeaf()) {
    if (node.firstWord == node.secondWord) return;
    for (std::uint32_t position = node.firstElement(); position < node.endElement(); ++position) {
      if constexpr (requires { this->prefetchCorners(0U); }) this->prefetchCorners(position + prefetchAhead);
      visitPoints(this->getElement(position), [&node](const auto& point) { node.volume.extend(point); });
    }
    if constexpr (requires { this->packLeaf(0U, 0U); }) this->packLeaf(node.firstElement(), node.endElement());
    widen(node.volume);
    return;
  }
  NodeType& first = getNode(node.firstWord);
  createBoundingVolumesBottomUp(first);
  node.volume = first.volume;
  if (!node.hasSecondChild()) return;
  NodeType& second = getNode(node.secondWord);
  createBoundingVolumesBottomUp(second);
  node.volume.extend(second.volume);
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::build(std::uint32_t maxDepth)
{
  const auto count = static_cast<double>(this->numberOfElements());
  const double expectedLeafFill = (this->maxLeafSize + 1.0) * 0.5;
  const double leafCap = std::ldexp(1.0, static_cast<int>(std::min(maxDepth, maximumDepthLimit)));
  if (count / expectedLeafFill > leafCap)
    this->maxLeafSize = static_cast<std::uint32_t>(std::ceil(2.0 * (count / leafCap) - 1.0));
  this->nodes.reserve(static_cast<std::size_t>(2.0 * count / ((this->maxLeafSize + 1.0) * 0.5)));
  partition();
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::partition()
{
  if (!this->nodes.empty()) return;
  SorterType sorter(*this);
  this->addNode();
  const auto count = static_cast<unsigned>(this->numberOfElements());
  if (count >= parallelBuildThreshold && ThreadPool::isAvailable()) {
    sortInParallel(sorter, count);
    createMedianCutNodes(0, 0, count, 0);
  } else {
    subdivide(sorter, 0, 0, count, 0);
  }
  if constexpr (!SorterType::sortsInPlace) this->reorder(sorter);
  if (2 * this->nodes.size() < this->nodes.capacity()) decltype(this->nodes)(this->nodes).swap(this->nodes);
  if constexpr (requires { this->preparePacking(); }) this->preparePacking();
  this->createBoundingVolumesBottomUp(this->getNode(0));
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
template <class AnySorter>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::createNodes(AnySorter& sorter, unsigned node, unsigned first,
                                                                    unsigned last, int depth)
{
  while (last - first > this->maxLeafSize) {
    const unsigned middle = sorter.sort(first, last, depth);
    // Each addition may move the array, so the node is looked up anew.
    const unsigned left = this->addNode();
    this->getNode(node).firstWord = left;
    const unsigned right = this->addNode();
    this->getNode(node).secondWord = right;
    ++depth;
    createNodes(sorter, left, first, middle, depth);
    node = right;
    first = middle;
  }
  this->getNode(node).firstWord = first | isLeafFlag;
  this->getNode(node).secondWord = last | isLeafFlag;
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::subdivide(SorterType& sorter, unsigned node, unsigned first,
                                                                  unsigned last, int depth)
{
  createNodes(sorter, node, first, last, depth);
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::createMedianCutNodes(unsigned node, unsigned first,
                                                                             unsigned last, int depth)
{
  // The cuts follow from the bounds alone, so a sorter that looks at nothing finds them again.
  NullSorter<typename Provider::Element, Volume, dim> cuts(*this);
  createNodes(cuts, node, first, last, depth);
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::sortInParallel(SorterType& sorter, unsigned count)
{
  ThreadPool& pool = ThreadPool::getInstance();
  pool.enqueue([this, &sorter, count, &pool] { sortParallelTask(&sorter, 0, static_cast<int>(count), &pool); });
  pool.waitUntilIdle();
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::sortSingleThread(SorterType* sorter, unsigned first,
                                                                         unsigned last)
{
  while (last - first > this->maxLeafSize) {
    const unsigned middle = sorter->sort(first, last, 0);
    sortSingleThread(sorter, first, middle);
    first = middle;
  }
}

template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
void TopDownPartitioner<Provider, Volume, Sorter, dim>::sortParallelTask(SorterType* sorter, int first, int last,
                                                                         ThreadPool* pool)
{
  const auto sort = [sorter](int from, int to) {
    return static_cast<int>(sorter->sort(static_cast<unsigned>(from), static_cast<unsigned>(to), 0));
  };
  const auto sortHere = [this, sorter](int from, int to) {
    sortSingleThread(sorter, static_cast<unsigned>(from), static_cast<unsigned>(to));
  };
  const auto isLeaf = [this](int from, int to) { return static_cast<unsigned>(to - from) <= this->maxLeafSize; };

  while (last - first >= sortTaskThreshold) {
    const int middle = sort(first, last);
    if (middle - first > sortTaskThreshold) {
      pool->enqueue([this, sorter, first, middle, pool] { sortParallelTask(sorter, first, middle, pool); });
    } else if (!isLeaf(first, middle)) {
      const int quarter = sort(first, middle);
      sortHere(first, quarter);
      sortHere(quarter, middle);
    }
    first = middle;
  }
  if (isLeaf(first, last)) return;
  const int middle = sort(first, last);
  sortHere(first, middle);
  sortHere(middle, last);
}

#define KV_INSTANTIATE(dim, ...)                                                                                       \
  template class BoundingVolumeHierarchyBase<__VA_ARGS__, AxisAlignedBox<float, dim>>;                                 \
  template class TopDownPartitioner<__VA_ARGS__, AxisAlignedBox<float, dim>, KdTreeSorter, dim>;
KV_FOR_EACH_HIERARCHY(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(dim, ...)                                                                                       \
  template class TopDownPartitioner<__VA_ARGS__, AxisAlignedBox<float, dim>, NullSorter, dim>;
KV_FOR_EACH_SEGMENT_HIERARCHY(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel::BoundingVolumeHierarchy
