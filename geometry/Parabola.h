#pragma once

#include "geometry/ConicArc.h"
#include "geometry/ConicType.h"

namespace Kavrel {

/// The data of a parabola on its way between archives and CAD records: two parameters, a type number and a placement.
/// It can be moved and stored, not evaluated, and so not discretised either.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Parabola : public ConicArc<T, dim>
{
public:
  /// Of type 0, with both parameters 0, at the identity placement.
  explicit Parabola(T chordTolerance = T(0.1));
  Parabola(ParabolaType type, T firstParameter, T secondParameter, const CoordinateSystem<T, dim>& placement,
           T chordTolerance);
  /// Copies everything, the identifier included.
  Parabola(const Parabola&) = default;
  Parabola& operator=(const Parabola&) = default;
  /// The source is left with the default interval, tolerance 0 and the invalid identifier.
  Parabola(Parabola&&) noexcept = default;
  Parabola& operator=(Parabola&&) noexcept = default;
  ~Parabola() override;

  void copy(const Curve<T, dim>& other) override;
  /// Takes over everything but the identifier, which stays.
  void copyParabola(const Parabola& other);

  T getA() const { return a; }
  T getB() const { return b; }
  void setA(const T& firstParameter) { a = firstParameter; }
  void setB(const T& secondParameter) { b = secondParameter; }
  ParabolaType getType() const { return conicType; }
  /// The types 0 to 2 as they are; any other number gives type 3.
  void setType(int type);

  /// Raises ShapecoreException "Not yet implemented".
  Point<T, dim> evaluate(const double& t) const override;
  /// Raises ShapecoreException "Not implemented yet!".
  Vector<T, dim> evaluateDerivation(const double& t) const override;
  /// Raises ShapecoreException "Not yet implemented".
  T getLength() const override;
  /// Raises ShapecoreException "Not yet implemented".
  BoundingBox<T, dim> calculateBoundingBox() const override;
  /// Raises ShapecoreException "Not implemented yet!".
  void reverse() override;
  /// Raises ShapecoreException "Not implemented yet!".
  std::shared_ptr<Curve<T, dim>> mirror(const Plane<T, dim>& plane) const override;

  /// An empty parabola with the default tolerance.
  std::shared_ptr<Curve<T, dim>> create() const override;

private:
  ParabolaType conicType = ParabolaType::Parabola0;
  T a = T(0);
  T b = T(0);

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class Parabola<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
