#include "geometry/Point.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/StraightLine.h"
#include "platform/kvarchive/Persistence.h"

#include <ostream>

namespace Kavrel {

template <class T, unsigned dim>
Point<T, dim>& Point<T, dim>::mirror(const Plane<T, dim>& plane)
{
  const Vector<T, dim>& n = plane.getNormal();
  return *this += n * (T(2) * (plane.getDistance() - n.dot(*this)));
}

template <class T, unsigned dim>
Point<T, dim>& Point<T, dim>::mirror(const StraightLine<T, dim>& line)
{
  const Vector<T, dim> direction = line.getStartTangent();
  const Point start = line.getStart();
  const T u = (*this - start).dot(direction) / direction.sqrLength();
  const Vector<T, dim> foot = start + direction * u;
  return *this = foot * T(2) - *this;
}

template <class T, unsigned dim>
const Point<T, dim>& Point<T, dim>::getZeroPoint()
{
  static constexpr Point zero;
  return zero;
}

template <class T, unsigned dim>
void Point<T, dim>::dump(std::ostream& out) const
{
  out << static_cast<const Vector<T, dim>&>(*this);
}

template <class T, unsigned dim>
void Point<T, dim>::save(PersistenceArchiver& archiver, unsigned int) const
{
  PersistenceAccess::save<Vector<T, dim>>(archiver, *this, 0);
}

template <class T, unsigned dim>
void Point<T, dim>::load(PersistenceArchiver& archiver, unsigned int)
{
  PersistenceAccess::load<Vector<T, dim>>(archiver, *this, 0);
}

KVSHAPES_PERSISTENT_KEY("Point2f", 500001, Point<float, 2>)
KVSHAPES_PERSISTENT_KEY("Point3f", 500001, Point<float, 3>)
KVSHAPES_PERSISTENT_KEY("Point2", 53013, Point<double, 2>)
KVSHAPES_PERSISTENT_KEY("Point3", 53013, Point<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Point<T, dim>))

#define KV_INSTANTIATE(...) template class Point<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
