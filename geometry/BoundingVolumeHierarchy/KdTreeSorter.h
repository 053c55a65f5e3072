#pragma once

#include "geometry/BoundingVolumeHierarchy/ElementGeometry.h"
#include "geometry/BoundingVolumeHierarchy/ElementSetProvider.h"
#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/MedianSelection.h"
#include "geometry/BoundingVolumeHierarchy/RawArray.h"
#include "geometry/BoundingVolumeHierarchy/ThreadPool.h"
#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace Kavrel::BoundingVolumeHierarchy {

/// Sorts the elements of a hierarchy range by range about the median of the axis along which their positions spread
/// most. Works on positions and indices; the elements themselves stay where they are, unless they are nothing but a
/// position: then they are sorted where they stand. Lives during a build only.
template <class Element, class Volume, unsigned dim>
class KdTreeSorter
{
public:
  /// From this many elements on, their positions are computed on the thread pool, this many a task.
  static constexpr std::size_t parallelPositionThreshold = 500000;
  static constexpr std::size_t positionChunk = 100000;

  /// Whether the elements stand in their new order when they have been sorted.
  static constexpr bool sortsInPlace = std::is_same_v<Element, Vector<double, dim>>;

  /// Takes the positions of all elements.
  template <class Hierarchy>
  explicit KdTreeSorter(Hierarchy& hierarchy) requires(!sortsInPlace)
      : ownEntries(hierarchy.numberOfElements()), entries(ownEntries.data())
  {
    const std::size_t count = ownEntries.size();
    if (count < parallelPositionThreshold || !ThreadPool::isAvailable()) {
      fill(hierarchy, 0, count);
      return;
    }
    ThreadPool& pool = ThreadPool::getInstance();
    try {
      for (std::size_t first = 0; first < count; first += positionChunk)
        pool.enqueue(
            [this, &hierarchy, first, last = std::min(count, first + positionChunk)] { fill(hierarchy, first, last); });
    } catch (...) {
      // The tasks that made it into the queue still write to the entries.
      pool.waitUntilIdle();
      throw;
    }
    pool.waitUntilIdle();
  }

  /// Takes the elements themselves.
  template <class Hierarchy>
  explicit KdTreeSorter(Hierarchy& hierarchy) requires(sortsInPlace) : entries(hierarchy.records.data())
  {}

  /// Splits the elements `[first, last)`: those before the returned place lie below those behind it on the chosen axis,
  /// the lower axis where spreads are equal. Of an odd number the lower part has one more. Elements that are equal on
  /// the axis may come to either side. The depth has no effect.
  std::uint32_t sort(unsigned first, unsigned last, int)
  {
    const unsigned axis = longestAxis(first, last);
    selectEntry(entries + first, entries + last, entries + ((first + last) >> 1),
                [axis](const PositionEntry& entry) { return entry.element[axis]; });
    return (first + last + 1) >> 1;
  }

  /// Where the element that now stands at i stood before.
  std::uint64_t getPosition(std::size_t i) const { return entries[i].id; }

private:
  using PositionEntry = ElementRecord<Vector<double, dim>>;

  template <class Hierarchy>
  void fill(const Hierarchy& hierarchy, std::size_t first, std::size_t last)
  {
    for (std::size_t i = first; i < last; ++i) {
      const auto position = static_cast<std::uint32_t>(i);
      new (&entries[i]) PositionEntry{positionOf<dim>(hierarchy.getElement(position)), position};
    }
  }

  /// The least and the greatest coordinates of entries, two a lane pair. Of an odd number of coordinates the last lane
  /// sees the index behind them and means nothing.
  struct Extent
  {
    static constexpr unsigned pairs = (dim + 1) / 2;
    static_assert(sizeof(PositionEntry) >= pairs * sizeof(Lanes::Double2));

    Extent() { std::fill_n(min, pairs, Lanes::all(infinity)), std::fill_n(max, pairs, Lanes::all(-infinity)); }

    void add(const PositionEntry& entry)
    {
      for (unsigned i = 0; i < pairs; ++i) {
        Lanes::Double2 coordinates;
        std::memcpy(&coordinates, reinterpret_cast<const unsigned char*>(&entry) + i * sizeof(coordinates),
                    sizeof(coordinates));
        min[i] = Lanes::smaller(coordinates, min[i]);
        max[i] = Lanes::greater(coordinates, max[i]);
      }
    }

    void add(const Extent& other)
    {
      for (unsigned i = 0; i < pairs; ++i) {
        min[i] = Lanes::smaller(other.min[i], min[i]);
        max[i] = Lanes::greater(other.max[i], max[i]);
      }
    }

    double along(unsigned axis) const { return max[axis / 2][axis % 2] - min[axis / 2][axis % 2]; }

    static constexpr double infinity = std::numeric_limits<double>::infinity();
    Lanes::Double2 min[pairs];
    Lanes::Double2 max[pairs];
  };

  /// The axis of the greatest extent, the lowest of equal ones.
  unsigned longestAxis(unsigned first, unsigned last) const
  {
    // Two extents, of every other entry each: a single one would wait for itself at every step.
    Extent extent, other;
    for (unsigned i = first; i + 1 < last; i += 2) {
      extent.add(entries[i]);
      other.add(entries[i + 1]);
    }
    extent.add(entries[last - 1]);
    extent.add(other);
    unsigned longest = 0;
    double length = std::max(extent.along(0), 0.0);
    for (unsigned axis = 1; axis < dim; ++axis)
      if (extent.along(axis) > length) {
        longest = axis;
        length = extent.along(axis);
      }
    return longest;
  }

  RawArray<PositionEntry> ownEntries;
  PositionEntry* entries;
};

} // namespace Kavrel::BoundingVolumeHierarchy
