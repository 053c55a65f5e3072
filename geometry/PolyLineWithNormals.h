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
  /// The unit normal of the line at its point nearest to \p position: the blend of those of the segment's ends, or that
  /// of the only end that has one if \p position is strictly closer than \p tolerance to this end. A \p tolerance that
  /// isn't positive stands for that of the line. The zero vector where there is no normal or no segment.
  template <OneOf<Point3N, Point3NT, ProjectionPoint, ConstraintPoint> P>
  static Vector<double, 3> calculateNormalAtPosition(const PolyLine<P>& polyline, const Point<double, 3>& position,
                                                     double tolerance);
};

} // namespace Kavrel
