#pragma once

#include <cstddef>
#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

/// Leaves the elements in the order of their source, for sources that run coherently through space, as polylines do.
template <class Element, class Volume, unsigned dim>
class NullSorter
{
public:
  static constexpr bool sortsInPlace = false;

  template <class Hierarchy>
  explicit NullSorter(const Hierarchy&)
  {}

  /// The middle of the range; of an odd number the lower part has one more.
  std::uint32_t sort(unsigned first, unsigned last, int) { return (first + last + 1) >> 1; }
  std::uint64_t getPosition(std::size_t i) const { return i; }
};

} // namespace Kavrel::BoundingVolumeHierarchy
