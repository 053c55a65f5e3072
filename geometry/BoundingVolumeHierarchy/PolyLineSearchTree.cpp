#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"

#include "geometry/BoundingVolumeHierarchy/ClosestPoints.h"
#include "geometry/BoundingVolumeHierarchy/Queries.h"
#include "geometry/BoundingVolumeHierarchy/SegmentPoint.h"
#include "geometry/PolyLine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

constexpr unsigned maxDepth = 30;
constexpr double largest = std::numeric_limits<double>::max();
constexpr double fallbackTolerance = 1e-6; // in place of a negative one

template <class P>
using Lines = std::vector<std::shared_ptr<const PolyLine<P>>>;

/// A line of one point becomes an open line with a segment of length zero; any other stays as it is.
template <class P>
std::shared_ptr<const PolyLine<P>> convertSharedPtr(const std::shared_ptr<const PolyLine<P>>& line)
{
  if (!line || line->numberOfPoints() != 1) return line;
  auto copy = std::make_shared<PolyLine<P>>();
  copy->addPoint(line->front());
  copy->addPoint(line->front());
  return copy;
}

template <class P>
std::vector<std::size_t> segmentCounts(const Lines<P>& lines)
{
  std::vector<std::size_t> counts;
  counts.reserve(lines.size());
  for (const auto& line : lines)
    counts.push_back(line ? line->numberOfSegments() : 0);
  return counts;
}

template <class Tree, class P>
auto nearestSegment(const Tree& bvh, const Vector<double, P::Dim>& point)
{
  DistanceQueryResult<Vector<double, P::Dim>, Segment<P>> result;
  closest(bvh, point, result);
  return result;
}

/// The line in which a plane meets z = 0, and the length of the part of its normal along z = 0: 0 for a plane that is
/// horizontal, which has no such line.
std::pair<Plane<double, 2>, double> traceOf(const Plane<double, 3>& plane)
{
  const Vector<double, 2> normal(plane.getNormal()[0], plane.getNormal()[1]);
  const double steepness = normal.length();
  if (!(steepness >= defaultLengthEps<double>)) return {Plane<double, 2>(), 0.0};
  return {Plane<double, 2>(normal / steepness, plane.getDistance() / steepness), steepness};
}

/// Whether two boxes meet in x and y once each is widened by `margin(extent)` at both ends of each axis.
template <class Volume, class Margin>
bool overlapXY(const Volume& a, const Volume& b, const Margin& margin)
{
  for (unsigned i = 0; i < 2; ++i) {
    const double lowA = static_cast<double>(a.min[i]), highA = static_cast<double>(a.max[i]);
    const double lowB = static_cast<double>(b.min[i]), highB = static_cast<double>(b.max[i]);
    const double reach = margin(highA - lowA) + margin(highB - lowB);
    if (lowA - highB > reach || lowB - highA > reach) return false;
  }
  return true;
}

/// Runs `test(segmentA, segmentB, result)` on the pairs of segments in leaves that meet in x and y, and hands on what
/// it accepts: `sink(result)`, with the positions in the result. With \p firstOnly it ends at the first.
template <class P, class Hierarchy, class Margin, class Test, class Sink>
bool crossings(const Hierarchy& a, const Hierarchy& b, bool firstOnly, const Margin& margin, const Test& test,
               const Sink& sink)
{
  if (a.empty() || b.empty()) return false;
  bool found = false;
  overlappingPairs(
      a, b,
      [&](const auto& volumeA, const auto& volumeB) {
        return !(firstOnly && found) && overlapXY(volumeA, volumeB, margin);
      },
      [&](std::uint32_t i, std::uint32_t j) {
        if (firstOnly && found) return;
        IntersectionQueryResult<Segment<P>, Segment<P>> result;
        if (!test(a.getElement(i), b.getElement(j), result)) return;
        found = true;
        result.firstIndex = i;
        result.secondIndex = j;
        sink(result);
      });
  return found;
}

} // namespace

// Construction -------------------------------------------------------------------------------------------------------

template <class PointType>
PolyLineSearchTree<PointType>::PolyLineSearchTree() : originalSizes{0}, bvh(std::make_shared<const Hierarchy>())
{}

template <class PointType>
PolyLineSearchTree<PointType>::PolyLineSearchTree(const Line& polyline, unsigned maxLeafSize)
    : originalSizes{polyline.numberOfSegments()}
{
  if (polyline.numberOfPoints() == 1) {
    // Borrowed for the call alone: what is kept is the copy.
    polyLines.push_back(convertSharedPtr<PointType>(std::shared_ptr<const Line>(std::shared_ptr<void>(), &polyline)));
    bvh = std::make_shared<const Hierarchy>(*polyLines.front(), maxLeafSize, maxDepth);
  } else {
    bvh = std::make_shared<const Hierarchy>(polyline, maxLeafSize, maxDepth);
  }
}

template <class PointType>
PolyLineSearchTree<PointType>::PolyLineSearchTree(const std::vector<Segment<PointType>>& segments, unsigned maxLeafSize)
    : originalSizes{segments.size()}, bvh(std::make_shared<const Hierarchy>(segments, maxLeafSize, maxDepth))
{}

template <class PointType>
PolyLineSearchTree<PointType>::PolyLineSearchTree(const std::shared_ptr<const Line>& polyline, bool keep,
                                                  unsigned maxLeafSize)
    : originalSizes{polyline ? polyline->numberOfSegments() : 0}
{
  const auto converted = convertSharedPtr<PointType>(polyline);
  if (keep || converted != polyline) polyLines.push_back(converted);
  if (!converted) {
    bvh = std::make_shared<const Hierarchy>();
    return;
  }
  bvh = std::make_shared<const Hierarchy>(*converted, maxLeafSize, maxDepth);
  calcSizes();
}

template <class PointType>
PolyLineSearchTree<PointType>::PolyLineSearchTree(const std::vector<std::shared_ptr<const Line>>& lines, bool keep,
                                                  unsigned maxLeafSize)
    : originalSizes(segmentCounts<PointType>(lines))
{
  initFromVector(lines, keep, maxLeafSize);
}

template <class PointType>
PolyLineSearchTree<PointType>::PolyLineSearchTree(const std::vector<std::shared_ptr<Line>>& lines, bool keep,
                                                  unsigned maxLeafSize)
    : PolyLineSearchTree(std::vector<std::shared_ptr<const Line>>(lines.begin(), lines.end()), keep, maxLeafSize)
{}

template <class PointType>
void PolyLineSearchTree<PointType>::initFromVector(const std::vector<std::shared_ptr<const Line>>& list, bool keep,
                                                   unsigned maxLeafSize)
{
  Lines<PointType> converted;
  converted.reserve(list.size());
  for (const auto& line : list) {
    converted.push_back(convertSharedPtr<PointType>(line));
    if (!keep && converted.back() != line) polyLines.push_back(converted.back());
  }
  bvh = std::make_shared<const Hierarchy>(converted, maxLeafSize, maxDepth);
  if (!keep) return;
  polyLines = std::move(converted);
  calcSizes();
}

template <class PointType>
void PolyLineSearchTree<PointType>::calcSizes()
{
  cumulatedSizes.resize(polyLines.size());
  std::size_t sum = 0;
  for (std::size_t k = 0; k < polyLines.size(); ++k)
    cumulatedSizes[k] = sum += polyLines[k] ? polyLines[k]->numberOfSegments() : 0;
}

template <class PointType>
bool PolyLineSearchTree<PointType>::empty() const
{
  return bvh->empty();
}

template <class PointType>
std::size_t
PolyLineSearchTree<PointType>::correctElementIndexForMultiplePolyLinesAndGetMeshIdx(std::size_t& index) const
{
  const auto entry = std::upper_bound(cumulatedSizes.begin(), cumulatedSizes.end(), index);
  if (entry == cumulatedSizes.end()) return static_cast<std::size_t>(-1);
  if (entry != cumulatedSizes.begin()) index -= *(entry - 1);
  return static_cast<std::size_t>(entry - cumulatedSizes.begin());
}

template <class PointType>
std::shared_ptr<const PolyLine<PointType>>
PolyLineSearchTree<PointType>::correctElementIndexForMultiplePolyLines(std::size_t& index) const
{
  const std::size_t k = correctElementIndexForMultiplePolyLinesAndGetMeshIdx(index);
  return k < polyLines.size() ? polyLines[k] : nullptr;
}

// Distances ----------------------------------------------------------------------------------------------------------

template <class PointType>
double PolyLineSearchTree<PointType>::squareDistance(const QueryPoint& point) const
{
  return nearestSegment<Hierarchy, PointType>(*bvh, point).squareDistance;
}

template <class PointType>
bool PolyLineSearchTree<PointType>::squareDistance(const QueryPoint& point, double& out) const
{
  const auto result = nearestSegment<Hierarchy, PointType>(*bvh, point);
  out = result.squareDistance;
  return result.found;
}

template <class PointType>
bool PolyLineSearchTree<PointType>::squareDistance(const QueryPoint& point, double maxDistance, double& out) const
{
  DistanceQueryResult<QueryPoint, Segment<PointType>> result;
  closestWithin(*bvh, point, maxDistance * maxDistance, result);
  out = result.squareDistance;
  return result.found;
}

template <class PointType>
double PolyLineSearchTree<PointType>::squareDistance(const PolyLineSearchTree& other, double maxSquareDistance) const
{
  PointType onThis, onOther;
  return squareDistance(other, onThis, onOther, maxSquareDistance);
}

template <class PointType>
double PolyLineSearchTree<PointType>::squareDistance(const PolyLineSearchTree& other, PointType& onThis,
                                                     PointType& onOther, double maxSquareDistance) const
{
  onThis = PointType();
  onOther = PointType();
  if (empty() || other.empty()) return justAbove(maxSquareDistance);

  DistanceQueryResult<Segment<PointType>, Segment<PointType>> result;
  searchWithin(maxSquareDistance, result, [&] { closestPair(*bvh, *other.bvh, result); });
  if (result.found) {
    onThis = pointOn(bvh->getElement(result.firstIndex), result.firstParameter);
    onOther = pointOn(other.bvh->getElement(result.secondIndex), result.secondParameter);
  }
  return result.squareDistance;
}

template <class PointType>
double PolyLineSearchTree<PointType>::squareDistanceToPlane(const Plane<double, 3>& plane) const
{
  if (empty()) return largest;
  const auto nearest = [this](const Plane<double, dimension>& query) {
    DistanceQueryResult<Plane<double, dimension>, Segment<PointType>> result;
    closest(*bvh, query, result);
    return result.squareDistance;
  };
  if constexpr (dimension == 3) {
    return nearest(plane);
  } else {
    // At z = 0 distances to the plane are those to its trace, scaled by its steepness.
    const auto [trace, steepness] = traceOf(plane);
    return steepness == 0 ? plane.getDistance() * plane.getDistance() : nearest(trace) * steepness * steepness;
  }
}

template <class PointType>
template <class V>
double PolyLineSearchTree<PointType>::squareDistanceToRootVolume(const V& query) const
{
  if (empty()) return largest;
  if constexpr (dimension == 2 && std::is_same_v<V, Plane<double, 3>>) {
    const auto [trace, steepness] = traceOf(query);
    return steepness == 0
               ? query.getDistance() * query.getDistance()
               : BoundingVolumeHierarchy::squareDistance(trace, bvh->getRoot().volume) * steepness * steepness;
  } else {
    return BoundingVolumeHierarchy::squareDistance(query, bvh->getRoot().volume);
  }
}

template <class PointType>
double PolyLineSearchTree<PointType>::oneSidedHausdorffDistance(const Line& polyline) const
{
  if (polyline.isEmpty()) return largest;
  double farthest = 0;
  for (const PointType& point : polyline)
    farthest = std::max(farthest, squareDistance(toDouble(point)));
  return std::sqrt(farthest);
}

// Projection ---------------------------------------------------------------------------------------------------------

template <class PointType>
PointType PolyLineSearchTree<PointType>::projectPoint(const QueryPoint& point) const
{
  const auto result = nearestSegment<Hierarchy, PointType>(*bvh, point);
  return result.found ? pointOn(bvh->getElement(result.secondIndex), result.parameter) : PointType();
}

template <class PointType>
std::pair<double, std::size_t> PolyLineSearchTree<PointType>::calcLocalParameter(const QueryPoint& point) const
{
  const auto result = nearestSegment<Hierarchy, PointType>(*bvh, point);
  if (!result.found) return {0.0, 0};
  return {result.parameter, bvh->getElementId(result.secondIndex)};
}

template <class PointType>
double PolyLineSearchTree<PointType>::calcParameter(const QueryPoint& point,
                                                    const std::vector<double>& parameters) const
{
  double distance = 0;
  return calcParameter(point, distance, parameters);
}

template <class PointType>
double PolyLineSearchTree<PointType>::calcParameter(const QueryPoint& point, double& distance,
                                                    const std::vector<double>& parameters) const
{
  const auto result = nearestSegment<Hierarchy, PointType>(*bvh, point);
  if (!result.found) return 0;
  distance = std::sqrt(result.squareDistance);
  const std::size_t s = bvh->getElementId(result.secondIndex);
  if (s + 1 >= parameters.size()) return 0;
  return result.parameter * parameters[s + 1] + (1 - result.parameter) * parameters[s];
}

// Crossings ----------------------------------------------------------------------------------------------------------

template <class PointType>
std::vector<PointType> PolyLineSearchTree<PointType>::intersect([[maybe_unused]] const Plane<double, 3>& plane) const
{
  std::vector<PointType> points;
  if constexpr (dimension == 3) {
    using Hit = IntersectionQueryResult<Plane<double, 3>, Segment<PointType>>;
    allHits<Hit>(*bvh, plane,
                 [&](const Hit& hit) { points.push_back(pointOn(bvh->getElement(hit.secondIndex), hit.parameter)); });
  }
  return points;
}

template <class PointType>
bool PolyLineSearchTree<PointType>::nearestIntersection(const Plane<double, 3>& plane, const QueryPoint& point,
                                                        PointType& out) const
{
  const auto crossings = intersect(plane);
  if (crossings.empty()) return false;
  const auto squareTo = [&point](const PointType& crossing) { return (toDouble(crossing) - point).sqrLength(); };
  out = *std::min_element(crossings.begin(), crossings.end(),
                          [&](const PointType& a, const PointType& b) { return squareTo(a) < squareTo(b); });
  return true;
}

template <class PointType>
bool PolyLineSearchTree<PointType>::intersect(const PolyLineSearchTree& other,
                                              std::vector<SegmentIntersection>& list) const
    requires(PointType::Dim == 2)
{
  return crossings<PointType>(
      *bvh, *other.bvh, false, [](double) { return 0.0; },
      [](const auto& a, const auto& b, auto& result) { return BoundingVolumeHierarchy::intersect(a, b, result); },
      [&](const auto& result) { list.push_back(intersectionFrom(other, result)); });
}

template <class PointType>
bool PolyLineSearchTree<PointType>::intersectXY(const PolyLineSearchTree& other, std::vector<SegmentIntersection>& list,
                                                bool firstOnly, double tolerance) const
{
  const double relative = tolerance < 0 ? fallbackTolerance : tolerance;
  return crossings<PointType>(
      *bvh, *other.bvh, firstOnly, [relative](double extent) { return relative * extent; },
      [relative](const auto& a, const auto& b, auto& result) {
        return BoundingVolumeHierarchy::intersectXY(a, b, result, relative);
      },
      [&](const auto& result) { list.push_back(intersectionFrom(other, result)); });
}

template <class PointType>
bool PolyLineSearchTree<PointType>::intersectAbsTolerance(const PolyLineSearchTree& other,
                                                          std::vector<PointType>& points, bool firstOnly,
                                                          double tolerance) const
{
  const double absolute = tolerance < 0 ? fallbackTolerance : tolerance;
  return crossings<PointType>(
      *bvh, *other.bvh, firstOnly, [absolute](double) { return absolute; },
      [absolute](const auto& a, const auto& b, auto& result) {
        return BoundingVolumeHierarchy::intersectAbsTolerance(a, b, result, absolute);
      },
      [&points](const auto& result) { points.push_back(result.point); });
}

template <class PointType>
typename PolyLineSearchTree<PointType>::SegmentIntersection PolyLineSearchTree<PointType>::intersectionFrom(
    const PolyLineSearchTree& other, const IntersectionQueryResult<Segment<PointType>, Segment<PointType>>& hit) const
{
  return {hit.firstParameter, bvh->getElementId(hit.firstIndex), hit.secondParameter,
          other.bvh->getElementId(hit.secondIndex), pointOn(bvh->getElement(hit.firstIndex), hit.firstParameter)};
}

#define KV_INSTANTIATE(...)                                                                                            \
  template class PolyLineSearchTree<__VA_ARGS__>;                                                                      \
  template KVSHAPES_EXPORT double PolyLineSearchTree<__VA_ARGS__>::squareDistanceToRootVolume(                         \
      const AxisAlignedBox<float, __VA_ARGS__::Dim>&) const;                                                           \
  template KVSHAPES_EXPORT double PolyLineSearchTree<__VA_ARGS__>::squareDistanceToRootVolume(const Plane<double, 3>&) \
      const;
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel::BoundingVolumeHierarchy
