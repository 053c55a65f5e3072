#pragma once

#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"

#include <cstdint>
#include <functional>

namespace Kavrel {

/// Tells objects of one process apart. A default-constructed identifier is new: no other one made so in the process has
/// its value. A loaded one names the object that was saved, with the value of the process that saved it.
class KVSHAPES_EXPORT Identifier
{
public:
  Identifier();

  /// The value that belongs to no object.
  static constexpr Identifier getInvalidId() { return Identifier(0); }

  constexpr std::uint64_t getValue() const { return value; }
  constexpr bool isValid() const { return value != 0; }

  friend constexpr bool operator==(Identifier a, Identifier b) { return a.value == b.value; }
  friend constexpr bool operator<(Identifier a, Identifier b) { return a.value < b.value; }

private:
  explicit constexpr Identifier(std::uint64_t id) : value(id) {}

  std::uint64_t value;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel

template <>
struct std::hash<Kavrel::Identifier>
{
  std::size_t operator()(Kavrel::Identifier id) const noexcept { return std::hash<std::uint64_t>()(id.getValue()); }
};
