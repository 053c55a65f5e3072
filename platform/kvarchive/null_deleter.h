#pragma once

namespace Kavrel {

/// Deleter that does nothing: a `std::shared_ptr` made with it refers to an object that someone else owns and frees.
struct null_deleter
{
  void operator()(const void* /*object*/) const noexcept {}
};

} // namespace Kavrel
