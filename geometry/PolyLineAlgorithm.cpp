#include "geometry/PolyLineAlgorithm.h"

#include "geometry/PolyLineNearest.h"

#include <limits>

namespace Kavrel {

template <PolyLinePoint P>
typename P::Scalar PolyLineAlgorithm::sqrDist(const PolyLine<P>& polyline,
                                              const Point<typename P::Scalar, P::Dim>& point, double& u,
                                              std::size_t& segment)
{
  using T = typename P::Scalar;

  const std::size_t count = polyline.numberOfPoints();
  if (count == 0) return std::numeric_limits<T>::max();
  const P* const vertices = polyline.getPointCollection().data();
  T best = point.sqrDistance(vertices[0]);
  u = 0.0;
  segment = 0;

  // The end of a segment is the start of the next: its distance carries over.
  T sqrToStart = best;
  const std::size_t segments = polyline.isClosed() ? count : count - 1;
  for (std::size_t i = 0; i < segments; ++i) {
    const P& end = vertices[i + 1 < count ? i + 1 : 0];
    const Vector<T, P::Dim> way = end - vertices[i];
    const PolyLineNearest::SegmentView<T, P::Dim> view{point,           vertices[i], way,
                                                       way.sqrLength(), sqrToStart,  point.sqrDistance(end)};
    sqrToStart = view.sqrToEnd;
    if (view.isBeyond(best)) continue;
    const auto [sqrDistance, t] = view.nearest();
    if (!(best > sqrDistance)) continue;
    best = sqrDistance;
    u = static_cast<double>(t);
    segment = i;
  }
  return best;
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT __VA_ARGS__::Scalar PolyLineAlgorithm::sqrDist(                                             \
      const PolyLine<__VA_ARGS__>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, double&, std::size_t&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
