#include "geometry/ProjectionPoint.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

void ProjectionPoint::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveParent<Point3N>(archiver, *this);
  archiver << static_cast<std::int32_t>(logicalPosition);
  Persistence::saveObject(archiver, meshId);
  archiver << triangleIndex << boundaryNumber;
}

void ProjectionPoint::load(PersistenceArchiver& archiver, unsigned int)
{
  Persistence::loadParent<Point3N>(archiver, *this);
  std::int32_t position = 0;
  archiver >> position;
  logicalPosition = static_cast<PointPosition>(position);
  Persistence::loadObject(archiver, meshId);
  archiver >> triangleIndex >> boundaryNumber;
}

KVSHAPES_PERSISTENT_CLASS(ProjectionPoint, "ProjectionPoint", 53013)

} // namespace Kavrel
