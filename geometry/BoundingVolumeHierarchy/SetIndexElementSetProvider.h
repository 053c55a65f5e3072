#pragma once

#include "geometry/BoundingVolumeHierarchy/DEMeshAdapter.h"
#include "geometry/BoundingVolumeHierarchy/InitialCoordinatesMesh.h"
#include "geometry/BoundingVolumeHierarchy/MeshDeclaration.h"
#include "geometry/BoundingVolumeHierarchy/PackedElements.h"
#include "geometry/BoundingVolumeHierarchy/SetIndexElement.h"
#include "geometry/mesh/Triangle.h"
#include "platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// Holds the elements of a hierarchy as indices into a set, four bytes each, and makes an element on each access. The
/// id of an element is its index. Borrows the set: it must neither go nor move while the hierarchy is used.
template <class Set, class E>
class KVSHAPES_EXPORT SetIndexElementSetProvider
{
public:
  using Element = E;

  std::uint64_t numberOfElements() const { return indices.size(); }
  /// The element at a position in leaf order, by value. The position isn't checked.
  E getElement(unsigned position) const;
  std::uint32_t getElementId(unsigned position) const { return indices[position]; }
  /// Where the search of the leaf that begins at a position reads first.
  const void* getLeafData(std::uint32_t first) const { return indices.data() + first; }
  /// The capacity of the index array in bytes.
  std::uint64_t estimateBytes() const { return indices.capacity() * sizeof(std::uint32_t); }

protected:
  SetIndexElementSetProvider() = default;
  /// All triangles of the set.
  explicit SetIndexElementSetProvider(const Set& source);
  /// Reads nothing: no element and no set.
  explicit SetIndexElementSetProvider(const std::vector<Triangle>&) {}

  /// Puts the elements into the order that the sorter found: what stood at `sorter.getPosition(i)` comes to i.
  template <class Sorter>
  void reorder(const Sorter& sorter)
  {
    std::vector<std::uint32_t> sorted;
    sorted.reserve(indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i)
      sorted.push_back(indices[sorter.getPosition(i)]);
    indices.swap(sorted);
  }

private:
  const Set* set = nullptr;
  std::vector<std::uint32_t> indices;
};

} // namespace Kavrel::BoundingVolumeHierarchy
