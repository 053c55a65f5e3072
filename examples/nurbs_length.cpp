// Evaluates a circle as a rational B-spline curve and measures its length.
#include "geometry/NurbsCurve.h"
#include "geometry/PolyLine.h"

#include <cmath>
#include <cstdio>
#include <numbers>

using namespace Kavrel;
using Position = Point<double, 2>;

namespace {

constexpr double radius = 2.0;

// Four quarters of degree 2 each; the weights of the corners make them circular.
NurbsCurve<double, 2> makeCircle(double tolerance)
{
  const double w = std::sqrt(0.5);
  const double r = radius;
  const std::vector<Position> polygon{{r, 0}, {r, r}, {0, r}, {-r, r}, {-r, 0}, {-r, -r}, {0, -r}, {r, -r}, {r, 0}};
  const std::vector<double> weights{1, w, 1, w, 1, w, 1, w, 1};
  const std::vector<double> knots{0, 0, 0, 0.25, 0.25, 0.5, 0.5, 0.75, 0.75, 1, 1, 1};
  return NurbsCurve<double, 2>(polygon, weights, knots, true, true, false, tolerance);
}

} // namespace

int main()
{
  bool good = true;
  const NurbsCurve<double, 2> circle = makeCircle(0.01);
  for (const double t : {0.0, 0.1, 0.25, 0.6}) {
    const Position p = circle.evaluate(t);
    const Vector<double, 2> tangent = circle.evaluateDerivation(t);
    std::printf("at %.2f: (%.6f, %.6f), %.1e off the circle, tangent (%.3f, %.3f)\n", t, p[0], p[1],
                std::abs(p.length() - radius), tangent[0], tangent[1]);
    good = good && std::abs(p.length() - radius) < 1e-14 && std::abs(p.dot(tangent)) < 1e-12;
  }

  const double exact = 2.0 * std::numbers::pi * radius;
  for (const double tolerance : {1e-2, 1e-4, 1e-6}) {
    const NurbsCurve<double, 2> measured = makeCircle(tolerance);
    PolyLine<Position> polyline;
    measured.calcPolyLine(polyline);
    const double length = measured.getLength();
    std::printf("tolerance %.0e: length %.9f with %zu points, %.1e too short\n", tolerance, length,
                polyline.numberOfPoints(), exact - length);
    good = good && length < exact && exact - length < 10.0 * tolerance;
  }
  return good ? 0 : 1;
}
