#include "platform/kvarchive/Caster.h"

namespace Kavrel {

Caster::~Caster() = default;

} // namespace Kavrel
