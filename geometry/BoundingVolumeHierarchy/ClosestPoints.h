#pragma once

#include "geometry/BoundingVolumeHierarchy/QueryShapes.h"
#include "geometry/DoublePrecision.h"
#include "geometry/mesh/NearestOnTriangle.h"
#include "geometry/mesh/Triangle.h"

#include <algorithm>

/// The arithmetic of closest points of segments and triangles given by their positions in double precision.
namespace Kavrel::BoundingVolumeHierarchy {

/// A squared length or a determinant of squared lengths that counts as zero.
inline constexpr double degenerateLimit = 1e-24;

/// The ends of a segment.
template <unsigned dim>
struct SegmentEnds
{
  Vector<double, dim> start;
  Vector<double, dim> end;

  Vector<double, dim> at(double t) const { return start.linearInterpolation(t, end); }
};

template <class P>
SegmentEnds<P::Dim> endsOf(const Segment<P>& segment)
{
  return {toDouble(*segment.getStart()), toDouble(*segment.getEnd())};
}

/// The point type at a position, without anything attached.
template <class P>
P pointAt(const Vector<double, P::Dim>& position)
{
  Point<typename P::Scalar, P::Dim> point;
  for (unsigned i = 0; i < P::Dim; ++i)
    point[i] = static_cast<typename P::Scalar>(position[i]);
  return P(point);
}

/// The parameter of the place nearest to a point, 0 for a segment without length.
template <unsigned dim>
double nearestParameter(const Vector<double, dim>& point, const SegmentEnds<dim>& segment)
{
  const Vector<double, dim> span = segment.end - segment.start;
  const double sqrLength = span.sqrLength();
  if (sqrLength < degenerateLimit) return 0.0;
  return std::clamp((point - segment.start).dot(span) / sqrLength, 0.0, 1.0);
}

/// The parameters of the closest points of two segments.
struct ParameterPair
{
  double first;
  double second;
};

/// (Ericson, Real-Time Collision Detection, section 5.1.9)
template <unsigned dim>
ParameterPair closestParameters(const SegmentEnds<dim>& a, const SegmentEnds<dim>& b)
{
  const Vector<double, dim> spanA = a.end - a.start;
  const Vector<double, dim> spanB = b.end - b.start;
  const double lengthA = spanA.sqrLength();
  const double lengthB = spanB.sqrLength();
  if (lengthA < degenerateLimit) return {0.0, nearestParameter(a.start, b)};
  if (lengthB < degenerateLimit) return {nearestParameter(b.start, a), 0.0};

  const Vector<double, dim> between = a.start - b.start;
  const double alongA = spanA.dot(between);
  const double alongB = spanB.dot(between);
  const double mixed = spanA.dot(spanB);
  const double determinant = lengthA * lengthB - mixed * mixed;
  double s =
      determinant > degenerateLimit ? std::clamp((mixed * alongB - alongA * lengthB) / determinant, 0.0, 1.0) : 0.0;
  double t = (mixed * s + alongB) / lengthB;
  if (t < 0.0) {
    t = 0.0;
    s = std::clamp(-alongA / lengthA, 0.0, 1.0);
  } else if (t > 1.0) {
    t = 1.0;
    s = std::clamp((mixed - alongA) / lengthA, 0.0, 1.0);
  }
  return {s, t};
}

/// The corners of a triangle.
struct Corners
{
  Vector<double, 3> points[3];

  explicit Corners(const Triangle& triangle)
      : points{triangle.getVertexRef(0), triangle.getVertexRef(1), triangle.getVertexRef(2)}
  {}
  Corners(const Vector<double, 3>& a, const Vector<double, 3>& b, const Vector<double, 3>& c) : points{a, b, c} {}

  /// The edge from a corner to the next.
  SegmentEnds<3> edge(unsigned corner) const { return {points[corner], points[(corner + 1) % 3]}; }

  Vector<double, 3> at(const TrianglePlace& place) const
  {
    return pointOnTriangle(points[0], points[1], points[2], place);
  }

  TrianglePlace nearestTo(const Vector<double, 3>& point) const
  {
    return nearestOnTriangle(points[0], points[1], points[2], point);
  }
};

/// The place in the triangle at a parameter of the edge from a corner to the next.
inline TrianglePlace placeOnEdge(unsigned corner, double t)
{
  switch (corner) {
  case 0:
    return {t, 0.0};
  case 1:
    return {1.0 - t, t};
  default:
    return {0.0, 1.0 - t};
  }
}

} // namespace Kavrel::BoundingVolumeHierarchy
