#pragma once

#include "geometry/mesh/MeshWalk.h"
#include "geometry/mesh/Vertex.h"

namespace Kavrel {

/// Walks the triangles around a centre, clockwise from the triangle of the centre's half-edge, jumping from a boundary
/// to the other end of the fan: each triangle of the fan comes once. V and T are Vertex and Triangle, both const or
/// both not. Structural changes of the mesh end the walk.
template <class V, class T>
class VertexTriangleIterator : public MeshWalk<VertexTriangleIterator<V, T>, T>
{
  using Base = MeshWalk<VertexTriangleIterator<V, T>, T>;
  using Edge = typename Base::Edge;

public:
  using typename Base::pointer;
  using typename Base::reference;
  using Base::operator++;
  using Base::operator--;

  VertexTriangleIterator() = default;
  VertexTriangleIterator(V& vertex, bool end)
      : centre(&vertex), current(vertex.getHalfEdge()), atEnd(end || current == nullptr)
  {}

  reference operator*() const { return *current->getTriangle(); }
  pointer operator->() const { return current->getTriangle(); }

  VertexTriangleIterator& operator++()
  {
    if (atEnd) return *this;
    if (current->hasTwoWayNeighbour()) {
      current = current->getNeighbourEdge()->getNextEdge();
    } else {
      while (current->getPreviousEdge()->hasTwoWayNeighbour())
        current = current->getPreviousEdge()->getNeighbourEdge();
    }
    atEnd = current == centre->getHalfEdge();
    return *this;
  }

  VertexTriangleIterator& operator--()
  {
    if (!current) return *this;
    atEnd = false;
    if (current->getPreviousEdge()->hasTwoWayNeighbour()) {
      current = current->getPreviousEdge()->getNeighbourEdge();
    } else {
      while (current->hasTwoWayNeighbour())
        current = current->getNeighbourEdge()->getNextEdge();
    }
    return *this;
  }

  friend bool operator==(const VertexTriangleIterator& a, const VertexTriangleIterator& b) = default;

private:
  V* centre = nullptr;
  Edge* current = nullptr;
  bool atEnd = true;
};

inline VertexTriangleIterator<const Vertex, const Triangle> Vertex::triangleBegin() const { return {*this, false}; }
inline VertexTriangleIterator<const Vertex, const Triangle> Vertex::triangleEnd() const { return {*this, true}; }
inline VertexTriangleIterator<Vertex, Triangle> Vertex::triangleBegin() { return {*this, false}; }
inline VertexTriangleIterator<Vertex, Triangle> Vertex::triangleEnd() { return {*this, true}; }

} // namespace Kavrel
