#include "geometry/PolyLineThinOutAlgorithm.h"

#include "support/PolyLineBuilder.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using P3 = Point<double, 3>;
using ThinOut = PolyLineThinOutAlgorithm;

template <class P>
class ThinOutOf : public testing::Test
{};
using PolyLinePoints = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N,
                                      Point3NT, ProjectionPoint, ConstraintPoint>;
TYPED_TEST_SUITE(ThinOutOf, PolyLinePoints);

/// Distance of p from the line through a and b.
double distanceToLine(const P3& p, const P3& a, const P3& b) { return (p - a).cross(b - a).length() / a.distance(b); }

template <class P>
PolyLine<P> randomLine(RandomGeometry& random, std::size_t count)
{
  PolyLine<P> line;
  for (const auto& position : random.walk<P::Dim>(count, 1.0)) {
    P point;
    std::copy_n(position.data(), P::Dim, point.data());
    line.addPoint(point);
  }
  line.setClosed(random.coin());
  return line;
}

/// All vertices that are left are looked at in each pass.
template <class P>
std::unordered_set<std::size_t> droppedInPlainPasses(const PolyLine<P>& line, typename P::Scalar tolerance)
{
  std::vector<std::size_t> left(line.numberOfPoints());
  std::iota(left.begin(), left.end(), std::size_t(0));
  std::unordered_set<std::size_t> dropped;
  const std::size_t margin = line.isClosed() ? 0 : 1;
  for (std::size_t before = 0; before != left.size();) {
    before = left.size();
    for (std::size_t i = margin; i + margin < left.size() && left.size() > 2; ++i) {
      const std::size_t count = left.size();
      const P &start = line[left[(i + count - 1) % count]], &end = line[left[(i + 1) % count]];
      const auto chord = end - start, way = line[left[i]] - start;
      const auto sqrAside = way.sqrLength() - way.dot(chord) * way.dot(chord) / chord.sqrLength();
      if (chord.sqrLength() >= tolerance * tolerance && sqrAside >= tolerance * tolerance) continue;
      dropped.insert(left[i]);
      left.erase(left.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
  return dropped;
}

} // namespace

TEST(GreedyThinOut, DropsInPasses)
{
  const std::tuple<const char*, double, std::vector<std::size_t>> rows[] = {
      {"0,0 1,1 2,0", 1, {}}, // at exactly the tolerance
      {"0,0 1,1 2,0", 1.0001, {1}},
      {"0,0 5,9 1,0", 1.0001, {1}}, // a short chord
      {"0,0 9,0 3,0", 1, {1}},      // far beyond the chord, but on its line
      // The vertex behind a dropped one waits until its other neighbour is gone too, and is too far out then.
      {"0,0 100,1 200,4 300,9 400,16 500,25 600,36", 2.5, {1, 3, 5}},
      {"0,0 1,0 0,1 closed", 9, {0}},                  // two points stay
      {"0,2 0,0 4,0 4,4 0,4 0,3 closed", 0.1, {0, 5}}, // the last one goes in the same pass
  };
  for (const auto& [text, limit, expected] : rows) {
    SCOPED_TRACE(std::string(text) + " by " + std::to_string(limit));
    const auto line = polyLineFrom<Point<double, 2>>(text);
    EXPECT_THAT(ThinOut::computeThinoutPoints(line, limit), testing::UnorderedElementsAreArray(expected));
  }
  auto line = polyLineFrom<Point<double, 2>>("0,0 1,0.09 2,0"); // of tolerance 0.1
  EXPECT_TRUE(ThinOut::thinout(line, 0.0));
  EXPECT_FALSE(ThinOut::thinout(line, 0.0));
  EXPECT_EQ(line.numberOfPoints(), 2u);
}

TYPED_TEST(ThinOutOf, RandomLinesDropsWhatPlainPassesDo)
{
  using T = typename TypeParam::Scalar;
  std::size_t dropped = 0;
  repeat(400, 51, [&](RandomGeometry& random) {
    const auto line = randomLine<TypeParam>(random, random.index(120));
    const T tolerance = static_cast<T>(random.logUniform(0.05, 1));
    const auto indices = ThinOut::computeThinoutPoints(line, tolerance);
    ASSERT_EQ(indices, droppedInPlainPasses(line, tolerance));
    dropped += indices.size();
    auto thin = line;
    EXPECT_EQ(ThinOut::thinout(thin, tolerance), !indices.empty());
    std::vector<TypeParam> kept;
    for (std::size_t i = 0; i < line.numberOfPoints(); ++i)
      if (!indices.contains(i)) kept.push_back(line[i]);
    EXPECT_EQ(thin.getPointCollection(), kept);
  });
  EXPECT_GT(dropped, 1000u);
}

TEST(ProtectedThinOut, KeepsAllUnderItsChords)
{
  std::size_t dropped = 0;
  repeat(200, 52, [&](RandomGeometry& random) {
    const auto line = randomLine<P3>(random, 4 + random.index(40));
    const std::size_t count = line.numberOfPoints();
    const double tolerance = random.logUniform(0.05, 1);
    std::set<std::size_t> fixed{0, count + 5};
    while (random.coin())
      fixed.insert(random.index(count));
    auto thin = line;
    const bool thinned = ThinOut::thinout(thin, tolerance, fixed);
    EXPECT_EQ(thinned, thin.numberOfPoints() < count);
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < count && kept.size() < thin.numberOfPoints(); ++i)
      if (line[i] == thin[kept.size()]) kept.push_back(i);
    ASSERT_EQ(kept.size(), thin.numberOfPoints());
    dropped += count - kept.size();

    // Whether a chord is near to each vertex under it, by a margin that rounding doesn't bridge.
    const auto covers = [&](std::size_t first, std::size_t last, double limit) {
      const auto &a = line[first], &b = line[last % count];
      for (std::size_t j = first + 1; j < last; ++j)
        if (std::min({line[j].distance(a), line[j].distance(b), a.distance(b), distanceToLine(line[j], a, b)}) > limit)
          return false;
      return true;
    };
    kept.push_back(line.isClosed() ? count : count - 1);
    EXPECT_EQ(kept[0], 0u);
    for (std::size_t k = 0; k + 1 < kept.size(); ++k) {
      EXPECT_TRUE(covers(kept[k], kept[k + 1], 1.001 * tolerance));
      if (k == 0 || thin.numberOfPoints() < 4) continue;
      const bool isEnd = !line.isClosed() && kept[k] + 1 == count;
      EXPECT_TRUE(fixed.contains(kept[k]) || isEnd || !covers(kept[k - 1], kept[k] + 1, 0.999 * tolerance));
    }
    for (const std::size_t index : fixed)
      EXPECT_TRUE(index >= count || std::binary_search(kept.begin(), kept.end(), index));
  });
  EXPECT_GT(dropped, 500u);
}

TEST(ProtectedThinOut, StopsAtThreePointsOfAClosedLine)
{
  auto line = polyLineFrom<Point<double, 2>>("0,0 1,0 1,1 0,1 closed");
  EXPECT_FALSE(ThinOut::thinout(line, -0.1, {}));
  EXPECT_TRUE(ThinOut::thinout(line, 9.0, {}));
  EXPECT_EQ(line.getPointCollection(), (polyLineFrom<Point<double, 2>>("0,0 1,1 0,1").getPointCollection()));
}
