#include "geometry/Curve.h"

#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <functional>
#include <gtest/gtest.h>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Point2 = Point<double, 2>;
using Vector2 = Vector<double, 2>;
using Line2 = PolyLine<Point2>;
constexpr double pi = std::numbers::pi;

/// A curve given by two functions; it counts its evaluations.
class FunctionCurve : public Curve<double, 2>
{
public:
  using Function = std::function<Vector2(double)>;

  FunctionCurve(double lower, double upper, double chordTolerance, Function f, Function d = {})
      : Curve<double, 2>(lower, upper, chordTolerance), position(std::move(f)), derivation(std::move(d))
  {}

  void copy(const Curve<double, 2>& other) override { *this = dynamic_cast<const FunctionCurve&>(other); }
  Point2 evaluate(const double& t) const override
  {
    ++evaluations;
    return position(t);
  }
  Vector2 evaluateDerivation(const double& t) const override { return derivation(t); }
  void transform(const CoordinateSystem<double, 2>& /*system*/) override {}
  void reverse() override {}
  std::shared_ptr<Curve<double, 2>> create() const override { return nullptr; }
  std::shared_ptr<Curve<double, 2>> mirror(const Plane<double, 2>& /*plane*/) const override { return nullptr; }

  mutable int evaluations = 0;

private:
  Function position;
  Function derivation;
};

FunctionCurve arc(double radius, double from, double to, double tolerance)
{
  return {from, to, tolerance, [radius](double t) { return Vector2(std::cos(t), std::sin(t)) * radius; },
          [radius](double t) { return Vector2(-std::sin(t), std::cos(t)) * radius; }};
}

FunctionCurve graph(double from, double to, double tolerance, const std::function<double(double)>& f)
{
  return {from, to, tolerance, [f](double t) { return Vector2(t, f(t)); },
          [f](double t) { return Vector2(1.0, (f(t + 1e-7) - f(t - 1e-7)) / 2e-7); }};
}

/// The refinement rule with the vertices inserted in place, the upper half of a stretch first.
void refineInPlace(const Curve<double, 2>& curve, std::vector<Point2>& points, std::size_t index, double t0, double t1,
                   int depth)
{
  const double dt = t1 - t0;
  if (std::abs(dt) < 1e-5) return;
  const Point2 a = points[index];
  const Vector2 chord = points[index + 1] - a;
  for (const auto& [f, limit] : {std::pair(0.5, 900.0), {0.25, 1600.0}, {0.75, 1600.0}}) {
    const double t = f * dt + t0;
    const Point2 q = curve.evaluate(t);
    const double sag = q.sqrDistance(Point2(a + f * chord));
    const bool far = sag > curve.getTolerance() * curve.getTolerance();
    if (!far && !(depth < 5 && sag * limit > chord.sqrLength())) continue;
    points.insert(points.begin() + static_cast<std::ptrdiff_t>(index) + 1, q);
    refineInPlace(curve, points, index + 1, t, t1, far ? depth : depth + 1);
    refineInPlace(curve, points, index, t0, t, far ? depth : depth + 1);
    return;
  }
}

TEST(Curve, DiscretisationHasTheVerticesOfTheRule)
{
  repeat(60, 11, [&](RandomGeometry& random) {
    const double low = random.uniform(-5.0, 0.0);
    const double high = low + random.logUniform(1e-5, 20.0);
    const double tolerance = random.logUniform(1e-3, 10.0);
    const double wave = random.logUniform(0.1, 10.0);
    const auto curve = random.coin() ? arc(random.logUniform(0.01, 100.0), low, high, tolerance)
                                     : graph(low, high, tolerance, [wave](double t) { return std::sin(wave * t); });
    std::vector<Point2> expected{curve.getStart(), curve.getEnd()};
    refineInPlace(curve, expected, 0, low, high, 0);
    Line2 polyline;
    curve.calcPolyLine(polyline);
    EXPECT_EQ(polyline.getPointCollection(), expected);
  });
}

TEST(Curve, DiscretisationCountsPoints)
{
  const auto quick = [](double width) {
    return FunctionCurve(0.0, width, 0.1, [width](double t) { return Vector2(t / width, t * t / width / width); });
  };
  const std::tuple<const char*, FunctionCurve, std::size_t> rows[] = {
      {"parameter range below 1e-5", quick(0.99e-5), 2},
      {"parameter range above 1e-5", quick(1.01e-5), 3},
      {"quarter circle, the sag-to-chord rule alone", arc(1.0, 0.0, pi / 2, 1e6), 9},
      {"full circle, five rounds of that rule", arc(1.0, 0.0, 2 * pi, 1e6), 33},
  };
  for (const auto& [name, curve, expectedPoints] : rows) {
    Line2 polyline;
    curve.calcPolyLine(polyline);
    EXPECT_EQ(polyline.numberOfPoints(), expectedPoints) << name;
  }
}

TEST(Curve, TangentsStepAHundredthOfTheDomain)
{
  for (const auto& [a, b, h] : {std::tuple(0.0, 0.5, 0.005), {2.0, 100.0, 0.01}, {1.0, 1.0, 0.0}}) {
    SCOPED_TRACE(b);
    const auto curve = graph(a, b, 0.1, [](double t) { return t * t; });
    EXPECT_THAT(curve.getStartTangent(), IsNear(Vector2(h, (2 * a + h) * h), 1e-11));
    EXPECT_THAT(curve.getEndTangent(), IsNear(Vector2(h, (2 * b - h) * h), 1e-11));
    EXPECT_THAT(curve.getMid(), IsNear(Vector2((a + b) / 2, (a + b) * (a + b) / 4), 1e-12));
  }
}

TEST(Curve, FindsTheIntersectionWithAPlane)
{
  const Plane<double, 2> level(Vector2(0.0, 1.0), 0.5);
  const auto square = [](double t) { return t * t; };
  const auto steep = [](double t) { return std::tanh(40.0 * (t - 0.9)) + 0.5; };
  const auto jump = [](double t) { return t < 0.3 ? 0.0 : 1.0; };
  const double root = std::sqrt(0.5);
  const std::tuple<const char*, FunctionCurve, bool, double> rows[] = {
      {"parabola", graph(0.0, 2.0, 0.1, square), true, root},
      {"Newton leaves the domain and is clamped", graph(-0.7, 0.75, 0.1, square), true, root},
      {"Newton runs into the flat part", graph(-2.0, 1.0, 0.1, steep), true, 0.9},
      {"above at both ends, crossing twice between", graph(-2.0, 2.0, 0.1, square), false, 0.0},
      {"an end on the plane", graph(root, 2.0, 0.1, square), true, root},
      {"jump over the plane", graph(0.0, 1.0, 0.1, jump), false, 0.0},
  };
  for (const auto& [name, curve, found, x] : rows) {
    SCOPED_TRACE(name);
    Point2 hit;
    Vector2 tangent(7.0, 7.0);
    EXPECT_EQ(curve.findIntersection(level, 1e-10, hit, &tangent), found);
    if (found) {
      EXPECT_THAT(hit, IsNear(Vector2(x, 0.5), 1e-9));
      EXPECT_EQ(tangent, curve.evaluateDerivation(hit.x()));
    } else {
      EXPECT_EQ(tangent, Vector2(7.0, 7.0));
    }
  }
  const auto bump = graph(0.0, 1.0, 0.1, [](double t) { return t * (1.0 - t); });
  Point2 hit;
  EXPECT_FALSE(bump.findIntersection(Plane<double, 2>(Vector2(0.0, 1.0), 0.0), 1e-10, hit, nullptr));
  EXPECT_LT(bump.evaluations, 10) << "both ends are on the plane";
}

} // namespace
