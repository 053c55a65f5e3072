#pragma once

#include "geometry/ConicArc.h"

namespace Kavrel {

/// A circle or an arc of one. The parameter is the angle in radians from the local X axis towards local Y; parameters
/// beyond the domain go on around the circle.
///
/// An arc in space that is given by a plane normal runs clockwise as seen from the tip of that normal. Its local X axis
/// leads to the start as it is given; a start off the plane gives a frame that isn't orthonormal.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Circle : public ConicArc<T, dim>
{
public:
  /// The closed unit circle at the identity placement.
  explicit Circle(T chordTolerance = T(0.1));
  /// A full circle.
  Circle(T circleRadius, const CoordinateSystem<T, dim>& placement, T chordTolerance);
  /// The arc from \p start to \p end about \p center, closed if it makes a full turn. In the plane it runs the short
  /// way and \p normal takes no part. Raises ShapecoreException "startPoint on center", in space "no normal" and in the
  /// plane "endPoint on center"; the distances of start and end to the center aren't compared with the radius.
  Circle(const Point<T, dim>& center, T circleRadius, const Vector<T, dim>& normal, const Point<T, dim>& start,
         const Point<T, dim>& end, T chordTolerance);
  /// The arc of \p angle radians from \p start about \p center, closed if it makes a full turn. In the plane it runs
  /// counter-clockwise and \p normal takes no part. Raises ShapecoreException "startPoint on center", in space also "no
  /// normal".
  Circle(const Point<T, dim>& center, T circleRadius, const Vector<T, dim>& normal, const Point<T, dim>& start, T angle,
         T chordTolerance);
  /// Copies everything but the identifier, which is a fresh one.
  Circle(const Circle& other);
  /// Copies everything but the identifier, which stays.
  Circle& operator=(const Circle& other);
  ~Circle() override;

  void copy(const Curve<T, dim>& other) override;
  void copyCircle(const Circle& other);

  T getRadius() const { return radius; }
  /// Not checked.
  void setRadius(const T& circleRadius) { radius = circleRadius; }
  /// Sets the flag, whatever the domain is.
  void setClosed(bool isNowClosed) { closed = isNowClosed; }
  bool isClosed() const override { return closed; }

  Point<T, dim> evaluate(const double& t) const override;
  /// The derivative, turned around when the lower bound of the domain is above the upper one.
  Vector<T, dim> evaluateDerivation(const double& t) const override;
  /// The derivation at the lower bound of the domain.
  Vector<T, dim> getStartTangent() const override;
  /// The derivation at the upper bound of the domain.
  Vector<T, dim> getEndTangent() const override;

  /// The length of the arc.
  T getLength() const override;
  /// The box of the local square around the full circle, for an arc, too; it is too large where the placement turns it.
  BoundingBox<T, dim> calculateBoundingBox() const override;

  /// Turns the direction of travel around: the placement is flipped about the middle of the arc, the domain stays. In
  /// space raises MathException "OrthMatrix::setRotationMatrix: Couldn't normalize axis" for a circle without radius.
  void reverse() override;
  /// Moves the start of the parameter by \p angle radians along the circle.
  void rotate(double angle);
  /// The mirrored circle over the same domain; the sense of rotation is mirrored, too.
  std::shared_ptr<Curve<T, dim>> mirror(const Plane<T, dim>& plane) const override;

  /// The parameter of \p p on a circle parallel to the global XZ plane, by x and the sign of z: in [0, pi] above the
  /// centre in z, else in [pi, 2 pi].
  double calculateParameterFromXZ(const Point<T, dim>& p) const requires(dim == 3);

  /// A unit circle with the tolerance of this one.
  std::shared_ptr<Curve<T, dim>> create() const override;

protected:
  /// Divides the stretch evenly, so that the chords lie at most half the tolerance off the circle, and replaces the
  /// whole polyline by it. Without a positive radius, or with a tolerance that is not positive or at least four radii,
  /// the polyline stays. Raises ShapecoreException where the points can't be counted.
  void refine(PolyLine<Point<T, dim>>& polyline, int index, double t0, double t1, int depth) const override;

private:
  void placeArc(const OrthMatrix<T, dim>& axes, const Point<T, dim>& center, double angle);
  void checkClosed();

  T radius = T(1);
  bool closed = true;

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class Circle<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
