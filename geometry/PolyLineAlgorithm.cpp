#include "geometry/PolyLineAlgorithm.h"

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/PolyLineNearest.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace Kavrel {

namespace {

namespace Lanes = BoundingVolumeHierarchy::Lanes;
using Lanes::Double2;

inline Double2 straddling(Double2 a, Double2 b) { return Double2{a[1], b[0]}; }

/// Two vertices: x and y of each side by side as in memory, z of both.
template <class P>
struct VertexPair
{
  explicit VertexPair(const P* vertices)
  {
    for (unsigned k = 0; k < 2; ++k)
      xy[k] = Double2{static_cast<double>(vertices[k][0]), static_cast<double>(vertices[k][1])};
    if constexpr (P::Dim == 3) z = Double2{static_cast<double>(vertices[0][2]), static_cast<double>(vertices[1][2])};
  }

  Double2 sqrDistance(const VertexPair& to) const { return sqrLengths(xy[0] - to.xy[0], xy[1] - to.xy[1], z - to.z); }
  /// From the first vertex to the second, and from that to the first one of the next pair.
  Double2 sqrDistanceToNext(const VertexPair& next) const
  {
    return sqrLengths(xy[1] - xy[0], next.xy[0] - xy[1], straddling(z, next.z) - z);
  }

  static Double2 sqrLengths(Double2 first, Double2 second, Double2 heights)
  {
    first *= first;
    second *= second;
    const Double2 sum = Double2{first[0], second[0]} + Double2{first[1], second[1]};
    if constexpr (P::Dim == 3)
      return sum + heights * heights;
    else
      return sum;
  }

  Double2 xy[2];
  Double2 z{};
};

/// Finds, eight segments at a time, those that may hold a point nearer than the best one so far.
///
/// The squared distance of a segment is at least that of its nearer end less a quarter of its squared length. The test
/// takes more than a quarter off and asks for more than the best distance, so that rounding, which it does differently
/// than the exact measure, can't hide a segment. Whatever isn't a number passes.
template <class P>
class NearFilter
{
public:
  using T = typename P::Scalar;
  using Position = Point<T, P::Dim>;
  static constexpr std::size_t length = 8;

  explicit NearFilter(const Position& point)
      : query(pairOf(point)), slack(PolyLineNearest::PruningSlack::of<T>(PolyLineNearest::sizeOf(point)))
  {}

  void lower(T sqrDistance)
  {
    if (static_cast<double>(sqrDistance) >= lowest) return;
    lowest = static_cast<double>(sqrDistance);
    limit = margin * slack.sqrLimit(lowest);
  }

  /// One bit for each of the segments behind vertex 0 to 7, set if it must be measured. Reads the vertices 0 to 9.
  unsigned nearSegments(const P* vertices) const
  {
    unsigned near = 0;
    VertexPair<P> pair(vertices);
    Double2 sqrDistance = pair.sqrDistance(query);
    for (unsigned i = 0; i < length; i += 2) {
      const VertexPair<P> next(vertices + i + 2);
      const Double2 sqrNext = next.sqrDistance(query);
      const Double2 nearerEnd = Lanes::smaller(sqrDistance, straddling(sqrDistance, sqrNext));
      const Double2 bound = pair.sqrDistanceToNext(next) * Lanes::all(lengthShare) + Lanes::all(limit);
      near |= (Lanes::bits(nearerEnd > bound) ^ 3U) << i;
      pair = next;
      sqrDistance = sqrNext;
    }
    return near;
  }

private:
  static constexpr double margin = 1.05;
  static constexpr double lengthShare = 0.3;

  static VertexPair<P> pairOf(const Position& point)
  {
    const P twice[2] = {P(point), P(point)};
    return VertexPair<P>(twice);
  }

  VertexPair<P> query;
  PolyLineNearest::PruningSlack slack;
  double lowest = std::numeric_limits<double>::infinity();
  double limit = std::numeric_limits<double>::infinity();
};

/// A squared distance that is measured somewhere on the line, so that the filter starts with a low bound.
template <class P>
typename P::Scalar roughSqrDistance(const P* vertices, std::size_t count,
                                    const Point<typename P::Scalar, P::Dim>& point)
{
  using T = typename P::Scalar;
  const auto stride = std::max<std::size_t>(32, static_cast<std::size_t>(std::sqrt(static_cast<double>(count))));
  T rough = point.sqrDistance(vertices[0]);
  for (std::size_t i = stride; i + 1 < count; i += stride)
    rough = std::min(rough, PolyLineNearest::viewOf<T, P::Dim>(vertices[i], vertices[i + 1], point).nearest().first);
  return rough;
}

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

  NearFilter<P> filter(point);
  filter.lower(roughSqrDistance(vertices, count, point));
  const auto measure = [&](std::size_t i) {
    const P& end = vertices[i + 1 < count ? i + 1 : 0];
    const auto [sqrDistance, t] = PolyLineNearest::viewOf<T, P::Dim>(vertices[i], end, point).nearest();
    if (!(best > sqrDistance)) return;
    best = sqrDistance;
    u = static_cast<double>(t);
    segment = i;
    filter.lower(best);
  };

  std::size_t i = 0;
  for (; i + NearFilter<P>::length + 1 < count; i += NearFilter<P>::length)
    for (unsigned near = filter.nearSegments(vertices + i); near != 0; near &= near - 1)
      measure(i + static_cast<std::size_t>(std::countr_zero(near)));
  const std::size_t segments = polyline.isClosed() ? count : count - 1;
  for (; i < segments; ++i)
    measure(i);
  return best;
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT __VA_ARGS__::Scalar PolyLineAlgorithm::sqrDist(                                             \
      const PolyLine<__VA_ARGS__>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, double&, std::size_t&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
