#pragma once

#include "platform/Export.h"

#include <cstddef>

namespace Kavrel {

/// What the evaluation cache knows of an entry: a recomputable value that announces its size and can be dropped.
///
/// An entry is registered at most once. It takes itself off the cache in the destructor of its most derived class, by
/// `EvalCache::removeAllocatedCachedElement`, because a drop may be under way until then.
class KVSHAPES_EXPORT AllocatedCachedEvalObjectBase
{
public:
  virtual ~AllocatedCachedEvalObjectBase();

  /// Bytes that the entry has announced. Called with the cache's lock held: it must not take a lock.
  virtual std::size_t getSizeInBytes() const noexcept = 0;

  /// Measures the value again and announces the difference.
  virtual void recomputeSize() = 0;

  /// Gives the value up and returns the bytes that were announced for it. May come at any time and from any thread that
  /// uses the cache, never with the cache's lock held; the entry is unregistered by then.
  virtual std::size_t drop() noexcept = 0;

  /// Names the kind of value.
  virtual const char* getLabel() const = 0;

protected:
  AllocatedCachedEvalObjectBase() = default;
  AllocatedCachedEvalObjectBase(const AllocatedCachedEvalObjectBase&) = delete;
  AllocatedCachedEvalObjectBase& operator=(const AllocatedCachedEvalObjectBase&) = delete;
};

/// The process-wide cache of recomputable values, bounded by the bytes that its entries announce.
///
/// When the announced bytes pass the limit, the entries that were used longest ago are dropped, in that order, until
/// the rest fits; the entry used last stays even if it alone is too large. All operations are thread-safe and, drops
/// apart, take constant time. Entries are borrowed.
class KVSHAPES_EXPORT EvalCache
{
public:
  static constexpr std::size_t defaultLimit = std::size_t(1) << 30;

  /// Registers \p entry as the one used last, with the size that it states now. May drop other entries.
  static void addAllocatedCachedElement(AllocatedCachedEvalObjectBase* entry);

  /// Forgets \p entry; unknown entries are ignored. Returns once no drop of the entry is under way in another thread.
  static void removeAllocatedCachedElement(AllocatedCachedEvalObjectBase* entry);

  /// Makes \p entry the one used last; unknown entries are ignored.
  static void elementWasAccessed(AllocatedCachedEvalObjectBase* entry);

  /// Takes note that a registered entry grew (or shrank) by \p delta bytes. May drop entries.
  static void adjustMemoryUsage(long long delta);

  /// Sets the limit in bytes and returns the one before it. May drop entries.
  static std::size_t setLimit(std::size_t bytes);

  /// Bytes announced by all entries at the moment.
  static std::size_t getMemoryUsage();
};

} // namespace Kavrel
