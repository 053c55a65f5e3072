#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "support/Matchers.h"
#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Point2 = Point<double, 2>;
using Vector2 = Vector<double, 2>;
using Vector3 = Vector<double, 3>;
using Line2 = PolyLine<Point2>;

const Interval wide(-10.0, 10.0, false, false);

template <class P>
class PolyLineEvaluationOf : public testing::Test
{};
using PolyLinePoints = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N,
                                      Point3NT, ProjectionPoint, ConstraintPoint>;
TYPED_TEST_SUITE(PolyLineEvaluationOf, PolyLinePoints);

TYPED_TEST(PolyLineEvaluationOf, AllRoutesReachThePlaceAtALength)
{
  using P = TypeParam;
  using T = typename P::Scalar;
  constexpr double tolerance = std::is_same_v<T, float> ? 2e-5 : 1e-12;
  repeat(200, 41, [&](RandomGeometry& random) {
    PolyLine<P> polyline;
    const std::size_t count = 2 + random.index(10);
    for (std::size_t i = 0; i < count; ++i) {
      P& point = polyline.getPointCollection().emplace_back();
      // Each step advances, so that a point of the line has one parameter.
      point[0] = static_cast<T>(static_cast<double>(i) + random.uniform(-0.3, 0.3));
      for (unsigned j = 1; j < P::Dim; ++j)
        point[j] = static_cast<T>(random.uniform(-0.5, 0.5));
    }
    polyline.setClosed(random.coin());
    std::vector<double> parameters;
    polyline.getPointParameters(&parameters);
    ASSERT_EQ(parameters.size(), polyline.numberOfSegments() + 1);

    const std::size_t at = random.index(polyline.numberOfSegments());
    double before = 0.0, total = 0.0;
    for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
      if (i == at) before = total;
      total += static_cast<double>(polyline.getSegment(i).length());
    }
    const auto expectedSegment = polyline.getSegment(at);
    const Vector<T, P::Dim> way = *expectedSegment.getEnd() - *expectedSegment.getStart();
    const double f = random.uniform(0.01, 0.99), t = (before + f * static_cast<double>(way.length())) / total;
    const Point<T, P::Dim> expected = *expectedSegment.getStart() + way * static_cast<T>(f);
    EXPECT_NEAR(polyline.getPolyLength(at, true), before, tolerance * total);
    EXPECT_NEAR(polyline.getPolyLength(at, false), total - before, tolerance * total);
    EXPECT_THAT(polyline.evaluate(t), IsNear(expected, tolerance));
    EXPECT_THAT(polyline.getPointAtParam(t, &parameters), IsNear(expected, tolerance));
    EXPECT_THAT(polyline.getPointAtParam(t, nullptr), IsNear(expected, tolerance));
    P point;
    std::size_t segment = 99;
    ASSERT_TRUE(polyline.evaluateParameterPointAndSegment(t, point, segment));
    EXPECT_THAT(point, IsNear(expected, tolerance));
    EXPECT_EQ(segment, at);
    EXPECT_THAT(polyline.evaluateDerivation(t) * way.length(), IsNear(way, tolerance));
    if (polyline.isClosed()) return;
    double distance = -1.0;
    EXPECT_NEAR(polyline.calculateParameter(point, distance, nullptr), t, tolerance);
    EXPECT_NEAR(polyline.calculateParameter(point, distance, &parameters), t, tolerance);
    EXPECT_NEAR(distance, 0.0, tolerance);
    EXPECT_EQ(polyline.evaluate(1.0), polyline.back());
    polyline.evaluateParameterPointAndSegment(1.0, point, segment);
    EXPECT_EQ(point, polyline.back());
  });
}

TEST(PolyLineEvaluation, DomainClipsAndDoesNotScale)
{
  const std::tuple<const char*, Interval, double, Vector2> rows[] = {
      {"0,0 1,0 1,1", {0, 1, false, false}, 1.0000001, {1, 1}},
      {"0,0 1,0 1,1", {0.25, 0.75, false, false}, 0.2, {0, 0}}, // below: the first point, not the clipped end
      {"0,0 1,0 1,1", {0.25, 0.75, false, false}, 0.8, {1, 1}},
      {"0,0 1,0 1,1", {0.25, 0.75, false, false}, 0.75, {1, 0.5}},
      {"0,0 1,0 1,1 0,1 closed", {0, 1, false, false}, 0.5, {1, 1}}, // halfway counts the closing segment
      {"0,0 1,0 1,1 0,1 closed", {0, 1, false, false}, 1.0, {0, 0}},
      {"0,0 1,0 1,1 0,1 closed", {0, 0.5, false, false}, 0.6, {0, 0}},
      {"0,0 1,0 1,1", wide, 2.0, {1, 1}},   // past the end: its last vertex
      {"0,0 1,0 1,1", wide, -0.5, {-1, 0}}, // before the start: along the first segment
      {"3,4", {0, 1, false, false}, 0.5, {3, 4}},
      {"", {0, 1, false, false}, 0.5, {0, 0}},
  };
  for (const auto& [text, domain, t, expected] : rows) {
    SCOPED_TRACE(testing::Message() << text << " at " << t);
    Line2 line = polyLineFrom<Point2>(text);
    line.setDomain(domain);
    EXPECT_THAT(line.evaluate(t), IsNear(expected, 1e-15));
  }
}

TEST(PolyLineEvaluation, OtherRoutesClampAndIgnoreTheDomain)
{
  const std::tuple<const char*, double, Vector2, std::size_t> rows[] = {
      {"0,0 1,0 1,1", -0.5, {0, 0}, 0}, {"0,0 1,0 1,1", 0.125, {0.25, 0}, 0},       {"0,0 1,0 1,1", 0.5, {1, 0}, 0},
      {"0,0 1,0 1,1", 7.0, {1, 1}, 1},  {"0,0 1,0 1,1 0,1 closed", 7.0, {0, 0}, 3}, {"3,4", 0.5, {3, 4}, 0}};
  for (const auto& [text, t, expected, expectedSegment] : rows) {
    SCOPED_TRACE(testing::Message() << text << " at " << t);
    Line2 line = polyLineFrom<Point2>(text);
    line.setDomain(Interval(0.25, 0.375, false, false));
    Point2 point;
    std::size_t segment = 99;
    EXPECT_TRUE(line.evaluateParameterPointAndSegment(t, point, segment));
    EXPECT_THAT(point, IsNear(expected, 1e-15));
    EXPECT_EQ(segment, expectedSegment);
    std::vector<double> parameters;
    line.getPointParameters(&parameters);
    EXPECT_EQ(line.getPointAtParam(t, nullptr), point);
    EXPECT_EQ(line.getPointAtParam(t, &parameters), point);
  }
  EXPECT_EQ(Line2().getPointAtParam(0.5, nullptr), Point2());
}

TEST(PolyLineEvaluation, EndsAndLengthFollowTheDomain)
{
  Line2 line = polyLineFrom<Point2>("0,0 1,0 1,1");
  line.setDomain(Interval(0.25, 0.75, false, false));
  EXPECT_EQ(line.getStart(), Point2(0.5, 0.0));
  EXPECT_EQ(line.getEnd(), Point2(1.0, 0.5));
  EXPECT_EQ(line.getLength(), 1.0);
  EXPECT_EQ(polyLineFrom<Point2>("0,0 1,0 1,1 0,1 closed").getEnd(), Point2(0.0, 1.0)) << "the last stored point";
}

TEST(PolyLineEvaluation, EndTangentsRunAlongTheEndSegments)
{
  const std::tuple<const char*, Vector2, Vector2> rows[] = {
      {"0,0 1,0 1,1", {0.02, 0.0}, {0.0, 0.02}},
      // The first step rounds the corner: its length is kept, the direction is that of the segment.
      {"0,0 0.01,0 0.01,1.99", {std::hypot(0.01, 0.01), 0.0}, {0.0, 0.02}},
      // The last stored point lies a segment before the end.
      {"0,0 1,0 1,1 0,1 closed", {0.04, 0.0}, {0.0, -0.96}},
      {"0,0 0,0 1,0", {0.01, 0.0}, {0.01, 0.0}}, // no direction: that of the plain curve
      {"2,2", {0.0, 0.0}, {0.0, 0.0}},
  };
  for (const auto& [text, start, expectedEnd] : rows) {
    SCOPED_TRACE(text);
    const Line2 line = polyLineFrom<Point2>(text);
    EXPECT_THAT(line.getStartTangent(), IsNear(start, 1e-15));
    EXPECT_THAT(line.getEndTangent(), IsNear(expectedEnd, 1e-15));
  }
}

TEST(PolyLineEvaluation, DerivationNeedsADirection)
{
  for (const char* text : {"", "1,1", "1,1 closed"}) {
    const Line2 line = polyLineFrom<Point2>(text);
    EXPECT_THROW(line.evaluateDerivation(0.5), ShapecoreException) << text;
    EXPECT_THROW(line.getSegmentDerivation(0), ShapecoreException) << text;
  }
  EXPECT_THROW((polyLineFrom<Point<float, 2>>("0,0 0.000009,0").getSegmentDerivation(0)), ShapecoreException);
  EXPECT_EQ(polyLineFrom<Point2>("0,0 0.000009,0").getSegmentDerivation(0), Vector2(1.0, 0.0));
  EXPECT_EQ(polyLineFrom<Point2>("0,0 1,0 1,1").getSegmentDerivation(2), Vector2(0.0, 1.0)) << "past the open end";
}

TEST(PolyLineEvaluation, ShortSegmentsGiveTheirStart)
{
  // Between 1e-12 and 1e-5 only the form that reports the segment stops at the vertex.
  auto line = polyLineFrom<Point3N>("0,0,0/0,0,1 0.000001,0,0/1,0,0");
  EXPECT_NEAR(line.evaluate(0.5).x(), 5e-7, 1e-18);
  Point3N point;
  std::size_t segment = 9;
  EXPECT_TRUE(line.evaluateParameterPointAndSegment(0.5, point, segment));
  EXPECT_EQ(point.x(), 0.0);
  EXPECT_EQ(point.getNormal(), Vector3(0.0, 0.0, 1.0));
  EXPECT_EQ(segment, 0U);
  line = polyLineFrom<Point3N>("1,0,0/0,0,2 1,0,0/1,0,0");
  EXPECT_EQ(line.evaluateWithAttributes(0.5).getNormal(), Vector3(0.0, 0.0, 2.0)) << "attributes as they are";
  EXPECT_FALSE(PolyLine<Point3N>().evaluateParameterPointAndSegment(0.5, point, segment));
}

TEST(PolyLineEvaluation, NearestParameterRecomputesAMisfittingVector)
{
  const Line2 square = polyLineFrom<Point2>("0,0 1,0 1,1 0,1 closed");
  std::vector<double> parameters(4, 9.0);
  double distance = -1.0;
  EXPECT_DOUBLE_EQ(square.calculateParameter(Point2(-2.0, 0.5), distance, &parameters), 0.875);
  EXPECT_DOUBLE_EQ(distance, 2.0);
  EXPECT_EQ(parameters, (std::vector<double>{0.0, 0.25, 0.5, 0.75, 1.0}));
  parameters = {0.0, 0.1, 0.2, 0.3, 0.5}; // of the right size: believed
  EXPECT_DOUBLE_EQ(square.calculateParameter(Point2(-2.0, 0.5), &parameters), 0.4);

  EXPECT_EQ(Line2().calculateParameter(Point2(), distance, nullptr), 0.0);
  EXPECT_DOUBLE_EQ(distance, 2.0) << "an empty line leaves the distance";
}

TEST(PolyLineEvaluation, NormalsBlendByTheKindOfEvaluation)
{
  // At a third of the way the normalised chord and the arc part company.
  const auto units = polyLineFrom<Point3N>("0,0,0/0,0,1 1,0,0/0,1,0");
  const double third = std::numbers::pi / 6.0;
  EXPECT_THAT(units.getPointAtParam(1.0 / 3.0, nullptr).getNormal(),
              IsNear(Vector3(0.0, std::sin(third), std::cos(third)), 1e-14));
  EXPECT_THAT(units.evaluateWithAttributes(1.0 / 3.0).getNormal(),
              IsNear(Vector3(0.0, 1.0, 2.0) / std::sqrt(5.0), 1e-15));

  const auto one = polyLineFrom<Point3N>("0,0,0/0,0,1 1,0,0");
  EXPECT_FALSE(one.evaluateWithAttributes(0.5).hasNormal());
}

TEST(PolyLineEvaluation, OtherAttributesByPointType)
{
  const Vector3 up(0, 0, 1), right(1, 0, 0);
  const auto located = [](const auto& line) {
    auto point = line[0];
    std::size_t segment = 0;
    line.evaluateParameterPointAndSegment(0.5, point, segment);
    return point;
  };
  const PolyLine<Point3NT> tangents({{Vector3(), up, Vector3(4, 0, 0)}, {right, up, Vector3(0, 2, 0)}}, 0.1);
  EXPECT_THAT(tangents.evaluateWithAttributes(0.5).getTangent(), IsNear(Vector3(2, 1, 0), 1e-15));
  EXPECT_EQ(located(tangents).getTangent(), Vector3(4, 0, 0));

  const PolyLine<ConstraintPoint> constraints(
      {{Vector3(), up, ConstraintPoint::Free}, {right, up, ConstraintPoint::Free}}, 0.1);
  EXPECT_EQ(constraints.evaluateWithAttributes(0.5).getConstraint(), ConstraintPoint::Fixed);
  EXPECT_EQ(located(constraints).getConstraint(), ConstraintPoint::Clamped);
  EXPECT_FALSE(located(constraints).hasNormal());
}

} // namespace
