#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// Selection by rank, as std::nth_element does it, for small plain records with a number as key. It never branches on a
/// comparison that can't be foreseen, and samples large ranges for a good pivot. Deterministic; NaN keys end up
/// anywhere.
namespace Kavrel::BoundingVolumeHierarchy {

/// Up to this size a range is simply sorted.
inline constexpr std::size_t smallSelection = 12;
/// From this size on the pivot is found by a selection within a sample.
inline constexpr std::size_t sampledSelection = 600;

/// Swaps two records, or one with itself, in few wide moves.
template <class Entry>
void swapEntries(Entry* a, Entry* b)
{
  static_assert(std::is_trivially_copyable_v<Entry> && sizeof(Entry) % sizeof(double) == 0);
  using Pair = double __attribute__((vector_size(16)));
  const auto swapPart = [a, b]<class Part>(std::size_t offset, Part first) {
    Part second;
    auto* const inA = reinterpret_cast<unsigned char*>(a) + offset;
    auto* const inB = reinterpret_cast<unsigned char*>(b) + offset;
    std::memcpy(&first, inA, sizeof(Part));
    std::memcpy(&second, inB, sizeof(Part));
    std::memcpy(inA, &second, sizeof(Part));
    std::memcpy(inB, &first, sizeof(Part));
  };
  for (std::size_t offset = 0; offset + sizeof(Pair) <= sizeof(Entry); offset += sizeof(Pair))
    swapPart(offset, Pair{});
  if constexpr (sizeof(Entry) % sizeof(Pair) != 0) swapPart(sizeof(Entry) - sizeof(double), double{});
}

/// Moves the entries of `[first, last)` with `isLower(key)` to the front; returns where the others begin.
template <class Entry, class KeyOf, class IsLower>
Entry* partitionEntries(Entry* first, Entry* last, KeyOf keyOf, IsLower isLower)
{
  // From both ends, a block at a time: first the places of entries on the wrong side are noted, then they are swapped
  // in pairs. Both steps run straight through. (Edelkamp and Weiss, BlockQuicksort, 2016)
  constexpr int block = 64;
  std::uint8_t wrongLeft[block], wrongRight[block];
  int countLeft = 0, countRight = 0, beginLeft = 0, beginRight = 0;
  while (last - first > 2 * block) {
    if (countLeft == 0) {
      beginLeft = 0;
      for (int i = 0; i < block; ++i) {
        wrongLeft[countLeft] = static_cast<std::uint8_t>(i);
        countLeft += isLower(keyOf(first[i])) ? 0 : 1;
      }
    }
    if (countRight == 0) {
      beginRight = 0;
      for (int i = 0; i < block; ++i) {
        wrongRight[countRight] = static_cast<std::uint8_t>(i);
        countRight += isLower(keyOf(last[-1 - i])) ? 1 : 0;
      }
    }
    const int pairs = std::min(countLeft, countRight);
    for (int i = 0; i < pairs; ++i)
      swapEntries(first + wrongLeft[beginLeft + i], last - 1 - wrongRight[beginRight + i]);
    countLeft -= pairs;
    countRight -= pairs;
    beginLeft += pairs;
    beginRight += pairs;
    if (countLeft == 0) first += block;
    if (countRight == 0) last -= block;
  }
  // The rest in one run: every entry is swapped, whether it is lower or not.
  Entry* border = first;
  for (Entry* reading = first; reading != last; ++reading) {
    const int lower = isLower(keyOf(*reading)) ? 1 : 0;
    swapEntries(reading, border);
    border += lower;
  }
  return border;
}

template <class Entry, class KeyOf>
void sortFew(Entry* first, Entry* last, KeyOf keyOf)
{
  for (Entry* next = first + 1; next < last; ++next) {
    const Entry entry = *next;
    const auto key = keyOf(entry);
    Entry* hole = next;
    for (; hole != first && key < keyOf(hole[-1]); --hole)
      *hole = hole[-1];
    *hole = entry;
  }
}

template <class Entry, class KeyOf>
void selectEntry(Entry* first, Entry* last, Entry* rank, KeyOf keyOf);

/// Brings an entry to the front that lies near the given rank, a little to its longer side, by selecting in a sample of
/// n^(2/3). (Floyd and Rivest, 1975)
template <class Entry, class KeyOf>
void samplePivot(Entry* first, std::size_t count, std::size_t rank, KeyOf keyOf)
{
  const double n = static_cast<double>(count);
  const double logarithm = std::log(n);
  const double sample = 0.5 * std::exp(2.0 * logarithm / 3.0);
  const double deviation = 0.5 * std::sqrt(logarithm * sample * (n - sample) / n);
  const double shift = 2 * rank < count ? deviation : -deviation;
  const double target = static_cast<double>(rank) / n * sample + shift;
  const auto size = static_cast<std::size_t>(sample);
  Entry* const pivot = first + static_cast<std::size_t>(std::clamp(target, 0.0, static_cast<double>(size - 1)));
  const std::size_t stride = count / size;
  for (std::size_t i = 0; i < size; ++i)
    swapEntries(first + i, first + i * stride);
  selectEntry(first, first + size, pivot, keyOf);
  swapEntries(first, pivot);
}

/// Brings the median of the first, the middle and the last entry to the front.
template <class Entry, class KeyOf>
void medianPivot(Entry* first, std::size_t count, KeyOf keyOf)
{
  Entry* const middle = first + count / 2;
  Entry* const end = first + count - 1;
  if (keyOf(*middle) < keyOf(*first)) swapEntries(middle, first);
  if (keyOf(*end) < keyOf(*middle)) swapEntries(end, middle);
  if (keyOf(*middle) < keyOf(*first)) swapEntries(middle, first);
  swapEntries(first, middle);
}

/// Puts the entry of the given rank into its sorted place, lower ones before it and higher ones behind.
template <class Entry, class KeyOf>
void selectEntry(Entry* first, Entry* last, Entry* rank, KeyOf keyOf)
{
  while (static_cast<std::size_t>(last - first) > smallSelection) {
    const auto count = static_cast<std::size_t>(last - first);
    if (count >= sampledSelection)
      samplePivot(first, count, static_cast<std::size_t>(rank - first), keyOf);
    else
      medianPivot(first, count, keyOf);
    const auto pivot = keyOf(*first);
    Entry* const upper = partitionEntries(first + 1, last, keyOf, [pivot](auto key) { return key < pivot; });
    swapEntries(first, upper - 1);
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
