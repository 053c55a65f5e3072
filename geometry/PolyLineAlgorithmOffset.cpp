#include "geometry/PolyLineAlgorithm.h"
#include "geometry/ShapecoreException.h"

#include <cmath>
#include <numbers>

namespace Kavrel {

namespace {

constexpr double shortestDirection = 1e-12; // strictly below: no direction
constexpr double angleEps = 0.0001;
constexpr double farthestShift = 100000.0;

/// The unit direction across the axis, or zero where there is none.
Vector<double, 3> directionAcross(const Vector<double, 3>& axis, const Vector<double, 3>& way)
{
  Vector<double, 3> across = axis.gramSchmidt(way);
  return across.normalize(shortestDirection) ? across : Vector<double, 3>();
}

/// The direction of the shift at a corner between two unit directions.
Vector<double, 3> shiftDirection(const Vector<double, 3>& incoming, const Vector<double, 3>& outgoing,
                                 const Vector<double, 3>& axis)
{
  Vector<double, 3> along = incoming + outgoing;
  if (along.normalize(shortestDirection)) return along.cross(axis);
  Vector<double, 3> aside = outgoing.cross(axis);
  return aside.normalize(shortestDirection) ? aside : incoming.cross(axis);
}

double mitred(double shift, double angle)
{
  const double value = shift / std::cos(angle / 2.0);
  return std::abs(value) > farthestShift ? std::copysign(farthestShift, value) : value;
}

} // namespace

template <OneOf<Point<double, 3>, Point3N> P>
bool PolyLineAlgorithm::calcOffsetPolyLine(const PolyLine<P>& polyline, const Vector<double, 3>& axis,
                                           const std::vector<double>& offsets, double constant, PolyLine<P>& out)
{
  const std::size_t count = polyline.numberOfPoints();
  if (count >= 2 && offsets.size() < count)
    throw ShapecoreException("PolyLineAlgorithm::calcOffsetPolyLine: fewer offsets than points");
  out.copy(polyline);
  if (count < 2) return false;

  const auto edge = [&](std::size_t from, std::size_t to) {
    return directionAcross(axis, polyline[to] - polyline[from]);
  };
  const Vector<double, 3> first = polyline.isClosed() ? edge(count - 1, 0) : edge(0, 1);
  Vector<double, 3> incoming = first;
  bool allGentle = true;
  for (std::size_t i = 0; i < count; ++i) {
    const Vector<double, 3> outgoing = i + 1 < count ? edge(i, i + 1) : polyline.isClosed() ? first : incoming;
    const double angle = incoming.angle(outgoing, angleEps);
    if (!(angle < std::numbers::pi / 2)) allGentle = false;
    out[i].move(shiftDirection(incoming, outgoing, axis) * mitred(constant + offsets[i], angle));
    incoming = outgoing;
  }
  return allGentle;
}

template <OneOf<Point<double, 3>, Point3N> P>
bool PolyLineAlgorithm::calcOffsetPolyLine(const PolyLine<P>& polyline, const Vector<double, 3>& axis, double offset,
                                           PolyLine<P>& out)
{
  return calcOffsetPolyLine(polyline, axis, std::vector<double>(polyline.numberOfPoints(), offset), 0.0, out);
}

#define KV_INSTANTIATE(...) KV_POLYLINE_OFFSET(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_SHIFTED_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
