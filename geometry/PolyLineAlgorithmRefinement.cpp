#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineThinOutAlgorithm.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace Kavrel {

namespace {

constexpr double shortestSpacing = 1e-5;   // strictly below: the mean spacing of the points counts
constexpr double coincidence = 1e-12;      // per coordinate, at or below: the next point is the same
constexpr double mostExpectedParts = 64.0; // of a segment, where room is made for its halves

template <class P>
P pointBetween(const P& a, const P& b, double t)
{
  return P(a.linearInterpolation(static_cast<typename P::Scalar>(t), b));
}

template <class T, unsigned dim>
bool isWithin(const Vector<T, dim>& v, T limit)
{
  for (unsigned i = 0; i < dim; ++i)
    if (!(std::abs(v[i]) <= limit)) return false;
  return true;
}

/// How many equal parts a segment is split into; below 2 where it stays whole.
template <class P>
double numberOfParts(const Segment<P>& segment, double distance)
{
  if (!(segment.sqrLength() > distance * distance)) return 1.0;
  return std::ceil(segment.length() / distance);
}

/// What resampling adds, refused where no vector could hold it.
template <class P>
std::size_t numberOfAddedPoints(const PolyLine<P>& polyline, double distance)
{
  double added = 0.0;
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i)
    added += std::max(numberOfParts(polyline.getSegment(i), distance) - 1.0, 0.0);
  const std::size_t tooMany = polyline.getPointCollection().max_size();
  return added < static_cast<double>(tooMany) / 2 ? static_cast<std::size_t>(added) : tooMany;
}

/// How many points halving leaves; fewer where middles are rounded to an end. Bounded for those.
template <class P>
std::size_t roomForHalves(const PolyLine<P>& polyline, double limit)
{
  const double sqrLimit = limit * limit;
  double count = 1.0;
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
    double parts = 1.0;
    for (double sqr = polyline.getSegment(i).sqrLength(); sqr > sqrLimit && parts < mostExpectedParts; sqr /= 4.0)
      parts *= 2.0;
    count += parts;
  }
  return static_cast<std::size_t>(count);
}

/// Appends `end`, and before it what halving takes to bring all steps from the last point down to `limit`.
template <class P>
void appendHalved(const P& end, double limit, std::vector<P>& pending, std::vector<P>& points)
{
  pending.assign(1, end);
  while (!pending.empty()) {
    const P& start = points.back();
    const P& next = pending.back();
    if (const double gap = start.distance(next); gap > limit && std::isfinite(gap)) {
      const P middle = pointBetween(start, next, 0.5);
      if (!(middle == start) && !(middle == next)) {
        pending.push_back(middle);
        continue;
      }
    }
    points.push_back(next);
    pending.pop_back();
  }
}

/// A ring of vertices from which some are taken out.
class VertexRing
{
public:
  explicit VertexRing(std::size_t count) : before(count), behind(count), removed(count), remaining(count)
  {
    std::iota(behind.begin(), behind.end() - 1, std::size_t(1));
    std::iota(before.begin() + 1, before.end(), std::size_t(0));
    before.front() = count - 1;
  }

  std::size_t first() const { return head; }
  std::size_t previous(std::size_t i) const { return before[i]; }
  std::size_t next(std::size_t i) const { return behind[i]; }
  std::size_t size() const { return remaining; }
  bool isRemoved(std::size_t i) const { return removed[i]; }

  void remove(std::size_t i)
  {
    behind[before[i]] = behind[i];
    before[behind[i]] = before[i];
    if (i == head) head = behind[i];
    removed[i] = true;
    --remaining;
  }

private:
  std::vector<std::size_t> before;
  std::vector<std::size_t> behind;
  std::vector<char> removed;
  std::size_t head = 0;
  std::size_t remaining;
};

template <class P>
bool isSpike(const P& previous, const P& vertex, const P& next, typename P::Scalar tolerance, typename P::Scalar angle)
{
  using T = typename P::Scalar;

  const Vector<T, P::Dim> back = previous - vertex;
  const Vector<T, P::Dim> onward = next - vertex;
  return isWithin(back, tolerance) || isWithin(onward, T(coincidence)) || back.angle(onward, T(coincidence)) < angle;
}

} // namespace

template <PolyLinePoint P>
bool PolyLineAlgorithm::removeUndefinedPoints(PolyLine<P>& polyline)
{
  return std::erase_if(polyline.getPointCollection(), [](const P& point) { return !point.isDefined(); }) > 0;
}

template <PolyLinePoint P>
bool PolyLineAlgorithm::subdivide(PolyLine<P>& polyline, typename P::Scalar maxLength)
{
  const std::size_t segments = polyline.numberOfSegments();
  if (segments == 0) return false;
  std::vector<P> refined;
  refined.reserve(2 * segments + 1);
  for (std::size_t i = 0; i < segments; ++i) {
    const Segment<P> segment = polyline.getSegment(i);
    refined.push_back(*segment.getStart());
    if (segment.sqrLength() > maxLength * maxLength)
      refined.push_back(pointBetween(*segment.getStart(), *segment.getEnd(), 0.5));
  }
  if (!polyline.isClosed()) refined.push_back(polyline.back());
  const bool inserted = refined.size() > polyline.numberOfPoints();
  polyline.getPointCollection() = std::move(refined);
  return inserted;
}

template <OneOf<Point<double, 3>, Point3N, Point3NT> P>
void PolyLineAlgorithm::resampleToMinimalDistance(PolyLine<P>& polyline, double distance)
{
  if (polyline.numberOfPoints() < 2) return;
  std::vector<P> refined;
  refined.reserve(polyline.numberOfPoints() + numberOfAddedPoints(polyline, distance));
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
    const Segment<P> segment = polyline.getSegment(i);
    refined.push_back(*segment.getStart());
    const double parts = numberOfParts(segment, distance);
    for (double k = 1.0; k < parts; ++k)
      refined.push_back(pointBetween(*segment.getStart(), *segment.getEnd(), k / parts));
  }
  if (!polyline.isClosed()) refined.push_back(polyline.back());
  polyline.getPointCollection() = std::move(refined);
}

template <OneOf<Point<double, 3>, Point3N> P>
void PolyLineAlgorithm::reducePointDistance(PolyLine<P>& polyline, double distance)
{
  if (polyline.isEmpty()) return;
  if (distance < shortestSpacing) distance = polyline.getTotalLength() / static_cast<double>(polyline.numberOfPoints());
  const double limit = 2.0 * distance;
  std::vector<P> refined;
  refined.reserve(roomForHalves(polyline, limit));
  refined.push_back(polyline.front());
  std::vector<P> pending;
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i)
    appendHalved(*polyline.getSegment(i).getEnd(), limit, pending, refined);
  if (polyline.isClosed()) refined.pop_back();
  polyline.getPointCollection() = std::move(refined);
}

template <PolyLinePoint P>
void PolyLineAlgorithm::removeSpikes(PolyLine<P>& polyline, typename P::Scalar tolerance, typename P::Scalar angle)
{
  const std::size_t count = polyline.numberOfPoints();
  if (count < 3) return;
  std::vector<P>& points = polyline.getPointCollection();
  VertexRing ring(count);
  // The step is the index of the vertex among those that remain; on a closed line the first vertex comes last again.
  std::size_t step = 1;
  std::size_t limit = polyline.isClosed() ? count + 1 : count - 1;
  std::size_t vertex = ring.next(ring.first());
  while (step < limit) {
    const std::size_t previous = ring.previous(vertex), next = ring.next(vertex);
    if (!isSpike(points[previous], points[vertex], points[next], tolerance, angle)) {
      vertex = next;
      ++step;
      continue;
    }
    // Two back, but not before the second vertex. Without the first one all others count one less: that is one back.
    const bool isFirst = vertex == ring.first();
    ring.remove(vertex);
    --limit;
    if (ring.size() < 3) break;
    vertex = step <= 3 ? ring.next(ring.first()) : isFirst ? previous : ring.previous(previous);
    step = step <= 3 ? 1 : step - 2;
  }
  if (ring.size() == count) return;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count; ++i)
    if (!ring.isRemoved(i)) points[kept++] = points[i];
  points.resize(kept);
}

template <PolyLinePoint P>
bool PolyLineAlgorithm::thinout(PolyLine<P>& polyline, typename P::Scalar tolerance)
{
  return PolyLineThinOutAlgorithm::thinout(polyline, tolerance > 0 ? tolerance : polyline.getTolerance());
}

#define KV_INSTANTIATE(...) KV_POLYLINE_REFINEMENT(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...) KV_POLYLINE_RESAMPLING(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_RESAMPLED_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...) KV_POLYLINE_HALVING(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_SHIFTED_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
