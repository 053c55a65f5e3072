#pragma once

#include "geometry/ConicArc.h"
#include "geometry/ConicType.h"

namespace Kavrel {

/// The data of a hyperbola on its way between archives and CAD records: two parameters, a type number and a placement.
/// It can be moved and stored, not evaluated, and so not discretised either.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Hyperbola : public ConicArc<T, dim>
{
public:
  /// Of type 5, with both parameters 0, at the identity placement.
  explicit Hyperbola(T chordTolerance = T(0.1));
  Hyperbola(HyperbolaType type, T firstParameter, T secondParameter, const CoordinateSystem<T, dim>& placement,
            T chordTolerance);
  /// Copies everything, the identifier included.
  Hyperbola(const Hyperbola&) = default;
  Hyperbola& operator=(const Hyperbola&) = default;
  /// The source is left with the default interval, tolerance 0 and the invalid identifier.
  Hyperbola(Hyperbola&&) noexcept = default;
  Hyperbola& operator=(Hyperbola&&) noexcept = default;
  ~Hyperbola() override;

  void copy(const Curve<T, dim>& other) override;
  /// Takes over everything but the identifier, which stays.
  void copyHyperbola(const Hyperbola& other);

  T getA() const { return a; }
  T getB() const { return b; }
  void setA(const T& firstParameter) { a = firstParameter; }
  void setB(const T& secondParameter) { b = secondParameter; }
  HyperbolaType getType() const { return conicType; }
  /// The types 5 to 7 as they are; any other number gives type 8.
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

  /// An empty hyperbola with the tolerance of this one.
  std::shared_ptr<Curve<T, dim>> create() const override;

private:
  HyperbolaType conicType = HyperbolaType::Hyperbola5;
  T a = T(0);
  T b = T(0);

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class Hyperbola<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
