#include "geometry/PolyLine2DRoundCornerExpander.h"

#include "geometry/ShapecoreException.h"
#include "support/Matchers.h"
#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Line = PolyLine<Point3N>;
using Point3 = Point<double, 3>;
using Vector3 = Vector<double, 3>;
constexpr double pi = std::numbers::pi;

Line lineFrom(std::string_view text) { return polyLineFrom<Point3N>(text); }

Line expanded(const Line& line, double offset)
{
  Line result;
  EXPECT_TRUE(PolyLine2DRoundCornerExpander(line).expandPolyLine(result, offset));
  return result;
}

TEST(PolyLine2DRoundCornerExpander, MitersEndsAndSwallowedSegments)
{
  const std::tuple<const char*, const char*, double, const char*> rows[] = {
      {"square shrinks", "0,0,1 10,0,2 10,10,3 0,10,4 closed", -1.0, "1,1,1 9,1,2 9,9,3 1,9,4 closed"},
      {"cuts of just the length", "0,0,1 1,0,2 1,1,3", -5.0, "0,5,1 -4,5,2 -4,1,3"},
      {"flat rectangle turns inside out", "0,0,0 10,0,0 10,1,0 0,1,0 closed", -1.0, "0,1,0 10,1,0 10,0,0 0,0,0 closed"},
      {"doubled points go", "0,0,1 0,0,5 10,0,2 10,10,3 10,10.0000009,7 0,10,4 9e-7,0,8 closed", -1.0,
       "1,1,5 9,1,2 9,9,7 1,9,4 closed"},
      {"swallowed last segment", "0,0,1 10,0,2 10,0.5,3", -1.0, "0,1,1 10,1,2 9,0.5,3"},
      {"swallowed between two miters", "0,0,1 10,0,2 10,0.5,3 0,0.5,4", -1.0, "0,1,1 10,1,2 10,-0.5,3 0,-0.5,4"},
      {"swallowed behind an arc", "0,0,1 10,0,2 10,0.5,3 20,0.5,4", 1.0,
       "0,-1,1 10,-1,2 11,0,2 11,0.5,3 10,-0.5,3 20,-0.5,4"},
      {"swallowed before an arc", "0,0,1 10,0,2 10,-0.5,3 20,-0.5,4", 1.0,
       "0,-1,1 10,-1,2 9,0,2 9,-0.5,3 10,-1.5,3 20,-1.5,4"},
  };
  for (const auto& [name, text, offset, outline] : rows) {
    SCOPED_TRACE(name);
    const Line expected = lineFrom(outline);
    Line input = lineFrom(text);
    input.setTolerance(4.0); // makes an arc a single chord
    const Line actual = expanded(input, offset);
    ASSERT_EQ(actual.numberOfPoints(), expected.numberOfPoints());
    EXPECT_TRUE(actual.isCompletelyEqual(expected, 2e-6)) << testing::PrintToString(actual.getPointCollection());
  }
}

TEST(PolyLine2DRoundCornerExpander, InputWithoutSegmentsOrOffset)
{
  const std::tuple<const char*, double, bool> rows[] = {{"", 1.0, false},
                                                        {"1,2,3 1,2,9 1,2,3 closed", 1.0, false},
                                                        {"1,2,3", -0.99e-5, true},
                                                        {"0,0,0/0,0,1 0,0,0 5,0,0", 0.99e-5, true}};
  for (const auto& [text, offset, answer] : rows) {
    SCOPED_TRACE(text);
    Line input = lineFrom(text);
    input.setTolerance(0.7);
    Line result = lineFrom("7,7,7");
    EXPECT_EQ(PolyLine2DRoundCornerExpander(input).expandPolyLine(result, offset), answer);
    EXPECT_TRUE(result.isApproximatelyEqualTo(answer ? input : lineFrom("7,7,7"), 0.0));
    EXPECT_EQ(result.getTolerance(), answer ? 0.7 : 0.1);
  }
}

TEST(PolyLine2DRoundCornerExpander, ConvexPolygonGrowsByItsParallelBody)
{
  repeat(60, 72, [&](RandomGeometry& random) {
    Line polygon(1e-4);
    const std::size_t corners = 3 + random.index(20);
    for (std::size_t i = 0; i < corners; ++i) {
      const double angle = 2 * pi * (double(i) + random.uniform(0.0, 0.9)) / double(corners);
      polygon.addPoint(Point3N(Point3(100 + 9 * std::cos(angle), 5 * std::sin(angle), random.uniform(0.0, 1.0))));
    }
    polygon.setClosed(true);
    Line flat = polygon;
    for (auto& point : flat)
      point.z() = 0.0;
    const double d = random.logUniform(0.01, 10.0);
    if (random.coin()) polygon.reverse();
    Line outline = expanded(polygon, d);
    for (auto& point : outline) {
      EXPECT_GE(point.z(), 0.0);
      point.z() = 0.0;
      EXPECT_NEAR(flat.dist(point), d, 1e-12);
    }
    const double length = flat.getTotalLength();
    EXPECT_NEAR(outline.getTotalLength(), length + 2 * pi * d, 1e-3);
    EXPECT_NEAR(outline.getXYArea(), flat.getXYArea() + length * d + pi * d * d, 1e-3 * (1 + d));
  });
}

TEST(PolyLine2DRoundCornerExpander, OffsetTurnsOverWithAnOpenLine)
{
  repeat(60, 73, [&](RandomGeometry& random) {
    Line line(0.01);
    for (const auto& p : random.walk<3>(12, 4.0))
      line.addPoint(Point3N(Point3(p)));
    const double d = random.logUniform(0.01, 3.0) * (random.coin() ? 1.0 : -1.0);
    const Line right = expanded(line, d);
    line.reverse();
    Line left = expanded(line, -d);
    left.reverse();
    EXPECT_TRUE(right.isCompletelyEqual(left, 1e-9));
  });
}

TEST(PolyLine2DRoundCornerExpander, NearlyStraightCornersGetNoCircle)
{
  repeat(200, 74, [&](RandomGeometry& random) {
    const Vector3 slope(1.0, random.uniform(-3.0, 3.0), 0.0);
    Line line(1e-3);
    for (int i = 0; i < 40; ++i)
      line.addPoint(Point3N(Point3(slope * (0.1 * i + random.uniform(0.0, 0.05)))));
    const Line outline = expanded(line, random.coin() ? 1.0 : -1.0);
    EXPECT_LE(outline.getTotalLength(), line.getTotalLength() + 1e-9);
  });
  // A spike gets half a circle around its tip.
  Line spike = lineFrom("0,0,0 5,0,0 0,0,0");
  spike.setTolerance(1e-6);
  EXPECT_NEAR(expanded(spike, 2.0).getTotalLength(), 10.0 + 2 * pi, 1e-5);
}

} // namespace
