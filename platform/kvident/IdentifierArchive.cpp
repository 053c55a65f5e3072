#include "platform/kvarchive/Persistence.h"
#include "platform/kvident/GUIdentifier.h"
#include "platform/kvident/Identifier.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_CLASS(Identifier, "Identifier", 1)
KVSHAPES_PERSISTENT_CLASS(GUIdentifier, "GUIdentifier", 1)

void Identifier::save(PersistenceArchiver& archiver, unsigned /*version*/) const
{
  archiver << static_cast<unsigned long long>(value);
}

void Identifier::load(PersistenceArchiver& archiver, unsigned /*version*/)
{
  unsigned long long stored;
  archiver >> stored;
  value = stored;
}

void GUIdentifier::save(PersistenceArchiver& archiver, unsigned /*version*/) const
{
  archiver << static_cast<unsigned long long>(high) << static_cast<unsigned long long>(low);
}

void GUIdentifier::load(PersistenceArchiver& archiver, unsigned /*version*/)
{
  unsigned long long first, second;
  archiver >> first >> second;
  high = first;
  low = second;
}

} // namespace Kavrel
