#include "platform/kvident/Identifier.h"
#include "platform/kvident/GUIdentifier.h"

#include <gtest/gtest.h>

#include <bitset>
#include <mutex>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace Kavrel {
namespace {

static_assert(std::is_trivially_copyable_v<Identifier> && sizeof(Identifier) == 8);
static_assert(!Identifier::getInvalidId().isValid());

template <class Id>
std::unordered_set<Id> createdInThreads(int count)
{
  std::unordered_set<Id> all;
  std::mutex mutex;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      std::vector<Id> mine(static_cast<std::size_t>(count));
      const std::lock_guard lock(mutex);
      all.insert(mine.begin(), mine.end());
    });
  for (auto& thread : threads)
    thread.join();
  return all;
}

TEST(IdentifierTest, FreshOnesDifferAcrossThreads)
{
  const auto identifiers = createdInThreads<Identifier>(2000);
  EXPECT_EQ(identifiers.size(), 8000U);
  EXPECT_FALSE(identifiers.contains(Identifier::getInvalidId()));
  const auto global = createdInThreads<GUIdentifier>(2000);
  EXPECT_EQ(global.size(), 8000U);
  EXPECT_FALSE(global.contains(GUIdentifier::getInvalidId()));
}

// Each bit of random identifiers is set about half the time: 6 standard deviations of 4000 tosses are 190.
TEST(IdentifierTest, GlobalOnesUseAllBits)
{
  std::vector<int> counts(128, 0);
  for (int i = 0; i < 4000; ++i) {
    const GUIdentifier id;
    const std::bitset<64> high(id.getHigh()), low(id.getLow());
    for (std::size_t bit = 0; bit < 64; ++bit) {
      counts[bit] += high[bit];
      counts[bit + 64] += low[bit];
    }
  }
  for (const int count : counts)
    EXPECT_NEAR(count, 2000, 190);
}

} // namespace
} // namespace Kavrel
