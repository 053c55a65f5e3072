#include "platform/kvarchive/PointerMapContainer.h"

namespace Kavrel {

MapContainer::~MapContainer() = default;

} // namespace Kavrel
