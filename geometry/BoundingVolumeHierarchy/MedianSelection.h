#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

/// Selection by rank, as std::nth_element does it, for small records with a number as key: it never looks back for a
/// branch that it could not foresee, and samples large ranges for a good pivot. Deterministic; NaN keys end up
/// anywhere.
namespace Kavrel::BoundingVolumeHierarchy {

/// Below this size a range is simply sorted.
inline constexpr std::size_t smallSelection = 12;
/// From this size on the pivot is found by a selection within a sample.
inline constexpr std::size_t sampledSelection = 600;

/// Moves the entries of `[first, last)` with `isLower(key)` to the front; returns where the others begin.
template <class Entry, class KeyOf, class IsLower>
Entry* partitionEntries(Entry* first, Entry* last, const KeyOf& keyOf, const IsLower& isLower)
{
  // Every entry is moved, whether it is lower or not, so that nothing depends on the comparison but an index.
  Entry* border = first;
  for (Entry* reading = first; reading != last; ++reading) {
    const Entry entry = *reading;
    *reading = *border;
    *border = entry;
    border += isLower(keyOf(entry)) ? 1 : 0;
  }
  return border;
}

template <class Entry, class KeyOf>
void sortFew(Entry* first, Entry* last, const KeyOf& keyOf)
{
  for (Entry* next = first + 1; next < last; ++next) {
    const Entry entry = *next;
    Entry* hole = next;
    for (; hole != first && keyOf(entry) < keyOf(hole[-1]); --hole)
      *hole = hole[-1];
    *hole = entry;
  }
}

/// Puts the entry of the given rank into its sorted place, lower ones before it and higher ones behind.
template <class Entry, class KeyOf>
void selectEntry(Entry* first, Entry* last, Entry* rank, const KeyOf& keyOf)
{
  while (static_cast<std::size_t>(last - first) > smallSelection) {
    const auto count = static_cast<std::size_t>(last - first);
    const auto place = static_cast<std::size_t>(rank - first);
    if (count >= sampledSelection) {
      // A sample of n^(2/3) around the rank, aimed a little to the longer side of it (Floyd and Rivest, 1975).
      const double n = static_cast<double>(count);
      const double logarithm = std::log(n);
      const double sample = 0.5 * std::exp(2.0 * logarithm / 3.0);
      const double deviation = 0.5 * std::sqrt(logarithm * sample * (n - sample) / n);
      const double share = static_cast<double>(place) / n;
      const double shift = 2 * place < count ? deviation : -deviation;
      const auto target = static_cast<std::size_t>(std::clamp(share * sample + shift, 0.0, sample - 1.0));
      const auto size = static_cast<std::size_t>(sample);
      const std::size_t stride = count / size;
      for (std::size_t i = 0; i < size; ++i)
        std::swap(first[i], first[i * stride]);
      selectEntry(first, first + size, first + std::min(target, size - 1), keyOf);
      std::swap(*first, first[std::min(target, size - 1)]);
    } else {
      Entry* const middle = first + count / 2;
      Entry* const end = last - 1;
      // The median of three comes to the front.
      if (keyOf(*middle) < keyOf(*first)) std::swap(*middle, *first);
      if (keyOf(*end) < keyOf(*middle)) std::swap(*end, *middle);
      if (keyOf(*middle) < keyOf(*first)) std::swap(*middle, *first);
      std::swap(*first, *middle);
    }
    const auto pivot = keyOf(*first);
    Entry* const upper = partitionEntries(first + 1, last, keyOf, [pivot](auto key) { return key < pivot; });
    std::swap(*first, upper[-1]);
    if (rank < upper - 1) {
      last = upper - 1;
    } else if (rank == upper - 1) {
      return;
    } else if (static_cast<std::size_t>(upper - first) * 8 > count) {
      first = upper;
    } else {
      // A pivot near the lower end hints at many equal keys: they leave together.
      Entry* const greater = partitionEntries(upper, last, keyOf, [pivot](auto key) { return !(pivot < key); });
      if (rank < greater) return;
      first = greater;
    }
  }
  sortFew(first, last, keyOf);
}

} // namespace Kavrel::BoundingVolumeHierarchy
