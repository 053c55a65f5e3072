#include "geometry/mesh/Triangle.h"
#include "geometry/mesh/TriangleUtilities.h"
#include "support/Matchers.h"
#include "support/OwnTriangle.h"
#include "support/RandomGeometry.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace Kavrel {
namespace {

using namespace Testing;
using Vector3 = Vector<double, 3>;

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
    EXPECT_NEAR(c.dir1.length(), std::abs(c.k1), 1e-9) << "scaled by its curvature";
    EXPECT_NEAR(c.dir2.length(), std::abs(c.k2), 1e-9);

    // Undo the scaling: both unit directions point to the side of positive v.
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
    EXPECT_EQ(data->form(0, 1), data->form(1, 0));
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
    EXPECT_TRUE(c.known);
    EXPECT_EQ(c.k1, k1);
    EXPECT_EQ(c.k2, k2);
    EXPECT_EQ(c.dir1, dir1);
    EXPECT_EQ(c.dir2, dir2);
  }
}

TEST(TriangleCurvature, nearlyDiagonalFormsStayFinite)
{
  for (const double off : {1e-3, 1e-9, 1e-20, 1e-160, 1e-300})
    for (const double sign : {1.0, -1.0})
      for (const auto& [xx, yy] :
           {std::pair(1.0, 3.0), std::pair(3.0, 1.0), std::pair(-3.0, 1.0), std::pair(2.0, 2.0)}) {
        SCOPED_TRACE(testing::Message() << off * sign << ": " << xx << ", " << yy);
        OwnTriangle t({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
        setTurningNormals(t, xx, sign * off, yy);
        const Curvature c(t.triangle);
        EXPECT_NEAR(c.dir1.length(), std::abs(c.k1), 1e-9);
        EXPECT_NEAR(c.dir2.length(), std::abs(c.k2), 1e-9);
        EXPECT_NEAR(c.dir1.dot(c.dir2), 0, 1e-9);
      }
}

TEST(TriangleCurvature, sphereHasTheInverseRadiusEverywhere)
{
  repeat(200, 527, [&](RandomGeometry& random) {
    const double radius = random.logUniform(1e-2, 1e4);
    const Vector3 n[3] = {random.direction<3>(), random.direction<3>(), random.direction<3>()};
    if ((n[1] - n[0]).cross(n[2] - n[0]).length() < 0.1) return;
    OwnTriangle t(radius * n[0], radius * n[1], radius * n[2]);
    for (unsigned corner = 0; corner < 3; ++corner)
      t.corners[corner].setNormal(n[corner]);
    const Curvature c(t.triangle);
    EXPECT_NEAR(c.k1 * radius, 1, 1e-8);
    EXPECT_NEAR(c.k2 * radius, 1, 1e-8);
  });
}

TEST(TriangleCurvature, needsAllThreeNormals)
{
  for (unsigned missing = 0; missing < 3; ++missing) {
    OwnTriangle t({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    setTurningNormals(t, 1, 2, 3);
    t.corners[missing].clearNormal();
    const Curvature c(t.triangle);
    EXPECT_FALSE(c.known);
    EXPECT_EQ(c.k1, 0);
    EXPECT_EQ(c.k2, 0);
    EXPECT_EQ(c.cosine, 0);
    EXPECT_EQ(c.dir1, Vector3());
    EXPECT_EQ(c.dir2, Vector3());
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
  int acute = 0;
  repeat(500, 529, [&](RandomGeometry& random) {
    const Vector3 p[3] = {random.inCube<3>(1), random.inCube<3>(1), random.inCube<3>(1)};
    const OwnTriangle t(p[0], p[1], p[2]);
    double sum = 0;
    bool obtuse = false;
    for (unsigned k = 0; k < 3; ++k)
      obtuse |= (p[(k + 1) % 3] - p[k]).dot(p[(k + 2) % 3] - p[k]) < 0;
    for (unsigned k = 0; k < 3; ++k) {
      const auto area = TriangleUtilities::computeVoronoiAreaForVertexOfTriangle(t.triangle, k);
      ASSERT_TRUE(area);
      sum += *area;
      if (obtuse) continue;
      EXPECT_NEAR(*area, circumcentricArea(p[k], p[(k + 1) % 3], p[(k + 2) % 3]), 1e-12);
    }
    EXPECT_NEAR(sum, t.triangle.getArea(), 1e-12);
    acute += !obtuse;
  });
  EXPECT_GT(acute, 50);
}

TEST(TriangleVoronoiArea, specialTriangles)
{
  const std::tuple<const char*, Vector3, Vector3, Vector3, std::array<double, 3>> rows[] = {
      {"right angle at 0", {0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {1, 0.5, 0.5}},
      {"obtuse at 1", {4, 0, 0}, {0, 0, 0}, {-1, 1, 0}, {0.5, 1, 0.5}},
      {"obtuse at 2", {4, 0, 0}, {-1, 1, 0}, {0, 0, 0}, {0.5, 0.5, 1}},
      {"one point", {1, 2, 3}, {1, 2, 3}, {1, 2, 3}, {0, 0, 0}}};
  for (const auto& [what, a, b, c, areas] : rows) {
    SCOPED_TRACE(what);
    const OwnTriangle t(a, b, c);
    for (unsigned k = 0; k < 3; ++k)
      EXPECT_DOUBLE_EQ(TriangleUtilities::computeVoronoiAreaForVertexOfTriangle(t.triangle, k).value(), areas[k]);
    EXPECT_FALSE(TriangleUtilities::computeVoronoiAreaForVertexOfTriangle(t.triangle, 3));
  }
}

} // namespace
} // namespace Kavrel
