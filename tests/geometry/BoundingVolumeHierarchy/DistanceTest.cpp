#include "geometry/BoundingVolumeHierarchy/Distance.h"

#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/Mesh.h"
#include "support/BruteForce.h"
#include "support/RandomGeometry.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
namespace BruteForce = Kavrel::Testing::BruteForce;

namespace {

using Vector3 = Vector<double, 3>;

/// A triangle with vertices of its own.
struct OwnTriangle
{
  Vertex vertices[3];
  Triangle triangle;

  OwnTriangle(const Vector3& a, const Vector3& b, const Vector3& c)
      : vertices{Vertex(a), Vertex(b), Vertex(c)}, triangle(vertices[0], vertices[1], vertices[2], 0)
  {}
  OwnTriangle(const OwnTriangle& other) : OwnTriangle(other.vertices[0], other.vertices[1], other.vertices[2]) {}

  const Vector3& operator[](unsigned i) const { return vertices[i]; }
  Vector3 at(double xi, double eta) const
  {
    return vertices[0] + xi * (vertices[1] - vertices[0]) + eta * (vertices[2] - vertices[0]);
  }
};

OwnTriangle randomTriangle(Testing::RandomGeometry& random)
{
  const double size = random.logUniform(1e-3, 1e3);
  return {random.inCube<3>(size), random.inCube<3>(size), random.inCube<3>(size)};
}

Point<double, 3> point3(const Vector3& v) { return Point<double, 3>(v); }

/// Squared distances agree to 1e-12 of the size of what was measured.
void expectSquareDistance(double actual, double expected, double size)
{
  EXPECT_NEAR(std::sqrt(actual), std::sqrt(expected), 1e-9 * std::max(size, std::sqrt(expected)));
}

} // namespace

TEST(Distance, PointToTriangleInEveryRegion)
{
  const OwnTriangle triangle(Vector3(0, 0, 0), Vector3(4, 0, 0), Vector3(0, 4, 0));
  const struct
  {
    Vector3 query;
    double squareDistance, xi, eta;
  } rows[] = {
      {{-1, -1, 2}, 6, 0, 0},      {{6, 0, 0}, 4, 1, 0},     {{-1, 7, 0}, 10, 0, 1},
      {{2, -3, 0}, 9, 0.5, 0},     {{-3, 1, 0}, 9, 0, 0.25}, {{3, 3, 0}, 2, 0.5, 0.5},
      {{1, 1, 5}, 25, 0.25, 0.25}, {{0, 0, 0}, 0, 0, 0},     {{1, 0, 0}, 0, 0.25, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.query);
    DistanceQueryResult<Vector3, Triangle> result;
    ASSERT_TRUE(distance(row.query, triangle.triangle, result));
    EXPECT_DOUBLE_EQ(result.squareDistance, row.squareDistance);
    EXPECT_DOUBLE_EQ(result.xi, row.xi);
    EXPECT_DOUBLE_EQ(result.eta, row.eta);
    EXPECT_LT((result.point - triangle.at(row.xi, row.eta)).length(), 1e-15);
    EXPECT_FALSE(result.point.hasNormal());
    result.post(row.query, triangle.triangle);
    EXPECT_EQ(result.point.getNormal(), Vector3(0, 0, 1));
  }
}

TEST(Distance, OnlyStrictlyBetterReplaces)
{
  const OwnTriangle near(Vector3(0, 0, 1), Vector3(1, 0, 1), Vector3(0, 1, 1));
  const OwnTriangle mirrored(Vector3(0, 0, -1), Vector3(1, 0, -1), Vector3(0, 1, -1));
  DistanceQueryResult<Vector3, Triangle> result;
  EXPECT_TRUE(distance(Vector3(0.2, 0.2, 0), near.triangle, result));
  EXPECT_FALSE(distance(Vector3(0.2, 0.2, 0), mirrored.triangle, result));
  EXPECT_EQ(result.point[2], 1.0);
}

TEST(Distance, AgreesWithExactReferences)
{
  Testing::RandomGeometry random(11);
  for (int i = 0; i < 4000; ++i) {
    SCOPED_TRACE(i);
    const OwnTriangle a = randomTriangle(random), b = randomTriangle(random);
    double size = 0;
    for (unsigned k = 0; k < 3; ++k)
      size = std::max({size, a[k].length(), b[k].length()});
    const Vector3 query = random.inCube<3>(random.logUniform(1e-3, 1e3));

    DistanceQueryResult<Vector3, Triangle> toTriangle;
    distance(query, a.triangle, toTriangle);
    expectSquareDistance(toTriangle.squareDistance, BruteForce::pointTriangle(query, a[0], a[1], a[2]), size);

    const Point<double, 3> p0 = point3(a[0]), p1 = point3(a[1]), q0 = point3(b[0]), q1 = point3(b[1]);
    const Segment<Point<double, 3>> first(&p0, &p1), second(&q0, &q1);
    DistanceQueryResult<Vector3, Segment<Point<double, 3>>> toSegment;
    distance(query, first, toSegment);
    expectSquareDistance(toSegment.squareDistance, BruteForce::pointSegment<3>(query, p0, p1), size);

    DistanceQueryResult<Segment<Point<double, 3>>, Segment<Point<double, 3>>> pair;
    distance(first, second, pair);
    // Nearly parallel segments are measured to the square root of the machine's precision.
    EXPECT_NEAR(std::sqrt(pair.squareDistance), std::sqrt(BruteForce::segmentSegment<3>(p0, p1, q0, q1)), 1e-7 * size);
    EXPECT_NEAR((pair.firstPoint - pair.secondPoint).sqrLength(), pair.squareDistance, 1e-12 * size * size);

    DistanceQueryResult<Segment<Point<double, 3>>, Triangle> segmentTriangle;
    distance(first, b.triangle, segmentTriangle);
    EXPECT_NEAR(std::sqrt(segmentTriangle.squareDistance),
                std::sqrt(BruteForce::segmentTriangle(p0, p1, b[0], b[1], b[2])), 1e-7 * size);
    EXPECT_NEAR((segmentTriangle.secondPoint - b.at(segmentTriangle.xi, segmentTriangle.eta)).length(), 0, 1e-9 * size);
    EXPECT_NEAR((segmentTriangle.firstPoint - segmentTriangle.secondPoint).sqrLength(), segmentTriangle.squareDistance,
                1e-9 * size * size);

    // Of two triangles: all edges of both against the other triangle, but a piercing edge counts nothing.
    double expected = BruteForce::largest;
    for (unsigned k = 0; k < 3; ++k) {
      expected = std::min({expected, BruteForce::pointTriangle(a[k], b[0], b[1], b[2]),
                           BruteForce::pointTriangle(b[k], a[0], a[1], a[2])});
      for (unsigned m = 0; m < 3; ++m)
        expected = std::min(expected, BruteForce::segmentSegment(a[k], a[(k + 1) % 3], b[m], b[(m + 1) % 3]));
    }
    DistanceQueryResult<Triangle, Triangle> triangles;
    distance(a.triangle, b.triangle, triangles);
    EXPECT_NEAR(std::sqrt(triangles.squareDistance), std::sqrt(expected), 1e-7 * size);
    EXPECT_NEAR((triangles.firstPoint - triangles.secondPoint).sqrLength(), triangles.squareDistance,
                1e-9 * size * size);
    EXPECT_LT((triangles.firstPoint - a.at(triangles.firstXi, triangles.firstEta)).length(), 1e-9 * size);
    EXPECT_LT((triangles.secondPoint - b.at(triangles.secondXi, triangles.secondEta)).length(), 1e-9 * size);
  }
}

TEST(Distance, DegenerateTrianglesAreMeasuredByPlacesOfTheirOwn)
{
  Testing::RandomGeometry random(13);
  for (int i = 0; i < 4000; ++i) {
    SCOPED_TRACE(i);
    const Vector3 a = random.inCube<3>(1), b = random.inCube<3>(1), query = random.inCube<3>(2);
    const Vector3 third[] = {a + (b - a) * random.uniform(-1, 2), b + random.inCube<3>(1e-7), a};
    const OwnTriangle triangle(i % 4 == 3 ? a : b, a, third[i % 3]);
    DistanceQueryResult<Vector3, Triangle> result;
    ASSERT_TRUE(distance(query, triangle.triangle, result));
    // Rounding may pick the wrong region, but never a place outside the triangle, nor one behind every corner.
    const double exact = std::sqrt(BruteForce::pointTriangle(query, triangle[0], triangle[1], triangle[2]));
    EXPECT_GE(std::sqrt(result.squareDistance), exact - 1e-9);
    EXPECT_LE(std::sqrt(result.squareDistance),
              1e-9 + std::max({(query - triangle[0]).length(), (query - triangle[1]).length(),
                               (query - triangle[2]).length()}));
    result.post(query, triangle.triangle);
    if (i % 3 == 2) {
      EXPECT_FALSE(result.point.hasNormal());
    }
  }
}

TEST(Distance, DegenerateSegmentIsItsStartWithAllItCarries)
{
  const Point3N start(Vector3(1, 2, 3), Vector3(0, 0, 1)), same(Vector3(1, 2, 3 + 5e-13)), other(Vector3(2, 2, 3));
  DistanceQueryResult<Vector3, Segment<Point3N>> result;
  distance(Vector3(1, 2, 9), Segment<Point3N>(&start, &same), result);
  EXPECT_EQ(result.squareDistance, 36.0);
  EXPECT_EQ(result.parameter, 0.0);
  EXPECT_TRUE(result.point.hasNormal());
  result = {};
  distance(Vector3(0, 2, 3), Segment<Point3N>(&start, &other), result);
  EXPECT_EQ(result.squareDistance, 1.0);
  EXPECT_FALSE(result.point.hasNormal());
}

TEST(Distance, EveryPointTypeMeasuresAlike)
{
  const Point<float, 2> a(0, 0), b(4, 0), c(1, 2), d(3, 3);
  DistanceQueryResult<Segment<Point<float, 2>>, Segment<Point<float, 2>>> pair;
  distance(Segment<Point<float, 2>>(&a, &b), Segment<Point<float, 2>>(&c, &d), pair);
  EXPECT_EQ(pair.squareDistance, 4.0);
  EXPECT_EQ(pair.firstParameter, 0.25);
  EXPECT_EQ(pair.secondPoint, c);

  DistanceQueryResult<Plane<double, 2>, Segment<Point<float, 2>>> plane;
  distance(Plane<double, 2>(Vector<double, 2>(0, 2), 1.0), Segment<Point<float, 2>>(&c, &d), plane);
  EXPECT_EQ(plane.squareDistance, 1.0);

  const ConstraintPoint p(Point<double, 3>(0, 0, 0)), q(Point<double, 3>(2, 0, 0));
  DistanceQueryResult<Vector3, Segment<ConstraintPoint>> constraint;
  distance(Vector3(1, 1, 0), Segment<ConstraintPoint>(&p, &q), constraint);
  EXPECT_EQ(constraint.parameter, 0.5);
}

TEST(Distance, PlaneToTriangle)
{
  const Plane<double, 3> plane(Vector3(0, 0, 1), 1.0);
  const struct
  {
    double z[3], distance;
  } rows[] = {{{2, 3, 4}, 1}, {{-1, 0, 0.5}, 0.5}, {{0, 2, 3}, 0}, {{1, 2, 3}, 0}, {{1, 1, 1}, 0}};
  for (const auto& row : rows) {
    const OwnTriangle triangle(Vector3(0, 0, row.z[0]), Vector3(1, 0, row.z[1]), Vector3(0, 1, row.z[2]));
    DistanceQueryResult<Plane<double, 3>, Triangle> result;
    ASSERT_TRUE(distance(plane, triangle.triangle, result));
    EXPECT_EQ(result.distance, row.distance);
    EXPECT_EQ(result.squareDistance, row.distance * row.distance);
  }
}

TEST(Distance, SegmentToVolume)
{
  const AxisAlignedBox<float, 3> box(Vector<float, 3>(0, 0, 0), Vector<float, 3>(2, 2, 2));
  const struct
  {
    const char* name;
    Vector3 start, end;
    double squareDistance;
  } rows[] = {
      {"inside", {0.5, 0.5, 0.5}, {1, 1, 1}, 0},     {"through", {-1, 1, 1}, {3, 1, 1}, 0},
      {"past an edge", {4, 0, 1}, {0, 4, 1}, 0},     {"beside an edge", {6, 0, 1}, {0, 6, 1}, 2},
      {"before a face", {3, 1, 1}, {5, 1, 1}, 1},    {"a point", {1, 1, 5}, {1, 1, 5}, 9},
      {"across a corner", {3, 3, 3}, {4, 4, 4}, 3},  {"in a face", {2, -1, 1}, {2, 3, 1}, 0},
      {"along a face", {0.5, 0.5, 3}, {1, 1, 3}, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Point3N start(row.start), end(row.end);
    DistanceQueryResult<Segment<Point3N>, AxisAlignedBox<float, 3>> result;
    EXPECT_TRUE(distance(Segment<Point3N>(&start, &end), box, result));
    EXPECT_NEAR(result.squareDistance, row.squareDistance, 1e-15);
    EXPECT_FALSE(distance(Segment<Point3N>(&start, &end), box, result));
  }
}

TEST(Distance, PilotSegmentSeesOnlyBetweenItsEnds)
{
  const Point3N start(0, 0, 0), end(4, 0, 0);
  const PilotSegment<Point3N> pilot(&start, &end);
  const struct
  {
    const char* name;
    Vector3 a, b, c;
    bool found;
    double squareDistance;
  } rows[] = {
      {"beside the middle", {1, 1, 0}, {3, 2, 0}, {1, 5, 0}, true, 1},
      {"wholly beyond", {5, 1, 0}, {6, 1, 0}, {5, 2, 0}, false, 0},
      {"wholly before", {-5, 1, 0}, {-6, 1, 0}, {-5, 2, 0}, false, 0},
      {"nearest beyond, rest inside", {5, 1, 0}, {3, 3, 0}, {3, 5, 0}, true, 4},
      {"nearest before, rest inside", {-1, 1, 0}, {1, 3, 0}, {1, 5, 0}, true, 4},
      {"touching the end plane", {4, 2, 0}, {5, 1, 0}, {5, 3, 0}, true, 4},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const OwnTriangle triangle(row.a, row.b, row.c);
    DistanceQueryResult<PilotSegment<Point3N>, Triangle> result;
    ASSERT_EQ(distance(pilot, triangle.triangle, result), row.found);
    if (!row.found) continue;
    EXPECT_NEAR(result.squareDistance, row.squareDistance, 1e-14);
    EXPECT_LT((result.secondPoint - triangle.at(result.xi, result.eta)).length(), 1e-14);
  }
}

TEST(Distance, VolumesAreMeasuredInDouble)
{
  Testing::RandomGeometry random(17);
  for (int i = 0; i < 3000; ++i) {
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
  }
}
