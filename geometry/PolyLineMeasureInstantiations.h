#pragma once

#include "geometry/Instantiations.h"

/// The measuring operations of PolyLineAlgorithm by source file, each list for one point type. `PREFIX` is
/// `extern template` in the header and `template KVSHAPES_EXPORT` in the source.

#define KV_POLYLINE_NEAREST(PREFIX, ...)                                                                               \
  PREFIX __VA_ARGS__ PolyLineAlgorithm::calculateProjectionPoint(const PolyLine<__VA_ARGS__>&, const __VA_ARGS__&);    \
  PREFIX __VA_ARGS__ PolyLineAlgorithm::getPointByParameters(const PolyLine<__VA_ARGS__>&, std::size_t, double);       \
  PREFIX int PolyLineAlgorithm::getLongestSegment(const PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_NEAREST_SEGMENT(PREFIX, ...)                                                                       \
  PREFIX int PolyLineAlgorithm::getNearestSegment(const PolyLine<__VA_ARGS__>&, const __VA_ARGS__&, bool, double&);    \
  PREFIX int PolyLineAlgorithm::getNearestSegment(const PolyLine<__VA_ARGS__>&, const __VA_ARGS__&, bool);

#define KV_POLYLINE_DISTANCES(PREFIX, ...)                                                                             \
  PREFIX double PolyLineAlgorithm::hausdorffDistance(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&);      \
  PREFIX double PolyLineAlgorithm::hausdorffDistance(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&,       \
                                                     const BoundingVolumeHierarchy::PolyLineSearchTree<__VA_ARGS__>&); \
  PREFIX double PolyLineAlgorithm::minDistToPolygon(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&);       \
  PREFIX double PolyLineAlgorithm::minDistToPolygon(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&,        \
                                                    __VA_ARGS__&);                                                     \
  PREFIX double PolyLineAlgorithm::minDistToPolygon(const PolyLine<__VA_ARGS__>&,                                      \
                                                    const BoundingVolumeHierarchy::PolyLineSearchTree<__VA_ARGS__>&);  \
  PREFIX double PolyLineAlgorithm::minDistBetweenPolygons(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&); \
  PREFIX double PolyLineAlgorithm::minDistBetweenPolygons(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&,  \
                                                          __VA_ARGS__&, __VA_ARGS__&);                                 \
  PREFIX double PolyLineAlgorithm::maxDistToPolygon(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&);       \
  PREFIX double PolyLineAlgorithm::maxDistBetweenPolygons(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_FARTHEST_VERTICES(PREFIX, ...)                                                                     \
  PREFIX double PolyLineAlgorithm::maxDistBetweenTwoPolygons(const PolyLine<__VA_ARGS__>&,                             \
                                                             const PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_SEGMENT_DISTANCES(PREFIX, ...)                                                                     \
  PREFIX double PolyLineAlgorithm::minDistBetweenPolygonsThroughSegments(const PolyLine<__VA_ARGS__>&,                 \
                                                                         const PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_DIFFERENCE(PREFIX, ...)                                                                            \
  PREFIX std::shared_ptr<std::vector<Vector<double, 3>>> PolyLineAlgorithm::calculateDifference(                       \
      const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_NORMAL_DEVIATION(PREFIX, ...)                                                                      \
  PREFIX double PolyLineAlgorithm::maxNormalDeviation(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&,      \
                                                      double);                                                         \
  PREFIX double PolyLineAlgorithm::maxNormalDeviationBetweenTwoPolygons(const PolyLine<__VA_ARGS__>&,                  \
                                                                        const PolyLine<__VA_ARGS__>&, double);

#define KV_POLYLINE_TANGENTS(PREFIX, ...)                                                                              \
  PREFIX Vector<__VA_ARGS__::Scalar, __VA_ARGS__::Dim> PolyLineAlgorithm::calcTangentAtPoint(                          \
      const PolyLine<__VA_ARGS__>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, bool);                        \
  PREFIX Vector<__VA_ARGS__::Scalar, __VA_ARGS__::Dim> PolyLineAlgorithm::getSmoothedTangent(                          \
      const PolyLine<__VA_ARGS__>&, double, std::size_t);                                                              \
  PREFIX std::vector<std::size_t> PolyLineAlgorithm::computeCuspIndices(const PolyLine<__VA_ARGS__>&, double, double); \
  PREFIX bool PolyLineAlgorithm::isStraightLine(const PolyLine<__VA_ARGS__>&, double, std::size_t, std::size_t);

#define KV_POLYLINE_PARTIAL_LENGTH(PREFIX, ...)                                                                        \
  PREFIX double PolyLineAlgorithm::getPartialPolyLineLength(const PolyLine<__VA_ARGS__>&, std::size_t, std::size_t);

#define KV_POLYLINE_PLANES(PREFIX, ...)                                                                                \
  PREFIX double PolyLineAlgorithm::minDistToPlane(const PolyLine<__VA_ARGS__>&, const Plane<double, 3>&);              \
  PREFIX double PolyLineAlgorithm::maxDistToPlane(const PolyLine<__VA_ARGS__>&, const Plane<double, 3>&);              \
  PREFIX Plane<double, 3> PolyLineAlgorithm::computeRegressionPlane(const PolyLine<__VA_ARGS__>&);                     \
  PREFIX std::pair<bool, Plane<double, 3>> PolyLineAlgorithm::checkPlanarity(const PolyLine<__VA_ARGS__>&, double);    \
  PREFIX Point3N PolyLineAlgorithm::calculateCenterOfPolyLine(const PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_SPATIAL(PREFIX, ...)                                                                               \
  PREFIX bool PolyLineAlgorithm::laysOnPlane(const PolyLine<__VA_ARGS__>&, const Plane<double, 3>&, double);           \
  PREFIX double PolyLineAlgorithm::getHydraulicDiameter(const PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_XY(PREFIX, ...)                                                                                    \
  PREFIX __VA_ARGS__ PolyLineAlgorithm::calculateCenterOfEnclosedXYArea(const PolyLine<__VA_ARGS__>&);                 \
  PREFIX bool PolyLineAlgorithm::checkXYOrientation(const PolyLine<__VA_ARGS__>&, bool);

#define KV_POLYLINE_INSIDE(PREFIX, ...)                                                                                \
  PREFIX bool PolyLineAlgorithm::isInsideOfPolyLine(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&, bool);

#define KV_POLYLINE_INSIDE_ALONG(PREFIX, ...)                                                                          \
  PREFIX bool PolyLineAlgorithm::isInsideOfPolyLine(const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&,        \
                                                    const Vector<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, bool);

// The point types of the operations that don't exist for all eight.

#define KV_FOR_EACH_NEAREST_SEGMENT_POINT(M) M(Point<double, 2>) M(Point<double, 3>) M(Point3N) M(ProjectionPoint)
#define KV_FOR_EACH_SPATIAL_MEASURE_POINT(M) M(Point<double, 3>) M(Point3N)
#define KV_FOR_EACH_SEGMENT_DISTANCE_POINT(M) M(Point<double, 3>) M(Point3N) M(Point3NT)
#define KV_FOR_EACH_NORMAL_DEVIATION_POINT(M) M(Point3N) M(Point3NT)
#define KV_FOR_EACH_XY_MEASURE_POINT(M) M(Point<double, 2>) M(Point<double, 3>) M(Point3N)
#define KV_FOR_EACH_INSIDE_ALONG_POINT(M) M(Point<float, 3>) M(Point<double, 3>) M(Point3N) M(Point3NT)
