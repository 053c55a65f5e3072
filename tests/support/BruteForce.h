#pragma once

#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

/// References for the search: every element is measured, by other formulas than those of the library and in extended
/// precision.
namespace Kavrel::Testing::BruteForce {

using Real = long double;
constexpr double largest = std::numeric_limits<double>::max();

/// The element of smallest value; among equals the first.
struct Nearest
{
  bool found = false;
  double value = largest;
  std::size_t index = 0;
};

template <class Measure>
Nearest nearest(std::size_t count, Measure&& measure)
{
  Nearest best;
  for (std::size_t i = 0; i < count; ++i)
    if (const double value = measure(i); value < best.value) best = {true, value, i};
  return best;
}

/// The elements that pass, ascending.
template <class Predicate>
std::vector<int> selected(std::size_t count, Predicate&& passes)
{
  std::vector<int> hits;
  for (std::size_t i = 0; i < count; ++i)
    if (passes(i)) hits.push_back(static_cast<int>(i));
  return hits;
}

template <unsigned dim>
Vector<Real, dim> exact(const Vector<double, dim>& v)
{
  Vector<Real, dim> wide;
  for (unsigned i = 0; i < dim; ++i)
    wide[i] = v[i];
  return wide;
}

template <unsigned dim>
double squareDistance(const Vector<double, dim>& a, const Vector<double, dim>& b)
{
  return static_cast<double>((exact(a) - exact(b)).sqrLength());
}

namespace detail {

template <unsigned dim>
Real pointSegment(const Vector<Real, dim>& p, const Vector<Real, dim>& a, const Vector<Real, dim>& b)
{
  const Real ends = std::min((p - a).sqrLength(), (p - b).sqrLength());
  const auto along = b - a;
  const Real u = (p - a).dot(along);
  const Real length = along.sqrLength();
  if (u <= 0 || u >= length) return ends;
  return std::min(ends, (p - a - along * (u / length)).sqrLength());
}

template <unsigned dim>
Real segmentSegment(const Vector<Real, dim>& a, const Vector<Real, dim>& b, const Vector<Real, dim>& c,
                    const Vector<Real, dim>& d)
{
  Real best = std::min(std::min(pointSegment(a, c, d), pointSegment(b, c, d)),
                       std::min(pointSegment(c, a, b), pointSegment(d, a, b)));
  // The squared distance is convex in both parameters: beyond the border only the free minimum is left.
  const auto u = b - a, v = d - c, w = a - c;
  const Real uu = u.sqrLength(), uv = u.dot(v), vv = v.sqrLength(), uw = u.dot(w), vw = v.dot(w);
  const Real det = uu * vv - uv * uv;
  if (det <= 0) return best;
  const Real s = (uv * vw - vv * uw) / det, t = (uu * vw - uv * uw) / det;
  if (s > 0 && s < 1 && t > 0 && t < 1) best = std::min(best, (w + u * s - v * t).sqrLength());
  return best;
}

/// Where the line p + t d meets the triangle: t, or nothing when it passes it or runs in its plane.
inline std::optional<Real> lineTriangle(const Vector<Real, 3>& p, const Vector<Real, 3>& d, const Vector<Real, 3>& a,
                                        const Vector<Real, 3>& b, const Vector<Real, 3>& c)
{
  const auto normal = (b - a).cross(c - a);
  const Real slope = normal.dot(d);
  if (slope == 0) return std::nullopt;
  const Real t = normal.dot(a - p) / slope;
  const auto hit = p + d * t;
  const Real sides[3] = {normal.dot((b - a).cross(hit - a)), normal.dot((c - b).cross(hit - b)),
                         normal.dot((a - c).cross(hit - c))};
  if (sides[0] < 0 || sides[1] < 0 || sides[2] < 0) return std::nullopt;
  return t;
}

inline Real pointTriangle(const Vector<Real, 3>& p, const Vector<Real, 3>& a, const Vector<Real, 3>& b,
                          const Vector<Real, 3>& c)
{
  Real best = std::min(pointSegment(p, a, b), std::min(pointSegment(p, b, c), pointSegment(p, c, a)));
  const auto normal = (b - a).cross(c - a);
  if (normal.sqrLength() == 0) return best;
  if (const auto t = lineTriangle(p, normal, a, b, c)) best = std::min(best, *t * *t * normal.sqrLength());
  return best;
}

} // namespace detail

template <unsigned dim>
double pointSegment(const Vector<double, dim>& p, const Vector<double, dim>& a, const Vector<double, dim>& b)
{
  return static_cast<double>(detail::pointSegment(exact(p), exact(a), exact(b)));
}

template <unsigned dim>
double segmentSegment(const Vector<double, dim>& a, const Vector<double, dim>& b, const Vector<double, dim>& c,
                      const Vector<double, dim>& d)
{
  return static_cast<double>(detail::segmentSegment(exact(a), exact(b), exact(c), exact(d)));
}

inline double pointTriangle(const Vector<double, 3>& p, const Vector<double, 3>& a, const Vector<double, 3>& b,
                            const Vector<double, 3>& c)
{
  return static_cast<double>(detail::pointTriangle(exact(p), exact(a), exact(b), exact(c)));
}

/// Parameter of the hit on the line p + t d, which runs both ways.
inline std::optional<double> lineTriangle(const Vector<double, 3>& p, const Vector<double, 3>& d,
                                          const Vector<double, 3>& a, const Vector<double, 3>& b,
                                          const Vector<double, 3>& c)
{
  const auto t = detail::lineTriangle(exact(p), exact(d), exact(a), exact(b), exact(c));
  return t ? std::optional<double>(static_cast<double>(*t)) : std::nullopt;
}

/// 0 where the segment pierces the triangle.
inline double segmentTriangle(const Vector<double, 3>& p, const Vector<double, 3>& q, const Vector<double, 3>& a,
                              const Vector<double, 3>& b, const Vector<double, 3>& c)
{
  if (const auto t = lineTriangle(p, q - p, a, b, c); t && *t >= 0 && *t <= 1) return 0;
  return std::min({pointTriangle(p, a, b, c), pointTriangle(q, a, b, c), segmentSegment(p, q, a, b),
                   segmentSegment(p, q, b, c), segmentSegment(p, q, c, a)});
}

} // namespace Kavrel::Testing::BruteForce
