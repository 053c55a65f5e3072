#pragma once

#include "platform/kvmath/Vector.h"

#include <cmath>
#include <gmock/gmock.h>

namespace Kavrel::Testing {

/// No component of the vector or point differs from the expected one by more than an absolute tolerance.
MATCHER_P2(IsNear, expected, tolerance,
           (negation ? "isn't" : "is") + std::string(" within ") + testing::PrintToString(tolerance) + " of " +
               testing::PrintToString(expected))
{
  for (unsigned i = 0; i < arg.Size; ++i) {
    const double off = static_cast<double>(arg[i]) - static_cast<double>(expected[i]);
    if (std::abs(off) <= static_cast<double>(tolerance)) continue;
    *result_listener << "component " << i << " is " << testing::PrintToString(arg[i]) << ", off by "
                     << testing::PrintToString(off);
    return false;
  }
  return true;
}

} // namespace Kavrel::Testing
