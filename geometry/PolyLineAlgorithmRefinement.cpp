#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineThinOutAlgorithm.h"

#include <algorithm>
#include <cmath>
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

/// Vertices with a gap that moves along them: those before it have been looked at, those behind it are ahead.
template <class P>
class VertexGap
{
public:
  explicit VertexGap(std::vector<P>& vertices) : points(vertices) {}

  std::size_t size() const { return points.size() - (ahead - kept) - first; }
  /// How many vertices come before the gap.
  std::size_t position() const { return kept - first; }
  /// Whether none is ahead: the next one is the first one again.
  bool isAtSeam() const { return ahead == points.size(); }
  const P& previous() const { return points[kept - 1]; }
  const P& vertex() const { return isAtSeam() ? points[first] : points[ahead]; }
  const P& next() const
  {
    const std::size_t i = ahead + 1;
    return i < points.size() ? points[i] : points[first + (i - points.size())];
  }

  void advance()
  {
    if (kept != ahead) points[kept] = points[ahead];
    ++kept;
    ++ahead;
  }
  void stepBackTo(std::size_t newPosition)
  {
    while (position() > newPosition)
      points[--ahead] = points[--kept];
  }
  void removeVertex() { ++(isAtSeam() ? first : ahead); }
  void close()
  {
    const auto begin = points.begin();
    points.erase(begin + static_cast<std::ptrdiff_t>(kept), begin + static_cast<std::ptrdiff_t>(ahead));
    points.erase(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(first));
  }

private:
  std::vector<P>& points;
  std::size_t first = 0; // those before it are removed
  std::size_t kept = 0;  // the gap begins
  std::size_t ahead = 0; // the gap ends
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
  if (polyline.numberOfPoints() < 3) return;
  VertexGap<P> gap(polyline.getPointCollection());
  gap.advance(); // on a closed line the first vertex comes last
  while (gap.size() >= 3 && (polyline.isClosed() || gap.position() + 1 < gap.size())) {
    if (!isSpike(gap.previous(), gap.vertex(), gap.next(), tolerance, angle)) {
      if (gap.isAtSeam()) break;
      gap.advance();
      continue;
    }
    const std::size_t position = gap.position();
    gap.removeVertex();
    gap.stepBackTo(position > 3 ? position - 2 : 1);
  }
  gap.close();
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
