#pragma once

#include "geometry/BoundingVolumeHierarchy/Node.h"
#include "geometry/BoundingVolumeHierarchy/NodeAllocator.h"

#include <cstdint>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// The nodes over the elements of a provider. Owns its nodes and element records; what the records refer to is
/// borrowed. A built hierarchy is immutable, so any number of threads may search it. Only TopDownPartitioner makes one.
/// At most 2^31 - 1 elements.
template <class Provider, class Volume>
class KVSHAPES_EXPORT BoundingVolumeHierarchyBase : public Provider
{
public:
  using NodeType = Node<Volume>;
  using VolumeType = Volume;

  /// Node 0. There must be one.
  const NodeType& getRoot() const { return nodes.front(); }
  /// The index isn't checked.
  const NodeType& getNode(unsigned index) const { return nodes[index]; }
  NodeType& getNode(unsigned index) { return nodes[index]; }

  /// The most elements a leaf holds: what was asked for, or more where the depth was limited.
  std::uint32_t getMaxLeafSize() const { return maxLeafSize; }

  /// Whether there is no element.
  bool empty() const
  {
    return nodes.empty() || (nodes.front().isLeaf() && nodes.front().firstWord == nodes.front().secondWord);
  }

  /// Bytes of the elements, of the node array with its spare capacity, and of the object.
  std::uint64_t estimateBytes() const
  {
    return Provider::estimateBytes() + nodes.capacity() * sizeof(NodeType) + sizeof(*this);
  }

protected:
  BoundingVolumeHierarchyBase() = default;
  BoundingVolumeHierarchyBase(const BoundingVolumeHierarchyBase&) = default;
  BoundingVolumeHierarchyBase& operator=(const BoundingVolumeHierarchyBase&) = default;
  ~BoundingVolumeHierarchyBase() = default;

  /// Fills the provider and stores the leaf size; there are no nodes yet.
  template <class Source>
  BoundingVolumeHierarchyBase(const Source& source, std::uint32_t leafSize) : Provider(source), maxLeafSize(leafSize)
  {}

  /// Appends a fresh node and returns its index. References to nodes may dangle afterwards.
  std::uint32_t addNode()
  {
    nodes.emplace_back();
    return static_cast<std::uint32_t>(nodes.size() - 1);
  }

  /// Computes the volumes of a node and of all nodes below it. A leaf takes the bounds of its elements in single
  /// precision, widened once by a millionth of each bound and at least by 1e-6; an inner node the union of its
  /// children.
  void createBoundingVolumesBottomUp(NodeType& node);

  std::vector<NodeType, NodeAllocator<NodeType>> nodes;
  std::uint32_t maxLeafSize = 0;
};

} // namespace Kavrel::BoundingVolumeHierarchy
