#pragma once

#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"

#include <compare>
#include <cstdint>
#include <functional>

namespace Kavrel {

/// A globally unique identifier of 128 bits.
class KVSHAPES_EXPORT GUIdentifier
{
public:
  /// A fresh random identifier, drawn from an engine of the calling thread that the system has seeded. Never invalid.
  GUIdentifier();

  constexpr GUIdentifier(std::uint64_t highBits, std::uint64_t lowBits) noexcept : high(highBits), low(lowBits) {}

  /// The identifier that names nothing: all bits zero.
  static constexpr GUIdentifier getInvalidId() noexcept { return {0, 0}; }

  constexpr bool isValid() const noexcept { return (high | low) != 0; }
  constexpr std::uint64_t getHigh() const noexcept { return high; }
  constexpr std::uint64_t getLow() const noexcept { return low; }

  friend constexpr auto operator<=>(const GUIdentifier&, const GUIdentifier&) noexcept = default;

private:
  std::uint64_t high;
  std::uint64_t low;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel

template <>
struct std::hash<Kavrel::GUIdentifier>
{
  std::size_t operator()(const Kavrel::GUIdentifier& id) const noexcept
  {
    return static_cast<std::size_t>(id.getHigh() ^ (id.getLow() * 0x9e3779b97f4a7c15u));
  }
};
