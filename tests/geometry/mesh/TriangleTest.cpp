#include "geometry/mesh/Triangle.h"

#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/MeshAlgorithm.h"
#include "geometry/mesh/TriangleUtilities.h"
#include "support/BruteForce.h"
#include "support/Matchers.h"
#include "support/OwnTriangle.h"
#include "support/RandomGeometry.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace Kavrel {
namespace {

using namespace Testing;
using Vector3 = Vector<double, 3>;
using Point3 = Point<double, 3>;
using Corners = std::array<Vector3, 3>;

/// A triangle of the given size anywhere near the origin, not thinner than a twentieth of its size.
Corners randomCorners(RandomGeometry& random, double size)
{
  for (;;) {
    const auto at = random.inCube<3>(size);
    const Corners p = {at + random.inCube<3>(size), at + random.inCube<3>(size), at + random.inCube<3>(size)};
    if ((p[1] - p[0]).cross(p[2] - p[0]).length() > 0.05 * size * size) return p;
  }
}

TEST(TriangleGeometry, nearestPlaceIsExactBeyondCornersAndEdges)
{
  const OwnTriangle triangle({0, 0, 0}, {2, 0, 0}, {0, 4, 0});
  const std::tuple<Point3, double, double> rows[] = {
      {{-1, -1, 5}, 0, 0},   {{7, -1, -2}, 1, 0},   {{-0.5, 9, 0}, 0, 1},
      {{2, 0, 0}, 1, 0},     {{0, 4, 0}, 0, 1},     {{0.5, -3, 1}, 0.25, 0},
      {{-3, 1, 1}, 0, 0.25}, {{5, 4, 3}, 0.5, 0.5}, {{0.5, 1, 8}, 0.25, 0.25}};
  for (const auto& [point, xi, eta] : rows) {
    SCOPED_TRACE(point);
    const XiEtaPoint place = triangle->getNearestPointXiEta(point);
    EXPECT_EQ(place.getXi(), xi);
    EXPECT_EQ(place.getEta(), eta);
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

    triangle->getXiEtaOfProjection(place, origin);
    const Vector3 way = origin - triangle->getPoint(place);
    EXPECT_NEAR(way.cross(triangle->getNormal()).length(), 0, 1e-8 * size);
  });
  EXPECT_GT(inside, 300);
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
  XiEtaPoint untouched(0.7, 0.8);
  EXPECT_EQ(triangle->computeIntersection(Point3(0.2, 0.2, 0), Vector3(-2, 5, 0), untouched), 0) << "parallel";
  EXPECT_TRUE(untouched.getXi() == 0.7 && !untouched.isElementIdxValid());
}

TEST(TriangleGeometry, pointWithinTolerance)
{
  const OwnTriangle triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  const std::tuple<const char*, Point3, double, int> rows[] = {
      {"above, exactly within", {0.25, 0.25, 0.5}, 0.5, 2},
      {"above, too far", {0.25, 0.25, 0.5}, 0.49, 0},
      {"beside, in the plane", {-2, 0.5, 0.25}, 0.25, 1},
      {"below the plane counts as well", {-2, 0.5, -0.25}, 0.25, 1},
      {"beside and above", {-2, 0.5, 0.25}, 0.2, 0}};
  for (const auto& [where, point, tolerance, result] : rows) {
    SCOPED_TRACE(where);
    XiEtaPoint place;
    EXPECT_EQ(triangle->computeIntersection(point, tolerance, place), result);
  }
}

TEST(TriangleGeometry, insideIsMeasuredInBarycentricCoordinatesAtAnyHeight)
{
  const OwnTriangle triangle({0, 0, 0}, {4, 0, 0}, {0, 4, 0});
  // The barycentric coordinates of (x, y) are 1 - x/4 - y/4, x/4 and y/4.
  const std::tuple<const char*, double, double, double, bool> rows[] = {
      {"in the middle", 1, 1, 0, true},         {"on an edge", 0, 2, 0, true},
      {"beyond edge 02", -0.5, 1, 0.125, true}, {"too far beyond edge 02", -0.5, 1, 0.12, false},
      {"beyond edge 01", 1, -0.5, 0.125, true}, {"too far beyond edge 01", 1, -0.5, 0.12, false},
      {"beyond edge 12", 2.5, 2, 0.125, true},  {"too far beyond edge 12", 2.5, 2, 0.12, false}};
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

  triangle.corners[1].setNormal(x * 3.0);
  EXPECT_EQ(triangle->getNormal(middle), x);
  EXPECT_FALSE(triangle->getPointAndNormal(XiEtaPoint(0, 0)).hasNormal()) << "nothing to blend at corner 0";
  EXPECT_EQ(triangle->getInterpolatedVertexNormal(), z);

  triangle.corners[0].setNormal(z);
  triangle.corners[2].setNormal(y * 4.0);
  const Vector3 blend(0.25 * 3.0, 0.5 * 4.0, 0.25), sum(3, 4, 1);
  EXPECT_THAT(triangle->getInterpolatedVertexNormal(), IsNear(sum / sum.length(), 1e-15));
  const Point3N nearest = triangle->getNearestPoint(Point3(0.25, 0.5, 9));
  EXPECT_THAT(nearest, IsNear(Vector3(0.25, 0.5, 0), 1e-15));
  EXPECT_THAT(nearest.getNormal(), IsNear(blend / blend.length(), 1e-15));
}

struct Curvature
{
  explicit Curvature(const Triangle& triangle) { known = triangle.getCurvature(dir1, k1, dir2, k2, cosine); }

  bool known = false;
  Vector3 dir1{9, 9, 9}, dir2{9, 9, 9};
  double k1 = 9, k2 = 9, cosine = 9;
};

/// Normals that turn by the symmetric matrix [[xx, xy], [xy, yy]] over the xy plane.
void setTurningNormals(OwnTriangle& t, double xx, double xy, double yy)
{
  for (Vertex& corner : t.corners)
    corner.setNormal(xx * corner.x() + xy * corner.y(), xy * corner.x() + yy * corner.y(), 1);
}

// A linear turn of the normals is fitted without residue, so its eigenvectors are the answer.
TEST(TriangleCurvature, solvesTheEigenproblemOfALinearTurn)
{
  repeat(1000, 523, [&](RandomGeometry& random) {
    OwnTriangle t({random.uniform(-1, 1), random.uniform(-1, 1), 0}, {random.uniform(2, 3), random.uniform(-1, 1), 0},
                  {random.uniform(-1, 1), random.uniform(2, 3), 0});
    const double xx = random.uniform(-2, 2), xy = random.uniform(-2, 2), yy = random.uniform(-2, 2);
    setTurningNormals(t, xx, xy, yy);
    const Curvature c(t.triangle);
    ASSERT_TRUE(c.known);
    EXPECT_NEAR(c.k1 + c.k2, xx + yy, 1e-9);
    EXPECT_NEAR(c.k1 * c.k2, xx * yy - xy * xy, 1e-9);
    EXPECT_GE(std::abs(c.k1), std::abs(c.k2));

    const auto turned = [&](const Vector3& d) { return Vector3(xx * d.x() + xy * d.y(), xy * d.x() + yy * d.y(), 0); };
    EXPECT_THAT(turned(c.dir1), IsNear(c.k1 * c.dir1, 1e-8));
    EXPECT_THAT(turned(c.dir2), IsNear(c.k2 * c.dir2, 1e-8));
    // Both are scaled by their curvature. Undone, both unit directions point to the side of positive v.
    const Vector3 u = (t.corners[1] - t.corners[0]).getNormalized();
    const Vector3 v(-u.y(), u.x(), 0);
    EXPECT_GE((c.dir1 / c.k1).dot(v), -1e-9);
    EXPECT_GE((c.dir2 / c.k2).dot(v), -1e-9);
    EXPECT_NEAR((c.dir1 / c.k1).dot(u), c.cosine, 1e-9);

    const auto data = TriangleUtilities::computeBasisWithFundamentalForm2(t.triangle);
    ASSERT_TRUE(data);
    EXPECT_THAT(data->u, IsNear(u, 1e-12));
    EXPECT_THAT(data->v, IsNear(v, 1e-12));
    EXPECT_NEAR(data->form(0, 0), turned(u).dot(u), 1e-9);
    EXPECT_NEAR(data->form(0, 1), turned(u).dot(v), 1e-9);
    EXPECT_NEAR(data->form(1, 0), turned(u).dot(v), 1e-9);
    EXPECT_NEAR(data->form(1, 1), turned(v).dot(v), 1e-9);
  });
}

TEST(TriangleCurvature, diagonalFormsHaveTheBasisAsDirections)
{
  const std::tuple<double, double, double, double, Vector3, Vector3> rows[] = {
      {2, 2, 2, 2, {2, 0, 0}, {0, 2, 0}}, {2, -2, -2, 2, {0, -2, 0}, {2, 0, 0}}, {-2, 2, -2, 2, {-2, 0, 0}, {0, 2, 0}},
      {3, 1, 3, 1, {3, 0, 0}, {0, 1, 0}}, {1, 3, 3, 1, {0, 3, 0}, {1, 0, 0}},    {-3, 1, -3, 1, {-3, 0, 0}, {0, 1, 0}},
      {0, 2, 2, 0, {0, 2, 0}, {0, 0, 0}}, {-2, 0, -2, 0, {-2, 0, 0}, {0, 0, 0}}, {0, 0, 0, 0, {0, 0, 0}, {0, 0, 0}}};
  for (const auto& [xx, yy, k1, k2, dir1, dir2] : rows) {
    SCOPED_TRACE(testing::Message() << xx << ", " << yy);
    OwnTriangle t({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    setTurningNormals(t, xx, 0, yy);
    const Curvature c(t.triangle);
    EXPECT_TRUE(c.known && c.k1 == k1 && c.k2 == k2) << c.k1 << ", " << c.k2;
    EXPECT_EQ(c.dir1, dir1);
    EXPECT_EQ(c.dir2, dir2);
  }
}

TEST(TriangleCurvature, nearlyDiagonalFormsStayFinite)
{
  for (const double off : {1e-3, -1e-9, 1e-20, -1e-160, 1e-300, -1e-300})
    for (const auto& [xx, yy] : {std::pair(1.0, 3.0), std::pair(3.0, 1.0), std::pair(-3.0, 1.0), std::pair(2.0, 2.0)}) {
      SCOPED_TRACE(testing::Message() << off << ": " << xx << ", " << yy);
      OwnTriangle t({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
      setTurningNormals(t, xx, off, yy);
      const Curvature c(t.triangle);
      EXPECT_NEAR(c.dir1.length(), std::abs(c.k1), 1e-9);
      EXPECT_NEAR(c.dir2.length(), std::abs(c.k2), 1e-9);
      EXPECT_NEAR(c.dir1.dot(c.dir2), 0, 1e-9);
    }
}

TEST(TriangleCurvature, needsAllThreeNormals)
{
  for (unsigned missing = 0; missing < 3; ++missing) {
    OwnTriangle t({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    setTurningNormals(t, 1, 2, 3);
    t.corners[missing].clearNormal();
    const Curvature c(t.triangle);
    EXPECT_FALSE(c.known);
    EXPECT_TRUE(c.k1 == 0 && c.k2 == 0 && c.cosine == 0);
    EXPECT_TRUE(c.dir1 == Vector3() && c.dir2 == Vector3());
  }
}

double circumcentricArea(const Vector3& p, const Vector3& q, const Vector3& r)
{
  const Vector3 a = q - p, b = r - p, n = a.cross(b);
  const Vector3 toCentre = (n.cross(a) * b.sqrLength() + b.cross(n) * a.sqrLength()) / (2 * n.sqrLength());
  return (a.cross(toCentre).length() + toCentre.cross(b).length()) / 4;
}

TEST(TriangleVoronoiArea, isTheCircumcentricCellAndAddsUp)
{
  repeat(500, 529, [&](RandomGeometry& random) {
    const Vector3 p[3] = {random.inCube<3>(1), random.inCube<3>(1), random.inCube<3>(1)};
    const OwnTriangle t(p[0], p[1], p[2]);
    unsigned obtuse = 3;
    for (unsigned k = 0; k < 3; ++k)
      if ((p[(k + 1) % 3] - p[k]).dot(p[(k + 2) % 3] - p[k]) < 0) obtuse = k;
    for (unsigned k = 0; k < 3; ++k) {
      const double expected =
          obtuse == 3 ? circumcentricArea(p[k], p[(k + 1) % 3], p[(k + 2) % 3]) : t->getArea() / (obtuse == k ? 2 : 4);
      EXPECT_NEAR(TriangleUtilities::computeVoronoiAreaForVertexOfTriangle(t.triangle, k).value(), expected, 1e-12);
    }
  });
  const OwnTriangle point({1, 2, 3}, {1, 2, 3}, {1, 2, 3});
  EXPECT_EQ(TriangleUtilities::computeVoronoiAreaForVertexOfTriangle(point.triangle, 1).value(), 0);
  EXPECT_FALSE(TriangleUtilities::computeVoronoiAreaForVertexOfTriangle(point.triangle, 3));
}

struct Crossing
{
  bool found = false;
  Point3 source{7, 7, 7};
  Point3 target{8, 8, 8};
};

Crossing cross(const Corners& a, const Corners& b)
{
  const OwnTriangle first(a[0], a[1], a[2]), second(b[0], b[1], b[2]);
  Crossing result;
  result.found =
      MeshAlgorithm::triangleTriangleIntersection(&first.triangle, &second.triangle, result.source, result.target);
  return result;
}

/// Where the edges of each triangle pierce the other one.
std::vector<Vector3> piercings(const Corners& a, const Corners& b)
{
  std::vector<Vector3> points;
  for (const auto& [edges, face] : {std::pair(a, b), std::pair(b, a)})
    for (unsigned k = 0; k < 3; ++k) {
      const Vector3 d = edges[(k + 1) % 3] - edges[k];
      const auto t = BruteForce::lineTriangle(edges[k], d, face[0], face[1], face[2]);
      if (t && *t >= 0 && *t <= 1) points.push_back(edges[k] + d * *t);
    }
  return points;
}

double distanceOfPairs(const Vector3& a, const Vector3& b, const Vector3& c, const Vector3& d)
{
  return std::min((a - c).length() + (b - d).length(), (a - d).length() + (b - c).length());
}

TEST(TriangleTriangleIntersection, givesTheTwoPiercingPoints)
{
  int hits = 0;
  repeat(5000, 541, [&](RandomGeometry& random) {
    const double size = random.logUniform(1e-2, 1e4);
    const Vector3 at = random.inCube<3>(10 * size);
    Corners a, b;
    for (unsigned k = 0; k < 3; ++k) {
      a[k] = at + random.inCube<3>(size);
      b[k] = at + random.inCube<3>(size);
    }
    const auto expected = piercings(a, b);
    const Crossing result = cross(a, b);
    ASSERT_EQ(result.found, expected.size() == 2);
    if (!result.found) {
      EXPECT_TRUE(result.source == Vector3(7, 7, 7) && result.target == Vector3(8, 8, 8));
      return;
    }
    ++hits;
    EXPECT_LT(distanceOfPairs(result.source, result.target, expected[0], expected[1]), 1e-8 * size);

    // Any first corner, either orientation, either order: the same segment.
    const Crossing variants[] = {cross({a[1], a[2], a[0]}, b), cross(a, {b[2], b[0], b[1]}),
                                 cross({a[0], a[2], a[1]}, b), cross(a, {b[1], b[0], b[2]}), cross(b, a)};
    for (const Crossing& variant : variants) {
      ASSERT_TRUE(variant.found);
      EXPECT_LT(distanceOfPairs(result.source, result.target, variant.source, variant.target), 1e-8 * size);
    }
  });
  EXPECT_GT(hits, 300);
}

TEST(TriangleTriangleIntersection, touchingIsNoCrossing)
{
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Corners face = {{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}};
  const std::tuple<const char*, Corners, bool> rows[] = {
      {"a corner in the plane, the others on either side", {{{1, 1, 0}, {1, 2, 1}, {1, 2, -1}}}, true},
      {"a corner on the face", {{{1, 1, 0}, {1, 1, 1}, {2, 1, 1}}}, false},
      {"a corner just through the face", {{{1, 1, -0.9e-12}, {1, 1, 1}, {2, 1, 1}}}, false},
      {"a corner a little further", {{{1, 1, -2e-12}, {1, 1, 1}, {2, 1, 1}}}, true},
      {"a common edge", {{{0, 0, 0}, {4, 0, 0}, {0, 0, 4}}}, false},
      {"coplanar and overlapping", {{{1, 1, 0}, {5, 1, 0}, {1, 5, 0}}}, false},
      {"through the plane beside the face", {{{9, 9, -1}, {9, 9, 1}, {10, 9, 1}}}, false},
      {"an edge of no width", {{{1, 1, -1}, {1, 1, 1}, {1, 1, 1}}}, false},
      {"not a number", {{{1, 1, nan}, {1, 1, 1}, {2, 1, 1}}}, false}};
  for (const auto& [what, other, crosses] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(cross(face, other).found, crosses);
    EXPECT_EQ(cross(other, face).found, crosses);
  }
}

} // namespace
} // namespace Kavrel
