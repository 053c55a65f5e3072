#pragma once

#include "platform/Export.h"

#include <string>
#include <utility>

namespace Kavrel {

class PersistenceArchiver;

/// Base of objects that carry a name, in memory and in the archive. The name is free text, empty at first.
class KVSHAPES_EXPORT NameInterface
{
public:
  NameInterface() = default;
  explicit NameInterface(std::string text) : name(std::move(text)) {}
  virtual ~NameInterface();

  const std::string& getName() const { return name; }
  void setName(std::string text) { name = std::move(text); }

  /// Fills an archive record with this class's entry.
  static void serialization_register(void* record);

protected:
  NameInterface(const NameInterface&) = default;
  NameInterface(NameInterface&&) = default;
  NameInterface& operator=(const NameInterface&) = default;
  NameInterface& operator=(NameInterface&&) = default;

private:
  std::string name;
};

} // namespace Kavrel
