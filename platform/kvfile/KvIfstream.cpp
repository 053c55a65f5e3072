#include "platform/kvfile/KvIfstream.h"

#include <locale>
#include <system_error>

namespace Kavrel {

KvIfstream::KvIfstream() { imbue(std::locale::classic()); }

KvIfstream::KvIfstream(const FileName& name, std::ios_base::openmode mode) : KvIfstream() { open(name, mode); }

void KvIfstream::open(const FileName& name, std::ios_base::openmode mode)
{
  std::error_code ignored;
  // The system would open a directory and fail at the first read only.
  if (std::filesystem::is_directory(name.getPath(), ignored))
    setstate(std::ios_base::failbit);
  else
    std::ifstream::open(name.getPath(), mode);
}

} // namespace Kavrel
