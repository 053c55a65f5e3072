#pragma once

#include "geometry/BoundingBox.h"
#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"
#include "geometry/BoundingVolumeHierarchy/TopDownPartitioner.h"
#include "geometry/Plane.h"
#include "geometry/Point3N.h"
#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/Triangle.h"
#include "platform/Export.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

namespace Kavrel {

class Mesh;

namespace BoundingVolumeHierarchy {

/// Search tree over the triangles of one or several meshes. The id of a triangle is its index in the mesh; the ids
/// of a further mesh in the list go on where those of the one before end.
///
/// The tree borrows the vertices of the meshes: these must outlive it and keep their coordinates, unless the tree was
/// told to keep the meshes and nothing changes them.
///
/// A tree is immutable; its copies share one hierarchy, and any number of threads may query. No query raises. An `out`
/// argument of a query that finds nothing holds zeros and a point at the origin without normal; a list is emptied
/// first and filled in traversal order. Directions need no unit length; a zero direction hits nothing. Among equals the
/// triangle that the traversal meets first wins. A null mesh counts as one without vertices.
class KVSHAPES_EXPORT MeshSearchTree
{
public:
  using Hierarchy = ElementTree<Triangle, 3>;

  static constexpr unsigned defaultMaxLeafSize = 8;
  static constexpr unsigned defaultMaxDepth = 30;

  /// Where a line meets a triangle.
  struct RayIntersectionResult
  {
    bool hit = false;
    /// Triangle id.
    int triangle = -1;
    /// `xi`, `eta` in the triangle and, as element index, its id.
    XiEtaPoint position{0.0, 0.0};
    /// Position along the line in units of length, negative behind the origin.
    double parameter = std::numeric_limits<double>::max();
    /// The hit with the normal of the triangle.
    Point3N point;
  };

  /// Where two triangles meet: their ids here and in the other tree, and the ends of the common segment.
  struct TriangleIntersectionResult
  {
    int first = -1;
    int second = -1;
    Point<double, 3> start;
    Point<double, 3> end;
  };

  /// A tree without triangles.
  MeshSearchTree();

  /// Copies share the hierarchy. A move is a copy, so that every tree has one.
  MeshSearchTree(const MeshSearchTree&) = default;
  MeshSearchTree& operator=(const MeshSearchTree&) = default;

  /// Borrows \p mesh. \p maxLeafSize, at least 1, is the number of triangles up to which a range is searched one by
  /// one; it grows where the tree would become deeper than \p maxDepth.
  explicit MeshSearchTree(const Mesh& mesh, unsigned maxLeafSize = defaultMaxLeafSize,
                          unsigned maxDepth = defaultMaxDepth);

  /// Keeps \p mesh alive if \p keep. A null pointer gives a tree without triangles.
  MeshSearchTree(const std::shared_ptr<const Mesh>& mesh, bool keep, unsigned maxLeafSize = defaultMaxLeafSize,
                 unsigned maxDepth = defaultMaxDepth);

  /// Several meshes, borrowed. Null pointers are skipped but keep their position in the list.
  explicit MeshSearchTree(const std::vector<const Mesh*>& list, unsigned maxLeafSize = defaultMaxLeafSize,
                          unsigned maxDepth = defaultMaxDepth);

  /// Several meshes, kept alive if \p keep.
  MeshSearchTree(const std::vector<std::shared_ptr<const Mesh>>& list, bool keep,
                 unsigned maxLeafSize = defaultMaxLeafSize, unsigned maxDepth = defaultMaxDepth);
  MeshSearchTree(const std::vector<std::shared_ptr<Mesh>>& list, bool keep, unsigned maxLeafSize = defaultMaxLeafSize,
                 unsigned maxDepth = defaultMaxDepth);

  const Hierarchy& getBvh() const { return *bvh; }

  /// The meshes that the tree keeps alive.
  const std::vector<std::shared_ptr<const Mesh>>& getMeshes() const { return meshes; }

  /// True without triangles.
  bool empty() const;

  /// Box around all triangles, wider than exact by a millionth; invalid for an empty tree.
  BoundingBox<double, 3> getBoundingBox() const;

  /// Memory of the tree in bytes, without the meshes.
  std::size_t estimateBytes() const;

  /// Position of the mesh to which the triangle id in \p xiEta belongs; the id becomes the index within that mesh. If
  /// the tree doesn't know: `size_t(-1)`, and \p xiEta stays.
  std::size_t correctElementIndexForMultipleMeshesAndGetMeshIdx(XiEtaPoint& xiEta) const;

  /// The mesh itself; null if the tree doesn't know or keeps no meshes.
  std::shared_ptr<const Mesh> correctElementIndexForMultipleMeshes(XiEtaPoint& xiEta) const;

  /// \name Nearest point
  ///@{

  /// Finds the nearest point of the mesh as triangle id and position in that triangle.
  bool selectClosest(const Vector<double, 3>& point, XiEtaPoint& out) const;

  /// Id of the nearest triangle, or -1.
  int getNearestTriangle(const Vector<double, 3>& point) const;

  /// Finds the nearest point of the mesh with the normal there; the normal is missing where a triangle has none.
  bool getNearestPoint(const Vector<double, 3>& point, Point3N& out) const;
  bool getNearestPoint(const Vector<double, 3>& point, Point3N& out, XiEtaPoint& xiEta) const;

  /// Squared distance to the mesh; the largest finite double for an empty tree.
  double calcMinSquareDistance(const Vector<double, 3>& point) const;

  /// Smallest squared distance of a vertex of \p mesh; the largest finite double without vertices.
  double calcMinSquareDistanceFromVertices(const std::shared_ptr<const Mesh>& mesh) const;

  /// Largest squared distance of a vertex of \p mesh, 0 without vertices.
  double calcMaxSquareDistanceFromVertices(const std::shared_ptr<const Mesh>& mesh) const;

  /// Distance (not squared, never negative) between the mesh and the plane, 0 if they meet; the largest finite double
  /// for an empty tree.
  double calcMinDistanceToPlane(const Plane<double, 3>& plane) const;
  ///@}

  /// \name Within a radius, inclusive
  ///@{

  /// Finds the nearest point of the mesh if it lies within \p radius.
  bool sphereSelectFirst(const Vector<double, 3>& point, double radius, Point3N& out) const;
  bool sphereSelectFirst(const Vector<double, 3>& point, double radius, XiEtaPoint& out) const;

  /// Lists the nearest point of each triangle within \p radius, and counts them.
  std::size_t sphereSelectAll(const Vector<double, 3>& point, double radius, std::vector<XiEtaPoint>& out) const;

  /// Lists the triangles within \p radius of the plane. True if there are any.
  bool planeSelectAll(const Plane<double, 3>& plane, double radius, std::vector<int>& out) const;
  ///@}

  /// \name Planes and boxes
  ///@{

  /// Lists the triangles that the plane cuts: a vertex above it and one on or below it. True if there are any.
  bool planeIntersections(const Plane<double, 3>& plane, std::vector<int>& out) const;

  /// Lists the triangles of all leaves whose boxes overlap the box from \p low to \p high: all that meet it and some
  /// more. True if there are any.
  bool collectLeafs(const Vector<double, 3>& low, const Vector<double, 3>& high, std::vector<int>& out) const;
  ///@}

  /// \name Lines and rays
  /// A line runs both ways from its origin and a ray one way (a hit at most 1e-6 behind its origin counts). The first
  /// hit is the one nearest to the origin. No line gets lost through an edge or a vertex.
  ///@{
  bool lineSelectFirst(const Vector<double, 3>& origin, const Vector<double, 3>& direction,
                       RayIntersectionResult& result) const;

  /// \p distance is the distance (never negative) of the hit from the origin; the largest finite double without a hit.
  bool lineSelectFirst(const Vector<double, 3>& origin, const Vector<double, 3>& direction, XiEtaPoint& xiEta,
                       Point3N& out, double& distance) const;

  /// Counts a line that passes a triangle by at most \p tolerance as a hit; `xi` and `eta` may then lie outside of it.
  bool lineSelectFirstLegacy(const Vector<double, 3>& origin, const Vector<double, 3>& direction, double tolerance,
                             RayIntersectionResult& result) const;

  /// The line along z; the parameter is the signed height of the hit above the origin.
  bool lineSelectFirstZ(const Vector<double, 3>& origin, RayIntersectionResult& result) const;

  std::size_t lineSelectAll(const Vector<double, 3>& origin, const Vector<double, 3>& direction,
                            std::vector<XiEtaPoint>& out) const;
  bool raySelectFirst(const Vector<double, 3>& origin, const Vector<double, 3>& direction, XiEtaPoint& xiEta,
                      Point3N& out, double& distance) const;
  std::size_t raySelectAll(const Vector<double, 3>& origin, const Vector<double, 3>& direction,
                           std::vector<XiEtaPoint>& out) const;
  ///@}

  /// \name Two trees
  ///@{

  /// Lists all pairs of triangles that cross. True if there are any.
  bool getMeshIntersections(const MeshSearchTree& other, std::vector<TriangleIntersectionResult>& out) const;

  /// Finds the nearest points of both meshes if they are within \p maxSquareDistance (squared, inclusive). If nothing
  /// is found \p squareDistance is the largest finite double.
  bool getNearestPoints(const MeshSearchTree& other, Point3N& onThis, Point3N& onOther, double& squareDistance,
                        double maxSquareDistance) const;

  /// The same between the mesh and polylines, for `Point<double, 3>` and `Point3N`.
  template <class P>
  bool getNearestPoints(const PolyLineSearchTree<P>& other, Point3N& onMesh, P& onPolyLine, double& squareDistance,
                        double maxSquareDistance) const;

  /// For each triangle of \p mesh, in its order: where the line through its centre along its normal first meets this
  /// tree. A triangle without area has no hit.
  std::vector<RayIntersectionResult> mapTriangleCenters(const std::shared_ptr<const Mesh>& mesh) const;
  ///@}

private:
  std::vector<std::shared_ptr<const Mesh>> meshes;
  std::vector<std::size_t> cumulatedSizes;
  std::shared_ptr<const Hierarchy> bvh;
};

/// Nearest point of the tree's meshes to \p point: its position, normal, mesh and the triangle's index in that mesh.
/// Returns 1, or 0 and writes nothing if the tree is empty.
KVSHAPES_EXPORT int aku_pr_getNearestGeoPoint(const MeshSearchTree& tree, const double point[3], double position[3],
                                              unsigned* meshIndex, unsigned* triangle, double normal[3]);

/// The hit of `MeshSearchTree::lineSelectFirstLegacy`, given in the same way. Returns 1, or 0 and writes nothing
/// without a hit.
KVSHAPES_EXPORT int aku_pr_projPointOnGeo(const MeshSearchTree& tree, const double origin[3], const double direction[3],
                                          double tolerance, double position[3], unsigned* meshIndex, unsigned* triangle,
                                          double normal[3]);

} // namespace BoundingVolumeHierarchy
} // namespace Kavrel
