#include "geometry/Plane.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/PolyLine.h"
#include "geometry/StraightLine.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "support/ArchiveWriter.h"
#include "support/Matchers.h"
#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

namespace Kavrel::Testing {
namespace {

using Plane3 = Plane<double, 3>;
using Point3 = Point<double, 3>;
using Vector3 = Vector<double, 3>;

Plane3 randomPlane(RandomGeometry& random) { return Plane3(random.ofAnySize<3>(0.1, 10), random.uniform(-5, 5)); }

TEST(PlaneTest, SettersMoveAndTurnThePlaneAsTold)
{
  const Vector3 x(5, 0, 0), diagonal(0, 3, 4);
  const auto changed = [](auto change) {
    Plane3 plane(Vector3(0, 0, 2), 10.0);
    change(plane);
    return plane;
  };
  const std::tuple<const char*, Plane3, Vector3, double> rows[] = {
      {"normal and distance", Plane3(diagonal, 10.0), {0, 0.6, 0.8}, 10},
      {"normal and point", Plane3(diagonal, Point3(7, 5, 10)), {0, 0.6, 0.8}, 11},
      {"turned about the foot point", changed([&](Plane3& p) { p.setNormal(diagonal); }), {0, 0.6, 0.8}, 8},
      {"turned about the origin", changed([&](Plane3& p) { p.setNormalizedNormal(x); }), {1, 0, 0}, 10},
      {"moved to a point", changed([&](Plane3& p) { p.setPoint(Point3(1, 2, 3)); }), {0, 0, 1}, 3},
      {"inverted", changed([&](Plane3& p) { p.invert(); }), {0, 0, -1}, -10},
      {"turned to nothing", changed([&](Plane3& p) { p.setNormal(Vector3()); }), {0, 0, 0}, 0},
  };
  for (const auto& [what, changedPlane, normal, distance] : rows) {
    SCOPED_TRACE(what);
    EXPECT_THAT(changedPlane.getNormal(), IsNear(normal, 2e-16));
    EXPECT_DOUBLE_EQ(changedPlane.getDistance(), distance);
  }
}

TEST(PlaneTest, SidesIncludeTheirBorders)
{
  const Plane3 plane(Vector3(0, 0, 1), 1.0);
  const std::tuple<double, double, Side, bool> rows[] = {
      {1.5, 0.5, Side::On, true},           {0.5, 0.5, Side::On, false}, {1.5, 0.4999, Side::Above, true},
      {0.5, 0.4999, Side::Below, false},    {1, 0, Side::On, true},      {3, 0, Side::Above, true},
      {std::nan(""), 9, Side::Below, false}};
  for (const auto& [z, eps, side, above] : rows) {
    const Point3 p(8, 9, z);
    EXPECT_EQ(plane.getSideOfPoint(p, eps), side) << z << " eps " << eps;
    EXPECT_EQ(plane.pointIsAbove(p), above) << z;
    EXPECT_EQ(plane.pointIsBelow(p), !above) << z;
  }
}

TEST(PlaneTest, EqualityIsWithinDistanceAndAngle)
{
  const Plane3 plane(Vector3(0, 0, 1), 1.0);
  const Plane3 near(Vector3(0, std::sin(0.1), std::cos(0.1)), 1.25);
  EXPECT_TRUE(plane.isEqual(near, 0.25, 0.1001));
  EXPECT_FALSE(plane.isEqual(near, 0.2499, 0.1001));
  EXPECT_FALSE(plane.isEqual(near, 0.25, 0.0999));
}

TEST(PlaneTest, ProjectionsAndMirrorsSplitAlongAndAcross)
{
  repeat(100, 61, [&](RandomGeometry& random) {
    const Plane3 plane = randomPlane(random);
    const Point3 p(random.inCube<3>(10));
    const Point3 foot = plane.getProjectedPoint(p);
    EXPECT_NEAR(plane.getDistanceOfPoint(foot), 0.0, 1e-13);
    EXPECT_NEAR((p - foot).cross(plane.getNormal()).length(), 0.0, 1e-13);
    EXPECT_THAT(plane.getMirroredPoint(p), IsNear(Vector3(foot * 2.0 - p), 1e-13));
    const Vector3 v = random.inCube<3>(3);
    EXPECT_THAT(plane.getProjectedVector(v), IsNear(Vector3(plane.getProjectedPoint(p + v) - foot), 1e-13));
    const Vector3 image = plane.getMirroredPoint(p + v) - plane.getMirroredPoint(p);
    EXPECT_THAT(plane.getMirroredVector(v), IsNear(image, 1e-13));
  });
}

TEST(PlaneTest, PointsKeepTheirDistanceFromAMovedPlane)
{
  repeat(100, 62, [&](RandomGeometry& random) {
    const Plane3 plane = randomPlane(random), other = randomPlane(random);
    const auto rotation = MatrixFunctions::makeRotationMatrix(random.uniform(-3, 3), random.direction<3>());
    const CoordinateSystem<double, 3> placement(OrthMatrix<double, 3>(rotation.second), Point3(random.inCube<3>(9)));
    Point3 p(random.inCube<3>(10)), q(p);
    const double distance = plane.getDistanceOfPoint(p);
    EXPECT_NEAR(plane.getTransformed(placement).getDistanceOfPoint(p.transform(placement)), distance, 1e-12);
    EXPECT_NEAR(Plane3(plane).mirror(other).getDistanceOfPoint(q.mirror(other)), distance, 1e-12);
  });
}

TEST(PlaneTest, CutsLinesInAPointOfBoth)
{
  repeat(200, 63, [&](RandomGeometry& random) {
    const Plane3 plane = randomPlane(random);
    const Point3 a(random.inCube<3>(10)), b(random.inCube<3>(10));
    if (std::abs(plane.getNormal().dot(b - a)) < 0.1) return;
    Point3 hit, again;
    double t = 0, u = 0;
    ASSERT_TRUE(plane.intersect(a, b - a, hit, &t));
    EXPECT_NEAR(plane.getDistanceOfPoint(hit), 0.0, 1e-11);
    EXPECT_THAT(hit, IsNear(Vector3(a + (b - a) * t), 1e-11));
    ASSERT_TRUE(plane.intersect(StraightLine<double, 3>(a, b, 0.1), again, nullptr));
    EXPECT_THAT(again, IsNear(hit, 1e-12));
    ASSERT_TRUE(plane.segmentIntersection(a, b, again, &u)) << "beyond its ends, too";
    EXPECT_NEAR(u, t, 1e-12);
  });
}

TEST(PlaneTest, RefusesLinesWithALowSlope)
{
  const Plane3 plane(Vector3(0, 0, 1), 1.0);
  for (const auto& [slope, hit] : {std::pair(0.00009, false), {0.0001, true}, {-0.00011, true}, {-0.00009, false}}) {
    Point3 out(7, 7, 7);
    double t = 7;
    EXPECT_EQ(plane.intersect(Vector3(), Vector3(1, 0, slope), out, &t), hit) << slope;
    EXPECT_EQ(t == 7 && out == Point3(7, 7, 7), !hit);
  }
}

TEST(PlaneTest, TwoPlanesShareALine)
{
  repeat(100, 64, [&](RandomGeometry& random) {
    const Plane3 a = randomPlane(random), b = randomPlane(random);
    if (a.getNormal().cross(b.getNormal()).length() < 0.1) return;
    StraightLine<double, 3> line(0.5);
    ASSERT_TRUE(a.intersect(b, line));
    EXPECT_EQ(line.getTolerance(), 0.1) << "the tolerance comes along";
    EXPECT_NEAR(line.getDirection().length(), 1.0, 1e-12);
    const Vector3 across = a.getNormal().cross(b.getNormal());
    EXPECT_GT(line.getDirection().dot(across), 0.0);
    const auto byLength = [](double u, double v) { return std::abs(u) < std::abs(v); };
    EXPECT_EQ(line.getStart()[std::max_element(&across[0], &across[0] + 3, byLength) - &across[0]], 0.0);
    for (const Point3& p : {line.getStart(), line.getEnd()}) {
      EXPECT_NEAR(a.getDistanceOfPoint(p), 0.0, 1e-10);
      EXPECT_NEAR(b.getDistanceOfPoint(p), 0.0, 1e-10);
    }
  });
}

TEST(PlaneTest, TheSharedLineStartsWhereItsSteepestCoordinateIsZero)
{
  const std::tuple<Vector3, Vector3, unsigned> ties[] = {
      {{0, 0, 1}, {1, -1, 0}, 0}, {{1, 0, 0}, {0, 1, -1}, 1}, {{0, 1, 0}, {1, 0, -1}, 0}};
  StraightLine<double, 3> line;
  for (const auto& [n1, n2, zero] : ties) {
    ASSERT_TRUE(Plane3(n1, Point3(3, 4, 5)).intersect(Plane3(n2, Point3(3, 4, 5)), line));
    EXPECT_EQ(line.getStart()[zero], 0.0) << n1;
  }
  for (const double s : {std::sqrt(1e-7), 1.1e-3})
    EXPECT_EQ(Plane3().intersect(Plane3(Vector3(0, s, std::sqrt(1 - s * s)), 1.0), line), s > 1e-3);
}

TEST(PlaneTest, CutsPolylinesSegmentBySegment)
{
  const Plane3 plane(Vector3(0, 0, 1), 0.0);
  const std::tuple<const char*, const char*, double, const char*, std::vector<double>, bool> rows[] = {
      {"empty", "", 0, "", {}, false},
      {"once", "0,0,1 0,0,-3", 0, "0,0,0", {1}, true},
      {"touching vertex", "0,0,2 3,0,0 3,0,2", 0, "3,0,0", {std::sqrt(13.0)}, true},
      {"closing segment", "0,0,1 4,0,1 4,0,-1 0,0,-1 closed", 0, "4,0,0 0,0,0", {5, 11}, true},
      {"running along: the last vertex is missing", "0,0,0 2,0,0 5,0,0", 0, "0,0,0 2,0,0", {0, 2}, true},
      {"eps takes the product", "0,0,1 3,0,0.5", 0.5, "6,0,0", {2 * std::sqrt(9.25)}, true},
      {"just above eps", "0,0,1 3,0,0.5", 0.4999, "", {}, false},
      {"nearly level: its start", "1,0,0.000001 2,0,-0.000002", 0, "1,0,0.000001", {0}, true},
      {"closed at a touched vertex",
       "0,0,0 2,0,-1 2,0,1 closed",
       0,
       "0,0,0 2,0,0 0,0,0",
       {0, std::sqrt(5.0) + 1, 2 * std::sqrt(5.0) + 2},
       true},
  };
  for (const auto& [what, text, eps, crossings, expectedArcs, crossed] : rows) {
    SCOPED_TRACE(what);
    const auto line = polyLineFrom<Point3>(text);
    const auto expected = polyLineFrom<Point3>(crossings);
    std::vector<Point3> points;
    std::vector<double> arcs;
    EXPECT_EQ(plane.intersect(line, &points, &arcs, eps), crossed);
    ASSERT_EQ(points.size(), expected.numberOfPoints());
    ASSERT_EQ(arcs.size(), expectedArcs.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      EXPECT_THAT(points[i], IsNear(expected[i], 1e-14));
      EXPECT_NEAR(arcs[i], expectedArcs[i], 1e-14);
    }
  }
}

TEST(PlaneTest, RepeatsAreToldByTheLastPointAlone)
{
  const Plane3 plane(Vector3(0, 0, 1), 0.0);
  const auto line = polyLineFrom<Point3N>("0,0,2/0,0,1 3,0,0/1,0,0 3,0,2/1,0,0");
  std::vector<Point3N> points;
  std::vector<double> arcs;
  for (const double away : {0.9e-12, 1.1e-12}) {
    points = {Point3N(3, away, 0)};
    arcs.clear();
    EXPECT_TRUE(plane.intersect(line, &points, &arcs, 0.0)) << "repeats count";
    EXPECT_EQ(arcs.size(), away < 1e-12 ? 0u : 1u) << "the caller's point takes part";
    EXPECT_EQ(points.size(), 1 + arcs.size());
  }
  points.clear();
  plane.intersect<Point3N>(line, &points, nullptr, 0.0);
  ASSERT_EQ(points.size(), 1u);
  EXPECT_THAT(points[0].getNormal(), IsNear(Vector3(1, 0, 0), 1e-15)) << "attributes are interpolated";
}

TEST(PlaneTest, ClippingKeepsWhatIsNotBelow)
{
  const Plane3 plane(Vector3(0, 0, 1), 0.0);
  const std::tuple<const char*, const char*, std::vector<const char*>> rows[] = {
      {"empty", "", {}},
      {"a point on the plane", "0,0,0", {}},
      {"all above, closed", "0,0,1 1,0,1 1,0,2 closed", {"0,0,1 1,0,1 1,0,2 closed"}},
      {"square", "0,0,1 4,0,1 4,0,-1 0,0,-1 closed", {"0,0,1 4,0,1 4,0,0", "0,0,0 0,0,1"}},
      {"in and out", "0,0,-1 1,0,1 2,0,-1", {"0.5,0,0 1,0,1 1.5,0,0"}},
      {"touched from above, thrice", "0,0,1 1,0,0 2,0,1", {"0,0,1 1,0,0 1,0,0 1,0,0 2,0,1"}},
      {"from the plane down", "0,0,0 1,0,-1", {"0,0,0"}},
      {"from the plane up", "0,0,0 1,0,1", {"0,0,0 1,0,1"}},
  };
  for (const auto& [what, line, pieces] : rows) {
    SCOPED_TRACE(what);
    std::vector<PolyLine<Point3N>> out(1);
    plane.clipWithHalfSpace(polyLineFrom<Point3N>(line), out);
    ASSERT_EQ(out.size(), 1 + pieces.size()) << "pieces are appended";
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      const auto expected = polyLineFrom<Point3N>(pieces[i]);
      EXPECT_TRUE(out[i + 1].isCompletelyEqual(expected, 1e-15)) << "piece " << i;
      EXPECT_EQ(out[i + 1].getTolerance(), 0.1);
    }
  }
}

TEST(PlaneTest, BothHalvesOfAClippedLineMakeTheWhole)
{
  repeat(50, 65, [&](RandomGeometry& random) {
    PolyLine<Point3NT> line;
    for (const Vector3& p : random.walk<3>(40, 2.0))
      line.addPoint(Point3NT(p, random.direction<3>(), random.direction<3>()));
    line.setClosed(random.coin());
    Plane3 plane(random.direction<3>(), line[20]);
    plane.setDistance(plane.getDistance() + 0.01);
    double length = 0;
    for (int side = 0; side < 2; ++side) {
      std::vector<PolyLine<Point3NT>> pieces;
      plane.clipWithHalfSpace(line, pieces);
      for (const auto& piece : pieces) {
        length += piece.getTotalLength();
        for (const Point3NT& p : piece) {
          EXPECT_GT(plane.getDistanceOfPoint(p), -1e-12);
          EXPECT_TRUE(p.hasNormal() && p.hasTangent());
        }
      }
      plane.invert();
    }
    EXPECT_NEAR(length, line.getTotalLength(), 1e-9);
  });
}

TEST(PlaneTest, SurvivesTheArchiveFieldByField)
{
  ArchiveWriter writer;
  writer.object("Plane3", [&] {
    writer << 2.5;
    Persistence::saveObject(writer.archive(), Vector3(0, 0.6, 0.8));
  });
  Plane3 plane;
  loadFrom(writer.bytes(), plane);
  EXPECT_EQ(archiveOf(plane), writer.bytes());
}

} // namespace
} // namespace Kavrel::Testing
