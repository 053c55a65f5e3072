#pragma once

#include "platform/Export.h"

#include <string>
#include <string_view>

namespace Kavrel {

/// The Tiger digest of 192 bits, in its first version (padding byte 0x01).
class KVSHAPES_EXPORT TigerHash
{
public:
  /// Digest of the bytes of \p text as 48 lower-case hexadecimal digits, first byte first.
  static std::string tHash(std::string_view text);
};

} // namespace Kavrel
