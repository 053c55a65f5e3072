#pragma once

#include "platform/kvcadcore/nurbs/CurveEvaluation.h"
#include "support/RandomGeometry.h"

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

/// Two to six spans, inner knots of every multiplicity up to the degree. The ends are clamped, or knots of any
/// multiplicity lead to them.
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
  for (std::size_t spans = 1 + random.index(5); spans > 0; --spans) {
    knot += random.uniform(0.2, 1.0);
    curve.knots.insert(curve.knots.end(), 1 + random.index(degree), knot);
  }
  knot += random.uniform(0.2, 1.0);
  addEnd();
  const std::size_t count = curve.knots.size() - degree - 1;
  for (std::size_t i = 0; i < 3 * count; ++i)
    curve.points.push_back(random.uniform(-10.0, 10.0));
  for (std::size_t i = 0; rational && i < count; ++i)
    curve.weights.push_back(random.uniform(0.5, 2.0));
  return curve;
}

/// A second way to evaluate: the Bézier points of one span by inserting its ends knot by knot, then de Casteljau, all
/// in long double.
class BezierReference
{
public:
  using Homogeneous = std::array<long double, 4>;

  BezierReference(const NurbsArrays& curve, double u) : degree(curve.degree), knots(curve.knots)
  {
    for (std::size_t i = 0; i < curve.count(); ++i) {
      const long double w = curve.weights.empty() ? 1.0L : curve.weights[i];
      const double* p = &curve.points[3 * i];
      points.push_back({w * p[0], w * p[1], w * p[2], w});
    }
    std::size_t span = degree, last = degree;
    for (std::size_t k = degree; k < curve.count(); ++k)
      if (knots[k] < knots[k + 1]) last = k;
    while (span < last && (knots[span] == knots[span + 1] || knots[span + 1] <= u))
      ++span;
    start = knots[span];
    end = knots[span + 1];
    raise(start, false);
    raise(end, true);
    const auto behind = std::upper_bound(knots.begin(), knots.end(), start) - knots.begin();
    points.erase(points.begin() + behind, points.end());
    points.erase(points.begin(), points.end() - degree - 1);
  }

  /// The homogeneous point at u; with `absolute`, how large the terms are that it is summed up from.
  Homogeneous at(double u, bool absolute = false) const
  {
    const long double t = (static_cast<long double>(u) - start) / (end - start);
    auto triangle = points;
    if (absolute)
      for (auto& p : triangle)
        std::ranges::transform(p, p.begin(), [](long double c) { return std::abs(c); });
    for (unsigned level = 1; level <= degree; ++level)
      for (unsigned i = 0; i + level <= degree; ++i)
        triangle[i] = absolute ? mix(triangle[i], triangle[i + 1], std::abs(1 - t), std::abs(t))
                               : mix(triangle[i], triangle[i + 1], 1 - t, t);
    return triangle[0];
  }

  std::vector<Homogeneous> points; ///< the Bézier points
  double start, end;               ///< of the span that counts at u

private:
  static Homogeneous mix(const Homogeneous& a, const Homogeneous& b, long double s, long double t)
  {
    return {s * a[0] + t * b[0], s * a[1] + t * b[1], s * a[2] + t * b[2], s * a[3] + t * b[3]};
  }

  void raise(double knot, bool fromLeft)
  {
    while (std::ranges::count(knots, knot) < degree)
      insert(knot, fromLeft);
  }

  void insert(double u, bool fromLeft)
  {
    const auto behind =
        fromLeft ? std::lower_bound(knots.begin(), knots.end(), u) : std::upper_bound(knots.begin(), knots.end(), u);
    const std::size_t k = static_cast<std::size_t>(behind - knots.begin()) - 1;
    auto finer = points;
    finer.insert(finer.begin() + static_cast<std::ptrdiff_t>(k), points[k]);
    for (std::size_t i = k - degree + 1; i <= k; ++i) {
      const long double s =
          (static_cast<long double>(u) - knots[i]) / (static_cast<long double>(knots[i + degree]) - knots[i]);
      finer[i] = i < points.size() ? mix(points[i - 1], points[i], 1 - s, s) : points[i - 1];
    }
    points = finer;
    knots.insert(behind, u);
  }

  unsigned degree;
  std::vector<double> knots;
};

} // namespace Kavrel::Testing
