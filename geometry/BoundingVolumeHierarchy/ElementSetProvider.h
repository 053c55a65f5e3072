#pragma once

#include "geometry/BoundingVolumeHierarchy/AxisAlignedBox.h"
#include "geometry/BoundingVolumeHierarchy/ElementSources.h"
#include "geometry/BoundingVolumeHierarchy/PackedElements.h"
#include "geometry/BoundingVolumeHierarchy/RawArray.h"
#include "geometry/Segment.h"
#include "geometry/mesh/Triangle.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

template <class Element, class Volume, unsigned dim>
class KdTreeSorter;

/// An element with its id, which fills what the alignment of the element leaves free.
template <class E>
struct ElementRecord
{
  [[no_unique_address]] E element;
  std::uint32_t id;
};

/// Holds the elements of a hierarchy by value, each with the position it had in the source: its id. The build puts them
/// into leaf order. What an element refers to (the points of a segment, the vertices of a triangle) is borrowed and
/// must neither go nor move while the hierarchy is used.
///
/// Sources: a vector of elements; for points a vector of any point type of the dimension; for segments a polyline or
/// several; for triangles a mesh or several. In a list a null pointer is skipped, and ids run on over its entries.
template <class E>
class KVSHAPES_EXPORT ElementSetProvider
{
public:
  using Element = E;

  std::uint64_t numberOfElements() const { return records.size(); }
  /// The element at a position in leaf order. The position isn't checked.
  const E& getElement(unsigned position) const { return records[position].element; }
  /// The position in the source of the element at a position in leaf order.
  std::uint32_t getElementId(unsigned position) const { return records[position].id; }
  /// The capacity of the element storage in bytes.
  std::uint64_t estimateBytes() const { return records.bytes() + packed.estimateBytes(); }

  /// Where the search of the leaf that begins at a position reads first.
  const void* getLeafData(std::uint32_t first) const
  {
    if constexpr (std::is_same_v<E, Triangle>)
      return packed.getLeaf(first);
    else
      return records.data() + first;
  }

  /// Fetches the corners of an element that is soon needed.
  void prefetchCorners(std::uint32_t position) const requires std::is_same_v<E, Triangle>
  {
    if (position >= records.size()) return;
    for (unsigned corner = 0; corner < 3; ++corner)
      __builtin_prefetch(records[position].element.getVertex(corner));
  }

  /// Compact copies of the elements for fast rejection, where the kind of element has them.
  const PackedElements<E>& getPackedElements() const { return packed; }

protected:
  ElementSetProvider() = default;
  template <ElementSourceOf<E> Source>
  explicit ElementSetProvider(const Source& source);

  /// Puts the elements into the order that the sorter found: what stood at `sorter.getPosition(i)` comes to i.
  template <class Sorter>
  void reorder(const Sorter& sorter)
  {
    // The records to read are known far ahead, but lie anywhere.
    constexpr std::size_t ahead = 16;
    RawArray<Record> sorted(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (i + ahead < records.size()) __builtin_prefetch(&records[sorter.getPosition(i + ahead)]);
      new (&sorted[i]) Record(records[sorter.getPosition(i)]);
    }
    records.swap(sorted);
  }

  /// Makes room for the packed elements.
  void preparePacking() requires std::is_same_v<E, Triangle> { packed.resize(records.size()); }
  /// Packs the elements of a leaf.
  void packLeaf(std::uint32_t first, std::uint32_t end) requires std::is_same_v<E, Triangle>
  {
    for (std::uint32_t position = first; position < end; ++position)
      packed.set(first, end - first, position - first, records[position].element);
  }

private:
  template <class, class, unsigned>
  friend class KdTreeSorter;
  using Record = ElementRecord<E>;

  RawArray<Record> records;
  PackedElements<E> packed;
};

} // namespace Kavrel::BoundingVolumeHierarchy
