#include "geometry/StraightLine.h"

#include "geometry/Plane.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Line = StraightLine<double, 3>;
using Line2 = StraightLine<double, 2>;
using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;
using Vector3 = Vector<double, 3>;

TEST(StraightLine, DirectionFollowsEndsThatAreApart)
{
  for (const auto& [x, follows] : {std::pair(2.0, true), {1.1e-12, true}, {0.9e-12, false}}) {
    SCOPED_TRACE(x);
    Line line(Point3(0.0, 0.0, 0.0), Point3(0.0, 3.0, 0.0), 0.1);
    line.setEnd(Point3(x, 0.0, 0.0));
    EXPECT_EQ(line.getDirection(), follows ? Vector3(x, 0.0, 0.0) : Vector3(0.0, 3.0, 0.0));
    line.setTangent(Vector3(7.0, 7.0, 7.0));
    EXPECT_EQ(line.getDirection() == Vector3(7.0, 7.0, 7.0), !follows);
  }
  double t = 5.0;
  EXPECT_EQ(Line(Point3(1, 2, 3), Point3(1, 2, 3), 0.1).project(Point3(9, 9, 9), &t), Point3(1, 2, 3));
  EXPECT_EQ(t, 0.0);
}

TEST(StraightLine, ProjectionIsPerpendicular)
{
  repeat(200, 31, [&](RandomGeometry& random) {
    const Line line(Point3(random.inCube<3>(10.0)), random.ofAnySize<3>(1e-3, 1e3), 0.1);
    const Point3 p(random.inCube<3>(10.0));
    double t = 0.0;
    const Point3 foot = line.project(p, &t);
    EXPECT_NEAR((p - foot).dot(line.getDirection().getNormalized()), 0.0, 1e-12);
    EXPECT_THAT(foot, IsNear(line.getStart() + line.getDirection() * t, 1e-12));
    EXPECT_NEAR(line.getDistance(p), line.getDirection().getNormalized().cross(p - line.getStart()).length(), 1e-12);
  });
}

TEST(StraightLine, IntersectsInThePlane)
{
  repeat(200, 32, [&](RandomGeometry& random) {
    const Point2 cross(random.inCube<2>(10.0));
    const auto a = random.direction<2>(), b = random.direction<2>();
    const Line2 first(Point2(cross + a * random.uniform(-5.0, 5.0)), a * random.logUniform(0.01, 10.0), 0.1);
    const Line2 second(Point2(cross + b * random.uniform(-5.0, 5.0)), b * random.logUniform(0.01, 10.0), 0.1);
    const double sine = std::abs(a.cross(b));
    Point2 hit;
    ASSERT_EQ(first.getIntersection(second, hit, 0.01), sine > 0.01);
    if (sine > 0.01) {
      EXPECT_THAT(hit, IsNear(cross, 1e-13 / sine));
    }
  });
}

TEST(StraightLine, ClosestPointsStandAcrossBothLines)
{
  repeat(200, 33, [&](RandomGeometry& random) {
    const Line a(Point3(random.inCube<3>(10.0)), random.direction<3>() * random.uniform(1.0, 5.0), 0.1);
    const Line b(Point3(random.inCube<3>(10.0)), random.direction<3>() * random.uniform(1.0, 5.0), 0.1);
    if (a.getDirection().cross(b.getDirection()).length() < 0.1) return;
    Point3 onA, onB;
    ASSERT_TRUE(computeClosestPoints(a, b, onA, onB));
    EXPECT_NEAR(a.getDistance(onA), 0.0, 1e-10);
    EXPECT_NEAR(b.getDistance(onB), 0.0, 1e-10);
    EXPECT_NEAR((onA - onB).dot(a.getDirection()), 0.0, 1e-9);
    EXPECT_NEAR((onA - onB).dot(b.getDirection()), 0.0, 1e-9);
  });
  Point3 onA, onB;
  const Line along(Point3(), Vector3(1.0, 0.0, 0.0), 0.1);
  EXPECT_FALSE(computeClosestPoints(along, Line(Point3(0.0, 1.0, 0.0), Vector3(-2.0, 0.0, 0.0), 0.1), onA, onB));
  // The plane intersection doesn't resolve a direction as short as this.
  EXPECT_FALSE(computeClosestPoints(along, Line(Point3(0.0, 0.0, 1.0), Vector3(0.0, 0.9e-4, 0.0), 0.1), onA, onB));
}

TEST(StraightLine, MirrorsEndsAndVectors)
{
  repeat(50, 34, [&](RandomGeometry& random) {
    const Line line(Point3(random.inCube<3>(5.0)), Point3(random.inCube<3>(5.0)), 0.7);
    const Plane<double, 3> plane(random.direction<3>(), random.uniform(-2.0, 2.0));
    for (const bool atStart : {true, false}) {
      Line symmetrical(line);
      symmetrical.setSymmetricalEnd(atStart, plane);
      EXPECT_EQ(symmetrical.getStart(), atStart ? plane.getMirroredPoint(line.getEnd()) : line.getStart());
      EXPECT_EQ(symmetrical.getEnd(), atStart ? line.getEnd() : plane.getMirroredPoint(line.getStart()));
    }
    // A vector and its reflection at the line add up to twice the part along the line.
    const Vector3 v = random.inCube<3>(3.0);
    Vector3 reflected = v;
    line.mirrorVector(reflected);
    const Vector3 unit = line.getDirection().getNormalized();
    EXPECT_THAT(reflected + v, IsNear(unit * (2.0 * v.dot(unit)), 1e-12));
  });
}

TEST(StraightLine, CopiesTakeEverythingButTheIdentifier)
{
  Line line(Point3(1.0, 2.0, 3.0), Point3(4.0, 5.0, 6.0), 0.5);
  line.setDomain(Interval(1.0, 2.0, false, false));
  const Line twin(line);
  Line target;
  const Identifier own = target.getId();
  target = line;
  for (const Line* copy : {&twin, static_cast<const Line*>(&target)}) {
    EXPECT_TRUE(*copy == line);
    EXPECT_EQ(copy->getDomain(), line.getDomain());
    EXPECT_FALSE(copy->getId() == line.getId());
  }
  EXPECT_TRUE(target.getId() == own);
}

} // namespace
