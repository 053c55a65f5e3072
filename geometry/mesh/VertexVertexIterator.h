#pragma once

#include "geometry/mesh/MeshWalk.h"
#include "geometry/mesh/Vertex.h"

namespace Kavrel {

/// Walks the vertices around a centre, clockwise from the head of the centre's half-edge. At a boundary the walk jumps
/// to the other end of the fan, first to the vertex that no outgoing half-edge reaches, and goes on to its start: each
/// neighbour comes once. V is Vertex or const Vertex. Structural changes of the mesh end the walk.
template <class V>
class VertexVertexIterator : public MeshWalk<VertexVertexIterator<V>, V>
{
  using Base = MeshWalk<VertexVertexIterator<V>, V>;
  using Edge = typename Base::Edge;

public:
  using typename Base::pointer;
  using typename Base::reference;
  using Base::operator++;
  using Base::operator--;

  VertexVertexIterator() = default;
  VertexVertexIterator(V& vertex, bool end)
      : centre(&vertex), current(vertex.getHalfEdge()), atEnd(end || current == nullptr)
  {}

  reference operator*() const { return *operator->(); }
  pointer operator->() const { return onExtraSpoke ? current->getNextEdge()->getVertex() : current->getVertex(); }

  VertexVertexIterator& operator++()
  {
    if (atEnd) return *this;
    if (onExtraSpoke) {
      onExtraSpoke = false;
      atEnd = isAtStart();
    } else if (current->hasTwoWayNeighbour()) {
      current = current->getNeighbourEdge()->getNextEdge();
      atEnd = isAtStart();
    } else {
      while (current->getPreviousEdge()->hasTwoWayNeighbour())
        current = current->getPreviousEdge()->getNeighbourEdge();
      onExtraSpoke = true;
    }
    return *this;
  }

  VertexVertexIterator& operator--()
  {
    if (!current) return *this;
    atEnd = false;
    if (onExtraSpoke) {
      onExtraSpoke = false;
      while (current->hasTwoWayNeighbour())
        current = current->getNeighbourEdge()->getNextEdge();
    } else if (current->getPreviousEdge()->hasTwoWayNeighbour()) {
      current = current->getPreviousEdge()->getNeighbourEdge();
    } else {
      onExtraSpoke = true;
    }
    return *this;
  }

  friend bool operator==(const VertexVertexIterator& a, const VertexVertexIterator& b) = default;

private:
  bool isAtStart() const { return current == centre->getHalfEdge(); }

  V* centre = nullptr;
  Edge* current = nullptr;
  bool atEnd = true;
  bool onExtraSpoke = false;
};

inline VertexVertexIterator<const Vertex> Vertex::vertexBegin() const { return {*this, false}; }
inline VertexVertexIterator<const Vertex> Vertex::vertexEnd() const { return {*this, true}; }
inline VertexVertexIterator<Vertex> Vertex::vertexBegin() { return {*this, false}; }
inline VertexVertexIterator<Vertex> Vertex::vertexEnd() { return {*this, true}; }

} // namespace Kavrel
