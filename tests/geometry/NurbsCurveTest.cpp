#include "geometry/NurbsCurve.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/CurveDimensionConverter.h"
#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "geometry/StraightLine.h"
#include "support/ArchiveWriter.h"
#include "support/Matchers.h"
#include "support/RandomNurbs.h"

#include <gtest/gtest.h>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Point3 = Point<double, 3>;
using Nurbs3 = NurbsCurve<double, 3>;

/// The unit circle from (1, 0) in four quarters; every number of it is known in closed form.
template <class T, unsigned dim>
NurbsCurve<T, dim> unitCircle(T tolerance)
{
  const double corners[9][2] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}, {1, 0}};
  std::vector<Point<T, dim>> polygon(9);
  std::vector<double> weights(9, 1.0);
  for (std::size_t i = 0; i < 9; ++i) {
    polygon[i][0] = static_cast<T>(corners[i][0]);
    polygon[i][1] = static_cast<T>(corners[i][1]);
    if (i % 2 == 1) weights[i] = std::numbers::sqrt2 / 2.0;
  }
  return {polygon, weights, {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4}, true, true, false, tolerance};
}

template <class T, unsigned dim>
NurbsCurve<T, dim> curveOf(const NurbsArrays& arrays)
{
  std::vector<Point<T, dim>> polygon(arrays.count());
  for (std::size_t i = 0; i < polygon.size(); ++i)
    for (unsigned axis = 0; axis < dim; ++axis)
      polygon[i][axis] = static_cast<T>(arrays.points[3 * i + axis]);
  return {polygon, arrays.weights, arrays.knots, false, false, false, T(0.1)};
}

template <class T, unsigned dim>
NurbsCurve<T, dim> randomCurve(RandomGeometry& random, std::size_t degree, bool rational, bool clamped)
{
  return curveOf<T, dim>(randomNurbs(random, static_cast<unsigned>(degree), clamped, rational));
}

template <class Space>
class NurbsCurveTest : public testing::Test
{};
using Spaces = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>>;
TYPED_TEST_SUITE(NurbsCurveTest, Spaces);

TYPED_TEST(NurbsCurveTest, CircleInClosedForm)
{
  using T = typename TypeParam::Scalar;
  constexpr unsigned dim = TypeParam::Dim;
  constexpr bool isFloat = std::is_same_v<T, float>;
  const auto circle = unitCircle<T, dim>(T(1e-4));
  const double eps = isFloat ? 1e-6 : 1e-14;
  for (double u = 0.0; u <= 4.0; u += 0.09375) {
    SCOPED_TRACE(u);
    const TypeParam p = circle.evaluate(u);
    EXPECT_NEAR(p.length(), 1.0, eps);
    std::vector<TypeParam> derivatives(1);
    const int told = circle.derivates(derivatives, u);
    EXPECT_EQ(told, !isFloat && dim == 2 ? 0 : 2);
    ASSERT_EQ(derivatives.size(), 6u);
    EXPECT_EQ(derivatives[1], p);
    // On a circle p·p' = 0, and p·p'' = -p'·p'.
    EXPECT_NEAR(p.dot(derivatives[2]), 0.0, 20 * eps);
    EXPECT_NEAR(p.dot(derivatives[3]) + derivatives[2].dot(derivatives[2]), 0.0, 200 * eps);
    if constexpr (isFloat && dim == 2)
      EXPECT_THROW(circle.evaluateDerivation(u), ShapecoreException);
    else
      EXPECT_THAT(circle.evaluateDerivation(u), IsNear(derivatives[2], 4 * eps));
  }
  PolyLine<TypeParam> polyline;
  circle.calcPolyLine(polyline);
  EXPECT_TRUE(polyline.isClosed());
  EXPECT_GT(polyline.back().distance(polyline.front()), T(1e-3)) << "the doubled end is dropped";
}

TYPED_TEST(NurbsCurveTest, CacheAnswersBitForBitAndIsASnapshot)
{
  using T = typename TypeParam::Scalar;
  constexpr unsigned dim = TypeParam::Dim;
  CoordinateSystem<T, dim> shift;
  TypeParam aside;
  aside[0] = T(1);
  shift.setOrigin(aside);
  repeat(60, 41, [&](RandomGeometry& random) {
    auto curve = randomCurve<T, dim>(random, 1 + random.index(6), random.coin(), random.coin());
    const auto original = curve;
    curve.enableAndGenerateIgNurbsCurveCache();
    auto target = randomCurve<T, dim>(random, 2, false, true);
    const auto old = target;
    target.enableAndGenerateIgNurbsCurveCache();
    target.copy(curve);
    curve.transform(shift);
    curve.reverse();
    const auto twin = curve;
    const double first = original.getKnot(0), last = original.getKnot(original.numberOfKnots() - 1);
    for (int i = 0; i < 10; ++i) {
      const double u = random.uniform(first - 1.0, last + 1.0);
      const TypeParam before = original.evaluate(u);
      EXPECT_EQ(curve.evaluate(u), before);
      EXPECT_EQ(target.evaluate(u), old.evaluate(u));
      EXPECT_NE(twin.evaluate(u), before) << "a copy starts without a cache";
    }
    const double u = random.uniform(first, last);
    curve.disableAndCleanIgNurbsCurveCache();
    EXPECT_EQ(curve.evaluate(u), twin.evaluate(u));
    target.enableAndGenerateIgNurbsCurveCache();
    EXPECT_EQ(target.evaluate(u), original.evaluate(u));
  });
}

TEST(NurbsCurve, ClampingKeepsTheShapeOverTheValidSpan)
{
  RandomGeometry random(43);
  for (int round = 0; round < 80; ++round) {
    SCOPED_TRACE(round);
    const std::size_t degree = 1 + random.index(6);
    auto curve = randomCurve<double, 3>(random, degree, random.coin(), round % 4 == 0);
    curve.setPeriodical(random.coin());
    const auto original = curve;
    const double low = curve.getKnot(degree), high = curve.getKnot(curve.numberOfControlPoints());
    const bool open = !(curve.getKnot(0) == low && curve.getKnot(curve.numberOfKnots() - 1) == high);
    EXPECT_EQ(curve.hasOpenKnotVector(), open);
    curve.makeClamped();
    EXPECT_FALSE(curve.hasOpenKnotVector());
    EXPECT_FALSE(curve.isPeriodical());
    EXPECT_EQ(curve.getDegree(), degree);
    EXPECT_EQ(curve.getDomain(), original.getDomain());
    for (const double f : {0.1, 0.37, 0.5, 0.8, 0.95}) {
      const double u = low + f * (high - low);
      EXPECT_THAT(curve.evaluate(u), IsNear(original.evaluate(u), 1e-9));
    }
  }
}

TEST(NurbsCurve, Classification)
{
  const std::vector<Point3> line = {{0, 0, 0}, {1, 1, 0}, {1, 1, 0}, {3, 3, 0}};
  const std::vector<Point3> kink = {{0, 0, 0}, {1, 1, 0}, {2, 1, 0}, {3, 3, 0}};
  const std::vector<Point3> equal = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  const std::vector<Point3> unequal = {{2, 0, 0}, {2, 1, 0}, {0, 1, 0}};
  const std::vector<Point3> five = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {-1, 1, 0}, {-1, 0, 0}};
  const std::vector<double> cubic = {0, 0, 0, 0, 1, 1, 1, 1}, square = {0, 0, 0, 1, 1, 1};
  const double r = std::numbers::sqrt2 / 2.0;
  using enum NurbsCurveType;
  const std::tuple<const char*, const std::vector<Point3>&, std::vector<double>, std::vector<double>, NurbsCurveType>
      rows[] = {
          {"line with coincident points", line, {}, cubic, Line},
          {"line, the outermost knots aside", line, {}, {-1, 0, 0, 0, 1, 1, 1, 2}, Line},
          {"line, start not multiple", line, {}, {0, 0, 0.5, 0.5, 1, 1, 1, 1}, General},
          {"line, end not multiple", line, {}, {0, 0, 0, 0, 1, 1, 1.5, 2}, General},
          {"line, knots almost multiple", line, {}, {0, 0, 0, 0.9e-5, 1, 1, 1, 1}, Line},
          {"kink", kink, {}, cubic, General},
          {"parabola", equal, {1, 1, 1}, square, ParabolicArc},
          {"circle", equal, {1, r, 1}, square, CircularArc},
          {"ellipse", unequal, {1, r, 1}, square, EllipticalArc},
          {"hyperbola", equal, {1, 2, 1}, square, HyperbolicArc},
          {"negative weight", equal, {1, -1, 1}, square, General},
          {"even weight not 1", equal, {1, r, 1.1}, square, General},
          {"circle of two spans", five, {1, r, 1, r, 1}, {0, 0, 0, 1, 1, 2, 2, 2}, CircularArc},
          {"odd weights differ", five, {1, r, 1, 0.8, 1}, {0, 0, 0, 1, 1, 2, 2, 2}, General},
          {"spans differ", five, {1, r, 1, r, 1}, {0, 0, 0, 1, 1, 3, 3, 3}, General},
          {"outermost gaps aside", equal, {1, r, 1}, {-9, 0, 0, 1, 1, 7}, CircularArc},
      };
  for (const auto& [name, polygon, weights, knots, form] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Nurbs3(polygon, weights, knots, false, false, false, 0.1).getType(), form);
  }
  const Nurbs3 downwards(std::vector<Point3>(2), {}, {3, 3, 1, 1}, false, false, false, 0.1);
  EXPECT_EQ(downwards.getDomain(), Interval(1.0, 3.0, false, false));
}

TEST(NurbsCurve, CountsThatDontMatchAreRefused)
{
  const std::vector<Point3> three(3);
  const Nurbs3 broken[] = {Nurbs3(), Nurbs3(three, {1, 1}, {0, 0, 0, 1, 1, 1}, false, false, false, 0.1),
                           Nurbs3(three, {}, {0, 0, 0, 1, 1, 1, 1}, false, false, false, 0.1)};
  for (Nurbs3 curve : broken) {
    EXPECT_THROW(curve.evaluate(0.5), ShapecoreException);
    std::vector<Point3> derivatives;
    EXPECT_THROW(curve.derivates(derivatives, 0.5), ShapecoreException);
    curve.setPeriodical(true);
    EXPECT_THROW(curve.makeClamped(), ShapecoreException);
  }
}

TEST(NurbsCurve, LoadsTheArchiveForm)
{
  RandomGeometry random(44);
  const NurbsArrays arrays = randomNurbs(random, 3, false, true);
  auto curve = curveOf<double, 3>(arrays);
  curve.setType(NurbsCurveType::EllipticalArc);
  curve.setPlanar(true);
  curve.setDomain(Interval(-1.0, 2.0, true, false));
  ArchiveWriter byHand;
  byHand.version("BoostExportNurbsCurve3", 1);
  byHand.object("BoostExportNurbsCurve3", [&] {
    Persistence::saveObject<Curve<double, 3>>(byHand.archive(), curve);
    byHand << 3;
    byHand.container("Point3", static_cast<unsigned int>(arrays.count()), [&] {
      for (const double coordinate : arrays.points)
        byHand << coordinate;
    });
    Persistence::saveContainer(byHand.archive(), arrays.weights);
    Persistence::saveContainer(byHand.archive(), arrays.knots);
    byHand << 3u << false << false << true;
  });
  Nurbs3 loaded = unitCircle<double, 3>(0.1);
  loaded.enableAndGenerateIgNurbsCurveCache();
  loadFrom(byHand.bytes(), loaded);
  EXPECT_EQ(loaded.getType(), NurbsCurveType::EllipticalArc);
  EXPECT_EQ(loaded.getDomain(), curve.getDomain());
  EXPECT_TRUE(loaded.isPlanar() && !loaded.isClosed() && loaded.getId() == curve.getId());
  EXPECT_EQ(loaded.evaluate(0.7), curve.evaluate(0.7)) << "the cache is off";
  EXPECT_EQ(archiveOf(loaded), archiveOf(curve));
}

TEST(NurbsCurve, ConversionsToOtherCurves)
{
  RandomGeometry random(45);
  auto flat = randomCurve<double, 2>(random, 3, true, false);
  flat.setPeriodical(true);
  flat.setDomain(Interval(0.0, 1.0, false, false));
  const auto lifted = CurveDimensionConverter::convertTo3D(flat);
  EXPECT_EQ(lifted->getDomain(), flat.getDomain());
  EXPECT_TRUE(lifted->isPeriodical() && !lifted->isPlanar() && !lifted->isClosed());
  for (const double u : {-3.0, 0.1, 0.8, 2.5}) {
    const auto p = flat.evaluate(u);
    const auto d = flat.evaluateDerivation(u);
    EXPECT_EQ(lifted->evaluate(u), Point3(p.x(), p.y(), 0.0));
    EXPECT_EQ(lifted->evaluateDerivation(u), (Vector<double, 3>(d.x(), d.y(), 0.0)));
  }

  const Nurbs3 straight({{1, 0, 0}, {2, 0, 0}, {5, 0, 0}}, {}, {0, 7, 7, 3, 3, 9}, false, false, false, 0.25);
  const StraightLine<double, 3> line(straight);
  EXPECT_EQ(line.getStart(), Point3(1, 0, 0));
  EXPECT_EQ(line.getDirection(), (Vector<double, 3>(4, 0, 0)));
  EXPECT_EQ(line.getDomain(), Interval(3.0, 7.0, false, false));
}

} // namespace
