#pragma once

#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"

#include <string>
#include <utility>

namespace Kavrel {

/// Base of objects that carry a name, in memory and in the archive. The name is free text, empty at first.
class KVSHAPES_EXPORT NameInterface
{
public:
  NameInterface() = default;
  explicit NameInterface(std::string text) : name(std::move(text)) {}
  virtual ~NameInterface();

  const std::string& getName() const { return name; }
  void setName(std::string text) { name = std::move(text); }

protected:
  NameInterface(const NameInterface&) = default;
  NameInterface(NameInterface&&) = default;
  NameInterface& operator=(const NameInterface&) = default;
  NameInterface& operator=(NameInterface&&) = default;

private:
  std::string name;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel
