#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/Triangle.h"
#include "support/BruteForce.h"
#include "support/Matchers.h"
#include "support/OwnTriangle.h"
#include "support/RandomGeometry.h"

#include <array>
#include <gtest/gtest.h>

namespace Kavrel {
namespace {

using namespace Testing;
using Vector3 = Vector<double, 3>;
using Point3 = Point<double, 3>;

/// A triangle of the given size anywhere near the origin, not thinner than a twentieth of its size.
std::array<Vector3, 3> randomCorners(RandomGeometry& random, double size)
{
  for (;;) {
    const auto at = random.inCube<3>(size);
    const std::array<Vector3, 3> p = {at + random.inCube<3>(size), at + random.inCube<3>(size),
                                      at + random.inCube<3>(size)};
    if ((p[1] - p[0]).cross(p[2] - p[0]).length() > 0.05 * size * size) return p;
  }
}

TEST(TriangleGeometry, nearestPointAgreesWithBruteForceForAllSizes)
{
  repeat(3000, 511, [&](RandomGeometry& random) {
    const double size = random.logUniform(1e-5, 1e5);
    const auto [a, b, c] = randomCorners(random, size);
    const OwnTriangle triangle(a, b, c);
    const Point3 p = a + random.ofAnySize<3>(1e-2 * size, 10 * size);

    const XiEtaPoint place = triangle->getNearestPointXiEta(p);
    const double expected = BruteForce::pointTriangle(p, a, b, c);
    EXPECT_NEAR(triangle->getPointSqrDistance(p), expected, 1e-12 * (expected + size * size));
    EXPECT_DOUBLE_EQ(p.sqrDistance(triangle->getNearestPoint(p)), triangle->getPointSqrDistance(p));
    EXPECT_GE(place.getXi(), 0);
    EXPECT_GE(place.getEta(), 0);
    EXPECT_LE(place.getXi() + place.getEta(), 1 + 1e-12);
    EXPECT_EQ(place.getElementIdx(), 7U);
    for (const Vertex& corner : triangle.corners)
      EXPECT_EQ(triangle->getPointSqrDistance(corner), 0);
    // Another corner first: the same nearest point.
    EXPECT_NEAR(OwnTriangle(b, c, a)->getPointDistance(p), triangle->getPointDistance(p), 1e-9 * size);
  });
}

TEST(TriangleGeometry, nearestPlaceIsExactBeyondCornersAndEdges)
{
  const OwnTriangle triangle({0, 0, 0}, {2, 0, 0}, {0, 4, 0});
  const std::tuple<const char*, Point3, double, double> rows[] = {{"beyond corner 0", {-1, -1, 5}, 0, 0},
                                                                  {"beyond corner 1", {7, -1, -2}, 1, 0},
                                                                  {"beyond corner 2", {-0.5, 9, 0}, 0, 1},
                                                                  {"at corner 0", {0, 0, 0}, 0, 0},
                                                                  {"at corner 1", {2, 0, 0}, 1, 0},
                                                                  {"at corner 2", {0, 4, 0}, 0, 1},
                                                                  {"beside edge 01", {0.5, -3, 1}, 0.25, 0},
                                                                  {"beside edge 02", {-3, 1, 1}, 0, 0.25},
                                                                  {"beside edge 12", {1 + 4, 2 + 2, 3}, 0.5, 0.5},
                                                                  {"above the face", {0.5, 1, 8}, 0.25, 0.25}};
  for (const auto& [where, point, xi, eta] : rows) {
    SCOPED_TRACE(where);
    const XiEtaPoint place = triangle->getNearestPointXiEta(point);
    EXPECT_EQ(place.getXi(), xi);
    EXPECT_EQ(place.getEta(), eta);
  }
}

TEST(TriangleGeometry, degenerateTrianglesStillGiveOneOfTheirPoints)
{
  const std::tuple<const char*, std::array<Vector3, 3>, Point3, double> rows[] = {
      {"one point", {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}}, {4, 5, 1}, 25},
      {"corners 0 and 1 equal, not the nearest", {{{0, 0, 0}, {0, 0, 0}, {2, 0, 0}}}, {1, 1, 0}, 2},
      {"corners 0 and 2 equal", {{{0, 0, 0}, {2, 0, 0}, {0, 0, 0}}}, {1, 1, 0}, 1},
      {"corners 1 and 2 equal", {{{0, 0, 0}, {2, 0, 0}, {2, 0, 0}}}, {1, 1, 0}, 1},
      {"three on a line", {{{0, 0, 0}, {1, 0, 0}, {3, 0, 0}}}, {2, 2, 0}, 4},
      {"three on a line, middle first", {{{1, 0, 0}, {0, 0, 0}, {3, 0, 0}}}, {2, 2, 0}, 4}};
  for (const auto& [what, corners, point, sqrDistance] : rows) {
    SCOPED_TRACE(what);
    const auto& [a, b, c] = corners;
    EXPECT_DOUBLE_EQ(OwnTriangle(a, b, c)->getPointSqrDistance(point), sqrDistance);
  }
}

TEST(TriangleGeometry, lineCrossesWhereBruteForceSays)
{
  int inside = 0;
  repeat(3000, 513, [&](RandomGeometry& random) {
    const double size = random.logUniform(1e-3, 1e3);
    const auto [a, b, c] = randomCorners(random, size);
    const OwnTriangle triangle(a, b, c);
    const Point3 origin = a + random.inCube<3>(3 * size);
    const Vector3 target = a + (b - a) * random.uniform(-0.5, 1.5) + (c - a) * random.uniform(-0.5, 1.5);
    // Neither length nor sign of the direction may matter.
    const Vector3 direction = (target - origin) * random.uniform(-3, 3);

    XiEtaPoint place;
    const int result = triangle->computeIntersection(origin, direction, place);
    const bool hit = BruteForce::lineTriangle(origin, direction, a, b, c).has_value();
    if (std::min({place.getXi(), place.getEta(), 1 - place.getXi() - place.getEta()}) < 1e-9 && hit) return;
    EXPECT_EQ(result, hit ? 2 : 1);
    EXPECT_EQ(place.getElementIdx(), 7U);
    EXPECT_NEAR((triangle->getPoint(place) - target).length(), 0, 1e-6 * size);
    inside += hit;
  });
  EXPECT_GT(inside, 300);
}

TEST(TriangleGeometry, lineParallelToThePlaneLeavesThePlaceAlone)
{
  const OwnTriangle triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  for (const Vector3& direction : {Vector3(1, 0, 0), Vector3(-2, 5, 0), Vector3(0, 0, 0)}) {
    XiEtaPoint place(0.7, 0.8);
    EXPECT_EQ(triangle->computeIntersection(Point3(0.2, 0.2, 0), direction, place), 0);
    EXPECT_EQ(place.getXi(), 0.7);
    EXPECT_EQ(place.getEta(), 0.8);
    EXPECT_FALSE(place.isElementIdxValid());
  }
}

TEST(TriangleGeometry, lineHitsIncludeTheBorder)
{
  const OwnTriangle triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  const std::tuple<double, double, int> rows[] = {
      {0, 0, 2}, {1, 0, 2}, {0, 1, 2}, {0.5, 0.5, 2}, {0, 0.5, 2}, {-1e-12, 0.5, 1}, {0.5, 0.5 + 1e-12, 1}};
  for (const auto& [x, y, result] : rows) {
    SCOPED_TRACE(testing::Message() << x << " " << y);
    XiEtaPoint place;
    EXPECT_EQ(triangle->computeIntersection(Point3(x, y, 4), Vector3(0, 0, 1), place), result);
  }
}

TEST(TriangleGeometry, pointWithinTolerance)
{
  const OwnTriangle triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  const std::tuple<const char*, Point3, double, int, double, double> rows[] = {
      {"above, exactly within", {0.25, 0.25, 0.5}, 0.5, 2, 0.25, 0.25},
      {"above, too far", {0.25, 0.25, 0.5}, 0.49, 0, 0.25, 0.25},
      {"beside, in the plane", {-2, 0.5, 0.25}, 0.25, 1, 0, 0.5},
      {"below the plane counts as well", {-2, 0.5, -0.25}, 0.25, 1, 0, 0.5},
      {"beside and above", {-2, 0.5, 0.25}, 0.2, 0, 0, 0.5}};
  for (const auto& [where, point, tolerance, result, xi, eta] : rows) {
    SCOPED_TRACE(where);
    XiEtaPoint place;
    EXPECT_EQ(triangle->computeIntersection(point, tolerance, place), result);
    EXPECT_EQ(place.getXi(), xi);
    EXPECT_EQ(place.getEta(), eta);
    EXPECT_EQ(place.getElementIdx(), 7U);
  }
}

TEST(TriangleGeometry, projectionLeavesOnlyTheWayAlongTheNormal)
{
  repeat(500, 517, [&](RandomGeometry& random) {
    const auto [a, b, c] = randomCorners(random, 1);
    const OwnTriangle triangle(a, b, c);
    const Point3 p = random.inCube<3>(5);
    XiEtaPoint place;
    triangle->getXiEtaOfProjection(place, p);
    EXPECT_EQ(place.getElementIdx(), 7U);
    EXPECT_NEAR((p - triangle->getPoint(place)).cross(triangle->getNormal()).length(), 0, 1e-10);
  });
}

TEST(TriangleGeometry, insideIsMeasuredInBarycentricCoordinatesAtAnyHeight)
{
  const OwnTriangle triangle({0, 0, 0}, {4, 0, 0}, {0, 4, 0});
  // The barycentric coordinates of (x, y) are 1 - x/4 - y/4, x/4 and y/4.
  const std::tuple<const char*, double, double, double, bool> rows[] = {
      {"in the middle", 1, 1, 0, true},
      {"on an edge", 0, 2, 0, true},
      {"at a corner", 4, 0, 0, true},
      {"beyond edge 02", -0.5, 1, 0.125, true},
      {"too far beyond edge 02", -0.5, 1, 0.12, false},
      {"beyond edge 01", 1, -0.5, 0.125, true},
      {"too far beyond edge 01", 1, -0.5, 0.12, false},
      {"beyond edge 12", 2.5, 2, 0.125, true},
      {"too far beyond edge 12", 2.5, 2, 0.12, false},
      {"beyond corner 1", 5, -0.5, 0.125, true},
      {"too far beyond corner 1", 5, -0.5, 0.12, false}};
  for (const auto& [where, x, y, tolerance, inside] : rows)
    for (const double height : {0.0, 3.0, -1e6}) {
      SCOPED_TRACE(testing::Message() << where << ", height " << height);
      EXPECT_EQ(triangle->isPointInside(Point3(x, y, height), tolerance), inside);
    }
}

TEST(TriangleGeometry, tinyTriangleContainsNothing)
{
  // |e1 x e2| just below and just above 1e-12.
  const OwnTriangle below({0, 0, 0}, {0.99e-6, 0, 0}, {0, 1e-6, 0});
  const OwnTriangle above({0, 0, 0}, {1.01e-6, 0, 0}, {0, 1e-6, 0});
  const Point3 centre(2e-7, 2e-7, 0);
  EXPECT_FALSE(below->isPointInside(centre, 1e9));
  EXPECT_TRUE(above->isPointInside(centre, 0));
  EXPECT_EQ(below->getNormal(), Vector3());
  EXPECT_EQ(above->getNormal(), Vector3(0, 0, 1));
}

TEST(TriangleGeometry, areaAndNormalFollowARotationOfTheCorners)
{
  repeat(200, 519, [&](RandomGeometry& random) {
    const double size = random.logUniform(1e-4, 1e6);
    const auto [a, b, c] = randomCorners(random, size);
    const OwnTriangle triangle(a, b, c), turned(b, c, a), flipped(a, c, b);
    EXPECT_NEAR(turned->getArea(), triangle->getArea(), 1e-12 * size * size);
    EXPECT_THAT(turned->getNormal(), IsNear(triangle->getNormal(), 1e-11));
    EXPECT_THAT(flipped->getNormal(), IsNear(-triangle->getNormal(), 1e-11));
    EXPECT_NEAR(triangle->getNormal().dot(b - c), 0, 1e-11 * size);
  });
}

TEST(TriangleGeometry, centreMultipliesByARoundedThird)
{
  EXPECT_EQ(OwnTriangle({1, 0, 0}, {2, 0, 0}, {2, 0, 0})->getCenter().x(), 1.6666666666666665);
}

TEST(TriangleGeometry, normalsBlendAsSoonAsOneCornerHasOne)
{
  const Vector3 x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
  OwnTriangle triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  const XiEtaPoint middle(0.25, 0.5);
  EXPECT_EQ(triangle->getNormal(middle), z);
  EXPECT_EQ(triangle->getInterpolatedVertexNormal(), z);

  triangle.corners[1].setNormal(x * 3.0);
  EXPECT_EQ(triangle->getNormal(middle), x);
  EXPECT_EQ(triangle->getNormal(XiEtaPoint(0, 0)), Vector3()) << "nothing to blend at corner 0";
  EXPECT_FALSE(triangle->getPointAndNormal(XiEtaPoint(0, 0)).hasNormal());
  EXPECT_EQ(triangle->getInterpolatedVertexNormal(), z);

  triangle.corners[0].setNormal(z);
  triangle.corners[2].setNormal(y * 4.0);
  const Vector3 blend(0.25 * 3.0, 0.5 * 4.0, 0.25);
  EXPECT_THAT(triangle->getNormal(middle), IsNear(blend / blend.length(), 1e-15));
  const Vector3 sum(3, 4, 1);
  EXPECT_THAT(triangle->getInterpolatedVertexNormal(), IsNear(sum / sum.length(), 1e-15));

  const Point3N nearest = triangle->getNearestPoint(Point3(0.25, 0.5, 9));
  EXPECT_THAT(nearest, IsNear(Vector3(0.25, 0.5, 0), 1e-15));
  EXPECT_THAT(nearest.getNormal(), IsNear(blend / blend.length(), 1e-15));
}

} // namespace
} // namespace Kavrel
