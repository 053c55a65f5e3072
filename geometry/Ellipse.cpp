#include "geometry/Ellipse.h"

#include "geometry/Plane.h"
#include "platform/kvarchive/Persistence.h"

#include <cmath>

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportEllipse2f", 500001, Ellipse<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportEllipse3f", 500001, Ellipse<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportEllipse2", 53013, Ellipse<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportEllipse3", 53013, Ellipse<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Ellipse<T, dim>))

template <class T, unsigned dim>
Ellipse<T, dim>::Ellipse(T chordTolerance) : ConicArc<T, dim>(chordTolerance)
{
  initClosed();
}

template <class T, unsigned dim>
Ellipse<T, dim>::Ellipse(T a, T b, const CoordinateSystem<T, dim>& placement, T chordTolerance)
    : ConicArc<T, dim>(placement, chordTolerance), radiusA(a), radiusB(b)
{
  initClosed();
}

template <class T, unsigned dim>
void Ellipse<T, dim>::initClosed()
{
  this->domain = Interval(0.0, this->fullTurn, false, false);
  closed = true;
}

template <class T, unsigned dim>
Ellipse<T, dim>::~Ellipse() = default;

template <class T, unsigned dim>
void Ellipse<T, dim>::copy(const Curve<T, dim>& other)
{
  copyEllipse(dynamic_cast<const Ellipse&>(other));
}

template <class T, unsigned dim>
void Ellipse<T, dim>::copyEllipse(const Ellipse& other)
{
  this->copyConicArc(other);
  radiusA = other.radiusA;
  radiusB = other.radiusB;
  closed = other.closed;
  conicType = other.conicType;
}

template <class T, unsigned dim>
void Ellipse<T, dim>::setType(int /*type*/)
{
  conicType = EllipseType::Ellipse4;
}

template <class T, unsigned dim>
Point<T, dim> Ellipse<T, dim>::evaluate(const double& t) const
{
  return this->placed(radiusA * static_cast<T>(std::cos(t)), radiusB * static_cast<T>(std::sin(t)));
}

template <class T, unsigned dim>
Vector<T, dim> Ellipse<T, dim>::evaluateDerivation(const double& t) const
{
  return this->turned(-radiusA * static_cast<T>(std::sin(t)), radiusB * static_cast<T>(std::cos(t)));
}

template <class T, unsigned dim>
T Ellipse<T, dim>::getLength() const
{
  return std::abs((radiusA + radiusB) * T(0.5) * static_cast<T>(this->domain.upper - this->domain.lower));
}

template <class T, unsigned dim>
BoundingBox<T, dim> Ellipse<T, dim>::calculateBoundingBox() const
{
  this->refuseValue();
}

template <class T, unsigned dim>
void Ellipse<T, dim>::reverse()
{
  const Interval before = this->domain;
  this->domain.lower = this->fullTurn - before.upper;
  this->domain.upper = this->fullTurn - before.lower;
  OrthMatrix<T, dim> flip;
  flip(1, 1) = T(-1);
  this->turnLocally(flip);
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> Ellipse<T, dim>::mirror(const Plane<T, dim>& plane) const
{
  auto image = std::make_shared<Ellipse>(this->tolerance);
  image->copyEllipse(*this);
  const auto mirrored = CoordinateSystem<T, dim>().setUpMirror(plane);
  const OrthMatrix<T, dim>& axes = mirrored.getOrientation();
  image->coordinateSystem = {axes * this->coordinateSystem.getOrientation(),
                             axes * this->coordinateSystem.getOrigin() + mirrored.getOrigin()};
  std::shared_ptr<Curve<T, dim>> curve = image;
  curve->reverse();
  return curve;
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> Ellipse<T, dim>::create() const
{
  return std::make_shared<Ellipse>(this->tolerance);
}

template <class T, unsigned dim>
void Ellipse<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<ConicArc<T, dim>>(archiver, *this);
  archiver << radiusA << radiusB << closed;
}

template <class T, unsigned dim>
void Ellipse<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<ConicArc<T, dim>>(archiver, *this);
  archiver >> radiusA >> radiusB >> closed;
}

#define KV_INSTANTIATE(...) template class Ellipse<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
