#pragma once

#include "geometry/mesh/MeshWalk.h"
#include "geometry/mesh/Triangle.h"

namespace Kavrel {

/// Walks the up to three triangles across an edge of a triangle, in the order of its half-edges from the first one with
/// a neighbour. Any neighbour counts, pointing back or not. T is Triangle or const Triangle.
template <class T>
class TriangleTriangleIterator : public MeshWalk<TriangleTriangleIterator<T>, T>
{
  using Base = MeshWalk<TriangleTriangleIterator<T>, T>;
  using Edge = typename Base::Edge;

public:
  using typename Base::pointer;
  using typename Base::reference;
  using Base::operator++;
  using Base::operator--;

  TriangleTriangleIterator() = default;
  TriangleTriangleIterator(T& triangle, bool end) : first(firstWithNeighbour(triangle.getHalfEdge()))
  {
    current = first;
    atEnd = end || !first;
  }

  reference operator*() const { return *operator->(); }
  pointer operator->() const { return current->getNeighbourEdge()->getTriangle(); }

  TriangleTriangleIterator& operator++()
  {
    if (atEnd) return *this;
    do
      current = current->getNextEdge();
    while (!current->getNeighbourEdge());
    atEnd = current == first;
    return *this;
  }

  TriangleTriangleIterator& operator--()
  {
    if (!current) return *this;
    atEnd = false;
    do
      current = current->getPreviousEdge();
    while (!current->getNeighbourEdge());
    return *this;
  }

  friend bool operator==(const TriangleTriangleIterator& a, const TriangleTriangleIterator& b) = default;

private:
  static Edge* firstWithNeighbour(Edge* start)
  {
    Edge* edge = start;
    while (edge && !edge->getNeighbourEdge()) {
      edge = edge->getNextEdge();
      if (edge == start) return nullptr;
    }
    return edge;
  }

  Edge* first = nullptr;
  Edge* current = nullptr;
  bool atEnd = true;
};

inline TriangleTriangleIterator<const Triangle> Triangle::triangleBegin() const { return {*this, false}; }
inline TriangleTriangleIterator<const Triangle> Triangle::triangleEnd() const { return {*this, true}; }
inline TriangleTriangleIterator<Triangle> Triangle::triangleBegin() { return {*this, false}; }
inline TriangleTriangleIterator<Triangle> Triangle::triangleEnd() { return {*this, true}; }

} // namespace Kavrel
