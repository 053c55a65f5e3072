#pragma once

#include "platform/Export.h"

#include <cstddef>

namespace Kavrel::BoundingVolumeHierarchy {

/// Memory aligned to cache lines. A large block asks for large pages, where the system has them: a search jumps through
/// its arrays, and with small pages it would wait for address translations as well as for data.
/// Raises std::bad_alloc.
KVSHAPES_EXPORT void* allocateLarge(std::size_t bytes);
/// Gives back a block of allocateLarge(), with the same number of bytes; null is allowed.
KVSHAPES_EXPORT void freeLarge(void* block, std::size_t bytes) noexcept;

} // namespace Kavrel::BoundingVolumeHierarchy
