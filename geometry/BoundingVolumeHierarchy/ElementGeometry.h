#pragma once

#include "geometry/BoundingVolumeHierarchy/AxisAlignedBox.h"
#include "geometry/BoundingVolumeHierarchy/DEMeshAdapter.h"
#include "geometry/BoundingVolumeHierarchy/InitialCoordinatesMesh.h"
#include "geometry/BoundingVolumeHierarchy/SetIndexElement.h"
#include "geometry/Segment.h"
#include "geometry/mesh/Triangle.h"

/// What the build must know of an element: the points that span it, and its position.
namespace Kavrel::BoundingVolumeHierarchy {

/// Calls `visit` with each defining point, in the precision in which the element has it.
template <unsigned dim, class Visit>
void visitPoints(const Vector<double, dim>& point, const Visit& visit)
{
  visit(point);
}

template <unsigned dim, class Visit>
void visitPoints(const AxisAlignedBox<double, dim>& box, const Visit& visit)
{
  visit(box.min);
  visit(box.max);
}

template <class P, class Visit>
void visitPoints(const Segment<P>& segment, const Visit& visit)
{
  visit(static_cast<const typename Segment<P>::Direction&>(*segment.getStart()));
  visit(static_cast<const typename Segment<P>::Direction&>(*segment.getEnd()));
}

template <class Visit>
void visitPoints(const Triangle& triangle, const Visit& visit)
{
  for (unsigned corner = 0; corner < 3; ++corner)
    visit(static_cast<const Vector<double, 3>&>(triangle.getVertexRef(corner)));
}

template <class Visit>
void visitPoints(const Triangle* triangle, const Visit& visit)
{
  visitPoints(*triangle, visit);
}

template <class Visit>
void visitPoints(const SetIndexElement<DEMeshAdapter>& element, const Visit& visit)
{
  for (unsigned corner = 0; corner < 3; ++corner) {
    const float* const coordinates = element.set->getCorner(element.index, corner);
    visit(Vector<float, 3>(coordinates[0], coordinates[1], coordinates[2]));
  }
}

template <class Visit>
void visitPoints(const SetIndexElement<InitialCoordinatesMesh>& element, const Visit& visit)
{
  std::uint32_t vertices[3];
  element.set->getVertexIndices(element.index, vertices);
  for (const std::uint32_t vertex : vertices) {
    Vector<float, 2> point;
    element.set->getCoordinates(vertex, point.data());
    visit(point);
  }
}

/// The centre of the box around the defining points: the point itself, the middle of a segment or box. Of a triangle
/// this is not its centre of gravity.
template <unsigned dim, class E>
Vector<double, dim> positionOf(const E& element)
{
  AxisAlignedBox<double, dim> box;
  visitPoints(element, [&box](const auto& point) { box.extend(point); });
  return (box.min + box.max) * 0.5;
}

template <unsigned dim>
Vector<double, dim> positionOf(const Vector<double, dim>& point)
{
  return point;
}

template <unsigned dim>
Vector<double, dim> positionOf(const AxisAlignedBox<double, dim>& box)
{
  return (box.min + box.max) * 0.5;
}

template <unsigned dim, class P>
Vector<double, dim> positionOf(const Segment<P>& segment)
{
  Vector<double, dim> middle;
  for (unsigned i = 0; i < dim; ++i)
    middle[i] = (static_cast<double>((*segment.getStart())[i]) + static_cast<double>((*segment.getEnd())[i])) * 0.5;
  return middle;
}

} // namespace Kavrel::BoundingVolumeHierarchy
