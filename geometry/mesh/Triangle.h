#pragma once

#include "geometry/mesh/Vertex.h"
#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <array>
#include <cstddef>
#include <iosfwd>

namespace Kavrel {

class HalfEdge;
class PersistenceArchiver;
class XiEtaPoint;
template <class T>
class TriangleTriangleIterator;

/// A triangle over three vertices of a mesh, counter-clockwise seen against its normal. Vertices and half-edge are
/// borrowed from the mesh. The geometric operations read the corners at each call and need all three.
///
/// With corners p0, p1, p2 the edges are e1 = p1 - p0 and e2 = p2 - p0; a place in the triangle is
/// p0 + xi e1 + eta e2.
class KVSHAPES_EXPORT Triangle
{
public:
  /// A triangle without corners and with index 0.
  Triangle() = default;
  Triangle(Vertex& a, Vertex& b, Vertex& c, unsigned position) : vertices{&a, &b, &c}, index(position) {}

  /// The half-edge from corner 0 to corner 1, null without topology.
  const HalfEdge* getHalfEdge() const { return halfEdge; }
  HalfEdge* getHalfEdge() { return halfEdge; }
  void setHalfEdge(HalfEdge* value) { halfEdge = value; }

  /// Position in the mesh's collection of triangles.
  unsigned getIndex() const { return index; }
  void setIndex(unsigned value) { index = value; }

  /// Corner 0, 1 or 2. Not checked.
  const Vertex* getVertex(unsigned corner) const { return vertices[corner]; }
  Vertex* getVertex(unsigned corner) { return vertices[corner]; }
  const Vertex& getVertexRef(unsigned corner) const { return *vertices[corner]; }
  Vertex& getVertexRef(unsigned corner) { return *vertices[corner]; }
  void setVertex(unsigned corner, Vertex* vertex) { vertices[corner] = vertex; }
  void setVertices(Vertex* a, Vertex* b, Vertex* c) { vertices = {a, b, c}; }
  void getVertexIndices(unsigned& a, unsigned& b, unsigned& c) const;

  /// Swaps corners 1 and 2 and touches nothing else: half-edges must be built again.
  void changeOrientation();

  /// Size of the record in bytes.
  std::size_t estimateBytes() const { return sizeof(Triangle); }

  /// The up to three triangles across an edge, in the order of the edges. Needs topology. Also crosses links that do
  /// not point back. Callers include TriangleTriangleIterator.h.
  TriangleTriangleIterator<const Triangle> triangleBegin() const;
  TriangleTriangleIterator<const Triangle> triangleEnd() const;
  TriangleTriangleIterator<Triangle> triangleBegin();
  TriangleTriangleIterator<Triangle> triangleEnd();

  /// Half of |e1 x e2|.
  double getArea() const;
  /// Unit e1 x e2; the zero vector when |e1 x e2| is below 1e-12.
  Vector<double, 3> getNormal() const;
  /// The mean of the corners.
  Point<double, 3> getCenter() const;

  /// The point at xi, eta; not clamped to the triangle.
  Point<double, 3> getPoint(const XiEtaPoint& place) const;
  void getGlobalPointFromXiEtaPoint(Point<double, 3>& point, const XiEtaPoint& place) const;
  /// The corner normals blended linearly at xi, eta and normalised; the triangle's own normal when no corner has one.
  Vector<double, 3> getNormal(const XiEtaPoint& place) const;
  /// getPoint() with getNormal() of the same place.
  Point3N getPointAndNormal(const XiEtaPoint& place) const;
  /// The normalised sum of the corner normals if all three are there, else the triangle's own normal.
  Vector<double, 3> getInterpolatedVertexNormal() const;

  /// Squared distance from \p point to the nearest point of the triangle.
  double getPointSqrDistance(const Point<double, 3>& point) const;
  double getPointDistance(const Point<double, 3>& point) const;
  /// The nearest point of the triangle, with the normal there.
  Point3N getNearestPoint(const Point<double, 3>& point) const;
  /// The place of the nearest point. Beyond a corner exactly (0, 0), (1, 0) or (0, 1).
  XiEtaPoint getNearestPointXiEta(const Point<double, 3>& point) const;
  void getXiEtaPointFromGlobalPoint(XiEtaPoint& place, const Point<double, 3>& point) const;
  /// The orthogonal projection on the triangle's plane, not clamped. A degenerate triangle gives no finite place.
  void getXiEtaOfProjection(XiEtaPoint& place, const Point<double, 3>& point) const;

  /// Crosses the whole line through \p origin with the triangle's plane. 0: parallel, \p place is not touched;
  /// 1: beside the triangle; 2: in the triangle, border included.
  int computeIntersection(const Point<double, 3>& origin, const Vector<double, 3>& direction, XiEtaPoint& place) const;
  /// Delivers the nearest place. 2: within \p tolerance of the triangle; 1: within it of the plane only; 0: neither.
  int computeIntersection(const Point<double, 3>& point, double tolerance, XiEtaPoint& place) const;
  /// True when the projection of \p point has no barycentric coordinate below -\p tolerance. A triangle with
  /// |e1 x e2| below 1e-12 contains nothing.
  bool isPointInside(const Point<double, 3>& point, double tolerance) const;

  /// Principal curvatures estimated from the three corner normals, the larger magnitude first. The directions are
  /// scaled by their curvature; \p directionCosine is the component of the first unit direction along e1. All zero and
  /// false when a corner has no normal.
  bool getCurvature(Vector<double, 3>& direction1, double& curvature1, Vector<double, 3>& direction2,
                    double& curvature2, double& directionCosine) const;

  /// Archive form: the three corners as borrowed references, then the index.
  void save(PersistenceArchiver& archiver, unsigned version) const;
  void load(PersistenceArchiver& archiver, unsigned version);

private:
  bool getNormalAndArea(Vector<double, 3>& normal, double& area) const;
  double distanceToTrianglePlane(const Point<double, 3>& point) const;
  int calcRectProjBarycentricCoord(const Point<double, 3>& point, double tolerance) const;

  HalfEdge* halfEdge = nullptr;
  std::array<Vertex*, 3> vertices{};
  unsigned index = 0;
};

/// The three corner indices separated by blanks.
KVSHAPES_EXPORT std::ostream& operator<<(std::ostream& stream, const Triangle& triangle);

inline void Triangle::getVertexIndices(unsigned& a, unsigned& b, unsigned& c) const
{
  a = vertices[0]->getIndex();
  b = vertices[1]->getIndex();
  c = vertices[2]->getIndex();
}

inline void Triangle::changeOrientation()
{
  Vertex* const corner = vertices[1];
  vertices[1] = vertices[2];
  vertices[2] = corner;
}

} // namespace Kavrel
