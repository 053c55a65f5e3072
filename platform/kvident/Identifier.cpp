#include "platform/kvident/Identifier.h"

#include <atomic>

namespace Kavrel {

namespace {

std::uint64_t nextValue()
{
  static std::atomic<std::uint64_t> last{0};
  return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace

Identifier::Identifier() : value(nextValue()) {}

} // namespace Kavrel
