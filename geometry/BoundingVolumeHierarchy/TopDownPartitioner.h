#pragma once

#include "geometry/BoundingVolumeHierarchy/BoundingVolumeHierarchyBase.h"
#include "geometry/BoundingVolumeHierarchy/ElementSetProvider.h"
#include "geometry/BoundingVolumeHierarchy/HierarchyInstantiations.h"
#include "geometry/BoundingVolumeHierarchy/SetIndexElementSetProvider.h"
#include "geometry/ConstraintPoint.h"
#include "geometry/Point3NT.h"
#include "geometry/ProjectionPoint.h"

namespace Kavrel::BoundingVolumeHierarchy {

template <class Element, class Volume, unsigned dim>
class KdTreeSorter;
template <class Element, class Volume, unsigned dim>
class NullSorter;
class ThreadPool;

/// Builds a hierarchy from the top: each range of elements is split in the middle until it fits into a leaf, the
/// elements are moved into leaf order, and the volumes are computed from the leaves upward. The shape of the tree
/// follows from the number of elements and the leaf size alone. Large sets are sorted on the thread pool, unless the
/// caller is inside an OpenMP parallel region, OpenMP is limited to one thread or the pool is busy; the tree is the
/// same.
template <class Provider, class Volume, template <class, class, unsigned> class Sorter, unsigned dim>
class KVSHAPES_EXPORT TopDownPartitioner : public BoundingVolumeHierarchyBase<Provider, Volume>
{
public:
  using Base = BoundingVolumeHierarchyBase<Provider, Volume>;
  using SorterType = Sorter<typename Provider::Element, Volume, dim>;

  /// A root without elements.
  TopDownPartitioner() { this->addNode(); }

  /// Builds over a source of the provider. At most leafSize elements (at least 1) share a leaf; where that would
  /// take more than 2^min(maxDepth, 30) leaves, the leaf size is raised.
  template <class Source>
  TopDownPartitioner(const Source& source, std::uint32_t leafSize, std::uint32_t maxDepth) : Base(source, leafSize)
  {
    build(maxDepth);
  }

protected:
  /// Builds the tree unless it stands.
  void partition();
  void subdivide(SorterType& sorter, unsigned node, unsigned first, unsigned last, int depth);
  void createMedianCutNodes(unsigned node, unsigned first, unsigned last, int depth);
  void sortParallelTask(SorterType* sorter, int first, int last, ThreadPool* pool);
  void sortSingleThread(SorterType* sorter, unsigned first, unsigned last);

private:
  template <class AnySorter>
  void createNodes(AnySorter& sorter, unsigned node, unsigned first, unsigned last, int depth);
  void build(std::uint32_t maxDepth);
  void sortInParallel(SorterType& sorter, unsigned count);
};

/// The usual tree over elements by value.
template <class E, unsigned dim>
using ElementTree = TopDownPartitioner<ElementSetProvider<E>, AxisAlignedBox<float, dim>, KdTreeSorter, dim>;

#define KV_EXTERN(dim, ...)                                                                                            \
  extern template class BoundingVolumeHierarchyBase<__VA_ARGS__, AxisAlignedBox<float, dim>>;                          \
  extern template class TopDownPartitioner<__VA_ARGS__, AxisAlignedBox<float, dim>, KdTreeSorter, dim>;
KV_FOR_EACH_HIERARCHY(KV_EXTERN)
#undef KV_EXTERN

#define KV_EXTERN(dim, ...)                                                                                            \
  extern template class TopDownPartitioner<__VA_ARGS__, AxisAlignedBox<float, dim>, NullSorter, dim>;
KV_FOR_EACH_SEGMENT_HIERARCHY(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel::BoundingVolumeHierarchy
