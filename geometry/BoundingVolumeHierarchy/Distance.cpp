#include "geometry/BoundingVolumeHierarchy/Distance.h"

#include "geometry/BoundingVolumeHierarchy/ClosestPoints.h"

#include <array>
#include <cmath>
#include <utility>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

/// Ends of a segment parameter within which the nearest point counts as inside the segment.
constexpr double pilotInside = 1e-12;

/// A pair of closest points of a segment and a triangle.
struct SegmentTrianglePair
{
  double squareDistance = std::numeric_limits<double>::max();
  double parameter = 0.0;
  TrianglePlace place;

  void offer(double candidate, double t, const TrianglePlace& where)
  {
    if (candidate < squareDistance) *this = {candidate, t, where};
  }
};

/// Offers the place where a segment goes through the triangle; one that ends in its plane doesn't.
void offerCrossing(const SegmentEnds<3>& segment, const Corners& corners, SegmentTrianglePair& best)
{
  const Vector<double, 3> e1 = corners.points[1] - corners.points[0];
  const Vector<double, 3> e2 = corners.points[2] - corners.points[0];
  const Vector<double, 3> normal = e1.cross(e2);
  const double first = normal.dot(segment.start - corners.points[0]);
  const double second = normal.dot(segment.end - corners.points[0]);
  if (!(first < 0.0 && second > 0.0) && !(first > 0.0 && second < 0.0)) return;
  const double t = first / (first - second);
  const Vector<double, 3> crossing = segment.at(t) - corners.points[0];
  const double xi = crossing.cross(e2).dot(normal) / normal.sqrLength();
  const double eta = e1.cross(crossing).dot(normal) / normal.sqrLength();
  if (xi >= 0.0 && eta >= 0.0 && xi + eta <= 1.0) best.offer(0.0, t, {xi, eta});
}

SegmentTrianglePair closestPair(const SegmentEnds<3>& segment, const Corners& corners)
{
  SegmentTrianglePair best;
  for (unsigned corner = 0; corner < 3; ++corner) {
    const SegmentEnds<3> edge = corners.edge(corner);
    const ParameterPair pair = closestParameters(segment, edge);
    best.offer((segment.at(pair.first) - edge.at(pair.second)).sqrLength(), pair.first,
               placeOnEdge(corner, pair.second));
  }
  for (const auto& [t, end] : {std::pair(0.0, segment.start), std::pair(1.0, segment.end)}) {
    const TrianglePlace place = corners.nearestTo(end);
    best.offer((end - corners.at(place)).sqrLength(), t, place);
  }
  offerCrossing(segment, corners, best);
  return best;
}

template <class Result>
bool take(const SegmentTrianglePair& pair, const SegmentEnds<3>& segment, const Corners& corners, Result& result)
{
  if (!result.improve(pair.squareDistance)) return false;
  result.parameter = pair.parameter;
  result.xi = pair.place.xi;
  result.eta = pair.place.eta;
  result.firstPoint = pointAt<decltype(result.firstPoint)>(segment.at(pair.parameter));
  result.secondPoint = Point3N(corners.at(pair.place));
  return true;
}

/// The part of a triangle on one side of a plane: up to four corners in order, with their places.
struct ClippedTriangle
{
  std::array<Vector<double, 3>, 4> points;
  std::array<TrianglePlace, 4> places;
  unsigned count = 0;

  void add(const Vector<double, 3>& point, const TrianglePlace& place)
  {
    points[count] = point;
    places[count++] = place;
  }
};

TrianglePlace blend(const TrianglePlace& a, const TrianglePlace& b, double t)
{
  return {a.xi + t * (b.xi - a.xi), a.eta + t * (b.eta - a.eta)};
}

/// Keeps what doesn't lie beyond the plane through a point, as seen along the normal.
ClippedTriangle clip(const Corners& corners, const Vector<double, 3>& through, const Vector<double, 3>& normal)
{
  constexpr TrianglePlace places[3] = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}};
  ClippedTriangle part;
  for (unsigned corner = 0; corner < 3; ++corner) {
    const unsigned next = (corner + 1) % 3;
    const double here = normal.dot(corners.points[corner] - through);
    const double there = normal.dot(corners.points[next] - through);
    if (here <= 0.0) part.add(corners.points[corner], places[corner]);
    if ((here < 0.0 && there > 0.0) || (here > 0.0 && there < 0.0)) {
      const double t = here / (here - there);
      part.add(corners.points[corner].linearInterpolation(t, corners.points[next]),
               blend(places[corner], places[next], t));
    }
  }
  return part;
}

/// The nearest place of a clipped triangle to a point; false where nothing is left of it.
bool nearestOfPart(const ClippedTriangle& part, const Vector<double, 3>& point, SegmentTrianglePair& best)
{
  if (part.count == 0) return false;
  // A fan about the first corner; a part of one or two corners makes one degenerate triangle.
  for (unsigned i = 0; i == 0 || i + 2 < part.count; ++i) {
    const unsigned second = std::min(i + 1, part.count - 1);
    const unsigned third = std::min(i + 2, part.count - 1);
    const Corners fan(part.points[0], part.points[second], part.points[third]);
    const TrianglePlace local = fan.nearestTo(point);
    const TrianglePlace& origin = part.places[0];
    const TrianglePlace place{origin.xi + local.xi * (part.places[second].xi - origin.xi) +
                                  local.eta * (part.places[third].xi - origin.xi),
                              origin.eta + local.xi * (part.places[second].eta - origin.eta) +
                                  local.eta * (part.places[third].eta - origin.eta)};
    best.offer((point - fan.at(local)).sqrLength(), best.parameter, place);
  }
  return true;
}

template <unsigned dim, class P>
std::array<double, 2> signedDistances(const Plane<double, dim>& plane, const Segment<P>& segment)
{
  const SegmentEnds<dim> ends = endsOf(segment);
  return {plane.getNormal().dot(ends.start) - plane.getDistance(),
          plane.getNormal().dot(ends.end) - plane.getDistance()};
}

/// Closest points of two triangles so far.
struct TrianglePair
{
  double squareDistance = std::numeric_limits<double>::max();
  TrianglePlace first;
  TrianglePlace second;

  void offer(double candidate, const TrianglePlace& onFirst, const TrianglePlace& onSecond)
  {
    if (candidate < squareDistance) *this = {candidate, onFirst, onSecond};
  }
};

TrianglePair closestPair(const Corners& a, const Corners& b)
{
  TrianglePair best;
  for (unsigned i = 0; i < 3; ++i) {
    const SegmentEnds<3> edgeA = a.edge(i);
    for (unsigned j = 0; j < 3; ++j) {
      const SegmentEnds<3> edgeB = b.edge(j);
      const ParameterPair pair = closestParameters(edgeA, edgeB);
      best.offer((edgeA.at(pair.first) - edgeB.at(pair.second)).sqrLength(), placeOnEdge(i, pair.first),
                 placeOnEdge(j, pair.second));
    }
  }
  constexpr TrianglePlace corners[3] = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}};
  for (unsigned i = 0; i < 3; ++i) {
    const TrianglePlace place = b.nearestTo(a.points[i]);
    best.offer((a.points[i] - b.at(place)).sqrLength(), corners[i], place);
  }
  for (unsigned i = 0; i < 3; ++i) {
    const TrianglePlace place = a.nearestTo(b.points[i]);
    best.offer((b.points[i] - a.at(place)).sqrLength(), place, corners[i]);
  }
  return best;
}

} // namespace

bool distance(const Segment<Point3N>& query, const AxisAlignedBox<float, 3>& volume,
              DistanceQueryResult<Segment<Point3N>, AxisAlignedBox<float, 3>>& result)
{
  const SegmentEnds<3> segment = endsOf(query);
  const Vector<double, 3> bounds[2] = {toDouble(volume.min), toDouble(volume.max)};
  const auto corner = [&bounds](unsigned which) {
    return Vector<double, 3>(bounds[which & 1][0], bounds[which >> 1 & 1][1], bounds[which >> 2 & 1][2]);
  };
  double best = std::numeric_limits<double>::max();
  for (unsigned axis = 0; axis < 3; ++axis)
    for (unsigned which = 0; which < 8; ++which) {
      if ((which >> axis & 1) != 0) continue;
      const SegmentEnds<3> edge{corner(which), corner(which | 1U << axis)};
      const ParameterPair pair = closestParameters(edge, segment);
      best = std::min(best, (edge.at(pair.first) - segment.at(pair.second)).sqrLength());
    }
  best = std::min({best, squareDistance(segment.start, volume), squareDistance(segment.end, volume)});

  double near = 0.0;
  double far = 1.0;
  for (unsigned axis = 0; axis < 3; ++axis) {
    const double inverse = 1.0 / (segment.end[axis] - segment.start[axis]);
    const double t1 = (bounds[0][axis] - segment.start[axis]) * inverse;
    const double t2 = (bounds[1][axis] - segment.start[axis]) * inverse;
    // NaN, where the segment runs in a face, leaves the bounds as they are.
    if (t1 != t1 || t2 != t2) continue;
    near = std::max(near, std::min(t1, t2));
    far = std::min(far, std::max(t1, t2));
  }
  return result.improve(far > near ? 0.0 : best);
}

template <unsigned dim, class P>
bool distance(const Vector<double, dim>& query, const Segment<P>& element,
              DistanceQueryResult<Vector<double, dim>, Segment<P>>& result)
{
  const SegmentEnds<dim> ends = endsOf(element);
  const Vector<double, dim> span = ends.end - ends.start;
  const double sqrLength = span.sqrLength();
  const bool isPoint = sqrLength < degenerateLimit;
  const double parameter = isPoint ? 0.0 : std::clamp((query - ends.start).dot(span) / sqrLength, 0.0, 1.0);
  const Vector<double, dim> nearest = ends.at(parameter);
  if (!result.improve((query - nearest).sqrLength())) return false;
  result.parameter = parameter;
  result.point = isPoint ? *element.getStart() : pointAt<P>(nearest);
  return true;
}

template <unsigned dim, class P>
bool distance(const Plane<double, dim>& query, const Segment<P>& element,
              DistanceQueryResult<Plane<double, dim>, Segment<P>>& result)
{
  const auto [s0, s1] = signedDistances(query, element);
  return result.improve(s0 * s1 > 0.0 ? std::min(s0 * s0, s1 * s1) : 0.0);
}

template <class P>
bool distance(const Segment<P>& query, const Segment<P>& element, DistanceQueryResult<Segment<P>, Segment<P>>& result)
{
  const SegmentEnds<P::Dim> first = endsOf(query);
  const SegmentEnds<P::Dim> second = endsOf(element);
  const ParameterPair pair = closestParameters(first, second);
  const Vector<double, P::Dim> onFirst = first.at(pair.first);
  const Vector<double, P::Dim> onSecond = second.at(pair.second);
  if (!result.improve((onFirst - onSecond).sqrLength())) return false;
  result.firstParameter = pair.first;
  result.firstPoint = pointAt<P>(onFirst);
  result.secondParameter = pair.second;
  result.secondPoint = pointAt<P>(onSecond);
  return true;
}

bool distance(const Plane<double, 3>& query, const Triangle& element,
              DistanceQueryResult<Plane<double, 3>, Triangle>& result)
{
  double lowest = std::numeric_limits<double>::max();
  double highest = std::numeric_limits<double>::lowest();
  double smallest = std::numeric_limits<double>::max();
  for (unsigned corner = 0; corner < 3; ++corner) {
    const double s = query.getNormal().dot(element.getVertexRef(corner)) - query.getDistance();
    lowest = std::min(lowest, s);
    highest = std::max(highest, s);
    smallest = std::min(smallest, std::abs(s));
  }
  const double gap = lowest < 0.0 && highest > 0.0 ? 0.0 : smallest;
  if (!result.improve(gap * gap)) return false;
  result.distance = gap;
  return true;
}

template <class P>
bool distance(const Segment<P>& query, const Triangle& element, DistanceQueryResult<Segment<P>, Triangle>& result)
{
  const SegmentEnds<3> segment = endsOf(query);
  const Corners corners(element);
  return take(closestPair(segment, corners), segment, corners, result);
}

bool distance(const PilotSegment<Point3N>& query, const Triangle& element,
              DistanceQueryResult<PilotSegment<Point3N>, Triangle>& result)
{
  const SegmentEnds<3> segment = endsOf<Point3N>(query);
  const Corners corners(element);
  SegmentTrianglePair pair = closestPair(segment, corners);
  if (!(pair.parameter > pilotInside && pair.parameter < 1.0 - pilotInside)) {
    const bool atStart = !(pair.parameter > pilotInside);
    const Vector<double, 3>& end = atStart ? segment.start : segment.end;
    const Vector<double, 3> outwards = atStart ? segment.start - segment.end : segment.end - segment.start;
    SegmentTrianglePair clipped;
    clipped.parameter = pair.parameter;
    if (!nearestOfPart(clip(corners, end, outwards), end, clipped)) return false;
    pair = clipped;
  }
  return take(pair, segment, corners, result);
}

bool distance(const Triangle& query, const Triangle& element, DistanceQueryResult<Triangle, Triangle>& result)
{
  const Corners first(query);
  const Corners second(element);
  const TrianglePair pair = closestPair(first, second);
  if (!result.improve(pair.squareDistance)) return false;
  result.firstXi = pair.first.xi;
  result.firstEta = pair.first.eta;
  result.firstPoint = first.at(pair.first);
  result.secondXi = pair.second.xi;
  result.secondEta = pair.second.eta;
  result.secondPoint = second.at(pair.second);
  return true;
}

#define KV_INSTANTIATE(...)                                                                                            \
  template bool distance(const Vector<double, __VA_ARGS__::Dim>&, const Segment<__VA_ARGS__>&,                         \
                         DistanceQueryResult<Vector<double, __VA_ARGS__::Dim>, Segment<__VA_ARGS__>>&);                \
  template bool distance(const Plane<double, __VA_ARGS__::Dim>&, const Segment<__VA_ARGS__>&,                          \
                         DistanceQueryResult<Plane<double, __VA_ARGS__::Dim>, Segment<__VA_ARGS__>>&);                 \
  template bool distance(const Segment<__VA_ARGS__>&, const Segment<__VA_ARGS__>&,                                     \
                         DistanceQueryResult<Segment<__VA_ARGS__>, Segment<__VA_ARGS__>>&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

template bool distance(const Segment<Point<double, 3>>&, const Triangle&,
                       DistanceQueryResult<Segment<Point<double, 3>>, Triangle>&);
template bool distance(const Segment<Point3N>&, const Triangle&, DistanceQueryResult<Segment<Point3N>, Triangle>&);

} // namespace Kavrel::BoundingVolumeHierarchy
