#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"

#include "geometry/DoublePrecision.h"
#include "geometry/PolyLine.h"
#include "support/BruteForce.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <set>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::RandomGeometry;
namespace Brute = Testing::BruteForce;
using testing::ElementsAre;

namespace {

using Brute::largest;

template <class P>
using Position = Vector<double, P::Dim>;

template <class P>
P pointAt(const Position<P>& position)
{
  P point;
  for (unsigned i = 0; i < P::Dim; ++i)
    point[i] = static_cast<typename P::Scalar>(position[i]);
  return point;
}

template <class P>
PolyLine<P> lineThrough(const std::vector<Position<P>>& positions, bool closed = false)
{
  PolyLine<P> line;
  for (const auto& position : positions)
    line.addPoint(pointAt<P>(position));
  line.setClosed(closed);
  return line;
}

template <class P>
PolyLine<P> randomWalk(std::uint64_t seed, std::size_t count, bool closed = false)
{
  return lineThrough<P>(RandomGeometry(seed).walk<P::Dim>(count, 1.0), closed);
}

template <class P>
std::vector<Segment<P>> segmentsOf(const PolyLine<P>& line)
{
  std::vector<Segment<P>> segments;
  for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
    segments.push_back(line.getSegment(i));
  return segments;
}

template <class P>
Position<P> at(const Segment<P>& segment, double t)
{
  const auto start = toDouble(*segment.getStart());
  return start + (toDouble(*segment.getEnd()) - start) * t;
}

template <class P>
double distanceTo(const Segment<P>& segment, const Position<P>& query)
{
  return Brute::pointSegment(query, toDouble(*segment.getStart()), toDouble(*segment.getEnd()));
}

template <class P>
double distanceTo(const Segment<P>& a, const Segment<P>& b)
{
  return Brute::segmentSegment(toDouble(*a.getStart()), toDouble(*a.getEnd()), toDouble(*b.getStart()),
                               toDouble(*b.getEnd()));
}

template <class P>
class PolyLineSearchTreeOf : public testing::Test
{};
using PointTypes = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N>;
TYPED_TEST_SUITE(PolyLineSearchTreeOf, PointTypes);

TYPED_TEST(PolyLineSearchTreeOf, FindsTheNearestPoint)
{
  using P = TypeParam;
  RandomGeometry random(301);
  for (const bool closed : {false, true})
    for (const unsigned leafSize : {1U, 5U, 500U}) {
      SCOPED_TRACE(testing::Message() << (closed ? "closed" : "open") << ", leaf " << leafSize);
      const auto line = randomWalk<P>(302, 300, closed);
      const auto segments = segmentsOf(line);
      const PolyLineSearchTree<P> tree(line, leafSize), ofSegments(segments, leafSize);
      EXPECT_THAT(tree.getOriginalSizes(), ElementsAre(segments.size()));
      for (int i = 0; i < 60; ++i) {
        const Position<P> query =
            toDouble(line[random.index(line.numberOfPoints())]) + random.ofAnySize<P::Dim>(1e-4, 1e2);
        const double expected =
            Brute::nearest(segments.size(), [&](std::size_t k) { return distanceTo(segments[k], query); }).value;
        const double distance = tree.squareDistance(query);
        EXPECT_NEAR(distance, expected, 1e-12 * (1 + expected));
        EXPECT_EQ(ofSegments.squareDistance(query), distance);
        double out = -1;
        EXPECT_TRUE(tree.squareDistance(query, out));
        EXPECT_EQ(out, distance);
        const auto [parameter, id] = tree.calcLocalParameter(query);
        ASSERT_LT(id, segments.size());
        const auto onSegment = at(segments[id], parameter);
        EXPECT_NEAR(Brute::squareDistance(onSegment, query), expected, 1e-12 * (1 + expected));
        const double ulps = std::is_same_v<typename P::Scalar, float> ? 1e-5 : 1e-12;
        EXPECT_TRUE(toDouble(tree.projectPoint(query)).isApproximatelyEqualTo(onSegment, ulps));
      }
    }
}

TYPED_TEST(PolyLineSearchTreeOf, FindsTheNearestPointsOfTwoTrees)
{
  using P = TypeParam;
  for (const double apart : {0.0, 3.0, 40.0}) {
    SCOPED_TRACE(apart);
    const auto line = randomWalk<P>(303, 90);
    auto moved = RandomGeometry(304).walk<P::Dim>(120, 1.0);
    for (auto& position : moved)
      position[1] += apart;
    const auto other = lineThrough<P>(moved);
    const auto segments = segmentsOf(line), others = segmentsOf(other);
    double expected = largest;
    for (const auto& a : segments)
      for (const auto& b : others)
        expected = std::min(expected, distanceTo(a, b));
    const PolyLineSearchTree<P> tree(line, 4), otherTree(other, 3);
    P onThis, onOther;
    const double distance = tree.squareDistance(otherTree, onThis, onOther, largest);
    EXPECT_NEAR(distance, expected, 1e-9 * (1 + expected));
    EXPECT_NEAR(otherTree.squareDistance(tree, largest), expected, 1e-9 * (1 + expected));
    const double coarse = std::is_same_v<typename P::Scalar, float> ? 1e-4 : 1e-9;
    EXPECT_NEAR(Brute::squareDistance(toDouble(onThis), toDouble(onOther)), expected, coarse * (1 + expected));
    EXPECT_NEAR(tree.squareDistance(toDouble(onThis)), 0, coarse);
    EXPECT_NEAR(otherTree.squareDistance(toDouble(onOther)), 0, coarse);
  }
}

/// Whether the segments cross in x and y once both are prolonged at both ends by the tolerance times their length.
template <class P>
bool crossInXY(const Segment<P>& s, const Segment<P>& t, double tolerance)
{
  const auto a = at(s, -tolerance), b = at(s, 1 + tolerance), c = at(t, -tolerance), d = at(t, 1 + tolerance);
  const auto isLeft = [](const Position<P>& from, const Position<P>& to, const Position<P>& p) {
    return (to[0] - from[0]) * (p[1] - from[1]) - (to[1] - from[1]) * (p[0] - from[0]) > 0;
  };
  return isLeft(a, b, c) != isLeft(a, b, d) && isLeft(c, d, a) != isLeft(c, d, b);
}

TYPED_TEST(PolyLineSearchTreeOf, CrossesInXYAtAnyHeight)
{
  using P = TypeParam;
  std::vector<Position<P>> positions, others;
  Testing::repeat(40, 340, [&](RandomGeometry& random) {
    positions.push_back(random.inCube<P::Dim>(5));
    others.push_back(random.inCube<P::Dim>(5));
    if constexpr (P::Dim == 3) others.back()[2] += 1e4;
  });
  const auto line = lineThrough<P>(positions), other = lineThrough<P>(others, true);
  const PolyLineSearchTree<P> tree(line, 4), otherTree(other, 20);
  const double coarse = std::is_same_v<typename P::Scalar, float> ? 1e-4 : 1e-9;
  std::vector<typename PolyLineSearchTree<P>::SegmentIntersection> list;
  for (const double tolerance : {0.3, 0.0}) {
    SCOPED_TRACE(tolerance);
    std::set<std::pair<std::size_t, std::size_t>> found, expected;
    for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
      for (std::size_t k = 0; k < other.numberOfSegments(); ++k)
        if (crossInXY(line.getSegment(i), other.getSegment(k), tolerance)) expected.emplace(i, k);
    list.clear();
    ASSERT_TRUE(tree.intersectXY(otherTree, list, false, tolerance));
    for (const auto& crossing : list) {
      found.emplace(crossing.indexThis, crossing.indexOther);
      const auto here = at(line.getSegment(crossing.indexThis), crossing.parameterThis);
      const auto there = at(other.getSegment(crossing.indexOther), crossing.parameterOther);
      EXPECT_NEAR(here[0], there[0], coarse);
      EXPECT_NEAR(here[1], there[1], coarse);
      EXPECT_TRUE(toDouble(crossing.point).isApproximatelyEqualTo(here, coarse));
    }
    EXPECT_EQ(found, expected);
    EXPECT_EQ(list.size(), expected.size());
  }
  const std::size_t count = list.size();
  // What the list already holds doesn't stop the search.
  EXPECT_TRUE(tree.intersectXY(otherTree, list, true, 0.0));
  EXPECT_EQ(list.size(), count + 1);
  if constexpr (std::is_same_v<P, Point<double, 2>>) {
    std::vector<P> points;
    EXPECT_TRUE(tree.intersectAbsTolerance(otherTree, points, false, 0));
    EXPECT_TRUE(tree.intersectAbsTolerance(otherTree, points, true, 0));
    EXPECT_EQ(points.size(), count + 1);
    EXPECT_TRUE(tree.intersect(otherTree, list));
    EXPECT_EQ(list.size(), 2 * count + 1);
  }
}

using P2 = Point<double, 2>;
using V2 = Vector<double, 2>;
using P3 = Point<double, 3>;
using V3 = Vector<double, 3>;

TEST(PolyLineSearchTree, MapsIdsToKeptPolylines)
{
  std::vector<std::shared_ptr<const PolyLine<P3>>> lines = {nullptr};
  for (const std::size_t segments : {2, 3, 4})
    lines.push_back(std::make_shared<PolyLine<P3>>(randomWalk<P3>(310 + segments, segments + 1)));
  const std::size_t none = static_cast<std::size_t>(-1);
  const std::size_t lineOf[] = {1, 1, 2, 2, 2, 3, 3, 3, 3, none}, segmentOf[] = {0, 1, 0, 1, 2, 0, 1, 2, 3, 9};
  for (const bool keeps : {true, false}) {
    const PolyLineSearchTree<P3> tree(lines, keeps, 2);
    EXPECT_EQ(tree.getPolyLines().size(), keeps ? 4U : 0U);
    EXPECT_EQ(PolyLineSearchTree<P3>(lines[1], keeps, 2).getPolyLines().size(), keeps ? 1U : 0U);
    EXPECT_THAT(tree.getOriginalSizes(), ElementsAre(0U, 2U, 3U, 4U));
    for (std::size_t id = 0; id < 10; ++id) {
      SCOPED_TRACE(id);
      const bool known = keeps && id < 9;
      std::size_t index = id, sameIndex = id;
      EXPECT_EQ(tree.correctElementIndexForMultiplePolyLinesAndGetMeshIdx(index), known ? lineOf[id] : none);
      EXPECT_EQ(tree.correctElementIndexForMultiplePolyLines(sameIndex), known ? lines[lineOf[id]] : nullptr);
      EXPECT_EQ(index, known ? segmentOf[id] : id);
      if (id == 9) continue;
      const auto segment = lines[lineOf[id]]->getSegment(segmentOf[id]);
      EXPECT_EQ(tree.calcLocalParameter((*segment.getStart() + *segment.getEnd()) * 0.5).second, id);
    }
  }
}

TEST(PolyLineSearchTree, FindsAPolylineOfOnePoint)
{
  for (const bool closed : {false, true}) {
    const auto line = std::make_shared<PolyLine<P3>>(lineThrough<P3>({V3(3, -4, 0)}, closed));
    const std::vector<std::shared_ptr<const PolyLine<P3>>> list = {line};
    for (const auto& tree : {PolyLineSearchTree<P3>(*line, 5), PolyLineSearchTree<P3>(line, false, 5),
                             PolyLineSearchTree<P3>(line, true, 5), PolyLineSearchTree<P3>(list, false, 5)}) {
      EXPECT_EQ(tree.squareDistance(V3()), 25);
      EXPECT_THAT(tree.getOriginalSizes(), ElementsAre(closed ? 1U : 0U));
      ASSERT_EQ(tree.getPolyLines().size(), 1U);
      EXPECT_EQ(tree.getPolyLines()[0]->numberOfSegments(), 1U);
    }
  }
}

TEST(PolyLineSearchTree, AnswersAllTheSameWhenEmpty)
{
  using Tree = PolyLineSearchTree<P3>;
  const PolyLine<P3> none, line = randomWalk<P3>(320, 20);
  const Tree full(line, 5);
  for (const auto& tree : {Tree(), Tree(none, 5), Tree(std::vector<Segment<P3>>(), 5),
                           Tree(std::shared_ptr<const PolyLine<P3>>(), true, 5)}) {
    double out = 1, untouched = 17;
    EXPECT_TRUE(!tree.squareDistance(V3(), 5.0, out) && out == largest);
    EXPECT_EQ(tree.squareDistance(full, 4.0), std::nextafter(4.0, 5.0));
    EXPECT_EQ(full.squareDistance(tree, 4.0), std::nextafter(4.0, 5.0));
    EXPECT_EQ(tree.squareDistanceToPlane(Plane<double, 3>()), largest);
    EXPECT_EQ(tree.projectPoint(V3()), P3());
    EXPECT_EQ(tree.calcLocalParameter(V3()), std::make_pair(0.0, std::size_t(0)));
    EXPECT_TRUE(tree.calcParameter(V3(), untouched, {1, 2, 3}) == 0 && untouched == 17);
    std::vector<Tree::SegmentIntersection> list;
    EXPECT_FALSE(tree.intersectXY(full, list, false, 0) || full.intersectXY(tree, list, false, 0));
    EXPECT_EQ(tree.oneSidedHausdorffDistance(none), largest);
  }
}

TEST(PolyLineSearchTree, KeepsToTheLimitsInclusively)
{
  const auto line = lineThrough<P3>({V3(0, 0, 0), V3(10, 0, 0)});
  const auto beside = lineThrough<P3>({V3(4, 2, -5), V3(4, 2, 5)});
  const PolyLineSearchTree<P3> tree(line, 5), other(beside, 5);
  EXPECT_EQ(tree.oneSidedHausdorffDistance(beside), std::sqrt(29));
  for (const double distance : {2.0, 1.999, 1e300, 0.0, largest, std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(distance);
    const bool found = distance >= 2;
    double out = 0;
    EXPECT_EQ(tree.squareDistance(V3(5, 2, 0), distance, out), found);
    EXPECT_EQ(out, found ? 4 : largest);
    P3 onThis(9, 9, 9), onOther(9, 9, 9);
    EXPECT_EQ(tree.squareDistance(other, onThis, onOther, std::min(distance * distance, largest)), out);
    EXPECT_EQ(onThis, found ? P3(4, 0, 0) : P3());
    EXPECT_EQ(onOther, found ? P3(4, 2, 0) : P3());
  }
}

TEST(PolyLineSearchTree, InterpolatesAttributes)
{
  PolyLine<Point3N> line;
  line.addPoint(Point3N(V3(0, 0, 0), V3(1, 0, 0)));
  line.addPoint(Point3N(V3(2, 0, 0), V3(0, 1, 0)));
  line.addPoint(Point3N(V3(4, 0, 0)));
  const PolyLineSearchTree<Point3N> tree(line, 5);
  const Point3N middle(V3(1, 0, 0), V3(std::sqrt(0.5), std::sqrt(0.5), 0));
  EXPECT_TRUE(tree.projectPoint(V3(1, 5, 0)).isApproximatelyEqualTo(middle, 1e-15));
  EXPECT_FALSE(tree.projectPoint(V3(3, 5, 0)).hasNormal());
  const auto cuts = tree.intersect(Plane<double, 3>(V3(1, 0, 0), P3(1, 0, 0)));
  ASSERT_EQ(cuts.size(), 1U);
  EXPECT_TRUE(cuts[0].isApproximatelyEqualTo(middle, 1e-15));
  const auto other = lineThrough<Point3N>({V3(1, 3, -1), V3(1, 3, 1)});
  Point3N onThis, onOther;
  EXPECT_EQ(tree.squareDistance(PolyLineSearchTree<Point3N>(other, 5), onThis, onOther, 100), 9);
  EXPECT_TRUE(onThis.isApproximatelyEqualTo(middle, 1e-15));
}

TEST(PolyLineSearchTree, InterpolatesCurveParameters)
{
  const auto line = lineThrough<P3>({V3(0, 0, 0), V3(2, 0, 0), V3(2, 4, 0)}, true);
  const PolyLineSearchTree<P3> tree(line, 1);
  const std::vector<double> parameters = {10, 20, 60};
  double distance = 0;
  EXPECT_DOUBLE_EQ(tree.calcParameter(V3(0.5, -3, 0), parameters), 12.5);
  EXPECT_DOUBLE_EQ(tree.calcParameter(V3(5, 1, 4), distance, parameters), 30);
  EXPECT_DOUBLE_EQ(distance, 5);
  EXPECT_EQ(tree.calcParameter(V3(0, 2, 0), distance, parameters), 0) << "the closing segment ends beyond the list";
  EXPECT_DOUBLE_EQ(distance, std::sqrt(0.8));
}

TEST(PolyLineSearchTree, CutsWithAPlane)
{
  const auto line = randomWalk<P3>(371, 500, true);
  const PolyLineSearchTree<P3> tree(line, 4);
  Testing::repeat(40, 370, [&](RandomGeometry& random) {
    const Plane<double, 3> plane(random.direction<3>(), P3(random.inCube<3>(20)));
    std::size_t expected = 0;
    double closest = largest, nearest = largest;
    const auto height = [&](const P3& p) { return plane.getNormal().dot(p) - plane.getDistance(); };
    for (const auto& segment : segmentsOf(line)) {
      const auto [low, high] = std::minmax({height(*segment.getStart()), height(*segment.getEnd())});
      if (low < 0 && high >= 0) ++expected;
      closest = std::min(closest, low * high > 0 ? std::min(low * low, high * high) : 0);
    }
    EXPECT_NEAR(tree.squareDistanceToPlane(plane), closest, 1e-12);
    const auto points = tree.intersect(plane);
    ASSERT_EQ(points.size(), expected);
    const V3 query = random.inCube<3>(20);
    for (const auto& point : points) {
      EXPECT_NEAR(height(point), 0, 1e-12);
      EXPECT_NEAR(tree.squareDistance(point), 0, 1e-24);
      nearest = std::min(nearest, Brute::squareDistance<3>(point, query));
    }
    P3 out(7, 7, 7);
    ASSERT_EQ(tree.nearestIntersection(plane, query, out), expected > 0);
    EXPECT_DOUBLE_EQ(Brute::squareDistance<3>(out, expected > 0 ? query : V3(7, 7, 7)), expected > 0 ? nearest : 0);
  });
}

TEST(PolyLineSearchTree, CutsLongSegmentsAtTheVertexTheyShare)
{
  const P3 start(1.3, -0.7, 2.1);
  Testing::repeat(200, 372, [&](RandomGeometry& random) {
    const auto ends = lineThrough<P3>(random.walk<3>(12, 1e12));
    const Plane<double, 3> plane(random.direction<3>(), start);
    const auto height = [&](const P3& p) { return plane.getNormal().dot(p) - plane.getDistance(); };
    std::vector<Segment<P3>> segments;
    std::size_t expected = 0;
    for (const P3& end : ends) {
      segments.emplace_back(&start, &end);
      if (std::min(height(start), height(end)) < 0 && std::max(height(start), height(end)) >= 0) ++expected;
    }
    EXPECT_EQ(PolyLineSearchTree<P3>(segments, 1).intersect(plane).size(), expected);
  });
}

TEST(PolyLineSearchTree, KnowsNoPlaneCutsInTwoDimensions)
{
  const auto line = lineThrough<P2>({V2(-1, 2), V2(4, 2)});
  const PolyLineSearchTree<P2> tree(line, 5);
  const Plane<double, 3> across(V3(1, 0, 0), P3(0, 0, 0)), above(V3(0, 0, 1), P3(0, 0, 3)), aslant(V3(0, 3, 4), P3());
  EXPECT_TRUE(tree.intersect(across).empty());
  EXPECT_EQ(tree.squareDistanceToPlane(above), 9);
  EXPECT_NEAR(tree.squareDistanceToPlane(aslant), 1.44, 1e-14);
}

TEST(PolyLineSearchTree, ProlongsSegmentsByTheTolerance)
{
  const auto line = lineThrough<P2>({V2(0, 0), V2(10, 0)});
  const std::tuple<const char*, V2, V2, double, bool, bool> rows[] = {
      {"end at the line", {5, 0}, {5, 1}, 0.0, true, true},
      {"end within the absolute tolerance", {5, -0.05}, {5, 1}, 0.1, true, false},
      {"beyond the end by less than the tolerance times the length", {10.9, -1}, {10.9, 1}, 0.1, true, false},
      {"beyond the end by more", {11.1, -1}, {11.1, 1}, 0.1, false, false},
      {"short of the line by half of its length", {5, 1}, {5, 3}, 0.5, true, false},
      {"parallel", {0, 0}, {10, 0}, 0.1, false, false},
      {"negative tolerance means 1e-6", {5, 9e-7}, {5, 1}, -1, true, false},
      {"negative tolerance and too far", {5, 2e-6}, {5, 1}, -1, false, false},
  };
  const PolyLineSearchTree<P2> tree(line, 5);
  for (const auto& [name, start, end, tolerance, relative, absolute] : rows) {
    SCOPED_TRACE(name);
    const auto crossing = lineThrough<P2>({start, end});
    const PolyLineSearchTree<P2> other(crossing, 5);
    std::vector<PolyLineSearchTree<P2>::SegmentIntersection> list;
    EXPECT_EQ(tree.intersectXY(other, list, false, tolerance), relative);
    EXPECT_EQ(list.size(), relative ? 1U : 0U);
    std::vector<P2> points = {P2(1, 1)};
    EXPECT_EQ(tree.intersectAbsTolerance(other, points, false, tolerance), absolute);
    EXPECT_EQ(points.size(), absolute ? 2U : 1U);
  }
}

TEST(PolyLineSearchTree, SurvivesBadNumbers)
{
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  auto positions = RandomGeometry(391).walk<3>(40, 1.0);
  const auto sound = lineThrough<P3>(positions);
  const PolyLineSearchTree<P3> soundTree(sound, 3);
  for (const double value : {nan, infinity, 1e300, 1e-300}) {
    SCOPED_TRACE(value);
    positions[11][1] = positions[12][1] = value;
    const auto line = lineThrough<P3>(positions);
    const PolyLineSearchTree<P3> tree(line, 3);
    double within = 0;
    EXPECT_EQ(soundTree.squareDistance(positions[30], value, within), !std::isnan(value));
    EXPECT_LT(soundTree.calcLocalParameter(V3(0, value, 0)).second, 39U);
    EXPECT_LT(tree.calcLocalParameter(positions[30]).second, 39U);
    std::vector<PolyLineSearchTree<P3>::SegmentIntersection> list;
    tree.intersectXY(soundTree, list, false, 0);
    tree.squareDistance(soundTree, 1e10);
  }
  const auto same = lineThrough<P3>(std::vector<V3>(50, V3(1, 2, 3)));
  EXPECT_EQ(PolyLineSearchTree<P3>(same, 2).squareDistance(V3(1, 2, 5)), 4);
}

} // namespace
