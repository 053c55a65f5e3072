#pragma once

#include "geometry/BoundingVolumeHierarchy/ChildMeasures.h"
#include "geometry/BoundingVolumeHierarchy/Node.h"
#include "geometry/BoundingVolumeHierarchy/VolumeTests.h"

#include <cstdint>
#include <limits>

/// The walks through one hierarchy and through two. They take callables for what a query is to a volume and for what
/// happens at a leaf; Queries.h makes the common queries out of them. The root itself is not tested. No walk allocates.
namespace Kavrel::BoundingVolumeHierarchy {

/// More than the depth of any tree: element positions have 31 bits and every split halves.
inline constexpr unsigned maximumDepth = 32;

/// Fetches what a walk reads next below a node, while the node itself is still being looked at.
template <class Hierarchy, class NodeType>
void prefetchBelow(const Hierarchy& tree, const NodeType& node)
{
  const void* const below =
      node.isLeaf() ? tree.getLeafData(node.firstElement()) : static_cast<const void*>(&tree.getNode(node.firstWord));
  __builtin_prefetch(below);
}

/// Visits leaves in the order of what is nearest at each node.
/// - `measure(firstChild, secondChild)` gives the ChildValues of two nodes; on a tie the first child is visited first.
/// - `tooFar(value)` says whether a child of that value can be left out. It is asked twice about the child of greater
///   value: before its sibling is visited, and after.
/// - `leaf(first, end)` takes the element positions of a leaf.
template <class Hierarchy, class Measure, class TooFar, class Leaf>
void visitNearestFirst(const Hierarchy& tree, const Measure& measure, const TooFar& tooFar, Leaf&& leaf)
{
  struct Waiting
  {
    double value;
    std::uint32_t node;
  };
  // One more than is ever used: the farther child is written first and counted only if it stays.
  Waiting waiting[maximumDepth + 1];
  unsigned count = 0;
  std::uint32_t index = 0;
  while (true) {
    const auto& node = tree.getNode(index);
    bool descends = false;
    if (node.isLeaf()) {
      leaf(node.firstElement(), node.endElement());
    } else {
      const auto& first = tree.getNode(node.firstWord);
      const auto& second = tree.getNode(node.secondWord);
      prefetchBelow(tree, first);
      prefetchBelow(tree, second);
      const ChildValues values = measure(first, second);
      // Which child is nearer can't be foreseen, so it is looked up and not branched on.
      const double sorted[2] = {values.first, values.second};
      const std::uint32_t children[2] = {node.firstWord, node.secondWord};
      const unsigned nearer = values.first > values.second ? 1 : 0;
      waiting[count] = {sorted[1 - nearer], children[1 - nearer]};
      count += tooFar(sorted[1 - nearer]) ? 0 : 1;
      descends = !tooFar(sorted[nearer]);
      index = children[nearer];
    }
    while (!descends) {
      if (count == 0) return;
      --count;
      descends = !tooFar(waiting[count].value);
      index = waiting[count].node;
    }
  }
}

/// Visits the leaves below all nodes that `accepts(volume)` lets pass, the first child before the second.
template <class Hierarchy, class Accepts, class Leaf>
void visitAll(const Hierarchy& tree, const Accepts& accepts, Leaf&& leaf)
{
  std::uint32_t waiting[maximumDepth];
  unsigned count = 0;
  std::uint32_t index = 0;
  while (true) {
    const auto& node = tree.getNode(index);
    if (!node.isLeaf()) {
      const bool second = accepts(tree.getNode(node.secondWord).volume);
      if (accepts(tree.getNode(node.firstWord).volume)) {
        if (second) waiting[count++] = node.secondWord;
        index = node.firstWord;
        continue;
      }
      if (second) {
        index = node.secondWord;
        continue;
      }
    } else {
      leaf(node.firstElement(), node.endElement());
    }
    if (count == 0) return;
    index = waiting[--count];
  }
}

/// The same with both children asked at once: `measure` gives ChildValues, and a child passes unless `tooFar(value)`.
template <class Hierarchy, class Measure, class TooFar, class Leaf>
void visitAllNear(const Hierarchy& tree, const Measure& measure, const TooFar& tooFar, Leaf&& leaf)
{
  std::uint32_t waiting[maximumDepth];
  unsigned count = 0;
  std::uint32_t index = 0;
  while (true) {
    const auto& node = tree.getNode(index);
    if (!node.isLeaf()) {
      const auto& firstChild = tree.getNode(node.firstWord);
      const auto& secondChild = tree.getNode(node.secondWord);
      prefetchBelow(tree, firstChild);
      prefetchBelow(tree, secondChild);
      const ChildValues values = measure(firstChild, secondChild);
      const bool first = !tooFar(values.first);
      const bool second = !tooFar(values.second);
      if (first && second) waiting[count++] = node.secondWord;
      if (first || second) {
        index = first ? node.firstWord : node.secondWord;
        continue;
      }
    } else {
      leaf(node.firstElement(), node.endElement());
    }
    if (count == 0) return;
    index = waiting[--count];
  }
}

/// Of two nodes the one to descend into: the inner one, of two inner ones the larger, by the product of extents; A on a
/// tie.
template <class NodeA, class NodeB>
bool descendsIntoB(const NodeA& a, const NodeB& b)
{
  if (a.isLeaf()) return true;
  if (b.isLeaf()) return false;
  return volume(b.volume) > volume(a.volume);
}

/// Visits pairs of leaves of two hierarchies by the squared distances of their volumes, the nearer child of a split
/// node first, the second only if strictly nearer.
/// - `tooFar(value)` says whether a pair of that value can be left out;
/// - `leaves(nodeA, nodeB)` takes two leaves;
/// - `leaves.matters(indexA, indexB)`, where there is one, says whether to look below two nodes at all.
template <class HierarchyA, class HierarchyB, class TooFar, class Leaves>
void visitNearestPairs(const HierarchyA& treeA, const HierarchyB& treeB, std::uint32_t indexA, std::uint32_t indexB,
                       const TooFar& tooFar, Leaves& leaves)
{
  if constexpr (requires { leaves.matters(indexA, indexB); })
    if (!leaves.matters(indexA, indexB)) return;
  const auto& a = treeA.getNode(indexA);
  const auto& b = treeB.getNode(indexB);
  if (a.isLeaf() && b.isLeaf()) return leaves(a, b);

  // Descends into one of the trees: `split` is its node, `other` the node of the other tree.
  const auto descend = [&tooFar](const auto& tree, const auto& split, const auto& other, const auto& visit) {
    ChildValues values =
        squareDistancesOfChildren(tree.getNode(split.firstWord),
                                  tree.getNode(split.hasSecondChild() ? split.secondWord : split.firstWord), other);
    if (!split.hasSecondChild()) values.second = std::numeric_limits<double>::max();
    const bool secondIsNearer = values.second < values.first;
    const double nearer = secondIsNearer ? values.second : values.first;
    const double farther = secondIsNearer ? values.first : values.second;
    if (!tooFar(nearer)) visit(secondIsNearer ? split.secondWord : split.firstWord);
    if (split.hasSecondChild() && !tooFar(farther)) visit(secondIsNearer ? split.firstWord : split.secondWord);
  };
  if (descendsIntoB(a, b))
    descend(treeB, b, a, [&](std::uint32_t child) { visitNearestPairs(treeA, treeB, indexA, child, tooFar, leaves); });
  else
    descend(treeA, a, b, [&](std::uint32_t child) { visitNearestPairs(treeA, treeB, child, indexB, tooFar, leaves); });
}

/// Visits all pairs of leaves whose volumes, and those of all nodes above, `accepts(volumeA, volumeB)` lets pass.
/// `leaves(nodeA, nodeB)` takes two leaves. The pair that the walk starts with is tested too.
template <class HierarchyA, class HierarchyB, class Accepts, class Leaves>
void visitAllPairs(const HierarchyA& treeA, const HierarchyB& treeB, std::uint32_t indexA, std::uint32_t indexB,
                   const Accepts& accepts, Leaves&& leaves)
{
  const auto& a = treeA.getNode(indexA);
  const auto& b = treeB.getNode(indexB);
  if (!accepts(a.volume, b.volume)) return;
  if (a.isLeaf() && b.isLeaf()) return leaves(a, b);
  if (descendsIntoB(a, b)) {
    visitAllPairs(treeA, treeB, indexA, b.firstWord, accepts, leaves);
    if (b.hasSecondChild()) visitAllPairs(treeA, treeB, indexA, b.secondWord, accepts, leaves);
  } else {
    visitAllPairs(treeA, treeB, a.firstWord, indexB, accepts, leaves);
    if (a.hasSecondChild()) visitAllPairs(treeA, treeB, a.secondWord, indexB, accepts, leaves);
  }
}

} // namespace Kavrel::BoundingVolumeHierarchy
