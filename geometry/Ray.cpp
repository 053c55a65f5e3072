#include "geometry/Ray.h"

#include "geometry/Segment.h"

#include <cmath>
#include <limits>

namespace Kavrel {

namespace {

template <class T, unsigned dim>
T crossXY(const Vector<T, dim>& a, const Vector<T, dim>& b)
{
  return a[0] * b[1] - a[1] * b[0];
}

/// The parameter on the line of direction \p e at which it meets the line of direction \p d, \p r being the way from
/// the first start to the second. False where the division would leave the range of the type; parallel lines that
/// coincide pass and give NaN.
template <class T, unsigned dim>
bool meetXY(const Vector<T, dim>& r, const Vector<T, dim>& d, const Vector<T, dim>& e, double eps, T& u)
{
  const T determinant = crossXY(e, d);
  const T numerator = crossXY(r, d);
  const T size = std::abs(determinant);
  if (static_cast<double>(size) < eps + 1.0) {
    const T limit = size * std::numeric_limits<T>::max();
    if (std::abs(numerator) > limit || std::abs(crossXY(r, e)) > limit) return false;
  }
  u = numerator / determinant;
  return true;
}

} // namespace

template <class PointType>
PointType Ray<PointType>::project(const Position& p, double& t, double eps) const
{
  const double a = static_cast<double>(direction->dot(p - *startPoint));
  const double b = static_cast<double>(direction->sqrLength());
  if (std::abs(a * eps) > b || b == 0.0) {
    t = 0.0;
    return *startPoint;
  }
  t = a / b;
  return PointType(Position(*startPoint + *direction * static_cast<Scalar>(t)));
}

template <class PointType>
PointType Ray<PointType>::nearestPoint(const Position& p, double eps) const
{
  double t;
  const PointType foot = project(p, t, eps);
  return t < 0.0 ? *startPoint : foot;
}

template <class PointType>
typename Ray<PointType>::Scalar Ray<PointType>::distance(const Position& p, double eps) const
{
  return p.distance(nearestPoint(p, eps));
}

template <class PointType>
Side Ray<PointType>::positionOfPoint(const Position& p, double eps) const
{
  const Direction s = *startPoint;
  const Direction e = s + *direction;
  const Scalar doubledArea = (e[1] * s[0] - e[0] * s[1]) + (e[0] * p[1] - e[1] * p[0]) + (s[1] * p[0] - p[1] * s[0]);
  const double area = static_cast<double>(doubledArea);
  if (std::abs(area) < eps) return Side::On;
  return area > eps ? Side::Above : Side::Below;
}

template <class PointType>
bool Ray<PointType>::getIntersectionXY(const Ray* other, PointType& out, double eps) const
{
  Scalar u;
  if (!meetXY<Scalar, PointType::Dim>(*startPoint - *other->startPoint, *direction, *other->direction, eps, u))
    return false;
  out = PointType(Position(*other->startPoint + *other->direction * u));
  return static_cast<double>(u) > -eps;
}

template <class PointType>
bool Ray<PointType>::getIntersectionXY(const Segment<PointType>* segment, PointType& out, double eps, bool clamp) const
{
  const Position& a = *segment->getStart();
  const Position& b = *segment->getEnd();
  const Direction c = b - a;
  Scalar u;
  if (!meetXY<Scalar, PointType::Dim>(*startPoint - a, *direction, c, eps, u)) return false;
  const double parameter = static_cast<double>(u);
  const bool good = parameter > -eps && parameter < eps + 1.0;
  if (!good && clamp) u = parameter <= -eps ? Scalar(0) : Scalar(1);
  out = PointType(u == Scalar(1) ? b : Position(a + c * u));
  return good || clamp;
}

#define KV_INSTANTIATE(...) template class Ray<__VA_ARGS__>;
KV_FOR_EACH_RAY_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
