#pragma once

#include "platform/Export.h"

#include <cstdint>
#include <functional>

namespace Kavrel {

class PersistenceArchiver;

/// Tells objects of one process apart. A default-constructed identifier is new: no other one in the process has its
/// value.
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

  void save(PersistenceArchiver& archiver, unsigned int version) const;
  /// Takes the stored value as it is: a loaded identifier names the object that was saved.
  void load(PersistenceArchiver& archiver, unsigned int version);
  static void serialization_register(void* record);

private:
  static bool s_force_serialization_registration;

  explicit constexpr Identifier(std::uint64_t id) : value(id) {}

  std::uint64_t value;
};

} // namespace Kavrel

template <>
struct std::hash<Kavrel::Identifier>
{
  std::size_t operator()(Kavrel::Identifier id) const noexcept { return std::hash<std::uint64_t>()(id.getValue()); }
};
