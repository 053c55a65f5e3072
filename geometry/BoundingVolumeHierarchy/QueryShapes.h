#pragma once

#include "geometry/BoundingVolumeHierarchy/AxisAlignedBox.h"
#include "geometry/Point.h"
#include "geometry/Segment.h"

namespace Kavrel::BoundingVolumeHierarchy {

/// A half-line. The inverse direction is 1/component without a guard: a zero component gives an infinity of its sign,
/// which the box test takes into account. The direction is kept as given, of whatever length.
struct KVSHAPES_EXPORT Ray
{
  Point<double, 3> origin;
  Vector<double, 3> direction;
  Vector<double, 3> inverseDirection;

  Ray(const Vector<double, 3>& start, const Vector<double, 3>& along)
      : origin(start), direction(along), inverseDirection(1.0 / along[0], 1.0 / along[1], 1.0 / along[2])
  {}
};

/// A line without ends. Inverse direction as for a ray.
struct KVSHAPES_EXPORT Line
{
  Point<double, 3> origin;
  Vector<double, 3> direction;
  Vector<double, 3> inverseDirection;

  Line(const Vector<double, 3>& start, const Vector<double, 3>& along)
      : origin(start), direction(along), inverseDirection(1.0 / along[0], 1.0 / along[1], 1.0 / along[2])
  {}
};

/// A line without ends that also meets triangles it misses by no more than a tolerance (model units).
struct KVSHAPES_EXPORT LegacyLine
{
  Point<double, 3> origin;
  Vector<double, 3> direction;
  Vector<double, 3> inverseDirection;
  double tolerance;

  LegacyLine(const Vector<double, 3>& start, const Vector<double, 3>& along, double reach)
      : origin(start), direction(along), inverseDirection(1.0 / along[0], 1.0 / along[1], 1.0 / along[2]),
        tolerance(reach)
  {}
};

/// The points within a thickness of a plane.
struct KVSHAPES_EXPORT ThickPlane
{
  Vector<double, 3> normal;
  double offset;
  double thickness;

  /// Normalises the normal, where its length is at least 1e-12, and takes the offset of the plane through the point.
  ThickPlane(const Vector<double, 3>& across, const Vector<double, 3>& point, double planeThickness)
      : normal(across.getNormalized()), offset(normal.dot(point)), thickness(planeThickness)
  {}
  /// Copies all three; the normal stays as it is.
  ThickPlane(const Vector<double, 3>& across, double planeOffset, double planeThickness)
      : normal(across), offset(planeOffset), thickness(planeThickness)
  {}
};

/// The part of a thick plane inside a box.
struct KVSHAPES_EXPORT BoundedThickPlane : AxisAlignedBox<double, 3>, ThickPlane
{
  BoundedThickPlane(const AxisAlignedBox<double, 3>& box, const ThickPlane& plane)
      : AxisAlignedBox<double, 3>(box), ThickPlane(plane)
  {}
};

/// A plane whose distances are signed and scale with its normal, which is taken as it is. Without arguments the offset
/// is not set.
struct KVSHAPES_EXPORT SignedPlane
{
  Vector<double, 3> normal;
  double offset;

  SignedPlane() {}
  SignedPlane(const Vector<double, 3>& across, double planeOffset) : normal(across), offset(planeOffset) {}
};

/// The points of the plane within a thickness of a position.
struct KVSHAPES_EXPORT ThickVector2
{
  Vector<double, 2> vector;
  double thickness;

  ThickVector2(const Vector<double, 2>& position, double reach) : vector(position), thickness(reach) {}
};

/// A segment used as a query against triangles: beyond its ends it only sees what lies between the planes that stand on
/// the ends across it.
template <class PointType>
struct KVSHAPES_EXPORT PilotSegment : Segment<PointType>
{
  using Segment<PointType>::Segment;
  explicit PilotSegment(const Segment<PointType>& segment) : Segment<PointType>(segment) {}
};

} // namespace Kavrel::BoundingVolumeHierarchy
