#include "geometry/Ray.h"

#include "geometry/Segment.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

namespace Kavrel::Testing {
namespace {

using Point2 = Point<double, 2>;
using Vector2 = Vector<double, 2>;
using Vector3 = Vector<double, 3>;

TEST(RayTest, NearestPointIsTheFootOrTheStart)
{
  repeat(100, 51, [&](RandomGeometry& random) {
    const Point<double, 3> start(random.inCube<3>(3)), p(random.inCube<3>(3));
    const Vector3 direction = random.ofAnySize<3>(1e-2, 1e2);
    const Ray<Point<double, 3>> ray(&start, &direction);
    double t = -1;
    const Point<double, 3> foot = ray.project(p, t, 1e-12);
    EXPECT_NEAR((p - foot).dot(direction) / direction.length(), 0.0, 1e-12);
    EXPECT_THAT(foot, IsNear(Vector3(start + direction * t), 1e-12));
    const double distance = ray.distance(p, 1e-12);
    EXPECT_NEAR(distance, p.distance(ray.nearestPoint(p, 1e-12)), 1e-14);
    EXPECT_NEAR(distance, p.distance(t > 0 ? foot : start), 1e-12);
  });
}

TEST(RayTest, EpsBoundsTheParameter)
{
  const Point3N start(Vector3(1, 0, 0), Vector3(0, 0, 1));
  const Vector3 direction(0.5, 0, 0), none;
  const std::tuple<const char*, const Vector3*, Vector3, double, double, bool> rows[] = {
      {"at the bound", &direction, {5, 1, 0}, 0.125, 8, false},
      {"beyond the bound", &direction, {5, 1, 0}, 0.126, 0, true},
      {"behind", &direction, {0, 1, 0}, 0.1, -2, false},
      {"no direction", &none, {5, 1, 0}, 0.1, 0, true},
  };
  for (const auto& [what, along, p, eps, expectedT, isStart] : rows) {
    SCOPED_TRACE(what);
    const Ray<Point3N> ray(&start, along);
    double t = 99;
    const Point3N foot = ray.project(p, t, eps);
    EXPECT_EQ(t, expectedT);
    EXPECT_EQ(foot.hasNormal(), isStart) << "the start comes with its normal, a foot without";
    EXPECT_EQ(foot, Vector3(1 + 0.5 * expectedT, 0, 0));
    EXPECT_EQ(ray.nearestPoint(p, eps), Vector3(1 + 0.5 * std::max(expectedT, 0.0), 0, 0));
  }
}

TEST(RayTest, SidesOfPointsByTheDoubledArea)
{
  const Point2 start(1, 1);
  const Vector2 direction(2, 1);
  const Ray<Point2> ray(&start, &direction);
  const std::tuple<double, double, Side> rows[] = {
      {3.25, 0.5, Side::Below}, {3.25, 0.51, Side::On}, {2.75, 0.5, Side::Below}, {3.26, 0.5, Side::Above}};
  for (const auto& [y, eps, side] : rows)
    EXPECT_EQ(ray.positionOfPoint(Point2(5, y), eps), side) << y << " eps " << eps;
}

TEST(RayTest, MeetsRaysAndSegmentsWhereTheyWereBuiltToMeet)
{
  repeat(300, 53, [&](RandomGeometry& random) {
    const Point<double, 3> start(random.inCube<3>(3)), other(random.inCube<3>(3));
    const Vector3 e = random.ofAnySize<3>(0.1, 10);
    const double u = random.uniform(-1, 2);
    const Vector3 meeting = other + e * u;
    Vector3 d = (meeting - start) * random.uniform(-2, 2);
    if (std::abs(d.x() * e.y() - d.y() * e.x()) < 1e-2) return;
    d.z() = random.uniform(-1, 1);
    const Ray<Point<double, 3>> ray(&start, &d), otherRay(&other, &e);
    Point<double, 3> hit;
    EXPECT_EQ(ray.getIntersectionXY(&otherRay, hit, 1e-6), u > 0);
    EXPECT_THAT(hit, IsNear(meeting, 1e-9)) << "of this ray the whole line counts, in height the other";

    const Point<double, 3> end(other + e);
    const Segment<Point<double, 3>> segment(&other, &end);
    EXPECT_EQ(ray.getIntersectionXY(&segment, hit, 1e-6, false), u > 0 && u < 1);
    EXPECT_THAT(hit, IsNear(meeting, 1e-9));
    EXPECT_TRUE(ray.getIntersectionXY(&segment, hit, 1e-6, true));
    EXPECT_THAT(hit, IsNear(Vector3(other + e * std::clamp(u, 0.0, 1.0)), 1e-9));
  });
}

TEST(RayTest, ParallelLinesAreMissed)
{
  const Point2 a(0, 0), b(0, 1), onLine(3, 0), end(5, 0), endBeside(5, 1);
  const Segment<Point2> same(&onLine, &end), beside(&b, &endBeside);
  // In the last two rows only one of the quotients leaves the range of the numbers.
  const std::tuple<const Point2*, Vector2, Vector2> rows[] = {
      {&b, {2, 0}, {2, 0}}, {&onLine, {2, 0}, {2, 0}}, {&b, {1e-20, 0}, {1, 1e-303}}, {&b, {1, 0}, {1e-20, 1e-323}}};
  for (const auto& [start, d, e] : rows) {
    const Ray<Point2> ray(&a, &d), other(start, &e);
    Point2 hit;
    EXPECT_FALSE(ray.getIntersectionXY(&other, hit, 1e-6)) << d << " and " << e;
    EXPECT_FALSE(ray.getIntersectionXY(&same, hit, 1e-6, false)) << "coincident lines have no single crossing";
    EXPECT_FALSE(ray.getIntersectionXY(&beside, hit, 1e-6, true)) << "not even clamped";
  }
}

TEST(RayTest, TheEndsOfASegmentAreWidenedStrictly)
{
  const Point2 a(0, 0), b(1, 0), bases[] = {{-0.25, 1}, {-0.2, 1}, {0, 1}, {1, 1}, {1.2, 1}, {1.25, 1}};
  const bool expected[] = {false, true, true, true, true, false};
  const Vector2 down(0, -1), right(1, 0);
  const Segment<Point2> segment(&a, &b);
  for (std::size_t i = 0; i < 6; ++i) {
    Point2 hit;
    EXPECT_EQ(Ray<Point2>(&bases[i], &down).getIntersectionXY(&segment, hit, 0.25, false), expected[i]) << i;
    EXPECT_EQ(hit, Point2(bases[i].x(), 0)) << "also of a miss";
    const Ray<Point2> ray(&a, &right);
    EXPECT_EQ(Ray<Point2>(&bases[i], &down).getIntersectionXY(&ray, hit, 0.25), i > 0) << "a ray has no end";
  }
}

} // namespace
} // namespace Kavrel::Testing
