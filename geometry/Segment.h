#pragma once

#include "geometry/ConstraintPoint.h"
#include "geometry/Point3NT.h"
#include "geometry/ProjectionPoint.h"

#include <variant>
#include <vector>

namespace Kavrel {

/// The straight piece between two points. Borrows them: they must outlive the segment. A parameter runs from 0 at the
/// start to 1 at the end.
template <class PointType>
class KVSHAPES_EXPORT Segment
{
public:
  using Scalar = typename PointType::Scalar;
  using Position = Point<Scalar, PointType::Dim>;
  using Direction = Vector<Scalar, PointType::Dim>;

  /// A crossing of two segments.
  struct PointIntersection
  {
    PointType point;
    double u = 0.0; ///< parameter on this segment
    double v = 0.0; ///< parameter on the other
  };

  /// A crossing point, or the overlap of two collinear segments, whose ends are vertices of the two.
  using Intersection = std::variant<PointIntersection, Segment>;

  /// Both pointers null.
  constexpr Segment() = default;
  constexpr Segment(const PointType* a, const PointType* b) : start(a), end(b) {}

  constexpr const PointType* getStart() const { return start; }
  constexpr const PointType* getEnd() const { return end; }
  constexpr void setStart(const PointType* a) { start = a; }
  constexpr void setEnd(const PointType* b) { end = b; }

  Scalar length() const { return start->distance(*end); }
  constexpr Scalar sqrLength() const { return start->sqrDistance(*end); }
  /// Of unit length; the zero vector for a segment of zero length.
  Direction getDirection() const { return span().getNormalized(); }

  /// The point at \p t, which may lie outside [0, 1]. Normals, where both ends have one, are blended linearly and
  /// normalised; tangents are blended. A ConstraintPoint is fixed, a ProjectionPoint not placed.
  PointType getPoint(double t) const;

  /// The unit normal at \p t: of an end beyond it, blended linearly between. False, with the zero vector, unless both
  /// ends have a normal; false where the blend is too short to give a direction.
  bool getNormalAtParameter(double t, Direction& n) const;

  /// The foot of the perpendicular from \p p on the infinite line, with its parameter, interpolated as the points'
  /// linearInterpolation does. A segment too short for that, or of zero length, gives the start and t = 0.
  PointType project(const Position& p, double& t) const;
  /// The nearest point of the segment; an end comes with its attributes.
  PointType nearestPoint(const Position& p) const;
  /// Distance from \p p to the segment.
  Scalar distance(const Position& p) const { return std::sqrt(sqrDistance(p)); }
  /// Squared distance from \p p to the segment.
  constexpr Scalar sqrDistance(const Position& p) const { return p.sqrDistance(nearestPosition(p)); }
  /// Distance of the closest pair of points of the two segments.
  Scalar distance(const Segment& other) const;

  /// Projects \p p on the segment. 1: the foot lies on the segment, to within 1e-6 in the parameter; \p out is the foot
  /// with the normal of getNormalAtParameter(). -1 and -2: it lies before the start or behind the end; \p out is that
  /// end with its attributes and \p t is 0 or 1. 0: the segment has no length; \p out is the end and \p t is 1.
  /// \p t may be null.
  int projectPoint(const Position& p, PointType& out, double* t) const;
  /// Projects \p p on the segment along \p dir, seen along z. The codes are as above, with the exact bounds 0 and 1;
  /// code 0, with the position of \p p alone, when the direction runs along the segment.
  int projectPoint(const Position& p, const Direction& dir, PointType& out) const;
  /// Finds the point of the segment from which \p p lies perpendicular to the linearly blended tangent; normal and
  /// tangent are blended and normalised. 1: it lies on the segment, to within 1e-6; -1 and -2: before the start or
  /// behind the end, \p out is at that end. 0: there is none, \p out is the end. Only for Point3NT: all other types
  /// give 0 and leave \p out.
  int projectUsingInterpolatedTangents(const Position& p, PointType& out) const;

  /// Where the segment, widened at both ends by 1e-6 in its parameter, meets the plane. False, with the outputs as they
  /// were, where it doesn't, or when the ends' distances from the plane differ by less than 1e-6.
  bool getIntersectionWithPlane(const Plane<Scalar, PointType::Dim>& plane, double& t, Position& out) const;

  /// The position where two segments cross, ends excluded: a crossing closer than \p eps to an end of either doesn't
  /// count, nor does one of nearly parallel segments. With \p eps = 0 the ends belong to the segments.
  /// For Point<double, 2>; every other type raises the C string "Not implemented".
  bool getIntersection(const Segment& other, PointType& out, const double& eps) const;
  /// Whether getIntersection() finds a crossing.
  bool intersect(const Segment& other, const double& eps) const;

  /// Where the infinite lines of the segments cross, seen along z: parameters u on this one, v on the other, and the
  /// position on this one. False, with a copy of the start, for parallel ones (determinant at most 1e-6 in size).
  bool checkIntersectionXY(const Segment* other, double& u, double& v, PointType& out) const;
  /// The same, seen along y. In 2D the third coordinate is 0.
  bool checkIntersectionXZ(const Segment* other, double& u, double& v, PointType& out) const;
  /// The crossing seen along z or, for parallel segments, what they share: the overlap of collinear ones, or the
  /// contact of one too short to have a direction. Both tolerances are squared lengths. False where they share nothing.
  bool checkIntersectionXY(const Segment* other, Intersection& result, double sqrCollinearTol,
                           double sqrLengthTol) const;

  /// Replaces \p out by what remains of this segment without its overlap with \p other, in order. The pieces end at
  /// vertices of the two segments. Both tolerances are squared lengths.
  void subtract(const Segment& other, std::vector<Segment>& out, double sqrCollinearTol, double sqrLengthTol) const;

private:
  constexpr Direction span() const { return *end - *start; }

  /// Parameter of the foot of the perpendicular from \p p, 0 where the segment is too short.
  constexpr double parameterOf(const Position& p) const;
  /// The point on the infinite line with its attributes.
  PointType interpolatedAt(double t) const;
  /// The position nearestPoint() has, without a copy of the attributes.
  constexpr Position nearestPosition(const Position& p) const;

  bool checkIntersectionInPlane(const Segment& other, unsigned axis, double& u, double& v, PointType& out) const;
  bool checkIntersectionXYZ(const Segment* other, double& u, double& v, PointType& out) const;
  bool checkIntersectionXYZ(const Segment* other, Intersection& result, double sqrCollinearTol,
                            double sqrLengthTol) const;
  bool checkIntersection(const Segment& other, Intersection& result, bool crossing, const PointType& point, double u,
                         double v, double sqrCollinearTol, double sqrLengthTol) const;
  bool findOverlap(const Segment& other, Intersection& result, double sqrCollinearTol) const;
  /// The position on the infinite line, as linearInterpolation of the points gives it.
  constexpr Position positionAt(double t) const
  {
    return static_cast<const Direction&>(*start).linearInterpolation(static_cast<Scalar>(t), *end);
  }
  void setBlendAt(double t, PointType& point) const;
  void setFoot(double t, PointType& out) const;

  const PointType* start = nullptr;
  const PointType* end = nullptr;
};

template <class PointType>
constexpr double Segment<PointType>::parameterOf(const Position& p) const
{
  const Direction c = span();
  const double a = static_cast<double>(c.dot(p - *start));
  const double b = static_cast<double>(c.sqrLength());
  const double bound = a * 1e-12;
  if (bound > b || -bound > b || b == 0.0) return 0.0;
  return a / b;
}

template <class PointType>
constexpr typename Segment<PointType>::Position Segment<PointType>::nearestPosition(const Position& p) const
{
  const double t = parameterOf(p);
  if (t < 0.0) return *start;
  if (t > 1.0) return *end;
  return positionAt(t);
}

#define KV_EXTERN(...) extern template class Segment<__VA_ARGS__>;
KV_FOR_EACH_POLYLINE_POINT(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel
