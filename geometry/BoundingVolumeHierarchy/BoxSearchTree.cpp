#include "geometry/BoundingVolumeHierarchy/BoxSearchTree.h"

#include "geometry/BoundingVolumeHierarchy/ElementIds.h"
#include "geometry/BoundingVolumeHierarchy/Queries.h"

#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

constexpr unsigned maxDepth = 30;

template <unsigned dim>
std::vector<AxisAlignedBox<double, dim>>
boxesFrom(const std::vector<std::pair<Vector<double, dim>, Vector<double, dim>>>& corners)
{
  std::vector<AxisAlignedBox<double, dim>> boxes;
  boxes.reserve(corners.size());
  for (const auto& [low, high] : corners)
    boxes.emplace_back(low, high);
  return boxes;
}

/// Lists the ids of all elements that pass a test, which is asked of the volumes above them too.
template <class Hierarchy, class Test>
bool selectAll(const Hierarchy& tree, const Test& test, std::vector<int>& ids)
{
  ids.clear();
  visitAll(tree, test, [&](std::uint32_t first, std::uint32_t end) {
    for (std::uint32_t position = first; position < end; ++position)
      if (test(tree.getElement(position))) ids.push_back(static_cast<int>(position));
  });
  turnIntoIds(tree, ids);
  return !ids.empty();
}

} // namespace

template <unsigned dim>
BoxSearchTree<dim>::BoxSearchTree(const std::vector<Box>& boxes, unsigned maxLeafSize)
    : bvh(std::make_shared<const Hierarchy>(boxes, maxLeafSize, maxDepth))
{}

template <unsigned dim>
BoxSearchTree<dim>::BoxSearchTree(const std::vector<std::pair<Vector<double, dim>, Vector<double, dim>>>& boxes,
                                  unsigned maxLeafSize)
    : BoxSearchTree(boxesFrom(boxes), maxLeafSize)
{}

template <unsigned dim>
bool BoxSearchTree<dim>::getBoxesContaining(const Vector<double, dim>& point, std::vector<int>& ids) const
{
  return selectAll(
      *bvh, [&point](const auto& box) { return contains(box, point); }, ids);
}

template <unsigned dim>
bool BoxSearchTree<dim>::getBoxesContaining(double coordinate, std::vector<int>& ids) const requires(dim == 1)
{
  return getBoxesContaining(Vector<double, 1>(coordinate), ids);
}

template <unsigned dim>
bool BoxSearchTree<dim>::getBoxesIntersecting(const Box& box, std::vector<int>& ids) const
{
  return selectAll(
      *bvh, [&box](const auto& other) { return overlaps(other, box); }, ids);
}

template <unsigned dim>
bool BoxSearchTree<dim>::getIntersections(const std::shared_ptr<BoxSearchTree>& other,
                                          std::vector<std::pair<int, int>>& pairs) const
{
  pairs.clear();
  if (!other || bvh->empty() || other->bvh->empty()) return false;
  const auto meet = [](const auto& a, const auto& b) { return overlaps(a, b); };
  overlappingPairs(*bvh, *other->bvh, meet, [&](std::uint32_t i, std::uint32_t j) {
    if (overlaps(bvh->getElement(i), other->bvh->getElement(j)))
      pairs.emplace_back(static_cast<int>(i), static_cast<int>(j));
  });
  for (auto& [first, second] : pairs) {
    first = static_cast<int>(bvh->getElementId(static_cast<unsigned>(first)));
    second = static_cast<int>(other->bvh->getElementId(static_cast<unsigned>(second)));
  }
  return !pairs.empty();
}

template class BoxSearchTree<1>;
template class BoxSearchTree<2>;
template class BoxSearchTree<3>;

} // namespace Kavrel::BoundingVolumeHierarchy
