#include "geometry/BoundingVolumeHierarchy/SegmentRuns.h"
#include "geometry/PolyLineIntersectionAlgorithms.h"

#include <algorithm>
#include <utility>

namespace Kavrel {

namespace {

using BoundingVolumeHierarchy::SegmentRuns;

bool isInRange(double t) { return t >= -1e-6 && t <= 1.000001; }

/// A segment by where it begins in a sweep along x, at equal x by its index.
struct SweptSegment
{
  friend bool operator==(const SweptSegment& a, const SweptSegment& b) { return a.index == b.index; }
  friend bool operator<(const SweptSegment& a, const SweptSegment& b)
  {
    return a.x != b.x ? a.x < b.x : a.index < b.index;
  }

  double x;
  std::size_t index;
};

struct CrossingPair
{
  friend bool operator<(const CrossingPair& a, const CrossingPair& b)
  {
    return a.later == b.later ? a.earlier < b.earlier : a.later < b.later;
  }

  SweptSegment later;
  SweptSegment earlier;
};

/// The crossings of a polyline with itself. What a sweep along x with a list of active segments tests are the pairs of
/// segments whose closed boxes meet; they are found here by runs of segments, so that many segments at one x do no
/// harm, and put in the order of the sweep.
class SelfCrossings
{
public:
  template <class P>
  explicit SelfCrossings(const PolyLine<P>& line) : runs(line), pointCount(line.numberOfPoints())
  {}

  bool any() const
  {
    return visitCrossings([](const CrossingPair&) { return true; });
  }

  std::vector<CrossingPair> all() const
  {
    std::vector<CrossingPair> pairs;
    visitCrossings([&pairs](const CrossingPair& pair) {
      pairs.push_back(pair);
      return false;
    });
    std::sort(pairs.begin(), pairs.end());
    return pairs;
  }

  /// The segments that cross an earlier one, each once.
  std::vector<SweptSegment> laterSegments() const
  {
    std::vector<SweptSegment> segments;
    std::vector<bool> isListed(runs.numberOfSegments());
    visitCandidates([&](const CrossingPair& pair) {
      if (isListed[pair.later.index] || !cross(pair)) return false;
      isListed[pair.later.index] = true;
      segments.push_back(pair.later);
      return false;
    });
    std::sort(segments.begin(), segments.end());
    return segments;
  }

private:
  struct Interval
  {
    bool meets(const Interval& other) const { return low <= other.high && other.low <= high; }

    double low;
    double high;
  };

  Interval interval(std::size_t segment, unsigned axis) const
  {
    const double a = runs.start(segment)[axis], b = runs.end(segment)[axis];
    return {std::min(a, b), std::max(a, b)};
  }

  /// Whether the segments share a vertex, i < j.
  bool areNeighbours(std::size_t i, std::size_t j) const { return j == i + 1 || (i == 0 && j + 1 == pointCount); }

  bool cross(const CrossingPair& pair) const
  {
    using Planar = Point<double, 2>;
    const std::size_t s = pair.later.index, c = pair.earlier.index;
    const Planar ends[] = {runs.start(s), runs.end(s), runs.start(c), runs.end(c)};
    const Segment<Planar> other(ends + 2, ends + 3);
    double u = 0.0, v = 0.0;
    Planar point;
    return Segment<Planar>(ends, ends + 1).checkIntersectionXY(&other, u, v, point) && isInRange(u) && isInRange(v);
  }

  /// Pairs whose closed boxes meet exactly and that share no vertex.
  template <class Visit>
  bool visitCandidates(const Visit& visit) const
  {
    return runs.visitMeetingPairs([&](std::size_t i, std::size_t j) {
      const Interval xI = interval(i, 0), xJ = interval(j, 0);
      if (!xI.meets(xJ) || !interval(i, 1).meets(interval(j, 1)) || areNeighbours(i, j)) return false;
      const SweptSegment first{xI.low, i}, second{xJ.low, j};
      return visit(first < second ? CrossingPair{second, first} : CrossingPair{first, second});
    });
  }

  template <class Visit>
  bool visitCrossings(const Visit& visit) const
  {
    return visitCandidates([&](const CrossingPair& pair) { return cross(pair) && visit(pair); });
  }

  SegmentRuns runs;
  std::size_t pointCount;
};

constexpr std::size_t fewestPoints = 4; // fewer never cross themselves

} // namespace

template <class P>
bool PolyLineIntersectionAlgorithms<P>::isSelfIntersecting(const Line& polyline,
                                                           const std::shared_ptr<std::list<std::size_t>>& list)
{
  if (polyline.numberOfPoints() < fewestPoints) return false;
  const SelfCrossings crossings(polyline);
  if (!list) return crossings.any();
  const auto segments = crossings.laterSegments();
  for (const auto& segment : segments)
    list->push_back(segment.index);
  return !list->empty();
}

template <class P>
std::shared_ptr<std::list<std::size_t>>
PolyLineIntersectionAlgorithms<P>::getIntersections(const Line& polyline) requires(isPlanar)
{
  auto list = std::make_shared<std::list<std::size_t>>();
  isSelfIntersecting(polyline, list);
  return list;
}

template <class P>
std::shared_ptr<std::vector<P>> PolyLineIntersectionAlgorithms<P>::getSelfIntersections(const Line& polyline)
{
  auto points = std::make_shared<std::vector<P>>();
  if (polyline.numberOfPoints() < fewestPoints) return points;
  const auto pairs = SelfCrossings(polyline).all();
  points->reserve(pairs.size());
  for (const CrossingPair& pair : pairs) {
    const Segment<P> other = polyline.getSegment(pair.earlier.index);
    double u = 0.0, v = 0.0;
    P point;
    polyline.getSegment(pair.later.index).checkIntersectionXY(&other, u, v, point);
    points->push_back(point);
  }
  return points;
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT bool PolyLineIntersectionAlgorithms<__VA_ARGS__>::isSelfIntersecting(                       \
      const PolyLine<__VA_ARGS__>&, const std::shared_ptr<std::list<std::size_t>>&);                                   \
  template KVSHAPES_EXPORT std::shared_ptr<std::vector<__VA_ARGS__>>                                                   \
  PolyLineIntersectionAlgorithms<__VA_ARGS__>::getSelfIntersections(const PolyLine<__VA_ARGS__>&);
KV_FOR_EACH_INTERSECTION_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

template KVSHAPES_EXPORT std::shared_ptr<std::list<std::size_t>>
PolyLineIntersectionAlgorithms<Point<double, 2>>::getIntersections(const PolyLine<Point<double, 2>>&);

} // namespace Kavrel
