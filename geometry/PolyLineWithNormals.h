#pragma once

#include "geometry/PolyLine.h"

namespace Kavrel {

/// Functions on the normals of a polyline whose points carry one.
class KVSHAPES_EXPORT PolyLineWithNormals
{
public:
  /// Whether every point has its normal; true for an empty polyline.
  template <OneOf<Point3N, Point3NT, ProjectionPoint, ConstraintPoint> P>
  static bool allPointsHaveNormals(const PolyLine<P>& polyline);
};

} // namespace Kavrel
