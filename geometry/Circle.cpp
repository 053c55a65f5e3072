#include "geometry/Circle.h"

#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "platform/kvarchive/Persistence.h"
#include "platform/kvmath/MatrixFunctions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportCircle2f", 500001, Circle<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportCircle3f", 500001, Circle<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportCircle2", 53013, Circle<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportCircle3", 53013, Circle<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Circle<T, dim>))

namespace {

constexpr double halfTurn = 3.141592653589793; // radians
constexpr double shortestAxis = 1e-12;         // strictly below: no direction, in float, too
constexpr double angleEps = 1e-4;

template <class T, unsigned dim>
void normalizeOrRaise(Vector<T, dim>& v, const char* message)
{
  if (!v.normalize(T(shortestAxis))) throw ShapecoreException(message);
}

/// The axes with local X along \p s and local Z along \p z.
template <class T>
OrthMatrix<T, 3> makeRotationFrom(Vector<T, 3> s, Vector<T, 3> z)
{
  normalizeOrRaise(s, "startPoint on center");
  normalizeOrRaise(z, "no normal");
  const std::array<Vector<T, 3>, 3> columns = {s, z.cross(s).getNormalized(), z};
  return OrthMatrix<T, 3>(columns.data());
}

/// The axes with local X along \p s.
template <class T>
OrthMatrix<T, 2> makeRotationFrom(Vector<T, 2> s)
{
  normalizeOrRaise(s, "startPoint on center");
  const std::array<Vector<T, 2>, 2> columns = {s, s.getOrthoNormal()};
  return OrthMatrix<T, 2>(columns.data());
}

/// The angle from \p a to \p b, clockwise as seen from the tip of \p normal.
template <class T>
double clockwiseAngle(const Vector<T, 3>& a, const Vector<T, 3>& b, const Vector<T, 3>& normal, double fullTurn)
{
  const auto angle = static_cast<double>(a.angle(b, T(angleEps)));
  return b.cross(a).dot(normal) < T(0) ? fullTurn - angle : angle;
}

/// The angle of the short way from \p a to \p b, and the axes with local X along \p a and local Y on the side of \p b.
template <class T>
double getOrientationAndAngleFrom(Vector<T, 2> a, Vector<T, 2> b, OrthMatrix<T, 2>& axes)
{
  normalizeOrRaise(a, "startPoint on center");
  normalizeOrRaise(b, "endPoint on center");
  Vector<T, 2> n = a.getOrthoNormal();
  if (n.dot(b) < T(0)) n.negate();
  const std::array<Vector<T, 2>, 2> columns = {a, n};
  axes = OrthMatrix<T, 2>(columns.data());
  return static_cast<double>(a.angle(b, T(angleEps)));
}

template <class T>
OrthMatrix<T, 2> makeTurn(double angle)
{
  return OrthMatrix<T, 2>(MatrixFunctions::makeRotationMatrix(static_cast<T>(angle)));
}

/// How many pieces an arc of \p angle radians needs so that no chord is further than half the tolerance off it; 0 if
/// the rule doesn't apply.
double piecesOfArc(double angle, double radius, double tolerance)
{
  if (!(radius > 0.0)) return 0.0;
  const double e = tolerance * 0.5 / radius;
  const double sqrStep = 8.0 * e - 4.0 * e * e;
  return sqrStep > 0.0 ? std::ceil(std::abs(angle) / std::sqrt(sqrStep)) + 1.0 : 0.0;
}

} // namespace

template <class T, unsigned dim>
Circle<T, dim>::Circle(T chordTolerance) : ConicArc<T, dim>(chordTolerance)
{
  this->domain.upper = this->fullTurn;
}

template <class T, unsigned dim>
Circle<T, dim>::Circle(T circleRadius, const CoordinateSystem<T, dim>& placement, T chordTolerance)
    : ConicArc<T, dim>(placement, chordTolerance), radius(circleRadius)
{
  this->domain.upper = this->fullTurn;
}

template <class T, unsigned dim>
Circle<T, dim>::Circle(const Point<T, dim>& center, T circleRadius, const Vector<T, dim>& normal,
                       const Point<T, dim>& start, const Point<T, dim>& end, T chordTolerance)
    : ConicArc<T, dim>(chordTolerance), radius(circleRadius)
{
  const Vector<T, dim> a = start - center;
  const Vector<T, dim> b = end - center;
  if constexpr (dim == 3) {
    placeArc(makeRotationFrom(a, -normal), center, clockwiseAngle(a, b, normal, this->fullTurn));
  } else {
    OrthMatrix<T, dim> axes;
    const double angle = getOrientationAndAngleFrom(a, b, axes);
    placeArc(axes, center, angle);
  }
}

template <class T, unsigned dim>
Circle<T, dim>::Circle(const Point<T, dim>& center, T circleRadius, [[maybe_unused]] const Vector<T, dim>& normal,
                       const Point<T, dim>& start, T angle, T chordTolerance)
    : ConicArc<T, dim>(chordTolerance), radius(circleRadius)
{
  if constexpr (dim == 3)
    placeArc(makeRotationFrom<T>(start - center, -normal), center, static_cast<double>(angle));
  else
    placeArc(makeRotationFrom<T>(start - center), center, static_cast<double>(angle));
}

template <class T, unsigned dim>
void Circle<T, dim>::placeArc(const OrthMatrix<T, dim>& axes, const Point<T, dim>& center, double angle)
{
  this->coordinateSystem = CoordinateSystem<T, dim>(axes, center);
  this->domain.upper = angle;
  checkClosed();
}

template <class T, unsigned dim>
void Circle<T, dim>::checkClosed()
{
  if (this->domain.upper < this->fullTurn) closed = false;
}

template <class T, unsigned dim>
Circle<T, dim>::Circle(const Circle& other) : ConicArc<T, dim>(other.tolerance)
{
  copyCircle(other);
}

template <class T, unsigned dim>
Circle<T, dim>& Circle<T, dim>::operator=(const Circle& other)
{
  copyCircle(other);
  return *this;
}

template <class T, unsigned dim>
Circle<T, dim>::~Circle() = default;

template <class T, unsigned dim>
void Circle<T, dim>::copy(const Curve<T, dim>& other)
{
  copyCircle(dynamic_cast<const Circle&>(other));
}

template <class T, unsigned dim>
void Circle<T, dim>::copyCircle(const Circle& other)
{
  this->copyConicArc(other);
  radius = other.radius;
  closed = other.isClosed();
}

template <class T, unsigned dim>
Point<T, dim> Circle<T, dim>::evaluate(const double& t) const
{
  return this->placed(radius * static_cast<T>(std::cos(t)), radius * static_cast<T>(std::sin(t)));
}

template <class T, unsigned dim>
Vector<T, dim> Circle<T, dim>::evaluateDerivation(const double& t) const
{
  const Vector<T, dim> derivative =
      this->turned(-radius * static_cast<T>(std::sin(t)), radius * static_cast<T>(std::cos(t)));
  return this->domain.lower > this->domain.upper ? -derivative : derivative;
}

template <class T, unsigned dim>
Vector<T, dim> Circle<T, dim>::getStartTangent() const
{
  return evaluateDerivation(this->domain.lower);
}

template <class T, unsigned dim>
Vector<T, dim> Circle<T, dim>::getEndTangent() const
{
  return evaluateDerivation(this->domain.upper);
}

template <class T, unsigned dim>
T Circle<T, dim>::getLength() const
{
  return std::abs(static_cast<T>(this->domain.upper - this->domain.lower) * radius);
}

template <class T, unsigned dim>
BoundingBox<T, dim> Circle<T, dim>::calculateBoundingBox() const
{
  BoundingBox<T, dim> box;
  for (const T x : {-radius, radius})
    for (const T y : {-radius, radius})
      box.enlarge(this->placed(x, y));
  return box;
}

template <class T, unsigned dim>
void Circle<T, dim>::reverse()
{
  const double middle = (this->domain.lower + this->domain.upper) * 0.5;
  if constexpr (dim == 3) {
    const Point<T, dim>& center = this->coordinateSystem.getOrigin();
    const Vector<T, dim> axis = (evaluate(middle) - center).getNormalized();
    const auto [ok, rotation] = MatrixFunctions::makeRotationMatrix(T(-halfTurn), axis);
    OrthMatrixCheck::ensure<T, dim>(ok, "OrthMatrix::setRotationMatrix: Couldn't normalize axis");
    this->coordinateSystem.transform(CoordinateSystem<T, dim>().setUpRotation(center, rotation));
  } else {
    OrthMatrix<T, dim> flip;
    flip(1, 1) = T(-1);
    this->turnLocally(makeTurn<T>(middle));
    this->turnLocally(flip);
    this->turnLocally(makeTurn<T>(-middle));
  }
}

template <class T, unsigned dim>
void Circle<T, dim>::rotate(double angle)
{
  if constexpr (dim == 3) {
    const auto [ok, rotation] = MatrixFunctions::makeRotationMatrix(static_cast<T>(angle), Vector<T, dim>(0, 0, 1));
    this->turnLocally(OrthMatrix<T, dim>(rotation));
  } else {
    this->turnLocally(makeTurn<T>(angle));
  }
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> Circle<T, dim>::mirror(const Plane<T, dim>& plane) const
{
  std::array<Vector<T, dim>, dim> columns;
  for (unsigned i = 0; i < dim; ++i)
    columns[i] = plane.getMirroredVector(this->coordinateSystem.getOrientation().column(i));
  auto image = std::make_shared<Circle>(*this);
  image->setCoordinateSystem(CoordinateSystem<T, dim>(OrthMatrix<T, dim>(columns.data()),
                                                      plane.getMirroredPoint(this->coordinateSystem.getOrigin())));
  return image;
}

template <class T, unsigned dim>
double Circle<T, dim>::calculateParameterFromXZ(const Point<T, dim>& p) const requires(dim == 3)
{
  const Point<T, dim>& center = this->coordinateSystem.getOrigin();
  const T cosine = std::clamp((p.x() - center.x()) / radius, T(-1), T(1));
  const double t = std::acos(static_cast<double>(cosine));
  return p.z() - center.z() > T(0) ? t : this->fullTurn - t;
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> Circle<T, dim>::create() const
{
  return std::make_shared<Circle>(this->tolerance);
}

template <class T, unsigned dim>
void Circle<T, dim>::refine(PolyLine<Point<T, dim>>& polyline, int /*index*/, double t0, double t1, int /*depth*/) const
{
  const double width = t1 - t0;
  const double pieces = piecesOfArc(width, static_cast<double>(radius), static_cast<double>(this->tolerance));
  if (!(pieces > 1.0)) return;
  if (!(pieces < std::numeric_limits<std::uint32_t>::max()))
    throw ShapecoreException("Circle: The tolerance is too small for a discretisation.");
  const auto n = static_cast<std::uint32_t>(pieces);
  polyline.clear();
  polyline.reserve(std::size_t(n) + 1);
  for (std::uint32_t i = 0; i <= n; ++i)
    polyline.addPoint(evaluate(t0 + i * width / n));
}

template <class T, unsigned dim>
void Circle<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<ConicArc<T, dim>>(archiver, *this);
  archiver << radius << closed;
}

template <class T, unsigned dim>
void Circle<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<ConicArc<T, dim>>(archiver, *this);
  archiver >> radius >> closed;
}

#define KV_INSTANTIATE(...) template class Circle<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
