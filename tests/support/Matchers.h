#pragma once

#include "platform/kvmath/Vector.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <gmock/gmock.h>
#include <limits>

namespace Kavrel::Testing {

/// How many representable values lie between a and b; the largest count if one is NaN.
template <class T>
std::uint64_t ulpDistance(T a, T b)
{
  using Bits = std::conditional_t<sizeof(T) == 8, std::int64_t, std::int32_t>;
  if (std::isnan(a) || std::isnan(b)) return std::numeric_limits<std::uint64_t>::max();
  const auto rank = [](T x) {
    const auto bits = std::bit_cast<Bits>(x);
    return static_cast<std::int64_t>(bits < 0 ? std::numeric_limits<Bits>::min() - bits : bits);
  };
  const auto i = rank(a), j = rank(b);
  return i < j ? static_cast<std::uint64_t>(j) - static_cast<std::uint64_t>(i)
               : static_cast<std::uint64_t>(i) - static_cast<std::uint64_t>(j);
}

namespace detail {

template <class T, unsigned dim, class Passes>
bool everyComponent(const Vector<T, dim>& actual, const Vector<T, dim>& expected,
                    testing::MatchResultListener* listener, Passes passes)
{
  for (unsigned i = 0; i < dim; ++i)
    if (!passes(actual[i], expected[i])) {
      *listener << "component " << i << " is " << testing::PrintToString(actual[i]) << ", off by "
                << testing::PrintToString(actual[i] - expected[i]);
      return false;
    }
  return true;
}

} // namespace detail

/// No component of the vector or point differs from the expected one by more than an absolute tolerance.
MATCHER_P2(IsNear, expected, tolerance,
           (negation ? "isn't" : "is") + std::string(" within ") + testing::PrintToString(tolerance) + " of " +
               testing::PrintToString(expected))
{
  return detail::everyComponent(arg, expected, result_listener, [this](auto a, auto b) {
    return std::abs(static_cast<double>(a) - static_cast<double>(b)) <= static_cast<double>(tolerance);
  });
}

/// No component of the vector or point differs from the expected one by more than `count` units of the last place.
MATCHER_P2(IsWithinUlps, expected, count,
           (negation ? "isn't" : "is") + std::string(" within ") + testing::PrintToString(count) + " ulps of " +
               testing::PrintToString(expected))
{
  return detail::everyComponent(arg, expected, result_listener, [this](auto a, auto b) {
    return ulpDistance(a, b) <= static_cast<std::uint64_t>(count);
  });
}

} // namespace Kavrel::Testing
