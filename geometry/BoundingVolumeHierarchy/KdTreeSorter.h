#pragma once

#include "platform/kvmath/Vector.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// Sorts the elements of a hierarchy range by range about the median of the axis along which their positions spread
/// most. Works on positions and indices; the elements themselves stay where they are. Lives during a build only.
template <class Element, class Volume, unsigned dim>
class KdTreeSorter
{
public:
  /// Takes the positions of all elements, on the thread pool where there are very many.
  template <class Hierarchy>
  explicit KdTreeSorter(const Hierarchy& hierarchy);

  /// Splits the elements `[first, last)`: those before the returned place lie below those behind it on the chosen axis,
  /// the lower axis where spreads are equal. Of an odd number the lower part has one more. Elements that are equal on
  /// the axis may come to either side. The depth has no effect.
  std::uint32_t sort(unsigned first, unsigned last, int depth);

  /// Where the element that now stands at i stood before.
  std::uint64_t getPosition(std::size_t i) const { return positionEntries[i].index; }

private:
  struct PositionEntry
  {
    Vector<double, dim> position;
    std::uint32_t index;
  };

  unsigned longestAxis(unsigned first, unsigned last) const;

  std::vector<PositionEntry> positionEntries;
};

} // namespace Kavrel::BoundingVolumeHierarchy
