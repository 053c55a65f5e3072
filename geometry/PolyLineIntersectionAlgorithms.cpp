#include "geometry/PolyLineIntersectionAlgorithms.h"

#include "geometry/BoundingVolumeHierarchy/Intersection.h"
#include "geometry/BoundingVolumeHierarchy/SegmentPoint.h"
#include "geometry/BoundingVolumeHierarchy/SegmentRuns.h"
#include "geometry/StraightLine.h"

#include <boost/container_hash/hash.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>

namespace Kavrel {

using BoundingVolumeHierarchy::SegmentRuns;

namespace {

constexpr double equalCoordinate = 1e-12; // inclusive: the same coordinate
constexpr double samePlaceSqr = 1e-24;    // inclusive: the same crossing with a plane
constexpr double sqrOverlapTolerance = 1e-24;
constexpr double fallbackTolerance = 1e-6; // in place of a negative one, for long lines in projection

bool isInWideRange(double t) { return t >= -1e-6 && t <= 1.000001; }

bool isInNarrowRange(double t) { return t > -1e-10 && t < 1.0000000001; }

/// Room for so many more, without giving up the growth by factors.
template <class T>
void reserveMore(std::vector<T>& list, std::size_t count)
{
  const std::size_t needed = list.size() + count;
  if (needed > list.capacity()) list.reserve(std::max(needed, 2 * list.capacity()));
}

template <class P>
bool haveEqualCoordinates(const P& a, const P& b)
{
  for (unsigned axis = 0; axis < P::Dim; ++axis)
    if (!(std::abs(a[axis] - b[axis]) <= equalCoordinate)) return false;
  return true;
}

/// `visit(i)` for 0, 1, count - 1, 2, count - 2, ... until it gives true.
template <class Visit>
bool visitFromBothEnds(std::size_t count, const Visit& visit)
{
  if (count == 0) return false;
  if (visit(0)) return true;
  for (std::size_t i = 1; i <= count / 2; ++i)
    if (visit(i) || (i != count - i && visit(count - i))) return true;
  return false;
}

/// Two points that span an infinite line, as ends of a segment.
template <class P>
struct LineSegment
{
  explicit LineSegment(const StraightLine<typename P::Scalar, P::Dim>& line)
      : start(line.getStart()), end(line.getStart() + line.getDirection())
  {}

  Segment<P> get() const { return Segment<P>(&start, &end); }

  P start;
  P end;
};

} // namespace

// Kept trees ----------------------------------------------------------------------------------------------------------

template <class P>
std::size_t PolyLineIntersectionAlgorithms<P>::KeyHash::operator()(const Key& key) const
{
  return boost::hash<Key>()(key);
}

template <class P>
typename PolyLineIntersectionAlgorithms<P>::Key
PolyLineIntersectionAlgorithms<P>::createSearchTreeKey(const Line& polyline)
{
  return {&polyline, polyline.getId().getValue()};
}

template <class P>
typename PolyLineIntersectionAlgorithms<P>::KeptTree
PolyLineIntersectionAlgorithms<P>::createOrFindSearchTree(const Line& polyline, bool refresh, double tolerance)
{
  if (polyline.numberOfPoints() < 2) return nullptr;
  const Key key = createSearchTreeKey(polyline);
  const auto known = searchTrees.find(key);
  KeptTree tree = known != searchTrees.end() && !refresh ? known->second : nullptr;
  if (!tree)
    tree = std::make_shared<const SegmentRuns>(polyline, std::max(0.0, tolerance));
  else if (tolerance > tree->getProlongation())
    tree = std::make_shared<const SegmentRuns>(*tree, tolerance);
  else
    return tree;
  searchTrees.insert_or_assign(key, tree); // only now: a build that fails leaves no entry without a tree
  return tree;
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::resetPolyLine(const Line& polyline)
{
  searchTrees.erase(createSearchTreeKey(polyline));
  return createOrFindSearchTree(polyline, true, 0.0) != nullptr;
}

// Two polylines -------------------------------------------------------------------------------------------------------

template <class P>
std::optional<bool> PolyLineIntersectionAlgorithms<P>::lessOneSegmentPolyline(const SearchTree& tree, std::size_t index)
{
  const auto& sizes = tree.getOriginalSizes();
  if (sizes.size() == 1) return sizes.front() == 0;
  const std::size_t k = tree.correctElementIndexForMultiplePolyLinesAndGetMeshIdx(index);
  if (k >= sizes.size()) return std::nullopt;
  return sizes[k] == 0;
}

template <class P>
std::optional<bool>
PolyLineIntersectionAlgorithms<P>::invalidPolylinesIntersection(const SearchTree& a, const SearchTree& b,
                                                                const typename SearchTree::SegmentIntersection& entry)
{
  const auto onA = lessOneSegmentPolyline(a, entry.indexThis);
  const auto onB = lessOneSegmentPolyline(b, entry.indexOther);
  if (!onA || !onB) return std::nullopt;
  return *onA || *onB;
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateIntersectionsXYGeneralCase(
    const SearchTree& a, const SearchTree& b, std::vector<P>& points, bool filtered, double tolerance, bool firstOnly,
    std::vector<unsigned>* segmentsA, std::vector<unsigned>* segmentsB, bool checkInvalid)
{
  if (a.empty() || b.empty() || !(tolerance >= 0)) return false;
  const bool areSeveral = a.getOriginalSizes().size() > 1 || b.getOriginalSizes().size() > 1;
  if (segmentsA && segmentsB && areSeveral) return false;

  std::vector<Entry> list;
  a.intersectXY(b, list, firstOnly, tolerance);
  if (checkInvalid)
    std::erase_if(list, [&](const Entry& entry) { return invalidPolylinesIntersection(a, b, entry).value_or(false); });
  appendInOrder(list, points, filtered, segmentsA, segmentsB);
  return true;
}

template <class P>
void PolyLineIntersectionAlgorithms<P>::appendInOrder(std::vector<Entry>& list, std::vector<P>& points, bool filtered,
                                                      std::vector<unsigned>* segmentsA,
                                                      std::vector<unsigned>* segmentsB)
{
  std::sort(list.begin(), list.end(), [](const Entry& p, const Entry& q) {
    return std::tie(p.indexThis, p.indexOther) < std::tie(q.indexThis, q.indexOther);
  });
  const bool withIndices = segmentsA && segmentsB;
  reserveMore(points, list.size());
  if (withIndices) {
    reserveMore(*segmentsA, list.size());
    reserveMore(*segmentsB, list.size());
  }
  for (const Entry& entry : list) {
    if (filtered && !points.empty() && haveEqualCoordinates(entry.point, points.back())) continue;
    points.push_back(entry.point);
    if (!withIndices) continue;
    segmentsA->push_back(static_cast<unsigned>(entry.indexThis));
    segmentsB->push_back(static_cast<unsigned>(entry.indexOther));
  }
  if (filtered && points.size() > 1 && haveEqualCoordinates(points.back(), points.front())) points.pop_back();
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::crossPolyLines(const Line& a, const Line& b, std::vector<P>& points,
                                                       bool filtered, bool refresh, double tolerance, bool firstOnly,
                                                       std::vector<unsigned>* segmentsA,
                                                       std::vector<unsigned>* segmentsB)
{
  const KeptTree treeA = createOrFindSearchTree(a, refresh, tolerance);
  const KeptTree treeB = treeA ? createOrFindSearchTree(b, refresh, tolerance) : nullptr;
  if (!treeB || !(tolerance >= 0)) return false;

  std::vector<Entry> list;
  treeA->visitMeetingPairs(*treeB, [&](std::size_t i, std::size_t j) {
    if (i >= a.numberOfSegments() || j >= b.numberOfSegments()) return false; // gone since the tree was made
    const Segment<P> onA = a.getSegment(i);
    BoundingVolumeHierarchy::IntersectionQueryResult<Segment<P>, Segment<P>> hit;
    if (!BoundingVolumeHierarchy::intersectXY(onA, b.getSegment(j), hit, tolerance)) return false;
    const P point = BoundingVolumeHierarchy::pointOn(onA, hit.firstParameter);
    list.push_back({hit.firstParameter, i, hit.secondParameter, j, point});
    return firstOnly;
  });
  appendInOrder(list, points, filtered, segmentsA, segmentsB);
  return true;
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPointsXY(const Line& a, const Line& b,
                                                                         std::vector<P>& points, bool refresh,
                                                                         double tolerance)
{
  return crossPolyLines(a, b, points, false, refresh, tolerance, false, nullptr, nullptr);
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPointsXY(const SearchTree& a, const SearchTree& b,
                                                                         std::vector<P>& points, double tolerance)
{
  return calculateIntersectionsXYGeneralCase(a, b, points, false, tolerance, false, nullptr, nullptr, true);
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPointsFiltered(const Line& a, const Line& b,
                                                                               std::vector<P>& points, bool refresh,
                                                                               double tolerance) requires(isPlanar)
{
  return crossPolyLines(a, b, points, true, refresh, tolerance, false, nullptr, nullptr);
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPointsFiltered(const SearchTree& a, const SearchTree& b,
                                                                               std::vector<P>& points,
                                                                               double tolerance) requires(isPlanar)
{
  return calculateIntersectionsXYGeneralCase(a, b, points, true, tolerance, false, nullptr, nullptr, true);
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPoints(const Line& a, std::vector<unsigned>& segmentsA,
                                                                       const Line& b, std::vector<unsigned>& segmentsB,
                                                                       std::vector<P>& points, bool refresh,
                                                                       double tolerance) requires(isPlanar)
{
  return crossPolyLines(a, b, points, false, refresh, tolerance, false, &segmentsA, &segmentsB);
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPoints(
    const SearchTree& a, std::vector<unsigned>& segmentsA, const SearchTree& b, std::vector<unsigned>& segmentsB,
    std::vector<P>& points, double tolerance) requires(isPlanar)
{
  return calculateIntersectionsXYGeneralCase(a, b, points, false, tolerance, false, &segmentsA, &segmentsB, true);
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPoints(
    const std::shared_ptr<const Line>& a, const std::shared_ptr<std::vector<unsigned>>& segmentsA,
    const std::shared_ptr<const Line>& b, const std::shared_ptr<std::vector<unsigned>>& segmentsB,
    const std::shared_ptr<std::vector<P>>& points, bool refresh, double tolerance) requires(isPlanar)
{
  if (!a || !segmentsA || !b || !segmentsB || !points) return false;
  return calculateAllIntersectionPoints(*a, *segmentsA, *b, *segmentsB, *points, refresh, tolerance);
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::intersectXY(const Line& a, const Line& b, bool refresh, double tolerance)
{
  if (&a == &b) return true;
  std::vector<P> points;
  crossPolyLines(a, b, points, false, refresh, tolerance, true, nullptr, nullptr);
  return !points.empty();
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::intersectXY(const SearchTree& a, const SearchTree& b, double tolerance)
{
  if (&a == &b) return true;
  std::vector<P> points;
  calculateIntersectionsXYGeneralCase(a, b, points, false, tolerance, true, nullptr, nullptr, true);
  return !points.empty();
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateAllIntersectionPointsAndSegmentsXY(const Line& a, const Line& b,
                                                                                    std::vector<P>& points,
                                                                                    std::vector<Segment<P>>& overlaps)
{
  using Crossing = typename Segment<P>::PointIntersection;
  if (a.numberOfPoints() < 2 || b.numberOfPoints() < 2) return false;
  // Overlaps are defined by the pair alone, whose boxes may be apart: all pairs are looked at.
  typename Segment<P>::Intersection shared;
  for (std::size_t i = 0; i < a.numberOfSegments(); ++i) {
    const Segment<P> onA = a.getSegment(i);
    for (std::size_t j = 0; j < b.numberOfSegments(); ++j) {
      const Segment<P> onB = b.getSegment(j);
      if (!onA.checkIntersectionXY(&onB, shared, sqrOverlapTolerance, sqrOverlapTolerance)) continue;
      if (const auto* crossing = std::get_if<Crossing>(&shared)) {
        if (isInWideRange(crossing->u) && isInWideRange(crossing->v)) points.push_back(crossing->point);
      } else {
        overlaps.push_back(std::get<Segment<P>>(shared));
      }
    }
  }
  return !points.empty() || !overlaps.empty();
}

// Polyline and plane, line, segment, circle ---------------------------------------------------------------------------

namespace {

/// Extends \p out by the crossings with a plane that are new; `keep(segment, parameter)` hears of each.
template <class P, class Keep>
bool crossPlane(const PolyLine<P>& polyline, const Plane<typename P::Scalar, P::Dim>& plane,
                std::vector<Point<typename P::Scalar, P::Dim>>& out, const Keep& keep)
{
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
    double t = 0.0;
    Point<typename P::Scalar, P::Dim> point;
    if (!polyline.getSegment(i).getIntersectionWithPlane(plane, t, point)) continue;
    const auto isAt = [&point](const auto& other) { return point.sqrDistance(other) <= samePlaceSqr; };
    if (!out.empty() && (isAt(out.back()) || isAt(out.front()))) continue;
    out.push_back(point);
    keep(i, t);
  }
  return !out.empty();
}

} // namespace

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateIntersection(const Line& polyline, const Plane<Scalar, P::Dim>& plane,
                                                              std::vector<Position>& out)
{
  return crossPlane(polyline, plane, out, [](std::size_t, double) {});
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateIntersection(const Line& polyline, const Plane<Scalar, P::Dim>& plane,
                                                              std::vector<Position>& out,
                                                              std::vector<std::pair<std::size_t, double>>& where)
{
  return crossPlane(polyline, plane, out, [&where](std::size_t segment, double t) { where.emplace_back(segment, t); });
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::findPointOfNearestIntersection(
    const Plane<double, 3>& plane, const Point<double, 3>& point, const Line& polyline,
    Point<double, 3>& out) requires(std::is_same_v<P, Point<double, 3>>)
{
  std::vector<Position> crossings;
  if (!calculateIntersection(polyline, plane, crossings)) return false;
  out = *std::min_element(crossings.begin(), crossings.end(), [&point](const Position& a, const Position& b) {
    return point.sqrDistance(a) < point.sqrDistance(b);
  });
  return true;
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateIntersectionXY(const Line& polyline,
                                                                const StraightLine<Scalar, P::Dim>& line, P& out)
{
  const LineSegment<P> ends(line);
  const Segment<P> other = ends.get();
  return visitFromBothEnds(polyline.numberOfSegments(), [&](std::size_t i) {
    double u = 0.0, v = 0.0;
    P point;
    if (!polyline.getSegment(i).checkIntersectionXY(&other, u, v, point) || !isInNarrowRange(u)) return false;
    out = point;
    return true;
  });
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateIntersectionXY(const Line& polyline, const Segment<P>& segment,
                                                                std::vector<P>& out)
{
  if (polyline.isEmpty()) return false;
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
    double u = 0.0, v = 0.0;
    P point;
    if (polyline.getSegment(i).checkIntersectionXY(&segment, u, v, point) && isInNarrowRange(u) && isInNarrowRange(v))
      out.push_back(point);
  }
  return !out.empty();
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::calculateIntersectionXZ(const Line& polyline,
                                                                const StraightLine<Scalar, P::Dim>& line, P& out)
{
  if (polyline.numberOfPoints() < 2) return false;
  const LineSegment<P> ends(line);
  const Segment<P> other = ends.get();
  const std::size_t last = polyline.numberOfPoints() - 2;
  struct EndCrossing
  {
    double u;
    P point;
  };
  EndCrossing atStart{1.0, P()}, atEnd{0.0, P()};
  const bool found = visitFromBothEnds(last + 1, [&](std::size_t i) {
    double u = 0.0, v = 0.0;
    P point;
    if (!polyline.getSegment(i).checkIntersectionXZ(&other, u, v, point)) return false;
    if (i == 0) atStart = {u, point};
    if (i == last) atEnd = {u, point};
    if (isInNarrowRange(u)) out = point;
    return isInNarrowRange(u);
  });
  if (found) return true;
  const bool isBeforeStart = atStart.u < 1e-6;
  if (!isBeforeStart && !(atEnd.u > 0.999999)) return false;
  out = isBeforeStart ? atStart.point : atEnd.point;
  return true;
}

template <class P>
int PolyLineIntersectionAlgorithms<P>::circleIntersectionsWithSegment(
    const Segment<Point<double, 2>>& segment, const Point<double, 2>& centre, double radius,
    std::vector<Point<double, 2>>& out) requires(isPlanar)
{
  const auto way = *segment.getEnd() - *segment.getStart();
  const bool isSteep = std::abs(way.y()) > std::abs(way.x());
  const auto turned = [isSteep](const Point<double, 2>& p) { return isSteep ? Point<double, 2>(p.y(), p.x()) : p; };
  Point<double, 2> first = turned(*segment.getStart());
  Point<double, 2> last = turned(*segment.getEnd());
  const Point<double, 2> middle = turned(centre);
  if (last.x() < first.x()) std::swap(first, last);

  // On the line y = m x + c the circle is x² + p x + q = 0.
  const double m = (last.y() - first.y()) / (last.x() - first.x());
  const double c = first.y() - m * first.x();
  const double d = c - middle.y();
  const double p = (2 * m * d - 2 * middle.x()) / (m * m + 1);
  const double q = (d * d + middle.x() * middle.x() - radius * radius) / (m * m + 1);
  const double discriminant = (p / 2) * (p / 2) - q;
  if (discriminant < 0) return 0;

  int count = 0;
  for (const double x : {std::sqrt(discriminant) - p / 2, -p / 2 - std::sqrt(discriminant)}) {
    if (!(first.x() <= x && x <= last.x())) continue;
    out.push_back(turned(Point<double, 2>(x, m * x + c)));
    ++count;
  }
  return count;
}

template <class P>
bool PolyLineIntersectionAlgorithms<P>::circleIntersectionsWithPolyLine(
    const Point<double, 2>& centre, double radius, const Line& polyline,
    std::vector<Point<double, 2>>& out) requires(isPlanar)
{
  if (polyline.numberOfPoints() < 2) return false;
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i)
    circleIntersectionsWithSegment(polyline.getSegment(i), centre, radius, out);
  return !out.empty();
}

// Projection ----------------------------------------------------------------------------------------------------------

namespace {

/// Takes positions to the plane across a direction.
class Projection
{
public:
  explicit Projection(const Vector<double, 3>& direction)
      : e1(direction.cross(direction.getOrthoNormal())), e2(direction.cross(e1))
  {}

  Point<double, 2> operator()(const Vector<double, 3>& p) const { return {p.dot(e1), p.dot(e2)}; }

  template <class P>
  PolyLine<Point<double, 2>> operator()(const PolyLine<P>& line) const
  {
    PolyLine<Point<double, 2>> image;
    image.reserve(line.numberOfPoints());
    for (const P& p : line)
      image.addPoint((*this)(p));
    image.setClosed(line.isClosed());
    return image;
  }

private:
  Vector<double, 3> e1;
  Vector<double, 3> e2;
};

/// The image of a short line; of a closed one with the first point again at the end.
template <std::size_t capacity>
struct ShortImage
{
  template <class P>
  ShortImage(const Projection& project, const PolyLine<P>& line)
  {
    for (const P& p : line)
      points[count++] = project(p);
    if (line.isClosed() && count > 0) points[count++] = points[0];
  }

  std::size_t numberOfSegments() const { return count > 0 ? count - 1 : 0; }
  Segment<Point<double, 2>> getSegment(std::size_t i) const { return {&points[i], &points[i + 1]}; }

  std::array<Point<double, 2>, capacity> points;
  std::size_t count = 0;
};

template <class Image>
bool anyPairCrosses(const Image& a, const Image& b, double tolerance)
{
  for (std::size_t i = 0; i < a.numberOfSegments(); ++i)
    for (std::size_t j = 0; j < b.numberOfSegments(); ++j)
      if (a.getSegment(i).intersect(b.getSegment(j), tolerance)) return true;
  return false;
}

} // namespace

template <class P>
template <class Q>
  requires(OneOf<P, Point<double, 3>, Point3N>&& OneOf<Q, Point<double, 3>, Point3N>)
bool PolyLineIntersectionAlgorithms<P>::intersectInProjection(const PolyLine<P>& a, const PolyLine<Q>& b,
                                                              const Vector<double, 3>& direction,
                                                              const double& tolerance)
{
  const Projection project(direction);
  if (a.numberOfPoints() <= s_criticalNumberOfPoints && b.numberOfPoints() <= s_criticalNumberOfPoints) {
    using Image = ShortImage<s_criticalNumberOfPoints + 1>;
    return anyPairCrosses(Image(project, a), Image(project, b), tolerance);
  }
  if (a.numberOfPoints() < 2 || b.numberOfPoints() < 2) return false;
  const auto imageA = project(a);
  const auto imageB = project(b);
  const double margin = tolerance < 0 ? fallbackTolerance : tolerance;
  return SegmentRuns(imageA).visitMeetingPairs(SegmentRuns(imageB), [&](std::size_t i, std::size_t j) {
    return imageA.getSegment(i).intersect(imageB.getSegment(j), margin);
  });
}

#define KV_INSTANTIATE(...) template class PolyLineIntersectionAlgorithms<__VA_ARGS__>;
KV_FOR_EACH_INTERSECTION_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT bool PolyLineIntersectionAlgorithms<Point<double, 3>>::intersectInProjection(               \
      const PolyLine<Point<double, 3>>&, const PolyLine<__VA_ARGS__>&, const Vector<double, 3>&, const double&);       \
  template KVSHAPES_EXPORT bool PolyLineIntersectionAlgorithms<Point3N>::intersectInProjection(                        \
      const PolyLine<Point3N>&, const PolyLine<__VA_ARGS__>&, const Vector<double, 3>&, const double&);
KV_INSTANTIATE(Point<double, 3>)
KV_INSTANTIATE(Point3N)
#undef KV_INSTANTIATE

} // namespace Kavrel
