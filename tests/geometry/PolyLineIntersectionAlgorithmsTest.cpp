#include "geometry/PolyLineIntersectionAlgorithms.h"

#include "geometry/StraightLine.h"
#include "tests/support/Matchers.h"
#include "tests/support/PolyLineBuilder.h"
#include "tests/support/RandomGeometry.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <tuple>

using namespace Kavrel;
using namespace Kavrel::Testing;
using testing::ElementsAre;

namespace {

using P2 = Point<double, 2>;
using P3 = Point<double, 3>;
using Planar = PolyLineIntersectionAlgorithms<P2>;
using Spatial = PolyLineIntersectionAlgorithms<P3>;
using Real = long double;

/// On the lattice crossings in vertices and collinear segments abound, and doubles are exact.
template <class P>
PolyLine<P> randomWalk(RandomGeometry& random, std::size_t count, bool onLattice, bool closed)
{
  PolyLine<P> line;
  for (auto p : random.walk<P::Dim>(count, 4.0)) {
    if (onLattice) p[0] = std::round(p[0]), p[1] = std::round(p[1]);
    line.addPoint(P(Point<double, P::Dim>(p)));
  }
  line.setClosed(closed);
  return line;
}

/// Parameter on the first of two segments where they have a point in common, ends included, unless they are parallel.
template <class P>
std::optional<Real> crossingParameter(const Segment<P>& a, const Segment<P>& b)
{
  const auto side = [](const Segment<P>& of, const P& at) {
    const P &from = *of.getStart(), &to = *of.getEnd();
    return (Real(to[0]) - from[0]) * (Real(at[1]) - from[1]) - (Real(to[1]) - from[1]) * (Real(at[0]) - from[0]);
  };
  const Real atStart = side(b, *a.getStart()), atEnd = side(b, *a.getEnd());
  if (atStart == atEnd || atStart * atEnd > 0 || side(a, *b.getStart()) * side(a, *b.getEnd()) > 0) return {};
  return atStart / (atStart - atEnd);
}

struct Crossing
{
  unsigned a, b;
  Real u; // on a
};

template <class P>
std::vector<Crossing> allCrossings(const PolyLine<P>& a, const PolyLine<P>& b)
{
  std::vector<Crossing> list;
  for (unsigned i = 0; i < a.numberOfSegments(); ++i)
    for (unsigned j = 0; j < b.numberOfSegments(); ++j)
      if (const auto u = crossingParameter(a.getSegment(i), b.getSegment(j))) list.push_back({i, j, *u});
  return list;
}

/// Those of segments that don't share a vertex, `a` being the one that begins later in a sweep along x, in the order of
/// the sweep.
template <class P>
std::vector<Crossing> selfCrossings(const PolyLine<P>& line)
{
  const std::size_t points = line.numberOfPoints();
  const auto key = [&](std::size_t s) {
    return std::tuple(std::min((*line.getSegment(s).getStart())[0], (*line.getSegment(s).getEnd())[0]), s);
  };
  auto list = allCrossings(line, line);
  std::erase_if(list, [&](const Crossing& c) {
    return !(key(c.b) < key(c.a)) || (c.a + 1) % points == c.b || (c.b + 1) % points == c.a;
  });
  std::sort(list.begin(), list.end(), [&key](const Crossing& c, const Crossing& d) {
    return std::tuple(key(c.a), key(c.b)) < std::tuple(key(d.a), key(d.b));
  });
  return list;
}

TEST(PolyLineIntersectionAlgorithms, CrossingsOfTwoLinesAreThoseOfAllTheirSegments)
{
  RandomGeometry random(31);
  Planar algorithms;
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    const auto a = randomWalk<P2>(random, 2 + random.index(90), round % 2, round % 4 < 2);
    auto b = randomWalk<P2>(random, 2 + random.index(300), round % 2, round % 4 < 2);
    for (P2& p : b)
      p += round % 2 ? P2(1, 2) : P2(0.3, 0.7);
    const auto expected = allCrossings(a, b);

    std::vector<unsigned> onA{7}, onB{8};
    std::vector<P2> points{P2(1e9, 1e9)}, fromTrees;
    ASSERT_TRUE(algorithms.calculateAllIntersectionPoints(a, onA, b, onB, points, true, 0.0));
    ASSERT_EQ(points.size(), expected.size() + 1);
    for (std::size_t k = 0; k < expected.size(); ++k) {
      EXPECT_EQ(std::tuple(onA[k + 1], onB[k + 1]), std::tuple(expected[k].a, expected[k].b));
      EXPECT_THAT(points[k + 1], IsNear(a.getSegment(expected[k].a).getPoint(double(expected[k].u)), 1e-9));
    }
    EXPECT_TRUE(Planar::calculateAllIntersectionPointsXY(Planar::SearchTree(a), Planar::SearchTree(b), fromTrees, 0.0));
    EXPECT_EQ(fromTrees, std::vector<P2>(points.begin() + 1, points.end()));
    EXPECT_EQ(algorithms.intersectXY(a, b, false, 0.0), !expected.empty());
  }
}

TEST(PolyLineIntersectionAlgorithms, CrossingsLieOnTheFirstLineWhateverTheHeights)
{
  const auto low = polyLineFrom<P3>("0,0,0 4,0,8"), high = polyLineFrom<P3>("1,-1,50 1,1,50 3,1,50 3,-1,50");
  std::vector<P3> points;
  EXPECT_TRUE(Spatial().calculateAllIntersectionPointsXY(low, high, points, false, 1e-6));
  EXPECT_THAT(points, ElementsAre(IsNear(P3(1, 0, 2), 1e-12), IsNear(P3(3, 0, 6), 1e-12)));
}

TEST(PolyLineIntersectionAlgorithms, FilteredCrossingsNameVertexAndSeamOnce)
{
  const std::tuple<const char*, const char*, std::size_t> rows[] = {
      {"-1,0 0,0 1,0.5", "0,-1 0,0 0.5,1", 1},           // vertices of both
      {"-1,0 1,0", "0,1 0,1e-17 0.5,-1", 1},             // a vertex but for rounding
      {"0,0 2,1 2,-1 closed", "-1,-1 1,1", 1},           // the seam
      {"0,0 2,1 2,-1 closed", "0,-1 0,1 1,1 1,-1", 4},   // the seam, with others between
      {"-1,0 1,0", "0,-1 0,1 0.5,1 0.5,-1 0,-2 0,2", 2}, // the last is the first again
  };
  for (const auto& [textA, textB, count] : rows) {
    SCOPED_TRACE(std::string(textA) + " | " + textB);
    const auto a = polyLineFrom<P2>(textA), b = polyLineFrom<P2>(textB);
    std::vector<P2> filtered, fromTrees;
    Planar().calculateAllIntersectionPointsFiltered(a, b, filtered, false, 1e-6);
    Planar::calculateAllIntersectionPointsFiltered(Planar::SearchTree(a), Planar::SearchTree(b), fromTrees, 1e-6);
    EXPECT_EQ(filtered.size(), count);
    EXPECT_EQ(fromTrees, filtered);
  }
}

TEST(PolyLineIntersectionAlgorithms, TellsASearchThatRanFromOneThatCouldNot)
{
  const auto line = polyLineFrom<P2>("0,0 2,0"), apart = polyLineFrom<P2>("0,1 2,1");
  Planar algorithms;
  std::vector<P2> points;
  for (const double tolerance : {-1e-9, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_FALSE(algorithms.calculateAllIntersectionPointsXY(line, apart, points, false, tolerance));
  const auto shared = std::make_shared<const PolyLine<P2>>(line);
  const Planar::SearchTree one(line), two(std::vector{shared, shared}, true);
  std::vector<unsigned> indices, others;
  EXPECT_FALSE(Planar::calculateAllIntersectionPoints(one, indices, two, others, points, 0.0));
  EXPECT_FALSE(algorithms.calculateAllIntersectionPoints(shared, nullptr, shared, nullptr, nullptr, false, 0.0));
  EXPECT_THAT(points, testing::IsEmpty());
}

TEST(PolyLineIntersectionAlgorithms, KeepsATreePerLineUntilItIsReset)
{
  const auto fixed = polyLineFrom<P2>("0,0 4,0");
  auto line = polyLineFrom<P2>("1,-1 1,1");
  Planar algorithms;
  const auto crossesWhere = [&](bool refresh) {
    std::vector<P2> points;
    algorithms.calculateAllIntersectionPointsXY(fixed, line, points, refresh, 0.0);
    return points;
  };
  EXPECT_THAT(crossesWhere(false), ElementsAre(P2(1, 0)));
  line[0] = P2(6, -1), line[1] = P2(6, 1);
  EXPECT_THAT(crossesWhere(true), testing::IsEmpty());
  line[0] = P2(3, -1), line[1] = P2(3, 1);
  line.addPoint(P2(4, -1));
  EXPECT_THAT(crossesWhere(false), testing::IsEmpty());
  EXPECT_THAT(crossesWhere(true), ElementsAre(P2(3, 0), P2(3.5, 0)));
  line.deletePoint(2);
  EXPECT_THAT(crossesWhere(false), ElementsAre(P2(3, 0))); // without the segment that is gone
  line[0] = P2(2, -1), line[1] = P2(2, 1);
  EXPECT_TRUE(algorithms.resetPolyLine(line));
  EXPECT_THAT(crossesWhere(false), ElementsAre(P2(2, 0)));
  EXPECT_EQ(algorithms.numberOfSearchTrees(), 2u);

  line.setId(Identifier()); // another polyline at the same address
  EXPECT_THAT(crossesWhere(false), ElementsAre(P2(2, 0)));
  EXPECT_EQ(algorithms.numberOfSearchTrees(), 3u);
  line.clear();
  EXPECT_FALSE(algorithms.resetPolyLine(line));
  EXPECT_EQ(algorithms.numberOfSearchTrees(), 2u);
}

TEST(PolyLineIntersectionAlgorithms, ReportsOverlapsBesideCrossings)
{
  const auto a = polyLineFrom<P2>("0,0 4,0 4,4");
  const auto b = polyLineFrom<P2>("1,0 3,0 5,2 5,3 4,3 4,6");
  std::vector<P2> points;
  std::vector<Segment<P2>> overlaps;
  EXPECT_TRUE(Planar::calculateAllIntersectionPointsAndSegmentsXY(a, b, points, overlaps));
  EXPECT_THAT(points, ElementsAre(P2(3, 0), P2(4, 1), P2(4, 3)));
  ASSERT_EQ(overlaps.size(), 2u);
  EXPECT_EQ(std::pair(overlaps[0].getStart(), overlaps[0].getEnd()), std::pair(&b[0], &b[1]));
  EXPECT_EQ(std::pair(overlaps[1].getStart(), overlaps[1].getEnd()), std::pair(&b[4], &a[2]));
}

TEST(PolyLineIntersectionAlgorithms, CrossesPlanesOncePerPlace)
{
  const Plane<double, 3> ground(Vector<double, 3>(0, 0, 1), 0.0);
  const std::tuple<const char*, std::size_t> rows[] = {
      {"0,0,-1 1,0,0 2,0,1", 1},              // a vertex on the plane
      {"0,0,0 1,0,1 2,0,-1 closed", 2},       // the seam on the plane
      {"0,0,0 1,0,0 1,1,0 closed", 0},        // in the plane
      {"0,0,-1 0,0,1 1,0,1 1,0,-1 closed", 2} // the closing segment below
  };
  for (const auto& [text, count] : rows) {
    SCOPED_TRACE(text);
    const auto line = polyLineFrom<Point3N>(text);
    std::vector<P3> points;
    std::vector<std::pair<std::size_t, double>> where;
    EXPECT_EQ(PolyLineIntersectionAlgorithms<Point3N>::calculateIntersection(line, ground, points, where), count > 0);
    ASSERT_EQ(points.size(), count);
    ASSERT_EQ(where.size(), count);
    for (std::size_t k = 0; k < count; ++k)
      EXPECT_EQ(points[k], line.getSegment(where[k].first).getPoint(where[k].second));
  }
  const auto fence = polyLineFrom<P3>("0,0,-1 0,0,1 2,0,-1 4,0,1 6,0,-1");
  P3 nearest(9, 9, 9);
  EXPECT_TRUE(Spatial::findPointOfNearestIntersection(ground, P3(2, 0, 5), fence, nearest));
  EXPECT_EQ(nearest, P3(1, 0, 0)); // as near as (3, 0, 0)
}

TEST(PolyLineIntersectionAlgorithms, CrossesLinesFromBothEndsInwards)
{
  const std::vector<std::size_t> orders[] = {{0}, {0, 1}, {0, 1, 4, 2, 3}, {0, 1, 5, 2, 4, 3}};
  const StraightLine<double, 3> axis(P3(-5, 0, 0), P3(-4, 0, 0), 0.1);
  for (const auto& order : orders)
    for (std::size_t k = 0; k < order.size(); ++k) {
      SCOPED_TRACE(testing::Message() << "segment " << order[k] << " of " << order.size());
      // Only the segments from the k-th of the order on cross, each in its middle.
      PolyLine<P3> line;
      double side = 1;
      for (std::size_t i = 0; i <= order.size(); ++i) {
        line.addPoint(P3(static_cast<double>(i), side, side));
        const auto visit = std::find(order.begin(), order.end(), i) - order.begin();
        if (visit >= static_cast<std::ptrdiff_t>(k)) side = -side;
      }
      P3 onXY, onXZ;
      EXPECT_TRUE(Spatial::calculateIntersectionXY(line, axis, onXY));
      EXPECT_TRUE(Spatial::calculateIntersectionXZ(line, axis, onXZ));
      EXPECT_EQ(onXY, P3(static_cast<double>(order[k]) + 0.5, 0, 0));
      EXPECT_EQ(onXZ, onXY);
    }
}

TEST(PolyLineIntersectionAlgorithms, ProlongsTheEndsInXZ)
{
  const std::tuple<const char*, double, bool, P3> rows[] = {
      {"0,0,0 1,0,1 2,0,1", -2, true, P3(-2, 0, -2)},         // before the start
      {"0,0,0 1,0,1 1,0,2", 5, false, P3(9, 9, 9)},           // the end is parallel, the start leads away
      {"0,0,0 0,0,1 1,0,1 0,0,2", -2, true, P3(-2, 0, 4)},    // the start is parallel
      {"2,0,0 1,0,1 1,0,2 2,0,3", 3, true, P3(3, 0, -1)},     // both would do
      {"0,0,0 1,0,1 0,0,2 closed", -1e-13, true, P3(0, 0, 0)} // a vertex
  };
  for (const auto& [text, x, found, expected] : rows) {
    SCOPED_TRACE(testing::Message() << text << " at " << x);
    const StraightLine<double, 3> line(P3(x, 7, 0), P3(x, 7, 1), 0.1);
    P3 out(9, 9, 9);
    EXPECT_EQ(Spatial::calculateIntersectionXZ(polyLineFrom<P3>(text), line, out), found);
    EXPECT_THAT(out, IsNear(expected, 1e-12));
  }
}

TEST(PolyLineIntersectionAlgorithms, CrossesASegmentUpToItsEnds)
{
  const auto line = polyLineFrom<P2>("0,0 2,0 2,2 0,2 closed");
  const std::tuple<P2, P2, std::size_t> rows[] = {
      {P2(1, -1), P2(1, 3), 2},      {P2(-1, 1), P2(1, 1), 1},
      {P2(1, -1), P2(1, -1e-12), 1}, {P2(1, -1), P2(1, -1e-9), 0}, // within 1e-10 of the segment
      {P2(-1, -1), P2(1, 1), 2},     {P2(-1, 0), P2(3, 0), 2}};    // through vertices, the last along a side
  for (const auto& [from, to, count] : rows) {
    SCOPED_TRACE(testing::Message() << testing::PrintToString(from) << testing::PrintToString(to));
    std::vector<P2> points;
    EXPECT_EQ(Planar::calculateIntersectionXY(line, Segment<P2>(&from, &to), points), count > 0);
    EXPECT_EQ(points.size(), count);
  }
}

TEST(PolyLineIntersectionAlgorithms, MeetsCirclesWhereTheDistanceIsTheRadius)
{
  repeat(2000, 32, [&](RandomGeometry& random) {
    const P2 a(random.inCube<2>(2)), b(random.inCube<2>(2)), centre(random.inCube<2>(1));
    const double radius = random.uniform(0.1, 2);
    std::vector<P2> points;
    const int count = Planar::circleIntersectionsWithSegment(Segment<P2>(&a, &b), centre, radius, points);
    ASSERT_EQ(points.size(), static_cast<std::size_t>(count));
    const auto isInside = [&](const P2& p) { return p.distance(centre) < radius; };
    const P2 nearest = Segment<P2>(&a, &b).nearestPoint(centre);
    EXPECT_EQ(count, isInside(a) != isInside(b) ? 1 : isInside(nearest) && !isInside(a) ? 2 : 0);
    for (const P2& p : points) {
      EXPECT_NEAR(p.distance(centre), radius, 1e-9);
      EXPECT_NEAR(Segment<P2>(&a, &b).distance(p), 0.0, 1e-9);
    }
  });
  std::vector<P2> square;
  const auto outline = polyLineFrom<P2>("0,0 2,0 2,2 0,2 closed");
  EXPECT_TRUE(Planar::circleIntersectionsWithPolyLine(P2(0, 0), 1.0, outline, square));
  EXPECT_THAT(square, ElementsAre(P2(1, 0), P2(0, 1)));
}

TEST(PolyLineIntersectionAlgorithms, SeesCrossingsAlongAnyDirectionInShortAndLongLines)
{
  RandomGeometry random(33);
  int crossing = 0;
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    const auto flatA = randomWalk<P2>(random, 6 + random.index(10), false, round % 2);
    auto flatB = randomWalk<P2>(random, 6 + random.index(10), false, false);
    const auto shift = random.inCube<2>(8);
    for (P2& p : flatB)
      p += shift;
    const auto direction = random.direction<3>(), across = direction.getOrthoNormal();
    const auto placed = [&](const PolyLine<P2>& flat, auto point) {
      PolyLine<decltype(point)> line;
      for (const P2& p : flat)
        line.addPoint(P3(across * p[0] + direction.cross(across) * p[1] + direction * random.uniform(-5, 5)));
      line.setClosed(flat.isClosed());
      return line;
    };
    const auto a = placed(flatA, Point3N());
    auto b = placed(flatB, P3());
    const bool expected = !allCrossings(flatA, flatB).empty();
    crossing += expected;
    EXPECT_EQ(Spatial::intersectInProjection(b, a, direction, 1e-9), expected);
    while (b.numberOfPoints() <= 60) // a tail along the view adds nothing to see
      b.addPoint(P3(b.back() + direction));
    EXPECT_EQ(PolyLineIntersectionAlgorithms<Point3N>::intersectInProjection(a, b, direction, 1e-9), expected);
  }
  EXPECT_THAT(crossing, testing::AllOf(testing::Gt(10), testing::Lt(50)));
}

template <class P>
class SelfIntersections : public testing::Test
{};
using PointTypes = testing::Types<Point<double, 2>, Point<double, 3>, Point3N, Point3NT>;
TYPED_TEST_SUITE(SelfIntersections, PointTypes);

TYPED_TEST(SelfIntersections, AreThoseOfAllPairsInTheOrderOfASweep)
{
  using P = TypeParam;
  using Algorithms = PolyLineIntersectionAlgorithms<P>;
  RandomGeometry random(41);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    const auto line = randomWalk<P>(random, 2 + random.index(round < 30 ? 40 : 200), round % 2, round % 4 < 2);
    const auto expected = selfCrossings(line);
    const auto points = Algorithms::getSelfIntersections(line);
    ASSERT_EQ(points->size(), expected.size());
    std::list<std::size_t> later;
    for (std::size_t k = 0; k < expected.size(); ++k) {
      const auto segment = line.getSegment(expected[k].a);
      EXPECT_THAT((*points)[k], IsNear(segment.getPoint(double(expected[k].u)), 1e-9));
      if (later.empty() || later.back() != expected[k].a) later.push_back(expected[k].a);
    }
    const auto list = std::make_shared<std::list<std::size_t>>();
    EXPECT_EQ(Algorithms::isSelfIntersecting(line, list), !expected.empty());
    EXPECT_EQ(*list, later);
  }
}

TEST(PolyLineIntersectionAlgorithms, SelfIntersectionsCountOrNotAtTheEdges)
{
  using Algorithms = PolyLineIntersectionAlgorithms<P2>;
  const std::tuple<const char*, std::list<std::size_t>> rows[] = {
      {"0,0 4,0 4,4 1,4 3,0.000002", {}},     // ends before it, box apart
      {"0,0 4,1 4,4 1,4 2,0.500001", {3}},    // ends before it, by less than 1e-6 of its length
      {"0,0 4,1 4,4 1,4 2,0.50001", {}},      // by more
      {"0,0 2,2 4,0 4,2 0,1 closed", {3, 1}}, // several
      {"0,0 1e-4,1e-4 1e-4,0 0,1e-4", {}},    // too small to cross
      {"-1e39,-1e39 1e39,1e39 2,0 0,2", {2}}, // beyond single precision
      {"0,0 2,2 2,nan 2,0 0,2", {3}},         // no number crosses nothing
      {"0,0 inf,2 2,2 2,0 0,2", {}},
  };
  for (const auto& [line, later] : rows) {
    SCOPED_TRACE(line);
    EXPECT_EQ(*Algorithms::getIntersections(polyLineFrom<P2>(line)), later);
  }
  const auto filled = std::make_shared<std::list<std::size_t>>(1, 9);
  EXPECT_TRUE(Algorithms::isSelfIntersecting(polyLineFrom<P2>("0,0 1,0 1,1 0,1"), filled));
  EXPECT_FALSE(Algorithms::isSelfIntersecting(polyLineFrom<P2>("0,0 1,0 1,1"), filled));
}

} // namespace
