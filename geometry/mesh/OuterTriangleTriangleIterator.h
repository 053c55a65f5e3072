#pragma once

#include "geometry/mesh/MeshWalk.h"
#include "geometry/mesh/Triangle.h"

namespace Kavrel {

/// Walks the ring of triangles that touch a centre triangle along an edge or at a corner, counter-clockwise around one
/// corner after the other; where a fan is open, the walk goes on at the far end of the next one. Needs topology, and
/// three different corners in each triangle: others can keep the walk from ending. A centre without neighbours has an
/// empty ring. T is Triangle or const Triangle. Structural changes of the mesh end the walk.
template <class T>
class OuterTriangleTriangleIterator : public MeshWalk<OuterTriangleTriangleIterator<T>, T>
{
  using Base = MeshWalk<OuterTriangleTriangleIterator<T>, T>;
  using Edge = typename Base::Edge;

public:
  using typename Base::pointer;
  using typename Base::reference;
  using Base::operator++;
  using Base::operator--;

  OuterTriangleTriangleIterator() = default;
  OuterTriangleTriangleIterator(T& triangle, bool end) : centre(&triangle), atEnd(end)
  {
    firstCentreEdge = centreEdge = firstWithNeighbour(triangle.getHalfEdge());
    if (!centreEdge) {
      atEnd = true;
      return;
    }
    stop = centreEdge->getNeighbourEdge()->getNextEdge();
    if (!atEnd) current = stop;
  }

  reference operator*() const { return *current->getTriangle(); }
  pointer operator->() const { return current->getTriangle(); }

  OuterTriangleTriangleIterator& operator++()
  {
    if (atEnd) return *this;
    current = current->getPreviousEdge();
    if (leadsToCentre(current)) {
      centreEdge = current->getNeighbourEdge();
      current = current->getPreviousEdge();
    }
    if (current->hasTwoWayNeighbour())
      current = current->getNeighbourEdge();
    else
      goToNextFan();
    if (current == stop) {
      atEnd = true;
      current = nullptr;
    }
    return *this;
  }

  OuterTriangleTriangleIterator& operator--()
  {
    if (!stop) return *this;
    if (atEnd) {
      atEnd = false;
      current = stop;
    }
    if (current->hasTwoWayNeighbour()) {
      current = current->getNeighbourEdge()->getNextEdge();
      if (leadsToCentre(current)) {
        centreEdge = previousWithNeighbour(current->getNeighbourEdge());
        current = current->getNextEdge();
      }
    } else {
      goToPreviousFan();
    }
    return *this;
  }

  friend bool operator==(const OuterTriangleTriangleIterator& a, const OuterTriangleTriangleIterator& b)
  {
    return a.centre == b.centre && a.stop == b.stop && a.current == b.current && a.atEnd == b.atEnd;
  }

private:
  static Edge* firstWithNeighbour(Edge* start)
  {
    Edge* edge = start;
    while (edge && !edge->hasTwoWayNeighbour()) {
      edge = edge->getNextEdge();
      if (edge == start) return nullptr;
    }
    return edge;
  }

  /// The two searches below end at an edge of the centre that has a neighbour, at the latest at \p edge itself.
  static Edge* nextWithNeighbour(Edge* edge)
  {
    do
      edge = edge->getNextEdge();
    while (!edge->hasTwoWayNeighbour());
    return edge;
  }
  static Edge* previousWithNeighbour(Edge* edge)
  {
    do
      edge = edge->getPreviousEdge();
    while (!edge->hasTwoWayNeighbour());
    return edge;
  }

  bool leadsToCentre(Edge* edge) const
  {
    return edge->hasTwoWayNeighbour() && edge->getNeighbourEdge()->getTriangle() == centre;
  }

  /// Clockwise around the origin of the next edge of the centre, to the boundary.
  void goToNextFan()
  {
    centreEdge = nextWithNeighbour(centreEdge);
    Edge* const start = centreEdge->getNeighbourEdge()->getNextEdge();
    current = start;
    while (current->hasTwoWayNeighbour()) {
      current = current->getNeighbourEdge()->getNextEdge();
      if (current == start) break;
    }
  }

  /// Counter-clockwise around the head of the edge of the centre before the fan at hand, to the boundary.
  void goToPreviousFan()
  {
    const auto* const corner = current->getPreviousEdge()->getVertex();
    Edge* edge = firstCentreEdge;
    while (edge->getPreviousEdge()->getVertex() != corner && edge->getNextEdge() != firstCentreEdge)
      edge = edge->getNextEdge();
    centreEdge = previousWithNeighbour(edge);
    Edge* const crossed = centreEdge->getNeighbourEdge();
    current = crossed->getNextEdge();
    Edge* spoke = crossed->getPreviousEdge();
    while (spoke->hasTwoWayNeighbour()) {
      current = spoke->getNeighbourEdge();
      spoke = current->getPreviousEdge();
      if (spoke == crossed->getPreviousEdge()) break;
    }
  }

  T* centre = nullptr;
  Edge* stop = nullptr;
  Edge* current = nullptr;
  Edge* centreEdge = nullptr;
  Edge* firstCentreEdge = nullptr;
  bool atEnd = true;
};

} // namespace Kavrel
