#pragma once

#include "platform/kvfile/FileName.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace Kavrel::Testing {

/// A file with the given bytes that goes away with this object.
class TextFile
{
public:
  explicit TextFile(const std::string& bytes)
      : path(std::filesystem::temp_directory_path() /
             ("kvshapes-test-" + std::to_string(::getpid()) + "-" + std::to_string(count++) + ".txt"))
  {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;
  ~TextFile() { std::filesystem::remove(path); }

  FileName getName() const { return FileName(path); }

private:
  static inline int count = 0;
  std::filesystem::path path;
};

} // namespace Kavrel::Testing
