#pragma once

#include "geometry/BoundingVolumeHierarchy/TopDownPartitioner.h"
#include "geometry/Instantiations.h"
#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Kavrel {

class Mesh;

namespace BoundingVolumeHierarchy {

/// The point types whose lists a tree of that dimension takes.
template <class PointType, unsigned dim>
concept TreePoint = OneOf<PointType, Vector<double, dim>, Point<double, dim>, Point<float, dim>> ||
    (dim == 3 && OneOf<PointType, ConstraintPoint, Point3N, Point3NT, ProjectionPoint>);

/// Search tree over points. An id is the position of a point in the list that the tree was made from; the tree keeps
/// its own copy of the coordinates. Copies of a tree share one immutable hierarchy, so any number of threads may query.
///
/// Distances are squared and in double precision. No query raises, and an empty tree finds nothing. Among points at
/// equal distance the one that the traversal meets first wins. A query with a NaN coordinate has no defined answer.
template <unsigned dim>
class KVSHAPES_EXPORT PointSearchTreeT
{
public:
  using Hierarchy = ElementTree<Vector<double, dim>, dim>;

  static constexpr unsigned defaultMaxLeafSize = 8;

  /// A tree without points.
  PointSearchTreeT();

  /// Copies share the hierarchy. A move is a copy, so that every tree has one.
  PointSearchTreeT(const PointSearchTreeT&) = default;
  PointSearchTreeT& operator=(const PointSearchTreeT&) = default;

  /// \p maxLeafSize, at least 1, is the number of points up to which a range is searched one by one.
  template <TreePoint<dim> PointType>
  explicit PointSearchTreeT(const std::vector<PointType>& points, unsigned maxLeafSize = defaultMaxLeafSize);

  /// The vertices of the mesh in their order or, with \p useTriangleCenters, the centres of its triangles in theirs.
  /// The mesh may go afterwards.
  PointSearchTreeT(const Mesh& mesh, bool useTriangleCenters,
                   unsigned maxLeafSize = defaultMaxLeafSize) requires(dim == 3);

  /// The same; a null pointer gives a tree without points.
  PointSearchTreeT(const std::shared_ptr<const Mesh>& mesh, bool useTriangleCenters,
                   unsigned maxLeafSize = defaultMaxLeafSize) requires(dim == 3);

  const Hierarchy& getBvh() const { return *bvh; }

  /// Finds the closest point. \p id is written in any case and 0 if nothing is found.
  bool selectClosest(const Vector<double, dim>& point, std::uint64_t& id) const;

  /// Finds the closest point's coordinates; \p nearest stays as it is if nothing is found.
  bool getNearestPoint(const Vector<double, dim>& point, Point<double, dim>& nearest) const;

  /// Squared distance to the closest point; the largest finite double for an empty tree.
  double squareDistance(const Vector<double, dim>& point) const;

  /// The same with the closest point's id, 0 for an empty tree.
  double squareDistance(const Vector<double, dim>& point, std::uint64_t& id) const;

  /// Finds the closest point among those whose id isn't \p excludedId. \p id is 0 if nothing is found.
  bool nearestPointIndexExcluded(const Vector<double, dim>& point, std::uint64_t excludedId, std::uint64_t& id) const;

  /// Finds the \p k closest points, or all if there are fewer: ids and squared distances side by side, by ascending
  /// distance if \p sorted, otherwise in no useful order. A \p k below 1 finds nothing. True if something was found.
  bool nearestPointIndices(const Vector<double, dim>& point, int k, std::vector<int>& ids,
                           std::vector<double>& squareDistances, bool sorted) const;

  /// Finds the closest point within \p radius, inclusive. \p id is 0 if there is none.
  bool sphereSelectFirst(const Vector<double, dim>& point, double radius, std::uint64_t& id) const;

  /// Replaces \p ids by those of all points within \p radius, inclusive, in traversal order. True if there are any.
  bool sphereSelectAll(const Vector<double, dim>& point, double radius, std::vector<int>& ids) const;

  /// Finds the point with the lowest value of `normal . point - offset`, which may be negative and is the signed
  /// distance for a unit normal. Nothing is written if nothing is found, which in two dimensions is always so.
  bool minimumSignedPlaneDistance(const Vector<double, 3>& normal, double offset, std::uint64_t& id,
                                  double& distance) const;

private:
  void initFromMesh(const Mesh& mesh, bool useTriangleCenters, unsigned maxLeafSize) requires(dim == 3);

  std::shared_ptr<const Hierarchy> bvh;
};

extern template class PointSearchTreeT<2>;
extern template class PointSearchTreeT<3>;

} // namespace BoundingVolumeHierarchy
} // namespace Kavrel
