#pragma once

#include "platform/kvmath/Vector.h"

#include <cmath>
#include <limits>

namespace Kavrel {

/// A place p0 + xi·(p1 - p0) + eta·(p2 - p0) in a triangle.
struct TrianglePlace
{
  double xi = 0;
  double eta = 0;
};

/// The point at a place of the triangle p0 p1 p2. Exact at the corners, so that a corner lies at no distance from
/// itself.
inline Vector<double, 3> pointOnTriangle(const Vector<double, 3>& p0, const Vector<double, 3>& p1,
                                         const Vector<double, 3>& p2, const TrianglePlace& place)
{
  if (place.xi == 1.0 && place.eta == 0.0) return p1;
  if (place.xi == 0.0 && place.eta == 1.0) return p2;
  return p0 + place.xi * (p1 - p0) + place.eta * (p2 - p0);
}

/// The place in the triangle p0 p1 p2, border included, that is nearest to \p point. Beyond a corner it is exactly
/// (0, 0), (1, 0) or (0, 1); on an edge it lies exactly on that edge. A triangle without area gives one of its
/// points, not always the nearest; a NaN coordinate gives some place. Allocates nothing.
///
/// Classifies the point against the Voronoi regions of corners, edges and face, by dot products alone.
/// (Ericson, Real-Time Collision Detection, section 5.1.5)
inline TrianglePlace nearestOnTriangle(const Vector<double, 3>& p0, const Vector<double, 3>& p1,
                                       const Vector<double, 3>& p2, const Vector<double, 3>& point)
{
  const Vector<double, 3> e1 = p1 - p0;
  const Vector<double, 3> e2 = p2 - p0;
  const auto ratio = [](double part, double whole) { return whole > 0 ? part / whole : 0.0; };

  const Vector<double, 3> from0 = point - p0;
  const double d1 = e1.dot(from0);
  const double d2 = e2.dot(from0);
  if (d1 <= 0 && d2 <= 0) return {0, 0};

  const Vector<double, 3> from1 = point - p1;
  const double d3 = e1.dot(from1);
  const double d4 = e2.dot(from1);
  if (d3 >= 0 && d3 >= d4) return {1, 0};

  const double vc = d4 * d1 - d3 * d2;
  if (vc <= 0 && d1 >= 0 && d3 <= 0) return {ratio(d1, d1 - d3), 0};

  const Vector<double, 3> from2 = point - p2;
  const double d5 = e1.dot(from2);
  const double d6 = e2.dot(from2);
  if (d6 >= 0 && d6 >= d5) return {0, 1};

  const double vb = d5 * d2 - d6 * d1;
  if (vb <= 0 && d2 >= 0 && d6 <= 0) return {0, ratio(d2, d2 - d6)};

  const double va = d3 * d6 - d5 * d4;
  const double along = d4 - d3;
  const double back = d5 - d6;
  if (va <= 0 && along >= 0 && back >= 0) {
    const double w = ratio(along, along + back);
    return {1 - w, w};
  }

  const double sum = va + vb + vc;
  if (std::abs(sum) >= std::numeric_limits<double>::min()) return {vb / sum, vc / sum};
  return {0, 0};
}

} // namespace Kavrel
