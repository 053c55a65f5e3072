#include "geometry/GeometricTolerances.h"
#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineFrame.h"
#include "geometry/PolyLineNearest.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Kavrel {

namespace {

constexpr double unitEps = 1e-12;
constexpr double nearEnd = 0.9;   // of a segment, strictly above: the corner behind it counts
constexpr double nearStart = 0.1; // strictly below: the corner before it counts
constexpr double angleEps = 0.0001;

template <class P>
using DirectionOf = Vector<typename P::Scalar, P::Dim>;

/// The unit vector from one vertex to another; what is there of it where it is too short.
template <class P>
DirectionOf<P> directionBetween(const P& from, const P& to)
{
  DirectionOf<P> direction = to - from;
  direction.normalize(static_cast<typename P::Scalar>(unitEps));
  return direction;
}

/// The sum of the lengths of the segments \p first to \p end - 1.
template <class P>
double lengthOf(const PolyLine<P>& polyline, std::size_t first, std::size_t end)
{
  double sum = 0.0;
  for (std::size_t i = first; i < end; ++i)
    sum += static_cast<double>(polyline.getSegment(i).length());
  return sum;
}

template <class P>
double partialLength(const PolyLine<P>& polyline, std::size_t a, std::size_t b)
{
  if (a <= b) return lengthOf(polyline, a, b);
  return lengthOf(polyline, a, polyline.numberOfSegments()) + lengthOf(polyline, 0, b);
}

/// The segment whose direction stands for a point at \p u on segment \p i.
template <class P>
std::size_t segmentForTangent(const PolyLine<P>& polyline, double u, std::size_t i, bool forward)
{
  const std::size_t count = polyline.numberOfPoints();
  const std::size_t last = count - 1;
  const std::size_t next = i < last ? i + 1 : 0;
  const bool closed = polyline.isClosed();
  if (partialLength(polyline, i, (i + 1) % count) < GeometricTolerances::getDefault().getCadTolerance()) return next;
  if (forward) {
    const bool staysAtEnd = !closed && i + 2 >= count;
    return u > nearEnd && !staysAtEnd ? next : i;
  }
  if (!(u < nearStart)) return i;
  if (i > 0) return i - 1;
  return closed ? last : 0;
}

/// Where a walk away from a vertex ends: at the first vertex beyond the distance, or behind the last step.
struct Walk
{
  Vector<double, 3> way;
  double sqrLength = 0.0;
  std::size_t steps = 0;

  /// `vertexAt(k)` is the place after step k.
  template <class VertexAt>
  Walk(const Vector<double, 3>& from, std::size_t mostSteps, double sqrDistance, const VertexAt& vertexAt)
  {
    while (steps < mostSteps && !(sqrLength > sqrDistance)) {
      way = vertexAt(++steps) - from;
      sqrLength = way.sqrLength();
    }
  }
};

} // namespace

template <OneOf<Point<double, 3>, Point3N> P>
double PolyLineAlgorithm::getPartialPolyLineLength(const PolyLine<P>& polyline, std::size_t a, std::size_t b)
{
  return partialLength(polyline, a, b);
}

template <PolyLinePoint P>
Vector<typename P::Scalar, P::Dim> PolyLineAlgorithm::calcTangentAtPoint(const PolyLine<P>& polyline,
                                                                         const Point<typename P::Scalar, P::Dim>& point,
                                                                         bool forward)
{
  if (polyline.isEmpty()) return {};
  double u = 0.0;
  std::size_t i = 0;
  polyline.sqrDist(point, u, i);
  const std::size_t j = segmentForTangent(polyline, u, i, forward);
  return directionBetween(polyline[j], polyline[j + 1 < polyline.numberOfPoints() ? j + 1 : 0]);
}

template <PolyLinePoint P>
Vector<typename P::Scalar, P::Dim> PolyLineAlgorithm::getSmoothedTangent(const PolyLine<P>& polyline, double u,
                                                                         std::size_t segment)
{
  if (polyline.isEmpty()) return {};
  if (u < 0.5)
    return directionBetween(polyline[polyline.getPreviousPointIndex(segment)],
                            polyline[polyline.getNextPointIndex(segment)]);
  return directionBetween(polyline[segment], polyline[polyline.getNextPointIndex(segment + 1)]);
}

double PolyLineAlgorithm::maxAngleOfTangents(const PolyLine<Point<double, 3>>& polyline)
{
  double largest = 0.0;
  for (std::size_t i = 0; i < polyline.numberOfPoints(); ++i) {
    const Vector<double, 3> before = polyline[polyline.getPreviousPointIndex(i)] - polyline[i];
    const Vector<double, 3> after = polyline[i] - polyline[polyline.getNextPointIndex(i)];
    largest = std::max(largest, before.angle(after, angleEps));
  }
  return largest;
}

template <PolyLinePoint P>
std::vector<std::size_t> PolyLineAlgorithm::computeCuspIndices(const PolyLine<P>& polyline, double angle,
                                                               double distance)
{
  std::vector<std::size_t> cusps;
  const std::size_t count = polyline.numberOfPoints();
  if (count < 3) return cusps;
  const std::size_t limit = polyline.isClosed() ? count + 1 : count - 1;
  const double sqrDistance = distance * distance;
  const double cosine = std::cos(angle);
  const auto vertex = [&](std::size_t i) { return spatial(polyline[i % count]); };
  for (std::size_t i = 1; i < limit;) {
    const Vector<double, 3> corner = vertex(i);
    Walk back(corner, i, sqrDistance, [&](std::size_t k) { return vertex(i - k); });
    Walk ahead(corner, limit - i, sqrDistance, [&](std::size_t k) { return vertex(i + k); });
    if (back.sqrLength >= sqrDistance && ahead.sqrLength >= sqrDistance) {
      back.way.normalize(unitEps);
      ahead.way.normalize(unitEps);
      if (-back.way.dot(ahead.way) < cosine) cusps.push_back(i);
    }
    i += ahead.steps;
  }
  return cusps;
}

template <PolyLinePoint P>
bool PolyLineAlgorithm::isStraightLine(const PolyLine<P>& polyline, double tolerance, std::size_t first,
                                       std::size_t last)
{
  using T = typename P::Scalar;
  if (first > last) std::swap(first, last);
  if (last >= polyline.numberOfPoints()) return false;
  if (last - first < 2) return true;
  T farthest = T(0);
  for (std::size_t i = first + 1; i < last; ++i)
    farthest =
        std::max(farthest, PolyLineNearest::sqrDistToChord<T, P::Dim>(polyline[first], polyline[last], polyline[i]));
  return static_cast<double>(std::sqrt(farthest)) < tolerance;
}

#define KV_INSTANTIATE(...) KV_POLYLINE_TANGENTS(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_PARTIAL_LENGTH(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_SPATIAL_MEASURE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
