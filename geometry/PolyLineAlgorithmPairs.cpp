#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineExactNearest.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

// Both operations take the best of all pairs. Trees leave out pairs that can't win, by more than rounding can change,
// so the answer is that of the plain loop to the last bit.

namespace Kavrel {

namespace {

namespace Bvh = BoundingVolumeHierarchy;
using PolyLineNearest::PruningSlack;

constexpr double largest = std::numeric_limits<double>::max();
constexpr std::size_t plainPairs = 4'000; // up to which trees don't pay
// To build the trees costs as much as walking along the longer line that often.
constexpr std::size_t walksPerSegmentTree = 4;
constexpr std::size_t walksPerVertexTree = 64;

/// The trees of two lines, and what rounding does to a measure of them.
template <class P>
struct TreePair
{
  Bvh::PolyLineSearchTree<P> a;
  Bvh::PolyLineSearchTree<P> b;
  PruningSlack slack;

  /// Nothing where the plain loop serves better: for few pairs, and where a line has less than that many points.
  static std::optional<TreePair> of(const PolyLine<P>& a, const PolyLine<P>& b, std::size_t leastPoints)
  {
    if (std::min(a.numberOfPoints(), b.numberOfPoints()) < leastPoints) return std::nullopt;
    if (a.numberOfPoints() < plainPairs / b.numberOfPoints()) return std::nullopt;
    const double size = std::max(PolyLineNearest::largestCoordinate(a), PolyLineNearest::largestCoordinate(b));
    if (!(size < PolyLineNearest::largestSearchable)) return std::nullopt;
    return TreePair{Bvh::PolyLineSearchTree<P>(a), Bvh::PolyLineSearchTree<P>(b),
                    PruningSlack::of<typename P::Scalar>(size)};
  }
};

template <class P>
double distanceToSegments(const PolyLine<P>& polyline, const P& point)
{
  double nearest = largest;
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i)
    nearest = std::min(nearest, polyline.getSegment(i).distance(point));
  return nearest;
}

template <class P>
double distanceOfSegments(const PolyLine<P>& a, const PolyLine<P>& b)
{
  double nearest = largest;
  for (std::size_t i = 0; i < a.numberOfSegments(); ++i)
    for (std::size_t j = 0; j < b.numberOfSegments(); ++j)
      nearest = std::min(nearest, a.getSegment(i).distance(b.getSegment(j)));
  return nearest;
}

template <class P>
double distanceOfSegments(const TreePair<P>& trees)
{
  const auto& treeA = trees.a.getBvh();
  const auto& treeB = trees.b.getBvh();
  double nearest = largest;
  double sqrLimit = largest;
  const auto measure = [&](const auto& a, const auto& b) {
    for (std::uint32_t i = a.firstElement(); i < a.endElement(); ++i)
      for (std::uint32_t j = b.firstElement(); j < b.endElement(); ++j)
        nearest = std::min(nearest, treeA.getElement(i).distance(treeB.getElement(j)));
    sqrLimit = trees.slack.sqrLimit(nearest * nearest);
  };
  Bvh::visitNearestPairs(
      treeA, treeB, 0, 0, [&sqrLimit](double value) { return value > sqrLimit; }, measure);
  return nearest;
}

/// The vertex farthest from a point.
template <class P>
const P& farthestVertex(const PolyLine<P>& polyline, const P& point)
{
  return *std::max_element(polyline.begin(), polyline.end(),
                           [&point](const P& a, const P& b) { return point.sqrDistance(a) < point.sqrDistance(b); });
}

/// The largest squared distance of two places in boxes.
template <class Volume>
double sqrReach(const Volume& a, const Volume& b)
{
  double sum = 0.0;
  for (unsigned i = 0; i < Volume::Dim; ++i) {
    const double up = static_cast<double>(b.max[i]) - static_cast<double>(a.min[i]);
    const double down = static_cast<double>(a.max[i]) - static_cast<double>(b.min[i]);
    const double reach = std::max(up, down);
    sum += reach * reach;
  }
  return sum;
}

template <class P>
typename P::Scalar farthestPair(const PolyLine<P>& a, const PolyLine<P>& b)
{
  typename P::Scalar farthest = 0;
  for (const P& p : a)
    for (const P& q : b)
      farthest = std::max(farthest, p.sqrDistance(q));
  return farthest;
}

template <class P>
typename P::Scalar farthestPair(const PolyLine<P>& a, const PolyLine<P>& b, const TreePair<P>& trees)
{
  // Going to and fro a few times nearly always finds the pair or one close to it.
  const P& towards = farthestVertex(a, farthestVertex(b, a.front()));
  typename P::Scalar farthest = towards.sqrDistance(farthestVertex(b, towards));

  const auto& treeA = trees.a.getBvh();
  const auto& treeB = trees.b.getBvh();
  Bvh::overlappingPairs(
      treeA, treeB,
      [&](const auto& volumeA, const auto& volumeB) {
        return sqrReach(volumeA, volumeB) * trees.slack.relative >= static_cast<double>(farthest);
      },
      [&](std::uint32_t i, std::uint32_t j) {
        const auto& s = treeA.getElement(i);
        const auto& t = treeB.getElement(j);
        for (const P* const p : {s.getStart(), s.getEnd()})
          for (const P* const q : {t.getStart(), t.getEnd()})
            farthest = std::max(farthest, p->sqrDistance(*q));
      });
  return farthest;
}

} // namespace

template <OneOf<Point<double, 3>, Point3N, Point3NT> P>
double PolyLineAlgorithm::minDistBetweenPolygonsThroughSegments(const PolyLine<P>& a, const PolyLine<P>& b)
{
  if (a.isEmpty() || b.isEmpty()) return largest;
  const bool isPointA = a.numberOfPoints() == 1;
  const bool isPointB = b.numberOfPoints() == 1;
  if (isPointA && isPointB) return a.front().distance(b.front());
  if (isPointA) return distanceToSegments(b, a.front());
  if (isPointB) return distanceToSegments(a, b.front());
  if (const auto trees = TreePair<P>::of(a, b, walksPerSegmentTree)) return distanceOfSegments(*trees);
  return distanceOfSegments(a, b);
}

template <PolyLinePoint P>
double PolyLineAlgorithm::maxDistBetweenTwoPolygons(const PolyLine<P>& a, const PolyLine<P>& b)
{
  if (a.isEmpty() || b.isEmpty()) return -1.0;
  const auto trees = TreePair<P>::of(a, b, walksPerVertexTree);
  return std::sqrt(static_cast<double>(trees ? farthestPair(a, b, *trees) : farthestPair(a, b)));
}

#define KV_INSTANTIATE(...) KV_POLYLINE_SEGMENT_DISTANCES(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_SEGMENT_DISTANCE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_FARTHEST_VERTICES(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
