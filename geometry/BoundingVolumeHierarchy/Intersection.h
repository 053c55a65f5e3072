#pragma once

#include "geometry/BoundingVolumeHierarchy/QueryResults.h"
#include "geometry/BoundingVolumeHierarchy/VolumeTests.h"
#include "geometry/mesh/Triangle.h"

/// Whether a query meets a volume or an element. All give true for a hit and then fill the result; they expect a fresh
/// one. None raises, but where it is said.
namespace Kavrel::BoundingVolumeHierarchy {

// Lines against a volume: the parameter is the smallest in size inside the box. A box without thickness along the line
// is not met.

KVSHAPES_EXPORT bool intersect(const Ray& query, const AxisAlignedBox<float, 3>& volume,
                               IntersectionQueryResult<Ray, AxisAlignedBox<float, 3>>& result);
KVSHAPES_EXPORT bool intersect(const Line& query, const AxisAlignedBox<float, 3>& volume,
                               IntersectionQueryResult<Line, AxisAlignedBox<float, 3>>& result);
/// The box is widened by the tolerance of the line.
KVSHAPES_EXPORT bool intersect(const LegacyLine& query, const AxisAlignedBox<float, 3>& volume,
                               IntersectionQueryResult<LegacyLine, AxisAlignedBox<float, 3>>& result);

// Lines against a triangle. No ray passes between two triangles that share an edge. A ray accepts parameters down to
// -1e-6; a line any.

KVSHAPES_EXPORT bool intersect(const Ray& query, const Triangle& element,
                               IntersectionQueryResult<Ray, Triangle>& result);
KVSHAPES_EXPORT bool intersect(const Line& query, const Triangle& element,
                               IntersectionQueryResult<Line, Triangle>& result);
/// Also meets a triangle that it misses by no more than the tolerance of the line.
KVSHAPES_EXPORT bool intersect(const LegacyLine& query, const Triangle& element,
                               IntersectionQueryResult<LegacyLine, Triangle>& result);

// A plane.

/// A triangle that touches the plane from above is met, one that touches from below isn't.
KVSHAPES_EXPORT bool intersect(const Plane<double, 3>& query, const Triangle& element,
                               IntersectionQueryResult<Plane<double, 3>, Triangle>& result);
/// A segment that touches the plane from below is met, one that touches from above or lies in it isn't.
template <unsigned dim, class P>
KVSHAPES_EXPORT bool intersect(const Plane<double, dim>& query, const Segment<P>& element,
                               IntersectionQueryResult<Plane<double, dim>, Segment<P>>& result);

/// Two triangles that cross, with the ends of the piece they share. Coplanar ones don't, nor those that only touch.
KVSHAPES_EXPORT bool intersect(const Triangle& query, const Triangle& element,
                               IntersectionQueryResult<Triangle, Triangle>& result);

// Two segments.

/// In two dimensions: intersectXY() with the tolerance 1e-6.
template <class P>
KVSHAPES_EXPORT bool intersect(const Segment<P>& query, const Segment<P>& element,
                               IntersectionQueryResult<Segment<P>, Segment<P>>& result);

/// Segment::getIntersection(): a crossing within the tolerance (model units) of an end doesn't count. Raises what that
/// raises for every type but Point<double, 2>.
template <class P>
KVSHAPES_EXPORT bool intersectAbsTolerance(const Segment<P>& a, const Segment<P>& b,
                                           IntersectionQueryResult<Segment<P>, Segment<P>>& result, double tolerance);

/// A crossing seen along z, as Segment::checkIntersectionXY() finds it, with both parameters in [-tolerance,
/// 1 + tolerance].
template <class P>
KVSHAPES_EXPORT bool intersectXY(const Segment<P>& a, const Segment<P>& b,
                                 IntersectionQueryResult<Segment<P>, Segment<P>>& result, double tolerance);

} // namespace Kavrel::BoundingVolumeHierarchy
