#include "geometry/CoordinateSystem.h"
#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineWithNormals.h"

#include "support/Matchers.h"
#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;
using testing::ElementsAre;

namespace {

using Algo = PolyLineAlgorithm;
using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;
using Vector3 = Vector<double, 3>;

constexpr double largest = std::numeric_limits<double>::max();
constexpr double pi = std::numbers::pi;

/// A walk, on a coarse grid so that equal distances abound, or anywhere.
template <class P>
PolyLine<P> walk(RandomGeometry& random, std::size_t count, bool onGrid, double offset)
{
  PolyLine<P> line;
  for (const auto& v : random.walk<P::Dim>(count, 1.5)) {
    Point<typename P::Scalar, P::Dim> p;
    for (unsigned i = 0; i < P::Dim; ++i)
      p[i] = static_cast<typename P::Scalar>((onGrid ? std::round(v[i]) : v[i]) + offset);
    line.addPoint(P(p));
  }
  line.setClosed(random.coin());
  return line;
}

/// A flat line placed in space.
template <class P>
PolyLine<P> placed(const PolyLine<Point2>& flat, const CoordinateSystem<double, 3>& system)
{
  PolyLine<P> line;
  for (const Point2& p : flat) {
    Point3 q(p.x(), p.y(), 0.0);
    line.addPoint(P(q.transform(system)));
  }
  line.setClosed(flat.isClosed());
  return line;
}

CoordinateSystem<double, 3> tiltedSystem()
{
  return createCoordinateSystemFrom(Point3(3.0, -4.0, 5.0), Vector3(1.0, 2.0, 3.0), Vector3(-2.0, 1.0, 1.0));
}

// Distances of two lines
// -----------------------------------------------------------------------------------------------

template <class P>
class LineDistances : public testing::Test
{};
using LinePoints = testing::Types<Point<float, 2>, Point<double, 2>, Point<float, 3>, Point3, Point3NT>;
TYPED_TEST_SUITE(LineDistances, LinePoints);

/// What the plain loops give.
template <class P>
struct PlainDistances
{
  typename P::Scalar nearest = std::numeric_limits<typename P::Scalar>::max();
  typename P::Scalar farthest = 0;
  typename P::Scalar farthestVertex = 0;
  std::size_t vertex = 0;
  std::size_t segment = 0;
  double u = 0.0;

  PlainDistances(const PolyLine<P>& a, const PolyLine<P>& b)
  {
    for (std::size_t i = 0; i < a.numberOfPoints(); ++i) {
      double t = 0.0;
      std::size_t index = 0;
      const auto square = b.sqrDist(a[i], t, index);
      farthest = std::max(farthest, square);
      for (const P& q : b)
        farthestVertex = std::max(farthestVertex, a[i].sqrDistance(q));
      if (!(square < nearest)) continue;
      nearest = square;
      vertex = i;
      segment = index;
      u = t;
    }
  }
};

double rootOf(double square) { return std::sqrt(square); }

TYPED_TEST(LineDistances, AreThoseOfThePlainLoopsToTheLastBit)
{
  using P = TypeParam;
  repeat(24, 31, [](RandomGeometry& random) {
    const bool onGrid = random.coin();
    const double offset = random.index(3) == 0 ? 1e4 : 0.0;
    const auto a = walk<P>(random, 150 + random.index(200), onGrid, offset);
    const auto b = walk<P>(random, 150 + random.index(200), onGrid, offset + (onGrid ? 12.0 : 0.3));
    const PlainDistances<P> ab(a, b), ba(b, a);

    P onA, onB;
    EXPECT_EQ(Algo::minDistToPolygon(a, b, onA), rootOf(ab.nearest));
    EXPECT_EQ(onA, a[ab.vertex]);
    const bool fromA = !(ba.nearest < ab.nearest);
    EXPECT_EQ(Algo::minDistBetweenPolygons(a, b, onA, onB), rootOf(fromA ? ab.nearest : ba.nearest));
    EXPECT_EQ(fromA ? onA : onB, fromA ? a[ab.vertex] : b[ba.vertex]);
    const auto segment = fromA ? b.getSegment(ab.segment) : a.getSegment(ba.segment);
    EXPECT_THAT(fromA ? onB : onA, IsNear(segment.getPoint(fromA ? ab.u : ba.u), 1e-5 * (1.0 + offset)));

    EXPECT_EQ(Algo::maxDistToPolygon(a, b), rootOf(ab.farthest));
    EXPECT_EQ(Algo::maxDistBetweenPolygons(a, b), rootOf(std::max(ab.farthest, ba.farthest)));
    EXPECT_EQ(Algo::maxDistBetweenTwoPolygons(a, b), rootOf(ab.farthestVertex));

    const double tolerance = sizeof(typename P::Scalar) == 4 ? 1e-6 * (100.0 + offset) : 1e-11 * (100.0 + offset);
    EXPECT_NEAR(Algo::minDistToPolygon(a, b), rootOf(ab.nearest), tolerance);
    EXPECT_NEAR(Algo::minDistBetweenPolygons(a, b), rootOf(std::min(ab.nearest, ba.nearest)), tolerance);
    EXPECT_NEAR(Algo::hausdorffDistance(a, b), rootOf(std::max(ab.farthest, ba.farthest)), tolerance);
  });
}

TEST(PolyLineDistances, ThroughSegmentsAreThoseOfAllPairs)
{
  repeat(12, 32, [](RandomGeometry& random) {
    const bool onGrid = random.coin();
    const auto a = walk<Point3>(random, 120, onGrid, 0.0);
    const auto b = walk<Point3>(random, 120, onGrid, random.coin() ? 15.0 : 0.5);
    double expected = largest;
    for (std::size_t i = 0; i < a.numberOfSegments(); ++i)
      for (std::size_t j = 0; j < b.numberOfSegments(); ++j)
        expected = std::min(expected, a.getSegment(i).distance(b.getSegment(j)));
    EXPECT_EQ(Algo::minDistBetweenPolygonsThroughSegments(a, b), expected);
  });
  const auto cross = polyLineFrom<Point3>("0,-1,0 0,1,0"), bar = polyLineFrom<Point3>("-1,0,0 1,0,0");
  const auto point = polyLineFrom<Point3>("0,3,4");
  EXPECT_EQ(Algo::minDistBetweenPolygonsThroughSegments(cross, bar), 0.0);
  EXPECT_EQ(Algo::minDistBetweenPolygonsThroughSegments(point, bar), 5.0);
}

TEST(PolyLineDistances, OfEmptyAndOfNearlyEqualLines)
{
  const PolyLine<Point3> empty;
  const auto line = polyLineFrom<Point3>("0,0,0 1,0,0 2,0,0");
  Point3 onA(7, 7, 7), onB;
  EXPECT_EQ(Algo::minDistBetweenPolygons(empty, line, onA, onB), std::sqrt(largest));
  EXPECT_EQ(onA, Point3(7, 7, 7));
  EXPECT_EQ(Algo::minDistBetweenPolygonsThroughSegments(line, empty), largest);
  EXPECT_EQ(Algo::maxDistBetweenTwoPolygons(line, empty), -1.0);

  // Vertices that slide along the line by less than 1e-5 count as pairs, farther ones don't.
  EXPECT_NEAR(Algo::maxDistBetweenPolygons(line, polyLineFrom<Point3>("0,0,0 1.000009,0,0 2,0,0")), 9e-6, 1e-12);
  EXPECT_NEAR(Algo::maxDistBetweenPolygons(line, polyLineFrom<Point3>("0,0,0 1.00002,0,0 2,0,0")), 0.0, 1e-12);
}

// Nearest segments, differences, normals
// -------------------------------------------------------------------------------

TEST(PolyLineNearestSegment, CountsFeetAndEndsAsAsked)
{
  const auto corner = polyLineFrom<Point3N>("0,0,0 2,0,0 2,0,0 2,2,0");
  const std::tuple<const char*, bool, int, int, double> rows[] = {
      {"1.5,1.9,0", false, 2, 2, 0.5},        {"3,-1,0", false, -1, -1, 0.0},
      {"3,-1,0", true, 0, 0, std::sqrt(2.0)}, {"2.001,-0.001,0", false, -1, 0, 0.0}, // beside the corner: near an end
      {"1,1.5,0/0,1,0", false, 2, 0, 1.0},                                           // looks down on the first segment
      {"3,1.5,0/0,1,0", false, 2, 0, 1.0}, // looks past it, so that its end counts
      {"3,0.5,0/1,1,0", false, 2, 0, 1.0},
  };
  for (const auto& [text, extended, byFoot, looking, expectedDistance] : rows) {
    SCOPED_TRACE(text);
    const auto point = pointFrom<Point3N>(text);
    double distance = -1.0;
    EXPECT_EQ(Algo::getNearestSegment(corner, point, extended, distance), byFoot);
    EXPECT_NEAR(distance, expectedDistance, 1e-12);
    EXPECT_EQ(Algo::getNearestSegment(corner, point, extended), looking);
  }
  EXPECT_EQ(Algo::calculateProjectionPoint(corner, pointFrom<Point3N>("3,-1,0/0,0,1")), Point3(2, 0, 0));
  EXPECT_EQ(Algo::getLongestSegment(polyLineFrom<Point2>("0,0 1,0 1,2 closed")), 2);
}

TEST(PolyLineNearestSegment, DifferencesLeadToTheFeet)
{
  RandomGeometry random(33);
  for (const bool onGrid : {true, false}) {
    auto a = walk<Point3N>(random, 200, onGrid, 0.25);
    const auto b = walk<Point3N>(random, 300, onGrid, 0.0);
    for (Point3N& point : a)
      if (random.coin()) point.setNormal(random.direction<3>());
    const auto differences = Algo::calculateDifference(a, b);
    ASSERT_EQ(differences->size(), a.numberOfPoints());
    for (std::size_t i = 0; i < a.numberOfPoints(); ++i) {
      const int nearest = Algo::getNearestSegment(b, a[i], false);
      Point3N foot(a[i]);
      if (nearest >= 0) b.getSegment(static_cast<std::size_t>(nearest)).projectPoint(a[i], foot, nullptr);
      EXPECT_EQ((*differences)[i], foot - a[i]) << i;
    }
  }
  const auto beyond = Algo::calculateDifference(PolyLine<Point3>({{5, 1, 0}, {1, 1, 0}, {1, std::nan(""), 0}}, 0.1),
                                                polyLineFrom<Point3>("0,0,0 2,0,0"));
  EXPECT_THAT(*beyond, ElementsAre(Vector3(), Vector3(0, -1, 0), Vector3()));
}

TEST(PolyLineNormals, AtAPositionAreBlendedOrTakenFromTheNearEnd)
{
  const auto line = polyLineFrom<Point3N>("0,0,0/0,0,2 2,0,0/0,2,0 4,0,0 6,0,0 8,0,0/1,0,0");
  const double half = std::sqrt(0.5);
  const std::tuple<Point3, double, Vector3> rows[] = {{{1, 3, 0}, 0.1, {0, half, half}},
                                                      {{2, 0, 0}, 0.1, {0, 1, 0}},
                                                      {{3, 0, 0}, 1.5, {0, 2, 0}},
                                                      {{3, 0, 0}, 1.0, {}},
                                                      {{5, 0, 0}, 9.0, {}},
                                                      {{7.95, 0, 0}, 0.0, {1, 0, 0}},
                                                      {{7.85, 0, 0}, -1.0, {}},
                                                      {{9, 0, 0}, 1.01, {1, 0, 0}}};
  for (const auto& [position, tolerance, expected] : rows) {
    SCOPED_TRACE(testing::PrintToString(position.x()));
    EXPECT_THAT(PolyLineWithNormals::calculateNormalAtPosition(line, position, tolerance), IsNear(expected, 1e-15));
  }
}

TEST(PolyLineNormals, DeviateByTheAngleBetweenThem)
{
  RandomGeometry random(35);
  auto a = walk<Point3N>(random, 200, true, 0.25), b = walk<Point3N>(random, 200, true, 0.0);
  for (auto* const line : {&a, &b})
    for (Point3N& point : *line)
      point.setNormal(random.direction<3>());
  double deviation = 0.0;
  for (const Point3N& point : a) {
    double u = 0.0;
    std::size_t segment = 0;
    b.sqrDist(point, u, segment);
    const Point3 place = *b.getSegment(segment).getStart() * (1.0 - u) + *b.getSegment(segment).getEnd() * u;
    deviation =
        std::max(deviation, point.getNormal().angle(PolyLineWithNormals::calculateNormalAtPosition(b, place, 0.0)));
  }
  EXPECT_NEAR(Algo::maxNormalDeviationBetweenTwoPolygons(a, b, 1e3), deviation, 1e-9);

  const auto up = polyLineFrom<Point3N>("0,0,0/0,0,1 5,0,0/0,0,3 9,0,0/0,0,1");
  const auto tilted = polyLineFrom<Point3N>("0,1,0/0,0,1 9,1,0/0,1,1");
  EXPECT_NEAR(Algo::maxNormalDeviationBetweenTwoPolygons(up, tilted, 1.0), pi / 4.0, 1e-12);
  EXPECT_EQ(Algo::maxNormalDeviation(up, tilted, 0.99), largest);
  EXPECT_EQ(Algo::maxNormalDeviation(up, polyLineFrom<Point3N>("0,1,0 9,1,0/0,0,1"), 5.0), largest);
  EXPECT_EQ(Algo::maxNormalDeviationBetweenTwoPolygons(up, PolyLine<Point3N>(), largest), largest);
}

// Tangents and corners
// -------------------------------------------------------------------------------------------------

TEST(PolyLineTangents, AtCornersFollowTheSideAsked)
{
  const auto open = polyLineFrom<Point2>("0,0 10,0 10,10 10,10.005 0,10.005");
  const auto square = polyLineFrom<Point2>("0,0 1,0 1,1 0,1 closed");
  const std::tuple<const PolyLine<Point2>&, Point2, Vector<double, 2>, Vector<double, 2>> rows[] = {
      {open, {10, 0}, {0, 1}, {1, 0}},        {open, {9.5, 0}, {0, 1}, {1, 0}},
      {open, {10, 0.5}, {0, 1}, {1, 0}},      {open, {0, 0}, {1, 0}, {1, 0}},
      {open, {10, 10.002}, {-1, 0}, {-1, 0}}, {open, {0, 10.005}, {-1, 0}, {-1, 0}},
      {square, {0, 0.05}, {1, 0}, {0, -1}},   {square, {0.05, 0}, {1, 0}, {0, -1}}};
  for (const auto& [line, at, forward, backward] : rows) {
    SCOPED_TRACE(testing::PrintToString(at));
    EXPECT_THAT(Algo::calcTangentAtPoint(line, at, true), IsNear(forward, 1e-12));
    EXPECT_THAT(Algo::calcTangentAtPoint(line, at, false), IsNear(backward, 1e-12));
  }
  const double half = std::sqrt(0.5);
  EXPECT_THAT(Algo::getSmoothedTangent(square, 0.2, 0), IsNear(Point2(half, -half), 1e-12));
  EXPECT_NEAR(Algo::maxAngleOfTangents(polyLineFrom<Point3>("0,0,0 1,0,0 2,1,0 3,2,0")), pi / 4.0, 1e-12);
}

TEST(PolyLineTangents, CornersAreSharpAtTheScaleAsked)
{
  const auto square = polyLineFrom<Point2>("0,0 1,0 1,1 0,1 closed");
  // The second corner is cut: a turn of a quarter within 0.1, two of an eighth closely looked at.
  const auto cut = polyLineFrom<Point2>("0,0 0.95,0 1,0.05 1,1");
  const auto cusps = [](const auto& line, double angle, double distance) {
    return Algo::computeCuspIndices(line, angle, distance);
  };
  EXPECT_THAT(cusps(square, 0.5, 0.1), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(cusps(cut, 0.7, 0.01), ElementsAre(1, 2));
  EXPECT_THAT(cusps(cut, 1.0, 0.1), ElementsAre(1));
  EXPECT_THAT(cusps(square, 0.5, 1.0), ElementsAre(1, 3)); // the way to the next corner doesn't exceed 1

  const auto bulge = polyLineFrom<Point2>("0,0 1,0.1 2,0 3,0");
  EXPECT_FALSE(Algo::isStraightLine(bulge, 0.1, 0, 3));
  EXPECT_TRUE(Algo::isStraightLine(bulge, 0.1001, 3, 0));
  EXPECT_DOUBLE_EQ(Algo::getPartialPolyLineLength(polyLineFrom<Point3>("0,0,0 1,0,0 1,2,0 closed"), 2, 1),
                   1.0 + std::sqrt(5.0));
}

// Planes, centres, containment
// -----------------------------------------------------------------------------------------

TEST(PolyLinePlanes, OfATiltedPolygonAreKnown)
{
  const auto system = tiltedSystem();
  const Vector3 normal = system.transformVectorCopy(Vector3(0, 0, 1));
  const auto octagon = polyLineFrom<Point2>("1,0 3,0 4,1 4,3 3,4 1,4 0,3 0,1 closed");
  const auto polygon = placed<Point3N>(octagon, system);
  Point3 centre(2, 2, 0);
  centre.transform(system);

  const auto [planar, plane] = Algo::checkPlanarity(polygon, 1e-9);
  EXPECT_TRUE(planar);
  EXPECT_THAT(plane.getNormal(), IsNear(normal, 1e-12));
  EXPECT_TRUE(Algo::laysOnPlane(polygon, plane, 1e-9));
  auto bent = polygon;
  bent[3] += normal * 0.5;
  EXPECT_FALSE(Algo::checkPlanarity(bent, 0.2).first);
  EXPECT_NEAR(Algo::maxDistToPlane(bent, plane), 0.5, 1e-12);

  const Point3N middle = Algo::calculateCenterOfPolyLine(polygon);
  EXPECT_THAT(middle, IsNear(centre, 1e-12));
  EXPECT_THAT(middle.getNormal(), IsNear(normal, 1e-12));
  EXPECT_NEAR(Algo::getHydraulicDiameter(polygon), 4.0 * 14.0 / octagon.getTotalLength(), 1e-12);
  auto reversed = polygon;
  reversed.reverse();
  EXPECT_THAT(Algo::computeRegressionPlane(reversed).getNormal(), IsNear(-normal, 1e-12));
  // The larger of two opposite turns decides, whichever comes first.
  const auto eight = polyLineFrom<Point3>("1,0,0 1,-1,0 0,-1,0 -1,1,0 -3,1,0 -3,-1,0 0,1,0 1,1,0 closed");
  EXPECT_EQ(Algo::computeRegressionPlane(eight).getNormal().x(), 0.0);
  // The last triangle agrees with the first one, but not with the first two together.
  const auto twisted = polyLineFrom<Point3>("-1,-1,2 1,0,-1 -1,-1,-2 1,2,1");
  EXPECT_EQ(Algo::computeRegressionPlane(twisted).getNormal(), Vector3(0, 1, 0));
}

TEST(PolyLinePlanes, OfDegenerateLines)
{
  EXPECT_EQ(Algo::checkPlanarity(polyLineFrom<Point3>("1,2,3"), 0.0).second.getDistance(), 3.0);
  const auto [planar, plane] = Algo::checkPlanarity(polyLineFrom<Point3>("1,2,3 2,4,4"), 0.0);
  EXPECT_TRUE(planar);
  EXPECT_NEAR(plane.getNormal().dot(Vector3(1, 2, 1)), 0.0, 1e-15);
  const auto collinear = polyLineFrom<Point3>("0,0,0 1,0,0 2,0,0");
  EXPECT_EQ(Algo::checkPlanarity(collinear, 0.0).second.getNormal(), Vector3());
  EXPECT_EQ(Algo::getHydraulicDiameter(collinear), 0.0);
  EXPECT_EQ(Algo::minDistToPlane(PolyLine<Point2>(), Plane<double, 3>()), largest);
  EXPECT_EQ(Algo::calcBackdraft(polyLineFrom<Point3>("0,0,0 4,1,0 1,1,0 5,1,0 3,1,0"), Vector3(2, 0, 0)), 3.0);

  const auto shape = polyLineFrom<Point3>("10,0,1 13,0,1 10,3,1"); // the area counts as closed
  EXPECT_THAT(Algo::calculateCenterOfEnclosedXYArea(shape), IsNear(Point3(11, 1, 1), 1e-12));
  EXPECT_FALSE(Algo::checkXYOrientation(polyLineFrom<Point2>("0,1 1,0 -9,-9"), false));
  EXPECT_TRUE(Algo::checkXYOrientation(polyLineFrom<Point2>("0,9 -1,5 0,1"), false));
}

TEST(PolyLineContainment, OfLinesInSpaceIsThatInTheirPlane)
{
  const auto square = polyLineFrom<Point2>("0,0 4,0 4,4 0,4"); // open: it counts as closed
  const std::tuple<const char*, bool, bool> rows[] = {{"1,1 5,1 3,3", false, false},
                                                      {"5,5 6,5 6,6", false, false},
                                                      {"0,1 3,1 3,3", false, true},
                                                      {"1,1 4,2 1,3", false, true},
                                                      {"1,1 3,1 3,3 1,3 2,2.5", true, true}};
  for (const auto& [text, inside, strictInside] : rows) {
    SCOPED_TRACE(text);
    const auto inner = polyLineFrom<Point2>(text);
    EXPECT_EQ(Algo::isInsideOfPolyLine(inner, square, false), inside);
    EXPECT_EQ(Algo::isInsideOfPolyLine(inner, square, true), strictInside);
    const auto inner3 = placed<Point3>(inner, {}), square3 = placed<Point3>(square, {});
    EXPECT_EQ(Algo::isInsideOfPolyLine(inner3, square3, Vector3(0, 0, 3), false), inside);
    EXPECT_EQ(Algo::isInsideOfPolyLine(inner3, square3, Vector3(0.01, 0, 0), true), strictInside);
  }
  const auto system = tiltedSystem();
  const auto around = placed<Point3N>(square, system);
  EXPECT_TRUE(Algo::isInsideOfPolyLine(placed<Point3N>(polyLineFrom<Point2>("1,1 3,1 3,3"), system), around, true));
  EXPECT_FALSE(Algo::isInsideOfPolyLine(placed<Point3N>(polyLineFrom<Point2>("1,1 3,1 3,5"), system), around, true));
}

TEST(PolyLineContainment, EnclosingIsTheWindingOfAPolygon)
{
  RandomGeometry random(34);
  for (int round = 0; round < 20; ++round) {
    auto polygon = walk<Point2>(random, 12, true, 0.0);
    polygon.setClosed(true);
    for (int i = 0; i < 100; ++i) { // points between the lines of the grid in y, and on them
      const Point2 p(std::round(random.uniform(-6, 6)) + 0.3, std::round(random.uniform(-6, 6)) + (i % 2 ? 0.0 : 0.1));
      if (polygon.dist(p) < 1e-9) continue;
      EXPECT_EQ(Algo::enclosing(polygon, p, false), polygon.hasPointInside(p, false, 1e-12)) << i << ' ' << round;
    }
    EXPECT_TRUE(Algo::enclosing(polygon, polygon[3], true));
    EXPECT_FALSE(Algo::enclosing(polygon, polygon[3], false));
  }
  EXPECT_FALSE(Algo::enclosing(polyLineFrom<Point2>("0,0 2,0 0,2"), Point2(0.5, 0.5), true));

  EXPECT_TRUE(Algo::valueBetweenLines(Point2(1, 5), Point2(2, 7), 0.5, Point2(1, 7)));
}

} // namespace
