#include "geometry/Segment.h"

#include "geometry/Plane.h"
#include "support/BruteForce.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <algorithm>

namespace Kavrel::Testing {
namespace {

using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;
using Vector3 = Vector<double, 3>;
using Segment2 = Segment<Point2>;
using Segment3 = Segment<Point3>;

TEST(SegmentTest, OnlyThePlainPlaneHasAnExactCrossing)
{
  const Point3 a(0, 0, 0), b(2, 2, 0);
  Point3 out;
  EXPECT_THAT(([&] { Segment3(&a, &b).getIntersection(Segment3(&b, &a), out, 0.1); }),
              testing::Throws<const char*>(testing::StrEq("Not implemented")));
}

TEST(SegmentTest, DistancesAgreeWithExtendedPrecision)
{
  RandomGeometry random(71);
  for (int row = 0; row < 3000; ++row) {
    SCOPED_TRACE("row " + std::to_string(row));
    const double size = random.logUniform(1e-2, 1e3);
    Point3 points[5];
    for (Point3& p : points)
      p = random.inCube<3>(size) * (random.coin() ? 1.0 : 0.1);
    if (row % 5 == 0) points[3] = points[2] + (points[1] - points[0]) * random.uniform(-2, 2); // parallel
    if (row % 7 == 0) points[2] = points[0];                                                   // touching
    if (row % 11 == 0) points[1] = points[0];                                                  // a point
    const Segment3 a(&points[0], &points[1]), b(&points[2], &points[3]);
    const double pointDistance = std::sqrt(BruteForce::pointSegment(points[4], points[0], points[1]));
    const double pairDistance = std::sqrt(BruteForce::segmentSegment(points[0], points[1], points[2], points[3]));
    Point3 end;
    a.projectPoint(points[1], end, nullptr);
    EXPECT_EQ(end, points[1]);
    EXPECT_NEAR(a.distance(points[4]), pointDistance, 1e-13 * size);
    const Point3 nearest = a.nearestPoint(points[4]);
    EXPECT_NEAR(a.distance(points[4]), points[4].distance(nearest), 1e-14 * size);
    double t = 99;
    const Point3 foot = a.project(points[4], t);
    EXPECT_THAT(nearest, IsNear(Vector3(t < 0 ? points[0] : t > 1 ? points[1] : foot), 1e-14 * size));
    EXPECT_NEAR((points[4] - foot).dot(points[1] - points[0]), 0.0, 1e-12 * size * size);
    EXPECT_NEAR(a.distance(b), pairDistance, 1e-9 * size);
    EXPECT_NEAR(b.distance(a), pairDistance, 1e-9 * size);
  }
}

TEST(SegmentTest, TheEndsTakeAttributesAlong)
{
  const Point3NT a(Vector3(0, 0, 0), Vector3(0, 0, 2), Vector3(3, 0, 0)),
      b(Vector3(4, 0, 0), Vector3(0, 2, 0), Vector3(0, 3, 0)), bare(1, 1, 1);
  const Segment<Point3NT> segment(&a, &b);
  const Point3NT middle = segment.getPoint(0.5);
  const Vector3 blended(0, std::sqrt(0.5), std::sqrt(0.5));
  EXPECT_THAT(middle.getNormal(), IsNear(blended, 1e-15)) << "blended and normalised";
  EXPECT_EQ(middle.getTangent(), Vector3(1.5, 1.5, 0)) << "blended alone";
  EXPECT_EQ(segment.nearestPoint(Point3(-5, 1, 1)).getNormal(), a.getNormal()) << "an end as it is";
  Point3NT out;
  segment.projectPoint(Point3(9, 0, 0), out, nullptr);
  EXPECT_EQ(out.getTangent(), b.getTangent());
  EXPECT_EQ(segment.projectPoint(Point3(1, 5, 0), out, nullptr), 1);
  EXPECT_THAT(out.getNormal(), IsNear(Vector3(0, 0.5, 1.5).getNormalized(), 1e-15));
  EXPECT_FALSE(out.hasTangent());

  const std::tuple<double, Vector3> rows[] = {{-0.25, {0, 0, 1}}, {0.5, blended}, {1.25, {0, 1, 0}}};
  Vector3 n;
  for (const auto& [t, expectedN] : rows) {
    EXPECT_TRUE(segment.getNormalAtParameter(t, n));
    EXPECT_THAT(n, IsNear(expectedN, 1e-15)) << t;
  }
  EXPECT_FALSE(Segment<Point3NT>(&a, &bare).getPoint(0.0).hasNormal());
  EXPECT_FALSE(Segment<Point3NT>(&a, &bare).getNormalAtParameter(0.0, n));
  EXPECT_EQ(n, Vector3());
}

TEST(SegmentTest, MadePointsAreFixedAndUnplaced)
{
  const ConstraintPoint a(Vector3(0, 0, 0), Vector3(0, 0, 1), ConstraintPoint::Symmetry);
  const ConstraintPoint b(Vector3(4, 0, 0), Vector3(0, 0, 1), ConstraintPoint::Symmetry);
  double t = 0;
  EXPECT_EQ(Segment(&a, &b).getPoint(0.5).getConstraint(), ConstraintPoint::Fixed);
  EXPECT_EQ(Segment(&a, &b).project(Point3(1, 1, 0), t).getConstraint(), ConstraintPoint::Clamped) << "as assigned";
  EXPECT_EQ(Segment(&a, &b).nearestPoint(Point3(9, 1, 0)).getConstraint(), ConstraintPoint::Symmetry) << "an end";

  ProjectionPoint placed(Point3N(0, 0, 0));
  placed.setLogicalPosition(ProjectionPoint::Position1);
  EXPECT_EQ(Segment(&placed, &placed).getPoint(0.0).getLogicalPosition(), ProjectionPoint::NotPlaced);
}

TEST(SegmentTest, ProjectionCodesChangeAtTheirBounds)
{
  const Point3 a(0, 0, 0), b(1, 0, 0), p(0.5, 2, 0);
  const Segment3 segment(&a, &b);
  const std::tuple<double, int, int> rows[] = {{-2e-6, -1, -1}, {-5e-7, 1, -1},     {0, 1, 1},
                                               {1, 1, 1},       {1.0000005, 1, -2}, {1.000002, -2, -2}};
  for (const auto& [x, perpendicular, along] : rows) {
    SCOPED_TRACE(x);
    Point3 out;
    double t = 99;
    EXPECT_EQ(segment.projectPoint(Point3(x, 1, 3), out, &t), perpendicular);
    EXPECT_EQ(t, perpendicular == 1 ? x : perpendicular == -1 ? 0.0 : 1.0);
    EXPECT_EQ(segment.projectPoint(Point3(x, 1, 3), Vector3(0, -2, 7), out), along);
    EXPECT_EQ(out.x(), std::clamp(x, 0.0, 1.0));
  }
  Point3 out;
  double t = 99;
  EXPECT_EQ(Segment3(&a, &a).projectPoint(p, out, &t), 0);
  EXPECT_EQ(t, 1.0) << "without length";
  EXPECT_EQ(segment.projectPoint(p, Vector3(1, 3, 0), out), -1) << "from beyond the start, slanted";
  EXPECT_EQ(segment.projectPoint(p, Vector3(-0.2, 1, 0), out), 1);
  EXPECT_THAT(out, IsNear(Vector3(0.9, 0, 0), 1e-15));
  EXPECT_EQ(segment.projectPoint(p, Vector3(1, 0.9e-5, 0), out), 0) << "along the segment";
  EXPECT_EQ(out, p);
}

TEST(SegmentTest, BlendedTangentsDecideTheFoot)
{
  int found = 0;
  repeat(300, 72, [&](RandomGeometry& random) {
    const Vector3 along = random.direction<3>();
    const Vector3 t0 = along + random.inCube<3>(0.5), t1 = along + random.inCube<3>(0.5);
    const Point3NT a(random.inCube<3>(1), random.direction<3>(), t0), b(a + along * 2.0, random.direction<3>(), t1);
    const Point3 p(a + along * random.uniform(-1, 3) + random.inCube<3>(1));
    Point3NT out;
    const int code = Segment<Point3NT>(&a, &b).projectUsingInterpolatedTangents(p, out);
    const auto residual = [&](double t) { return (p - (a + (b - a) * t)).dot(t0 + (t1 - t0) * t); };
    if (code == 0) {
      EXPECT_EQ(out, b);
      for (int i = -100; i <= 100; ++i)
        EXPECT_GT(residual(i) * residual(i + 1), 0) << "no foot was found, so there is no change of sign";
    } else if (code == 1) {
      const double t = (out - a).length() / 2.0;
      EXPECT_NEAR(residual(t), 0.0, 1e-9);
      const Vector3 tangent = t0 + (t1 - t0) * t, normal = a.getNormal() + (b.getNormal() - a.getNormal()) * t;
      EXPECT_THAT(out.getTangent(), IsNear(tangent.getNormalized(), 1e-9));
      EXPECT_THAT(out.getNormal(), IsNear(normal.getNormalized(), 1e-9));
      ++found;
    } else {
      EXPECT_EQ(out, code == -1 ? a : b);
      EXPECT_GT(residual(0) * residual(1), 0);
    }
  });
  EXPECT_GT(found, 100);
}

TEST(SegmentTest, BlendedTangentsHaveUpToTwoFeet)
{
  const Vector3 x(1, 0, 0), end(2, 0, 0);
  const std::tuple<const char*, Vector3, Vector3, Vector3, Vector3, int, double> rows[] = {
      {"just before the start", end, x, x, {-1e-6, 3, 0}, 1, 0},
      {"before the start", end, x, x, {-4e-6, 3, 0}, -1, 0},
      {"just behind the end", end, x, x, {2.000001, 3, 0}, 1, 2},
      {"behind the end", end, x, x, {2.000004, 3, 0}, -2, 2},
      // Tangents that turn around make the middle a foot of every point.
      {"the nearer foot is the first", end, x, -x, {0.75, 0, 0}, 1, 0.75},
      {"the nearer foot is the second", end, x, -x, {1.25, 0, 0}, 1, 1.25},
      {"equally far feet: the second", end, {1, -1, 0}, {-1, 1, 0}, {1.25, -0.25, 0}, 1, 1.5},
      {"no length", {}, x, x, {0.5, 3, 0}, 0, 0},
      {"roots beyond the numbers", {2, 1e-140, 0}, x, {1, 1e-160, 0}, {0.5, 3, 0}, -2, 2},
      {"a root that is no number", {2, 2.3e-148, 0}, {10, 0, 0}, {10, 1e-160, 0}, {0.5, 3, 0}, -1, 0},
  };
  for (const auto& [what, last, firstTangent, lastTangent, p, code, expectedFoot] : rows) {
    SCOPED_TRACE(what);
    const Point3NT a(Vector3(), Vector3(), firstTangent), b(last, Vector3(), lastTangent);
    Point3NT out;
    EXPECT_EQ(Segment<Point3NT>(&a, &b).projectUsingInterpolatedTangents(p, out), code);
    EXPECT_NEAR(out.x(), expectedFoot, 1e-15);
  }
}

TEST(SegmentTest, MeetsPlanesWithinItsWidenedEnds)
{
  const std::pair<double, bool> rows[] = {
      {-3e-6, false}, {-1e-6, true}, {1.5, true}, {2.000001, true}, {2.000003, false}};
  const Point3 a(1, 1, 0), b(1, 1, 2), low(1, 1, 9e-7);
  for (const auto& [height, meets] : rows)
    for (const double sign : {1.0, -1.0}) {
      SCOPED_TRACE(testing::Message() << height << (sign < 0 ? ", facing down" : ", facing up"));
      double t = 99;
      Point3 out(9, 9, 9);
      EXPECT_EQ(Segment3(&a, &b).getIntersectionWithPlane({Vector3(0, 0, sign), sign * height}, t, out), meets);
      EXPECT_NEAR(t, meets ? height / 2 : 99, 1e-15);
      EXPECT_THAT(out, IsNear(meets ? Vector3(1, 1, height) : Vector3(9, 9, 9), 1e-15));
    }
  double t = 99;
  Point3 out;
  EXPECT_FALSE(Segment3(&a, &low).getIntersectionWithPlane({Vector3(0, 0, 1), 0.0}, t, out)) << "too short to tell";
  EXPECT_FALSE(Segment3(&a, &b).getIntersectionWithPlane({Vector3(1, 0, 0), 1.0}, t, out)) << "in the plane";
}

TEST(SegmentTest, CrossingsKeepAwayFromTheEnds)
{
  const std::tuple<const char*, Point2, Point2, Point2, Point2, double, bool> rows[] = {
      {"within eps of an end", {0, 0}, {4, 0}, {0.09, -1}, {0.09, 1}, 0.1, false},
      {"at eps of an end", {0, 0}, {4, 0}, {0.25, -1}, {0.25, 1}, 0.25, true},
      {"touching, eps 0", {0, 0}, {4, 0}, {2, 1}, {2, 0}, 0, true},
      {"touching", {0, 0}, {4, 0}, {2, 0}, {2, 1}, 1e-9, false},
      {"one as short as eps", {0, 0}, {4, 0}, {2, -0.25}, {2, 0.25}, 0.5, false},
      {"slope at eps", {0, 0}, {1, 0}, {0.5, -0.5}, {0.5, 0.5}, 0.5, false},
      {"too shallow for eps", {0, 0}, {4, 0}, {0, -0.05}, {4, 0.05}, 0.05, false},
      {"shallow, eps 0", {0, 0}, {4, 0}, {0, -0.05}, {4, 0.05}, 0, true},
  };
  for (const auto& [what, a, b, c, d, eps, crosses] : rows) {
    SCOPED_TRACE(what);
    const Segment2 first(&a, &b), second(&c, &d);
    Point2 out;
    EXPECT_EQ(first.getIntersection(second, out, eps), crosses);
    EXPECT_EQ(second.intersect(first, eps), crosses);
    EXPECT_TRUE(!crosses || first.distance(out) + second.distance(out) < 1e-15);
  }
  RandomGeometry random(73);
  for (int i = 0; i < 2000; ++i) {
    Point2 p[4];
    for (Point2& q : p)
      q = random.inCube<2>(2);
    const auto turn = [&p](int a, int b, int c) { return (p[b] - p[a]).cross(p[c] - p[a]) > 0; };
    const bool cross = turn(0, 1, 2) != turn(0, 1, 3) && turn(2, 3, 0) != turn(2, 3, 1);
    EXPECT_EQ(Segment2(&p[0], &p[1]).intersect(Segment2(&p[2], &p[3]), 0.0), cross) << i;
  }
}

TEST(SegmentTest, LinesCrossAlikeSeenAlongEitherAxis)
{
  repeat(300, 74, [&](RandomGeometry& random) {
    Point3 p[4], swapped[4];
    for (int i = 0; i < 4; ++i) {
      p[i] = random.inCube<3>(3);
      swapped[i] = Point3(p[i].x(), p[i].z(), p[i].y());
    }
    const Segment3 a(&p[0], &p[1]), b(&p[2], &p[3]), a2(&swapped[0], &swapped[1]), b2(&swapped[2], &swapped[3]);
    double u = 0, v = 0, u2 = 0, v2 = 0;
    Point3 out, out2;
    ASSERT_TRUE(a.checkIntersectionXY(&b, u, v, out));
    const Vector3 onOther = p[2] + (p[3] - p[2]) * v, onThis = p[0] + (p[1] - p[0]) * u;
    const double accuracy = 1e-11 * (1 + std::abs(u) + std::abs(v));
    EXPECT_THAT(out, IsNear(onThis, accuracy)) << "its own height";
    EXPECT_THAT(out, IsNear(Vector3(onOther.x(), onOther.y(), out.z()), accuracy));
    ASSERT_TRUE(a2.checkIntersectionXZ(&b2, u2, v2, out2));
    EXPECT_EQ(u, u2);
    EXPECT_EQ(v, v2);
  });
  const Point3 a(0, 0, 0), b(1e-3, 0, 0), c(0, 1e-3, 0);
  const Segment3 first(&a, &b), second(&a, &c);
  double u = 0, v = 0;
  Point3 out;
  EXPECT_FALSE(first.checkIntersectionXY(&second, u, v, out)) << "the bound is absolute";
}

TEST(SegmentTest, SubtractionTellsVerticesByTheirAddress)
{
  const Point3 p[] = {{0, 0, 0}, {4, 0, 0}, {1, 0, 0}, {3, 0, 0}, {4, 0, 0}, {6, 0, 0}, {2, 1, 0}, {2, 0.5, 5}};
  const Segment3 whole(&p[0], &p[1]);
  const std::tuple<const char*, int, int, std::vector<std::pair<int, int>>> rows[] = {
      {"itself", 0, 1, {}},
      {"the middle", 2, 3, {{0, 2}, {3, 1}}},
      {"the middle, reversed", 3, 2, {{0, 2}, {3, 1}}},
      {"a neighbour behind its end", 4, 5, {{0, 4}}},
      {"beside", 6, 6, {{0, 1}}},
  };
  for (const auto& [what, from, to, expectedPieces] : rows) {
    SCOPED_TRACE(what);
    std::vector<Segment3> pieces;
    whole.subtract(Segment3(&p[from], &p[to]), pieces, 1e-6, 1e-6);
    ASSERT_EQ(pieces.size(), expectedPieces.size());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      EXPECT_EQ(pieces[i].getStart(), &p[expectedPieces[i].first]);
      EXPECT_EQ(pieces[i].getEnd(), &p[expectedPieces[i].second]);
    }
  }
  const Point3 slanted[] = {{1, 0, 0}, {3, 3.9e-5, 0}, {3, 4.1e-5, 0}};
  const Point3 small[] = {{0, 0, 0}, {1e-3, 0, 0}, {5e-4, 0, 0}, {5e-4, 0.9e-3, 0}, {5e-4, 1.1e-3, 0}};
  std::vector<Segment3> pieces(3);
  for (const int parallel : {1, 0}) {
    whole.subtract(Segment3(&slanted[0], &slanted[2 - parallel]), pieces, 1e-6, 1e-6);
    EXPECT_EQ(pieces.size(), 1u + parallel) << "by the angle";
    Segment3(&small[0], &small[1]).subtract(Segment3(&small[2], &small[4 - parallel]), pieces, 1e-9, 1e-9);
    EXPECT_EQ(pieces.size(), 1u + parallel) << "short ones by the area, too";
  }
}

TEST(SegmentTest, ParallelSegmentsShareAnOverlapOrAContact)
{
  const Point2 p[] = {{0, 0}, {4, 0}, {1, 1e-4}, {6, 1e-4}, {2, 0}, {2, 1e-5}, {4, 0}, {9, 0}, {5, 0}, {0, 1}, {3, 1}};
  // From -1: they share a crossing point.
  const std::tuple<const char*, int, int, int, int, bool, int, int, double> rows[] = {
      {"overlap", 0, 1, 2, 3, true, 2, 1, 0},
      {"end to end", 0, 1, 6, 7, true, 6, 1, 0},
      {"from the same place", 6, 7, 1, 8, true, 6, 8, 0},
      {"to the same place", 0, 1, 4, 6, true, 4, 1, 0},
      {"apart on one line", 0, 1, 8, 7, false, 0, 0, 0},
      {"side by side", 0, 1, 9, 10, false, 0, 0, 0},
      {"short on the other", 4, 5, 0, 1, true, -1, 0, 0.5},
      {"both short, far", 4, 5, 0, 0, false, -1, 0, 0},
  };
  for (const auto& [what, a, b, c, d, shared, from, to, v] : rows) {
    SCOPED_TRACE(what);
    const Segment2 first(&p[a], &p[b]), second(&p[c], &p[d]);
    Segment2::Intersection result;
    EXPECT_EQ(first.checkIntersectionXY(&second, result, 1e-6, 1e-6), shared);
    if (from == -1) {
      const auto& contact = std::get<Segment2::PointIntersection>(result);
      EXPECT_EQ(contact.point, p[a]);
      EXPECT_EQ(contact.u, 0.0);
      EXPECT_EQ(contact.v, v);
    } else if (shared) {
      const auto& overlap = std::get<Segment2>(result);
      EXPECT_EQ(overlap.getStart(), &p[from]);
      EXPECT_EQ(overlap.getEnd(), &p[to]);
    }
  }
}

} // namespace
} // namespace Kavrel::Testing
