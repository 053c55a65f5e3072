#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineFrame.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Kavrel {

namespace {

constexpr double unitEps = 1e-12;
constexpr double leastSqrCross = 0.0001;   // of a triangle of the regression plane, strictly below: skipped
constexpr double leastSqrNormal = 1e-10;   // strictly below: no regression plane
constexpr double leastAreaDivisor = 1e-12; // strictly below: nothing is divided

double offsetFrom(const Plane<double, 3>& plane, const Vector<double, 3>& p)
{
  return std::abs(plane.getDistanceOfPoint(p));
}

template <class P>
Vector<double, 3> meanOf(const PolyLine<P>& polyline)
{
  Vector<double, 3> sum;
  for (const P& point : polyline)
    sum += spatial(point);
  return sum / static_cast<double>(polyline.numberOfPoints());
}

/// `take(a, b)` for the ends of all segments as seen from \p centre.
template <class P, class Take>
void forEachSpoke(const PolyLine<P>& polyline, const Vector<double, 3>& centre, const Take& take)
{
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
    const auto segment = polyline.getSegment(i);
    take(spatial(*segment.getStart()) - centre, spatial(*segment.getEnd()) - centre);
  }
}

/// Cross products gathered by their orientation: forward are the first one and all that agree with the sum so far.
class OrientedSum
{
public:
  void add(const Vector<double, 3>& cross)
  {
    if (cross.sqrLength() < leastSqrCross) return;
    const bool along = isFirst || forward.dot(cross) > 0.0;
    isFirst = false;
    (along ? forward : backward) += cross;
  }

  /// The unit vector of the greater sum, zero where there is none.
  Vector<double, 3> normal() const
  {
    Vector<double, 3> greater = forward.sqrLength() > backward.sqrLength() ? forward : backward;
    return greater.normalize(unitEps) ? greater : Vector<double, 3>();
  }

private:
  bool isFirst = true;
  Vector<double, 3> forward;
  Vector<double, 3> backward;
};

} // namespace

template <PolyLinePoint P>
double PolyLineAlgorithm::minDistToPlane(const PolyLine<P>& polyline, const Plane<double, 3>& plane)
{
  double nearest = std::numeric_limits<double>::max();
  for (const P& point : polyline)
    nearest = std::min(nearest, offsetFrom(plane, spatial(point)));
  return nearest;
}

template <PolyLinePoint P>
double PolyLineAlgorithm::maxDistToPlane(const PolyLine<P>& polyline, const Plane<double, 3>& plane)
{
  double farthest = 0.0;
  for (const P& point : polyline)
    farthest = std::max(farthest, offsetFrom(plane, spatial(point)));
  return farthest;
}

template <OneOf<Point<double, 3>, Point3N> P>
bool PolyLineAlgorithm::laysOnPlane(const PolyLine<P>& polyline, const Plane<double, 3>& plane, double tolerance)
{
  return tolerance >= maxDistToPlane(polyline, plane);
}

double PolyLineAlgorithm::calcBackdraft(const PolyLine<Point<double, 3>>& polyline, Vector<double, 3> direction)
{
  if (polyline.numberOfPoints() < 2) return 0.0;
  direction.normalize(unitEps);
  double top = 0.0;
  double backdraft = 0.0;
  for (const auto& point : polyline) {
    const double along = (point - polyline.front()).dot(direction);
    top = std::max(top, along);
    backdraft = std::max(backdraft, top - along);
  }
  return backdraft;
}

template <PolyLinePoint P>
Plane<double, 3> PolyLineAlgorithm::computeRegressionPlane(const PolyLine<P>& polyline)
{
  Plane<double, 3> plane;
  if (polyline.isEmpty()) return plane;
  const Vector<double, 3> centre = meanOf(polyline);
  OrientedSum sum;
  forEachSpoke(polyline, centre, [&sum](const auto& a, const auto& b) { sum.add(a.cross(b)); });
  plane.setPointAndNormal(centre, sum.normal());
  return plane;
}

template <PolyLinePoint P>
std::pair<bool, Plane<double, 3>> PolyLineAlgorithm::checkPlanarity(const PolyLine<P>& polyline, double tolerance)
{
  Plane<double, 3> plane;
  if (polyline.isEmpty()) return {false, plane};
  const Vector<double, 3> front = spatial(polyline.front());
  if (polyline.numberOfPoints() == 1) return {true, Plane<double, 3>(plane.getNormal(), Point<double, 3>(front))};
  if (polyline.numberOfPoints() == 2) {
    const Vector<double, 3> way = spatial(polyline[1]) - front;
    return {true, Plane<double, 3>(way.getOrthoNormal(), Point<double, 3>(front))};
  }
  const Plane<double, 3> regression = computeRegressionPlane(polyline);
  const bool planar = std::all_of(polyline.begin(), polyline.end(),
                                  [&](const P& point) { return offsetFrom(regression, spatial(point)) <= tolerance; });
  return planar ? std::pair(true, regression) : std::pair(false, plane);
}

template <PolyLinePoint P>
Point3N PolyLineAlgorithm::calculateCenterOfPolyLine(const PolyLine<P>& polyline)
{
  Vector<double, 3> centre;
  double total = 0.0;
  forEachSpoke(polyline, Vector<double, 3>(), [&](const auto& a, const auto& b) {
    const double length = (b - a).length();
    centre += (a + b) * (0.5 * length);
    total += length;
  });
  if (total > 0.0) centre /= total;
  Vector<double, 3> normal;
  forEachSpoke(polyline, centre, [&normal](const auto& a, const auto& b) { normal += a.cross(b); });
  normal.normalize(unitEps);
  return Point3N(centre, normal);
}

template <OneOf<Point<double, 2>, Point<double, 3>, Point3N> P>
P PolyLineAlgorithm::calculateCenterOfEnclosedXYArea(const PolyLine<P>& polyline)
{
  if (polyline.isEmpty()) return P();
  const Vector<double, P::Dim> reference = polyline.back();
  Vector<double, P::Dim> previous = reference;
  Vector<double, P::Dim> sum;
  double weights = 0.0;
  for (const P& point : polyline) {
    const double weight = (point.y() - previous.y()) * (point.x() - reference.x()) -
                          (point.x() - previous.x()) * (point.y() - reference.y());
    sum += weight * (point + previous + reference);
    weights += weight;
    previous = point;
  }
  const double divisor = 3.0 * weights;
  return P(std::abs(divisor) >= leastAreaDivisor ? sum / divisor : sum);
}

template <OneOf<Point<double, 2>, Point<double, 3>, Point3N> P>
bool PolyLineAlgorithm::checkXYOrientation(const PolyLine<P>& polyline, bool treatAsClosed)
{
  const std::size_t count = polyline.numberOfPoints();
  double doubledArea = 0.0;
  const auto add = [&doubledArea](const P& a, const P& b) { doubledArea += a.x() * b.y() - a.y() * b.x(); };
  for (std::size_t i = 0; i + 1 < count; ++i)
    add(polyline[i], polyline[i + 1]);
  if (count > 0 && (treatAsClosed || polyline.isClosed())) add(polyline.back(), polyline.front());
  return doubledArea >= 0.0;
}

template <OneOf<Point<double, 3>, Point3N> P>
double PolyLineAlgorithm::getHydraulicDiameter(const PolyLine<P>& polyline)
{
  if (polyline.numberOfPoints() < 3) return 0.0;
  const Vector<double, 3> normal = computeRegressionPlane(polyline).getNormal();
  if (normal.sqrLength() < leastSqrNormal) return 0.0;
  const PolyLine<Point<double, 2>> flat = PolyLineFrame(normal).flattened(polyline);
  return 4.0 * flat.getXYArea() / flat.getTotalLength();
}

#define KV_INSTANTIATE(...) KV_POLYLINE_PLANES(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_SPATIAL(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_SPATIAL_MEASURE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
#define KV_INSTANTIATE(...) KV_POLYLINE_XY(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_XY_MEASURE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
