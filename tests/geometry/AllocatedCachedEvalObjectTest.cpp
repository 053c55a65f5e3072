#include "geometry/AllocatedCachedEvalObject.h"
#include "geometry/mesh/Mesh.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Kavrel {
namespace {

using Ints = AllocatedCachedEvalObject<std::vector<int>>;
using Floats = AllocatedCachedEvalObject<std::vector<float>>;

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
  Ints entry;
  EXPECT_EQ(EvalCache::getMemoryUsage(), 0U);
  entry.setValue(ints(10), "facets");
  EXPECT_EQ(EvalCache::getMemoryUsage(), 10 * 4 + 24 + 16U);
  entry.setValue(ints(3), "fewer facets");
  EXPECT_EQ(EvalCache::getMemoryUsage(), 3 * 4 + 24 + 16U);
  EXPECT_EQ(std::string(entry.getLabel()), "fewer facets");
  entry.getValue()->resize(5);
  EXPECT_EQ(EvalCache::getMemoryUsage(), 3 * 4 + 24 + 16U);
  entry.recomputeSize();
  EXPECT_EQ(EvalCache::getMemoryUsage(), 5 * 4 + 24 + 16U);
  entry.setValue(nullptr, "nothing");
  EXPECT_EQ(EvalCache::getMemoryUsage(), 16U);
  EXPECT_EQ(entry.getValue(), nullptr);

  AllocatedCachedEvalObject<Mesh> meshEntry;
  const auto mesh = std::make_shared<Mesh>();
  meshEntry.setValue(mesh, "mesh");
  EXPECT_EQ(meshEntry.getSizeInBytes(), mesh->estimateBytes() + 16);
  EXPECT_EQ(EvalCache::getMemoryUsage(), mesh->estimateBytes() + 32);
}

TEST_F(AllocatedCachedEvalObjectTest, DropEmptiesTheEntryAndTheNextStoreRegistersAgain)
{
  Ints old;
  Floats recent;
  EvalCache::setLimit(1000);
  old.setValue(ints(100, 7), "old");
  const auto held = old.getValue();
  recent.setValue(std::make_shared<std::vector<float>>(200), "recent");
  EXPECT_EQ(old.getValue(), nullptr);
  EXPECT_EQ(held->at(99), 7) << "a value that was handed out stays";
  EXPECT_NE(recent.getValue(), nullptr);
  EXPECT_EQ(EvalCache::getMemoryUsage(), 840U);
  old.recomputeSize(); // an unregistered entry announces nothing
  EXPECT_EQ(EvalCache::getMemoryUsage(), 840U);
  old.setValue(ints(200), "old");
  EXPECT_NE(old.getValue(), nullptr);
  EXPECT_EQ(recent.getValue(), nullptr);
}

TEST_F(AllocatedCachedEvalObjectTest, ReadingKeepsAnEntryAlive)
{
  EvalCache::setLimit(1000);
  Ints a, b, c;
  a.setValue(ints(100), "a");
  b.setValue(ints(100), "b");
  EXPECT_NE(a.getValue(), nullptr);
  c.setValue(ints(100), "c");
  EXPECT_NE(a.getValue(), nullptr);
  EXPECT_EQ(b.getValue(), nullptr);
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
