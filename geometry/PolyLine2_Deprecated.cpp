#include "geometry/PolyLine2_Deprecated.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_CLASS(PolyLine2_Deprecated, "PolyLine2", 53013)

PolyLine2_Deprecated::~PolyLine2_Deprecated() = default;

void PolyLine2_Deprecated::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<PolyLine<Point<double, 2>>>(archiver, *this);
}

void PolyLine2_Deprecated::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<PolyLine<Point<double, 2>>>(archiver, *this);
}

} // namespace Kavrel
