#pragma once

#include "platform/Export.h"

namespace Kavrel {

/// Deleter that does nothing: a `std::shared_ptr` made with it refers to an object that someone else owns and frees.
struct KVSHAPES_EXPORT null_deleter
{
  void operator()(const void* /*object*/) const noexcept {}
};

} // namespace Kavrel
