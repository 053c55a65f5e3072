#include "geometry/BoundingVolumeHierarchy/Intersection.h"

#include "geometry/mesh/Mesh.h"
#include "support/BruteForce.h"
#include "support/MeshBuilder.h"
#include "support/RandomGeometry.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
namespace BruteForce = Kavrel::Testing::BruteForce;

namespace {

using Vector3 = Vector<double, 3>;

template <class LineType>
IntersectionQueryResult<LineType, Triangle> hitOf(const LineType& line, const Triangle& triangle)
{
  IntersectionQueryResult<LineType, Triangle> result;
  EXPECT_EQ(intersect(line, triangle, result), result.intersected);
  return result;
}

} // namespace

TEST(Intersection, LineAndRayAgainstATriangle)
{
  const Mesh mesh = Testing::meshFromText("0 0 0, 4 0 0, 0 4 0 | 0 1 2");
  const Triangle& triangle = mesh.getTriangleRef(0);
  const struct
  {
    const char* name;
    Vector3 origin, direction;
    bool line, ray;
    double parameter, xi, eta;
  } rows[] = {
      {"from above", {1, 1, 5}, {0, 0, -1}, true, true, 5, 0.25, 0.25},
      {"from below", {1, 1, -5}, {0, 0, 1}, true, true, 5, 0.25, 0.25},
      {"away from it", {1, 2, 5}, {0, 0, 1}, true, false, -5, 0.25, 0.5},
      {"past it", {3, 3, 5}, {0, 0, -1}, false, false, 0, 0, 0},
      {"through an edge", {2, 2, 5}, {0, 0, -1}, true, true, 5, 0.5, 0.5},
      {"beside an edge by rounding, from above", {-1e-13, 1, 5}, {0, 0, -1}, true, true, 5, 0, 0.25},
      {"beside an edge by rounding, from below", {-1e-13, 1, -5}, {0, 0, 1}, true, true, 5, 0, 0.25},
      {"beside an edge by more", {-1e-9, 1, 5}, {0, 0, -1}, false, false, 0, 0, 0},
      {"through a corner", {4, 0, 5}, {0, 0, -1}, true, true, 5, 1, 0},
      {"a hair behind the origin", {1, 1, -5e-7}, {0, 0, -1}, true, true, -5e-7, 0.25, 0.25},
      {"behind the origin", {1, 1, -2e-6}, {0, 0, -1}, true, false, -2e-6, 0.25, 0.25},
      {"in the plane, from outside", {-3, 1, 0}, {1, 0, 0}, true, true, 3, 0, 0.25},
      {"in the plane, from inside", {1, 1, 0}, {1, 0, 0}, true, true, 0, 0.25, 0.25},
      {"in the plane, behind", {9, 1, 0}, {1, 0, 0}, true, false, -6, 0.75, 0.25},
      {"in the plane, along an edge", {-3, 0, 0}, {1, 0, 0}, true, true, 3, 0, 0},
      {"in the plane, past it", {-3, -1, 0}, {1, 0, 0}, false, false, 0, 0, 0},
      {"parallel above it", {1, 1, 1e-3}, {1, 0, 0}, false, false, 0, 0, 0},
      {"no direction", {1, 1, 0}, {0, 0, 0}, false, false, 0, 0, 0},
      {"twice as fast", {1, 1, 5}, {0, 0, -2}, true, true, 2.5, 0.25, 0.25},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    auto line = hitOf(Line(row.origin, row.direction), triangle);
    const auto ray = hitOf(Ray(row.origin, row.direction), triangle);
    ASSERT_EQ(line.intersected, row.line);
    ASSERT_EQ(ray.intersected, row.ray);
    if (!row.line) continue;
    EXPECT_NEAR(line.parameter, row.parameter, 1e-12);
    EXPECT_NEAR(line.xi, row.xi, 1e-12);
    EXPECT_NEAR(line.eta, row.eta, 1e-12);
    if (row.ray) {
      EXPECT_EQ(ray.parameter, line.parameter);
    }

    line.post(Line(row.origin, row.direction), triangle);
    EXPECT_TRUE(line.point.hasNormal());
    EXPECT_LT((line.point - (row.origin + row.direction * row.parameter)).length(), 1e-12);
    EXPECT_NEAR(line.parameter, row.parameter * row.direction.sqrLength(), 1e-12);
  }
}

TEST(Intersection, LinesCloselyAlongAPlaneMeetTheEdges)
{
  Vertex a(0, 0, 0), b(0.1, 0, 0), c(0, 0.1, 0);
  const Triangle triangle(a, b, c, 0);
  const struct
  {
    const char* name;
    Vector3 origin;
    bool line, ray;
    double parameter, xi, eta;
  } rows[] = {
      {"from outside", {-1, 0.02, 3e-9}, true, true, 1, 0, 0.2},
      {"from inside", {0.03, 0.02, 3e-9}, true, true, 0, 0.3, 0.2},
      {"behind", {1, 0.02, 3e-9}, true, false, -0.92, 0.8, 0.2},
      {"past it", {-1, 0.2, 3e-9}, false, false, 0, 0, 0},
      {"too far above", {-1, 0.02, 1e-8}, false, false, 0, 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto line = hitOf(Line(row.origin, Vector3(1, 0, 0)), triangle);
    ASSERT_EQ(line.intersected, row.line);
    EXPECT_EQ(hitOf(Ray(row.origin, Vector3(1, 0, 0)), triangle).intersected, row.ray);
    if (!row.line) continue;
    EXPECT_NEAR(line.parameter, row.parameter, 1e-12);
    EXPECT_NEAR(line.xi, row.xi, 1e-12);
    EXPECT_NEAR(line.eta, row.eta, 1e-12);
  }
}

TEST(Intersection, TinyTrianglesAreStillHit)
{
  for (const double size : {1e-3, 1e-5, 1e-7, 1e-9}) {
    SCOPED_TRACE(size);
    Vertex a(0, 0, 0), b(size, 0, 0), c(0, size, 0);
    const Triangle triangle(a, b, c, 0);
    const auto hit = hitOf(Ray(Vector3(size / 4, size / 4, 1), Vector3(0, 0, -1)), triangle);
    ASSERT_TRUE(hit.intersected);
    EXPECT_NEAR(hit.parameter, 1.0, 1e-12);
    EXPECT_NEAR(hit.xi, 0.25, 1e-6);
    EXPECT_FALSE(hitOf(Ray(Vector3(size, size, 1), Vector3(0, 0, -1)), triangle).intersected);
    // Where all edge values are tiny, none counts as 0: a hair beside the edge is beside it.
    const Ray beside(Vector3(-1e-9 * size, size / 4, 1), Vector3(0, 0, -1));
    EXPECT_EQ(hitOf(beside, triangle).intersected, size > 1e-4);
  }
}

TEST(Intersection, PostMovesThePlaceIntoTheTriangle)
{
  const Mesh mesh = Testing::meshFromText("0 0 0, 4 0 0, 0 4 0 | 0 1 2");
  const Line line(Vector3(0, 0, 5), Vector3(0, 0, -1));
  const struct
  {
    double xi, eta, xiInside, etaInside;
  } rows[] = {{-0.1, 0.5, 0, 0.5}, {1.5, 0.5, 0.75, 0.25}, {-1, 2, 0, 1}, {0.2, 0.3, 0.2, 0.3}};
  for (const auto& row : rows) {
    IntersectionQueryResult<Line, Triangle> result;
    result.xi = row.xi;
    result.eta = row.eta;
    result.post(line, mesh.getTriangleRef(0));
    EXPECT_DOUBLE_EQ(result.xi, row.xiInside);
    EXPECT_DOUBLE_EQ(result.eta, row.etaInside);
    EXPECT_EQ(result.parameter, 5.0);
  }
}

TEST(Intersection, LinesAgainstAVolume)
{
  const AxisAlignedBox<float, 3> box(Vector<float, 3>(1, 1, 1), Vector<float, 3>(3, 3, 3));
  const AxisAlignedBox<float, 3> flat(Vector<float, 3>(1, 1, 1), Vector<float, 3>(3, 3, 1));
  const struct
  {
    const char* name;
    AxisAlignedBox<float, 3> box;
    Vector3 origin, direction;
    double line, ray; // negative: no hit
  } rows[] = {
      {"towards it", box, {2, 2, 0}, {0, 0, 1}, 1, 1},
      {"away from it", box, {2, 2, 0}, {0, 0, -1}, 1, -1},
      {"from inside", box, {2, 2, 2}, {0.6, 0, 0.8}, 0, 0},
      {"past it", box, {4, 4, 0}, {0, 0, 1}, -1, -1},
      {"in a lower face", box, {1, 2, 0}, {0, 0, 1}, 1, 1},
      {"in an upper face", box, {3, 2, 0}, {0, 0, 1}, 1, 1},
      {"in a lower face, negative zero", box, {1, 2, 0}, {-0.0, 0, 1}, 1, 1},
      {"in an upper face, negative zero", box, {3, 2, 0}, {-0.0, -0.0, 1}, 1, 1},
      {"along an edge", box, {3, 3, 0}, {0, 0, 1}, 1, 1},
      {"just beside a face", box, {3.0000001, 2, 0}, {0, 0, 1}, -1, -1},
      {"no thickness", flat, {2, 2, 0}, {0, 0, 1}, -1, -1},
      {"no thickness, obliquely", flat, {0, 0, 0}, {1, 1, 1}, -1, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    IntersectionQueryResult<Line, AxisAlignedBox<float, 3>> line;
    IntersectionQueryResult<Ray, AxisAlignedBox<float, 3>> ray;
    EXPECT_EQ(intersect(Line(row.origin, row.direction), row.box, line), row.line >= 0);
    EXPECT_EQ(intersect(Ray(row.origin, row.direction), row.box, ray), row.ray >= 0);
    if (line.intersected) {
      EXPECT_DOUBLE_EQ(line.parameter, row.line);
    }
    if (ray.intersected) {
      EXPECT_DOUBLE_EQ(ray.parameter, row.ray);
    }
  }
  IntersectionQueryResult<LegacyLine, AxisAlignedBox<float, 3>> legacy;
  EXPECT_FALSE(intersect(LegacyLine(Vector3(3.2, 2, 0), Vector3(0, 0, 1), 0.1), box, legacy));
  EXPECT_TRUE(intersect(LegacyLine(Vector3(3.2, 2, 0), Vector3(0, 0, 1), 0.25), box, legacy));
  EXPECT_EQ(legacy.parameter, 0.75);
}

TEST(Intersection, LegacyLineReachesBesideTheTriangle)
{
  const Mesh mesh = Testing::meshFromText("0 0 0, 4 0 0, 0 4 0 | 0 1 2");
  const auto hit = hitOf(LegacyLine(Vector3(-0.5, 1, 3), Vector3(0, 0, 1), 0.75), mesh.getTriangleRef(0));
  ASSERT_TRUE(hit.intersected);
  EXPECT_EQ(hit.parameter, -3.0);
  EXPECT_EQ(hit.xi, -0.125);
  auto evaluated = hit;
  evaluated.post(LegacyLine(Vector3(-0.5, 1, 3), Vector3(0, 0, 1), 0.75), mesh.getTriangleRef(0));
  EXPECT_EQ(evaluated.point[0], -0.5);
  EXPECT_FALSE(hitOf(LegacyLine(Vector3(-0.5, 1, 3), Vector3(0, 0, 1), 0.25), mesh.getTriangleRef(0)).intersected);
}

TEST(Intersection, PlanesTakeOneSideOfATouch)
{
  const Plane<double, 3> plane(Vector3(0, 0, 1), 1.0);
  const struct
  {
    double z[3];
    bool triangle, segment; // the segment over the first two
  } rows[] = {{{0, 2, 2}, true, true},   {{1, 2, 2}, true, false}, {{1, 0, 0}, false, true}, {{2, 3, 4}, false, false},
              {{1, 1, 1}, false, false}, {{1, 1, 2}, true, false}, {{0, 1, 0}, false, true}, {{2, 0, 1}, true, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.z[0] << " " << row.z[1] << " " << row.z[2]);
    Vertex a(0, 0, row.z[0]), b(4, 0, row.z[1]), c(0, 4, row.z[2]);
    IntersectionQueryResult<Plane<double, 3>, Triangle> triangle;
    EXPECT_EQ(intersect(plane, Triangle(a, b, c, 0), triangle), row.triangle);
    const Point3N start(0, 0, row.z[0]), end(4, 0, row.z[1]);
    IntersectionQueryResult<Plane<double, 3>, Segment<Point3N>> segment;
    ASSERT_EQ(intersect(plane, Segment<Point3N>(&start, &end), segment), row.segment);
    if (!row.segment) continue;
    EXPECT_DOUBLE_EQ(segment.point[2], 1.0);
    EXPECT_DOUBLE_EQ(segment.parameter, (1.0 - row.z[0]) / (row.z[1] - row.z[0]));
  }
}
