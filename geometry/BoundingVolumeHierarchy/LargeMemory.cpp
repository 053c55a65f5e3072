#include "geometry/BoundingVolumeHierarchy/LargeMemory.h"

#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

constexpr std::size_t lineSize = 64;
constexpr std::size_t largePageSize = std::size_t{2} << 20;
/// Below this, rounding to large pages would waste too much.
constexpr std::size_t largeBlock = std::size_t{2} * largePageSize;

std::align_val_t alignmentOf(std::size_t bytes)
{
  return std::align_val_t(bytes >= largeBlock ? largePageSize : lineSize);
}

} // namespace

void* allocateLarge(std::size_t bytes)
{
  void* const block = ::operator new(bytes, alignmentOf(bytes));
#if defined(__linux__)
  // A mere hint: without large pages everything works the same.
  if (bytes >= largeBlock) madvise(block, bytes, MADV_HUGEPAGE);
#endif
  return block;
}

void freeLarge(void* block, std::size_t bytes) noexcept { ::operator delete(block, alignmentOf(bytes)); }

} // namespace Kavrel::BoundingVolumeHierarchy
