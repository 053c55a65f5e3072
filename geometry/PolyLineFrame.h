#pragma once

#include "geometry/DoublePrecision.h"
#include "geometry/PolyLine.h"
#include "platform/kvmath/OrthMatrix.h"

/// Polylines in space and seen along a direction; for the sources of the polyline algorithms.
namespace Kavrel {

/// Axes to look at polylines along a direction. How the picture is turned about it isn't specified.
class PolyLineFrame
{
public:
  /// The axes of the space: looks along z.
  PolyLineFrame() = default;
  /// Looks along the direction, which isn't zero.
  explicit PolyLineFrame(Vector<double, 3> direction)
  {
    direction.normalize(0.0);
    const Vector<double, 3> x = direction.getOrthoNormal();
    const Vector<double, 3> axes[3] = {x, direction.cross(x), direction};
    toFrame = OrthMatrix<double, 3>(axes).getInverse();
  }

  /// The first two coordinates in the frame, with the closed flag of the line.
  template <class P>
  PolyLine<Point<double, 2>> flattened(const PolyLine<P>& polyline) const
  {
    PolyLine<Point<double, 2>> flat;
    flat.reserve(polyline.numberOfPoints());
    flat.setClosed(polyline.isClosed());
    for (const P& point : polyline) {
      const Vector<double, 3> local = toFrame * spatial(point);
      flat.addPoint({local.x(), local.y()});
    }
    return flat;
  }

private:
  OrthMatrix<double, 3> toFrame;
};

} // namespace Kavrel
