#include "geometry/Plane.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/StraightLine.h"
#include "platform/kvarchive/Persistence.h"

#include <cmath>

namespace Kavrel {

namespace {

constexpr double parallelSlope = 1e-4;   // strictly below: the line runs along the plane
constexpr double parallelSqrSine = 1e-6; // strictly below: the planes are parallel
constexpr double lineTolerance = 0.1;

template <class T>
unsigned axisOfGreatestComponent(const Vector<T, 3>& v)
{
  unsigned axis = 0;
  for (unsigned i = 1; i < 3; ++i)
    if (std::abs(v[i]) > std::abs(v[axis])) axis = i;
  return axis;
}

} // namespace

template <class T, unsigned dim>
bool Plane<T, dim>::isEqual(const Plane& other, double distEps, double angle) const
{
  return std::abs(static_cast<double>(distance) - static_cast<double>(other.distance)) <= distEps &&
         static_cast<double>(normal.dot(other.normal)) >= std::cos(angle);
}

template <class T, unsigned dim>
void Plane<T, dim>::setNormal(const Vector<T, dim>& v)
{
  *this = Plane(v, getPoint());
}

template <class T, unsigned dim>
Plane<T, dim>& Plane<T, dim>::transform(const CoordinateSystem<T, dim>& system)
{
  Point<T, dim> foot = getPoint();
  foot.transform(system);
  system.transformVector(normal);
  distance = normal.dot(foot);
  return *this;
}

template <class T, unsigned dim>
Plane<T, dim> Plane<T, dim>::getTransformed(const CoordinateSystem<T, dim>& system) const
{
  return Plane(*this).transform(system);
}

template <class T, unsigned dim>
Plane<T, dim>& Plane<T, dim>::mirror(const Plane& other)
{
  return *this = Plane(other.getMirroredVector(normal), other.getMirroredPoint(getPoint()));
}

template <class T, unsigned dim>
bool Plane<T, dim>::intersect(const Vector<T, dim>& p, const Vector<T, dim>& v, Point<T, dim>& out, double* t) const
{
  const T c = normal.dot(v);
  if (std::abs(static_cast<double>(c)) < parallelSlope) return false;
  const T u = (normal.dot(getPoint()) - normal.dot(p)) / c;
  if (t) *t = static_cast<double>(u);
  out = p + v * u;
  return true;
}

template <class T, unsigned dim>
bool Plane<T, dim>::intersect(const StraightLine<T, dim>& line, Point<T, dim>& out, double* t) const
{
  return intersect(line.getStart(), line.getDirection(), out, t);
}

template <class T, unsigned dim>
bool Plane<T, dim>::segmentIntersection(const Point<T, dim>& a, const Point<T, dim>& b, Point<T, dim>& out,
                                        double* t) const
{
  return intersect(StraightLine<T, dim>(a, b, T(lineTolerance)), out, t);
}

template <class T, unsigned dim>
bool Plane<T, dim>::intersect([[maybe_unused]] const Plane& other, [[maybe_unused]] StraightLine<T, dim>& out) const
{
  if constexpr (dim == 2) {
    return false;
  } else {
    Vector<T, dim> w = normal.cross(other.normal);
    if (static_cast<double>(w.sqrLength()) < parallelSqrSine) return false;
    w.normalize();
    const unsigned axis = axisOfGreatestComponent(w);
    const unsigned i = (axis + 1) % 3, j = (axis + 2) % 3;
    const T determinant = normal[i] * other.normal[j] - normal[j] * other.normal[i];
    Point<T, dim> p;
    p[i] = (distance * other.normal[j] - normal[j] * other.distance) / determinant;
    p[j] = (normal[i] * other.distance - distance * other.normal[i]) / determinant;
    out.copy(StraightLine<T, dim>(p, w, T(lineTolerance)));
    return true;
  }
}

template <class T, unsigned dim>
void Plane<T, dim>::save(PersistenceArchiver& archiver, unsigned int) const
{
  archiver << distance;
  Persistence::saveObject(archiver, normal);
}

template <class T, unsigned dim>
void Plane<T, dim>::load(PersistenceArchiver& archiver, unsigned int)
{
  archiver >> distance;
  Persistence::loadObject(archiver, normal);
}

KVSHAPES_PERSISTENT_KEY("Plane2f", 500001, Plane<float, 2>)
KVSHAPES_PERSISTENT_KEY("Plane3f", 500001, Plane<float, 3>)
KVSHAPES_PERSISTENT_KEY("Plane2", 53013, Plane<double, 2>)
KVSHAPES_PERSISTENT_KEY("Plane3", 53013, Plane<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Plane<T, dim>))

#define KV_INSTANTIATE(...) template class Plane<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
