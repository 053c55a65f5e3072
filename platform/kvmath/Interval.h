#pragma once

#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"

#include <utility>

namespace Kavrel {

/// A parameter range, [0, 1] by default. The two flags travel with the value; nothing here reads them.
class KVSHAPES_EXPORT Interval
{
public:
  constexpr Interval() = default;
  constexpr Interval(double low, double high, bool first, bool second)
      : lower(low), upper(high), firstFlag(first), secondFlag(second)
  {}

  /// Swaps the bounds if need be, so that lower is at most upper.
  constexpr Interval& sort()
  {
    if (lower > upper) std::swap(lower, upper);
    return *this;
  }

  constexpr double length() const { return upper - lower; }

  friend constexpr bool operator==(const Interval&, const Interval&) = default;

  double lower = 0.0;
  double upper = 1.0;
  bool firstFlag = false;
  bool secondFlag = false;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel
