#include "geometry/PolyLine2_Deprecated.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

using PlanarPolyLine = PolyLine<Point<double, 2>>;

KVSHAPES_PERSISTENT_CLASS(PolyLine2_Deprecated, "PolyLine2", 53013)

PolyLine2_Deprecated::~PolyLine2_Deprecated() = default;

// The older format knew no base record of the planar polyline: its fields stand directly in the body.
void PolyLine2_Deprecated::save(PersistenceArchiver& archiver, unsigned int version) const
{
  Persistence::requireParentToSave<PlanarPolyLine, PolyLine2_Deprecated>();
  PersistenceAccess::save<PlanarPolyLine>(archiver, *this, version);
}

void PolyLine2_Deprecated::load(PersistenceArchiver& archiver, unsigned int version)
{
  Persistence::requireParentToLoad<PlanarPolyLine, PolyLine2_Deprecated>();
  PersistenceAccess::load<PlanarPolyLine>(archiver, *this, version);
}

} // namespace Kavrel
