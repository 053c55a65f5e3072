#pragma once

#include "geometry/BoundingBox.h"
#include "geometry/Instantiations.h"
#include "geometry/Point.h"
#include "platform/kvarchive/Persistent.h"
#include "platform/kvident/Identifier.h"
#include "platform/kvmath/Interval.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Kavrel {

template <class T, unsigned dim>
class CoordinateSystem;
template <class T, unsigned dim>
class Plane;
template <class PointType>
class PolyLine;

/// A parametric curve: the base of polylines, lines, conics and splines.
///
/// Every kind has a range of its parameter (the domain), a chord tolerance in model units and an identifier. It must
/// say how to evaluate() a point and its derivation; what else a curve can do follows from these two unless the kind
/// knows a better way, mostly by calcPolyLine(). Parameters are double, for float curves too.
///
/// Curves are held by std::shared_ptr. A deep copy is `auto twin = curve.create(); twin->copy(curve);`.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Curve
{
public:
  static constexpr std::uint32_t dimension = dim;

  /// A curve over [0, 1] with a fresh identifier. The tolerance isn't checked.
  explicit Curve(T chordTolerance = T(0.1));
  /// A curve over the sorted interval of the two bounds, with a fresh identifier.
  Curve(double lower, double upper, T chordTolerance);
  /// Copies domain, tolerance and identifier.
  Curve(const Curve&) = default;
  Curve& operator=(const Curve&) = default;
  virtual ~Curve();

  /// Takes over the state of \p other, a curve of the same class; the identifier stays. Raises std::bad_cast for a
  /// curve of another class.
  virtual void copy(const Curve& other) = 0;

  /// Moves the start of the curve, where its kind allows that; nothing happens otherwise.
  virtual void setStart(const Point<T, dim>& point);
  /// Moves the end of the curve, where its kind allows that; nothing happens otherwise.
  virtual void setEnd(const Point<T, dim>& point);

  virtual Point<T, dim> getStart() const;
  virtual Point<T, dim> getEnd() const;
  /// The point at the middle of the domain.
  virtual Point<T, dim> getMid() const;

  /// The way from the start to the point a hundredth of the domain further, at most 0.01 in parameter: not normalised
  /// and not divided by the step.
  virtual Vector<T, dim> getStartTangent() const;
  /// The way to the end from the point a hundredth of the domain before it, at most 0.01 in parameter.
  virtual Vector<T, dim> getEndTangent() const;

  /// Sets the chord tolerance of the discretisation, in model units.
  virtual void setTolerance(T chordTolerance);

  /// Whether end and start are joined; false unless the kind of curve says otherwise.
  virtual bool isClosed() const;

  /// Stores the interval as given, sorted or not.
  virtual void setDomain(const Interval& interval);

  /// The point at the parameter \p t. What a parameter beyond the domain gives is up to the kind of curve.
  virtual Point<T, dim> evaluate(const double& t) const = 0;
  /// The direction of travel at \p t. Its length is up to the kind of curve.
  virtual Vector<T, dim> evaluateDerivation(const double& t) const = 0;

  /// Writes the derivatives at \p t, as many as the curve offers, and returns their number. The default is none: 0,
  /// with the vector left alone.
  virtual int derivates(std::vector<Point<T, dim>>& derivatives, const double& t) const;

  /// Replaces the points and the closed flag of \p polyline by an adaptive discretisation of the curve, both ends
  /// included; a closed curve keeps both of its equal end points. Domain and tolerance of \p polyline stay.
  ///
  /// A stretch is split where the curve lies further than the tolerance from its chord, and, at most five times along a
  /// branch, where the sag exceeds 1/30 of the chord in the middle or 1/40 at a quarter point. Stretches shorter than
  /// 1e-5 in parameter aren't split.
  virtual void calcPolyLine(PolyLine<Point<T, dim>>& polyline) const;

  /// The length of the discretisation, unless the kind of curve has a closed formula.
  virtual T getLength() const;
  /// A box around the discretisation, which may leave out up to the tolerance of the curve.
  virtual BoundingBox<T, dim> calculateBoundingBox() const;

  virtual void transform(const CoordinateSystem<T, dim>& system) = 0;
  /// Turns the direction of travel around, in place.
  virtual void reverse() = 0;
  /// A new empty curve of the same class.
  virtual std::shared_ptr<Curve> create() const = 0;

  /// Replaces one end by the mirror image of the other. Raises ShapecoreException "Not implemented yet!" for kinds
  /// without the operation.
  virtual void setSymmetricalEnd(bool atStart, const Plane<T, dim>& plane);
  /// A new curve, the mirror image, with a fresh identifier.
  virtual std::shared_ptr<Curve> mirror(const Plane<T, dim>& plane) const = 0;

  /// Looks for a point of the curve closer than \p eps (strictly) to \p plane, by Newton steps and then by false
  /// position. On success \p result holds the point and \p tangent, unless null, the derivation there. False when both
  /// ends lie on one side, further than \p eps, or when no iteration converges; \p result may then have been written.
  virtual bool findIntersection(const Plane<T, dim>& plane, T eps, Point<T, dim>& result,
                                Vector<T, dim>* tangent) const;

  const Interval& getDomain() const { return domain; }
  /// Replaces one bound, sorts the interval and passes it to setDomain().
  void setDomainStart(double lower);
  /// Replaces one bound, sorts the interval and passes it to setDomain().
  void setDomainEnd(double upper);

  T getTolerance() const { return tolerance; }

  const Identifier& getId() const { return id; }
  void setId(const Identifier& identifier) { id = identifier; }

  /// Whether \p other is this very object; shapes aren't compared. Null gives false.
  bool isEqual(const std::shared_ptr<const Curve>& other) const;

protected:
  /// The source is left with the default interval, tolerance 0 and the invalid identifier.
  Curve(Curve&& other) noexcept;
  Curve& operator=(Curve&& other) noexcept;

  /// Adds to \p polyline, behind the vertex \p index, what the curve needs on its way to the next vertex. The two have
  /// the parameters \p t0 and \p t1; \p depth counts the splits by the sag-to-chord rule so far.
  virtual void refine(PolyLine<Point<T, dim>>& polyline, int index, double t0, double t1, int depth) const;

  Interval domain;
  T tolerance;
  Identifier id;

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class Curve<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
