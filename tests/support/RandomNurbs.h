#pragma once

#include "platform/kvcadcore/nurbs/CurveEvaluation.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace Kavrel::Testing {

/// A B-spline curve in space with arrays of its own; without weights a polynomial one.
struct NurbsArrays
{
  unsigned degree;
  std::vector<double> knots, points, weights;

  std::size_t count() const { return points.size() / 3; }
  double domainStart() const { return knots[degree]; }
  double domainEnd() const { return knots[count()]; }
  Nurbs::CurveView<double, 3> view() const
  {
    return {degree, knots, points.data(), weights.empty() ? nullptr : weights.data()};
  }
};

/// Two to six spans with length, inner knots of every multiplicity up to degree + 1. The ends are clamped, or knots of
/// any multiplicity lead to them; next to some an empty span lies in the domain.
inline NurbsArrays randomNurbs(RandomGeometry& random, unsigned degree, bool clamped, bool rational)
{
  NurbsArrays curve{degree, {}, {}, {}};
  double knot = random.uniform(-2.0, 2.0);
  const auto addEnd = [&] {
    for (unsigned i = 0; i <= degree; ++i) {
      if (i > 0 && !clamped && random.coin()) knot += random.uniform(0.1, 1.0);
      curve.knots.push_back(knot);
    }
  };
  addEnd();
  if (random.index(4) == 0) curve.knots.push_back(knot);
  for (std::size_t spans = 1 + random.index(5); spans > 0; --spans) {
    knot += random.uniform(0.2, 1.0);
    curve.knots.insert(curve.knots.end(), 1 + random.index(degree + 1), knot);
  }
  knot += random.uniform(0.2, 1.0);
  if (random.index(4) == 0) curve.knots.push_back(knot);
  addEnd();
  const std::size_t count = curve.knots.size() - degree - 1;
  for (std::size_t i = 0; i < 3 * count; ++i)
    curve.points.push_back(random.uniform(-10.0, 10.0));
  for (std::size_t i = 0; rational && i < count; ++i)
    curve.weights.push_back(random.uniform(0.5, 2.0));
  return curve;
}

/// Runs `check(curve, random)` over degrees 1 to 25, clamped or not, rational or not, until the first failure.
template <class Check>
void forRandomCurves(unsigned repetitions, Check check)
{
  RandomGeometry random(20);
  for (unsigned degree = 1; degree <= 25; ++degree)
    for (unsigned variant = 0; variant < 4 * repetitions && !testing::Test::HasFailure(); ++variant) {
      SCOPED_TRACE(testing::Message() << "degree " << degree << ", variant " << variant);
      check(randomNurbs(random, degree, variant & 1, variant & 2), random);
    }
}

/// A second way to evaluate: the Bézier points of a span by polar forms, then de Casteljau, all in long double.
class BezierReference
{
public:
  using Homogeneous = std::array<long double, 4>;

  /// For the span that counts at u.
  BezierReference(const NurbsArrays& curve, double u)
  {
    std::size_t span = curve.degree;
    for (std::size_t k = span; k < curve.count(); ++k)
      if (curve.knots[k] < curve.knots[k + 1] && (curve.knots[k] <= u || curve.knots[k] == curve.domainStart()))
        span = k;
    start = curve.knots[span];
    end = curve.knots[span + 1];
    for (unsigned i = 0; i <= curve.degree; ++i)
      points.push_back(polarForm(curve, span, i));
  }

  double at(double u, unsigned coordinate) const
  {
    const long double t = (static_cast<long double>(u) - start) / (end - start);
    auto triangle = points;
    for (std::size_t size = points.size(); size > 1; --size)
      for (std::size_t i = 0; i + 1 < size; ++i)
        triangle[i] = mix(triangle[i], triangle[i + 1], t);
    return static_cast<double>(triangle[0][coordinate] / triangle[0][3]);
  }

  std::vector<Homogeneous> points; ///< the Bézier points
  double start, end;               ///< of the span

private:
  static Homogeneous mix(const Homogeneous& a, const Homogeneous& b, long double t)
  {
    return {(1 - t) * a[0] + t * b[0], (1 - t) * a[1] + t * b[1], (1 - t) * a[2] + t * b[2], (1 - t) * a[3] + t * b[3]};
  }

  /// With `ends` arguments at the end of the span and the others at its start.
  Homogeneous polarForm(const NurbsArrays& curve, std::size_t span, unsigned ends) const
  {
    std::vector<Homogeneous> triangle;
    for (std::size_t i = span - curve.degree; i <= span; ++i) {
      const long double w = curve.weights.empty() ? 1.0L : curve.weights[i];
      const double* p = &curve.points[3 * i];
      triangle.push_back({w * p[0], w * p[1], w * p[2], w});
    }
    for (unsigned level = curve.degree; level > 0; --level)
      for (unsigned i = 0; i < level; ++i) {
        const long double low = curve.knots[span + 1 + i - level], high = curve.knots[span + 1 + i];
        triangle[i] = mix(triangle[i], triangle[i + 1], ((level <= ends ? end : start) - low) / (high - low));
      }
    return triangle[0];
  }
};

} // namespace Kavrel::Testing
