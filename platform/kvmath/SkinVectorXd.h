#pragma once

#include "platform/kvmath/Vector.h"

namespace Kavrel {

/// A value of `count` directions, each with a flag. Zero vectors with clear flags by default.
template <unsigned count>
struct KVSHAPES_EXPORT SkinVectorXd
{
  struct Entry
  {
    Vector<double, 3> vector;
    bool flag = false;

    friend constexpr bool operator==(const Entry&, const Entry&) = default;
  };

  constexpr Entry& operator[](unsigned i) { return entries[i]; }
  constexpr const Entry& operator[](unsigned i) const { return entries[i]; }

  friend constexpr bool operator==(const SkinVectorXd&, const SkinVectorXd&) = default;

  Entry entries[count];
};

} // namespace Kavrel
