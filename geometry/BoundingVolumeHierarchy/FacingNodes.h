#pragma once

#include "geometry/BoundingVolumeHierarchy/PackedFront.h"
#include "geometry/BoundingVolumeHierarchy/Traversals.h"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Kavrel::BoundingVolumeHierarchy {

/// The nodes of one of two hierarchies that reach far enough towards the other one to hold a triangle of the nearest
/// pair.
///
/// Where surfaces face each other askew to the axes, volumes can't tell which of their parts are nearest: a volume
/// reaches farther than what it holds. The triangles themselves can, seen along the direction of a pair that is near
/// already. They are looked at once, tree by tree, and not once for every pair.
template <class Hierarchy>
class FacingNodes
{
public:
  explicit FacingNodes(const Hierarchy& searched) : tree(searched) {}

  /// Whether a node may matter: any until some are chosen, and some more than those that were.
  bool contains(std::uint32_t node) const { return !isChosen || marks[node % marks.size()]; }

  /// How far the tree begins along a unit direction. Looks into so many leaves; negative infinity where they are not
  /// enough, or a triangle is too narrow to be sure.
  double front(const Vector<double, 3>& direction, std::size_t leaves) const
  {
    constexpr double unknown = -std::numeric_limits<double>::infinity();
    const SignedPlane origin(direction, 0.0);
    const PackedFront packed(direction);
    double least = std::numeric_limits<double>::infinity();
    visitNearestFirst(
        tree, SignedDistanceOfChildren(origin), [&least](double value) { return value >= least; },
        [&](std::uint32_t first, std::uint32_t end) {
          least = leaves == 0 ? unknown : std::min(least, frontOfLeaf(packed, first, end));
          --leaves;
        });
    return least;
  }

  /// Chooses the nodes with a triangle that begins before a limit along a unit direction. Looks into so many leaves;
  /// chooses nothing where they are not enough.
  void choose(const Vector<double, 3>& direction, double limit, std::size_t leaves)
  {
    marks.reset();
    Choice choice{SignedPlane(direction, limit), PackedFront(direction), leaves};
    mark(0, choice);
    isChosen = choice.leaves > 0;
  }

private:
  struct Choice
  {
    SignedPlane plane;
    PackedFront packed;
    std::size_t leaves;
  };

  double frontOfLeaf(const PackedFront& packed, std::uint32_t first, std::uint32_t end) const
  {
    return static_cast<double>(packed.nearest(tree.getPackedElements().getLeaf(first), end - first));
  }

  bool mark(std::uint32_t index, Choice& choice)
  {
    const auto& node = tree.getNode(index);
    if (choice.leaves == 0 || signedDistance(choice.plane, node.volume) > 0.0) return false;
    bool matters = false;
    if (node.isLeaf()) {
      --choice.leaves;
      matters = !(frontOfLeaf(choice.packed, node.firstElement(), node.endElement()) > choice.plane.offset);
    } else {
      matters = mark(node.firstWord, choice);
      if (node.hasSecondChild()) matters = mark(node.secondWord, choice) || matters;
    }
    if (matters) marks.set(index % marks.size());
    return matters;
  }

  const Hierarchy& tree;
  bool isChosen = false;
  std::bitset<8192> marks; ///< by index, of which several share a mark
};

} // namespace Kavrel::BoundingVolumeHierarchy
