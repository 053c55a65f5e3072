#include "platform/kvmath/Interval.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_CLASS(Interval, "Interval", 1)

void Interval::save(PersistenceArchiver& archiver, unsigned /*version*/) const
{
  archiver << lower << upper << firstFlag << secondFlag;
}

void Interval::load(PersistenceArchiver& archiver, unsigned /*version*/)
{
  archiver >> lower >> upper >> firstFlag >> secondFlag;
}

} // namespace Kavrel
