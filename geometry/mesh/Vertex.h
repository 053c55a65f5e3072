#pragma once

#include "geometry/Point3N.h"
#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"

#include <cstddef>

namespace Kavrel {

class HalfEdge;
class Triangle;
template <class V>
class VertexVertexIterator;
template <class V, class T>
class VertexTriangleIterator;

/// A corner of a triangle mesh: a position with an optional normal, its place in the mesh and, with topology, one way
/// into the half-edges. The half-edge is borrowed from the mesh; copying a vertex copies the pointer.
class KVSHAPES_EXPORT Vertex : public Point3N
{
public:
  /// The origin, without normal, with index 0.
  Vertex() = default;
  /// Without normal.
  Vertex(double x, double y, double z, unsigned position = 0) : Point3N(x, y, z), index(position) {}
  explicit Vertex(const Vector<double, 3>& position) : Point3N(position) {}
  /// Takes the normal along.
  explicit Vertex(const Point3N& point) : Point3N(point) {}

  /// A half-edge that starts here, null without topology or for a vertex in no triangle.
  const HalfEdge* getHalfEdge() const { return halfEdge; }
  HalfEdge* getHalfEdge() { return halfEdge; }
  void setHalfEdge(HalfEdge* value) { halfEdge = value; }

  /// Position in the mesh's collection of vertices.
  unsigned getIndex() const { return index; }
  void setIndex(unsigned value) { index = value; }

  /// Size of the record in bytes.
  std::size_t estimateBytes() const { return sizeof(Vertex); }

  /// The vertices joined to this one by an edge of its fan, each once. Empty without half-edge. Callers include
  /// VertexVertexIterator.h.
  VertexVertexIterator<const Vertex> vertexBegin() const;
  VertexVertexIterator<const Vertex> vertexEnd() const;
  VertexVertexIterator<Vertex> vertexBegin();
  VertexVertexIterator<Vertex> vertexEnd();

  /// The triangles of this vertex's fan, each once. Empty without half-edge. Callers include VertexTriangleIterator.h.
  VertexTriangleIterator<const Vertex, const Triangle> triangleBegin() const;
  VertexTriangleIterator<const Vertex, const Triangle> triangleEnd() const;
  VertexTriangleIterator<Vertex, Triangle> triangleBegin();
  VertexTriangleIterator<Vertex, Triangle> triangleEnd();

private:
  HalfEdge* halfEdge = nullptr;
  unsigned index = 0;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel
