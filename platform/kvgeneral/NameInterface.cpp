#include "platform/kvgeneral/NameInterface.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_CLASS(NameInterface, "NameInterface", 1)

NameInterface::~NameInterface() = default;

void NameInterface::save(PersistenceArchiver& archiver, unsigned int /*version*/) const { archiver << name; }

void NameInterface::load(PersistenceArchiver& archiver, unsigned int /*version*/) { archiver >> name; }

} // namespace Kavrel
