#pragma once

#include "geometry/Point.h"

#include <cmath>
#include <limits>
#include <utility>

/// The arithmetic of the nearest point of a polyline, for all that must answer exactly as PolyLineAlgorithm::sqrDist().
namespace Kavrel::PolyLineNearest {

inline constexpr double degenerateSqrLength = 1e-12; // strictly below: the segment is its start
inline constexpr double snapSqrLength = 1e-24;       // strictly below: the foot is the end of the segment

/// A segment as seen from a point.
template <class T, unsigned dim>
struct SegmentView
{
  /// The squared distance of the nearest point and its parameter.
  std::pair<T, T> nearest() const
  {
    const std::pair<T, T> atStart(sqrToStart, T(0));
    const std::pair<T, T> atEnd(sqrToEnd, T(1));
    // Comparing before the division decides the ends exactly as the quotient would, which isn't a number for two
    // infinities.
    const T along = -(start - point).dot(way);
    const bool isBefore = along <= T(0) && along >= std::numeric_limits<T>::lowest();
    if (sqrLength < T(degenerateSqrLength) || isBefore) return atStart;
    if (along > sqrLength) return atEnd;
    const T t = along / sqrLength;
    const T rest = T(1) - t;
    if (t * t * sqrLength < T(snapSqrLength)) return atStart;
    if (rest * rest * sqrLength < T(snapSqrLength)) return atEnd;
    return {point.sqrDistance(Point<T, dim>(start + way * t)), t};
  }

  const Point<T, dim>& point;
  const Point<T, dim>& start;
  Vector<T, dim> way;
  T sqrLength;
  T sqrToStart;
  T sqrToEnd;
};

template <class T, unsigned dim>
SegmentView<T, dim> viewOf(const Point<T, dim>& start, const Point<T, dim>& end, const Point<T, dim>& point)
{
  const Vector<T, dim> way = end - start;
  return {point, start, way, way.sqrLength(), point.sqrDistance(start), point.sqrDistance(end)};
}

/// The squared distance to the line of two points.
template <class T, unsigned dim>
T sqrDistToChord(const Point<T, dim>& a, const Point<T, dim>& b, const Point<T, dim>& point)
{
  const auto view = viewOf(a, b, point);
  const T sqrDistance = view.nearest().first;
  return view.sqrToStart > sqrDistance ? sqrDistance : view.sqrToStart;
}

/// At least the largest size of a coordinate.
template <class T, unsigned dim>
double sizeOf(const Point<T, dim>& point)
{
  double sum = 0.0;
  for (unsigned i = 0; i < dim; ++i)
    sum += std::abs(static_cast<double>(point[i]));
  return sum;
}

/// Bounds below which a distance measured by elements can't come from a box: rounding moves a measured distance by
/// less.
class PruningSlack
{
public:
  /// For measures in T on coordinates up to a size.
  template <class T>
  static PruningSlack of(double size)
  {
    constexpr double eps = std::numeric_limits<T>::epsilon();
    return {1.0 + 64.0 * eps, 64.0 * eps * size + 8.0 * std::sqrt(static_cast<double>(std::numeric_limits<T>::min()))};
  }

  /// The squared distance of a box, strictly above which nothing inside is measured as near as \p sqrDistance.
  double sqrLimit(double sqrDistance) const
  {
    const double limit = std::sqrt(sqrDistance) * relative + absolute;
    return limit * limit;
  }

  double relative;
  double absolute;
};

} // namespace Kavrel::PolyLineNearest
