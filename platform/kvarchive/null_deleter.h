#pragma once

#include "platform/Export.h"

namespace Kavrel {

/// Deleter that does nothing, for shared pointers that only borrow their object.
struct KVSHAPES_EXPORT null_deleter
{
  void operator()(const void* /*object*/) const noexcept {}
};

} // namespace Kavrel
