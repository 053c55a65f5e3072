#include "geometry/PolyLineWithNormals.h"

#include "geometry/NormalBlend.h"

#include <algorithm>

namespace Kavrel {

namespace {

/// The unit normal at \p t on the segment \p index, with the squared distance up to which the end that alone has a
/// normal stands for it.
template <class P>
Vector<double, 3> normalOnSegment(const PolyLine<P>& polyline, std::size_t index, double t,
                                  const Point<double, 3>& position, double sqrLimit)
{
  const P& a = polyline[index];
  const P& b = polyline[polyline.getNextPointIndex(index)];
  if (a.hasNormal() && b.hasNormal()) return blendOfNormals(a, b, t);
  if (!a.hasNormal() && !b.hasNormal()) return {};
  const P& end = a.hasNormal() ? a : b;
  return end.sqrDistance(position) < sqrLimit ? end.getNormal() : Vector<double, 3>();
}

} // namespace

template <OneOf<Point3N, Point3NT, ProjectionPoint, ConstraintPoint> P>
bool PolyLineWithNormals::allPointsHaveNormals(const PolyLine<P>& polyline)
{
  return std::all_of(polyline.begin(), polyline.end(), [](const P& point) { return point.hasNormal(); });
}

template <OneOf<Point3N, Point3NT, ProjectionPoint, ConstraintPoint> P>
Vector<double, 3> PolyLineWithNormals::calculateNormalAtPosition(const PolyLine<P>& polyline,
                                                                 const Point<double, 3>& position, double tolerance)
{
  if (polyline.isEmpty()) return {};
  double t = 0.0;
  std::size_t index = 0;
  polyline.sqrDist(position, t, index);
  const double limit = tolerance > 0.0 ? tolerance : polyline.getTolerance();
  return normalOnSegment(polyline, index, t, position, limit * limit);
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT bool PolyLineWithNormals::allPointsHaveNormals(const PolyLine<__VA_ARGS__>&);               \
  template KVSHAPES_EXPORT Vector<double, 3> PolyLineWithNormals::calculateNormalAtPosition(                           \
      const PolyLine<__VA_ARGS__>&, const Point<double, 3>&, double);
KV_INSTANTIATE(Point3N)
KV_INSTANTIATE(Point3NT)
KV_INSTANTIATE(ProjectionPoint)
KV_INSTANTIATE(ConstraintPoint)
#undef KV_INSTANTIATE

} // namespace Kavrel
