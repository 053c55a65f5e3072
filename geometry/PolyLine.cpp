#include "geometry/PolyLine.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/DoublePrecision.h"
#include "geometry/Plane.h"
#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineDump.h"
#include "geometry/PolyLinePlaces.h"
#include "geometry/ShapecoreException.h"
#include "geometry/StraightLine.h"
#include "platform/kvarchive/Persistence.h"
#include "platform/kvident/TigerHash.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportPolyLinePoint2f", 500001, PolyLine<Point<float, 2>>)
KVSHAPES_PERSISTENT_KEY("BoostExportPolyLinePoint3f", 500001, PolyLine<Point<float, 3>>)
KVSHAPES_PERSISTENT_KEY("BoostExportPolyLinePoint2", 53013, PolyLine<Point<double, 2>>)
KVSHAPES_PERSISTENT_KEY("BoostExportPolyLinePoint3", 53013, PolyLine<Point<double, 3>>)
KVSHAPES_PERSISTENT_KEY("BoostExportPolyLinePoint3N", 53013, PolyLine<Point3N>)
KVSHAPES_PERSISTENT_KEY("BoostExportPolyLinePoint3NT", 53013, PolyLine<Point3NT>)
KVSHAPES_PERSISTENT_KEY("BoostExportPolyLineProjectionPoint", 53013, PolyLine<ProjectionPoint>)
KVSHAPES_PERSISTENT_KEY("BoostExportPolyLineConstraintPoint", 53013, PolyLine<ConstraintPoint>)
KVSHAPES_PERSISTENT_TEMPLATE((class PointType), (PolyLine<PointType>))

namespace {

constexpr double shortestTotal = 1e-12;     // a total length at or below: parameters stay lengths
constexpr double shortestBlended = 1e-12;   // a segment strictly below: evaluation gives its start
constexpr double shortestParameter = 1e-12; // a parameter width at or below isn't divided by
constexpr double sqrOnBoundary = 1e-12;     // of hasPointInside, strictly below
constexpr double leastWinding = 0.1;        // radians, strictly above: inside
constexpr double angleEps = 0.0001;

template <class P>
double segmentLength(const PolyLine<P>& polyline, std::size_t segment)
{
  return static_cast<double>(polyline.getSegment(segment).length());
}

/// A segment with the parameters of its ends.
struct ParameterRange
{
  std::size_t segment;
  double from;
  double to;
};

/// Walks along the segments until `isLast(segment, parameter of its end)`. Same sums and divisions as in
/// getPointParameters(), without the vector.
template <class P, class IsLast>
ParameterRange walkParameters(const PolyLine<P>& polyline, IsLast isLast)
{
  const std::size_t segments = polyline.numberOfSegments();
  const double total = polyline.getTotalLength();
  const double unit = total > shortestTotal ? total : 1.0;
  ParameterRange range{0, 0.0, 0.0};
  double length = 0.0;
  for (std::size_t i = 0; i < segments; ++i) {
    length += segmentLength(polyline, i);
    range = {i, range.to, i + 1 == polyline.numberOfPoints() ? 1.0 : length / unit};
    if (i + 1 == segments || isLast(i, range.to)) break;
  }
  return range;
}

template <class P>
ParameterRange rangeAtParam(const PolyLine<P>& polyline, double t)
{
  return walkParameters(polyline, [t](std::size_t, double to) { return to > t; });
}

template <class P>
ParameterRange rangeAtParam(const PolyLine<P>& polyline, double t, const std::vector<double>& parameters)
{
  std::size_t low = 0;
  std::size_t high = polyline.numberOfSegments();
  while (high - low > 1) {
    const std::size_t middle = (low + high) / 2;
    (parameters[middle] > t ? high : low) = middle;
  }
  return {low, parameters[low], parameters[high]};
}

template <class T, unsigned dim>
Vector<double, 2> planar(const Vector<T, dim>& v)
{
  return {static_cast<double>(v[0]), static_cast<double>(v[1])};
}

/// Whether the origin lies on the segment from a to b, to within the fixed limit.
bool isOriginOn(const Vector<double, 2>& a, const Vector<double, 2>& b)
{
  const Vector<double, 2> way = b - a;
  const double sqrLength = way.sqrLength();
  const double t = sqrLength > 0.0 ? -a.dot(way) / sqrLength : 0.0;
  return t >= 0.0 && t <= 1.0 && (a + way * t).sqrLength() < sqrOnBoundary;
}

/// The direction of a segment with the length of another vector, or that vector where the segment has no direction.
template <class P, class Direction>
Direction scaledDirection(const PolyLine<P>& polyline, std::size_t segment, const Direction& scale)
{
  const auto view = polyline.getSegment(segment);
  Direction direction = *view.getEnd() - *view.getStart();
  return direction.normalize() ? direction * scale.length() : scale;
}

/// Appends a range of the source, which may be the target itself. Many small appends cost linear time together.
template <class P>
void append(std::vector<P>& target, const std::vector<P>& source, std::size_t first, std::size_t last)
{
  if (first >= last) return;
  const std::size_t needed = target.size() + last - first;
  if (needed > target.capacity()) target.reserve(std::max(needed, 2 * target.capacity()));
  for (std::size_t i = first; i < last; ++i)
    target.push_back(source[i]);
}

} // namespace

// Construction --------------------------------------------------------------------------------------------------------

template <class PointType>
PolyLine<PointType>::PolyLine(double chordTolerance) : CurveBase(static_cast<Scalar>(chordTolerance))
{}

template <class PointType>
PolyLine<PointType>::PolyLine(std::size_t capacity, double chordTolerance)
    : CurveBase(static_cast<Scalar>(chordTolerance))
{
  points.reserve(capacity);
}

template <class PointType>
PolyLine<PointType>::PolyLine(const std::vector<PointType>& vertices, double chordTolerance)
    : CurveBase(static_cast<Scalar>(chordTolerance)), points(vertices)
{}

template <class PointType>
PolyLine<PointType>::PolyLine(PolyLine&& other) noexcept
    : CurveBase(std::move(other)), points(std::exchange(other.points, {})), closed(std::exchange(other.closed, false)),
      hash(std::exchange(other.hash, {}))
{}

template <class PointType>
PolyLine<PointType>& PolyLine<PointType>::operator=(PolyLine&& other) noexcept
{
  if (this == &other) return *this;
  CurveBase::operator=(std::move(other));
  points = std::exchange(other.points, {});
  closed = std::exchange(other.closed, false);
  hash = std::exchange(other.hash, {});
  return *this;
}

template <class PointType>
PolyLine<PointType>::~PolyLine() = default;

template <class PointType>
void PolyLine<PointType>::copy(const CurveBase& other)
{
  copyPolyLine(dynamic_cast<const PolyLine&>(other));
}

template <class PointType>
void PolyLine<PointType>::copyPolyLine(const PolyLine& other)
{
  this->domain = other.domain;
  this->tolerance = other.tolerance;
  closed = other.closed;
  points = other.points;
}

template <class PointType>
std::shared_ptr<typename PolyLine<PointType>::CurveBase> PolyLine<PointType>::create() const
{
  return std::make_shared<PolyLine>(static_cast<double>(this->tolerance));
}

// Container -----------------------------------------------------------------------------------------------------------

template <class PointType>
void PolyLine<PointType>::addPolyLine(const PolyLine& other, bool withLast, bool withFirst)
{
  const std::size_t first = withFirst ? 0 : 1;
  const std::size_t last = withLast || other.points.empty() ? other.points.size() : other.points.size() - 1;
  append(points, other.points, first, last);
}

template <class PointType>
void PolyLine<PointType>::concatenate(const PolyLine& other)
{
  const std::size_t count = other.points.size();
  std::size_t first = 0;
  if (!points.empty()) {
    const Position joint = points.back();
    const Scalar sqrTolerance = this->tolerance * this->tolerance;
    while (first < count && joint.sqrDistance(other.points[first]) < sqrTolerance)
      ++first;
  }
  append(points, other.points, first, count);
  closed = false;
}

template <class PointType>
void PolyLine<PointType>::deletePoints(std::size_t first, std::size_t last)
{
  if (first >= points.size()) return;
  if (first <= last) {
    points.erase(at(first), at(std::min(last, points.size())));
  } else if (closed) {
    points.erase(at(first), points.end());
    points.erase(points.begin(), at(last));
  }
}

template <class PointType>
void PolyLine<PointType>::deleteEqualPoints(double eps)
{
  if (points.empty()) return;
  const double sqrEps = eps * eps;
  std::size_t kept = 1;
  for (std::size_t i = 1; i < points.size(); ++i)
    if (static_cast<double>(points[i].sqrDistance(points[kept - 1])) >= sqrEps) points[kept++] = points[i];
  if (closed && kept > 1 && static_cast<double>(points[kept - 1].sqrDistance(points[0])) < sqrEps) --kept;
  points.erase(at(kept), points.end());
}

template <class PointType>
void PolyLine<PointType>::clear()
{
  points.clear();
  closed = false;
}

template <class PointType>
void PolyLine<PointType>::adjustClosedness(double eps)
{
  closed = points.size() >= 3 && static_cast<double>(points.back().distance(points.front())) < eps;
  if (closed) points.pop_back();
}

// Curve ---------------------------------------------------------------------------------------------------------------

template <class PointType>
typename PolyLine<PointType>::Position PolyLine<PointType>::evaluate(const double& t) const
{
  return evaluateWithAttributes(t);
}

template <class PointType>
PointType PolyLine<PointType>::evaluateWithAttributes(double t) const
{
  if (points.empty()) return PointType();
  if (points.size() == 1) return points.front();
  if (t < this->domain.lower) return points.front();
  if (t > this->domain.upper) return closed ? points.front() : points.back();
  const double target = getTotalLength() * t;
  const std::size_t segments = numberOfSegments();
  double passed = 0.0;
  for (std::size_t i = 0; i < segments; ++i) {
    const double length = segmentLength(*this, i);
    if (length + passed >= target) {
      if (length < shortestBlended) return points[i];
      return getSegment(i).getPoint(length + passed > target ? (target - passed) / length : 1.0);
    }
    passed += length;
  }
  return points[wrapped(segments)];
}

template <class PointType>
bool PolyLine<PointType>::evaluateParameterPointAndSegment(double t, PointType& point, std::size_t& segment) const
{
  if (points.empty()) return false;
  segment = 0;
  if (points.size() == 1) {
    point = points.front();
    return true;
  }
  const double target = getTotalLength() * std::clamp(t, 0.0, 1.0);
  const std::size_t segments = numberOfSegments();
  double passed = 0.0;
  double length = segmentLength(*this, 0);
  while (segment < segments && target > length + passed) {
    passed += length;
    ++segment;
    length = segment < segments ? segmentLength(*this, segment) : 0.0;
  }
  point = PolyLinePlaces::pointAtLength(points[wrapped(segment)], points[wrapped(segment + 1)], passed, length, target);
  return true;
}

template <class PointType>
typename PolyLine<PointType>::Direction PolyLine<PointType>::evaluateDerivation(const double& t) const
{
  if (points.size() < 2)
    throw ShapecoreException("PolyLine<PointType>::evaluateDerivation: PolyLine with 0 or 1 points (has no segments)");
  PointType point;
  std::size_t segment = 0;
  evaluateParameterPointAndSegment(t, point, segment);
  return getSegmentDerivation(segment);
}

template <class PointType>
typename PolyLine<PointType>::Direction PolyLine<PointType>::getSegmentDerivation(std::size_t index) const
{
  if (!closed && index + 1 >= points.size() && index > 0) --index;
  Direction direction;
  if (!points.empty()) direction = points[wrapped(index + 1)] - points[index];
  if (!direction.normalize())
    throw ShapecoreException("PolyLine<PointType>::getSegmentDerivation: Failed to normalize direction vector");
  return direction;
}

template <class PointType>
void PolyLine<PointType>::getPointParameters(std::vector<double>* out) const
{
  if (!out || points.empty()) return;
  std::vector<double>& parameters = *out;
  const std::size_t count = points.size();
  parameters.resize(numberOfParameters());
  parameters[0] = 0.0;
  for (std::size_t i = 1; i < count; ++i)
    parameters[i] = parameters[i - 1] + segmentLength(*this, i - 1);
  double total = parameters[count - 1];
  if (closed) {
    total += segmentLength(*this, count - 1);
    parameters[count] = 1.0;
  }
  if (total > shortestTotal)
    for (std::size_t i = 1; i < count; ++i)
      parameters[i] /= total;
}

template <class PointType>
PointType PolyLine<PointType>::getPointAtParam(double t, const std::vector<double>* parameters) const
{
  if (points.empty()) return PointType();
  const ParameterRange range = parameters ? rangeAtParam(*this, t, *parameters) : rangeAtParam(*this, t);
  const double width = range.to - range.from;
  const double u = width > shortestParameter ? std::clamp((t - range.from) / width, 0.0, 1.0) : 0.0;
  const std::size_t next = std::min(range.segment + 1, numberOfSegments());
  return PointType(points[range.segment].linearInterpolation(static_cast<Scalar>(u), points[wrapped(next)]));
}

template <class PointType>
double PolyLine<PointType>::calculateParameter(const Position& p, double& distance,
                                               std::vector<double>* parameters) const
{
  if (points.empty()) return 0.0;
  if (points.size() == 1) {
    distance = static_cast<double>(p.distance(points.front()));
    return 0.0;
  }
  double u = 0.0;
  std::size_t segment = 0;
  distance = static_cast<double>(std::sqrt(sqrDist(p, u, segment)));
  if (!parameters) {
    const auto range = walkParameters(*this, [segment](std::size_t i, double) { return i == segment; });
    return (1.0 - u) * range.from + u * range.to;
  }
  if (parameters->size() != numberOfParameters()) getPointParameters(parameters);
  return (1.0 - u) * (*parameters)[segment] + u * (*parameters)[segment + 1];
}

template <class PointType>
double PolyLine<PointType>::calculateParameter(const Position& p, std::vector<double>* parameters) const
{
  double distance = 0.0;
  return calculateParameter(p, distance, parameters);
}

template <class PointType>
typename PolyLine<PointType>::Position PolyLine<PointType>::getStart() const
{
  if (!points.empty() && this->domain.lower == 0.0) return points.front();
  return evaluate(this->domain.lower);
}

template <class PointType>
typename PolyLine<PointType>::Position PolyLine<PointType>::getEnd() const
{
  if (!points.empty() && this->domain.upper == 1.0) return points.back();
  return evaluate(this->domain.upper);
}

template <class PointType>
typename PolyLine<PointType>::Direction PolyLine<PointType>::getStartTangent() const
{
  const Direction general = CurveBase::getStartTangent();
  if (points.size() < 2 || this->domain.lower != 0.0) return general;
  return scaledDirection(*this, 0, general);
}

template <class PointType>
typename PolyLine<PointType>::Direction PolyLine<PointType>::getEndTangent() const
{
  const Direction general = CurveBase::getEndTangent();
  if (points.size() < 2 || this->domain.upper != 1.0) return general;
  return scaledDirection(*this, numberOfSegments() - 1, general);
}

template <class PointType>
double PolyLine<PointType>::getTotalLength() const
{
  double sum = 0.0;
  for (std::size_t i = 0, segments = numberOfSegments(); i < segments; ++i)
    sum += segmentLength(*this, i);
  return sum;
}

template <class PointType>
typename PolyLine<PointType>::Scalar PolyLine<PointType>::getLength() const
{
  return static_cast<Scalar>(getTotalLength() * (this->domain.upper - this->domain.lower));
}

template <class PointType>
double PolyLine<PointType>::getPolyLength(std::size_t index, bool fromStart) const
{
  double sum = 0.0;
  for (std::size_t i = 0; i < index; ++i)
    sum += segmentLength(*this, i);
  return fromStart ? sum : getTotalLength() - sum;
}

template <class PointType>
void PolyLine<PointType>::calcPolyLine(PolyLine<Position>& out) const
{
  if (static_cast<const CurveBase*>(&out) == this) return;
  out.clearPoints();
  out.setDomain(this->domain);
  out.setTolerance(this->tolerance);
  out.setClosed(closed);
  out.getPointCollection().assign(points.begin(), points.end());
}

template <class PointType>
BoundingBox<typename PolyLine<PointType>::Scalar, PolyLine<PointType>::Dim>
PolyLine<PointType>::calculateBoundingBox() const
{
  BoundingBox<Scalar, Dim> box;
  for (const PointType& point : points)
    box.enlarge(point);
  return box;
}

template <class PointType>
BoundingBox<typename PolyLine<PointType>::Scalar, PolyLine<PointType>::Dim>
PolyLine<PointType>::calculateBoundingBox(const CoordinateSystem<Scalar, Dim>& system) const
{
  if (system.isIdentity()) return calculateBoundingBox();
  BoundingBox<Scalar, Dim> box;
  for (const PointType& point : points)
    box.enlarge(Position(point).transform(system));
  return box;
}

template <class PointType>
void PolyLine<PointType>::reverse()
{
  std::reverse(points.begin() + (closed && !points.empty() ? 1 : 0), points.end());
}

template <class PointType>
void PolyLine<PointType>::transform(const CoordinateSystem<Scalar, Dim>& system)
{
  if (system.isIdentity()) return;
  for (PointType& point : points)
    point.transform(system);
}

template <class PointType>
std::shared_ptr<PolyLine<PointType>>
PolyLine<PointType>::transformCopy(const CoordinateSystem<Scalar, Dim>& system) const
{
  auto image = std::make_shared<PolyLine>();
  image->copyPolyLine(*this);
  image->transform(system);
  return image;
}

template <class PointType>
std::shared_ptr<typename PolyLine<PointType>::CurveBase>
PolyLine<PointType>::mirror(const Plane<Scalar, Dim>& plane) const
{
  auto image = std::make_shared<PolyLine>();
  image->copyPolyLine(*this);
  image->mirrorPolyLine(plane);
  return image;
}

template <class PointType>
std::shared_ptr<PolyLine<PointType>> PolyLine<PointType>::mirror(const StraightLine<Scalar, Dim>& line) const
{
  auto image = std::make_shared<PolyLine>();
  image->copyPolyLine(*this);
  image->mirrorPolyLine(line);
  return image;
}

template <class PointType>
PolyLine<PointType>& PolyLine<PointType>::mirrorPolyLine(const Plane<Scalar, Dim>& plane)
{
  for (PointType& point : points)
    point.mirror(plane);
  return *this;
}

template <class PointType>
PolyLine<PointType>& PolyLine<PointType>::mirrorPolyLine(const StraightLine<Scalar, Dim>& line)
{
  for (PointType& point : points)
    point.mirror(line);
  return *this;
}

template <class PointType>
void PolyLine<PointType>::setSymmetricalEnd(bool atStart, const Plane<Scalar, Dim>& plane)
{
  if (points.empty()) return;
  Position image = atStart ? getEnd() : getStart();
  image.mirror(plane);
  (atStart ? points.front() : points.back()) = PointType(image);
}

// Measures and predicates ---------------------------------------------------------------------------------------------

template <class PointType>
typename PolyLine<PointType>::Scalar PolyLine<PointType>::sqrDist(const Position& p) const
{
  double u = 0.0;
  std::size_t segment = 0;
  return sqrDist(p, u, segment);
}

template <class PointType>
typename PolyLine<PointType>::Scalar PolyLine<PointType>::dist(const Position& p) const
{
  return std::sqrt(sqrDist(p));
}

template <class PointType>
typename PolyLine<PointType>::Scalar PolyLine<PointType>::sqrDist(const Position& p, double& u,
                                                                  std::size_t& segment) const
{
  return PolyLineAlgorithm::sqrDist(*this, p, u, segment);
}

template <class PointType>
typename PolyLine<PointType>::Scalar PolyLine<PointType>::dist(const Position& p, double& u, std::size_t& segment) const
{
  return std::sqrt(sqrDist(p, u, segment));
}

template <class PointType>
typename PolyLine<PointType>::Scalar PolyLine<PointType>::maxDist(const Position& p) const
{
  Scalar most = Scalar(0);
  for (const PointType& point : points)
    most = std::max(most, p.sqrDistance(point));
  return std::sqrt(most);
}

template <class PointType>
bool PolyLine<PointType>::isPointOn(const PointType& p, double eps) const
{
  return eps * eps >= static_cast<double>(sqrDist(p));
}

template <class PointType>
bool PolyLine<PointType>::isCollinear(double tol) const
{
  if (closed) return false;
  if (points.size() < 3) return true;
  return std::all_of(points.begin() + 1, points.end() - 1, [this, tol](const PointType& point) {
    return point.isCollinear(points.front(), points.back(), tol);
  });
}

template <class PointType>
bool PolyLine<PointType>::isApproximatelyEqualTo(const PolyLine& other, double eps) const
{
  const auto agree = [eps](const PointType& a, const PointType& b) { return a.isApproximatelyEqualTo(b, eps); };
  return std::equal(points.begin(), points.end(), other.points.begin(), other.points.end(), agree);
}

template <class PointType>
bool PolyLine<PointType>::isCompletelyEqual(const PolyLine& other, double eps) const
{
  const auto agree = [eps](const Direction& a, const Direction& b) { return a.isApproximatelyEqualTo(b, eps); };
  return closed == other.closed &&
         std::equal(points.begin(), points.end(), other.points.begin(), other.points.end(), agree);
}

template <class PointType>
Side PolyLine<PointType>::getSide(const Plane<Scalar, Dim>& plane, const double& eps, bool& touches) const
{
  touches = false;
  if (points.empty()) return static_cast<Side>(0);
  Side running = Side::On;
  for (const PointType& point : points) {
    const Side side = plane.getSideOfPoint(point, eps);
    if (side == Side::On)
      touches = true;
    else if (running != Side::On && side != running)
      return Side::Both;
    else
      running = side;
  }
  return running;
}

template <class PointType>
double PolyLine<PointType>::getXYAreaWithSign() const
{
  if (!closed || points.size() < 3) return 0.0;
  double sum = 0.0;
  Vector<double, 2> a = planar(points.front());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Vector<double, 2> b = planar(points[wrapped(i + 1)]);
    sum += a.cross(b);
    a = b;
  }
  return sum * 0.5;
}

template <class PointType>
double PolyLine<PointType>::getXYArea() const
{
  return std::abs(getXYAreaWithSign());
}

template <class PointType>
bool PolyLine<PointType>::hasPointInside(const Point<double, 2>& p, bool onBoundary, double sqrTol) const
{
  if (!closed || points.empty()) return false;
  double winding = 0.0;
  Vector<double, 2> a = planar(points.front()) - p;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Vector<double, 2> b = planar(points[wrapped(i + 1)]) - p;
    if (a.sqrLength() < sqrTol || b.sqrLength() < sqrTol) return onBoundary;
    const double doubledArea = a.cross(b);
    if (std::abs(doubledArea) < sqrTol && isOriginOn(a, b)) return onBoundary;
    const double angle = a.angle(b, angleEps);
    winding += doubledArea < 0.0 ? -angle : angle;
    a = b;
  }
  return std::abs(winding) > leastWinding;
}

template <class PointType>
bool PolyLine<PointType>::hasPointInside(double x, double y, bool onBoundary, double sqrTol) const
{
  return hasPointInside(Point<double, 2>(x, y), onBoundary, sqrTol);
}

template <class PointType>
typename PolyLine<PointType>::Position PolyLine<PointType>::calculateCenterOfGravity() const
{
  Direction sum;
  Scalar weight = Scalar(0);
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Position& a = points[i];
    const Position& b = points[wrapped(i + 1)];
    const Scalar length = a.distance(b);
    sum += (a + b) * (Scalar(0.5) * length);
    weight += length;
  }
  return weight > Scalar(0) ? Position(sum / weight) : Position(sum);
}

template <class PointType>
const std::string& PolyLine<PointType>::getHash() const
{
  if (!hash.empty()) return hash;
  Vector<double, 3> positions;
  Vector<double, 3> normals;
  double weight = 0.1;
  for (const PointType& point : points) {
    positions += spatial(point) * weight;
    if constexpr (TypeHasNormal) normals += point.getNormal();
    weight += 0.1;
  }
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << positions << normals << getTotalLength();
  hash = TigerHash::tHash(text.view());
  return hash;
}

template <class PointType>
void PolyLine<PointType>::dump(std::ostream& out, PolyNormalDumpMode mode, bool fullPrecision, bool scientific) const
{
  PolyLineDump::toStream(*this, out, mode, fullPrecision, scientific);
}

template <class PointType>
void PolyLine<PointType>::dump(const std::string& name, int number, bool append, PolyNormalDumpMode mode) const
{
  PolyLineDump::toFile(*this, name, number, append, mode);
}

template <class PointType>
void PolyLine<PointType>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<CurveBase>(archiver, *this);
  Persistence::saveContainer(archiver, points);
  archiver << closed;
}

template <class PointType>
void PolyLine<PointType>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<CurveBase>(archiver, *this);
  Persistence::loadContainer(archiver, points);
  archiver >> closed;
}

#define KV_INSTANTIATE(...) template class PolyLine<__VA_ARGS__>;
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
