#pragma once

#include "geometry/BoundingVolumeHierarchy/AxisAlignedBox.h"

#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

/// Tells an element position from a node index in the words of a node.
inline constexpr std::uint32_t isLeafFlag = 0x80000000U;

/// A node of a hierarchy: two words and the volume around everything below. The words of an inner node are the indices
/// of its two children, which stand side by side in the node array; those of a leaf are its first element position and
/// one past its last, both with `isLeafFlag` set. A fresh node is a leaf without elements.
template <class Volume>
struct KVSHAPES_EXPORT Node
{
  std::uint32_t firstWord = isLeafFlag;
  std::uint32_t secondWord = isLeafFlag;
  Volume volume;

  constexpr bool isLeaf() const { return (firstWord & isLeafFlag) != 0; }
  /// Whether an inner node has a second child, which it always has in the trees that this library builds.
  constexpr bool hasSecondChild() const { return (secondWord & isLeafFlag) == 0; }

  /// The first element position of a leaf.
  constexpr std::uint32_t firstElement() const { return firstWord & ~isLeafFlag; }
  /// One past the last element position of a leaf.
  constexpr std::uint32_t endElement() const { return secondWord & ~isLeafFlag; }
};

static_assert(sizeof(Node<AxisAlignedBox<float, 3>>) == 32 && sizeof(Node<AxisAlignedBox<float, 2>>) == 24 &&
              sizeof(Node<AxisAlignedBox<float, 1>>) == 16);

} // namespace Kavrel::BoundingVolumeHierarchy
