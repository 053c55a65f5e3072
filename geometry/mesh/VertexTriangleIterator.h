#pragma once

#include "geometry/mesh/HalfEdge.h"
#include "geometry/mesh/Vertex.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

namespace Kavrel {

/// Walks the triangles around a centre, clockwise from the triangle of the centre's half-edge, jumping from a boundary
/// to the other end of the fan: each triangle of the fan comes once. V and T are Vertex and Triangle, both const or
/// both not. Structural changes of the mesh end the walk.
template <class V, class T>
class VertexTriangleIterator
{
public:
  using Edge = std::conditional_t<std::is_const_v<V>, const HalfEdge, HalfEdge>;
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = std::remove_const_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

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

  VertexTriangleIterator operator++(int)
  {
    VertexTriangleIterator before(*this);
    ++*this;
    return before;
  }
  VertexTriangleIterator operator--(int)
  {
    VertexTriangleIterator before(*this);
    --*this;
    return before;
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
