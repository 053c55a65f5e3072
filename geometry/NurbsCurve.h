#pragma once

#include "geometry/Curve.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Kavrel {

struct PO_IG_NURBS_CRV;

/// What a NURBS curve is by its form, numbered as IGES numbers the forms of its entity 126.
enum class NurbsCurveType : std::int32_t
{
  General = 0,
  Line = 1,
  CircularArc = 2,
  EllipticalArc = 3,
  ParabolicArc = 4,
  HyperbolicArc = 5,
};

/// A non-uniform rational B-spline curve: control points, optional weights, ascending knots, and statements about the
/// curve that are stored and not computed (closed, planar, periodical).
///
/// A complete curve has degree + 1 knots more than control points, and no weights or as many as control points. The
/// setters don't look after that, nor after degree, form, domain and cache. Evaluation raises ShapecoreException when
/// the counts don't fit. Any parameter may be evaluated: the domain takes no part, and beyond the knots the polynomial
/// of the first or last span goes on. Evaluation reads the arrays of the curve in place and allocates nothing.
///
/// The cache is a record of the CAD kernel, a snapshot of the curve from which evaluate() answers while it is on. No
/// change of the curve refreshes it.
template <class T, unsigned dim>
class KVSHAPES_EXPORT NurbsCurve : public Curve<T, dim>
{
public:
  /// No control points, weights and knots, degree 0, over [0, 1].
  explicit NurbsCurve(T chordTolerance = T(0.1));
  /// The domain is that from the first knot to the last. The degree follows from the counts. The curve is classified,
  /// see determineTypeOfNurbsCurve().
  NurbsCurve(const std::vector<Point<T, dim>>& polygon, const std::vector<double>& pointWeights,
             const std::vector<double>& knotVector, bool isNowClosed, bool isNowPlanar, bool isNowPeriodical,
             T chordTolerance);
  /// Without weights. \p generateCache turns the cache on.
  NurbsCurve(const std::vector<Point<T, dim>>& polygon, const std::vector<double>& knotVector, bool isNowClosed,
             bool isNowPlanar, bool isNowPeriodical, T chordTolerance, bool generateCache);
  /// An empty curve with room for the counts and the degree that they give, over [0, 1]. The caller adds the elements,
  /// sets the domain and classifies.
  NurbsCurve(std::uint32_t controlPointCount, std::uint32_t weightCount, std::uint32_t knotCount, bool isNowClosed,
             bool isNowPlanar, bool isNowPeriodical, T chordTolerance);
  /// Copies all but the identifier, which is a fresh one, and the cache, which is off.
  NurbsCurve(const NurbsCurve& other);
  /// Copies all but identifier and cache: a target with a cache goes on answering from it.
  NurbsCurve& operator=(const NurbsCurve& other);
  ~NurbsCurve() override;

  void copy(const Curve<T, dim>& other) override;
  /// A new empty curve with the same tolerance.
  std::shared_ptr<Curve<T, dim>> create() const override;

  // Data --------------------------------------------------------------------------------------------------------------

  /// Indices aren't checked.
  const Point<T, dim>& getControlPoint(std::size_t index) const { return controlPoints[index]; }
  std::size_t numberOfControlPoints() const { return controlPoints.size(); }
  void addControlPoint(const Point<T, dim>& point) { controlPoints.push_back(point); }
  /// Weights and knots stay.
  void removeControlPoints() { controlPoints.clear(); }
  double getWeight(std::size_t index) const { return weights[index]; }
  std::size_t numberOfWeights() const { return weights.size(); }
  void addWeight(double weight) { weights.push_back(weight); }
  double getKnot(std::size_t index) const { return knots[index]; }
  std::size_t numberOfKnots() const { return knots.size(); }
  void addKnot(double knot) { knots.push_back(knot); }
  std::uint64_t getDegree() const { return degree; }

  NurbsCurveType getType() const { return type; }
  void setType(NurbsCurveType form) { type = form; }
  bool isClosed() const override { return closed; }
  void setClosed(bool isNowClosed) { closed = isNowClosed; }
  bool isPeriodical() const { return periodical; }
  void setPeriodical(bool isNowPeriodical) { periodical = isNowPeriodical; }
  bool isPlanar() const { return planar; }
  void setPlanar(bool isNowPlanar) { planar = isNowPlanar; }

  /// Whether there are weights, equal ones too.
  bool isRational() const { return !weights.empty(); }
  /// Whether an end is not clamped: a knot of the first or the last degree + 1 differs from the outermost one. Other
  /// texts call a clamped knot vector open.
  bool hasOpenKnotVector() const;

  /// Finds the form by the control points, weights and knots, with 1e-5 as the tolerance of all comparisons: a line is
  /// a single Bézier span without weights and without a bend, a conic has degree 2 and weights that alternate between 1
  /// and one other value. `Point<double, 3>` only; other curves keep their form.
  void determineTypeOfNurbsCurve();

  // Cache -------------------------------------------------------------------------------------------------------------

  /// Takes a new snapshot and lets evaluate() answer from it.
  void enableAndGenerateIgNurbsCurveCache();
  void disableAndCleanIgNurbsCurveCache();

  // Curve -------------------------------------------------------------------------------------------------------------

  Point<T, dim> evaluate(const double& t) const override;
  /// The first derivative. Raises ShapecoreException "Not yet implemented" for `<float, 2>`.
  Vector<T, dim> evaluateDerivation(const double& t) const override;
  /// The first derivative at the lower bound of the domain.
  Vector<T, dim> getStartTangent() const override;
  /// The first derivative at the upper bound of the domain.
  Vector<T, dim> getEndTangent() const override;
  /// Appends the point at \p t and the derivatives 1 to 4 to \p derivatives, which isn't cleared. Gives the degree, but
  /// 0 for `<double, 2>`.
  int derivates(std::vector<Point<T, dim>>& derivatives, const double& t) const override;

  /// The discretisation of Curve, less the last point where the line is closed, has at least three points and ends at
  /// its first point to within 1e-12 in each component.
  void calcPolyLine(PolyLine<Point<T, dim>>& polyline) const override;
  /// The box of the control points; invalid without any.
  BoundingBox<T, dim> calculateBoundingBox() const override;

  /// Transforms the control points.
  void transform(const CoordinateSystem<T, dim>& system) override;
  /// The point at u moves to first knot + last knot - u; the domain is mapped likewise. Without knots only control
  /// points and weights turn.
  void reverse() override;
  /// A copy with mirrored control points. It isn't reversed.
  std::shared_ptr<Curve<T, dim>> mirror(const Plane<T, dim>& plane) const override;

  /// Rewrites a curve that is periodical or has unclamped ends with a clamped knot vector: the same shape between the
  /// same parameters. Domain, form and the flags closed and planar stay.
  void makeClamped();

private:
  struct RecordDeleter
  {
    void operator()(PO_IG_NURBS_CRV* record) const;
  };
  using Record = std::unique_ptr<PO_IG_NURBS_CRV, RecordDeleter>;

  void copyNurbsCurve(const NurbsCurve& other);
  void setDegreeFromCounts(std::size_t controlPointCount, std::size_t knotCount);
  void setDomainFromKnots();
  bool isStraightSpan() const;
  NurbsCurveType conicForm() const;
  void requireMatchingCounts() const;
  Record createRecord() const;
  void clearIgNurbsCurveCache();
  bool isIgNurbsCurveCacheReady() const { return igCacheEnabled && igCurve; }

  std::vector<Point<T, dim>> controlPoints;
  std::vector<double> weights;
  std::vector<double> knots;
  NurbsCurveType type = NurbsCurveType::General;
  std::uint8_t degree = 0;
  bool periodical = false;
  bool closed = false;
  bool planar = false;
  bool igCacheEnabled = false;
  Record igCurve;

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class NurbsCurve<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
