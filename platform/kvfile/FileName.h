#pragma once

#include "platform/Export.h"

#include <filesystem>
#include <string>

namespace Kavrel {

/// The name of a file, converted from whatever the caller has at hand.
class KVSHAPES_EXPORT FileName
{
public:
  FileName() = default;
  FileName(const char* name) : path(name != nullptr ? name : "") {}
  FileName(const std::string& name) : path(name) {}
  FileName(std::filesystem::path location) : path(std::move(location)) {}

  const std::filesystem::path& getPath() const { return path; }
  std::string toString() const { return path.string(); }
  bool isEmpty() const { return path.empty(); }

  friend bool operator==(const FileName&, const FileName&) = default;

private:
  std::filesystem::path path;
};

} // namespace Kavrel
