#include "geometry/BoundingVolumeHierarchy/AxisAlignedBox.h"
#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineExactNearest.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <span>
#include <vector>

// Both operations take the best of all pairs. Boxes leave out pairs that can't win whatever rounding does, so the
// answer is that of the plain loop to the last bit.

namespace Kavrel {

namespace {

namespace Bvh = BoundingVolumeHierarchy;
using PolyLineNearest::PruningSlack;

constexpr double largest = std::numeric_limits<double>::max();
constexpr std::size_t plainPairs = 4'000; // up to which boxes don't pay

/// Whether boxes serve better than the plain loop. To build them costs as much as \p walks along the longer line.
template <class P>
bool areWorthBoxes(const PolyLine<P>& a, const PolyLine<P>& b, std::size_t walks)
{
  return std::min(a.numberOfPoints(), b.numberOfPoints()) >= walks &&
         a.numberOfPoints() >= plainPairs / b.numberOfPoints();
}

/// The trees of two lines, and what rounding does to a measure of them.
template <class P>
struct TreePair
{
  Bvh::PolyLineSearchTree<P> a;
  Bvh::PolyLineSearchTree<P> b;
  PruningSlack slack;

  /// Nothing where the plain loop serves better.
  static std::optional<TreePair> of(const PolyLine<P>& a, const PolyLine<P>& b)
  {
    if (!areWorthBoxes(a, b, 4)) return std::nullopt;
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

template <class P>
typename P::Scalar farthestPair(const PolyLine<P>& a, const PolyLine<P>& b)
{
  typename P::Scalar farthest = 0;
  for (const P& p : a)
    for (const P& q : b)
      farthest = std::max(farthest, p.sqrDistance(q));
  return farthest;
}

/// The boxes of runs of vertices: the whole line is node 1, the halves of node i are 2i and 2i + 1.
template <class P>
class RunBoxes
{
public:
  using Box = Bvh::AxisAlignedBox<typename P::Scalar, P::Dim>;

  explicit RunBoxes(const PolyLine<P>& polyline)
      : vertices(polyline.getPointCollection()), leaves(std::bit_ceil((vertices.size() + leafSize - 1) / leafSize)),
        boxes(2 * leaves)
  {
    for (std::size_t i = 0; i < vertices.size(); ++i)
      boxes[leaves + i / leafSize].extend(vertices[i]);
    for (std::size_t node = leaves; --node > 0;) {
      boxes[node] = boxes[2 * node];
      boxes[node].extend(boxes[2 * node + 1]);
    }
  }

  bool isLeaf(std::size_t node) const { return node >= leaves; }
  const Box& getBox(std::size_t node) const { return boxes[node]; }
  std::span<const P> getVertices(std::size_t leaf) const
  {
    const std::size_t first = std::min((leaf - leaves) * leafSize, vertices.size());
    return vertices.subspan(first, std::min(leafSize, vertices.size() - first));
  }

private:
  static constexpr std::size_t leafSize = 4;

  std::span<const P> vertices;
  std::size_t leaves;
  std::vector<Box> boxes;
};

/// The search for the largest squared distance between vertices of two lines.
template <class P>
class FarthestPair
{
public:
  using T = typename P::Scalar;

  FarthestPair(const PolyLine<P>& lineA, const PolyLine<P>& lineB) : a(lineA), b(lineB)
  {
    // Going to and fro a few times nearly always finds the pair or one close to it.
    const P& towards = farthestVertex(lineA, farthestVertex(lineB, lineA.front()));
    farthest = std::max(T(0), towards.sqrDistance(farthestVertex(lineB, towards)));
    search(1, 1);
  }

  T sqrDistance() const { return farthest; }

private:
  using Box = typename RunBoxes<P>::Box;

  /// Not less than what Point::sqrDistance() gives for places in the boxes: it rounds each operation alike. 0 for an
  /// empty box.
  static T sqrReach(const Box& a, const Box& b)
  {
    Vector<T, P::Dim> reach;
    for (unsigned i = 0; i < P::Dim; ++i)
      reach[i] = std::max({b.max[i] - a.min[i], a.max[i] - b.min[i], T(0)});
    return reach.sqrLength();
  }

  void search(std::size_t i, std::size_t j)
  {
    if (sqrReach(a.getBox(i), b.getBox(j)) <= farthest) return;
    if (a.isLeaf(i) && b.isLeaf(j)) {
      for (const P& p : a.getVertices(i))
        for (const P& q : b.getVertices(j))
          farthest = std::max(farthest, p.sqrDistance(q));
    } else if (a.isLeaf(i) || (!b.isLeaf(j) && j < i)) {
      search(i, 2 * j);
      search(i, 2 * j + 1);
    } else {
      search(2 * i, j);
      search(2 * i + 1, j);
    }
  }

  RunBoxes<P> a;
  RunBoxes<P> b;
  T farthest;
};

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
  if (const auto trees = TreePair<P>::of(a, b)) return distanceOfSegments(*trees);
  return distanceOfSegments(a, b);
}

template <PolyLinePoint P>
double PolyLineAlgorithm::maxDistBetweenTwoPolygons(const PolyLine<P>& a, const PolyLine<P>& b)
{
  if (a.isEmpty() || b.isEmpty()) return -1.0;
  const auto sqrDistance = areWorthBoxes(a, b, 8) ? FarthestPair<P>(a, b).sqrDistance() : farthestPair(a, b);
  return std::sqrt(static_cast<double>(sqrDistance));
}

#define KV_INSTANTIATE(...) KV_POLYLINE_SEGMENT_DISTANCES(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_SEGMENT_DISTANCE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_FARTHEST_VERTICES(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
