#pragma once

#include "geometry/BoundingVolumeHierarchy/AxisAlignedBox.h"
#include "geometry/BoundingVolumeHierarchy/InitialCoordinatesMesh.h"
#include "geometry/BoundingVolumeHierarchy/QueryShapes.h"
#include "geometry/BoundingVolumeHierarchy/SetIndexElement.h"
#include "geometry/ConstraintPoint.h"
#include "geometry/Plane.h"
#include "geometry/Point3NT.h"
#include "geometry/ProjectionPoint.h"
#include "geometry/Segment.h"

#include <cstdint>
#include <limits>

namespace Kavrel {
class Triangle;
}

namespace Kavrel::BoundingVolumeHierarchy {

/// The best distance so far. `secondIndex` is the element position in the searched tree; `firstIndex` that in the first
/// tree of a pair, else 0.
struct KVSHAPES_EXPORT DistanceQueryResultBase
{
  bool found = false;
  double squareDistance = std::numeric_limits<double>::max();
  std::uint32_t firstIndex = 0;
  std::uint32_t secondIndex = 0;

  /// Takes a distance that is strictly better, or any while there is none. False leaves the result as it is.
  bool improve(double candidate)
  {
    if (found && !(squareDistance > candidate)) return false;
    found = true;
    squareDistance = candidate;
    return true;
  }
};

/// A hit. The indices are element positions as in DistanceQueryResultBase.
struct KVSHAPES_EXPORT IntersectionQueryResultBase
{
  bool intersected = false;
  std::uint32_t firstIndex = 0;
  std::uint32_t secondIndex = 0;
};

/// What a distance query tells beyond the distance; for most pairs of query and element nothing.
template <class Query, class Element>
struct KVSHAPES_EXPORT DistanceQueryResult : DistanceQueryResultBase
{};

/// What an intersection tells beyond the fact; for most pairs of query and element nothing.
template <class Query, class Element>
struct KVSHAPES_EXPORT IntersectionQueryResult : IntersectionQueryResultBase
{};

template <>
struct KVSHAPES_EXPORT DistanceQueryResult<Vector<double, 3>, Triangle> : DistanceQueryResultBase
{
  double xi = 0.0;
  double eta = 0.0;
  Point3N point;

  /// Gives the point the normal of the triangle there.
  void post(const Vector<double, 3>& query, const Triangle& element);
};

template <unsigned dim, class P>
struct KVSHAPES_EXPORT DistanceQueryResult<Vector<double, dim>, Segment<P>> : DistanceQueryResultBase
{
  double parameter = 0.0;
  P point;
};

template <class P>
struct KVSHAPES_EXPORT DistanceQueryResult<Segment<P>, Segment<P>> : DistanceQueryResultBase
{
  double firstParameter = 0.0;
  P firstPoint;
  double secondParameter = 0.0;
  P secondPoint;
};

template <class P>
struct KVSHAPES_EXPORT DistanceQueryResult<Segment<P>, Triangle> : DistanceQueryResultBase
{
  double parameter = 0.0;
  double xi = 0.0;
  double eta = 0.0;
  P firstPoint;
  Point3N secondPoint;
};

template <class P>
struct KVSHAPES_EXPORT DistanceQueryResult<PilotSegment<P>, Triangle> : DistanceQueryResult<Segment<P>, Triangle>
{};

template <>
struct KVSHAPES_EXPORT DistanceQueryResult<Triangle, Triangle> : DistanceQueryResultBase
{
  double firstXi = 0.0;
  double firstEta = 0.0;
  Point3N firstPoint;
  double secondXi = 0.0;
  double secondEta = 0.0;
  Point3N secondPoint;

  /// Gives both points the normals of their triangles there.
  void post(const Triangle& query, const Triangle& element);
};

template <>
struct KVSHAPES_EXPORT DistanceQueryResult<Plane<double, 3>, Triangle> : DistanceQueryResultBase
{
  /// Not squared; the largest finite double before anything is found.
  double distance = std::numeric_limits<double>::max();

  /// Nothing is left to do.
  void post(const Plane<double, 3>&, const Triangle&) {}
};

/// A line or ray against a triangle: hit at origin + parameter · direction.
struct KVSHAPES_EXPORT LineTriangleResult : IntersectionQueryResultBase
{
  double parameter = std::numeric_limits<double>::max();
  double xi = 0.0;
  double eta = 0.0;
  Point3N point;
};

template <>
struct KVSHAPES_EXPORT IntersectionQueryResult<Ray, Triangle> : LineTriangleResult
{
  /// Moves the place into the triangle, evaluates point and normal there and the parameter from the point.
  void post(const Ray& query, const Triangle& element);
};

template <>
struct KVSHAPES_EXPORT IntersectionQueryResult<Line, Triangle> : LineTriangleResult
{
  /// As for a ray.
  void post(const Line& query, const Triangle& element);
};

template <>
struct KVSHAPES_EXPORT IntersectionQueryResult<LegacyLine, Triangle> : LineTriangleResult
{
  /// As for a ray, but the place may lie outside the triangle.
  void post(const LegacyLine& query, const Triangle& element);
};

template <class Query>
  requires OneOf<Query, Ray, Line, LegacyLine>
struct KVSHAPES_EXPORT IntersectionQueryResult<Query, AxisAlignedBox<float, 3>> : IntersectionQueryResultBase
{
  /// The smallest size of a parameter inside the box.
  double parameter = std::numeric_limits<double>::max();
};

template <unsigned dim, class P>
struct KVSHAPES_EXPORT IntersectionQueryResult<Plane<double, dim>, Segment<P>> : IntersectionQueryResultBase
{
  double parameter = 0.0;
  P point;
};

template <class P>
struct KVSHAPES_EXPORT IntersectionQueryResult<Segment<P>, Segment<P>> : IntersectionQueryResultBase
{
  double firstParameter = 0.0;
  double secondParameter = 0.0;
  P point;
};

template <>
struct KVSHAPES_EXPORT IntersectionQueryResult<Triangle, Triangle> : IntersectionQueryResultBase
{
  Point<double, 3> start;
  Point<double, 3> end;

  /// Nothing is left to do.
  void post(const Triangle&, const Triangle&) {}
};

template <class Query>
  requires OneOf<Query, Vector<double, 2>, ThickVector2>
struct KVSHAPES_EXPORT IntersectionQueryResult<Query, SetIndexElement<InitialCoordinatesMesh>>
    : IntersectionQueryResultBase
{
  double xi = 0.0;
  double eta = 0.0;
};

} // namespace Kavrel::BoundingVolumeHierarchy
