#pragma once

#include "geometry/Curve.h"

namespace Kavrel {

template <class T, unsigned dim>
class NurbsCurve;

/// The straight way from a start to an end, with a direction that is end minus start, not normalised.
///
/// The direction follows the ends unless these coincide to within 1e-12. Moving the ends together therefore leaves the
/// direction as it was; setTangent() can change it then.
template <class T, unsigned dim>
class KVSHAPES_EXPORT StraightLine : public Curve<T, dim>
{
public:
  /// Both ends and the direction zero.
  explicit StraightLine(T chordTolerance = T(0.1));
  StraightLine(const Point<T, dim>& a, const Point<T, dim>& b, T chordTolerance);
  /// From \p a to a + d.
  StraightLine(const Point<T, dim>& a, const Vector<T, dim>& d, T chordTolerance);
  /// From the first to the last control point of a curve that is straight, over the domain between the second knot from
  /// either end, with the tolerance of the curve. Raises ShapecoreException for a curve without control points or with
  /// fewer than two knots.
  explicit StraightLine(const NurbsCurve<T, dim>& curve);
  /// Copies domain, tolerance, ends and direction; the identifier is a fresh one.
  StraightLine(const StraightLine& other);
  /// Copies domain, tolerance, ends and direction; the identifier stays.
  StraightLine& operator=(const StraightLine& other);
  ~StraightLine() override;

  void copy(const Curve<T, dim>& other) override;
  void copyStraightLine(const StraightLine& other);

  /// Exact comparison of the two ends alone.
  bool operator==(const StraightLine& other) const { return start == other.start && end == other.end; }

  void setStart(const Point<T, dim>& point) override;
  void setEnd(const Point<T, dim>& point) override;
  /// The direction becomes b - a when the ends are more than 1e-12 apart, and stays otherwise.
  void setStartAndEnd(const Point<T, dim>& a, const Point<T, dim>& b);
  /// Sets the direction of a line whose squared length is at most 1e-24; nothing happens otherwise.
  void setTangent(const Vector<T, dim>& tangent);

  Point<T, dim> getStart() const override { return start; }
  Point<T, dim> getEnd() const override { return end; }
  Vector<T, dim> getStartTangent() const override { return direction; }
  Vector<T, dim> getEndTangent() const override { return direction; }
  const Vector<T, dim>& getDirection() const { return direction; }
  bool isClosed() const override { return false; }

  /// The start at t = 0, the end at t = the width of the domain, whatever its lower bound is.
  Point<T, dim> evaluate(const double& t) const override;
  /// The direction.
  Vector<T, dim> evaluateDerivation(const double& t) const override;

  /// The distance of the two ends.
  T getLength() const override;
  BoundingBox<T, dim> calculateBoundingBox() const override;

  /// The foot of \p p on the infinite line. \p t, unless null, receives its parameter: 0 at the start, 1 at start +
  /// direction. A line with a zero direction gives its start and 0.
  Point<T, dim> project(const Point<T, dim>& p, T* t) const;
  /// Distance from \p p to the infinite line.
  T getDistance(const Point<T, dim>& p) const;
  /// Squared distance from \p p to the infinite line.
  T getSqrDistance(const Point<T, dim>& p) const;

  /// The intersection of the two infinite lines in the plane. False when the sine of their angle is at most |eps|; \p
  /// out is untouched then. Lines in space always give false: use computeClosestPoints().
  bool getIntersection(const StraightLine& line, Point<T, dim>& out, double eps) const;

  /// Reflects \p v at the direction of the line: the half turn about it. Not for a line of zero length.
  void mirrorVector(Vector<T, dim>& v) const;
  std::shared_ptr<Curve<T, dim>> mirror(const Plane<T, dim>& plane) const override;
  /// Mirrors in place.
  StraightLine& mirrorStraightLine(const Plane<T, dim>& plane);

  void transform(const CoordinateSystem<T, dim>& system) override;
  /// Swaps the ends and turns the direction; the domain stays.
  void reverse() override;
  /// The mirror image of the end becomes the start, or with \p atStart false that of the start the end.
  void setSymmetricalEnd(bool atStart, const Plane<T, dim>& plane) override;
  /// A new line with the default tolerance.
  std::shared_ptr<Curve<T, dim>> create() const override;

protected:
  /// A line needs no further points.
  void refine(PolyLine<Point<T, dim>>& polyline, int index, double t0, double t1, int depth) const override;

private:
  Point<T, dim> start;
  Point<T, dim> end;
  Vector<T, dim> direction;

  KVSHAPES_PERSISTENT();
};

/// The points of the two infinite lines that are closest to each other. False, with the points possibly written, when
/// the lines are parallel or a direction is shorter than the plane intersection resolves (1e-4).
KVSHAPES_EXPORT bool computeClosestPoints(const StraightLine<double, 3>& a, const StraightLine<double, 3>& b,
                                          Point<double, 3>& onA, Point<double, 3>& onB);

#define KV_INSTANTIATE(...) extern template class StraightLine<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
