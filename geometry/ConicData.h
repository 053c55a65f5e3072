#pragma once

#include "geometry/BoundingBox.h"
#include "geometry/ConicArc.h"
#include "geometry/ConicType.h"

namespace Kavrel {

/// A conic on its way between archives and CAD records: two parameters, a type number and a placement. It can be moved
/// and stored, not evaluated, and so not discretised either.
template <class Type, class T, unsigned dim>
class KVSHAPES_EXPORT ConicData : public ConicArc<T, dim>
{
public:
  T getA() const { return a; }
  T getB() const { return b; }
  void setA(const T& firstParameter) { a = firstParameter; }
  void setB(const T& secondParameter) { b = secondParameter; }
  Type getType() const { return conicType; }

  /// Raises ShapecoreException "Not yet implemented".
  Point<T, dim> evaluate(const double&) const override { this->refuseValue(); }
  /// Raises ShapecoreException "Not implemented yet!".
  Vector<T, dim> evaluateDerivation(const double&) const override { this->refuseDirection(); }
  /// Raises ShapecoreException "Not yet implemented".
  T getLength() const override { this->refuseValue(); }
  /// Raises ShapecoreException "Not yet implemented".
  BoundingBox<T, dim> calculateBoundingBox() const override { this->refuseValue(); }
  /// Raises ShapecoreException "Not implemented yet!".
  void reverse() override { this->refuseDirection(); }
  /// Raises ShapecoreException "Not implemented yet!".
  std::shared_ptr<Curve<T, dim>> mirror(const Plane<T, dim>&) const override { this->refuseDirection(); }

protected:
  ConicData(Type type, T chordTolerance) : ConicArc<T, dim>(chordTolerance), conicType(type) {}
  ConicData(Type type, T firstParameter, T secondParameter, const CoordinateSystem<T, dim>& placement, T chordTolerance)
      : ConicArc<T, dim>(placement, chordTolerance), conicType(type), a(firstParameter), b(secondParameter)
  {}

  /// Takes over everything but the identifier, which stays.
  void copyConicData(const ConicData& other)
  {
    this->copyConicArc(other);
    conicType = other.conicType;
    a = other.a;
    b = other.b;
  }

  Type conicType;
  T a = T(0);
  T b = T(0);
};

} // namespace Kavrel
