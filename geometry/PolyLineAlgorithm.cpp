#include "geometry/PolyLineAlgorithm.h"

#include <limits>

namespace Kavrel {

namespace {

constexpr double degenerateSqrLength = 1e-12; // strictly below: the segment is its start
constexpr double snapSqrLength = 1e-24;       // strictly below: the foot is the end of the segment

} // namespace

template <PolyLinePoint P>
typename P::Scalar PolyLineAlgorithm::sqrDist(const PolyLine<P>& polyline,
                                              const Point<typename P::Scalar, P::Dim>& point, double& u,
                                              std::size_t& segment)
{
  using T = typename P::Scalar;
  using Position = Point<T, P::Dim>;

  const std::size_t count = polyline.numberOfPoints();
  if (count == 0) return std::numeric_limits<T>::max();
  const P* const vertices = polyline.getPointCollection().data();

  T best = point.sqrDistance(vertices[0]);
  u = 0.0;
  segment = 0;
  const auto offer = [&](T sqrDistance, T t, std::size_t i) {
    if (!(best > sqrDistance)) return;
    best = sqrDistance;
    u = static_cast<double>(t);
    segment = i;
  };

  // The end of a segment is the start of the next: what is known of it carries over.
  const P* a = vertices;
  T sqrToA = best;
  const std::size_t segments = polyline.isClosed() ? count : count - 1;
  for (std::size_t i = 0; i < segments; ++i) {
    const P* const b = i + 1 < count ? vertices + i + 1 : vertices;
    const T sqrToB = point.sqrDistance(*b);
    const Vector<T, P::Dim> way = *b - *a;
    const T sqrLength = way.sqrLength();
    const T along = -(*a - point).dot(way);
    // Comparing before the division decides the ends exactly as the quotient would.
    if (sqrLength < T(degenerateSqrLength) || along <= T(0)) {
      offer(sqrToA, T(0), i);
    } else if (along > sqrLength) {
      offer(sqrToB, T(1), i);
    } else {
      const T t = along / sqrLength;
      const T rest = T(1) - t;
      if (t * t * sqrLength < T(snapSqrLength))
        offer(sqrToA, T(0), i);
      else if (rest * rest * sqrLength < T(snapSqrLength))
        offer(sqrToB, T(1), i);
      else
        offer(point.sqrDistance(Position(*a + way * t)), t, i);
    }
    a = b;
    sqrToA = sqrToB;
  }
  return best;
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT __VA_ARGS__::Scalar PolyLineAlgorithm::sqrDist(                                             \
      const PolyLine<__VA_ARGS__>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, double&, std::size_t&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
