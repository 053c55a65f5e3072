#pragma once

#include "platform/Export.h"

#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

/// An element of a set named by its index, made on demand. Borrows the set.
template <class Set>
struct KVSHAPES_EXPORT SetIndexElement
{
  const Set* set;
  std::uint32_t index;
};

} // namespace Kavrel::BoundingVolumeHierarchy
