#include "platform/kvident/TigerHash.h"

#include "platform/kverror/KvException.h"

#include <array>

#include <rhash.h>

namespace Kavrel {

namespace {

constexpr std::size_t digestLength = 24;

void initialiseLibrary() { [[maybe_unused]] static const bool done = (rhash_library_init(), true); }

} // namespace

std::string TigerHash::tHash(std::string_view text)
{
  initialiseLibrary();
  std::array<unsigned char, digestLength> digest{};
  if (rhash_msg(RHASH_TIGER, text.data(), text.size(), digest.data()) < 0)
    throw KvException("TigerHash: the digest can't be computed.");
  constexpr std::string_view digits = "0123456789abcdef";
  std::string result;
  result.reserve(2 * digestLength);
  for (const unsigned char byte : digest) {
    result += digits[byte >> 4];
    result += digits[byte & 15];
  }
  return result;
}

} // namespace Kavrel
