#pragma once

#include "geometry/Point3N.h"
#include "geometry/Side.h"

namespace Kavrel {

template <class PointType>
class Segment;

/// A half-line. Borrows its start point and its direction: both must outlive the ray. The direction needn't be of unit
/// length.
template <class PointType>
class KVSHAPES_EXPORT Ray
{
public:
  using Scalar = typename PointType::Scalar;
  using Position = Point<Scalar, PointType::Dim>;
  using Direction = Vector<Scalar, PointType::Dim>;

  /// Both pointers null.
  constexpr Ray() = default;
  constexpr Ray(const PointType* start, const Direction* dir) : startPoint(start), direction(dir) {}

  constexpr const PointType* getStartPoint() const { return startPoint; }
  constexpr void setStartPoint(const PointType* start) { startPoint = start; }
  constexpr const Direction* getDirection() const { return direction; }
  constexpr void setDirection(const Direction* dir) { direction = dir; }

  /// The foot of the perpendicular from \p p on the infinite line, with its parameter t in multiples of the direction.
  /// Where |t·eps| would be above 1, and for a zero direction, the result is the start point and t = 0.
  PointType project(const Position& p, double& t, double eps) const;
  /// The projection, or the start point where that lies behind the start.
  PointType nearestPoint(const Position& p, double eps) const;
  /// Distance from \p p to nearestPoint().
  Scalar distance(const Position& p, double eps) const;

  /// The side of \p p seen along z: Above is left of the ray's direction. The doubled area of the triangle of start,
  /// start + direction and \p p decides, On below \p eps in size.
  Side positionOfPoint(const Position& p, double eps) const;

  /// Where the infinite line of this ray meets the ray \p other, seen along z. Whether it does, at a parameter above
  /// -eps on \p other; \p out is a point of \p other in all coordinates. False for parallel rays.
  bool getIntersectionXY(const Ray* other, PointType& out, double eps) const;
  /// Where the infinite line of this ray meets the segment, widened at both ends by \p eps in its parameter, seen along
  /// z. With \p clamp a meeting point beyond an end is replaced by that end and counts, too. \p out is a point of the
  /// segment in all coordinates.
  bool getIntersectionXY(const Segment<PointType>* segment, PointType& out, double eps, bool clamp) const;

private:
  const PointType* startPoint = nullptr;
  const Direction* direction = nullptr;
};

#define KV_EXTERN(...) extern template class Ray<__VA_ARGS__>;
KV_FOR_EACH_RAY_POINT(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel
