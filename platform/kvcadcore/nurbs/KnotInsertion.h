#pragma once

#include "platform/Export.h"
#include "platform/kvcadcore/nurbs/KnotSpan.h"

#include <span>

/// \file
/// Other control points for the same curve. Control points are flat arrays with `stride` numbers each; those of a
/// rational curve are homogeneous, (w x, w y, w z, w). All new points are convex combinations of old ones as long as
/// the parameters lie in the domain, so nothing is lost to cancellation. The caller brings all memory.

namespace Kavrel::Nurbs {

/// A part of a curve's arrays: control points [first, first + count) and knots [first, first + count + degree + 1).
struct ControlRange
{
  std::size_t first;
  std::size_t count;
};

/// Cuts the curve down, in place, to the parameters from `low` to `high`: the range that comes back is the same curve
/// over [low, high], clamped at both ends; the rest of the arrays is without meaning. `low` is less than `high`, and
/// between them lies a part of the domain with length; where they reach beyond the domain, the end polynomials go on.
KVSHAPES_EXPORT ControlRange restrictTo(std::span<double> knots, unsigned degree, std::span<double> points,
                                        unsigned stride, double low, double high);

/// Clamps both ends in place: restrictTo with the ends of the domain, which must have a length. A clamped end keeps its
/// numbers bit for bit.
KVSHAPES_EXPORT ControlRange clampEnds(std::span<double> knots, unsigned degree, std::span<double> points,
                                       unsigned stride);

/// The Bézier control points, (degree + 1) * stride numbers, of the polynomial of a non-empty span.
KVSHAPES_EXPORT void bezierPoints(std::span<const double> knots, unsigned degree, std::size_t span,
                                  std::span<const double> points, unsigned stride, std::span<double> result);

/// The same curve with the ascending knots `inserted` among its own, each above the lower end of the domain and not
/// above the upper one, and none then more than degree + 1 times. The results have room for so many knots and control
/// points more and don't overlap the input. Linear in their size plus (degree * inserted).
KVSHAPES_EXPORT void insertKnots(std::span<const double> knots, unsigned degree, std::span<const double> points,
                                 unsigned stride, std::span<const double> inserted, std::span<double> resultKnots,
                                 std::span<double> resultPoints);

} // namespace Kavrel::Nurbs
