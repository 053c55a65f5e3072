#pragma once

#include "geometry/ConicArc.h"
#include "geometry/ConicType.h"

namespace Kavrel {

/// An ellipse or an arc of one, with its axes along those of the placement: the point at the parameter t has the local
/// coordinates (a·cos t, b·sin t). Parameters beyond the domain go on around the ellipse.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Ellipse : public ConicArc<T, dim>
{
public:
  /// The closed ellipse with unit radii at the identity placement.
  explicit Ellipse(T chordTolerance = T(0.1));
  /// The full ellipse.
  Ellipse(T a, T b, const CoordinateSystem<T, dim>& placement, T chordTolerance);
  /// Copies everything, the identifier included.
  Ellipse(const Ellipse&) = default;
  Ellipse& operator=(const Ellipse&) = default;
  /// The source is left with the default interval, tolerance 0 and the invalid identifier.
  Ellipse(Ellipse&&) noexcept = default;
  Ellipse& operator=(Ellipse&&) noexcept = default;
  ~Ellipse() override;

  void copy(const Curve<T, dim>& other) override;
  /// Takes over everything but the identifier, which stays.
  void copyEllipse(const Ellipse& other);

  T getRadiusA() const { return radiusA; }
  T getRadiusB() const { return radiusB; }
  void setRadiusA(const T& a) { radiusA = a; }
  void setRadiusB(const T& b) { radiusB = b; }
  /// Sets the flag, whatever the domain is.
  void setClosed(bool isNowClosed) { closed = isNowClosed; }
  bool isClosed() const override { return closed; }
  EllipseType getType() const { return conicType; }
  /// There is one type; any number gives it.
  void setType(int type);

  Point<T, dim> evaluate(const double& t) const override;
  /// The derivative.
  Vector<T, dim> evaluateDerivation(const double& t) const override;

  /// The mean of the radii times the opening angle: an estimate, which is exact for a circle.
  T getLength() const override;
  /// Raises ShapecoreException "Not yet implemented".
  BoundingBox<T, dim> calculateBoundingBox() const override;

  /// Turns the direction of travel around: the domain [l, u] becomes [2 pi - u, 2 pi - l] and local Y is flipped.
  void reverse() override;
  /// The mirror image, running the other way.
  std::shared_ptr<Curve<T, dim>> mirror(const Plane<T, dim>& plane) const override;

  /// An ellipse with unit radii and the tolerance of this one.
  std::shared_ptr<Curve<T, dim>> create() const override;

private:
  void initClosed();

  T radiusA = T(1);
  T radiusB = T(1);
  bool closed = true;
  EllipseType conicType = EllipseType::Ellipse4;

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class Ellipse<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
