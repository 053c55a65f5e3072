#include "geometry/NormalBlend.h"
#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineExactNearest.h"
#include "geometry/PolyLineWithNormals.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Kavrel {

namespace {

constexpr unsigned maxLeafSize = 5;
constexpr double largest = std::numeric_limits<double>::max();
constexpr double sqrEqualPoints = 1.0000000000000002e-10; // up to it: the pair counts as equal
constexpr double unitEps = 1e-12;

template <class P>
using Tree = BoundingVolumeHierarchy::PolyLineSearchTree<P>;

template <class P>
using Position = Point<typename P::Scalar, P::Dim>;

/// The least squared distance of a vertex, or \p bound if none is nearer.
template <class P>
double sqrDistanceToTree(const PolyLine<P>& polyline, const Tree<P>& tree, double bound = largest)
{
  double nearest = bound;
  for (const P& point : polyline) {
    if (nearest == 0.0) break;
    const double reach = std::nextafter(std::sqrt(nearest), largest); // its square isn't below the nearest
    double sqrDistance = largest;
    if (tree.squareDistance(toDouble(point), reach, sqrDistance)) nearest = std::min(nearest, sqrDistance);
  }
  return nearest;
}

template <class P>
constexpr double largestOf = static_cast<double>(std::numeric_limits<typename P::Scalar>::max());

/// The vertex of one line that is nearest to another line, and the place there.
template <class P>
struct NearestVertex
{
  double sqrDistance = largest;
  std::size_t vertex = 0;
  double u = 0.0;
  std::size_t segment = 0;

  NearestVertex(const PolyLine<P>& from, const PolyLine<P>& to)
  {
    if (to.isEmpty()) return;
    const PolyLineNearest::ManyNearest<P> nearest(to, from.numberOfPoints());
    for (std::size_t i = 0; i < from.numberOfPoints(); ++i) {
      double t = 0.0;
      std::size_t index = 0;
      const auto bound = static_cast<typename P::Scalar>(std::min(sqrDistance, largestOf<P>));
      const double candidate = static_cast<double>(nearest.sqrDistWithin(from[i], bound, t, index));
      if (!(candidate < sqrDistance)) continue;
      sqrDistance = candidate;
      vertex = i;
      u = t;
      segment = index;
    }
  }

  bool found() const { return sqrDistance < largest; }
};

template <class P>
Position<P> positionOn(const PolyLine<P>& polyline, std::size_t segment, double u)
{
  using T = typename P::Scalar;
  const Position<P>& start = polyline[segment];
  const Position<P>& end = polyline[segment + 1 < polyline.numberOfPoints() ? segment + 1 : 0];
  return start + (end - start) * static_cast<T>(u);
}

/// The largest squared distance of the vertices in pairs; nothing once a pair isn't equal.
template <class P>
std::optional<double> sqrDistanceOfEqualLines(const PolyLine<P>& a, const PolyLine<P>& b)
{
  if (a.isEmpty() || a.numberOfPoints() != b.numberOfPoints()) return std::nullopt;
  double farthest = 0.0;
  for (std::size_t i = 0; i < a.numberOfPoints(); ++i) {
    const double sqrDistance = static_cast<double>(a[i].sqrDistance(b[i]));
    if (!(sqrDistance <= sqrEqualPoints)) return std::nullopt;
    farthest = std::max(farthest, sqrDistance);
  }
  return farthest;
}

} // namespace

template <PolyLinePoint P>
double PolyLineAlgorithm::hausdorffDistance(const PolyLine<P>& a, const PolyLine<P>& b)
{
  return hausdorffDistance(a, b, Tree<P>(b, maxLeafSize));
}

template <PolyLinePoint P>
double PolyLineAlgorithm::hausdorffDistance(const PolyLine<P>& a, const PolyLine<P>& b,
                                            const BoundingVolumeHierarchy::PolyLineSearchTree<P>& treeOfB)
{
  const double fromA = treeOfB.oneSidedHausdorffDistance(a);
  return std::max(fromA, Tree<P>(a, maxLeafSize).oneSidedHausdorffDistance(b));
}

template <PolyLinePoint P>
double PolyLineAlgorithm::minDistToPolygon(const PolyLine<P>& a, const PolyLine<P>& b)
{
  return minDistToPolygon(a, Tree<P>(b, maxLeafSize));
}

template <PolyLinePoint P>
double PolyLineAlgorithm::minDistToPolygon(const PolyLine<P>& a,
                                           const BoundingVolumeHierarchy::PolyLineSearchTree<P>& treeOfB)
{
  return std::sqrt(sqrDistanceToTree(a, treeOfB));
}

template <PolyLinePoint P>
double PolyLineAlgorithm::minDistToPolygon(const PolyLine<P>& a, const PolyLine<P>& b,
                                           std::type_identity_t<P>& nearestOfA)
{
  const NearestVertex<P> nearest(a, b);
  if (nearest.found()) nearestOfA = a[nearest.vertex];
  return std::sqrt(nearest.sqrDistance);
}

template <PolyLinePoint P>
double PolyLineAlgorithm::minDistBetweenPolygons(const PolyLine<P>& a, const PolyLine<P>& b)
{
  const double fromA = sqrDistanceToTree(a, Tree<P>(b, maxLeafSize));
  return std::sqrt(sqrDistanceToTree(b, Tree<P>(a, maxLeafSize), fromA));
}

template <PolyLinePoint P>
double PolyLineAlgorithm::minDistBetweenPolygons(const PolyLine<P>& a, const PolyLine<P>& b,
                                                 std::type_identity_t<P>& pointOnA, std::type_identity_t<P>& pointOnB)
{
  const NearestVertex<P> fromA(a, b);
  const NearestVertex<P> fromB(b, a);
  if (fromB.sqrDistance < fromA.sqrDistance) {
    pointOnA = P(positionOn(a, fromB.segment, fromB.u));
    pointOnB = b[fromB.vertex];
    return std::sqrt(fromB.sqrDistance);
  }
  if (fromA.found()) {
    pointOnA = a[fromA.vertex];
    pointOnB = P(positionOn(b, fromA.segment, fromA.u));
  }
  return std::sqrt(fromA.sqrDistance);
}

template <PolyLinePoint P>
double PolyLineAlgorithm::maxDistToPolygon(const PolyLine<P>& a, const PolyLine<P>& b)
{
  using T = typename P::Scalar;
  const PolyLineNearest::ManyNearest<P> nearest(b, a.numberOfPoints());
  T farthest = T(0);
  for (const P& point : a) {
    double u = 0.0;
    std::size_t segment = 0;
    farthest = std::max(farthest, nearest.sqrDist(point, u, segment));
  }
  return std::sqrt(static_cast<double>(farthest));
}

template <PolyLinePoint P>
double PolyLineAlgorithm::maxDistBetweenPolygons(const PolyLine<P>& a, const PolyLine<P>& b)
{
  if (const auto sqrDistance = sqrDistanceOfEqualLines(a, b)) return std::sqrt(*sqrDistance);
  return std::max(maxDistToPolygon(a, b), maxDistToPolygon(b, a));
}

template <OneOf<Point3N, Point3NT> P>
double PolyLineAlgorithm::maxNormalDeviationBetweenTwoPolygons(const PolyLine<P>& a, const PolyLine<P>& b,
                                                               double maxDistance)
{
  if (!PolyLineWithNormals::allPointsHaveNormals(a) || !PolyLineWithNormals::allPointsHaveNormals(b)) return largest;
  if (b.isEmpty()) return a.isEmpty() ? 0.0 : largest;
  const PolyLineNearest::ManyNearest<P> nearest(b, 2 * a.numberOfPoints());
  double deviation = 0.0;
  for (const P& point : a) {
    double u = 0.0;
    std::size_t segment = 0;
    if (!(std::sqrt(nearest.sqrDist(point, u, segment)) <= maxDistance)) return largest;
    // As calculateNormalAtPosition() does it: the place found is looked up again.
    nearest.sqrDist(positionOn(b, segment, u), u, segment);
    Vector<double, 3> normal = point.getNormal();
    Vector<double, 3> other = blendOfNormals(b[segment], b[b.getNextPointIndex(segment)], u);
    if (!normal.normalize(unitEps) || !other.normalize(unitEps)) return largest;
    deviation = std::max(deviation, std::acos(std::clamp(normal.dot(other), -1.0, 1.0)));
  }
  return deviation;
}

template <OneOf<Point3N, Point3NT> P>
double PolyLineAlgorithm::maxNormalDeviation(const PolyLine<P>& a, const PolyLine<P>& b, double maxDistance)
{
  return std::max(maxNormalDeviationBetweenTwoPolygons(a, b, maxDistance),
                  maxNormalDeviationBetweenTwoPolygons(b, a, maxDistance));
}

#define KV_INSTANTIATE(...) KV_POLYLINE_DISTANCES(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_NORMAL_DEVIATION(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_NORMAL_DEVIATION_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
