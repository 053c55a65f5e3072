#include "platform/kvident/Identifier.h"
#include "platform/kvident/GUIdentifier.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace Kavrel {
namespace {

static_assert(std::is_trivially_copyable_v<Identifier> && sizeof(Identifier) == 8);
static_assert(!Identifier::getInvalidId().isValid());

template <class Id>
std::size_t countOfDifferentOnes()
{
  std::vector<std::vector<Id>> made(4);
  std::vector<std::thread> threads;
  for (auto& mine : made)
    threads.emplace_back([&mine] { mine.resize(2000); });
  for (auto& thread : threads)
    thread.join();
  std::unordered_set<Id> all{Id::getInvalidId()};
  for (const auto& mine : made)
    all.insert(mine.begin(), mine.end());
  return all.size();
}

TEST(IdentifierTest, FreshOnesDifferAcrossThreads)
{
  EXPECT_EQ(countOfDifferentOnes<Identifier>(), 8001U);
  EXPECT_EQ(countOfDifferentOnes<GUIdentifier>(), 8001U);
}

} // namespace
} // namespace Kavrel
