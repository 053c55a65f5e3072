#pragma once

#include "geometry/Point.h"
#include "geometry/Side.h"
#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <string>

namespace Kavrel {

class Mesh;
class Triangle;
template <class T, unsigned dim>
class Plane;

/// Operations on whole meshes and on pairs of triangles. All but the offset only read, and sum serially in the order of
/// the mesh, so that they repeat bit for bit.
class KVSHAPES_EXPORT MeshAlgorithm
{
public:
  MeshAlgorithm() = delete;

  /// The mean of the surface, each triangle's centre weighted by its area, and the area. An empty mesh gives the origin
  /// and 0, a mesh whose triangles have no area a point that isn't finite.
  static Point<double, 3> calculateAreaWeightedCenterOfGravity(const Mesh& mesh, double& area);

  /// The sum of e1 x e2 / 2 over the triangles, e1 and e2 being the edges from corner 0.
  static Vector<double, 3> calculateAreaWeightedNormal(const Mesh& mesh);

  /// A digest of the sums of the coordinates, of the normals if the mesh has them, and of the corner indices, 48
  /// hexadecimal digits. Different digests mean different meshes, but equal ones prove nothing.
  static std::string computeHash(const Mesh& mesh);

  /// The side of \p plane on which the vertices lie, where up to \p eps beside it counts as on it: On only for a mesh
  /// wholly on the plane, Both as soon as two vertices lie on opposite sides, no side (0) for an empty mesh. \p
  /// touches, unless null, tells whether one of the vertices looked at is on the plane.
  static Side getSide(const Mesh& mesh, const Plane<double, 3>& plane, double eps, bool* touches);

  /// Moves each vertex by \p distance times its normal; a mesh without normals first gets area-weighted ones.
  static void offsetAlongNormals(Mesh& mesh, double distance);

  /// Whether the triangles p1 q1 r1 and p2 q2 r2, with unit normals \p n1 and \p n2, cross, and the ends of the segment
  /// in which they do. Both triangles must have corners strictly on either side of the other one's plane: touching at a
  /// corner or along an edge doesn't count, nor do coplanar or degenerate triangles. A corner within 1e-12 of the other
  /// plane lies in it. Where the result is false, \p source and \p target stay as they are.
  static bool triangleTriangleIntersection(const Vector<double, 3>& p1, const Vector<double, 3>& q1,
                                           const Vector<double, 3>& r1, const Vector<double, 3>& p2,
                                           const Vector<double, 3>& q2, const Vector<double, 3>& r2,
                                           const Vector<double, 3>& n1, const Vector<double, 3>& n2,
                                           Point<double, 3>& source, Point<double, 3>& target);

  /// The same of two triangles of meshes, with their geometric normals.
  static bool triangleTriangleIntersection(const Triangle* a, const Triangle* b, Point<double, 3>& source,
                                           Point<double, 3>& target);
};

} // namespace Kavrel
