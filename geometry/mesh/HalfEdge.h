#pragma once

#include "platform/Export.h"

#include <cstddef>

namespace Kavrel {

class Triangle;
class Vertex;

/// One side of a triangle, directed from corner to corner. All links are borrowed from the mesh that holds the
/// half-edge.
class KVSHAPES_EXPORT HalfEdge
{
public:
  /// A half-edge without links and with index 0.
  HalfEdge() = default;

  /// The triangle on the left of this half-edge.
  const Triangle* getTriangle() const { return triangle; }
  Triangle* getTriangle() { return triangle; }
  void setTriangle(Triangle* value) { triangle = value; }

  /// The half-edge across, in the triangle next door; null on a boundary. At an edge of three or more triangles the
  /// neighbour need not point back, see hasTwoWayNeighbour().
  const HalfEdge* getNeighbourEdge() const { return neighbourEdge; }
  HalfEdge* getNeighbourEdge() { return neighbourEdge; }
  void setNeighbourEdge(HalfEdge* value) { neighbourEdge = value; }

  /// The following half-edge of the same triangle.
  const HalfEdge* getNextEdge() const { return nextEdge; }
  HalfEdge* getNextEdge() { return nextEdge; }
  void setNextEdge(HalfEdge* value) { nextEdge = value; }

  /// The half-edge before this one in its triangle. Needs a complete cycle of next edges.
  const HalfEdge* getPreviousEdge() const { return nextEdge->nextEdge; }
  HalfEdge* getPreviousEdge() { return nextEdge->nextEdge; }

  /// Where the half-edge ends. It starts where its previous edge ends.
  const Vertex* getVertex() const { return vertex; }
  Vertex* getVertex() { return vertex; }
  void setVertex(Vertex* value) { vertex = value; }

  /// Position in the mesh's collection of half-edges.
  unsigned getIndex() const { return index; }
  void setIndex(unsigned value) { index = value; }

  /// True when there is a neighbour that points back, the only kind that walks around vertices cross.
  bool hasTwoWayNeighbour() const { return neighbourEdge && neighbourEdge->neighbourEdge == this; }

  /// True for the remains of a half-edge: a modifier that removes one without closing the gap overwrites it with all
  /// bits set. Its links lead nowhere.
  bool isRemoved() const { return index == 0xFFFFFFFF; }

  /// Size of the record in bytes.
  std::size_t estimateBytes() const { return sizeof(HalfEdge); }

private:
  Triangle* triangle = nullptr;
  HalfEdge* neighbourEdge = nullptr;
  HalfEdge* nextEdge = nullptr;
  Vertex* vertex = nullptr;
  unsigned index = 0;
};

} // namespace Kavrel
