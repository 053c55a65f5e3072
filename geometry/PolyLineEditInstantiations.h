#pragma once

#include "geometry/Instantiations.h"

/// The editing operations of PolyLineAlgorithm by source file, each list for one point type. `PREFIX` is
/// `extern template` in the header and `template KVSHAPES_EXPORT` in the source.

#define KV_POLYLINE_TRIM(PREFIX, ...)                                                                                  \
  PREFIX bool PolyLineAlgorithm::trim(const PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar, __VA_ARGS__::Scalar,          \
                                      PolyLine<__VA_ARGS__>&);                                                         \
  PREFIX std::shared_ptr<PolyLine<__VA_ARGS__>> PolyLineAlgorithm::trim(const PolyLine<__VA_ARGS__>&,                  \
                                                                        __VA_ARGS__::Scalar, __VA_ARGS__::Scalar);     \
  PREFIX std::shared_ptr<PolyLine<__VA_ARGS__>> PolyLineAlgorithm::trim(                                               \
      const PolyLine<__VA_ARGS__>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&,                               \
      const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&);       \
  PREFIX bool PolyLineAlgorithm::resetFirstPointIndexTo(std::size_t, PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_REFINEMENT(PREFIX, ...)                                                                            \
  PREFIX bool PolyLineAlgorithm::removeUndefinedPoints(PolyLine<__VA_ARGS__>&);                                        \
  PREFIX bool PolyLineAlgorithm::subdivide(PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar);                               \
  PREFIX void PolyLineAlgorithm::removeSpikes(PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar, __VA_ARGS__::Scalar);       \
  PREFIX bool PolyLineAlgorithm::thinout(PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar);

#define KV_POLYLINE_RESAMPLING(PREFIX, ...)                                                                            \
  PREFIX void PolyLineAlgorithm::resampleToMinimalDistance(PolyLine<__VA_ARGS__>&, double);

#define KV_POLYLINE_HALVING(PREFIX, ...)                                                                               \
  PREFIX void PolyLineAlgorithm::reducePointDistance(PolyLine<__VA_ARGS__>&, double);

#define KV_POLYLINE_OFFSET(PREFIX, ...)                                                                                \
  PREFIX bool PolyLineAlgorithm::calcOffsetPolyLine(const PolyLine<__VA_ARGS__>&, const Vector<double, 3>&,            \
                                                    const std::vector<double>&, double, PolyLine<__VA_ARGS__>&);       \
  PREFIX bool PolyLineAlgorithm::calcOffsetPolyLine(const PolyLine<__VA_ARGS__>&, const Vector<double, 3>&, double,    \
                                                    PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_MERGE(PREFIX, ...)                                                                                 \
  PREFIX void PolyLineAlgorithm::mergePolyLines(const std::vector<std::shared_ptr<const PolyLine<__VA_ARGS__>>>&,      \
                                                PolyLine<__VA_ARGS__>&);

#define KV_POLYLINE_SUBTRACT(PREFIX, ...)                                                                              \
  PREFIX std::vector<std::shared_ptr<PolyLine<__VA_ARGS__>>> PolyLineAlgorithm::subtractSegments(                      \
      const PolyLine<__VA_ARGS__>&, const std::vector<Segment<__VA_ARGS__>>&, double, double);                         \
  PREFIX std::vector<std::shared_ptr<PolyLine<__VA_ARGS__>>> PolyLineAlgorithm::subtractPolylineBoundary(              \
      const PolyLine<__VA_ARGS__>&, const PolyLine<__VA_ARGS__>&, double, double);                                     \
  PREFIX std::vector<std::shared_ptr<PolyLine<__VA_ARGS__>>> PolyLineAlgorithm::subtractPolylineBoundaries(            \
      const PolyLine<__VA_ARGS__>&, const std::vector<std::shared_ptr<const PolyLine<__VA_ARGS__>>>&, double, double);

/// The point types that resampleToMinimalDistance() takes, and those of reducePointDistance() and calcOffsetPolyLine().
#define KV_FOR_EACH_RESAMPLED_POINT(M) M(Point<double, 3>) M(Point3N) M(Point3NT)
#define KV_FOR_EACH_SHIFTED_POINT(M) M(Point<double, 3>) M(Point3N)
