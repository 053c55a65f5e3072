#include "geometry/mesh/MeshCollection.h"

#include "support/RandomGeometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace Kavrel::Testing {
namespace {

struct Record
{
  int value = -1;
  int spare = 0;
};

using Collection = MeshCollection<Record>;

constexpr std::size_t block = std::size_t(Collection::iterator::blockSize);

void fill(Collection& collection, std::size_t size)
{
  for (std::size_t i = collection.size(); i < size; ++i)
    collection.push_back({static_cast<int>(i), 0});
}

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
    const Record* const front = expected.empty() ? nullptr : &collection[0];
    // Sizes around a border between blocks.
    const std::size_t size = random.index(4) * block + random.index(3);
    switch (random.index(5)) {
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
    default:
      if (round % 8 != 0) break;
      collection.clear();
      expected.clear();
    }
    expectValues(collection, expected);
    if (expected.empty()) continue;
    EXPECT_EQ(collection.back().value, expected.back());
    if (front) {
      EXPECT_EQ(&collection[0], front);
    }
  }
}

TEST(MeshCollection, KeepsElementsInPlace)
{
  Collection collection;
  std::vector<const Record*> places;
  for (std::size_t i = 0; i < 20 * block; ++i)
    places.push_back(&collection.emplace_back(static_cast<int>(i), 0));
  for (std::size_t i = 0; i < places.size(); ++i)
    ASSERT_EQ(&collection[i], places[i]);
  const Collection moved(std::move(collection));
  EXPECT_EQ(&moved[places.size() - 1], places.back());
}

TEST(MeshCollection, CopiesMovesAndSwaps)
{
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, block - 1, block, block + 1, 3 * block}) {
    SCOPED_TRACE(size);
    Collection source;
    fill(source, size);
    std::vector<int> values(size);
    std::iota(values.begin(), values.end(), 0);
    const Collection copy(source);
    Collection target(5), moved;
    target = source;
    target = *&target;
    if (size > 0) source[size / 2].value = -7;
    expectValues(copy, values);
    expectValues(target, values);
    moved = std::move(target);
    moved.swap(source);
    expectValues(source, values);
    moved = std::move(source);
    expectValues(moved, values);
    fill(moved, size + block); // what was moved goes on growing
    EXPECT_EQ(moved.back().value, static_cast<int>(size + block) - 1);
  }
}

TEST(MeshCollection, IteratesInAllDirections)
{
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, block - 1, block, block + 1, 2 * block}) {
    SCOPED_TRACE(size);
    Collection collection;
    fill(collection, size);
    const Collection::const_iterator begin = collection.begin(), end = collection.end();
    const auto count = static_cast<std::ptrdiff_t>(size);
    ASSERT_EQ(end - begin, count);
    ASSERT_TRUE(begin + count == end && end - count == begin && begin + 0 == begin);
    auto back = end;
    for (std::ptrdiff_t i = count; i > 0; --i) {
      ASSERT_EQ((--back)->value, i - 1);
      ASSERT_EQ(begin[i - 1].value, i - 1);
      ASSERT_EQ((end - (count - i) - 1)->value, i - 1);
      ASSERT_TRUE(back < end && begin <= back && back - begin == i - 1);
    }
    std::reverse(collection.begin(), collection.end());
    std::sort(collection.begin(), collection.end(), [](const Record& a, const Record& b) { return a.value < b.value; });
    for (std::size_t i = 0; i < size; ++i)
      ASSERT_EQ(collection[i].value, static_cast<int>(i));
  }
}

} // namespace
} // namespace Kavrel::Testing
