#pragma once

#include "geometry/BoundingVolumeHierarchy/TopDownPartitioner.h"
#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <memory>
#include <utility>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// Search tree over axis-aligned boxes. An id is the position of a box in the list that the tree was made from. All
/// tests are closed, so touching counts, and exact in double precision. Copies of a tree share one immutable hierarchy,
/// so any number of threads may query. No query raises, and an empty tree finds nothing.
template <unsigned dim>
class KVSHAPES_EXPORT BoxSearchTree
{
public:
  using Box = AxisAlignedBox<double, dim>;
  using Hierarchy = ElementTree<Box, dim>;

  static constexpr unsigned defaultMaxLeafSize = 8;

  /// Copies share the hierarchy. A move is a copy, so that every tree has one.
  BoxSearchTree(const BoxSearchTree&) = default;
  BoxSearchTree& operator=(const BoxSearchTree&) = default;

  /// \p maxLeafSize, at least 1, is the number of boxes up to which a range is searched one by one.
  explicit BoxSearchTree(const std::vector<Box>& boxes, unsigned maxLeafSize = defaultMaxLeafSize);

  /// The same from pairs of lower and upper corner, taken as they are: an inverted box contains no point.
  explicit BoxSearchTree(const std::vector<std::pair<Vector<double, dim>, Vector<double, dim>>>& boxes,
                         unsigned maxLeafSize = defaultMaxLeafSize);

  const Hierarchy& getBvh() const { return *bvh; }

  /// Replaces \p ids by those of all boxes that hold \p point, in traversal order. True if there are any.
  bool getBoxesContaining(const Vector<double, dim>& point, std::vector<int>& ids) const;

  /// The same for a plain coordinate.
  bool getBoxesContaining(double coordinate, std::vector<int>& ids) const requires(dim == 1);

  /// Replaces \p ids by those of all boxes that overlap \p box, in traversal order. True if there are any.
  bool getBoxesIntersecting(const Box& box, std::vector<int>& ids) const;

  /// Replaces \p pairs by all pairs (id here, id in \p other) whose boxes overlap. True if there are any. Null is
  /// taken for an empty tree.
  bool getIntersections(const std::shared_ptr<BoxSearchTree>& other, std::vector<std::pair<int, int>>& pairs) const;

private:
  std::shared_ptr<const Hierarchy> bvh;
};

extern template class BoxSearchTree<1>;
extern template class BoxSearchTree<2>;
extern template class BoxSearchTree<3>;

} // namespace Kavrel::BoundingVolumeHierarchy
