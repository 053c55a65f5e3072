#include "geometry/Point3N.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/StraightLine.h"
#include "platform/kvarchive/Persistence.h"

#include <ostream>

namespace Kavrel {

Point3N& Point3N::mirror(const Plane<double, 3>& plane)
{
  Point::mirror(plane);
  mirrorNormal(plane);
  return *this;
}

Point3N& Point3N::mirror(const StraightLine<double, 3>& line)
{
  Point::mirror(line);
  if (normalPresent) line.mirrorVector(normal);
  return *this;
}

void Point3N::mirrorNormal(const Plane<double, 3>& plane)
{
  if (normalPresent) plane.mirrorVector(normal);
}

void Point3N::projectNormalToPlane(const Plane<double, 3>& plane)
{
  if (normalPresent) setNormal(plane.getProjectedVector(normal));
}

Point3N& Point3N::transform(const CoordinateSystem<double, 3>& system)
{
  Point::transform(system);
  if (normalPresent) system.transformVector(normal);
  return *this;
}

void Point3N::dump(std::ostream& out) const
{
  out << "P: ";
  Point::dump(out);
  out << " N: " << normal;
}

void Point3N::save(PersistenceArchiver& archiver, unsigned int) const
{
  PersistenceAccess::save<Vector<double, 3>>(archiver, *this, 0);
  archiver << normalPresent;
  Persistence::saveObject(archiver, normal);
}

void Point3N::load(PersistenceArchiver& archiver, unsigned int)
{
  PersistenceAccess::load<Vector<double, 3>>(archiver, *this, 0);
  archiver >> normalPresent;
  Persistence::loadObject(archiver, normal);
}

KVSHAPES_PERSISTENT_CLASS(Point3N, "Point3N", 53013)

} // namespace Kavrel
