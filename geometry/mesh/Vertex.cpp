#include "geometry/mesh/Vertex.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_CLASS(Vertex, "Vertex", 53013)

void Vertex::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveObject<Point3N>(archiver, *this);
  archiver << index;
}

void Vertex::load(PersistenceArchiver& archiver, unsigned int)
{
  Persistence::loadObject<Point3N>(archiver, *this);
  archiver >> index;
}

} // namespace Kavrel
