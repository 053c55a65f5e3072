#pragma once

#include "geometry/BoundingVolumeHierarchy/ClosestPoints.h"
#include "geometry/BoundingVolumeHierarchy/QueryResults.h"
#include "geometry/BoundingVolumeHierarchy/VolumeTests.h"
#include "geometry/mesh/Triangle.h"

/// The distance from a query to a volume or an element. All give true where the result was improved: its distance was
/// strictly greater than the new one, or it was still empty. Distances are squared unless told otherwise. None raises.
namespace Kavrel::BoundingVolumeHierarchy {

// Against a volume.

template <unsigned dim>
bool distance(const Plane<double, dim>& query, const AxisAlignedBox<float, dim>& volume,
              DistanceQueryResult<Plane<double, dim>, AxisAlignedBox<float, dim>>& result)
{
  return result.improve(squareDistance(query, volume));
}

/// The signed lowest distance, not squared.
inline bool distance(const SignedPlane& query, const AxisAlignedBox<float, 3>& volume,
                     DistanceQueryResult<SignedPlane, AxisAlignedBox<float, 3>>& result)
{
  return result.improve(signedDistance(query, volume));
}

/// Exact: from the twelve edges, the ends of the segment and whether it passes through.
KVSHAPES_EXPORT bool distance(const Segment<Point3N>& query, const AxisAlignedBox<float, 3>& volume,
                              DistanceQueryResult<Segment<Point3N>, AxisAlignedBox<float, 3>>& result);

// Against a point.

/// Plain squared distance.
template <unsigned dim>
bool distance(const Vector<double, dim>& query, const Vector<double, dim>& element,
              DistanceQueryResult<Vector<double, dim>, Vector<double, dim>>& result)
{
  return result.improve((query - element).sqrLength());
}

/// The signed distance, scaled by the length of the normal, not squared.
inline bool distance(const SignedPlane& query, const Vector<double, 3>& element,
                     DistanceQueryResult<SignedPlane, Vector<double, 3>>& result)
{
  return result.improve(query.normal.dot(element) - query.offset);
}

// Against a segment.

/// A segment shorter than 1e-12 counts as its start, which is taken with all it carries; any other point comes without.
template <unsigned dim, class P>
KVSHAPES_EXPORT bool distance(const Vector<double, dim>& query, const Segment<P>& element,
                              DistanceQueryResult<Vector<double, dim>, Segment<P>>& result);

/// 0 where the plane meets the segment.
template <unsigned dim, class P>
KVSHAPES_EXPORT bool distance(const Plane<double, dim>& query, const Segment<P>& element,
                              DistanceQueryResult<Plane<double, dim>, Segment<P>>& result);

/// The points come without what the ends carry.
template <class P>
KVSHAPES_EXPORT bool distance(const Segment<P>& query, const Segment<P>& element,
                              DistanceQueryResult<Segment<P>, Segment<P>>& result);

// Against a triangle.

/// By the region in which the point lies. A degenerate triangle counts as its edges and corners. The point comes
/// without normal until `post`.
inline bool distance(const Vector<double, 3>& query, const Triangle& element,
                     DistanceQueryResult<Vector<double, 3>, Triangle>& result)
{
  const Vector<double, 3>& a = element.getVertexRef(0);
  const Vector<double, 3>& b = element.getVertexRef(1);
  const Vector<double, 3>& c = element.getVertexRef(2);
  const TrianglePlace place = nearestOnTriangle(a, b, c, query);
  const Vector<double, 3> nearest = pointOnTriangle(a, b, c, place);
  if (!result.improve((query - nearest).sqrLength())) return false;
  result.xi = place.xi;
  result.eta = place.eta;
  result.point = nearest;
  return true;
}

/// 0 where the plane meets the triangle.
KVSHAPES_EXPORT bool distance(const Plane<double, 3>& query, const Triangle& element,
                              DistanceQueryResult<Plane<double, 3>, Triangle>& result);

/// 0 where the segment pierces the triangle. For Point<double, 3> and Point3N.
template <class P>
KVSHAPES_EXPORT bool distance(const Segment<P>& query, const Triangle& element,
                              DistanceQueryResult<Segment<P>, Triangle>& result);

/// As for a plain segment, but where its end is nearest only the part of the triangle within the planes across the ends
/// is seen. False where nothing of it is.
KVSHAPES_EXPORT bool distance(const PilotSegment<Point3N>& query, const Triangle& element,
                              DistanceQueryResult<PilotSegment<Point3N>, Triangle>& result);

/// From the edges and corners of both: triangles that pierce each other are not at distance 0.
KVSHAPES_EXPORT bool distance(const Triangle& query, const Triangle& element,
                              DistanceQueryResult<Triangle, Triangle>& result);

} // namespace Kavrel::BoundingVolumeHierarchy
