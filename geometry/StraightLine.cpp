#include "geometry/StraightLine.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/NurbsCurve.h"
#include "geometry/Plane.h"
#include "geometry/ShapecoreException.h"
#include "platform/kvarchive/Persistence.h"

#include <cmath>
#include <limits>

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportStraightLine2f", 500001, StraightLine<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportStraightLine3f", 500001, StraightLine<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportStraightLine2", 53013, StraightLine<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportStraightLine3", 53013, StraightLine<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (StraightLine<T, dim>))

namespace {

constexpr double shortestDirected = 1e-12; // ends at most this far apart don't define a direction

} // namespace

template <class T, unsigned dim>
StraightLine<T, dim>::StraightLine(T chordTolerance) : Curve<T, dim>(chordTolerance)
{}

template <class T, unsigned dim>
StraightLine<T, dim>::StraightLine(const Point<T, dim>& a, const Point<T, dim>& b, T chordTolerance)
    : Curve<T, dim>(chordTolerance)
{
  setStartAndEnd(a, b);
}

template <class T, unsigned dim>
StraightLine<T, dim>::StraightLine(const Point<T, dim>& a, const Vector<T, dim>& d, T chordTolerance)
    : Curve<T, dim>(chordTolerance), start(a), end(a + d), direction(d)
{}

template <class T, unsigned dim>
StraightLine<T, dim>::StraightLine(const NurbsCurve<T, dim>& curve) : Curve<T, dim>(curve.getTolerance())
{
  const std::size_t points = curve.numberOfControlPoints();
  const std::size_t knots = curve.numberOfKnots();
  if (points == 0 || knots < 2) throw ShapecoreException("StraightLine: The NURBS curve has no ends.");
  setStartAndEnd(curve.getControlPoint(0), curve.getControlPoint(points - 1));
  this->setDomain(Interval(curve.getKnot(1), curve.getKnot(knots - 2), false, false).sort());
}

template <class T, unsigned dim>
StraightLine<T, dim>::StraightLine(const StraightLine& other) : Curve<T, dim>(other.tolerance)
{
  copyStraightLine(other);
}

template <class T, unsigned dim>
StraightLine<T, dim>& StraightLine<T, dim>::operator=(const StraightLine& other)
{
  copyStraightLine(other);
  return *this;
}

template <class T, unsigned dim>
StraightLine<T, dim>::~StraightLine() = default;

template <class T, unsigned dim>
void StraightLine<T, dim>::copy(const Curve<T, dim>& other)
{
  copyStraightLine(dynamic_cast<const StraightLine&>(other));
}

template <class T, unsigned dim>
void StraightLine<T, dim>::copyStraightLine(const StraightLine& other)
{
  this->domain = other.domain;
  this->tolerance = other.tolerance;
  start = other.start;
  end = other.end;
  direction = other.direction;
}

template <class T, unsigned dim>
void StraightLine<T, dim>::setStart(const Point<T, dim>& point)
{
  setStartAndEnd(point, end);
}

template <class T, unsigned dim>
void StraightLine<T, dim>::setEnd(const Point<T, dim>& point)
{
  setStartAndEnd(start, point);
}

template <class T, unsigned dim>
void StraightLine<T, dim>::setStartAndEnd(const Point<T, dim>& a, const Point<T, dim>& b)
{
  const Vector<T, dim> way = b - a;
  start = a;
  end = b;
  if (way.length() > T(shortestDirected)) direction = way;
}

template <class T, unsigned dim>
void StraightLine<T, dim>::setTangent(const Vector<T, dim>& tangent)
{
  if (start.sqrDistance(end) <= T(1e-24)) direction = tangent;
}

template <class T, unsigned dim>
Point<T, dim> StraightLine<T, dim>::evaluate(const double& t) const
{
  const double width = this->domain.upper - this->domain.lower;
  return start + (end - start) * static_cast<T>(t / width);
}

template <class T, unsigned dim>
Vector<T, dim> StraightLine<T, dim>::evaluateDerivation(const double& /*t*/) const
{
  return direction;
}

template <class T, unsigned dim>
T StraightLine<T, dim>::getLength() const
{
  return this->getStart().distance(this->getEnd());
}

template <class T, unsigned dim>
BoundingBox<T, dim> StraightLine<T, dim>::calculateBoundingBox() const
{
  return BoundingBox<T, dim>(start, end);
}

template <class T, unsigned dim>
Point<T, dim> StraightLine<T, dim>::project(const Point<T, dim>& p, T* t) const
{
  if (t) *t = T(0);
  const T sqrLength = direction.sqrLength();
  if (static_cast<double>(sqrLength) < std::numeric_limits<double>::min()) return start;
  const T u = (p - start).dot(direction) / sqrLength;
  if (t) *t = u;
  return start + direction * u;
}

template <class T, unsigned dim>
T StraightLine<T, dim>::getDistance(const Point<T, dim>& p) const
{
  return p.distance(project(p, nullptr));
}

template <class T, unsigned dim>
T StraightLine<T, dim>::getSqrDistance(const Point<T, dim>& p) const
{
  return p.sqrDistance(project(p, nullptr));
}

template <class T, unsigned dim>
bool StraightLine<T, dim>::getIntersection(const StraightLine& line, Point<T, dim>& out, double eps) const
{
  if constexpr (dim == 2) {
    Vector<T, 2> d = direction;
    d.normalize(T(1e-12));
    const Vector<T, 2> tangent = line.getStartTangent();
    Vector<T, 2> n(-tangent.y(), tangent.x());
    n.normalize(T(1e-12));
    const T q = d.dot(n);
    if (static_cast<double>(std::abs(q)) <= std::abs(eps)) return false;
    out = start + d * ((line.getStart() - start).dot(n) / q);
    return true;
  } else {
    return false;
  }
}

template <class T, unsigned dim>
void StraightLine<T, dim>::mirrorVector(Vector<T, dim>& v) const
{
  const Vector<T, dim> d = this->getEndTangent();
  const T length = getLength();
  v = d * (T(2) * (v.dot(d) / length / length)) - v;
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> StraightLine<T, dim>::mirror(const Plane<T, dim>& plane) const
{
  auto image = std::make_shared<StraightLine>(*this);
  image->mirrorStraightLine(plane);
  return image;
}

template <class T, unsigned dim>
StraightLine<T, dim>& StraightLine<T, dim>::mirrorStraightLine(const Plane<T, dim>& plane)
{
  start.mirror(plane);
  end.mirror(plane);
  plane.mirrorVector(direction);
  return *this;
}

template <class T, unsigned dim>
void StraightLine<T, dim>::transform(const CoordinateSystem<T, dim>& system)
{
  start.transform(system);
  end.transform(system);
  system.transformVector(direction);
}

template <class T, unsigned dim>
void StraightLine<T, dim>::reverse()
{
  std::swap(start, end);
  direction.negate();
}

template <class T, unsigned dim>
void StraightLine<T, dim>::setSymmetricalEnd(bool atStart, const Plane<T, dim>& plane)
{
  if (atStart)
    this->setStart(plane.getMirroredPoint(this->getEnd()));
  else
    this->setEnd(plane.getMirroredPoint(this->getStart()));
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> StraightLine<T, dim>::create() const
{
  return std::make_shared<StraightLine>();
}

template <class T, unsigned dim>
void StraightLine<T, dim>::refine(PolyLine<Point<T, dim>>& /*polyline*/, int /*index*/, double /*t0*/, double /*t1*/,
                                  int /*depth*/) const
{}

template <class T, unsigned dim>
void StraightLine<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<Curve<T, dim>>(archiver, *this);
  Persistence::saveObject(archiver, start);
  Persistence::saveObject(archiver, end);
  Persistence::saveObject(archiver, direction);
}

template <class T, unsigned dim>
void StraightLine<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<Curve<T, dim>>(archiver, *this);
  Persistence::loadObject(archiver, start);
  Persistence::loadObject(archiver, end);
  Persistence::loadObject(archiver, direction);
}

bool computeClosestPoints(const StraightLine<double, 3>& a, const StraightLine<double, 3>& b, Point<double, 3>& onA,
                          Point<double, 3>& onB)
{
  Vector<double, 3> common = a.getDirection().cross(b.getDirection());
  if (!common.normalize(1e-12)) return false;
  Vector<double, 3> acrossA = common.cross(a.getDirection());
  Vector<double, 3> acrossB = common.cross(b.getDirection());
  if (!acrossA.normalize(1e-12) || !acrossB.normalize(1e-12)) return false;
  const Plane<double, 3> alongA(acrossA, a.getStart());
  const Plane<double, 3> alongB(acrossB, b.getStart());
  return alongA.intersect(b, onB) && alongB.intersect(a, onA);
}

#define KV_INSTANTIATE(...) template class StraightLine<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
