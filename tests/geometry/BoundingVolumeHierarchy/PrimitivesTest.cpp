#include "geometry/BoundingVolumeHierarchy/Primitives.h"

#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/Mesh.h"
#include "support/BruteForce.h"
#include "support/MeshBuilder.h"
#include "support/OwnTriangle.h"
#include "support/RandomGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::OwnTriangle;
namespace BruteForce = Kavrel::Testing::BruteForce;

namespace {

using Vector3 = Vector<double, 3>;

Vector3 at(const OwnTriangle& t, double xi, double eta)
{
  return t.corners[0] + xi * (t.corners[1] - t.corners[0]) + eta * (t.corners[2] - t.corners[0]);
}

std::array<Vector3, 3> randomCorners(Testing::RandomGeometry& random)
{
  const double size = random.logUniform(1e-3, 1e3);
  return {random.inCube<3>(size), random.inCube<3>(size), random.inCube<3>(size)};
}

template <class LineType>
IntersectionQueryResult<LineType, Triangle> hitOf(const LineType& line, const Triangle& triangle)
{
  IntersectionQueryResult<LineType, Triangle> result;
  EXPECT_EQ(intersect(line, triangle, result), result.intersected);
  return result;
}

/// -1 where the line passes the box.
template <class LineType>
double parameterOf(const LineType& line, const AxisAlignedBox<float, 3>& box)
{
  IntersectionQueryResult<LineType, AxisAlignedBox<float, 3>> result;
  return intersect(line, box, result) ? result.parameter : -1;
}

} // namespace

TEST(Distance, OnlyStrictlyBetterReplaces)
{
  DistanceQueryResult<Vector3, Triangle> result;
  for (const double z : {1.0, -1.0})
    distance(Vector3(0.2, 0.2, 0), OwnTriangle({0, 0, z}, {1, 0, z}, {0, 1, z}).triangle, result);
  EXPECT_EQ(result.point[2], 1.0);
}

TEST(Distance, AgreesWithExactReferences)
{
  using Piece = Segment<Point<double, 3>>;
  Testing::repeat(4000, 11, [&](Testing::RandomGeometry& random) {
    const auto a = randomCorners(random), b = randomCorners(random);
    const OwnTriangle first(a[0], a[1], a[2]), second(b[0], b[1], b[2]);
    double size = 0;
    for (unsigned k = 0; k < 3; ++k)
      size = std::max({size, a[k].length(), b[k].length()});
    // Nearly parallel segments are measured to the square root of the machine's precision.
    const auto expectDistance = [size](double actual, double expected, double accuracy) {
      EXPECT_NEAR(std::sqrt(actual), std::sqrt(expected), accuracy * std::max(size, std::sqrt(expected)));
    };
    const auto expectGap = [size](const auto& result, double accuracy) {
      EXPECT_NEAR((result.firstPoint - result.secondPoint).sqrLength(), result.squareDistance, accuracy * size * size);
    };
    const Vector3 query = random.inCube<3>(random.logUniform(1e-3, 1e3));
    const Point<double, 3> ends[] = {a[0], a[1], b[0], b[1]};
    const Piece piece(&ends[0], &ends[1]), other(&ends[2], &ends[3]);

    DistanceQueryResult<Vector3, Triangle> toTriangle;
    distance(query, first.triangle, toTriangle);
    expectDistance(toTriangle.squareDistance, BruteForce::pointTriangle(query, a[0], a[1], a[2]), 1e-9);
    for (const Vector3& corner : a) {
      DistanceQueryResult<Vector3, Triangle> atCorner;
      distance(corner, first.triangle, atCorner);
      EXPECT_EQ(atCorner.squareDistance, 0.0);
      EXPECT_EQ(first->getPointSqrDistance(Point<double, 3>(corner)), 0.0);
    }
    expectDistance(first->getPointSqrDistance(Point<double, 3>(query)), toTriangle.squareDistance, 1e-9);
    DistanceQueryResult<Vector3, Piece> toSegment;
    distance(query, piece, toSegment);
    expectDistance(toSegment.squareDistance, BruteForce::pointSegment(query, a[0], a[1]), 1e-9);
    DistanceQueryResult<Piece, Piece> pair;
    distance(piece, other, pair);
    expectDistance(pair.squareDistance, BruteForce::segmentSegment(a[0], a[1], b[0], b[1]), 1e-7);
    expectGap(pair, 1e-12);
    DistanceQueryResult<Piece, Triangle> pierced;
    distance(piece, second.triangle, pierced);
    expectDistance(pierced.squareDistance, BruteForce::segmentTriangle(a[0], a[1], b[0], b[1], b[2]), 1e-7);
    expectGap(pierced, 1e-9);
    EXPECT_LT((pierced.secondPoint - at(second, pierced.xi, pierced.eta)).length(), 1e-9 * size);

    // Of two triangles: all edges of both against the other triangle, but a piercing edge counts nothing.
    double expected = BruteForce::largest;
    for (unsigned k = 0; k < 3; ++k) {
      expected = std::min({expected, BruteForce::pointTriangle(a[k], b[0], b[1], b[2]),
                           BruteForce::pointTriangle(b[k], a[0], a[1], a[2])});
      for (unsigned m = 0; m < 3; ++m)
        expected = std::min(expected, BruteForce::segmentSegment(a[k], a[(k + 1) % 3], b[m], b[(m + 1) % 3]));
    }
    DistanceQueryResult<Triangle, Triangle> triangles;
    distance(first.triangle, second.triangle, triangles);
    expectDistance(triangles.squareDistance, expected, 1e-7);
    expectGap(triangles, 1e-9);
    EXPECT_LT((triangles.firstPoint - at(first, triangles.firstXi, triangles.firstEta)).length(), 1e-9 * size);
    EXPECT_LT((triangles.secondPoint - at(second, triangles.secondXi, triangles.secondEta)).length(), 1e-9 * size);
  });
}

TEST(Distance, DegenerateTrianglesAreMeasuredByPlacesOfTheirOwn)
{
  Testing::RandomGeometry random(13);
  for (int i = 0; i < 4000; ++i) {
    SCOPED_TRACE(i);
    const Vector3 a = random.inCube<3>(1), b = random.inCube<3>(1), query = random.inCube<3>(2);
    const Vector3 third[] = {a + (b - a) * random.uniform(-1, 2), b + random.inCube<3>(1e-7), a};
    const Vector3 corners[] = {i % 4 == 3 ? a : b, a, third[i % 3]};
    DistanceQueryResult<Vector3, Triangle> result;
    ASSERT_TRUE(distance(query, OwnTriangle(corners[0], corners[1], corners[2]).triangle, result));
    // Rounding may pick the wrong region, but never a place outside the triangle, nor one behind every corner.
    double farthest = 0;
    for (const Vector3& corner : corners)
      farthest = std::max(farthest, (query - corner).length());
    const double exact = std::sqrt(BruteForce::pointTriangle(query, corners[0], corners[1], corners[2]));
    EXPECT_GE(std::sqrt(result.squareDistance), exact - 1e-9);
    EXPECT_LE(std::sqrt(result.squareDistance), farthest + 1e-9);
  }
}

TEST(Distance, DegenerateSegmentIsItsStartWithAllItCarries)
{
  const Point3N start(Vector3(1, 2, 3), Vector3(0, 0, 1)), same(Vector3(1, 2, 3 + 5e-13));
  DistanceQueryResult<Vector3, Segment<Point3N>> result;
  distance(Vector3(1, 2, 9), Segment<Point3N>(&start, &same), result);
  EXPECT_EQ(result.squareDistance, 36.0);
  EXPECT_EQ(result.parameter, 0.0);
  EXPECT_TRUE(result.point.hasNormal());
}

TEST(Distance, SegmentToVolume)
{
  const AxisAlignedBox<float, 3> box(Vector<float, 3>(0, 0, 0), Vector<float, 3>(2, 2, 2));
  const std::tuple<const char*, Vector3, Vector3, double> rows[] = {
      {"inside", {0.5, 0.5, 0.5}, {1, 1, 1}, 0},    {"through", {-1, 1, 1}, {3, 1, 1}, 0},
      {"past an edge", {4, 0, 1}, {0, 4, 1}, 0},    {"beside an edge", {6, 0, 1}, {0, 6, 1}, 2},
      {"before a face", {3, 1, 1}, {5, 1, 1}, 1},   {"a point", {1, 1, 5}, {1, 1, 5}, 9},
      {"across a corner", {3, 3, 3}, {4, 4, 4}, 3}, {"along a face", {0.5, 0.5, 3}, {1, 1, 3}, 1}};
  for (const auto& [name, from, to, squareDistance] : rows) {
    SCOPED_TRACE(name);
    const Point3N start(from), end(to);
    DistanceQueryResult<Segment<Point3N>, AxisAlignedBox<float, 3>> result;
    EXPECT_TRUE(distance(Segment<Point3N>(&start, &end), box, result));
    EXPECT_NEAR(result.squareDistance, squareDistance, 1e-15);
  }
}

TEST(Distance, PilotSegmentSeesOnlyBetweenItsEnds)
{
  const Point3N start(0, 0, 0), end(4, 0, 0);
  const PilotSegment<Point3N> pilot(&start, &end);
  const std::tuple<const char*, Vector3, Vector3, Vector3, bool, double> rows[] = {
      {"beside the middle", {1, 1, 0}, {3, 2, 0}, {1, 5, 0}, true, 1},
      {"wholly beyond", {5, 1, 0}, {6, 1, 0}, {5, 2, 0}, false, 0},
      {"wholly before", {-5, 1, 0}, {-6, 1, 0}, {-5, 2, 0}, false, 0},
      {"nearest beyond, rest inside", {5, 1, 0}, {3, 3, 0}, {3, 5, 0}, true, 4},
      {"nearest before, rest inside", {-1, 1, 0}, {1, 3, 0}, {1, 5, 0}, true, 4},
      {"touching the end plane", {4, 2, 0}, {5, 1, 0}, {5, 3, 0}, true, 4},
  };
  for (const auto& [name, a, b, c, found, squareDistance] : rows) {
    SCOPED_TRACE(name);
    const OwnTriangle triangle(a, b, c);
    DistanceQueryResult<PilotSegment<Point3N>, Triangle> result;
    ASSERT_EQ(distance(pilot, triangle.triangle, result), found);
    if (!found) continue;
    EXPECT_NEAR(result.squareDistance, squareDistance, 1e-14);
    EXPECT_LT((result.secondPoint - at(triangle, result.xi, result.eta)).length(), 1e-14);
  }
}

TEST(Distance, VolumesAreMeasuredInDouble)
{
  Testing::repeat(3000, 17, [&](Testing::RandomGeometry& random) {
    AxisAlignedBox<float, 3> box, other;
    for (int k = 0; k < 2; ++k) {
      box.extend(random.inCube<3>(2.0));
      other.extend(random.inCube<3>(2.0));
    }
    const Vector3 query = random.inCube<3>(3.0);
    const Plane<double, 3> plane(random.direction<3>(), random.uniform(-2, 2));
    // The nearest place by coordinates, the farthest reach of a plane by its eight corners.
    Vector3 nearest = query;
    double low = BruteForce::largest, high = -BruteForce::largest;
    for (unsigned axis = 0; axis < 3; ++axis)
      nearest[axis] = std::clamp(query[axis], static_cast<double>(box.min[axis]), static_cast<double>(box.max[axis]));
    for (unsigned corner = 0; corner < 8; ++corner) {
      Vector3 at;
      for (unsigned axis = 0; axis < 3; ++axis)
        at[axis] = static_cast<double>((corner >> axis & 1 ? box.max : box.min)[axis]);
      low = std::min(low, plane.getDistanceOfPoint(at));
      high = std::max(high, plane.getDistanceOfPoint(at));
    }
    EXPECT_EQ(squareDistance(query, box), (query - nearest).sqrLength());
    EXPECT_EQ(contains(box, query), nearest == query);
    const double gap = low > 0 ? low : high < 0 ? -high : 0.0;
    EXPECT_NEAR(squareDistance(plane, box), gap * gap, 1e-14);
    EXPECT_EQ(overlaps(plane, box), low <= 0 && high >= 0);
    EXPECT_NEAR(signedDistance(SignedPlane(plane.getNormal(), plane.getDistance()), box), low, 1e-14);
    EXPECT_EQ(overlaps(box, other), squareDistance(box, other) == 0.0);
    EXPECT_EQ(squareDistance(box, other), squareDistance(other, box));
  });
}

TEST(Intersection, LineAndRayAgainstATriangle)
{
  const Mesh mesh = Testing::meshFromText("0 0 0, 4 0 0, 0 4 0, 0.1 0 0, 0 0.1 0 | 0 1 2, 0 3 4");
  const struct
  {
    const char* name;
    Vector3 origin, direction;
    bool line, ray;
    double parameter, xi, eta;
    unsigned triangle = 0;
  } rows[] = {
      {"from above", {1, 1, 5}, {0, 0, -1}, true, true, 5, 0.25, 0.25},
      {"away from it", {1, 2, 5}, {0, 0, 1}, true, false, -5, 0.25, 0.5},
      {"past it", {3, 3, 5}, {0, 0, -1}, false, false, 0, 0, 0},
      {"through an edge", {2, 2, 5}, {0, 0, -1}, true, true, 5, 0.5, 0.5},
      {"beside an edge by rounding, from above", {-1e-13, 1, 5}, {0, 0, -1}, true, true, 5, 0, 0.25},
      {"beside an edge by rounding, from below", {-1e-13, 1, -5}, {0, 0, 1}, true, true, 5, 0, 0.25},
      {"beside an edge by more", {-1e-9, 1, 5}, {0, 0, -1}, false, false, 0, 0, 0},
      {"a hair behind the origin", {1, 1, -5e-7}, {0, 0, -1}, true, true, -5e-7, 0.25, 0.25},
      {"behind the origin", {1, 1, -2e-6}, {0, 0, -1}, true, false, -2e-6, 0.25, 0.25},
      {"in the plane, from outside", {-3, 1, 0}, {1, 0, 0}, true, true, 3, 0, 0.25},
      {"in the plane, from inside", {1, 1, 0}, {1, 0, 0}, true, true, 0, 0.25, 0.25},
      {"in the plane, behind", {9, 1, 0}, {1, 0, 0}, true, false, -6, 0.75, 0.25},
      {"in the plane, along an edge", {-3, 0, 0}, {1, 0, 0}, true, true, 3, 0, 0},
      {"in the plane, past it", {-3, -1, 0}, {1, 0, 0}, false, false, 0, 0, 0},
      {"parallel above it", {1, 1, 1e-3}, {1, 0, 0}, false, false, 0, 0, 0},
      {"closely along the plane", {-1, 0.02, 3e-9}, {1, 0, 0}, true, true, 1, 0, 0.2, 1},
      {"closely along the plane, from inside", {0.03, 0.02, 3e-9}, {1, 0, 0}, true, true, 0, 0.3, 0.2, 1},
      {"closely along the plane, past it", {-1, 0.2, 3e-9}, {1, 0, 0}, false, false, 0, 0, 0, 1},
      {"not so closely", {-1, 0.02, 1e-8}, {1, 0, 0}, false, false, 0, 0, 0, 1},
      {"no direction", {1, 1, 0}, {0, 0, 0}, false, false, 0, 0, 0},
      {"twice as fast", {1, 1, 5}, {0, 0, -2}, true, true, 2.5, 0.25, 0.25},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Triangle& triangle = mesh.getTriangleRef(row.triangle);
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
    EXPECT_LT((line.point - (row.origin + row.direction * row.parameter)).length(), 1e-8);
    EXPECT_NEAR(line.parameter, row.parameter * row.direction.sqrLength(), 1e-12);
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
  const OwnTriangle triangle({0, 0, 0}, {4, 0, 0}, {0, 4, 0});
  const std::tuple<double, double, double, double> rows[] = {
      {-0.1, 0.5, 0, 0.5}, {1.5, 0.5, 0.75, 0.25}, {-1, 2, 0, 1}, {0.2, 0.3, 0.2, 0.3}};
  for (const auto& [xi, eta, xiInside, etaInside] : rows) {
    IntersectionQueryResult<Line, Triangle> result;
    result.xi = xi;
    result.eta = eta;
    result.post(Line(Vector3(0, 0, 5), Vector3(0, 0, -1)), triangle.triangle);
    EXPECT_DOUBLE_EQ(result.xi, xiInside);
    EXPECT_DOUBLE_EQ(result.eta, etaInside);
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
    double line, ray;
  } rows[] = {
      {"towards it", box, {2, 2, 0}, {0, 0, 1}, 1, 1},
      {"away from it", box, {2, 2, 0}, {0, 0, -1}, 1, -1},
      {"from inside", box, {2, 2, 2}, {0.6, 0, 0.8}, 0, 0},
      {"past it", box, {4, 4, 0}, {0, 0, 1}, -1, -1},
      {"in an upper face", box, {3, 2, 0}, {0, 0, 1}, 1, 1},
      {"in a lower face, negative zero", box, {1, 2, 0}, {-0.0, 0, 1}, 1, 1},
      {"in an upper face, negative zero", box, {3, 2, 0}, {-0.0, -0.0, 1}, 1, 1},
      {"just beside a face", box, {3.0000001, 2, 0}, {0, 0, 1}, -1, -1},
      {"no thickness", flat, {2, 2, 0}, {0, 0, 1}, -1, -1},
      {"no thickness, obliquely", flat, {0, 0, 0}, {1, 1, 1}, -1, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_DOUBLE_EQ(parameterOf(Line(row.origin, row.direction), row.box), row.line);
    EXPECT_DOUBLE_EQ(parameterOf(Ray(row.origin, row.direction), row.box), row.ray);
  }
  EXPECT_EQ(parameterOf(LegacyLine(Vector3(3.2, 2, 0), Vector3(0, 0, 1), 0.1), box), -1);
  EXPECT_EQ(parameterOf(LegacyLine(Vector3(3.2, 2, 0), Vector3(0, 0, 1), 0.25), box), 0.75);
}

TEST(Intersection, LegacyLineReachesBesideTheTriangle)
{
  const Mesh mesh = Testing::meshFromText("0 0 0, 4 0 0, 0 4 0 | 0 1 2");
  const LegacyLine wide(Vector3(-0.5, 1, 3), Vector3(0, 0, 1), 0.75),
      narrow(Vector3(-0.5, 1, 3), Vector3(0, 0, 1), 0.25);
  auto hit = hitOf(wide, mesh.getTriangleRef(0));
  ASSERT_TRUE(hit.intersected);
  EXPECT_EQ(hit.parameter, -3.0);
  EXPECT_EQ(hit.xi, -0.125);
  hit.post(wide, mesh.getTriangleRef(0));
  EXPECT_EQ(hit.point[0], -0.5);
  EXPECT_FALSE(hitOf(narrow, mesh.getTriangleRef(0)).intersected);
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
