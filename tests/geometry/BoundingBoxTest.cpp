#include "geometry/BoundingBox.h"

#include "geometry/Ray.h"
#include "support/ArchiveWriter.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <algorithm>
#include <limits>

namespace Kavrel::Testing {
namespace {

using Box2 = BoundingBox<double, 2>;
using Box3 = BoundingBox<double, 3>;
using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(BoundingBoxTest, AnInvalidBoxHoldsAndMeetsNothing)
{
  const Box3 full(Point3(-1, -1, -1), Point3(1, 1, 1));
  Box3 cleared(full);
  cleared.clear();
  for (const Box3& box : {Box3(), cleared}) {
    EXPECT_FALSE(box.isValid());
    EXPECT_EQ(box.getMin(), Point3());
    EXPECT_EQ(box.getMax(), Point3());
    EXPECT_FALSE(box.isInside(Point3()));
    EXPECT_FALSE(box.intersect(full) || full.intersect(box));
    EXPECT_FALSE(box.compare(box, 1.0) || full.compare(box, 9.0));
    EXPECT_EQ(box.distance(Point3(3, 4, 0)), 0.0);
  }
  Box3 grown(Point3(5, 5, 5));
  grown.enlarge(Box3());
  EXPECT_EQ(grown.getMin(), Point3()) << "corners are taken without a look at validity";
}

TEST(BoundingBoxTest, HoldsWhatItWasEnlargedByAndNoMore)
{
  repeat(50, 41, [&](RandomGeometry& random) {
    std::vector<Point3> points;
    Box3 box, first, second;
    for (std::size_t i = 0, count = 1 + random.index(10); i < count; ++i) {
      points.emplace_back(random.inCube<3>(random.logUniform(1e-3, 1e3)));
      box.enlarge(points.back());
      (i % 2 == 0 ? first : second).enlarge(points.back());
    }
    for (unsigned axis = 0; axis < 3; ++axis) {
      const auto less = [axis](const Point3& a, const Point3& b) { return a[axis] < b[axis]; };
      EXPECT_EQ(box.getMin()[axis], (*std::min_element(points.begin(), points.end(), less))[axis]);
      EXPECT_EQ(box.getMax()[axis], (*std::max_element(points.begin(), points.end(), less))[axis]);
    }
    if (second.isValid()) first.enlarge(second);
    EXPECT_TRUE(first.compare(box, 0.0)) << "in two parts";
    EXPECT_TRUE(Box3(points.front(), points.back()).compare(Box3(points.back(), points.front()), 0.0));
  });
  Box3 box(Point3(1, 1, 1));
  box.enlarge(Point3(nan, 2, 3));
  EXPECT_EQ(box.getMax(), Point3(1, 2, 3)) << "NaN leaves its axis";
}

TEST(BoundingBoxTest, BordersBelongToTheBox)
{
  const Box2 box(Point2(0, 0), Point2(2, 1));
  const std::tuple<Point2, Point2, bool> rows[] = {
      {{2, 1}, {3, 3}, true}, {{-1, -1}, {3, 3}, true}, {{2.0000001, 0}, {3, 1}, false}, {{-1, 1.1}, {3, 2}, false}};
  for (const auto& [a, b, meet] : rows) {
    const Box2 other(a, b);
    EXPECT_EQ(box.intersect(other), meet) << a;
    EXPECT_EQ(other.intersect(box), meet) << a;
  }
  EXPECT_TRUE(box.isInside(Point2(2, 0)));
  EXPECT_FALSE(box.isInside(Point2(std::nextafter(2.0, 3.0), 0)));
  EXPECT_FALSE(box.isInside(Point2(nan, 0.5)));
  EXPECT_TRUE(box.compare(Box2(Point2(0.3, 0.4), Point2(2, 1)), 0.5)) << "Euclidean, bound included";
  EXPECT_FALSE(box.compare(Box2(Point2(0.3, 0.41), Point2(2, 1)), 0.5));
}

TEST(BoundingBoxTest, DistanceIsTheLengthOfTheWayOut)
{
  repeat(300, 42, [](RandomGeometry& random) {
    const Box3 box(Point3(random.inCube<3>(2)), Point3(random.inCube<3>(2)));
    const Point3 p(random.inCube<3>(3));
    Vector<double, 3> out;
    for (unsigned axis = 0; axis < 3; ++axis)
      out[axis] = p[axis] - std::clamp(p[axis], box.getMin()[axis], box.getMax()[axis]);
    EXPECT_NEAR(box.distance(p), out.length(), 1e-14);
  });
}

TEST(BoundingBoxTest, RaysMeetTheSidesWhereTheSlabsSay)
{
  int met = 0;
  repeat(1000, 43, [&](RandomGeometry& random) {
    const Box3 box(Point3(random.inCube<3>(2)), Point3(random.inCube<3>(2)));
    const Point3 start(random.inCube<3>(4));
    const auto direction = random.ofAnySize<3>(0.1, 10);
    const Ray<Point3> ray(&start, &direction);
    double in = -1e9, out = 1e9;
    for (unsigned axis = 0; axis < 2; ++axis) {
      const double a = (box.getMin()[axis] - start[axis]) / direction[axis];
      const double b = (box.getMax()[axis] - start[axis]) / direction[axis];
      in = std::max(in, std::min(a, b));
      out = std::min(out, std::max(a, b));
    }
    const std::size_t expected = in > out || out < 0 ? 0 : in < 0 ? 1 : 2;
    std::vector<Point3> hits;
    EXPECT_EQ(box.calculateIntersectionXY(ray, hits), expected > 0);
    EXPECT_EQ(box.checkIntersectionXY(ray), expected > 0);
    ASSERT_EQ(hits.size(), expected);
    met += expected > 0;
    std::sort(hits.begin(), hits.end(), [&](const Point3& a, const Point3& b) {
      return (a - b).x() * direction.x() + (a - b).y() * direction.y() < 0;
    });
    if (expected == 0) return;
    const auto at = [&](double t) {
      return Point3(start.x() + t * direction.x(), start.y() + t * direction.y(), box.getMin().z());
    };
    EXPECT_THAT(hits.back(), IsNear(at(out), 1e-9));
    EXPECT_THAT(hits.front(), IsNear(at(expected == 2 ? in : out), 1e-9));
  });
  EXPECT_GT(met, 100);
}

TEST(BoundingBoxTest, HitsComeInTheOrderOfTheSidesWithoutRepeats)
{
  const Box2 box(Point2(0, 0), Point2(2, 2));
  const std::tuple<const char*, Point2, Vector<double, 2>, std::vector<Point2>> rows[] = {
      {"right to left", {3, 1}, {-1, 0}, {{2, 1}, {0, 1}}}, {"through two corners", {-1, -1}, {1, 1}, {{0, 0}, {2, 2}}},
      {"touching a corner", {-1, 1}, {1, 1}, {{0, 2}}},     {"no direction", {1, 1}, {0, 0}, {}},
      {"just beside", {-1, 2 + 3e-12}, {1, 0}, {}},
  };
  for (const auto& [what, start, direction, expectedHits] : rows) {
    SCOPED_TRACE(what);
    const Ray<Point2> ray(&start, &direction);
    std::vector<Point2> hits;
    EXPECT_EQ(box.calculateIntersectionXY(ray, hits), !expectedHits.empty());
    EXPECT_EQ(hits, expectedHits);
    EXPECT_EQ(box.checkIntersectionXY(ray), !expectedHits.empty());
    EXPECT_FALSE(Box2().calculateIntersectionXY(ray, hits)) << "an invalid box isn't met, whatever the list holds";
  }
  std::vector<Point2> kept;
  const Point2 start(3, 1);
  const Vector<double, 2> direction(-1, 0);
  for (const double off : {1.01e-6, 0.99e-6}) {
    kept = {{2, 1 + off}};
    box.calculateIntersectionXY(Ray<Point2>(&start, &direction), kept);
    EXPECT_EQ(kept.size(), off > 1e-6 ? 3u : 2u) << "what the caller left takes part";
  }
}

TEST(BoundingBoxTest, OldArchivesHoldValidBoxesWithoutFlag)
{
  const Point3 low(1, 2, 3), high(4, 5, 6);
  for (const unsigned version : {300000u, 300001u}) {
    ArchiveWriter writer;
    writer.version("BoundingBox3", version);
    writer.object("BoundingBox3", [&] {
      Persistence::saveObject(writer.archive(), low);
      Persistence::saveObject(writer.archive(), high);
      if (version > 300000) writer << false;
    });
    Box3 box;
    loadFrom(writer.bytes(), box);
    EXPECT_EQ(box.isValid(), version == 300000);
    EXPECT_EQ(box.getMin(), low);
    EXPECT_EQ(box.getMax(), high);
  }
}

} // namespace
} // namespace Kavrel::Testing
