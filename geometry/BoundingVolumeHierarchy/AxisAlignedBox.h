#pragma once

#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <limits>

namespace Kavrel::BoundingVolumeHierarchy {

/// The lower and the upper bounds of a box along the axes, and nothing else: the volume of a node in single precision,
/// an element or a query in double precision. Without an argument it is the empty box, whose `min` is the largest
/// finite value and whose `max` is the lowest, so that the first point that extends it becomes both.
template <class T, unsigned dim>
struct KVSHAPES_EXPORT AxisAlignedBox
{
  using Scalar = T;
  static constexpr unsigned Dim = dim;

  Vector<T, dim> min;
  Vector<T, dim> max;

  constexpr AxisAlignedBox()
  {
    for (unsigned i = 0; i < dim; ++i) {
      min[i] = std::numeric_limits<T>::max();
      max[i] = std::numeric_limits<T>::lowest();
    }
  }
  constexpr AxisAlignedBox(const Vector<T, dim>& low, const Vector<T, dim>& high) : min(low), max(high) {}

  /// Grows the box so that it holds the point, whose coordinates are first rounded to T.
  template <class S>
  constexpr void extend(const Vector<S, dim>& point)
  {
    for (unsigned i = 0; i < dim; ++i) {
      const T value = static_cast<T>(point[i]);
      min[i] = std::min(min[i], value);
      max[i] = std::max(max[i], value);
    }
  }

  /// Grows the box so that it holds the other one. An empty box changes nothing.
  constexpr void extend(const AxisAlignedBox& other)
  {
    for (unsigned i = 0; i < dim; ++i) {
      min[i] = std::min(min[i], other.min[i]);
      max[i] = std::max(max[i], other.max[i]);
    }
  }

  friend constexpr bool operator==(const AxisAlignedBox&, const AxisAlignedBox&) = default;
};

static_assert(sizeof(AxisAlignedBox<float, 3>) == 6 * sizeof(float));

} // namespace Kavrel::BoundingVolumeHierarchy
