#pragma once

#include <stdexcept>

#include "platform/Export.h"

namespace Kavrel {

/// What the archive raises: a class used without its registration, or a stream that can't be read or written.
class KVSHAPES_EXPORT PersistenceException : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

} // namespace Kavrel
