#pragma once

#include "geometry/BoundingVolumeHierarchy/AxisAlignedBox.h"
#include "geometry/BoundingVolumeHierarchy/QueryShapes.h"
#include "geometry/Plane.h"

#include <algorithm>
#include <cmath>
#include <limits>

/// Plain tests of boxes. Every bound is widened to double before any arithmetic.
namespace Kavrel::BoundingVolumeHierarchy {

/// Squared distance from a point to a box, 0 inside.
template <class T, unsigned dim>
double squareDistance(const Vector<double, dim>& point, const AxisAlignedBox<T, dim>& box)
{
  double sum = 0.0;
  for (unsigned i = 0; i < dim; ++i) {
    const double low = static_cast<double>(box.min[i]);
    const double high = static_cast<double>(box.max[i]);
    const double gap = point[i] < low ? low - point[i] : point[i] > high ? point[i] - high : 0.0;
    sum += gap * gap;
  }
  return sum;
}

/// Squared distance between two boxes, 0 where they meet.
template <class S, class T, unsigned dim>
double squareDistance(const AxisAlignedBox<S, dim>& a, const AxisAlignedBox<T, dim>& b)
{
  double sum = 0.0;
  for (unsigned i = 0; i < dim; ++i) {
    const double gap = std::max({static_cast<double>(a.min[i]) - static_cast<double>(b.max[i]),
                                 static_cast<double>(b.min[i]) - static_cast<double>(a.max[i]), 0.0});
    sum += gap * gap;
  }
  return sum;
}

/// Whether two boxes share a point; touching counts.
template <class S, class T, unsigned dim>
bool overlaps(const AxisAlignedBox<S, dim>& a, const AxisAlignedBox<T, dim>& b)
{
  for (unsigned i = 0; i < dim; ++i)
    if (static_cast<double>(a.min[i]) > static_cast<double>(b.max[i]) ||
        static_cast<double>(b.min[i]) > static_cast<double>(a.max[i]))
      return false;
  return true;
}

/// Whether the box holds the point; its faces count.
template <class T, unsigned dim>
bool contains(const AxisAlignedBox<T, dim>& box, const Vector<double, dim>& point)
{
  for (unsigned i = 0; i < dim; ++i)
    if (!(static_cast<double>(box.min[i]) <= point[i] && point[i] <= static_cast<double>(box.max[i]))) return false;
  return true;
}

/// The product of the extents.
template <class T, unsigned dim>
double volume(const AxisAlignedBox<T, dim>& box)
{
  double product = 1.0;
  for (unsigned i = 0; i < dim; ++i)
    product *= static_cast<double>(box.max[i]) - static_cast<double>(box.min[i]);
  return product;
}

/// A box as seen along a normal: the signed distance of its centre from the plane, and how far it reaches to both
/// sides.
struct BoxAlongNormal
{
  double centre;
  double reach;
};

template <class T, unsigned dim>
BoxAlongNormal alongNormal(const AxisAlignedBox<T, dim>& box, const Vector<double, dim>& normal, double offset)
{
  double centre = 0.0;
  double reach = 0.0;
  for (unsigned i = 0; i < dim; ++i) {
    const double low = static_cast<double>(box.min[i]);
    const double high = static_cast<double>(box.max[i]);
    centre += (low + high) * 0.5 * normal[i];
    reach += std::abs((high - low) * 0.5 * normal[i]);
  }
  return {centre - offset, reach};
}

/// Whether the plane meets the box; touching counts.
template <class T, unsigned dim>
bool overlaps(const Plane<double, dim>& plane, const AxisAlignedBox<T, dim>& box)
{
  const BoxAlongNormal extent = alongNormal(box, plane.getNormal(), plane.getDistance());
  return extent.reach >= std::abs(extent.centre);
}

/// Squared distance from a plane to a box, 0 where they meet.
template <class T, unsigned dim>
double squareDistance(const Plane<double, dim>& plane, const AxisAlignedBox<T, dim>& box)
{
  const BoxAlongNormal extent = alongNormal(box, plane.getNormal(), plane.getDistance());
  const double gap = std::max(std::abs(extent.centre) - extent.reach, 0.0);
  return gap * gap;
}

/// The lowest signed distance of a point of the box from the plane.
template <class T>
double signedDistance(const SignedPlane& plane, const AxisAlignedBox<T, 3>& box)
{
  const BoxAlongNormal extent = alongNormal(box, plane.normal, plane.offset);
  return extent.centre - extent.reach;
}

/// The gap along z between a point and a box, if the vertical line through the point meets the box; else infinity.
template <class T>
double verticalGap(const Vector<double, 3>& point, const AxisAlignedBox<T, 3>& box)
{
  for (unsigned i = 0; i < 2; ++i)
    if (!(static_cast<double>(box.min[i]) <= point[i] && point[i] <= static_cast<double>(box.max[i])))
      return std::numeric_limits<double>::infinity();
  return std::max({point[2] - static_cast<double>(box.max[2]), static_cast<double>(box.min[2]) - point[2], 0.0});
}

} // namespace Kavrel::BoundingVolumeHierarchy
