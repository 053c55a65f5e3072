#include "geometry/PolyLineWithNormals.h"

#include <algorithm>

namespace Kavrel {

template <OneOf<Point3N, Point3NT, ProjectionPoint, ConstraintPoint> P>
bool PolyLineWithNormals::allPointsHaveNormals(const PolyLine<P>& polyline)
{
  return std::all_of(polyline.begin(), polyline.end(), [](const P& point) { return point.hasNormal(); });
}

template KVSHAPES_EXPORT bool PolyLineWithNormals::allPointsHaveNormals(const PolyLine<Point3N>&);
template KVSHAPES_EXPORT bool PolyLineWithNormals::allPointsHaveNormals(const PolyLine<Point3NT>&);
template KVSHAPES_EXPORT bool PolyLineWithNormals::allPointsHaveNormals(const PolyLine<ProjectionPoint>&);
template KVSHAPES_EXPORT bool PolyLineWithNormals::allPointsHaveNormals(const PolyLine<ConstraintPoint>&);

} // namespace Kavrel
