#pragma once

#include "platform/kverror/KvException.h"

namespace Kavrel {

/// A failed check of this library.
class KVSHAPES_EXPORT ShapecoreException : public KvException
{
public:
  explicit ShapecoreException(std::string message, std::source_location location = std::source_location::current());
  ~ShapecoreException() override;
};

} // namespace Kavrel
