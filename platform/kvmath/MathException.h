#pragma once

#include "platform/kverror/KvException.h"

namespace Kavrel {

/// A mathematical failure, such as lines that don't meet. The text names the function.
class KVSHAPES_EXPORT MathException : public KvException
{
public:
  explicit MathException(const char* message, std::source_location location = std::source_location::current());
  ~MathException() override;
};

} // namespace Kavrel
