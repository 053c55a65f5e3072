#include "geometry/Circle.h"

#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "platform/kvmath/MathException.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Circle2 = Circle<double, 2>;
using Circle3 = Circle<double, 3>;
using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;
using Vector2 = Vector<double, 2>;
using Vector3 = Vector<double, 3>;
constexpr double pi = std::numbers::pi;

TEST(Circle, DiscretisationCountsPoints)
{
  const std::tuple<double, double, double, std::size_t> rows[] = {
      {1.0, 0.1, pi / 2, 5}, {1.0, -1.0, 2 * pi, 2},  {1.0, 4.0, 2 * pi, 2}, {1.0, 3.9, 2 * pi, 13},
      {0.0, 0.1, 2 * pi, 2}, {1e3, 0.1, 2 * pi, 317}, {1.0, 0.1, 0.0, 2},    {1.0, 0.1, -1.0, 4}};
  for (const auto& [radius, tolerance, width, points] : rows) {
    SCOPED_TRACE(testing::PrintToString(radius) + " " + testing::PrintToString(tolerance));
    Circle2 circle(radius, {}, tolerance);
    circle.setDomain(Interval(0.0, width, false, false));
    PolyLine<Point2> polyline;
    circle.calcPolyLine(polyline);
    EXPECT_EQ(polyline.numberOfPoints(), points);
  }
  PolyLine<Point2> polyline;
  EXPECT_THROW(Circle2(1.0, {}, 1e-30).calcPolyLine(polyline), ShapecoreException);
}

TEST(Circle, ArcBetweenPointsTakesItsSide)
{
  const Vector3 up(0.0, 0.0, 5.0);
  const std::tuple<const char*, Vector3, Vector3, Vector3, double> rows[] = {
      {"clockwise, short", up, {0, -3, 0}, {std::sqrt(2), -std::sqrt(2), 0}, pi / 2},
      {"clockwise, long", up, {0, 3, 0}, {-std::sqrt(2), -std::sqrt(2), 0}, 3 * pi / 2},
      {"from below", -up, {0, 3, 0}, {std::sqrt(2), std::sqrt(2), 0}, pi / 2},
      {"opposite", up, {-1, 0, 0}, {0, -2, 0}, pi},
      {"start is end", up, {1, 0, 0}, {2, 0, 0}, 0.0}};
  const Point3 center(7, 8, 9);
  for (const auto& [name, normal, end, middle, angle] : rows) {
    SCOPED_TRACE(name);
    const Circle3 arc(center, 2.0, normal, center + Vector3(1, 0, 0), center + end, 0.1);
    EXPECT_NEAR(arc.getDomain().upper, angle, 1e-15);
    EXPECT_THAT(arc.getMid(), IsNear(center + middle, 1e-14));
  }
  for (const double y : {3.0, -3.0}) {
    const Circle2 arc(Point2(1, 1), 1.0, Vector2(), Point2(2, 1), Point2(1, 1 + y), 0.1);
    EXPECT_THAT(arc.getMid(), IsNear(Point2(1 + std::sqrt(0.5), 1 + std::copysign(std::sqrt(0.5), y)), 1e-15));
  }
}

TEST(Circle, ArcByAngleKnowsWhetherItIsClosed)
{
  for (const auto& [angle, closed] : {std::pair(6.283185307179586, true), {6.283185307179585, false}, {-1.0, false}}) {
    SCOPED_TRACE(angle);
    const Circle3 arc(Point3(), 2.0, Vector3(0, 0, 1), Point3(0, 1, 0), angle, 0.1);
    EXPECT_EQ(arc.isClosed(), closed);
    EXPECT_THAT(arc.getEnd(), IsNear(Point3(2 * std::sin(angle), 2 * std::cos(angle), 0), 1e-14));
    EXPECT_THAT(arc.getStartTangent(), IsNear(Vector3(angle < 0 ? -2 : 2, 0, 0), 1e-14));
    const Circle2 flat(Point2(), 2.0, Vector2(), Point2(0, 1), angle, 0.1);
    EXPECT_EQ(flat.calculateBoundingBox().getMax(), Point2(2, 2)) << "the full circle";
    EXPECT_THAT(flat.getEnd(), IsNear(Point2(-2 * std::sin(angle), 2 * std::cos(angle)), 1e-14));
  }
}

TEST(Circle, BadArcsAreRefused)
{
  const Point2 o2, p2(1, 0);
  const Point3 o3, p3(1, 0, 0);
  const auto raises = [](const char* message, const auto& make) {
    EXPECT_THAT(make, testing::ThrowsMessage<ShapecoreException>(message));
  };
  raises("startPoint on center", [&] { Circle2(o2, 1.0, Vector2(), o2, p2, 0.1); });
  raises("endPoint on center", [&] { Circle2(o2, 1.0, Vector2(), p2, o2, 0.1); });
  raises("startPoint on center", [&] { Circle3(o3, 1.0, Vector3(), o3, p3, 0.1); });
  raises("no normal", [&] { Circle3(o3, 1.0, Vector3(0, 0, 1e-13), p3, 1.0, 0.1); });
}

TEST(Circle, RotationMovesTheStartOfTheParameter)
{
  const Circle3 circle(Point3(1, 2, 3), 2.0, Vector3(1, 1, 1), Point3(1, 3, 2), 1.0, 0.1);
  const Circle2 flat(Point2(1, 2), 3.0, Vector2(), Point2(5, 7), 1.0, 0.1);
  for (const double angle : {-7.0, 1e-6, 4.0}) {
    Circle3 rotated(circle);
    rotated.rotate(angle);
    EXPECT_THAT(rotated.evaluate(2.0), IsNear(circle.evaluate(2.0 + angle), 1e-14));
    Circle2 rotatedFlat(flat);
    rotatedFlat.rotate(angle);
    EXPECT_THAT(rotatedFlat.evaluate(2.0), IsNear(flat.evaluate(2.0 + angle), 1e-14));
  }
}

TEST(Circle, ShortArcOfALargeCircleTurnsAroundInItsPlace)
{
  const Circle2 arc(Point2(1, 2), 1e6, Vector2(), Point2(5, 7), 3e-6, 0.1);
  Circle2 reversed(arc);
  reversed.reverse();
  EXPECT_THAT(reversed.getStart(), IsNear(arc.getEnd(), 1e-9));
  EXPECT_THAT(reversed.getEnd(), IsNear(arc.getStart(), 1e-9));
}

TEST(Circle, ParameterInTheXZPlane)
{
  const Point3 center(4, 5, 6);
  const std::tuple<Vector3, double> rows[] = {{{2, 0, 0}, 2 * pi},   {{2, 9, 1e-9}, 0.0}, {{3, 0, -1}, 2 * pi},
                                              {{-2, 0, 0}, pi},      {{-5, 0, 1}, pi},    {{0, 0, 2}, pi / 2},
                                              {{0, 0, 0}, 1.5 * pi}, {{1, 0, 7}, pi / 3}, {{1, 0, -7}, 5 * pi / 3}};
  for (const auto& [p, t] : rows) {
    SCOPED_TRACE(t);
    EXPECT_NEAR(Circle3(center, 2.0, Vector3(0, 1, 0), center + Vector3(1, 0, 0), 1.0, 0.1)
                    .calculateParameterFromXZ(center + p),
                t, 1e-14);
  }
}

} // namespace
