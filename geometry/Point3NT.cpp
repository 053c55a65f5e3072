#include "geometry/Point3NT.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/StraightLine.h"
#include "platform/kvarchive/Persistence.h"

#include <ostream>

namespace Kavrel {

Point3NT& Point3NT::mirror(const Plane<double, 3>& plane)
{
  Point3N::mirror(plane);
  if (tangentPresent) plane.mirrorVector(tangent);
  return *this;
}

Point3NT& Point3NT::mirror(const StraightLine<double, 3>& line)
{
  Point3N::mirror(line);
  if (tangentPresent) line.mirrorVector(tangent);
  return *this;
}

Point3NT& Point3NT::transform(const CoordinateSystem<double, 3>& system)
{
  Point3N::transform(system);
  if (tangentPresent) system.transformVector(tangent);
  return *this;
}

void Point3NT::dump(std::ostream& out) const
{
  Point::dump(out);
  out << " T: " << tangent;
}

void Point3NT::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveParent<Point3N>(archiver, *this);
  archiver << tangentPresent;
  Persistence::saveObject(archiver, tangent);
}

void Point3NT::load(PersistenceArchiver& archiver, unsigned int)
{
  Persistence::loadParent<Point3N>(archiver, *this);
  archiver >> tangentPresent;
  Persistence::loadObject(archiver, tangent);
}

KVSHAPES_PERSISTENT_CLASS(Point3NT, "Point3NT", 53013)

} // namespace Kavrel
