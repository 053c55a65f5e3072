#include "geometry/Segment.h"

#include "geometry/DoublePrecision.h"
#include "geometry/Plane.h"
#include "platform/kvmath/MatrixFunctions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace Kavrel {

namespace {

constexpr double noSqrLength = std::numeric_limits<double>::min(); // strictly below: no length
constexpr double normalEps = 1e-12;

/// Parameters that count as on the segment, the bounds included.
struct ParameterRange
{
  double first;
  double last;
};
constexpr ParameterRange exactRange{0.0, 1.0};
constexpr ParameterRange widenedRange{-1e-6, 1.000001};

enum ProjectionCode : int
{
  NoFoot = 0,
  OnSegment = 1,
  BeforeStart = -1,
  BehindEnd = -2
};

ProjectionCode codeOf(double t, ParameterRange range)
{
  if (t < range.first) return BeforeStart;
  return t > range.last ? BehindEnd : OnSegment;
}

/// a + (b - a)·t, without a rounding at t = 1
template <class T, unsigned dim>
Vector<T, dim> blend(const Vector<T, dim>& a, const Vector<T, dim>& b, double t)
{
  const T factor = static_cast<T>(t);
  return factor == T(1) ? b : a + (b - a) * factor;
}

template <class T, unsigned dim>
double coordinate(const Vector<T, dim>& v, unsigned axis)
{
  return axis < dim ? static_cast<double>(v[axis]) : 0.0;
}

/// In the plane of the first coordinate and \p axis.
template <class T, unsigned dim>
Vector<double, 2> inPlane(const Vector<T, dim>& v, unsigned axis)
{
  return {static_cast<double>(v[0]), coordinate(v, axis)};
}

Matrix<double, 3, 3> outerProduct(const Vector<double, 3>& v)
{
  Matrix<double, 3, 3> m;
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j)
      m(i, j) = v[i] * v[j];
  return m;
}

/// The point of least squared distance to two lines, through \p s1 and \p s2 along the unit vectors \p a and \p b.
Vector<double, 3> nearestToLines(const Vector<double, 3>& s1, const Vector<double, 3>& a, const Vector<double, 3>& s2,
                                 const Vector<double, 3>& b)
{
  const Matrix<double, 3, 3> alongA = outerProduct(a);
  const Matrix<double, 3, 3> alongB = outerProduct(b);
  Matrix<double, 3, 3> m;
  for (unsigned i = 0; i < 9; ++i)
    m[i] = (i % 4 == 0 ? 2.0 : 0.0) - alongA[i] - alongB[i];
  const Vector<double, 3> right = s1 + s2 - alongA * s1 - alongB * s2;
  return MatrixFunctions::inverseOf<double, 3>(m) * right;
}

/// The squared distance of two points on two lines as a function of their parameters, but for a constant.
struct PairDistance
{
  double A, B, C, D, E;

  template <unsigned dim>
  PairDistance(const Vector<double, dim>& a, const Vector<double, dim>& b, const Vector<double, dim>& w)
      : A(a.dot(a)), B(a.dot(b)), C(b.dot(b)), D(a.dot(w)), E(b.dot(w))
  {}

  double operator()(double u, double v) const
  {
    return A * u * u - 2.0 * D * u + 2.0 * E * v - 2.0 * B * u * v + C * v * v;
  }

  /// The parameters of the closest pair with both in [0, 1].
  std::pair<double, double> closest() const
  {
    const double determinant = A * C - B * B;
    if (!(A * 1e-6 * C > determinant)) {
      const double u = (D * C - E * B) / determinant;
      const double v = (D * B - E * A) / determinant;
      if (u >= 0.0 && u <= 1.0 && v >= 0.0 && v <= 1.0) return {u, v};
    }
    return closestOnBorder();
  }

private:
  std::pair<double, double> closestOnBorder() const
  {
    std::array<std::pair<double, double>, 4> candidates{
        {{D / A, 0.0}, {1.0, (B - E) / C}, {(D + B) / A, 1.0}, {0.0, -E / C}}};
    for (auto& [u, v] : candidates) {
      u = std::clamp(u, 0.0, 1.0);
      v = std::clamp(v, 0.0, 1.0);
    }
    return *std::min_element(candidates.begin(), candidates.end(), [this](const auto& p, const auto& q) {
      return (*this)(p.first, p.second) < (*this)(q.first, q.second);
    });
  }
};

constexpr double shortSqrLength = 1e-12; // strictly below: a point, where two segments are measured

} // namespace

template <class PointType>
void Segment<PointType>::setBlendAt([[maybe_unused]] double t, [[maybe_unused]] PointType& point) const
{
  if constexpr (PointType::TypeHasNormal) {
    if (start->hasNormal() && end->hasNormal()) {
      Direction n = blend(start->getNormal(), end->getNormal(), t);
      n.normalize(normalEps);
      point.setNormal(n);
    }
  }
  if constexpr (PointType::TypeHasTangent) {
    if (start->hasTangent() && end->hasTangent()) point.setTangent(blend(start->getTangent(), end->getTangent(), t));
  }
}

template <class PointType>
PointType Segment<PointType>::getPoint(double t) const
{
  PointType point{Position(blend<Scalar, PointType::Dim>(*start, *end, t))};
  setBlendAt(t, point);
  return point;
}

template <class PointType>
bool Segment<PointType>::getNormalAtParameter([[maybe_unused]] double t, Direction& n) const
{
  n = Direction();
  if constexpr (!PointType::TypeHasNormal) {
    return false;
  } else {
    if (!start->hasNormal() || !end->hasNormal()) return false;
    if (t < 0.0)
      n = start->getNormal();
    else if (t > 1.0)
      n = end->getNormal();
    else
      n = blend(start->getNormal(), end->getNormal(), t);
    return n.normalize(normalEps);
  }
}

template <class PointType>
PointType Segment<PointType>::interpolatedAt(double t) const
{
  return PointType(start->linearInterpolation(static_cast<Scalar>(t), *end));
}

template <class PointType>
PointType Segment<PointType>::project(const Position& p, double& t) const
{
  t = parameterOf(p);
  return interpolatedAt(t);
}

template <class PointType>
PointType Segment<PointType>::nearestPoint(const Position& p) const
{
  const double t = parameterOf(p);
  if (t < 0.0) return *start;
  return t > 1.0 ? *end : interpolatedAt(t);
}

template <class PointType>
typename Segment<PointType>::Scalar Segment<PointType>::distance(const Segment& other) const
{
  const auto a = toDouble(*end) - toDouble(*start);
  const auto b = toDouble(*other.end) - toDouble(*other.start);
  const auto w = toDouble(*other.start) - toDouble(*start);
  const PairDistance pair(a, b, w);
  if (pair.A < shortSqrLength) return other.distance(*start);
  if (pair.C < shortSqrLength) return distance(*other.start);
  const auto [u, v] = pair.closest();
  return static_cast<Scalar>((w + b * v - a * u).length());
}

template <class PointType>
int Segment<PointType>::projectPoint(const Position& p, PointType& out, double* t) const
{
  const Direction c = span();
  const double sqrSpan = static_cast<double>(c.sqrLength());
  ProjectionCode code = NoFoot;
  double foot = 1.0;
  if (!(std::abs(sqrSpan) < noSqrLength)) {
    foot = static_cast<double>(c.dot(p - *start)) / sqrSpan;
    code = codeOf(foot, widenedRange);
  }
  if (code == OnSegment) {
    setFoot(foot, out);
  } else {
    out = code == BeforeStart ? *start : *end;
    foot = code == BeforeStart ? 0.0 : 1.0;
  }
  if (t) *t = foot;
  return code;
}

template <class PointType>
int Segment<PointType>::projectPoint(const Position& p, const Direction& dir, PointType& out) const
{
  const Direction c = span();
  const Direction w = p - *start;
  const double numerator = static_cast<double>(w[0] * dir[1] - w[1] * dir[0]);
  const double denominator = static_cast<double>(c[0] * dir[1] - c[1] * dir[0]);
  if (std::abs(denominator) < 1e-5) {
    out = PointType(p);
    return NoFoot;
  }
  const double t = numerator / denominator;
  const ProjectionCode code = codeOf(t, exactRange);
  if (code == OnSegment)
    setFoot(t, out);
  else
    out = code == BeforeStart ? *start : *end;
  return code;
}

template <class PointType>
void Segment<PointType>::setFoot(double t, PointType& out) const
{
  const Position foot = blend<Scalar, PointType::Dim>(*start, *end, t);
  if constexpr (PointType::TypeHasNormal) {
    Direction n;
    getNormalAtParameter(t, n);
    out = PointType(Point3N(foot, n));
  } else {
    out = foot;
  }
}

template <class PointType>
bool Segment<PointType>::getIntersectionWithPlane(const Plane<Scalar, PointType::Dim>& plane, double& t,
                                                  Position& out) const
{
  const Direction c = span();
  const Direction& n = plane.getNormal();
  const double denominator = static_cast<double>(n.dot(c));
  if (std::abs(denominator) < 1e-6) return false;
  const double u = static_cast<double>(plane.getDistance() - n.dot(*start)) / denominator;
  if (codeOf(u, widenedRange) != OnSegment) return false;
  t = u;
  out = blend<Scalar, PointType::Dim>(*start, *end, u);
  return true;
}

template <class PointType>
bool Segment<PointType>::getIntersection([[maybe_unused]] const Segment& other, [[maybe_unused]] PointType& out,
                                         [[maybe_unused]] const double& eps) const
{
  if constexpr (!std::is_same_v<PointType, Point<double, 2>>) {
    throw "Not implemented";
  } else {
    const Direction a = span();
    const Direction b = other.span();
    if (eps * eps >= a.sqrLength() || eps * eps >= b.sqrLength()) return false;
    const double c = a.cross(b);
    const double lengthA = a.length();
    const double lengthB = b.length();
    const double epsA = eps != 0.0 ? eps / lengthA : 0.0;
    const double epsB = eps != 0.0 ? eps / lengthB : 0.0;
    const double m = eps != 0.0 ? std::abs(c) / (lengthA + lengthB) : std::abs(c);
    if (std::abs(eps) >= m) return false;
    const Direction w = *other.start - *start;
    const double u = w.cross(b) / c;
    const double v = w.cross(a) / c;
    if (!(epsA <= u && u <= 1.0 - epsA && epsB <= v && v <= 1.0 - epsB)) return false;
    out = blend<double, 2>(*start, *end, u);
    return true;
  }
}

template <class PointType>
bool Segment<PointType>::intersect(const Segment& other, const double& eps) const
{
  PointType dropped;
  return getIntersection(other, dropped, eps);
}

template <class PointType>
bool Segment<PointType>::checkIntersectionXY(const Segment* other, double& u, double& v, PointType& out) const
{
  return checkIntersectionInPlane(*other, 1, u, v, out);
}

template <class PointType>
bool Segment<PointType>::checkIntersectionXZ(const Segment* other, double& u, double& v, PointType& out) const
{
  return checkIntersectionInPlane(*other, 2, u, v, out);
}

template <class PointType>
bool Segment<PointType>::checkIntersectionXY(const Segment* other, Intersection& result, double sqrCollinearTol,
                                             double sqrLengthTol) const
{
  double u = 0.0, v = 0.0;
  PointType point;
  const bool crossing = checkIntersectionXY(other, u, v, point);
  return checkIntersection(*other, result, crossing, point, u, v, sqrCollinearTol, sqrLengthTol);
}

template <class PointType>
bool Segment<PointType>::checkIntersectionInPlane(const Segment& other, unsigned axis, double& u, double& v,
                                                  PointType& out) const
{
  const Vector<double, 2> s = inPlane<Scalar, PointType::Dim>(*start, axis);
  const Vector<double, 2> t = inPlane<Scalar, PointType::Dim>(*end, axis);
  const Vector<double, 2> o = inPlane<Scalar, PointType::Dim>(*other.start, axis);
  const Vector<double, 2> e = inPlane<Scalar, PointType::Dim>(*other.end, axis) - o;
  const double determinant = (s.y() - t.y()) * e.x() - (s.x() - t.x()) * e.y();
  if (std::abs(determinant) <= 1e-6) {
    out = *start;
    return false;
  }
  u = ((s.y() - o.y()) * e.x() - (s.x() - o.x()) * e.y()) / determinant;
  v = ((s.x() - o.x()) * (s.y() - t.y()) - (s.y() - o.y()) * (s.x() - t.x())) / determinant;
  out = PointType(Position(blend<Scalar, PointType::Dim>(*start, *end, u)));
  return true;
}

template <class PointType>
bool Segment<PointType>::checkIntersectionXYZ(const Segment* other, double& u, double& v, PointType& out) const
{
  const Vector<double, 3> s1 = spatial(*start);
  const Vector<double, 3> s2 = spatial(*other->start);
  Vector<double, 3> a = spatial(*end) - s1;
  Vector<double, 3> b = spatial(*other->end) - s2;
  const double sqrLengthA = a.sqrLength();
  const double sqrLengthB = b.sqrLength();
  a.normalize(normalEps);
  b.normalize(normalEps);
  const double sqrSine = b.cross(a).sqrLength();
  if (sqrSine * sqrLengthA * sqrLengthB <= 1e-12 || sqrSine <= 4e-10) {
    out = *start;
    return false;
  }
  const Vector<double, 3> nearest = nearestToLines(s1, a, s2, b);
  Position p;
  for (unsigned i = 0; i < PointType::Dim; ++i)
    p[i] = static_cast<Scalar>(nearest[i]);
  out = project(p, u);
  v = other->parameterOf(p);
  return true;
}

template <class PointType>
bool Segment<PointType>::checkIntersectionXYZ(const Segment* other, Intersection& result, double sqrCollinearTol,
                                              double sqrLengthTol) const
{
  double u = 0.0, v = 0.0;
  PointType point;
  const bool crossing = checkIntersectionXYZ(other, u, v, point);
  return checkIntersection(*other, result, crossing, point, u, v, sqrCollinearTol, sqrLengthTol);
}

template <class PointType>
bool Segment<PointType>::checkIntersection(const Segment& other, Intersection& result, bool crossing,
                                           const PointType& point, double u, double v, double sqrCollinearTol,
                                           double sqrLengthTol) const
{
  if (crossing) {
    result = PointIntersection{point, u, v};
    return true;
  }
  if (static_cast<double>(sqrLength()) < sqrLengthTol) {
    const bool bothShort = static_cast<double>(other.sqrLength()) < sqrLengthTol;
    const double parameter = bothShort ? 0.0 : other.parameterOf(*start);
    const Position nearest = bothShort ? Position(*other.start) : other.positionAt(parameter);
    result = PointIntersection{*start, 0.0, parameter};
    return static_cast<double>(start->sqrDistance(nearest)) < sqrLengthTol;
  }
  return findOverlap(other, result, sqrCollinearTol);
}

template <class PointType>
bool Segment<PointType>::findOverlap(const Segment& other, Intersection& result, double sqrCollinearTol) const
{
  double u = parameterOf(*other.start);
  if (!(static_cast<double>(other.start->sqrDistance(positionAt(u))) < sqrCollinearTol)) return false;
  double v = parameterOf(*other.end);
  const PointType* first = other.start;
  const PointType* last = other.end;
  if (v < u) {
    std::swap(u, v);
    std::swap(first, last);
  }
  if (v < 0.0 || u > 1.0) return false;
  result = Segment(u <= 0.0 ? start : first, v >= 1.0 ? end : last);
  return true;
}

template <class PointType>
void Segment<PointType>::subtract(const Segment& other, std::vector<Segment>& out, double sqrCollinearTol,
                                  double sqrLengthTol) const
{
  out.clear();
  Intersection shared;
  const bool touching = checkIntersectionXYZ(&other, shared, sqrCollinearTol, sqrLengthTol);
  const Segment* overlap = touching ? std::get_if<Segment>(&shared) : nullptr;
  if (!overlap) {
    if (static_cast<double>(sqrLength()) > sqrLengthTol) out.push_back(*this);
    return;
  }
  if (overlap->start != start) out.emplace_back(start, overlap->start);
  if (overlap->end != end) out.emplace_back(overlap->end, end);
}

#define KV_INSTANTIATE(...) template class Segment<__VA_ARGS__>;
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
