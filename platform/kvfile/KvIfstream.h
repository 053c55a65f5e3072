#pragma once

#include "platform/Export.h"
#include "platform/kvfile/FileName.h"

#include <fstream>

namespace Kavrel {

/// An input file stream that reads numbers the same way on every host: it always has the classic locale.
class KVSHAPES_EXPORT KvIfstream : public std::ifstream
{
public:
  /// A closed stream.
  KvIfstream();

  /// Opens \p name; as with any stream, `is_open` tells whether that worked.
  explicit KvIfstream(const FileName& name, std::ios_base::openmode mode = std::ios_base::in);

  /// Opens \p name for reading. A directory or a missing file leaves the stream closed with its failbit set.
  void open(const FileName& name, std::ios_base::openmode mode = std::ios_base::in);
};

} // namespace Kavrel
