#include "geometry/PolyLineSplitAlgorithm.h"

#include "support/PolyLineBuilder.h"
#include "support/PolyLineText.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;
using testing::ElementsAre;

using Split = PolyLineSplitAlgorithm;
using Planar = Point<double, 2>;
using Position = Point<double, 3>;
using Line = PolyLine<Position>;

constexpr double eps = 1e-9; // of lengths around 10

Line randomLine(RandomGeometry& random, bool closed)
{
  Line line;
  for (const auto& p : random.walk<3>(3 + random.index(12), 2.0))
    line.addPoint(p);
  line.setClosed(closed);
  return line;
}

// The point of the line at the fraction t of its length.
Position at(const Line& line, double t) { return line.evaluate(t); }

TEST(PolyLineSplitAlgorithm, CutsAtTheNearestPoint)
{
  const char *const square = "0,0 4,0 4,4 0,4 closed", *const corner = "0,0 4,0 4,4";
  const std::tuple<const char*, const char*, bool, std::vector<std::string>> rows[] = {
      {corner, "1,-1", true, {"0,0 1,0", "1,0 4,0 4,4"}},
      {corner, "5,0.05", true, {"0,0 4,0", "4,0.05 4,4"}}, // closer to the vertex than eps, on one side
      {corner, "-1,0", true, {"0,0", "0,0 4,0 4,4"}},
      {corner, "4,9", true, {"0,0 4,0 4,4", "4,4"}},
      {"1,2", "7,7", true, {"1,2", ""}},
      {square, "2,-1", true, {"2,0 4,0 4,4 0,4 0,0 2,0"}},
      {square, "2,-1", false, {"0,0 2,0", "2,0 4,0 4,4 0,4 0,0"}},
      {square, "-1,1", true, {"0,1 0,0 4,0 4,4 0,4 0,1"}},
      {"", "1,1", false, {"9,9", "9,9"}},
  };
  for (const auto& [line, point, join, expected] : rows) {
    SCOPED_TRACE(std::string(line) + " at " + point);
    std::vector pieces(2, std::make_shared<PolyLine<Planar>>(polyLineFrom<Planar>("9,9")));
    Split::split(polyLineFrom<Planar>(line), pointFrom<Planar>(point), pieces[0], pieces[1], join, 0.1);
    if (!pieces[1]) pieces.pop_back();
    EXPECT_EQ(textsOf(pieces), expected);
  }

  std::shared_ptr<PolyLine<Point3N>> first, second;
  Split::split(polyLineFrom<Point3N>("0,0,0/0,0,2 2,0,0/0,2,0"), Position(1, 1, 0), first, second, false, eps);
  EXPECT_TRUE(first->back().getNormal().isApproximatelyEqualTo({0.0, std::sqrt(0.5), std::sqrt(0.5)}, 1e-12));
}

TEST(PolyLineSplitAlgorithm, CutsAtVertices)
{
  const char *const open = "0,0,0 1,0,0 2,0,0 3,0,0", *const closed = "0,0,0 1,0,0 1,1,0 0,1,0 closed";
  const std::tuple<const char*, std::vector<std::size_t>, std::vector<std::string>> rows[] = {
      {closed, {}, {closed}},
      {open, {1, 2}, {"0,0,0 1,0,0", "1,0,0 2,0,0", "2,0,0 3,0,0"}},
      {open, {2, 2, 2}, {"0,0,0 1,0,0 2,0,0", "2,0,0 3,0,0"}},
      {open, {0}, {"0,0,0", open}},
      {open, {7}, {open, ""}},
      {closed, {1}, {"1,0,0 1,1,0 0,1,0 0,0,0 1,0,0"}},
      {closed, {1, 3}, {"0,1,0 0,0,0 1,0,0", "1,0,0 1,1,0 0,1,0"}},
      {"", {1}, {"", ""}},
      {" closed", {1}, {""}},
  };
  for (const auto& [line, cuts, expected] : rows) {
    SCOPED_TRACE(std::string(line) + " " + testing::PrintToString(cuts));
    std::vector<Line> pieces(3);
    Split::splitAtIndices(polyLineFrom<Position>(line), cuts, pieces);
    EXPECT_EQ(textsOf(pieces), expected);
  }

  std::vector<Line> pieces(2);
  for (const std::size_t index : {0u, 3u, 9u}) // no inner vertex
    Split::splitAtIndex(polyLineFrom<Position>(closed), index, pieces[0], pieces[1]);
  EXPECT_THAT(textsOf(pieces), ElementsAre("", ""));
  Split::splitAtIndex(polyLineFrom<Position>(closed), 2, pieces[0], pieces[1]);
  EXPECT_THAT(textsOf(pieces), ElementsAre("0,0,0 1,0,0 1,1,0", "1,1,0 0,1,0 0,0,0"));
}

TEST(PolyLineSplitAlgorithm, CutsAtAPlane)
{
  const std::tuple<const char*, double, bool, std::vector<std::string>> rows[] = {
      {"0,1 1,2 2,0", 0.01, true, {}},
      {"0,1 1,-1 2,1", 0.01, true, {"0,1 0.5,0", "0.5,0 1,-1 1.5,0", "1.5,0 2,1"}},
      {"0,1 1,0.005 2,-0.005 3,-1", 0.01, true, {"0,1 1,0.005 2,-0.005", "2,-0.005 3,-1"}},
      {"0,1 1,0.01 2,1 3,-1", 0.01, true, {"0,1 1,0.01 2,1 2.5,0", "2.5,0 3,-1"}},
      {"0,0.00002 1,-0.00006", 1e-6, true, {"0,2e-05 0.25,0", "0.25,0 1,-6e-05"}}, // nearly along the plane
      {"0,1 1,-1 2,1 closed", 0.01, false, {"0,1 0.5,0 closed", "0.5,0 1,-1 1.5,0 closed", "1.5,0 2,1 0,1 closed"}},
      {"0,1 1,-1 2,1 closed", 0.01, true, {"0.5,0 1,-1 1.5,0 closed", "1.5,0 2,1 0,1 0.5,0"}},
      {"0,1 1,-1 closed", 0.01, true, {"0.5,0 1,-1 0.5,0 closed", "0.5,0 0,1 0.5,0"}},
  };
  for (const auto& [text, tolerance, join, expected] : rows) {
    SCOPED_TRACE(text);
    auto line = polyLineFrom<Planar>(text);
    line.setTolerance(tolerance);
    line.setDomainEnd(0.5);
    std::list<std::shared_ptr<PolyLine<Planar>>> pieces(2);
    Split::splitAtPlane(line, Plane<double, 2>(Vector<double, 2>(0, 3), 0.0), pieces, join);
    EXPECT_EQ(textsOf(pieces), expected);
    for (const auto& piece : pieces) {
      EXPECT_EQ(piece->getDomain().upper, 0.5);
      EXPECT_EQ(piece->getId(), line.getId());
    }
  }
}

TEST(PolyLineSplitAlgorithm, PiecesBesidePlanesAddUp)
{
  repeat(200, 11, [&](RandomGeometry& random) {
    Line line = randomLine(random, random.coin());
    line.setTolerance(1e-9);
    const Plane<double, 3> plane(random.direction<3>(), random.uniform(-1, 1));
    std::list<std::shared_ptr<Line>> pieces;
    Split::splitAtPlane(line, plane, pieces, true);

    std::size_t crossings = 0;
    for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
      crossings +=
          plane.pointIsAbove(*line.getSegment(i).getStart()) != plane.pointIsAbove(*line.getSegment(i).getEnd());
    EXPECT_EQ(pieces.size(), crossings == 0 ? 0 : crossings + (line.isClosed() ? 0 : 1));
    double length = 0.0;
    for (const auto& piece : pieces) {
      piece->setClosed(false);
      length += piece->getTotalLength();
      bool touches = false;
      EXPECT_NE(piece->getSide(plane, 1e-9, touches), Side::Both);
    }
    if (!pieces.empty()) {
      EXPECT_NEAR(length, line.getTotalLength(), eps);
    }

    // A value a vertex and the plane itself must tell the same story, and both sides together the whole.
    PolyLine<Point3N> withNormals;
    std::vector<double> distances;
    for (const Position& p : line) {
      withNormals.addPoint(Point3N(p));
      distances.push_back(plane.getDistanceOfPoint(p));
    }
    withNormals.setClosed(line.isClosed());
    Split::PlaneSideClassifier byPlane(plane);
    Split::VariableClassifier<Point3N> byValue(distances, 1.0);
    const auto split = Split::splitPolyline(withNormals, byPlane);
    EXPECT_TRUE(split.isCompletelyEqual(Split::splitPolyline(withNormals, byValue), eps));
    EXPECT_EQ(split.numberOfPoints(), line.numberOfPoints() + crossings);
    byValue.mergeAddedPoints();
    ASSERT_EQ(byValue.values.size(), split.numberOfPoints());
    double sum = 0.0;
    for (const double side : {1.0, -1.0}) {
      byValue.scale = side;
      std::vector<std::vector<double>> values;
      const auto parts = Split::getPartsOnSide(split, byValue, -eps, values);
      ASSERT_EQ(values.size(), parts.size());
      for (std::size_t i = 0; i < parts.size(); ++i) {
        sum += parts[i].getTotalLength();
        ASSERT_EQ(values[i].size(), parts[i].numberOfPoints());
        for (std::size_t k = 0; k < values[i].size(); ++k)
          EXPECT_NEAR(values[i][k], side * plane.getDistanceOfPoint(parts[i][k]), eps);
      }
      if (crossings > 0) {
        EXPECT_EQ(parts.size(), (crossings + (line.isClosed() ? 0 : side * distances[0] > 0 ? 2 : 1)) / 2);
      }
    }
    EXPECT_NEAR(sum, line.getTotalLength(), eps);
  });
}

TEST(PolyLineSplitAlgorithm, KeepsWholeSegmentsOnASide)
{
  const char* const square = "0,0 1,0 1,1 0,1 closed";
  const std::tuple<const char*, std::vector<double>, std::vector<std::string>> rows[] = {
      {square, {-1, -1, -1, -1}, {}},
      {square, {1, -3, 1, 1}, {"1,1 0,1 0,0"}},
      {square, {1, -1, -1, 1}, {"1,1 0,1 0,0 1,0"}}, // 0 in the middle counts as on the side
      {"0,0 1,0 2,0", {-1, 3, -5}, {"0,0 1,0"}},
      {"0,0 1,0 2,0 3,0", {2, -1, 2, 2}, {"0,0 1,0", "1,0 2,0 3,0"}},
  };
  for (const auto& [line, given, expected] : rows) {
    SCOPED_TRACE(std::string(line) + " " + testing::PrintToString(given));
    std::vector<std::vector<double>> values(5);
    EXPECT_EQ(textsOf(Split::getPartsOnSide(polyLineFrom<Planar>(line), Split::VariableClassifier<Planar>(given, 1.0),
                                            0.0, values)),
              expected);
    EXPECT_EQ(values.size(), expected.size());
  }

  // A crossing in a vertex needs no new one.
  Split::VariableClassifier<Position> exact({0.0, -1.0, 1.0}, 1.0);
  EXPECT_EQ(textOf(Split::splitPolyline(polyLineFrom<Position>("0,0,0 1,0,0 2,0,0"), exact)),
            "0,0,0 1,0,0 1.5,0,0 2,0,0");
  EXPECT_THAT(exact.added, ElementsAre(std::pair<double, std::size_t>(0.5, 1)));
}

TEST(PolyLineSplitAlgorithm, FindsTheWayBetweenTwoPoints)
{
  repeat(300, 12, [&](RandomGeometry& random) {
    Line line = randomLine(random, random.coin());
    line.setTolerance(0.001);
    const double total = line.getTotalLength();
    const double t1 = random.uniform(0.0, 0.99), t2 = random.uniform(0.0, 0.99);
    // At a distance from each other the points can't be taken for one.
    if (at(line, t1).distance(at(line, t2)) < 0.1) return;
    const double forward = (t2 > t1 ? t2 - t1 : t2 - t1 + 1.0) * total;

    Line piece;
    const bool found = Split::splitOrdered(line, at(line, t1), at(line, t2), piece);
    EXPECT_EQ(found, line.isClosed() || t1 < t2);
    if (found) {
      EXPECT_LT(piece.front().distance(at(line, t1)), 0.001);
      EXPECT_LT(piece.back().distance(at(line, t2)), 0.001);
      EXPECT_NEAR(piece.getTotalLength(), forward, 0.01);
    }
    for (const bool shortest : {true, false}) {
      std::shared_ptr<Line> way;
      Split::splitShortestOrLongest(line, at(line, t1), at(line, t2), way, shortest);
      const double direct = std::abs(t2 - t1) * total;
      const bool useDirect = !line.isClosed() || (direct < total - direct) == shortest;
      EXPECT_NEAR(way->getTotalLength(), useDirect ? direct : total - direct, 0.01);
    }
  });
}

TEST(PolyLineSplitAlgorithm, TakesAPieceFromOnePlace)
{
  const auto name = [](const auto& piece) { return piece ? textOf(*piece) : "none"; };
  // Round a closed line by its orientation, and from its first vertex only.
  const std::tuple<const char*, const char*, const char*> ordered[] = {
      {"0,0,0 4,0,0 4,4,0 closed", "0,0,0", "0,0,0"}, {"0,0,0 4,4,0 4,0,0 closed", "0,0,0", "0,0,0 4,4,0 4,0,0 0,0,0"},
      {"0,0,0 4,0,0 4,4,0 closed", "2,0,0", "none"},  {"0,0,0 4,4,0 4,0,0 closed", "2,2,0", "none"},
      {"0,0,0 4,0,0 4,4,0", "0,0,0", "none"},
  };
  for (const auto& [line, place, expected] : ordered) {
    SCOPED_TRACE(std::string(line) + " at " + place);
    std::shared_ptr<Line> piece;
    const auto point = pointFrom<Position>(place);
    Split::splitOrdered(polyLineFrom<Position>(line), point, point, piece);
    EXPECT_EQ(name(piece), expected);
  }
  const char *const open = "0,0,0 4,0,0", *const square = "0,0,0 4,0,0 4,4,0 0,4,0 closed";
  const std::tuple<const char*, const char*, const char*, const char*> byLength[] = {
      {open, "1,1,0", "0,0,0 1,0,0", "1,0,0 4,0,0"},
      {open, "2,1,0", "2,0,0 4,0,0", "0,0,0 2,0,0"},
      {square, "2,0,0", "0,0,0 2,0,0", "2,0,0 4,0,0 4,4,0 0,4,0 0,0,0"},
      {square, "0,0,0", "0,0,0", "0,0,0 4,0,0 4,4,0 0,0,0 closed"}, // the doubled first vertex stays
      {"1,1,1", "0,0,0", "none", "none"},
  };
  for (const auto& [line, place, shortest, longest] : byLength) {
    SCOPED_TRACE(std::string(line) + " at " + place);
    std::shared_ptr<Line> pieces[2];
    const auto point = pointFrom<Position>(place);
    for (const bool isShortest : {false, true})
      Split::splitShortestOrLongest(polyLineFrom<Position>(line), point, point, pieces[isShortest], isShortest);
    EXPECT_EQ(name(pieces[true]), shortest);
    EXPECT_EQ(name(pieces[false]), longest);
  }
}

} // namespace
