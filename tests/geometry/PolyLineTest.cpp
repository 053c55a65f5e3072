#include "geometry/PolyLine.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/StraightLine.h"
#include "platform/kvident/TigerHash.h"
#include "support/Matchers.h"
#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <functional>
#include <gtest/gtest.h>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;
using Vector2 = Vector<double, 2>;
using Vector3 = Vector<double, 3>;
using Line2 = PolyLine<Point2>;
constexpr double pi = std::numbers::pi;

Line2 line(const char* text) { return polyLineFrom<Point2>(text); }

/// What the line looks like as a text of x coordinates.
std::string xOf(const Line2& polyline)
{
  std::string text;
  for (const Point2& point : polyline)
    text += std::to_string(static_cast<int>(point.x())) + " ";
  return text + (polyline.isClosed() ? "closed" : "open");
}

template <class Radius>
Line2 polygonAround(const Point2& center, std::size_t corners, Radius radius)
{
  Line2 polygon;
  for (std::size_t i = 0; i < corners; ++i) {
    const double angle = 2.0 * pi * static_cast<double>(i) / static_cast<double>(corners);
    polygon.addPoint(center + Vector2(std::cos(angle), std::sin(angle)) * radius());
  }
  polygon.setClosed(true);
  return polygon;
}

TEST(PolyLine, EditingKeepsOrderAndFlag)
{
  const char* const five = "0,0 1,0 2,0 3,0 4,0";
  const char* const ring = "0,0 1,0 2,0 3,0 4,0 closed";
  using Edit = std::function<void(Line2&)>;
  const Line2 other = line("7,0 8,0 9,0 closed");
  const std::tuple<const char*, const char*, Edit, const char*> rows[] = {
      {"delete a range", five, [](Line2& l) { l.deletePoints(1, 3); }, "0 3 4 open"},
      {"delete from past the end", ring, [](Line2& l) { l.deletePoints(5, 2); }, "0 1 2 3 4 closed"},
      {"delete round the end", ring, [](Line2& l) { l.deletePoints(3, 1); }, "1 2 closed"},
      {"delete round the end, open", five, [](Line2& l) { l.deletePoints(3, 1); }, "0 1 2 3 4 open"},
      {"append whole", "1,0", [&](Line2& l) { l.addPolyLine(other, true, true); }, "1 7 8 9 open"},
      {"append without ends", "1,0 closed", [&](Line2& l) { l.addPolyLine(other, false, false); }, "1 8 closed"},
      {"append one point without first", "1,0", [](Line2& l) { l.addPolyLine(line("2,0"), true, false); }, "1 open"},
      {"append an empty line", "1,0", [](Line2& l) { l.addPolyLine(Line2(), false, false); }, "1 open"},
      {"append itself", "1,0 2,0", [](Line2& l) { l.addPolyLine(l, true, false); }, "1 2 2 open"},
      {"concatenate at a joint", "5,0 7,0 closed", [&](Line2& l) { l.concatenate(other); }, "5 7 8 9 open"},
      {"concatenate itself", "1,0 2,0", [](Line2& l) { l.concatenate(l); }, "1 2 1 2 open"},
      {"reverse", five, [](Line2& l) { l.reverse(); }, "4 3 2 1 0 open"},
      {"reverse a ring", ring, [](Line2& l) { l.reverse(); }, "0 4 3 2 1 closed"},
  };
  for (const auto& [name, before, edit, after] : rows) {
    SCOPED_TRACE(name);
    Line2 edited = line(before);
    edit(edited);
    EXPECT_EQ(xOf(edited), after);
  }
}

TEST(PolyLine, ConcatenateSkipsTheLeadingPointsAtTheJoint)
{
  Line2 first = line("0,0 1,0");
  first.setTolerance(0.125);
  // The third point is near the second, but not near the joint; at the tolerance exactly a point stays.
  first.concatenate(line("1.0625,0 1.1171875,0 1.125,0 1,0"));
  EXPECT_EQ(first.getPointCollection(), line("0,0 1,0 1.125,0 1,0").getPointCollection());
}

TEST(PolyLine, ManyShortLinesAreJoinedInLinearTime)
{
  const Line2 piece = line("0,0 1,0");
  Line2 whole;
  int moves = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::size_t before = whole.getPointCollection().capacity();
    i % 2 ? whole.concatenate(piece) : whole.addPolyLine(piece, true, true);
    moves += whole.getPointCollection().capacity() != before;
  }
  EXPECT_EQ(whole.numberOfPoints(), 40000U);
  EXPECT_LT(moves, 64);
}

TEST(PolyLine, EqualPointsGo)
{
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"creeping along", "0,0 0.5,0 1,0 1.5,0 2,0", "0,0 1,0 2,0"}, // measured from the last kept one
      {"at the limit it stays", "0,0 1,0 1.9375,0 2,0", "0,0 1,0 2,0"},
      {"the end of a ring", "0,0 5,0 5,5 0.5,0 closed", "0,0 5,0 5,5 closed"},
      {"all in one place", "0,0 0.5,0 0,0.5 closed", "0,0 closed"},
  };
  for (const auto& [name, before, after] : rows) {
    SCOPED_TRACE(name);
    Line2 polyline = line(before);
    polyline.deleteEqualPoints(1.0);
    EXPECT_TRUE(polyline.isCompletelyEqual(line(after), 0.0));
  }
}

TEST(PolyLine, ClosednessIsAdjustedToTheEnds)
{
  const std::pair<const char*, const char*> rows[] = {
      {"0,0 1,0 1,1 0,0.25", "0,0 1,0 1,1 closed"},
      {"0,0 1,0 1,1 0,0.5", "0,0 1,0 1,1 0,0.5"}, // exactly the limit
      {"0,0 1,0 1,1 closed", "0,0 1,0 1,1"},
      {"closed", ""},
  };
  for (const auto& [before, after] : rows) {
    SCOPED_TRACE(before);
    Line2 polyline = line(before);
    polyline.adjustClosedness(0.5);
    EXPECT_TRUE(polyline.isCompletelyEqual(line(after), 0.0));
  }
}

TEST(PolyLine, NeighboursWrapOnlyOnARing)
{
  const std::tuple<const char*, std::size_t, std::size_t, std::size_t, std::size_t, std::size_t> rows[] = {
      {"0,0 1,0 1,1", 0, 1, 0, 1, 0},        {"0,0 1,0 1,1", 2, 2, 1, 1, 1},        {"0,0 1,0 1,1", 5, 2, 4, 1, 4},
      {"0,0 1,0 1,1 closed", 0, 1, 2, 1, 2}, {"0,0 1,0 1,1 closed", 2, 0, 1, 0, 1}, {"closed", 0, 0, 0, 0, 0},
      {"0,0 1,0 1,1 closed", 7, 2, 0, 2, 0},
  };
  for (const auto& [text, index, nextPoint, previousPoint, nextSegment, previousSegment] : rows) {
    SCOPED_TRACE(testing::Message() << text << " from " << index);
    const Line2 polyline = line(text);
    EXPECT_EQ(polyline.getNextPointIndex(index), nextPoint);
    EXPECT_EQ(polyline.getPreviousPointIndex(index), previousPoint);
    EXPECT_EQ(polyline.getNextSegmentIndex(index), nextSegment);
    EXPECT_EQ(polyline.getPreviousSegmentIndex(index), previousSegment);
  }
}

TEST(PolyLine, CopiesAndMoves)
{
  Line2 original = line("0,0 1,0 1,1 closed");
  original.setTolerance(0.5);
  original.setDomain(Interval(0.25, 0.5, false, false));
  const std::string hash = original.getHash();
  const Line2 twin(original);
  Line2 deep;
  const std::string emptyHash = deep.getHash();
  deep.copy(original);
  EXPECT_EQ(deep.getHash(), emptyHash) << "the cached text isn't copied";

  const Line2 moved(std::move(original));
  EXPECT_TRUE(moved.isCompletelyEqual(twin, 0.0));
  EXPECT_TRUE(moved.getId() == twin.getId());
  EXPECT_EQ(moved.getHash(), hash);
  EXPECT_TRUE(original.isEmpty()); // NOLINT(bugprone-use-after-move): the state is part of the contract
  EXPECT_EQ(original.getDomain(), Interval());
  EXPECT_TRUE(original.getId() == Identifier::getInvalidId());
  original = twin;
  Line2& same = original;
  original = std::move(same);
  EXPECT_TRUE(original.isCompletelyEqual(twin, 0.0)) << "moved to itself";
}

TEST(PolyLine, MirrorsAndTransformsPreserveShape)
{
  repeat(30, 51, [&](RandomGeometry& random) {
    PolyLine<Point3N> original;
    for (const auto& v : random.walk<3>(8, 1.0))
      original.addPoint(Point3N(v, random.direction<3>()));
    original.setClosed(random.coin());
    const Plane<double, 3> plane(random.direction<3>(), random.uniform(-1.0, 1.0));
    const StraightLine<double, 3> axis(Point3(random.inCube<3>(1.0)), random.direction<3>(), 0.1);
    CoordinateSystem<double, 3> system;
    system.setUpMirror(plane);

    const auto image = std::dynamic_pointer_cast<PolyLine<Point3N>>(original.mirror(plane));
    ASSERT_TRUE(image);
    EXPECT_TRUE(image->isApproximatelyEqualTo(*original.transformCopy(system), 1e-12));
    EXPECT_THAT(original.calculateBoundingBox(system).getMin(), IsNear(image->calculateBoundingBox().getMin(), 1e-12));
    EXPECT_TRUE(image->mirrorPolyLine(plane).isApproximatelyEqualTo(original, 1e-12));

    const auto turned = original.mirror(axis);
    EXPECT_NEAR(axis.getDistance((*turned)[3]), axis.getDistance(original[3]), 1e-12);
    EXPECT_TRUE(turned->mirrorPolyLine(axis).isApproximatelyEqualTo(original, 1e-12));
  });
}

TEST(PolyLine, SymmetricalEndReplacesOnePoint)
{
  const Plane<double, 3> plane(Vector3(1.0, 0.0, 0.0), 0.0);
  auto atStart = polyLineFrom<Point3N>("-3,5,0/0,0,1 1,0,0/0,0,1 2,0,0/0,0,1");
  atStart.setSymmetricalEnd(true, plane);
  EXPECT_TRUE(atStart.isApproximatelyEqualTo(polyLineFrom<Point3N>("-2,0,0 1,0,0/0,0,1 2,0,0/0,0,1"), 0.0));
}

TEST(PolyLine, NearCollinearAndEqual)
{
  EXPECT_DOUBLE_EQ(line("0,0 4,0 4,3").maxDist(Point2(0.0, 0.0)), 5.0);
  EXPECT_TRUE(line("0,0 4,0 4,3").isPointOn(Point2(1.0, 0.5), 0.5));
  EXPECT_FALSE(line("0,0 4,0 4,3").isPointOn(Point2(1.0, 0.5), 0.499));
  EXPECT_TRUE(line("0,0 1,0.05 2,-0.05 3,0").isCollinear(0.1));
  EXPECT_FALSE(line("0,0 1,0.2 3,0").isCollinear(0.1));
  EXPECT_FALSE(line("0,0 1,0 3,0 closed").isCollinear(0.1));

  const auto a = polyLineFrom<Point3N>("0,0,0/0,0,1 1,0,0");
  const std::tuple<const char*, bool, bool> rows[] = {
      {"0,0,0/0,0,1 1,0,0.125", true, true},     {"0,0,0/0,0,1 1,0,0.126", false, false},
      {"0,0,0/0,1,0 1,0,0", false, true},        {"0,0,0/0,0,1 1,0,0 closed", true, false},
      {"0,0,0/0,0,1 1,0,0 1,0,0", false, false}, {"0,0,0/0,0,1", false, false}};
  for (const auto& [other, approximately, completely] : rows) {
    SCOPED_TRACE(other);
    const auto b = polyLineFrom<Point3N>(other);
    EXPECT_EQ(a.isApproximatelyEqualTo(b, 0.125), approximately);
    EXPECT_EQ(a.isCompletelyEqual(b, 0.125), completely);
  }
}

TEST(PolyLine, SideOfAPlane)
{
  const Plane<double, 2> plane(Vector2(0.0, 1.0), 0.0);
  const std::tuple<const char*, Side, bool> rows[] = {
      {"0,1 1,2", Side::Above, false},    {"0,-1 1,-2", Side::Below, false},
      {"0,0.5 1,-0.5", Side::On, true},   {"0,1 1,0 2,1", Side::Above, true},
      {"0,0 1,-1", Side::Below, true},    {"0,1 1,-1 2,0", Side::Both, false},
      {"0,1 1,0 2,-1", Side::Both, true}, {"", Side(0), false},
  };
  for (const auto& [text, side, expectedTouches] : rows) {
    SCOPED_TRACE(text);
    bool touches = !expectedTouches;
    EXPECT_EQ(line(text).getSide(plane, 0.5, touches), side);
    EXPECT_EQ(touches, expectedTouches);
  }
}

TEST(PolyLine, AreaAndCentreOfRegularPolygons)
{
  RandomGeometry random(52);
  for (std::size_t corners = 3; corners < 20; ++corners) {
    SCOPED_TRACE(corners);
    const double radius = random.logUniform(0.01, 100.0);
    const Point2 center(random.inCube<2>(10.0 * radius));
    Line2 polygon = polygonAround(center, corners, [&] { return radius; });
    const double n = static_cast<double>(corners);
    const double area = 0.5 * n * radius * radius * std::sin(2.0 * pi / n);
    EXPECT_NEAR(polygon.getXYAreaWithSign(), area, 1e-12 * radius * radius * 100.0);
    EXPECT_THAT(polygon.calculateCenterOfGravity(), IsNear(center, 1e-12 * radius * 10.0));
    polygon.reverse();
    EXPECT_NEAR(polygon.getXYAreaWithSign(), -area, 1e-12 * radius * radius * 100.0);
    polygon.setClosed(false);
    EXPECT_EQ(polygon.getXYAreaWithSign(), 0.0);
    EXPECT_THAT(polygon.calculateCenterOfGravity(), IsNear(center, 1e-12 * radius * 10.0)) << "open as if closed";
  }
  EXPECT_THAT(line("0,0 4,0 4,3").calculateCenterOfGravity(), IsNear(Vector2(2.5, 1.0), 1e-15));
  EXPECT_EQ(line("2,2 2,2").calculateCenterOfGravity(), Point2());
}

TEST(PolyLine, ContainmentAgreesWithCrossingParity)
{
  repeat(20, 53, [&](RandomGeometry& random) {
    const std::size_t corners = 3 + random.index(20);
    Line2 star = polygonAround({}, corners, [&] { return random.uniform(0.3, 2.0); });
    if (random.coin()) star.reverse();
    for (int query = 0; query < 100; ++query) {
      const Point2 p(random.inCube<2>(2.0));
      bool inside = false;
      for (std::size_t i = 0; i < corners; ++i) {
        const Point2 &a = star[i], &b = star[(i + 1) % corners];
        if ((a.y() > p.y()) != (b.y() > p.y()))
          inside ^= p.x() < a.x() + (p.y() - a.y()) / (b.y() - a.y()) * (b.x() - a.x());
      }
      EXPECT_EQ(star.hasPointInside(p, false, 1e-12), inside) << p.x() << ' ' << p.y();
    }
  });
}

TEST(PolyLine, ContainmentOnTheBoundaryIsTheCallers)
{
  const Line2 square = line("0,0 2,0 2,2 0,2 closed");
  for (const auto& [x, y, onBoundary] :
       {std::tuple(0.0, 0.0, true), {1.0, 0.0, true}, {0.0, 1.0, true}, {2.0 + 1e-7, 2.0, true}, {2.1, 2.0, false}}) {
    SCOPED_TRACE(testing::Message() << x << ' ' << y);
    EXPECT_EQ(square.hasPointInside(x, y, true, 1e-12), onBoundary);
    EXPECT_FALSE(square.hasPointInside(x, y, false, 1e-12));
  }
  // A wide tolerance takes in the surroundings of a corner; beside a segment the boundary stays as thin as it is.
  EXPECT_FALSE(square.hasPointInside(0.05, 0.05, false, 1e-2));
  EXPECT_TRUE(square.hasPointInside(1.0, 1e-3, false, 1e-2));
  EXPECT_FALSE(line("0,0 2,0 2,2 0,2").hasPointInside(1.0, 1.0, true, 1e-12)) << "open";
}

TEST(PolyLine, HashIsTheDigestOfWeightedSumsAndStays)
{
  Line2 polyline = line("1,2 3,4");
  const std::string digest = TigerHash::tHash("0.7 1 00 0 02.82843");
  EXPECT_EQ(polyline.getHash(), digest);
  polyline.addPoint(Point2(5.0, 5.0));
  EXPECT_EQ(polyline.getHash(), digest);
  EXPECT_EQ(polyLineFrom<Point3N>("1,0,0/0,0,1 0,0,0/0,0,2").getHash(), TigerHash::tHash("0.1 0 00 0 31"));
}

} // namespace
