#include "geometry/AllocatedCachedEvalObject.h"

#include "geometry/mesh/Mesh.h"

#include <type_traits>
#include <utility>

namespace Kavrel {

namespace {

constexpr std::size_t entryBytes = 16;
constexpr std::size_t vectorBytes = 24;

long long difference(std::size_t after, std::size_t before)
{
  return static_cast<long long>(after) - static_cast<long long>(before);
}

} // namespace

template <class T>
AllocatedCachedEvalObject<T>::~AllocatedCachedEvalObject()
{
  EvalCache::removeAllocatedCachedElement(this);
}

// The cache is told after the entry's lock is released: making room may drop an entry whose owner is just storing too.
template <class T>
void AllocatedCachedEvalObject<T>::setValue(std::shared_ptr<T> newValue, const char* newLabel)
{
  const std::size_t newSize = measure(newValue.get());
  std::size_t oldSize = 0;
  bool wasRegistered = false;
  {
    const std::lock_guard lock(mutex);
    value.swap(newValue);
    label = newLabel;
    oldSize = sizeInBytes.exchange(newSize);
    wasRegistered = std::exchange(registered, true);
  }
  if (wasRegistered)
    EvalCache::adjustMemoryUsage(difference(newSize, oldSize));
  else
    EvalCache::addAllocatedCachedElement(this);
}

template <class T>
std::shared_ptr<T> AllocatedCachedEvalObject<T>::getValue()
{
  const std::lock_guard lock(mutex);
  if (!value) return nullptr;
  EvalCache::elementWasAccessed(this);
  return value;
}

template <class T>
void AllocatedCachedEvalObject<T>::recomputeSize()
{
  long long delta = 0;
  {
    const std::lock_guard lock(mutex);
    if (!registered) return;
    const std::size_t newSize = measure(value.get());
    delta = difference(newSize, sizeInBytes.exchange(newSize));
  }
  if (delta != 0) EvalCache::adjustMemoryUsage(delta);
}

template <class T>
std::size_t AllocatedCachedEvalObject<T>::drop() noexcept
{
  std::shared_ptr<T> released;
  const std::lock_guard lock(mutex);
  released.swap(value);
  registered = false;
  return sizeInBytes.exchange(0);
}

template <class T>
const char* AllocatedCachedEvalObject<T>::getLabel() const
{
  const std::lock_guard lock(mutex);
  return label;
}

template <class T>
std::size_t AllocatedCachedEvalObject<T>::measure(const T* object)
{
  if (object == nullptr) return entryBytes;
  if constexpr (std::is_same_v<T, Mesh>)
    return object->estimateBytes() + entryBytes;
  else
    return object->size() * sizeof(typename T::value_type) + vectorBytes + entryBytes;
}

template class AllocatedCachedEvalObject<Mesh>;
template class AllocatedCachedEvalObject<std::vector<int>>;
template class AllocatedCachedEvalObject<std::vector<float>>;

} // namespace Kavrel
