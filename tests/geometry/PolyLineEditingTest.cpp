#include "geometry/PolyLineAlgorithm.h"
#include "geometry/ShapecoreException.h"

#include "support/Matchers.h"
#include "support/PolyLineBuilder.h"
#include "support/PolyLineText.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numbers>
#include <omp.h>

using namespace Kavrel;
using namespace Kavrel::Testing;
using testing::ElementsAreArray;

namespace {

using Algorithm = PolyLineAlgorithm;
using P2 = Point<double, 2>;
using P3 = Point<double, 3>;
using Line2 = PolyLine<P2>;
using Line3 = PolyLine<P3>;

const char* const square = "0,0 1,0 1,1 0,1 closed";
const char* const bigSquare = "0,0 4,0 4,4 0,4 closed";

Line3 randomLine(RandomGeometry& random, std::size_t count)
{
  Line3 line;
  for (const auto& position : random.walk<3>(count, 2.0))
    line.addPoint(position);
  line.setClosed(random.coin());
  return line;
}

} // namespace

TEST(PolyLineTrim, CutsBetweenParameters)
{
  const std::tuple<const char*, double, double, const char*> rows[] = {
      {"0,0 2,0 4,0", -1, 2, "0,0 2,0 4,0"},
      {"0,0 2,0 4,0", 0.75, 0.25, "3,0 0,0 1,0"}, // an open line is not refused
      {"0,0 2,0 2,1 0,1 0,0", 0, 1, "0,0 2,0 2,1 0,1 0,0 closed"},
      {square, 0.125, 0.625, "0.5,0 1,0 1,1 0.5,1"},
      {square, 0.1875, 0.0625, "0.75,0 1,0 1,1 0,1 0,0 0.25,0"},
      {"3,4", 0, 1, " closed"}, // an end at a vertex isn't doubled, be it the only one
  };
  for (const auto& [text, from, to, expected] : rows) {
    SCOPED_TRACE(std::string(text) + " from " + std::to_string(from) + " to " + std::to_string(to));
    const auto line = polyLineFrom<P2>(text);
    Line2 piece;
    EXPECT_TRUE(Algorithm::trim(line, from, to, piece));
    EXPECT_EQ(textOf(piece), expected);
    EXPECT_EQ(piece.getId(), line.getId());
    Line2 itself = line;
    Algorithm::trim(itself, from, to, itself);
    EXPECT_EQ(textOf(itself), expected);
  }
  Line2 none;
  EXPECT_FALSE(Algorithm::trim(Line2(), 0.0, 1.0, none));
}

TEST(PolyLineTrim, CutsBetweenPositions)
{
  const std::tuple<const char*, const char*, const char*, const char*, const char*> rows[] = {
      {square, "0.5,-1", "0.5,2", "3,0.5", "0.5,0 1,0 1,1 0.5,1"},
      {square, "0.5,2", "0.5,-1", "3,0.5", "0.5,1 1,1 1,0 0.5,0"},
      {square, "0.5,2", "0.5,-1", "0.5,-1", "0.5,1 0,1 0,0 0.5,0"}, // the end of both pieces
      {"0,0 2,0 4,0", "3,1", "1,1", "0,0", "3,0 2,0 1,0"},
  };
  for (const auto& [line, from, to, reference, expected] : rows) {
    const auto at = pointFrom<P2>;
    EXPECT_EQ(textOf(*Algorithm::trim(polyLineFrom<P2>(line), at(from), at(to), at(reference))), expected);
  }
}

TEST(PolyLineCleaning, RotatesClosedLinesAndDropsUndefinedPoints)
{
  auto line = polyLineFrom<P2>(square);
  EXPECT_FALSE(Algorithm::resetFirstPointIndexTo(4, line));
  EXPECT_TRUE(Algorithm::resetFirstPointIndexTo(3, line));
  line.setClosed(false);
  EXPECT_FALSE(Algorithm::resetFirstPointIndexTo(1, line));
  line.addPoint(1, P2(std::nan(""), 0));
  line.addPoint(P2(0, -std::numeric_limits<float>::max()));
  EXPECT_TRUE(Algorithm::removeUndefinedPoints(line));
  EXPECT_EQ(textOf(line), "0,1 0,0 1,0 1,1");
}

TEST(PolyLineRefinement, SplitsByThreeRules)
{
  // How many parts each rule makes of a segment with this many times the length asked for.
  const auto subdivided = [](double ratio) { return ratio > 1 ? 2.0 : 1.0; };
  const auto resampled = [](double ratio) { return std::max(1.0, std::ceil(ratio)); };
  const auto reduced = [](double ratio) { return ratio > 2 ? std::exp2(std::ceil(std::log2(ratio / 2))) : 1.0; };
  repeat(200, 42, [&](RandomGeometry& random) {
    const Line3 line = randomLine(random, 2 + random.index(9));
    const double length = random.logUniform(0.1, 5);
    const auto check = [&](const Line3& refined, auto parts) {
      std::vector<P3> expected;
      for (std::size_t k = 0; k < line.numberOfSegments(); ++k) {
        const auto segment = line.getSegment(k);
        const double count = parts(segment.length() / length);
        for (double part = 0; part < count; ++part)
          expected.push_back(segment.getPoint(part / count));
      }
      if (!line.isClosed()) expected.push_back(line.back());
      ASSERT_EQ(refined.numberOfPoints(), expected.size());
      for (std::size_t k = 0; k < expected.size(); ++k)
        EXPECT_THAT(refined[k], IsNear(expected[k], 1e-12));
    };
    Line3 refined = line;
    const bool inserted = Algorithm::subdivide(refined, length);
    EXPECT_EQ(inserted, refined.numberOfPoints() > line.numberOfPoints());
    check(refined, subdivided);
    refined = line;
    Algorithm::resampleToMinimalDistance(refined, length);
    check(refined, resampled);
    refined = line;
    Algorithm::reducePointDistance(refined, length);
    check(refined, reduced);
  });
}

TEST(PolyLineRefinement, ComesToAnEnd)
{
  auto line = polyLineFrom<P3>("0,0,0 1,0,0");
  EXPECT_THROW(Algorithm::resampleToMinimalDistance(line, 0.0), std::length_error);
  Algorithm::resampleToMinimalDistance(line, -0.1);
  EXPECT_EQ(line.numberOfPoints(), 2u);
  Algorithm::reducePointDistance(line, 0.0); // the mean spacing, half of the length
  EXPECT_EQ(line.numberOfPoints(), 2u);

  Line3 far(std::vector<P3>{P3(1e17, 0, 0), P3(1e17 + 16, 0, 0), P3(INFINITY, 0, 0)}, 0.1);
  Algorithm::reducePointDistance(far, 1.0);
  EXPECT_EQ(far.numberOfPoints(), 3u);
}

TEST(PolyLineSpikes, GoWithTheirTraces)
{
  const std::tuple<const char*, double, double, const char*> rows[] = {
      {"0,0 1,0 2,0 1,0 0,0 0,5", 0, 0.1, "0,0 0,5"},
      {"0,0 1,0 1.5,0 3,0", 0.5, 0.1, "0,0 1,0 3,0"},                           // near the vertex before
      {"0,0 1,0 2.5,0 3,0", 0.5, 0.1, "0,0 1,0 2.5,0 3,0"},                     // near the next one
      {"0,0 1,0 0,1", 0, std::numbers::pi / 4, "0,0 1,0 0,1"},                  // the angle itself isn't below
      {"9,0 2,0 0,0 0,4 4,4 4,0 closed", 0, 0.1, "2,0 0,0 0,4 4,4 4,0 closed"}, // the first vertex comes last
      {"0,0 1,0 2,0", 9, 4, "0,0 2,0"},
  };
  for (const auto& [text, tolerance, angle, expected] : rows) {
    SCOPED_TRACE(text);
    auto line = polyLineFrom<P2>(text);
    Algorithm::removeSpikes(line, tolerance, angle);
    EXPECT_EQ(textOf(line), expected);
  }
}

TEST(PolyLineSpikes, LeaveNoneBehind)
{
  repeat(300, 43, [&](RandomGeometry& random) {
    Line3 line = randomLine(random, random.index(40));
    const double angle = random.uniform(0, 2.5);
    Algorithm::removeSpikes(line, 0.3, angle);
    const std::size_t count = line.numberOfPoints();
    if (count < 3) return;
    for (std::size_t k = line.isClosed() ? 0 : 1; k + (line.isClosed() ? 0 : 1) < count; ++k) {
      const Vector<double, 3> back = line[(k + count - 1) % count] - line[k], onward = line[(k + 1) % count] - line[k];
      EXPECT_GT(std::max({std::abs(back[0]), std::abs(back[1]), std::abs(back[2])}), 0.3);
      EXPECT_GE(std::acos(back.dot(onward) / back.length() / onward.length()), angle - 1e-9);
    }
  });
}

TEST(PolyLineOffset, GrowsARegularPolygon)
{
  Line3 out;
  for (const int corners : {3, 4, 5, 12}) {
    SCOPED_TRACE(corners);
    Line3 line;
    for (int i = 0; i < corners; ++i)
      line.addPoint({std::cos(2 * std::numbers::pi * i / corners), std::sin(2 * std::numbers::pi * i / corners), 1.0});
    line.setClosed(true);
    EXPECT_EQ(Algorithm::calcOffsetPolyLine(line, {0, 0, 2}, 0.25, out), corners > 4);
    const double apothem = std::cos(std::numbers::pi / corners);
    for (const P3& point : out)
      EXPECT_NEAR(std::hypot(point[0], point[1]) * apothem, apothem + 0.5, 1e-9);
    Algorithm::calcOffsetPolyLine(line, {0, 0, 2}, 0.25, line);
    EXPECT_EQ(textOf(line), textOf(out));
  }
  const auto foldedBack = polyLineFrom<P3>("0,0,0 1,0,0 0,0,0");
  EXPECT_FALSE(Algorithm::calcOffsetPolyLine(foldedBack, {0, 0, 1}, {-1, -2, -3}, 0.5, out));
  EXPECT_THAT(out[0], IsNear(P3(0, 0.5, 0), 1e-12));
  EXPECT_THAT(out[1], IsNear(P3(1, -100000, 0), 1e-9));
  EXPECT_THAT(out[2], IsNear(P3(0, -2.5, 0), 1e-12));
  EXPECT_THROW(Algorithm::calcOffsetPolyLine(foldedBack, {0, 0, 1}, {1, 2}, 0, out), ShapecoreException);
}

TEST(PolyLineMerge, JoinsEndToStart)
{
  const std::pair<std::vector<const char*>, const char*> rows[] = {
      // the tolerance is 0.1
      {{"0,0 1,0", "1.05,0 1.05,5"}, "0,0 1,0 1.05,0 1.05,5"}, // a sharp turn
      {{"0,0 5,0", "5,0 5,5 0,0.9"}, "0,0 5,0 5,5 0,0.9 closed"},
      {{"0,0 5,0", "5,0 5,5 0,1.1"}, "0,0 5,0 5,5 0,1.1"},
      {{"0,0 5,0", "5,0 5.05,0"}, "0,0 5,0 5.05,0"}, // the last point of all is kept
      {{"0,0 0,0", "0,0 5,0", "5,0 9,0", "9,0 9,0"}, "0,0 5,0 9,0"},
      {{"0,0 5,0 5,5 0,0.009"}, "0,0 5,0 5,5 closed"},
      {{"0,0 5,0 5,5 0,0.011"}, "0,0 5,0 5,5 0,0.011"},
  };
  for (const auto& [texts, expected] : rows) {
    SCOPED_TRACE(expected);
    std::vector<std::shared_ptr<const Line2>> list{nullptr};
    for (const char* text : texts)
      list.push_back(std::make_shared<Line2>(polyLineFrom<P2>(text)));
    Line2 out;
    Algorithm::mergePolyLines(list, out);
    EXPECT_EQ(textOf(out), expected);
  }
}

TEST(PolyLineSubtract, LeavesChains)
{
  const std::tuple<const char*, std::vector<const char*>, std::vector<std::string>> rows[] = {
      {bigSquare, {bigSquare}, {}},
      {bigSquare, {"4,4 4,0"}, {"4,4 0,4 0,0 4,0"}},                       // joined at the seam
      {bigSquare, {"1,0 3,0"}, {"3,0 4,0", "0,0 1,0", "4,0 4,4 0,4 0,0"}}, // the end of the segment comes first
      {"0,0 10,0", {"4,0 6,0", "1,0 2,0", "6,0 10,0"}, {"2,0 4,0", "0,0 1,0"}},
      {"0,0 4,0 4,0 8,0", {"9,0 12,0", "5,0 6,0"}, {"0,0 4,0 4,0", "6,0 8,0", "4,0 5,0"}},
      {"0,0 4,0", {"1,0.001 3,0.001"}, {"3,0 4,0", "0,0 1,0"}}, // within the tolerance; the ends stay on the line
      {"0,0 4,0", {"2,0 2,0"}, {"2,0 4,0", "0,0 2,0"}},
      {"0,0 2,3", {"1.8,2.7 1.4,2.1 1.2,1.8"}, {"1.8,2.7 2,3", "0,0 1.2,1.8"}}, // nothing is left where two meet
  };
  for (const auto& [text, segments, expected] : rows) {
    SCOPED_TRACE(std::string(text) + ", expected " + testing::PrintToString(expected));
    std::vector<std::shared_ptr<const Line2>> list{nullptr};
    for (const char* segment : segments)
      list.push_back(std::make_shared<Line2>(polyLineFrom<P2>(segment)));
    const auto rest = Algorithm::subtractPolylineBoundaries(polyLineFrom<P2>(text), list, 1e-4, 1e-12);
    EXPECT_THAT(textsOf(rest), ElementsAreArray(expected));
  }
  const auto normals = polyLineFrom<Point3N>("0,0,0/1,0,0 2,0,0/0,1,0");
  const auto rest =
      Algorithm::subtractPolylineBoundary(normals, polyLineFrom<Point3N>("1,0,0/0,0,1 3,0,0/0,0,1"), 1e-4, 1e-12);
  EXPECT_THAT(rest.at(0)->back().getNormal(), IsNear(Vector<double, 3>(std::sqrt(0.5), std::sqrt(0.5), 0), 1e-12));
}

/// Lines along a slanted axis with vertices at whole steps: what remains of each step is known.
TEST(PolyLineSubtract, AgreesWithIntervalsForAnyNumberOfThreads)
{
  const Vector<double, 3> step(1, 2, -2);
  constexpr std::size_t steps = 80;
  RandomGeometry random(44);
  const int threads = omp_get_max_threads();
  for (int i = 0; i < 200; ++i) {
    Line3 line;
    for (std::size_t k = 0; k <= steps; ++k)
      if (k == 0 || k == steps || random.index(3) == 0) line.addPoint(step * static_cast<double>(k));
    std::vector<bool> covered(steps, true);
    std::vector<P3> ends;
    for (std::size_t k = 0; k < 16; ++k) {
      const std::size_t a = random.index(steps), b = random.index(steps);
      const bool beside = k % 4 == 0, isTiny = k % 4 == 1;
      const Vector<double, 3> shift = beside ? Vector<double, 3>(0, 0.1, 0.1) : Vector<double, 3>();
      ends.emplace_back(step * static_cast<double>(a) + shift);
      ends.emplace_back(isTiny ? P3(ends.back() + step * 1e-11) : P3(step * static_cast<double>(b) + shift));
      if (!beside && !isTiny) std::fill(covered.begin() + std::min(a, b), covered.begin() + std::max(a, b), false);
    }
    std::vector<Segment<P3>> segments;
    for (std::size_t k = 0; k < ends.size(); k += 2)
      segments.emplace_back(&ends[k], &ends[k + 1]);

    std::vector<std::string> serial;
    for (const int count : {1, 2, 3, 8}) {
      omp_set_num_threads(count);
      const auto rest = Algorithm::subtractSegments(line, segments, 1e-6, 1e-12);
      if (count == 1) {
        serial = textsOf(rest);
        for (std::size_t k = 0; k < steps; ++k) {
          const P3 middle(step * (static_cast<double>(k) + 0.5));
          const auto hits = std::count_if(rest.begin(), rest.end(),
                                          [&middle](const auto& piece) { return piece->dist(middle) < 1e-3; });
          EXPECT_EQ(hits, covered[k] ? 1 : 0) << "line " << i << ", step " << k;
        }
      }
      EXPECT_EQ(textsOf(rest), serial);
    }
  }
  omp_set_num_threads(threads);
}
