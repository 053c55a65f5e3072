#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineFrame.h"
#include "geometry/PolyLineIntersectionAlgorithms.h"

#include <algorithm>
#include <cmath>

namespace Kavrel {

namespace {

using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;

constexpr double sqrVertexTolerance = 1e-12;
constexpr double touchTolerance = 0.001; // up to which segments may touch from within

/// At z = 0, with the closed flag.
PolyLine<Point3> inSpace(const PolyLine<Point2>& polyline)
{
  PolyLine<Point3> lifted;
  lifted.reserve(polyline.numberOfPoints());
  lifted.setClosed(polyline.isClosed());
  for (const Point2& point : polyline)
    lifted.addPoint({point.x(), point.y(), 0.0});
  return lifted;
}

bool isInsideOfPolygon(const PolyLine<Point2>& inner, const PolyLine<Point2>& polygon, bool strict)
{
  const bool allInside = std::all_of(inner.begin(), inner.end(), [&](const Point2& point) {
    return polygon.hasPointInside(point, strict, sqrVertexTolerance);
  });
  if (!allInside) return false;
  return !PolyLineIntersectionAlgorithms<Point3>::intersectInProjection(
      inSpace(inner), inSpace(polygon), Vector<double, 3>(0.0, 0.0, 1.0), strict ? touchTolerance : 0.0);
}

template <class P>
bool isInsideAlong(const PolyLine<P>& inner, const PolyLine<P>& outer, const Vector<double, 3>& direction, bool strict)
{
  const double tolerance = static_cast<double>(outer.getTolerance());
  const double sqrLength = direction.sqrLength();
  const bool isUsable = sqrLength > 0.0 && sqrLength >= tolerance * tolerance;
  const PolyLineFrame frame = isUsable ? PolyLineFrame(direction) : PolyLineFrame();
  return PolyLineAlgorithm::isInsideOfPolyLine(frame.flattened(inner), frame.flattened(outer), strict);
}

/// What an edge adds to the doubled winding number of a polygon around a point, or the point is on it.
struct EdgeWinding
{
  bool isOnEdge = false;
  int doubledTurn = 0;

  EdgeWinding(const Point2& a, const Point2& b, const Point2& p)
  {
    const double height = b.y() - a.y();
    if (std::min(a.y(), b.y()) > p.y() || std::max(a.y(), b.y()) < p.y()) return;
    if (height == 0.0) {
      isOnEdge = std::min(a.x(), b.x()) <= p.x() && p.x() <= std::max(a.x(), b.x());
      return;
    }
    const double w = (p.y() - a.y()) * b.x() + (b.y() - p.y()) * a.x() - height * p.x();
    isOnEdge = w == 0.0;
    if (isOnEdge || w * height < 0.0) return;
    // A vertex at the height of the point is shared by two edges, which count half each.
    const int share = a.y() == p.y() || b.y() == p.y() ? 1 : 2;
    doubledTurn = w > 0.0 ? share : -share;
  }
};

} // namespace

template <OneOf<Point<double, 2>, Point<float, 3>, Point<double, 3>, Point3N, Point3NT> P>
bool PolyLineAlgorithm::isInsideOfPolyLine(const PolyLine<P>& inner, const PolyLine<P>& outer, bool strict)
{
  if constexpr (P::Dim == 2) {
    if (outer.isClosed()) return isInsideOfPolygon(inner, outer, strict);
    PolyLine<P> polygon(outer);
    polygon.setClosed(true);
    return isInsideOfPolygon(inner, polygon, strict);
  } else {
    return isInsideAlong(inner, outer, computeRegressionPlane(inner).getNormal(), strict);
  }
}

template <OneOf<Point<float, 3>, Point<double, 3>, Point3N, Point3NT> P>
bool PolyLineAlgorithm::isInsideOfPolyLine(const PolyLine<P>& inner, const PolyLine<P>& outer,
                                           const Vector<typename P::Scalar, P::Dim>& direction, bool strict)
{
  return isInsideAlong(inner, outer, spatial(direction), strict);
}

bool PolyLineAlgorithm::enclosing(const PolyLine<Point<double, 2>>& polygon, const Point<double, 2>& point,
                                  bool onBoundary)
{
  if (!polygon.isClosed()) return false;
  int doubledTurns = 0;
  for (std::size_t i = 0; i < polygon.numberOfSegments(); ++i) {
    const auto edge = polygon.getSegment(i);
    const EdgeWinding winding(*edge.getStart(), *edge.getEnd(), point);
    if (winding.isOnEdge) return onBoundary;
    doubledTurns += winding.doubledTurn;
  }
  return doubledTurns != 0;
}

bool PolyLineAlgorithm::valueBetweenLines(double slope, double intercept, double tolerance, const Point<double, 2>& p)
{
  if (slope == 0.0) return std::abs(p.x()) <= tolerance;
  const double y = p.x() * slope + intercept;
  return p.y() > y - tolerance && p.y() < y + tolerance;
}

bool PolyLineAlgorithm::valueBetweenLines(const Point<double, 2>& a, const Point<double, 2>& b, double tolerance,
                                          const Point<double, 2>& p)
{
  return valueBetweenLines((b.y() - a.y()) / (b.x() - a.x()), a.y(), tolerance, p);
}

#define KV_INSTANTIATE(...)                                                                                            \
  KV_POLYLINE_INSIDE(template KVSHAPES_EXPORT, __VA_ARGS__)                                                            \
  KV_POLYLINE_INSIDE_ALONG(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_INSIDE_ALONG_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE
KV_POLYLINE_INSIDE(template KVSHAPES_EXPORT, Point<double, 2>)

} // namespace Kavrel
