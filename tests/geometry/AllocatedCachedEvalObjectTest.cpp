#include "geometry/AllocatedCachedEvalObject.h"
#include "geometry/mesh/Mesh.h"
#include "support/RandomGeometry.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <memory>
#include <thread>
#include <utility>

namespace Kavrel {
namespace {

using Ints = AllocatedCachedEvalObject<std::vector<int>>;

std::shared_ptr<std::vector<int>> ints(std::size_t count, int value = 0)
{
  return std::make_shared<std::vector<int>>(count, value);
}

class AllocatedCachedEvalObjectTest : public testing::Test
{
protected:
  ~AllocatedCachedEvalObjectTest() override
  {
    EvalCache::setLimit(EvalCache::defaultLimit);
    EXPECT_EQ(EvalCache::getMemoryUsage(), 0U) << "entries announce and take back the same bytes";
  }
};

TEST_F(AllocatedCachedEvalObjectTest, AnnouncesItsSize)
{
  Ints empty;
  EXPECT_EQ(EvalCache::getMemoryUsage(), 0U);
  empty.setValue(nullptr, "nothing");
  EXPECT_EQ(EvalCache::getMemoryUsage(), 16U);
  AllocatedCachedEvalObject<Mesh> meshEntry;
  const auto mesh = std::make_shared<Mesh>();
  meshEntry.setValue(mesh, "mesh");
  EXPECT_EQ(EvalCache::getMemoryUsage(), mesh->estimateBytes() + 16 + 16);
}

// A list that repeats every step tells which entries are left; reading shows whether they are.
TEST_F(AllocatedCachedEvalObjectTest, TheEntriesUsedLongestAgoAreDropped)
{
  Testing::RandomGeometry random(61);
  std::vector<std::unique_ptr<Ints>> entries(20);
  std::list<std::pair<std::size_t, std::size_t>> model; // names and bytes, the one used last in front
  std::size_t limit = EvalCache::defaultLimit, drops = 0;
  for (int step = 0; step < 5000; ++step) {
    const std::size_t name = random.index(entries.size()), count = random.index(150), action = random.index(20);
    auto& entry = entries[name];
    if (!entry) entry = std::make_unique<Ints>();
    const auto found = std::find_if(model.begin(), model.end(), [&](const auto& m) { return m.first == name; });
    const bool isThere = found != model.end();
    if (action == 0) {
      const std::size_t before = std::exchange(limit, 1000 + random.index(2000));
      EXPECT_EQ(EvalCache::setLimit(limit), before);
    } else if (action < 3) {
      entry.reset();
      if (isThere) model.erase(found);
    } else if (action < 8) {
      entry->setValue(ints(count), "step");
      (isThere ? *found : model.emplace_front(name, 0)).second = 4 * count + 24 + 16;
    } else {
      const auto value = entry->getValue();
      ASSERT_EQ(value != nullptr, isThere);
      if (action < 12 && isThere) {
        value->resize(count);
        found->second = 4 * count + 24 + 16;
      }
      entry->recomputeSize();
      if (isThere) model.splice(model.begin(), model, found);
    }
    std::size_t sum = 0;
    for (const auto& [key, bytes] : model)
      sum += bytes;
    for (; sum > limit && model.size() > 1; model.pop_back(), ++drops)
      sum -= model.back().second;
    ASSERT_EQ(EvalCache::getMemoryUsage(), sum);
  }
  EXPECT_GT(drops, 100U);
}

// Owners with their own lock store, read, replace and destroy entries while others' stores drop them.
TEST_F(AllocatedCachedEvalObjectTest, OwnersInManyThreadsShareTheCache)
{
  EvalCache::setLimit(2000);
  std::atomic<int> wrong = 0, hits = 0;
  const auto work = [&](int number) {
    Testing::RandomGeometry random(static_cast<std::uint64_t>(number));
    std::vector<std::unique_ptr<Ints>> entries(6);
    for (int i = 0; i < 5000; ++i) {
      auto& entry = entries[random.index(entries.size())];
      if (!entry) entry = std::make_unique<Ints>();
      if (random.index(10) == 0) {
        entry.reset();
      } else if (const auto value = entry->getValue()) {
        ++hits;
        if (value->empty() || value->front() != number || value->back() != number) ++wrong;
        if (random.index(4) == 0) entry->setValue(ints(1 + random.index(150), number), "work");
      } else {
        entry->setValue(ints(1 + random.index(150), number), "work");
      }
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back(work, i);
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(hits, 100);
}

} // namespace
} // namespace Kavrel
