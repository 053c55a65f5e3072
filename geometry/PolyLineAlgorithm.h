#pragma once

#include "geometry/PolyLine.h"

namespace Kavrel {

/// Measures, questions and changes of polylines.
class KVSHAPES_EXPORT PolyLineAlgorithm
{
public:
  // Measuring

  /// Squared distance (model units²) from \p point to the nearest point of \p polyline, with the \p segment that this
  /// lies on and the parameter \p u there, from 0 to 1. A foot within 1e-12 of a segment end counts as that end, a
  /// segment with a squared length below 1e-12 as its start, and of equally near segments the first one is reported.
  /// An empty polyline gives the largest finite value and leaves \p u and \p segment. One pass, nothing allocated.
  template <PolyLinePoint P>
  static typename P::Scalar sqrDist(const PolyLine<P>& polyline, const Point<typename P::Scalar, P::Dim>& point,
                                    double& u, std::size_t& segment);

  // Editing
};

// Measuring

#define KV_INSTANTIATE(...)                                                                                            \
  extern template __VA_ARGS__::Scalar PolyLineAlgorithm::sqrDist(                                                      \
      const PolyLine<__VA_ARGS__>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, double&, std::size_t&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

// Editing

} // namespace Kavrel
