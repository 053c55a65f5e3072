#include "geometry/BoundingVolumeHierarchy/MedianSelection.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;

namespace {

struct Entry
{
  double key;
  unsigned index;
};

double keyOf(const Entry& entry) { return entry.key; }

std::vector<Entry> entriesOf(std::size_t count, double (*key)(std::size_t, std::size_t, Testing::RandomGeometry&))
{
  Testing::RandomGeometry random(count + 1);
  std::vector<Entry> entries;
  for (std::size_t i = 0; i < count; ++i)
    entries.push_back({key(i, count, random), static_cast<unsigned>(i)});
  return entries;
}

} // namespace

TEST(MedianSelection, PutsEveryRankInItsPlace)
{
  using Random = Testing::RandomGeometry;
  const std::pair<const char*, double (*)(std::size_t i, std::size_t n, Random & random)> patterns[] = {
      {"random", [](std::size_t, std::size_t, Random& random) { return random.uniform(-1, 1); }},
      {"ascending", [](std::size_t i, std::size_t, Random&) { return double(i); }},
      {"descending", [](std::size_t i, std::size_t n, Random&) { return double(n - i); }},
      {"equal", [](std::size_t, std::size_t, Random&) { return 7.0; }},
      {"two values", [](std::size_t, std::size_t, Random& random) { return random.coin() ? 1.0 : 2.0; }},
      {"few values", [](std::size_t i, std::size_t, Random&) { return double(i * 7919 % 5); }},
      {"organ pipe", [](std::size_t i, std::size_t n, Random&) { return double(i < n / 2 ? i : n - i); }},
      {"saw", [](std::size_t i, std::size_t, Random&) { return double(i % 97); }},
      {"infinities", [](std::size_t i, std::size_t,
                        Random&) { return i % 3 == 0 ? std::numeric_limits<double>::infinity() : -double(i); }},
  };
  for (const auto& [name, key] : patterns)
    for (const std::size_t count : {1U, 2U, 3U, 11U, 12U, 13U, 40U, 599U, 600U, 601U, 5000U, 60000U})
      for (const std::size_t rank : {std::size_t{0}, count / 3, count / 2, count - 1}) {
        SCOPED_TRACE(testing::Message() << name << ", " << count << " entries, rank " << rank);
        std::vector<Entry> entries = entriesOf(count, key);
        std::vector<double> sorted;
        for (const Entry& entry : entries)
          sorted.push_back(entry.key);
        std::sort(sorted.begin(), sorted.end());

        selectEntry(entries.data(), entries.data() + count, entries.data() + rank, keyOf);
        ASSERT_EQ(entries[rank].key, sorted[rank]);
        std::vector<bool> seen(count);
        for (std::size_t i = 0; i < count; ++i) {
          seen[entries[i].index] = true;
          ASSERT_TRUE(i <= rank ? entries[i].key <= entries[rank].key : entries[i].key >= entries[rank].key) << i;
        }
        ASSERT_EQ(std::count(seen.begin(), seen.end(), true), static_cast<std::ptrdiff_t>(count));
      }
}

TEST(MedianSelection, LosesNothingAmongNaN)
{
  for (const std::size_t count : {5U, 100U, 2000U}) {
    std::vector<Entry> entries = entriesOf(count, [](std::size_t i, std::size_t, Testing::RandomGeometry& random) {
      return i % 4 == 0 ? std::numeric_limits<double>::quiet_NaN() : random.uniform(0, 1);
    });
    selectEntry(entries.data(), entries.data() + count, entries.data() + count / 2, keyOf);
    std::vector<bool> seen(count);
    for (const Entry& entry : entries)
      seen[entry.index] = true;
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), static_cast<std::ptrdiff_t>(count));
  }
}
