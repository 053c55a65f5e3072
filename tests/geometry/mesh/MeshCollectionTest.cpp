#include "geometry/mesh/MeshCollection.h"

#include "support/RandomGeometry.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Kavrel::Testing {
namespace {

struct Record
{
  int value = -1;
  int spare = 0;
};

using Collection = MeshCollection<Record>;

constexpr std::size_t block = std::size_t(Collection::iterator::blockSize);

void expectValues(const Collection& actual, const std::vector<int>& expected)
{
  ASSERT_EQ(actual.size(), expected.size());
  ASSERT_EQ(actual.empty(), expected.empty());
  const auto equal = [](const Record& record, int value) { return record.value == value; };
  EXPECT_TRUE(std::equal(actual.begin(), actual.end(), expected.begin(), expected.end(), equal));
  for (std::size_t i = 0; i < expected.size(); ++i)
    ASSERT_EQ(actual[i].value, expected[i]);
}

TEST(MeshCollection, EqualsAVectorThroughRandomChanges)
{
  RandomGeometry random(5131);
  Collection collection;
  std::vector<int> expected;
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    std::vector<const Record*> places;
    for (const Record& record : collection)
      places.push_back(&record);
    // Sizes around a border between blocks.
    const std::size_t size = random.index(4) * block + random.index(3);
    switch (random.index(8)) {
    case 0:
      collection.resize(size);
      expected.resize(size, -1);
      break;
    case 1:
      for (; expected.size() < size; expected.push_back(round))
        collection.emplace_back(round, 0);
      break;
    case 2:
      for (; expected.size() > size; expected.pop_back())
        collection.pop_back();
      break;
    case 3:
      if (expected.empty()) break;
      collection.push_back(collection.front()); // its own element
      expected.push_back(expected.front());
      break;
    case 4: { // all elements stay where they are
      Collection moved(std::move(collection)), swapped(3);
      swapped.swap(moved);
      collection = std::move(swapped);
      break;
    }
    case 5: {
      Collection copy(collection), assigned(5);
      assigned = copy;
      copy = *&copy;
      if (!expected.empty()) copy[expected.size() / 2].value = -7;
      expectValues(assigned, expected);
      break;
    }
    case 6:
      if (round % 3 != 0) break;
      collection.clear();
      expected.clear();
    }
    expectValues(collection, expected);
    for (std::size_t i = 0; i < std::min(places.size(), expected.size()); ++i)
      ASSERT_EQ(&collection[i], places[i]);
  }
}

TEST(MeshCollection, IteratesInAllDirections)
{
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, block - 1, block, block + 1, 2 * block}) {
    SCOPED_TRACE(size);
    Collection collection;
    for (std::size_t i = 0; i < size; ++i)
      collection.emplace_back(static_cast<int>(i), 0);
    const Collection::const_iterator begin = collection.begin(), end = collection.end();
    const auto count = static_cast<std::ptrdiff_t>(size);
    ASSERT_TRUE(end - begin == count && begin + count == end && end - count == begin);
    auto back = end;
    for (std::ptrdiff_t i = count; i > 0; --i) {
      ASSERT_EQ((--back)->value, i - 1);
      ASSERT_EQ(begin[i - 1].value, i - 1);
      ASSERT_EQ((end - (count - i) - 1)->value, i - 1);
      ASSERT_TRUE(back < end && begin <= back && back - begin == i - 1);
    }
  }
}

} // namespace
} // namespace Kavrel::Testing
