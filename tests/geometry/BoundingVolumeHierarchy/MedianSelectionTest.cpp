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

} // namespace

TEST(MedianSelection, PutsEveryRankInItsPlace)
{
  using Random = Testing::RandomGeometry;
  constexpr double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  const std::pair<const char*, double (*)(std::size_t i, std::size_t n, Random & random)> patterns[] = {
      {"random", [](std::size_t, std::size_t, Random& random) { return random.uniform(-1, 1); }},
      {"ascending", [](std::size_t i, std::size_t, Random&) { return double(i); }},
      {"descending", [](std::size_t i, std::size_t n, Random&) { return double(n - i); }},
      {"equal", [](std::size_t, std::size_t, Random&) { return 7.0; }},
      {"few values", [](std::size_t i, std::size_t, Random&) { return double(i * 7919 % 5); }},
      {"organ pipe", [](std::size_t i, std::size_t n, Random&) { return double(i < n / 2 ? i : n - i); }},
      {"infinities", [](std::size_t i, std::size_t, Random&) { return i % 3 == 0 ? infinity : -double(i); }},
      {"NaN", [](std::size_t i, std::size_t, Random& random) { return i % 4 == 0 ? nan : random.uniform(0, 1); }}};
  for (const auto& [name, key] : patterns)
    for (const std::size_t count : {1U, 2U, 3U, 11U, 12U, 13U, 40U, 599U, 600U, 601U, 5000U, 60000U})
      for (const std::size_t rank : {std::size_t{0}, count / 3, count / 2, count - 1}) {
        SCOPED_TRACE(testing::Message() << name << ", " << count << " entries, rank " << rank);
        Random random(count + 1);
        std::vector<Entry> entries;
        for (std::size_t i = 0; i < count; ++i)
          entries.push_back({key(i, count, random), static_cast<unsigned>(i)});
        const bool isOrdered = !std::isnan(entries[0].key); // else nothing may be lost, but it comes anywhere

        selectEntry(entries.data(), entries.data() + count, entries.data() + rank, keyOf);
        std::vector<bool> seen(count);
        for (std::size_t i = 0; i < count; ++i) {
          seen[entries[i].index] = true;
          if (!isOrdered) continue;
          ASSERT_TRUE(i <= rank ? entries[i].key <= entries[rank].key : entries[i].key >= entries[rank].key) << i;
        }
        ASSERT_EQ(std::count(seen.begin(), seen.end(), true), static_cast<std::ptrdiff_t>(count));
      }
}
