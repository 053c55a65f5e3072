#include "geometry/BoundingVolumeHierarchy/Intersection.h"

#include "geometry/BoundingVolumeHierarchy/ChildMeasures.h"
#include "geometry/BoundingVolumeHierarchy/ClosestPoints.h"
#include "geometry/mesh/MeshAlgorithm.h"
#include "platform/kvcadcore/FacetProjection.h"

#include <algorithm>
#include <cmath>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

/// The tolerance of crossings of segments in two dimensions, relative to their lengths.
constexpr double segmentTolerance = 1e-6;

template <class LineType, class Result>
bool intersectVolume(const LineType& line, const AxisAlignedBox<float, 3>& volume, Result& result)
{
  const Node<AxisAlignedBox<float, 3>> node{isLeafFlag, isLeafFlag, volume};
  const double parameter = ParameterOfChildren<LineType>(line)(node, node).first;
  if (parameter == std::numeric_limits<double>::infinity()) return false;
  result.intersected = true;
  result.parameter = parameter;
  return true;
}

} // namespace

bool intersect(const Ray& query, const AxisAlignedBox<float, 3>& volume,
               IntersectionQueryResult<Ray, AxisAlignedBox<float, 3>>& result)
{
  return intersectVolume(query, volume, result);
}

bool intersect(const Line& query, const AxisAlignedBox<float, 3>& volume,
               IntersectionQueryResult<Line, AxisAlignedBox<float, 3>>& result)
{
  return intersectVolume(query, volume, result);
}

bool intersect(const LegacyLine& query, const AxisAlignedBox<float, 3>& volume,
               IntersectionQueryResult<LegacyLine, AxisAlignedBox<float, 3>>& result)
{
  return intersectVolume(query, volume, result);
}

bool intersect(const LegacyLine& query, const Triangle& element, IntersectionQueryResult<LegacyLine, Triangle>& result)
{
  const Corners corners(element);
  double points[3][3];
  for (unsigned corner = 0; corner < 3; ++corner)
    std::copy_n(corners.points[corner].data(), 3, points[corner]);
  TrianglePlace place;
  if (sn_pr_projPointOnFacet2(points, query.origin.data(), query.direction.data(), query.tolerance, &place.xi,
                              &place.eta) == 0)
    return false;
  result.intersected = true;
  result.xi = place.xi;
  result.eta = place.eta;
  result.parameter = (corners.at(place) - query.origin).dot(query.direction);
  return true;
}

bool intersect(const Plane<double, 3>& query, const Triangle& element,
               IntersectionQueryResult<Plane<double, 3>, Triangle>& result)
{
  double s[3];
  for (unsigned corner = 0; corner < 3; ++corner)
    s[corner] = query.getNormal().dot(element.getVertexRef(corner)) - query.getDistance();
  if (!(std::min({s[0], s[1], s[2]}) <= 0.0 && std::max({s[0], s[1], s[2]}) > 0.0)) return false;
  result.intersected = true;
  return true;
}

template <unsigned dim, class P>
bool intersect(const Plane<double, dim>& query, const Segment<P>& element,
               IntersectionQueryResult<Plane<double, dim>, Segment<P>>& result)
{
  const SegmentEnds<dim> ends = endsOf(element);
  const double s0 = query.getNormal().dot(ends.start) - query.getDistance();
  const double s1 = query.getNormal().dot(ends.end) - query.getDistance();
  if (!(std::min(s0, s1) < 0.0 && std::max(s0, s1) >= 0.0)) return false;
  result.intersected = true;
  result.parameter = -s0 / (s1 - s0);
  result.point = pointAt<P>(ends.at(result.parameter));
  return true;
}

bool intersect(const Triangle& query, const Triangle& element, IntersectionQueryResult<Triangle, Triangle>& result)
{
  if (!MeshAlgorithm::triangleTriangleIntersection(&query, &element, result.start, result.end)) return false;
  result.intersected = true;
  return true;
}

template <class P>
bool intersect(const Segment<P>& query, const Segment<P>& element,
               IntersectionQueryResult<Segment<P>, Segment<P>>& result)
{
  return intersectXY(query, element, result, segmentTolerance);
}

template <class P>
bool intersectAbsTolerance(const Segment<P>& a, const Segment<P>& b,
                           IntersectionQueryResult<Segment<P>, Segment<P>>& result, double tolerance)
{
  P point;
  if (!a.getIntersection(b, point, tolerance)) return false;
  result.intersected = true;
  result.point = point;
  return true;
}

template <class P>
bool intersectXY(const Segment<P>& a, const Segment<P>& b, IntersectionQueryResult<Segment<P>, Segment<P>>& result,
                 double tolerance)
{
  double u = 0.0;
  double v = 0.0;
  P point;
  if (!a.checkIntersectionXY(&b, u, v, point)) return false;
  const auto isInside = [tolerance](double t) { return t >= -tolerance && t <= 1.0 + tolerance; };
  if (!isInside(u) || !isInside(v)) return false;
  result.intersected = true;
  result.firstParameter = u;
  result.secondParameter = v;
  result.point = point;
  return true;
}

#define KV_INSTANTIATE(...)                                                                                            \
  template bool intersect(const Plane<double, __VA_ARGS__::Dim>&, const Segment<__VA_ARGS__>&,                         \
                          IntersectionQueryResult<Plane<double, __VA_ARGS__::Dim>, Segment<__VA_ARGS__>>&);            \
  template bool intersectAbsTolerance(const Segment<__VA_ARGS__>&, const Segment<__VA_ARGS__>&,                        \
                                      IntersectionQueryResult<Segment<__VA_ARGS__>, Segment<__VA_ARGS__>>&, double);   \
  template bool intersectXY(const Segment<__VA_ARGS__>&, const Segment<__VA_ARGS__>&,                                  \
                            IntersectionQueryResult<Segment<__VA_ARGS__>, Segment<__VA_ARGS__>>&, double);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...)                                                                                            \
  template bool intersect(const Segment<__VA_ARGS__>&, const Segment<__VA_ARGS__>&,                                    \
                          IntersectionQueryResult<Segment<__VA_ARGS__>, Segment<__VA_ARGS__>>&);
KV_FOR_EACH_POLYLINE_POINT_2D(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel::BoundingVolumeHierarchy
