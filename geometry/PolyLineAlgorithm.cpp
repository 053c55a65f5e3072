#include "geometry/PolyLineAlgorithm.h"

#include <limits>
#include <utility>

namespace Kavrel {

namespace {

constexpr double degenerateSqrLength = 1e-12; // strictly below: the segment is its start
constexpr double snapSqrLength = 1e-24;       // strictly below: the foot is the end of the segment

/// A segment as seen from a point.
template <class T, unsigned dim>
struct SegmentView
{
  /// Whether no point of the segment is nearer than the given distance: it keeps further away than its start is, less
  /// its length. True only with a wide margin, so that rounding doesn't matter.
  bool isBeyond(T sqrDistance) const { return sqrToStart > T(4) * (sqrDistance + sqrLength); }

  /// The squared distance of the nearest point and its parameter.
  std::pair<T, T> nearest() const
  {
    const std::pair<T, T> atStart(sqrToStart, T(0));
    const std::pair<T, T> atEnd(sqrToEnd, T(1));
    // Comparing before the division decides the ends exactly as the quotient would.
    const T along = -(start - point).dot(way);
    if (sqrLength < T(degenerateSqrLength) || along <= T(0)) return atStart;
    if (along > sqrLength) return atEnd;
    const T t = along / sqrLength;
    const T rest = T(1) - t;
    if (t * t * sqrLength < T(snapSqrLength)) return atStart;
    if (rest * rest * sqrLength < T(snapSqrLength)) return atEnd;
    return {point.sqrDistance(Point<T, dim>(start + way * t)), t};
  }

  const Point<T, dim>& point;
  const Point<T, dim>& start;
  Vector<T, dim> way;
  T sqrLength;
  T sqrToStart;
  T sqrToEnd;
};

} // namespace

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
    const SegmentView<T, P::Dim> view{point, vertices[i], way, way.sqrLength(), sqrToStart, point.sqrDistance(end)};
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
