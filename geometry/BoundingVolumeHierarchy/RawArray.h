#pragma once

#include "geometry/BoundingVolumeHierarchy/LargeMemory.h"

#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace Kavrel::BoundingVolumeHierarchy {

/// An array of plain records whose size is known from the start. It is not initialised: every entry is written before
/// it is read.
template <class T>
class RawArray
{
public:
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

  RawArray() = default;
  explicit RawArray(std::size_t size) : entries(allocate(size)), count(size) {}
  RawArray(const RawArray& other) : RawArray(other.count)
  {
    if (count > 0) std::memcpy(static_cast<void*>(entries), other.entries, count * sizeof(T));
  }
  RawArray(RawArray&& other) noexcept { swap(other); }
  RawArray& operator=(RawArray other) noexcept
  {
    swap(other);
    return *this;
  }
  ~RawArray() { freeLarge(entries, count * sizeof(T)); }

  void swap(RawArray& other) noexcept
  {
    std::swap(entries, other.entries);
    std::swap(count, other.count);
  }

  std::size_t size() const { return count; }
  std::size_t bytes() const { return count * sizeof(T); }
  T* data() { return entries; }
  const T* data() const { return entries; }
  T& operator[](std::size_t i) { return entries[i]; }
  const T& operator[](std::size_t i) const { return entries[i]; }

private:
  static T* allocate(std::size_t size)
  {
    if (size == 0) return nullptr;
    if (size > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(allocateLarge(size * sizeof(T)));
  }

  T* entries = nullptr;
  std::size_t count = 0;
};

} // namespace Kavrel::BoundingVolumeHierarchy
