#pragma once

#include "geometry/mesh/HalfEdge.h"
#include "geometry/mesh/Triangle.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

namespace Kavrel {

/// Walks the up to three triangles across an edge of a triangle, in the order of its half-edges from the first one with
/// a neighbour. Any neighbour counts, pointing back or not. T is Triangle or const Triangle.
template <class T>
class TriangleTriangleIterator
{
public:
  using Edge = std::conditional_t<std::is_const_v<T>, const HalfEdge, HalfEdge>;
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = std::remove_const_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

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

  TriangleTriangleIterator operator++(int)
  {
    TriangleTriangleIterator before(*this);
    ++*this;
    return before;
  }
  TriangleTriangleIterator operator--(int)
  {
    TriangleTriangleIterator before(*this);
    --*this;
    return before;
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
