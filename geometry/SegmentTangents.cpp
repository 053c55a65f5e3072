#include "geometry/Segment.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>

namespace Kavrel {

namespace {

constexpr double vanishing = std::numeric_limits<double>::min(); // strictly below: zero
constexpr double firstParameter = -1e-6;
constexpr double lastParameter = 1.000001;

/// The roots of A·t² + B·t + C, of which a linear equation has two equal ones; nothing where there are none.
std::optional<std::pair<double, double>> rootsOf(double A, double B, double C)
{
  if (!(std::abs(A) < vanishing)) {
    const double q = B / A;
    const double x = q * q * 0.25 - C / A;
    if (!(x >= 0.0)) return std::nullopt;
    const double root = std::sqrt(x);
    return std::pair(-q * 0.5 - root, root - q * 0.5);
  }
  if (!(std::abs(B) < vanishing)) return std::pair(-C / B, -C / B);
  return std::nullopt;
}

bool isInRange(double t) { return t > firstParameter && t < lastParameter; }

/// The one root in range or else the one with the nearer point. Where the square of an almost linear equation overflows
/// the second root may be no number; the first one, an infinity, then tells the end.
double chosenOf(double t1, double t2, const Vector<double, 3>& w, const Vector<double, 3>& c)
{
  if (isInRange(t1) != isInRange(t2)) return isInRange(t1) ? t1 : t2;
  if (std::isnan(t2)) return t1;
  return (w - c * t2).sqrLength() > (w - c * t1).sqrLength() ? t1 : t2;
}

Vector<double, 3> unitBlend(const Vector<double, 3>& a, const Vector<double, 3>& b, double t)
{
  Vector<double, 3> v = a.linearInterpolation(t, b);
  v.normalize(1e-12);
  return v;
}

Point3NT pointWithUnitBlends(const Point3NT& a, const Point3NT& b, double t)
{
  Point3NT point(a.Vector<double, 3>::linearInterpolation(t, b));
  if (a.hasNormal() && b.hasNormal()) point.setNormal(unitBlend(a.getNormal(), b.getNormal(), t));
  if (a.hasTangent() && b.hasTangent()) point.setTangent(unitBlend(a.getTangent(), b.getTangent(), t));
  return point;
}

int projectAlongTangents(const Point3NT& a, const Point3NT& b, const Point<double, 3>& p, Point3NT& out)
{
  const Vector<double, 3> c = b - a;
  const Vector<double, 3> w = p - a;
  const Vector<double, 3> turn = b.getTangent() - a.getTangent();
  const auto roots = c.sqrLength() < vanishing
                         ? std::nullopt
                         : rootsOf(-turn.dot(c), turn.dot(w) - a.getTangent().dot(c), a.getTangent().dot(w));
  if (!roots) {
    out = b;
    return 0;
  }
  const double t = chosenOf(roots->first, roots->second, w, c);
  out = pointWithUnitBlends(a, b, std::clamp(t, 0.0, 1.0));
  if (t < firstParameter) return -1;
  return t > lastParameter ? -2 : 1;
}

} // namespace

template <class PointType>
int Segment<PointType>::projectUsingInterpolatedTangents([[maybe_unused]] const Position& p,
                                                         [[maybe_unused]] PointType& out) const
{
  if constexpr (std::is_same_v<PointType, Point3NT>)
    return projectAlongTangents(*start, *end, p, out);
  else
    return 0;
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT int Segment<__VA_ARGS__>::projectUsingInterpolatedTangents(const Position&, __VA_ARGS__&)   \
      const;
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
