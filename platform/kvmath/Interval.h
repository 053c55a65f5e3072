#pragma once

#include "platform/Export.h"

#include <utility>

namespace Kavrel {

class PersistenceArchiver;

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

  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);
  static void serialization_register(void* record);

  double lower = 0.0;
  double upper = 1.0;
  bool firstFlag = false;
  bool secondFlag = false;

private:
  static bool s_force_serialization_registration;
};

} // namespace Kavrel
