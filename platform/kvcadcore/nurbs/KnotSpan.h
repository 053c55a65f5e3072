#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

/// \file
/// Where a parameter lies in a knot vector. A knot vector of degree p with n control points has n + p + 1 ascending
/// knots; its domain runs from knots[p] to knots[n], also when the ends are not clamped. Span k, with p <= k < n, is
/// the stretch from knots[k] to knots[k + 1]; control points k - p to k shape it.

namespace Kavrel::Nurbs {

/// Degrees above this one don't occur: work space on the stack is sized for it.
inline constexpr unsigned maxDegree = 255;

/// Control points that belong to a knot vector.
inline std::size_t controlPointCount(std::span<const double> knots, unsigned degree)
{
  return knots.size() - degree - 1;
}

/// The span next to an empty one at either end of the domain, or `span` itself when the whole domain is empty. Knots
/// out of order or that are no numbers still give a span in range.
inline std::size_t nearestFilledSpan(std::span<const double> knots, unsigned degree, std::size_t span)
{
  const std::size_t last = controlPointCount(knots, degree) - 1;
  const auto first = knots.begin() + degree, end = knots.begin() + std::ptrdiff_t(last) + 2;
  if (*first == *(end - 1)) return span;
  const auto behind =
      span == last ? std::lower_bound(first, end, knots[span]) : std::upper_bound(first, end, knots[span]);
  return std::clamp<std::size_t>(std::size_t(behind - knots.begin()) - 1, degree, last);
}

/// The non-empty span whose polynomial counts at `u`, found in log n steps. At an inner knot that is the span on its
/// right, at the upper end of the domain the one on its left; outside the domain the first or the last one goes on.
/// Needs at least degree + 1 control points. A domain without length has no such span: then any in range comes back.
inline std::size_t findSpan(std::span<const double> knots, unsigned degree, double u)
{
  const double* base = knots.data() + degree;
  for (std::size_t count = controlPointCount(knots, degree) - degree; count > 1;) {
    const std::size_t half = count / 2;
    base += base[half] <= u ? half : 0; // a conditional move: random parameters would defeat a predicted branch
    count -= half;
  }
  const auto span = std::size_t(base - knots.data());
  if (knots[span] < knots[span + 1]) return span;
  return nearestFilledSpan(knots, degree, span);
}

/// As above, and in constant time when `u` lies in the span `hint` or the one behind it, for runs of ascending
/// parameters. Any number will do as a hint.
inline std::size_t findSpan(std::span<const double> knots, unsigned degree, double u, std::size_t hint)
{
  const std::size_t end = controlPointCount(knots, degree);
  for (std::size_t span = std::max<std::size_t>(hint, degree); span < end && span - hint < 2; ++span)
    if (knots[span] <= u && u < knots[span + 1]) return span;
  return findSpan(knots, degree, u);
}

} // namespace Kavrel::Nurbs
