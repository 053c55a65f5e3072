#include "geometry/PolyLineSplitAlgorithm.h"

#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;
using testing::ElementsAre;

using Split = PolyLineSplitAlgorithm;
using Position = Point<double, 3>;
using Line = PolyLine<Position>;

constexpr double eps = 1e-9; // of lengths around 10

template <class P>
std::shared_ptr<PolyLine<P>> pointerTo(const char* text)
{
  return std::make_shared<PolyLine<P>>(polyLineFrom<P>(text));
}

template <class P>
std::string textOf(const PolyLine<P>& line)
{
  std::ostringstream out;
  for (const P& p : line) {
    for (unsigned i = 0; i < P::Dim; ++i)
      out << (i ? "," : out.tellp() > 0 ? " " : "") << p[i];
    if constexpr (P::TypeHasNormal)
      if (p.hasNormal()) out << '/' << p.getNormal()[0] << ',' << p.getNormal()[1] << ',' << p.getNormal()[2];
  }
  return out.str() + (line.isClosed() ? " closed" : "");
}

template <class Pieces>
std::vector<std::string> textsOf(const Pieces& pieces)
{
  std::vector<std::string> texts;
  for (const auto& piece : pieces)
    if constexpr (requires { *piece; })
      texts.push_back(textOf(*piece));
    else
      texts.push_back(textOf(piece));
  return texts;
}

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
  struct Row
  {
    const char* line;
    const char* point;
    bool join;
    std::vector<std::string> pieces; // none for null
  };
  const char* const square = "0,0 4,0 4,4 0,4 closed";
  const Row rows[] = {
      {"0,0 4,0 4,4", "1,-1", true, {"0,0 1,0", "1,0 4,0 4,4"}},
      {"0,0 4,0 4,4", "5,0.05", true, {"0,0 4,0", "4,0.05 4,4"}}, // closer to the vertex than eps, on one side
      {"0,0 4,0 4,4", "4.1,-3", true, {"0,0 4,0", "4,0 4,4"}},
      {"0,0 4,0 4,4", "-1,0", true, {"0,0", "0,0 4,0 4,4"}},
      {"0,0 4,0 4,4", "4,9", true, {"0,0 4,0 4,4", "4,4"}},
      {"1,2", "7,7", true, {"1,2", ""}},
      {square, "2,-1", true, {"2,0 4,0 4,4 0,4 0,0 2,0"}},
      {square, "2,-1", false, {"0,0 2,0", "2,0 4,0 4,4 0,4 0,0"}},
      {square, "-1,1", true, {"0,1 0,0 4,0 4,4 0,4 0,1"}},
      {square, "4,4", true, {"4,4 0,4 0,0 4,0 4,4"}},
      {"", "1,1", false, {"9,9", "9,9"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.line) + " at " + row.point);
    auto first = pointerTo<Point<double, 2>>("9,9");
    auto second = pointerTo<Point<double, 2>>("9,9");
    Split::split(polyLineFrom<Point<double, 2>>(row.line), pointFrom<Point<double, 2>>(row.point), first, second,
                 row.join, 0.1);
    std::vector<std::shared_ptr<PolyLine<Point<double, 2>>>> pieces{first};
    if (second) pieces.push_back(second);
    EXPECT_EQ(textsOf(pieces), row.pieces);
  }

  std::shared_ptr<PolyLine<Point3N>> first, second;
  Split::split(polyLineFrom<Point3N>("0,0,0/0,0,2 2,0,0/0,2,0"), Position(Vector<double, 3>(1, 1, 0)), first, second,
               false, eps);
  EXPECT_TRUE(first->back().getNormal().isApproximatelyEqualTo({0.0, std::sqrt(0.5), std::sqrt(0.5)}, 1e-12));
}

TEST(PolyLineSplitAlgorithm, CutsAtVertices)
{
  struct Row
  {
    const char* line;
    std::vector<std::size_t> cuts;
    std::vector<std::string> pieces;
  };
  const char* const open = "0,0,0 1,0,0 2,0,0 3,0,0";
  const char* const closed = "0,0,0 1,0,0 1,1,0 0,1,0 closed";
  const Row rows[] = {
      {open, {}, {open}},
      {closed, {}, {closed}},
      {open, {1, 2}, {"0,0,0 1,0,0", "1,0,0 2,0,0", "2,0,0 3,0,0"}},
      {open, {2, 2, 2}, {"0,0,0 1,0,0 2,0,0", "2,0,0 3,0,0"}},
      {open, {0}, {"0,0,0", "0,0,0 1,0,0 2,0,0 3,0,0"}},
      {open, {7}, {open, ""}},
      {closed, {1}, {"1,0,0 1,1,0 0,1,0 0,0,0 1,0,0"}},
      {closed, {1, 3}, {"0,1,0 0,0,0 1,0,0", "1,0,0 1,1,0 0,1,0"}},
      {"", {1}, {"", ""}},
      {" closed", {1}, {""}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.line) + " " + testing::PrintToString(row.cuts));
    std::vector<Line> pieces(3);
    Split::splitAtIndices(polyLineFrom<Position>(row.line), row.cuts, pieces);
    EXPECT_EQ(textsOf(pieces), row.pieces);
  }

  for (const std::size_t index : {0u, 1u, 2u, 3u, 9u}) {
    SCOPED_TRACE(index);
    Line first = polyLineFrom<Position>("9,9,9 closed"), second = first;
    Split::splitAtIndex(polyLineFrom<Position>(closed), index, first, second);
    if (index == 1 || index == 2) {
      std::vector<Line> pieces;
      Split::splitAtIndices(polyLineFrom<Position>("0,0,0 1,0,0 1,1,0 0,1,0 0,0,0"), {index}, pieces);
      EXPECT_EQ(textOf(first), textOf(pieces[0]));
      EXPECT_EQ(textOf(second), textOf(pieces[1]));
    } else {
      EXPECT_EQ(textOf(first) + textOf(second), "9,9,9 closed9,9,9 closed");
    }
  }
}

TEST(PolyLineSplitAlgorithm, CutsAtAPlane)
{
  struct Row
  {
    const char* line;
    double tolerance;
    bool join;
    std::vector<std::string> pieces;
  };
  const Row rows[] = {
      {"0,1 1,2 2,0", 0.01, true, {}},
      {"0,1 1,-1 2,1", 0.01, true, {"0,1 0.5,0", "0.5,0 1,-1 1.5,0", "1.5,0 2,1"}},
      {"0,1 1,0.005 2,-0.005 3,-1", 0.01, true, {"0,1 1,0.005 2,-0.005", "2,-0.005 3,-1"}},
      {"0,1 1,0.01 2,1 3,-1", 0.01, true, {"0,1 1,0.01 2,1 2.5,0", "2.5,0 3,-1"}},
      {"0,0 1,0 2,1 3,-1", 0.01, true, {"0,0 1,0 2,1 2.5,0", "2.5,0 3,-1"}},
      {"0,0.00002 1,-0.00006", 1e-6, true, {"0,2e-05 0.25,0", "0.25,0 1,-6e-05"}}, // nearly along the plane
      {"0,1 1,-1 2,1 closed", 0.01, false, {"0,1 0.5,0 closed", "0.5,0 1,-1 1.5,0 closed", "1.5,0 2,1 0,1 closed"}},
      {"0,1 1,-1 2,1 closed", 0.01, true, {"0.5,0 1,-1 1.5,0 closed", "1.5,0 2,1 0,1 0.5,0"}},
      {"0,1", 0.01, true, {}},
      {"0,1 1,-1 closed", 0.01, true, {"0.5,0 1,-1 0.5,0 closed", "0.5,0 0,1 0.5,0"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    auto line = polyLineFrom<Point<double, 2>>(row.line);
    line.setTolerance(row.tolerance);
    line.setDomainEnd(0.5);
    std::list<std::shared_ptr<PolyLine<Point<double, 2>>>> pieces(2);
    Split::splitAtPlane(line, Plane<double, 2>(Vector<double, 2>(0, 3), 0.0), pieces, row.join);
    EXPECT_EQ(textsOf(pieces), row.pieces);
    for (const auto& piece : pieces) {
      EXPECT_EQ(piece->getDomain().upper, 0.5);
      EXPECT_EQ(piece->getTolerance(), row.tolerance);
      EXPECT_EQ(piece->getId(), line.getId());
    }
  }
}

TEST(PolyLineSplitAlgorithm, PiecesBesidePlanesAddUp)
{
  RandomGeometry random(11);
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
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
      if (side > 0) {
        std::vector<std::vector<double>> sameValues;
        EXPECT_EQ(textsOf(Split::getPartsOnSide(split, byPlane, -eps, sameValues)), textsOf(parts));
      }
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
  }
}

TEST(PolyLineSplitAlgorithm, KeepsWholeSegmentsOnASide)
{
  struct Row
  {
    const char* line;
    std::vector<double> values;
    std::vector<std::string> parts;
  };
  const char* const square = "0,0 1,0 1,1 0,1 closed";
  const Row rows[] = {
      {"5,5", {1}, {"5,5"}},
      {"5,5", {-1}, {}},
      {square, {1, 1, 1, 1}, {square}},
      {square, {-1, -1, -1, -1}, {}},
      {square, {1, -3, 1, 1}, {"1,1 0,1 0,0"}},
      {square, {1, -1, -1, 1}, {"1,1 0,1 0,0 1,0"}}, // 0 in the middle counts as on the side
      {"0,0 1,0 2,0", {-1, 3, -5}, {"0,0 1,0"}},
      {"0,0 1,0 2,0 3,0", {2, -1, 2, 2}, {"0,0 1,0", "1,0 2,0 3,0"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.line) + " " + testing::PrintToString(row.values));
    const Split::VariableClassifier<Point<double, 2>> classifier(row.values, 1.0);
    std::vector<std::vector<double>> values(5);
    const auto parts = Split::getPartsOnSide(polyLineFrom<Point<double, 2>>(row.line), classifier, 0.0, values);
    EXPECT_EQ(textsOf(parts), row.parts);
    ASSERT_EQ(values.size(), parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i)
      EXPECT_EQ(values[i].size(), parts[i].numberOfPoints());
  }

  // A crossing in a vertex needs no new one.
  Split::VariableClassifier<Position> exact({0.0, -1.0, 1.0}, 1.0);
  EXPECT_EQ(textOf(Split::splitPolyline(polyLineFrom<Position>("0,0,0 1,0,0 2,0,0"), exact)),
            "0,0,0 1,0,0 1.5,0,0 2,0,0");
  EXPECT_THAT(exact.added, ElementsAre(std::pair<double, std::size_t>(0.5, 1)));
}

TEST(PolyLineSplitAlgorithm, FindsTheWayBetweenTwoPoints)
{
  RandomGeometry random(12);
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    Line line = randomLine(random, random.coin());
    line.setTolerance(0.001);
    const double total = line.getTotalLength();
    const double t1 = random.uniform(0.0, 0.99), t2 = random.uniform(0.0, 0.99);
    // At a distance from each other the points can't be taken for one.
    if (at(line, t1).distance(at(line, t2)) < 0.1) continue;
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
  }
}

TEST(PolyLineSplitAlgorithm, GoesAroundFromAVertexToItselfByOrientation)
{
  struct Row
  {
    const char* line;
    const char* point;
    const char* piece; // null for none
  };
  const Row rows[] = {
      {"0,0,0 4,0,0 4,4,0 closed", "0,0,0", "0,0,0"}, {"0,0,0 4,4,0 4,0,0 closed", "0,0,0", "0,0,0 4,4,0 4,0,0 0,0,0"},
      {"0,0,0 4,0,0 4,4,0 closed", "2,0,0", nullptr}, {"0,0,0 4,4,0 4,0,0 closed", "2,2,0", nullptr},
      {"0,0,0 4,0,0 4,4,0", "0,0,0", nullptr},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.line) + " at " + row.point);
    std::shared_ptr<Line> piece;
    const Position point = pointFrom<Position>(row.point);
    Split::splitOrdered(polyLineFrom<Position>(row.line), point, point, piece);
    EXPECT_EQ(piece ? textOf(*piece) : "none", row.piece ? row.piece : "none");
  }
}

TEST(PolyLineSplitAlgorithm, TakesAPieceFromOnePlace)
{
  struct Row
  {
    const char* line;
    const char* point;
    bool shortest;
    const char* piece;
  };
  const char* const square = "0,0,0 4,0,0 4,4,0 0,4,0 closed";
  const Row rows[] = {
      {"0,0,0 4,0,0", "1,1,0", true, "0,0,0 1,0,0"},
      {"0,0,0 4,0,0", "1,1,0", false, "1,0,0 4,0,0"},
      {"0,0,0 4,0,0", "2,1,0", true, "2,0,0 4,0,0"},
      {"0,0,0 4,0,0", "2,1,0", false, "0,0,0 2,0,0"},
      {square, "2,0,0", true, "0,0,0 2,0,0"},
      {square, "2,0,0", false, "2,0,0 4,0,0 4,4,0 0,4,0 0,0,0"},
      {square, "0,0,0", true, "0,0,0"},
      {square, "0,0,0", false, "0,0,0 4,0,0 4,4,0 0,0,0 closed"}, // the doubled first vertex stays
      {"1,1,1", "0,0,0", true, nullptr},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.line) + " at " + row.point);
    std::shared_ptr<Line> piece;
    const Position point = pointFrom<Position>(row.point);
    Split::splitShortestOrLongest(polyLineFrom<Position>(row.line), point, point, piece, row.shortest);
    ASSERT_EQ(piece != nullptr, row.piece != nullptr);
    if (piece) {
      EXPECT_EQ(textOf(*piece), row.piece);
    }
  }
}

} // namespace
