#include "platform/kvappcache/EvalCache.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <memory>
#include <vector>

namespace Kavrel {
namespace {

class Entry : public AllocatedCachedEvalObjectBase
{
public:
  Entry(int entryName, std::vector<int>& droppedNames) : name(entryName), names(droppedNames) {}
  ~Entry() override { EvalCache::removeAllocatedCachedElement(this); }

  void store(std::size_t bytes)
  {
    size = bytes;
    EvalCache::addAllocatedCachedElement(this);
  }
  void resize(std::size_t bytes)
  {
    const auto before = size.exchange(bytes);
    EvalCache::adjustMemoryUsage(static_cast<long long>(bytes) - static_cast<long long>(before));
  }

  std::size_t getSizeInBytes() const noexcept override { return size; }
  void recomputeSize() override {}
  std::size_t drop() noexcept override
  {
    names.push_back(name);
    // The lock is free while an entry is dropped: this would hang otherwise.
    EvalCache::getMemoryUsage();
    return size.exchange(0);
  }
  const char* getLabel() const override { return "test"; }

private:
  int name;
  std::vector<int>& names;
  std::atomic<std::size_t> size = 0;
};

class EvalCacheTest : public testing::Test
{
protected:
  EvalCacheTest() { EvalCache::setLimit(100); }
  ~EvalCacheTest() override { EvalCache::setLimit(EvalCache::defaultLimit); }

  Entry& add(int name, std::size_t bytes)
  {
    entries.push_back(std::make_unique<Entry>(name, dropped));
    entries.back()->store(bytes);
    return *entries.back();
  }

  std::vector<int> dropped;
  std::vector<std::unique_ptr<Entry>> entries;
};

TEST_F(EvalCacheTest, DropsWhatWasUsedLongestAgo)
{
  Entry& first = add(1, 40);
  add(2, 30);
  add(3, 30);
  EXPECT_TRUE(dropped.empty()) << "the limit itself still fits";
  EvalCache::elementWasAccessed(&first);
  add(4, 25);
  EXPECT_EQ(dropped, std::vector<int>{2});
  EXPECT_EQ(EvalCache::getMemoryUsage(), 95U);
  first.resize(71);
  EXPECT_EQ(dropped, (std::vector<int>{2, 3}));
  EXPECT_EQ(EvalCache::getMemoryUsage(), 96U);
}

TEST_F(EvalCacheTest, ALowerLimitDropsAtOnce)
{
  for (int i = 0; i < 5; ++i)
    add(i, 20);
  EXPECT_EQ(EvalCache::setLimit(45), 100U);
  EXPECT_EQ(dropped, (std::vector<int>{0, 1, 2}));
}

TEST_F(EvalCacheTest, RemovedAndUnknownEntriesDontCount)
{
  Entry& first = add(1, 60);
  EvalCache::removeAllocatedCachedElement(&first);
  EvalCache::removeAllocatedCachedElement(&first);
  EvalCache::elementWasAccessed(&first);
  EvalCache::addAllocatedCachedElement(nullptr);
  EXPECT_EQ(EvalCache::getMemoryUsage(), 0U);
  first.store(60);
  EvalCache::addAllocatedCachedElement(&first);
  EXPECT_EQ(EvalCache::getMemoryUsage(), 60U) << "registered once";
  entries.clear();
  EXPECT_EQ(EvalCache::getMemoryUsage(), 0U);
}

// A list that repeats every step is the reference for the order.
TEST_F(EvalCacheTest, FollowsAPlainListOverManySteps)
{
  Testing::RandomGeometry random(61);
  for (int i = 0; i < 20; ++i)
    entries.push_back(std::make_unique<Entry>(i, dropped));
  std::list<std::pair<int, std::size_t>> model; // names and bytes, the one used last in front
  std::vector<int> expected;
  for (int step = 0; step < 5000; ++step) {
    const int name = static_cast<int>(random.index(entries.size()));
    Entry& entry = *entries[static_cast<std::size_t>(name)];
    const auto found = std::find_if(model.begin(), model.end(), [&](const auto& m) { return m.first == name; });
    if (found == model.end()) {
      model.emplace_front(name, random.index(60));
      entry.store(model.front().second);
    } else if (random.coin()) {
      model.splice(model.begin(), model, found);
      EvalCache::elementWasAccessed(&entry);
    } else {
      model.erase(found);
      EvalCache::removeAllocatedCachedElement(&entry);
    }
    std::size_t sum = 0;
    for (const auto& [key, bytes] : model)
      sum += bytes;
    for (; sum > 100 && model.size() > 1; model.pop_back()) {
      sum -= model.back().second;
      expected.push_back(model.back().first);
    }
    ASSERT_EQ(EvalCache::getMemoryUsage(), sum);
  }
  EXPECT_EQ(dropped, expected);
  EXPECT_GT(expected.size(), 100U);
}

} // namespace
} // namespace Kavrel
