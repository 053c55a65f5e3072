#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineNearest.h"

#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>
#include <limits>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Real = long double;
using Point2 = Point<double, 2>;

template <class P>
class PolyLineDistanceOf : public testing::Test
{};
using PolyLinePoints = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N,
                                      Point3NT, ProjectionPoint, ConstraintPoint>;
TYPED_TEST_SUITE(PolyLineDistanceOf, PolyLinePoints);

template <class P>
Real squareDistanceToSegment(const P& a, const P& b, const Point<typename P::Scalar, P::Dim>& p)
{
  Real along = 0, square = 0;
  for (unsigned i = 0; i < P::Dim; ++i) {
    along += (Real(p[i]) - a[i]) * (Real(b[i]) - a[i]);
    square += (Real(b[i]) - a[i]) * (Real(b[i]) - a[i]);
  }
  const Real t = square > 0 ? std::clamp(along / square, Real(0), Real(1)) : Real(0);
  Real sum = 0;
  for (unsigned i = 0; i < P::Dim; ++i) {
    const Real difference = a[i] + t * (Real(b[i]) - a[i]) - p[i];
    sum += difference * difference;
  }
  return sum;
}

TYPED_TEST(PolyLineDistanceOf, IsThatOfTheFirstNearestSegment)
{
  using P = TypeParam;
  using T = typename P::Scalar;
  constexpr unsigned dim = P::Dim;
  repeat(300, 21, [](RandomGeometry& random) {
    const double size = random.logUniform(0.01, 100.0);
    const double offset = random.coin() ? 0.0 : random.logUniform(1.0, 1e6);
    PolyLine<P> polyline;
    for (const auto& v : random.walk<dim>(1 + random.index(random.coin() ? 12 : 400), size)) {
      P& point = polyline.getPointCollection().emplace_back();
      for (unsigned i = 0; i < dim; ++i)
        point[i] = static_cast<T>(v[i] + offset);
    }
    if (random.coin()) polyline.addPoint(P(polyline.back()));
    polyline.setClosed(random.coin());
    Point<T, dim> p = polyline[random.index(polyline.numberOfPoints())];
    p[1] += static_cast<T>(random.coin() ? random.logUniform(1e-9, 10.0) * size : 0.0);

    Real square = squareDistanceToSegment(polyline[0], polyline[0], p);
    T best = p.sqrDistance(polyline[0]);
    double expectedU = 0.0, u = -1.0;
    std::size_t expectedSegment = 0, segment = 999;
    for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i) {
      const P &start = *polyline.getSegment(i).getStart(), &end = *polyline.getSegment(i).getEnd();
      square = std::min(square, squareDistanceToSegment(start, end, p));
      const auto [distance, t] = PolyLineNearest::viewOf<T, dim>(start, end, p).nearest();
      if (!(distance < best)) continue;
      best = distance;
      expectedU = static_cast<double>(t);
      expectedSegment = i;
    }
    const T actual = PolyLineAlgorithm::sqrDist(polyline, p, u, segment);
    const double error = 4.0 * static_cast<double>(std::numeric_limits<T>::epsilon()) * (offset + 100.0 * size);
    EXPECT_NEAR(static_cast<double>(actual), static_cast<double>(square),
                (2.0 * static_cast<double>(std::sqrt(square)) + error) * error);
    EXPECT_EQ(actual, best);
    EXPECT_EQ(u, expectedU);
    EXPECT_EQ(segment, expectedSegment);
  });
}

TEST(PolyLineDistance, ReportsTheFirstOfEqualPlaces)
{
  const struct
  {
    const char *name, *line, *point;
    double sqrDistance, u;
    std::size_t segment;
  } rows[] = {
      {"the middle of a square", "0,0 2,0 2,2 0,2 closed", "1,1", 1.0, 0.5, 0},
      {"at the closing segment", "0,0 2,0 2,2 0,2 closed", "-0.5,1.5", 0.25, 0.25, 3},
      {"one point", "5,5", "6,5", 1.0, 0.0, 0},
      {"one point, closed", "5,5 closed", "6,5", 1.0, 0.0, 0},
      {"a degenerate segment is its start", "0,0 0.0000009,0", "0.0000009,0", 8.1e-13, 0.0, 0},
      {"a segment at the limit isn't", "0,0 0.0000011,0", "0.0000011,0", 0.0, 1.0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto line = polyLineFrom<Point2>(row.line);
    double u = -1.0;
    std::size_t segment = 99;
    EXPECT_DOUBLE_EQ(PolyLineAlgorithm::sqrDist(line, pointFrom<Point2>(row.point), u, segment), row.sqrDistance);
    EXPECT_DOUBLE_EQ(u, row.u);
    EXPECT_EQ(segment, row.segment);
  }
}

TEST(PolyLineDistance, SnapsToTheEndsOfASegment)
{
  const auto line = polyLineFrom<Point2>("0,0 1,0");
  for (const auto& [x, expected] :
       {std::pair(0.9e-12, 0.0), {1.1e-12, 1.1e-12}, {1.0 - 0.9e-12, 1.0}, {1.0 - 1.1e-12, 1.0 - 1.1e-12}}) {
    double u = -1.0;
    std::size_t segment = 99;
    PolyLineAlgorithm::sqrDist(line, Point2(x, 0.0), u, segment);
    EXPECT_EQ(u, expected) << x;
  }
}

TEST(PolyLineDistance, HostileInputLeavesTheSoundSegments)
{
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double inf = std::numeric_limits<double>::infinity();
  const PolyLine<Point2> empty;
  double u = 0.25;
  std::size_t segment = 7;
  EXPECT_EQ(PolyLineAlgorithm::sqrDist(empty, Point2(), u, segment), std::numeric_limits<double>::max());
  EXPECT_EQ(u, 0.25);
  EXPECT_EQ(segment, 7U);

  const PolyLine<Point2> line({{0.0, 0.0}, {nan, 1.0}, {inf, 0.0}, {3.0, 0.0}, {4.0, 0.0}}, 0.1);
  EXPECT_EQ(PolyLineAlgorithm::sqrDist(line, Point2(3.5, 1.0), u, segment), 1.0);
  EXPECT_EQ(segment, 3U);

  // The vertex between two broken ones belongs to no segment that can be measured.
  PolyLine<Point2> longLine;
  for (int i = 0; i < 100; ++i)
    longLine.addPoint(Point2(i == 31 || i == 33 ? nan : i, 0.0));
  EXPECT_EQ(PolyLineAlgorithm::sqrDist(longLine, Point2(32.0, 1.0), u, segment), 5.0);
  EXPECT_EQ(segment, 29U);
  const PolyLine<Point2> towardsInfinity({{0.0, 0.0}, {nan, 0.0}, {5.0, 0.0}, {5.0, inf}}, 0.1);
  EXPECT_EQ(PolyLineAlgorithm::sqrDist(towardsInfinity, Point2(5.0, -1.0), u, segment), 26.0);
}

} // namespace
