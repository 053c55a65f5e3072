#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"

#include "geometry/PolyLine.h"
#include "support/BruteForce.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::RandomGeometry;
namespace Brute = Testing::BruteForce;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

constexpr double largest = std::numeric_limits<double>::max();

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
Position<P> positionOf(const P& point)
{
  Position<P> position;
  for (unsigned i = 0; i < P::Dim; ++i)
    position[i] = static_cast<double>(point[i]);
  return position;
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
double distanceTo(const Segment<P>& segment, const Position<P>& query)
{
  return Brute::pointSegment(query, positionOf(*segment.getStart()), positionOf(*segment.getEnd()));
}

template <class P>
double distanceTo(const Segment<P>& a, const Segment<P>& b)
{
  return Brute::segmentSegment(positionOf(*a.getStart()), positionOf(*a.getEnd()), positionOf(*b.getStart()),
                               positionOf(*b.getEnd()));
}

constexpr double rounding = 1e-12;

template <class P>
class PolyLineSearchTreeOf : public testing::Test
{};
using PointTypes = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N,
                                  Point3NT, ProjectionPoint, ConstraintPoint>;
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
            positionOf(line[random.index(line.numberOfPoints())]) + random.ofAnySize<P::Dim>(1e-4, 1e2);
        const auto expected =
            Brute::nearest(segments.size(), [&](std::size_t k) { return distanceTo(segments[k], query); });
        const double distance = tree.squareDistance(query);
        EXPECT_NEAR(distance, expected.value, rounding * (1 + expected.value));
        EXPECT_EQ(ofSegments.squareDistance(query), distance);
        double out = -1;
        EXPECT_TRUE(tree.squareDistance(query, out));
        EXPECT_EQ(out, distance);
        const auto [parameter, id] = tree.calcLocalParameter(query);
        ASSERT_LT(id, segments.size());
        EXPECT_NEAR(distanceTo(segments[id], query), expected.value, rounding * (1 + expected.value));
        const auto& start = positionOf(*segments[id].getStart());
        const auto onSegment = start + (positionOf(*segments[id].getEnd()) - start) * parameter;
        EXPECT_NEAR(Brute::squareDistance(onSegment, query), expected.value, rounding * (1 + expected.value));
        const double ulps = std::is_same_v<typename P::Scalar, float> ? 1e-5 : 1e-12;
        EXPECT_TRUE(positionOf(tree.projectPoint(query)).isApproximatelyEqualTo(onSegment, ulps));
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
    EXPECT_EQ(tree.squareDistance(otherTree, largest), distance);
    EXPECT_NEAR(otherTree.squareDistance(tree, largest), expected, 1e-9 * (1 + expected));
    const double coarse = std::is_same_v<typename P::Scalar, float> ? 1e-4 : 1e-9;
    EXPECT_NEAR(Brute::squareDistance(positionOf(onThis), positionOf(onOther)), expected, coarse * (1 + expected));
    EXPECT_NEAR(tree.squareDistance(positionOf(onThis)), 0, coarse);
    EXPECT_NEAR(otherTree.squareDistance(positionOf(onOther)), 0, coarse);
    EXPECT_EQ(tree.squareDistance(otherTree, onThis, onOther, distance), distance);
    if (distance == 0) continue;
    EXPECT_EQ(tree.squareDistance(otherTree, onThis, onOther, std::nextafter(distance, 0.0)), largest);
    EXPECT_EQ(positionOf(onThis), Position<P>());
    EXPECT_EQ(positionOf(onOther), Position<P>());
  }
}

TYPED_TEST(PolyLineSearchTreeOf, MapsIdsToKeptPolylines)
{
  using P = TypeParam;
  std::vector<std::shared_ptr<const PolyLine<P>>> lines;
  for (const std::size_t segments : {2, 3, 4})
    lines.push_back(std::make_shared<PolyLine<P>>(randomWalk<P>(310 + segments, segments + 1)));
  lines.insert(lines.begin() + 2, nullptr);
  const std::size_t none = static_cast<std::size_t>(-1);
  const std::size_t lineOf[] = {0, 0, 1, 1, 1, 3, 3, 3, 3, none}, segmentOf[] = {0, 1, 0, 1, 2, 0, 1, 2, 3, 9};

  const PolyLineSearchTree<P> kept(lines, true, 2), borrowed(lines, false, 2);
  EXPECT_EQ(kept.getPolyLines(), lines);
  EXPECT_TRUE(borrowed.getPolyLines().empty());
  for (const auto* tree : {&kept, &borrowed}) {
    EXPECT_THAT(tree->getOriginalSizes(), ElementsAre(2U, 3U, 0U, 4U));
    for (std::size_t id = 0; id < 10; ++id) {
      SCOPED_TRACE(id);
      const bool known = tree == &kept && id < 9;
      std::size_t index = id, sameIndex = id;
      EXPECT_EQ(tree->correctElementIndexForMultiplePolyLinesAndGetMeshIdx(index), known ? lineOf[id] : none);
      EXPECT_EQ(tree->correctElementIndexForMultiplePolyLines(sameIndex), known ? lines[lineOf[id]] : nullptr);
      EXPECT_EQ(index, known ? segmentOf[id] : id);
      EXPECT_EQ(sameIndex, index);
      if (id == 9) continue;
      const auto segment = lines[lineOf[id]]->getSegment(segmentOf[id]);
      const auto middle = (positionOf(*segment.getStart()) + positionOf(*segment.getEnd())) * 0.5;
      EXPECT_EQ(tree->calcLocalParameter(middle).second, id);
    }
  }
}

TYPED_TEST(PolyLineSearchTreeOf, FindsAPolylineOfOnePoint)
{
  using P = TypeParam;
  Position<P> at;
  at[0] = 3;
  at[1] = -4;
  for (const bool closed : {false, true}) {
    SCOPED_TRACE(closed ? "closed" : "open");
    const auto line = std::make_shared<PolyLine<P>>(lineThrough<P>({at}, closed));
    const std::vector<std::shared_ptr<const PolyLine<P>>> list = {line};
    for (const auto& tree : {PolyLineSearchTree<P>(*line, 5), PolyLineSearchTree<P>(line, false, 5),
                             PolyLineSearchTree<P>(line, true, 5), PolyLineSearchTree<P>(list, false, 5)}) {
      EXPECT_EQ(tree.squareDistance(Position<P>()), 25);
      EXPECT_EQ(positionOf(tree.projectPoint(Position<P>())), at);
      EXPECT_EQ(tree.calcLocalParameter(Position<P>()), std::make_pair(0.0, std::size_t(0)));
      EXPECT_THAT(tree.getOriginalSizes(), ElementsAre(closed ? 1U : 0U));
      ASSERT_EQ(tree.getPolyLines().size(), 1U);
      EXPECT_NE(tree.getPolyLines()[0], line);
      EXPECT_EQ(tree.getPolyLines()[0]->numberOfSegments(), 1U);
    }
  }
}

TYPED_TEST(PolyLineSearchTreeOf, AnswersAllTheSameWhenEmpty)
{
  using P = TypeParam;
  const PolyLine<P> none, line = randomWalk<P>(320, 20);
  const PolyLineSearchTree<P> full(line, 5);
  const Plane<double, 3> plane;
  const Position<P> query;
  for (const auto& tree :
       {PolyLineSearchTree<P>(), PolyLineSearchTree<P>(none, 5), PolyLineSearchTree<P>(std::vector<Segment<P>>(), 5),
        PolyLineSearchTree<P>(std::shared_ptr<const PolyLine<P>>(), true, 5)}) {
    EXPECT_TRUE(tree.empty());
    double out = 1, untouched = 17;
    EXPECT_EQ(tree.squareDistance(query), largest);
    EXPECT_FALSE(tree.squareDistance(query, 5.0, out));
    EXPECT_EQ(out, largest);
    EXPECT_EQ(tree.squareDistance(full, 4.0), std::nextafter(4.0, 5.0));
    EXPECT_EQ(full.squareDistance(tree, 4.0), std::nextafter(4.0, 5.0));
    EXPECT_EQ(tree.squareDistance(full, largest), largest);
    EXPECT_EQ(tree.squareDistanceToPlane(plane), largest);
    EXPECT_EQ(positionOf(tree.projectPoint(query)), query);
    EXPECT_EQ(tree.calcLocalParameter(query), std::make_pair(0.0, std::size_t(0)));
    EXPECT_EQ(tree.calcParameter(query, untouched, {1, 2, 3}), 0);
    EXPECT_EQ(untouched, 17);
    EXPECT_TRUE(tree.intersect(plane).empty());
    std::vector<typename PolyLineSearchTree<P>::SegmentIntersection> list;
    EXPECT_FALSE(tree.intersectXY(full, list, false, 0) || full.intersectXY(tree, list, false, 0));
    EXPECT_EQ(tree.oneSidedHausdorffDistance(line), std::sqrt(largest));
    EXPECT_EQ(tree.oneSidedHausdorffDistance(none), largest);
  }
}

TYPED_TEST(PolyLineSearchTreeOf, MeasuresOneSidedHausdorffDistance)
{
  using P = TypeParam;
  const auto line = randomWalk<P>(330, 150, true), other = randomWalk<P>(331, 80);
  const auto segments = segmentsOf(line);
  double expected = 0;
  for (const auto& point : other.getPointCollection())
    expected = std::max(expected, Brute::nearest(segments.size(), [&](std::size_t k) {
                                    return distanceTo(segments[k], positionOf(point));
                                  }).value);
  const PolyLineSearchTree<P> tree(line, 5);
  EXPECT_NEAR(tree.oneSidedHausdorffDistance(other), std::sqrt(expected), 1e-12 * expected);
  EXPECT_NEAR(tree.oneSidedHausdorffDistance(line), 0, 1e-12);
}

TYPED_TEST(PolyLineSearchTreeOf, CrossesInXYAtAnyHeight)
{
  using P = TypeParam;
  using Crossing = typename PolyLineSearchTree<P>::SegmentIntersection;
  std::vector<Position<P>> positions, others;
  Testing::repeat(40, 340, [&](RandomGeometry& random) {
    positions.push_back(random.inCube<P::Dim>(5));
    others.push_back(random.inCube<P::Dim>(5));
  });
  if constexpr (P::Dim == 3)
    for (auto& position : others)
      position[2] += 1e4;
  const auto line = lineThrough<P>(positions), other = lineThrough<P>(others, true);
  const PolyLineSearchTree<P> tree(line, 4), otherTree(other, 3);
  const auto side = [](const Position<P>& a, const Position<P>& b, const Position<P>& p) {
    return (b[0] - a[0]) * (p[1] - a[1]) - (b[1] - a[1]) * (p[0] - a[0]) > 0;
  };
  const auto at = [](const Segment<P>& s, double t) {
    return positionOf(*s.getStart()) + (positionOf(*s.getEnd()) - positionOf(*s.getStart())) * t;
  };
  for (const double tolerance : {0.0, 0.3}) {
    SCOPED_TRACE(tolerance);
    std::vector<Crossing> list(1);
    ASSERT_TRUE(tree.intersectXY(otherTree, list, false, tolerance));
    std::vector<std::pair<std::size_t, std::size_t>> found, expected;
    for (std::size_t i = 1; i < list.size(); ++i) {
      const auto& crossing = list[i];
      found.emplace_back(crossing.indexThis, crossing.indexOther);
      const auto a = line.getSegment(crossing.indexThis), b = other.getSegment(crossing.indexOther);
      const auto here = at(a, crossing.parameterThis), there = at(b, crossing.parameterOther);
      const double coarse = std::is_same_v<typename P::Scalar, float> ? 1e-4 : 1e-9;
      EXPECT_NEAR(here[0], there[0], coarse);
      EXPECT_NEAR(here[1], there[1], coarse);
      EXPECT_TRUE(positionOf(crossing.point).isApproximatelyEqualTo(here, coarse));
    }
    for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
      for (std::size_t k = 0; k < other.numberOfSegments(); ++k) {
        const auto s = line.getSegment(i), t = other.getSegment(k);
        const auto a = at(s, -tolerance), b = at(s, 1 + tolerance), c = at(t, -tolerance), d = at(t, 1 + tolerance);
        if (side(a, b, c) != side(a, b, d) && side(c, d, a) != side(c, d, b)) expected.emplace_back(i, k);
      }
    ASSERT_GT(expected.size(), 5U);
    EXPECT_THAT(found, UnorderedElementsAreArray(expected));
  }

  std::vector<Crossing> first;
  EXPECT_TRUE(tree.intersectXY(otherTree, first, true, 0.0));
  EXPECT_EQ(first.size(), 1U);
  // What the list already holds doesn't stop the search.
  EXPECT_TRUE(tree.intersectXY(otherTree, first, true, 0.0));
  EXPECT_EQ(first.size(), 2U);
}

TYPED_TEST(PolyLineSearchTreeOf, KeepsPolylinesOnlyWhenAsked)
{
  using P = TypeParam;
  for (const bool keeps : {true, false}) {
    auto line = std::make_shared<PolyLine<P>>(randomWalk<P>(350, 30));
    const std::weak_ptr<PolyLine<P>> alive = line;
    PolyLineSearchTree<P> copy;
    {
      const PolyLineSearchTree<P> tree(std::shared_ptr<const PolyLine<P>>(line), keeps, 4);
      copy = tree;
      EXPECT_EQ(&copy.getBvh(), &tree.getBvh());
      line.reset();
    }
    EXPECT_EQ(alive.expired(), !keeps);
    copy = PolyLineSearchTree<P>();
    EXPECT_TRUE(alive.expired());
  }
}

using P2 = Point<double, 2>;
using P3 = Point<double, 3>;
using V3 = Vector<double, 3>;

TEST(PolyLineSearchTree, KeepsToTheLimitsInclusively)
{
  const auto line = lineThrough<P3>({V3(0, 0, 0), V3(10, 0, 0)});
  const auto beside = lineThrough<P3>({V3(4, 2, -5), V3(4, 2, 5)});
  const PolyLineSearchTree<P3> tree(line, 5), other(beside, 5);
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
  const Point3N middle = tree.projectPoint(V3(1, 5, 0));
  EXPECT_TRUE(middle.getNormal().isApproximatelyEqualTo(V3(std::sqrt(0.5), std::sqrt(0.5), 0), 1e-15));
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
  const std::tuple<const char*, V3, double, double> rows[] = {
      {"first", {0.5, -3, 0}, 12.5, 3},
      {"second", {5, 1, 4}, 30, 5},
      {"closing segment ends beyond the list", {0, 2, 0}, 0, std::sqrt(0.8)}};
  for (const auto& [name, query, parameter, expected] : rows) {
    SCOPED_TRACE(name);
    double distance = 0;
    EXPECT_DOUBLE_EQ(tree.calcParameter(query, parameters), parameter);
    EXPECT_DOUBLE_EQ(tree.calcParameter(query, distance, parameters), parameter);
    EXPECT_DOUBLE_EQ(distance, expected);
  }
}

TEST(PolyLineSearchTree, CutsWithAPlane)
{
  const auto line = randomWalk<P3>(371, 500, true);
  const auto segments = segmentsOf(line);
  const PolyLineSearchTree<P3> tree(line, 4);
  Testing::repeat(40, 370, [&](RandomGeometry& random) {
    const V3 normal = random.direction<3>();
    const Plane<double, 3> plane(normal, P3(random.inCube<3>(20)));
    const auto height = [&](const P3* p) { return plane.getNormal().dot(*p) - plane.getDistance(); };
    std::vector<int> expected = Brute::selected(segments.size(), [&](std::size_t k) {
      const double a = height(segments[k].getStart()), b = height(segments[k].getEnd());
      return std::min(a, b) < 0 && std::max(a, b) >= 0;
    });
    const auto points = tree.intersect(plane);
    ASSERT_EQ(points.size(), expected.size());
    double nearest = largest;
    const V3 query = random.inCube<3>(20);
    for (const auto& point : points) {
      EXPECT_NEAR(height(&point), 0, 1e-12);
      EXPECT_NEAR(tree.squareDistance(point), 0, 1e-24);
      nearest = std::min(nearest, Brute::squareDistance<3>(point, query));
    }
    const double closest = Brute::nearest(segments.size(), [&](std::size_t k) {
                             const double a = height(segments[k].getStart()), b = height(segments[k].getEnd());
                             return a * b > 0 ? std::min(a * a, b * b) : 0;
                           }).value;
    EXPECT_NEAR(tree.squareDistanceToPlane(plane), closest, 1e-12);
    P3 out(7, 7, 7);
    ASSERT_EQ(tree.nearestIntersection(plane, query, out), !points.empty());
    if (points.empty())
      EXPECT_EQ(out, P3(7, 7, 7));
    else
      EXPECT_DOUBLE_EQ(Brute::squareDistance<3>(out, query), nearest);
  });
}

TEST(PolyLineSearchTree, KnowsNoPlaneCutsInTwoDimensions)
{
  const auto line = lineThrough<P2>({Vector<double, 2>(-1, 2), Vector<double, 2>(4, 2)});
  const PolyLineSearchTree<P2> tree(line, 5);
  const Plane<double, 3> across(V3(1, 0, 0), P3(0, 0, 0)), above(V3(0, 0, 1), P3(0, 0, 3)), aslant(V3(0, 3, 4), P3());
  EXPECT_TRUE(tree.intersect(across).empty());
  P2 out(7, 7);
  EXPECT_FALSE(tree.nearestIntersection(across, Vector<double, 2>(), out));
  EXPECT_EQ(tree.squareDistanceToPlane(across), 0);
  EXPECT_EQ(tree.squareDistanceToPlane(above), 9);
  EXPECT_NEAR(tree.squareDistanceToPlane(aslant), 1.44, 1e-14);
}

TEST(PolyLineSearchTree, ProlongsSegmentsByTheTolerance)
{
  const auto line = lineThrough<P2>({Vector<double, 2>(0, 0), Vector<double, 2>(10, 0)});
  const std::tuple<const char*, Vector<double, 2>, Vector<double, 2>, double, bool, bool> rows[] = {
      {"cross in the middle", {5, -1}, {5, 1}, 0.1, true, true},
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

TEST(PolyLineSearchTree, CrossesInThePlaneOfTheLines)
{
  const auto line = randomWalk<P2>(380, 200), other = randomWalk<P2>(381, 180, true);
  const PolyLineSearchTree<P2> tree(line, 4), otherTree(other, 5);
  std::vector<PolyLineSearchTree<P2>::SegmentIntersection> fixed, relative;
  EXPECT_TRUE(tree.intersect(otherTree, fixed));
  EXPECT_TRUE(tree.intersectXY(otherTree, relative, false, 1e-6));
  ASSERT_EQ(fixed.size(), relative.size());
  for (std::size_t i = 0; i < fixed.size(); ++i)
    EXPECT_EQ(fixed[i].point, relative[i].point);
  std::vector<P2> points, one;
  EXPECT_TRUE(tree.intersectAbsTolerance(otherTree, points, false, 0));
  EXPECT_EQ(points.size(), relative.size());
  EXPECT_TRUE(tree.intersectAbsTolerance(otherTree, one, true, 0));
  EXPECT_EQ(one.size(), 1U);
}

TEST(PolyLineSearchTree, SurvivesBadNumbers)
{
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  for (const double value : {nan, infinity, 1e300, 1e-300}) {
    SCOPED_TRACE(value);
    auto positions = RandomGeometry(391).walk<3>(40, 1.0);
    const auto sound = lineThrough<P3>(positions);
    positions[11][1] = positions[12][1] = value;
    const auto line = lineThrough<P3>(positions);
    const PolyLineSearchTree<P3> tree(line, 3), soundTree(sound, 3);
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
