#pragma once

#include <type_traits>

/// The lists of arguments for which the class templates exist. `M` takes the arguments as its variadic arguments:
///
///   #define KV_INSTANTIATE(...) template class PolyLine<__VA_ARGS__>;
///   KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
///   #undef KV_INSTANTIATE

/// Scalar and dimension of points, boxes, planes, coordinate systems and curves.
#define KV_FOR_EACH_SPACE(M) M(float, 2) M(float, 3) M(double, 2) M(double, 3)

/// Two-dimensional point types of polylines and segments.
#define KV_FOR_EACH_POLYLINE_POINT_2D(M) M(Point<float, 2>) M(Point<double, 2>)

/// Three-dimensional point types of polylines and segments.
#define KV_FOR_EACH_POLYLINE_POINT_3D(M)                                                                               \
  M(Point<float, 3>) M(Point<double, 3>) M(Point3N) M(Point3NT) M(ProjectionPoint) M(ConstraintPoint)

/// The eight point types of polylines, segments and polyline search trees.
#define KV_FOR_EACH_POLYLINE_POINT(M) KV_FOR_EACH_POLYLINE_POINT_2D(M) KV_FOR_EACH_POLYLINE_POINT_3D(M)

/// The point types of rays.
#define KV_FOR_EACH_RAY_POINT(M)                                                                                       \
  M(Point<float, 2>) M(Point<float, 3>) M(Point<double, 2>) M(Point<double, 3>) M(Point3N)

namespace Kavrel {

template <class T, unsigned dim>
class Point;
class Point3N;
class Point3NT;
class ProjectionPoint;
class ConstraintPoint;

/// One of the listed types.
template <class T, class... Types>
concept OneOf = (std::is_same_v<T, Types> || ...);

/// A point type over which polylines and segments exist.
template <class P>
concept PolyLinePoint = OneOf<P, Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N,
                              Point3NT, ProjectionPoint, ConstraintPoint>;

} // namespace Kavrel
