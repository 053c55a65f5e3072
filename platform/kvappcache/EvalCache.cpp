#include "platform/kvappcache/EvalCache.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kavrel {

namespace {

using Entry = AllocatedCachedEvalObjectBase;

class Store
{
public:
  void add(Entry* entry)
  {
    std::unique_lock lock(mutex);
    if (places.contains(entry)) return;
    byUse.push_front(entry);
    places.emplace(entry, byUse.begin());
    usage += static_cast<long long>(entry->getSizeInBytes());
    dropUntilFitting(lock);
  }

  void remove(Entry* entry)
  {
    std::unique_lock lock(mutex);
    dropEnded.wait(lock, [&] { return !isDroppedElsewhere(entry); });
    if (!unlink(entry)) return;
    usage -= static_cast<long long>(entry->getSizeInBytes());
  }

  void touch(Entry* entry)
  {
    const std::lock_guard lock(mutex);
    if (const auto place = places.find(entry); place != places.end()) byUse.splice(byUse.begin(), byUse, place->second);
  }

  void adjust(long long delta)
  {
    std::unique_lock lock(mutex);
    usage += delta;
    dropUntilFitting(lock);
  }

  std::size_t exchangeLimit(std::size_t bytes)
  {
    std::unique_lock lock(mutex);
    const std::size_t before = std::exchange(limit, bytes);
    dropUntilFitting(lock);
    return before;
  }

  std::size_t getUsage()
  {
    const std::lock_guard lock(mutex);
    return static_cast<std::size_t>(std::max(usage, 0LL));
  }

private:
  struct Drop
  {
    Entry* entry;
    std::thread::id thread;
  };

  bool unlink(Entry* entry)
  {
    const auto place = places.find(entry);
    if (place == places.end()) return false;
    byUse.erase(place->second);
    places.erase(place);
    return true;
  }

  bool isDroppedElsewhere(const Entry* entry) const
  {
    return std::any_of(underWay.begin(), underWay.end(), [&](const Drop& drop) {
      return drop.entry == entry && drop.thread != std::this_thread::get_id();
    });
  }

  bool isOverLimit() const { return usage > beingFreed && static_cast<std::size_t>(usage - beingFreed) > limit; }

  void dropUntilFitting(std::unique_lock<std::mutex>& lock)
  {
    while (byUse.size() > 1 && isOverLimit())
      dropOldest(lock);
  }

  // The entry is unlinked first and dropped without the lock. What it really frees may differ from what it stated
  // before, because its owner may store in between.
  void dropOldest(std::unique_lock<std::mutex>& lock)
  {
    Entry* const entry = byUse.back();
    const auto expected = static_cast<long long>(entry->getSizeInBytes());
    underWay.push_back({entry, std::this_thread::get_id()});
    unlink(entry);
    beingFreed += expected;
    lock.unlock();
    const auto freed = static_cast<long long>(entry->drop());
    lock.lock();
    beingFreed -= expected;
    usage -= freed;
    std::erase_if(underWay,
                  [&](const Drop& drop) { return drop.entry == entry && drop.thread == std::this_thread::get_id(); });
    dropEnded.notify_all();
  }

  std::mutex mutex;
  std::condition_variable dropEnded;
  std::list<Entry*> byUse; // the one used last in front
  std::unordered_map<Entry*, std::list<Entry*>::iterator> places;
  std::vector<Drop> underWay;
  long long usage = 0;
  long long beingFreed = 0;
  std::size_t limit = EvalCache::defaultLimit;
};

// Never destroyed: entries with static lifetime take themselves off at the end of the process.
Store& store()
{
  static auto& instance = *new Store;
  return instance;
}

} // namespace

AllocatedCachedEvalObjectBase::~AllocatedCachedEvalObjectBase() = default;

void EvalCache::addAllocatedCachedElement(AllocatedCachedEvalObjectBase* entry)
{
  if (entry != nullptr) store().add(entry);
}

void EvalCache::removeAllocatedCachedElement(AllocatedCachedEvalObjectBase* entry) { store().remove(entry); }

void EvalCache::elementWasAccessed(AllocatedCachedEvalObjectBase* entry) { store().touch(entry); }

void EvalCache::adjustMemoryUsage(long long delta) { store().adjust(delta); }

std::size_t EvalCache::setLimit(std::size_t bytes) { return store().exchangeLimit(bytes); }

std::size_t EvalCache::getMemoryUsage() { return store().getUsage(); }

} // namespace Kavrel
