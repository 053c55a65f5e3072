#include "geometry/PolyLineAlgorithm.h"

#include <cmath>
#include <limits>
#include <optional>

namespace Kavrel {

namespace {

constexpr double sqrProximity = 1e-5;    // to an end of a segment, strictly below: the distance is 0
constexpr double leastSqrNormal = 1e-24; // strictly below: no normal to look along

/// The segment of least squared distance so far, the first among equals.
struct Best
{
  int segment = -1;
  double sqrDistance = std::numeric_limits<double>::max();

  void offer(std::size_t i, double candidate)
  {
    if (!(candidate < sqrDistance)) return;
    sqrDistance = candidate;
    segment = static_cast<int>(i);
  }
};

/// Offers the segments that `measure(segment)` gives a squared distance.
template <class P, class Measure>
void search(const PolyLine<P>& polyline, Best& best, const Measure& measure)
{
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i)
    if (const std::optional<double> sqrDistance = measure(polyline.getSegment(i))) best.offer(i, *sqrDistance);
}

bool counts(int code, bool extended) { return code > 0 || (extended && code != 0); }

template <class P>
std::optional<double> perpendicular(const Segment<P>& segment, const P& point, bool extended)
{
  P foot;
  if (!counts(segment.projectPoint(point, foot, nullptr), extended)) return std::nullopt;
  return point.sqrDistance(foot);
}

std::optional<double> alongNormal(const Segment<Point3N>& segment, const Point3N& point, bool extended)
{
  Point3N foot;
  if (!counts(segment.projectPoint(point, point.getNormal(), foot), extended)) return std::nullopt;
  return point.sqrDistance(foot);
}

bool isAtEnd(const Segment<Point3N>& segment, const Point3N& point)
{
  return segment.getStart()->sqrDistance(point) < sqrProximity || segment.getEnd()->sqrDistance(point) < sqrProximity;
}

int nearestSegmentOf(const PolyLine<Point3N>& polyline, const Point3N& point, bool extended)
{
  const bool looksAlongNormal = !(point.getNormal().sqrLength() < leastSqrNormal);
  Best best;
  const auto searchWith = [&](bool withEnds) {
    search(polyline, best, [&](const Segment<Point3N>& segment) -> std::optional<double> {
      if (isAtEnd(segment, point)) return 0.0;
      return looksAlongNormal ? alongNormal(segment, point, withEnds) : perpendicular(segment, point, withEnds);
    });
  };
  if (!looksAlongNormal) {
    searchWith(extended);
    return best.segment;
  }
  searchWith(false);
  if (extended || best.segment < 0) searchWith(true);
  return best.segment;
}

} // namespace

template <OneOf<Point<double, 2>, Point<double, 3>, Point3N, ProjectionPoint> P>
int PolyLineAlgorithm::getNearestSegment(const PolyLine<P>& polyline, const std::type_identity_t<P>& point,
                                         bool extended, double& distance)
{
  Best best;
  search(polyline, best, [&](const Segment<P>& segment) { return perpendicular<P>(segment, point, extended); });
  distance = best.segment >= 0 && best.sqrDistance > 0.0 ? std::sqrt(best.sqrDistance) : 0.0;
  return best.segment;
}

template <OneOf<Point<double, 2>, Point<double, 3>, Point3N, ProjectionPoint> P>
int PolyLineAlgorithm::getNearestSegment(const PolyLine<P>& polyline, const std::type_identity_t<P>& point,
                                         bool extended)
{
  if constexpr (std::is_same_v<P, Point3N>) {
    return nearestSegmentOf(polyline, point, extended);
  } else {
    double distance = 0.0;
    return getNearestSegment(polyline, point, extended, distance);
  }
}

template <PolyLinePoint P>
P PolyLineAlgorithm::calculateProjectionPoint(const PolyLine<P>& polyline, const std::type_identity_t<P>& point)
{
  using T = typename P::Scalar;
  const Point<T, P::Dim>& position = point;
  P nearest{position};
  T best = std::numeric_limits<T>::max();
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
    P foot;
    if (polyline.getSegment(i).projectPoint(position, foot, nullptr) == 0) continue;
    const T sqrDistance = position.sqrDistance(foot);
    if (!(sqrDistance < best)) continue;
    best = sqrDistance;
    nearest = foot;
  }
  return nearest;
}

template <PolyLinePoint P>
P PolyLineAlgorithm::getPointByParameters(const PolyLine<P>& polyline, std::size_t segment, double t)
{
  return polyline.getSegment(segment).getPoint(t);
}

template <PolyLinePoint P>
int PolyLineAlgorithm::getLongestSegment(const PolyLine<P>& polyline)
{
  using T = typename P::Scalar;
  std::size_t longest = 0;
  T sqrLongest = T(0);
  const std::size_t count = polyline.numberOfSegments();
  for (std::size_t i = 0; i < count; ++i) {
    const T sqrLength = polyline.getSegment(i).sqrLength();
    if (!(sqrLength > sqrLongest)) continue;
    sqrLongest = sqrLength;
    longest = i;
  }
  return count > 0 ? static_cast<int>(longest) : -1;
}

#define KV_INSTANTIATE(...) KV_POLYLINE_NEAREST(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_NEAREST_SEGMENT(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_NEAREST_SEGMENT_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
