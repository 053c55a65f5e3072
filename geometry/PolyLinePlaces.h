#pragma once

#include "geometry/PolyLine.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/// Places on polylines by parameter and the pieces between two of them, for all that must answer exactly as
/// PolyLine::evaluateParameterPointAndSegment() and PolyLineAlgorithm::trim().
namespace Kavrel::PolyLinePlaces {

inline constexpr double shortestLocated = 1e-5; // a segment strictly below: the place is its start
inline constexpr double sqrClosingGap = 1e-6;   // strictly below: the piece is closed
inline constexpr double sqrVertexReach = 1e-24; // at or below: an end of the piece is the vertex

template <class P>
struct Place
{
  P point;
  std::size_t segment;
};

/// A point at a position on the segment that begins at `vertex`, with the attributes that need no blending.
template <class P>
P pointWithinSegment(const P& vertex, const Point<typename P::Scalar, P::Dim>& position)
{
  if constexpr (std::is_same_v<P, ConstraintPoint>) {
    return P(position, ConstraintPoint::Clamped);
  } else if constexpr (OneOf<P, Point3N, Point3NT>) {
    P point(vertex);
    point.set(position);
    return point;
  } else {
    return P(position);
  }
}

/// The point at a target length on the segment that begins at the length passed so far and has the given one itself.
/// Where it ends at the target, the point is its end, however the difference of the lengths is rounded.
template <class P>
P pointAtLength(const P& start, const P& end, double passed, double length, double target)
{
  if (length < shortestLocated) return start;
  if (length + passed <= target) return pointWithinSegment(start, end);
  const Vector<typename P::Scalar, P::Dim> way = end - start;
  return pointWithinSegment(start, {start + way * static_cast<typename P::Scalar>((target - passed) / length)});
}

template <class P>
double sqrDistance(const P& a, const P& b)
{
  return static_cast<double>(a.sqrDistance(b));
}

/// Appends the starts of the next `count` segments behind `segment`.
template <class P>
void appendStarts(const PolyLine<P>& polyline, std::size_t segment, std::size_t count, std::vector<P>& vertices)
{
  const std::size_t segments = polyline.numberOfSegments();
  for (; count > 0; --count) {
    segment = segment + 1 < segments ? segment + 1 : 0;
    vertices.push_back(polyline[segment]);
  }
}

/// Appends the vertices of the piece from one place to another one, which lies `ahead` of it or before it on the line.
template <class P>
void appendPiece(const PolyLine<P>& polyline, const Place<P>& from, const Place<P>& to, bool ahead,
                 std::vector<P>& vertices)
{
  const std::size_t segments = polyline.numberOfSegments();
  std::size_t starts = from.segment <= to.segment ? to.segment - from.segment : segments + to.segment - from.segment;
  if (starts == 0 && !ahead) starts = segments; // once around
  vertices.reserve(vertices.size() + starts + 2);
  if (sqrDistance(from.point, *polyline.getSegment(from.segment).getEnd()) > sqrVertexReach)
    vertices.push_back(from.point);
  appendStarts(polyline, from.segment, starts, vertices);
  if (sqrDistance(to.point, polyline[to.segment]) > sqrVertexReach) vertices.push_back(to.point);
}

/// Whether the piece between two points counts as closed.
template <class P>
bool closes(const P& from, const P& to)
{
  return sqrDistance(from, to) < sqrClosingGap;
}

/// The places of many parameters on one line of at least two points, each found by bisection. Borrows the line.
template <class P>
class ManyPlaces
{
public:
  explicit ManyPlaces(const PolyLine<P>& polyline) : line(polyline), lengths(polyline.numberOfSegments() + 1)
  {
    for (std::size_t i = 1; i < lengths.size(); ++i)
      lengths[i] = lengths[i - 1] + segmentLength(i - 1);
  }

  Place<P> at(double parameter) const
  {
    const double target = lengths.back() * std::clamp(parameter, 0.0, 1.0);
    const auto isPassed = [target](double length) { return target > length; };
    const auto end = std::partition_point(lengths.begin() + 1, lengths.end() - 1, isPassed);
    const auto segment = static_cast<std::size_t>(end - lengths.begin()) - 1;
    const auto view = line.getSegment(segment);
    return {pointAtLength(*view.getStart(), *view.getEnd(), lengths[segment], segmentLength(segment), target), segment};
  }

private:
  double segmentLength(std::size_t segment) const { return static_cast<double>(line.getSegment(segment).length()); }

  const PolyLine<P>& line;
  std::vector<double> lengths;
};

} // namespace Kavrel::PolyLinePlaces
