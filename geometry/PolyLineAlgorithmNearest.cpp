#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineExactNearest.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace Kavrel {

namespace {

namespace Bvh = BoundingVolumeHierarchy;

constexpr double sqrProximity = 1e-5;    // to an end of a segment, strictly below: the distance is 0
constexpr double leastSqrNormal = 1e-24; // from it on: a normal to look along

/// The segment of least squared distance so far, the first among equals.
class Best
{
public:
  int segment() const { return index; }
  double sqrDistance() const { return least; }

  /// In any order within a pass; what a pass before has found stays among equals.
  void offer(std::size_t i, double candidate)
  {
    const bool wins = candidate < least || (candidate == least && foundInThisPass && static_cast<int>(i) < index);
    if (!wins) return;
    least = candidate;
    index = static_cast<int>(i);
    foundInThisPass = true;
  }
  void startPass() { foundInThisPass = false; }

private:
  int index = -1;
  double least = std::numeric_limits<double>::max();
  bool foundInThisPass = false;
};

/// Offers the segments of a line that `measure(segment)` gives a squared distance.
template <class P>
class AllSegments
{
public:
  explicit AllSegments(const PolyLine<P>& polyline) : line(polyline) {}

  template <class Measure>
  void search(const P&, Best& best, const Measure& measure) const
  {
    for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
      if (const std::optional<double> sqrDistance = measure(line.getSegment(i))) best.offer(i, *sqrDistance);
  }

private:
  const PolyLine<P>& line;
};

/// The same by a tree: it leaves out segments that are certain to lose.
template <class P>
class SegmentsByTree
{
public:
  explicit SegmentsByTree(const PolyLine<P>& polyline)
      : tree(polyline), size(PolyLineNearest::largestCoordinate(polyline))
  {}

  template <class Measure>
  void search(const P& point, Best& best, const Measure& measure) const
  {
    const auto& hierarchy = tree.getBvh();
    const Vector<double, P::Dim> position = point;
    auto slack = PolyLineNearest::PruningSlack::of<double>(std::max(size, PolyLineNearest::sizeOf(point)));
    slack.absolute += std::sqrt(sqrProximity) + widestFoot * size;
    double limit = slack.sqrLimit(best.sqrDistance());
    Bvh::visitNearestFirst(
        hierarchy, Bvh::SquareDistanceOfChildren(position),
        [&limit](double sqrDistance) { return sqrDistance > limit; },
        [&](std::uint32_t first, std::uint32_t end) {
          for (std::uint32_t i = first; i < end; ++i)
            if (const std::optional<double> sqrDistance = measure(hierarchy.getElement(i)))
              best.offer(hierarchy.getElementId(i), *sqrDistance);
          limit = slack.sqrLimit(best.sqrDistance());
        });
  }

private:
  static constexpr double widestFoot = 4e-6; // of the largest coordinate: how far off its segment a foot may be

  Bvh::PolyLineSearchTree<P> tree;
  double size;
};

bool counts(int code, bool extended) { return code > 0 || (extended && code != 0); }

template <class P>
std::optional<double> perpendicular(const Segment<P>& segment, const P& point, bool extended)
{
  P foot;
  if (!counts(segment.projectPoint(point, foot, nullptr), extended)) return std::nullopt;
  return point.sqrDistance(foot);
}

std::optional<double> alongNormal(const Segment<Point3N>& segment, const Point3N& point, bool extended)
{
  Point3N foot;
  if (!counts(segment.projectPoint(point, point.getNormal(), foot), extended)) return std::nullopt;
  return point.sqrDistance(foot);
}

bool isAtEnd(const Segment<Point3N>& segment, const Point3N& point)
{
  return segment.getStart()->sqrDistance(point) < sqrProximity || segment.getEnd()->sqrDistance(point) < sqrProximity;
}

template <class Segments, class P>
Best nearestByFoot(const Segments& segments, const P& point, bool extended)
{
  Best best;
  segments.search(point, best, [&](const Segment<P>& segment) { return perpendicular(segment, point, extended); });
  return best;
}

template <class Segments>
int nearestSegmentOf(const Segments& segments, const Point3N& point, bool extended)
{
  const bool looksAlongNormal = point.getNormal().sqrLength() >= leastSqrNormal;
  Best best;
  const auto searchWith = [&](bool withEnds) {
    best.startPass();
    segments.search(point, best, [&](const Segment<Point3N>& segment) -> std::optional<double> {
      if (isAtEnd(segment, point)) return 0.0;
      return looksAlongNormal ? alongNormal(segment, point, withEnds) : perpendicular(segment, point, withEnds);
    });
  };
  if (!looksAlongNormal) {
    searchWith(extended);
    return best.segment();
  }
  searchWith(false);
  if (extended || best.segment() < 0) searchWith(true);
  return best.segment();
}

template <class Segments, class P>
int nearestSegmentOf(const Segments& segments, const P& point, bool extended)
{
  return nearestByFoot(segments, point, extended).segment();
}

/// The vectors from points to their feet on the segments that stand for them.
template <class P, class Segments>
std::vector<Vector<double, 3>> differences(const PolyLine<P>& points, const PolyLine<P>& line, const Segments& segments)
{
  std::vector<Vector<double, 3>> ways;
  ways.reserve(points.numberOfPoints());
  for (const P& point : points) {
    const int index = nearestSegmentOf(segments, point, false);
    Vector<double, 3>& way = ways.emplace_back();
    if (index < 0) continue;
    P target;
    line.getSegment(static_cast<std::size_t>(index)).projectPoint(point, target, nullptr);
    way = target - point;
  }
  return ways;
}

} // namespace

template <OneOf<Point<double, 2>, Point<double, 3>, Point3N, ProjectionPoint> P>
int PolyLineAlgorithm::getNearestSegment(const PolyLine<P>& polyline, const std::type_identity_t<P>& point,
                                         bool extended, double& distance)
{
  const Best best = nearestByFoot(AllSegments<P>(polyline), point, extended);
  distance = best.segment() >= 0 && best.sqrDistance() > 0.0 ? std::sqrt(best.sqrDistance()) : 0.0;
  return best.segment();
}

template <OneOf<Point<double, 2>, Point<double, 3>, Point3N, ProjectionPoint> P>
int PolyLineAlgorithm::getNearestSegment(const PolyLine<P>& polyline, const std::type_identity_t<P>& point,
                                         bool extended)
{
  return nearestSegmentOf(AllSegments<P>(polyline), point, extended);
}

template <PolyLinePoint P>
P PolyLineAlgorithm::calculateProjectionPoint(const PolyLine<P>& polyline, const std::type_identity_t<P>& point)
{
  using T = typename P::Scalar;
  const Point<T, P::Dim>& position = point;
  P nearest{position};
  T best = std::numeric_limits<T>::max();
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
    P foot;
    if (polyline.getSegment(i).projectPoint(position, foot, nullptr) == 0) continue;
    const T sqrDistance = position.sqrDistance(foot);
    if (!(sqrDistance < best)) continue;
    best = sqrDistance;
    nearest = foot;
  }
  return nearest;
}

template <PolyLinePoint P>
P PolyLineAlgorithm::getPointByParameters(const PolyLine<P>& polyline, std::size_t segment, double t)
{
  return polyline.getSegment(segment).getPoint(t);
}

template <PolyLinePoint P>
int PolyLineAlgorithm::getLongestSegment(const PolyLine<P>& polyline)
{
  using T = typename P::Scalar;
  std::size_t longest = 0;
  T sqrLongest = T(0);
  const std::size_t count = polyline.numberOfSegments();
  for (std::size_t i = 0; i < count; ++i) {
    const T sqrLength = polyline.getSegment(i).sqrLength();
    if (!(sqrLength > sqrLongest)) continue;
    sqrLongest = sqrLength;
    longest = i;
  }
  return count > 0 ? static_cast<int>(longest) : -1;
}

template <OneOf<Point<double, 3>, Point3N> P>
std::shared_ptr<std::vector<Vector<double, 3>>> PolyLineAlgorithm::calculateDifference(const PolyLine<P>& a,
                                                                                       const PolyLine<P>& b)
{
  constexpr std::size_t leastQueries = 8;
  const bool isWorthATree = PolyLineNearest::isWorthATree(b, a.numberOfPoints(), leastQueries) &&
                            PolyLineNearest::largestCoordinate(a) < PolyLineNearest::largestSearchable;
  return std::make_shared<std::vector<Vector<double, 3>>>(isWorthATree ? differences(a, b, SegmentsByTree<P>(b))
                                                                       : differences(a, b, AllSegments<P>(b)));
}

#define KV_INSTANTIATE(...) KV_POLYLINE_NEAREST(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_NEAREST_SEGMENT(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_NEAREST_SEGMENT_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_DIFFERENCE(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_SPATIAL_MEASURE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
