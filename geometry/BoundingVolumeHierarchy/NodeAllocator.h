#pragma once

#include "geometry/BoundingVolumeHierarchy/LargeMemory.h"

#include <cstddef>
#include <new>

namespace Kavrel::BoundingVolumeHierarchy {

/// Places an array of nodes so that node 1 begins a cache line. The children of a node stand at an odd index and the
/// one behind it, so in three dimensions each pair of children then fills exactly one line.
template <class NodeType>
struct NodeAllocator
{
  using value_type = NodeType;
  static constexpr std::size_t lineSize = 64;
  static constexpr std::size_t lead = (lineSize - sizeof(NodeType) % lineSize) % lineSize;

  NodeAllocator() = default;
  template <class Other>
  constexpr NodeAllocator(const NodeAllocator<Other>&) noexcept
  {}

  NodeType* allocate(std::size_t count)
  {
    if (count > (static_cast<std::size_t>(-1) - lead) / sizeof(NodeType)) throw std::bad_array_new_length();
    auto* block = static_cast<std::byte*>(allocateLarge(lead + count * sizeof(NodeType)));
    return reinterpret_cast<NodeType*>(block + lead);
  }

  void deallocate(NodeType* nodes, std::size_t count) noexcept
  {
    freeLarge(reinterpret_cast<std::byte*>(nodes) - lead, lead + count * sizeof(NodeType));
  }

  friend constexpr bool operator==(const NodeAllocator&, const NodeAllocator&) noexcept { return true; }
};

} // namespace Kavrel::BoundingVolumeHierarchy
