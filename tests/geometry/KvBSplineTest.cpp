#include "geometry/KvBSpline.h"

#include "geometry/NurbsCurve.h"
#include "geometry/PolyLine.h"
#include "geometry/PolyLineAlgorithm.h"
#include "geometry/ShapecoreException.h"
#include "support/CurveSuite.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <gtest/gtest.h>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Point3 = Point<double, 3>;
using Vector3 = Vector<double, 3>;
using Spline = KvBSpline<double, 3>;

template <class T = double, unsigned dim = 3>
std::vector<Point<T, dim>> randomPoints(RandomGeometry& random, std::size_t count)
{
  std::vector<Point<T, dim>> points(count);
  for (auto& point : points)
    for (unsigned axis = 0; axis < dim; ++axis)
      point[axis] = static_cast<T>(random.uniform(-5.0, 5.0));
  return points;
}

/// Cubic pieces that meet with their second derivatives, each point at its share of the length of all chords: together
/// with two conditions at the ends one curve alone is like that.
void expectCubicThrough(const std::vector<Point3>& points, const Spline& spline, double length)
{
  const auto curve = spline.getNurbsCurve();
  EXPECT_EQ(curve->numberOfControlPoints(), points.size() + 2);
  ASSERT_EQ(curve->numberOfKnots(), points.size() + 6);
  double u = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (i > 0) u += points[i].distance(points[i - 1]) / length;
    EXPECT_NEAR(curve->getKnot(i + 3), u, 1e-12);
    EXPECT_THAT(spline.evaluate(u), IsNear(points[i], 1e-9));
  }
}

std::vector<Point3> derivativesOf(const Spline& spline, double u)
{
  std::vector<Point3> derivatives;
  spline.getNurbsCurve()->derivates(derivatives, u);
  return derivatives;
}

/// The start slope that leaves no curvature there, which depends on the slope linearly.
Vector3 naturalStart(const std::vector<Point3>& points, const Vector3& end)
{
  const auto bend = [&](double x) { return derivativesOf(Spline(points, Vector3(x, 0, 0), end, false, 0.1), 0.0)[2]; };
  const double rate = (bend(2.0) - bend(1.0)).x();
  return Vector3(1, 0, 0) - bend(1.0) / rate;
}

void expectSame(const Spline& spline, const Spline& reference, double from)
{
  for (int i = 0; i <= 60; ++i) {
    const double u = from + (1.0 - from) * i / 60.0;
    EXPECT_THAT(spline.evaluate(u), IsNear(reference.evaluate(u), 1e-9)) << u;
  }
}

TEST(KvBSpline, IsTheCubicOfItsPointsAndEndConditions)
{
  repeat(60, 51, [&](RandomGeometry& random) {
    auto points = randomPoints(random, 2 + random.index(9));
    const Vector3 start = random.direction<3>() * random.uniform(0.51, 3.0);
    const Vector3 end = random.direction<3>() * random.uniform(0.51, 3.0);
    const Spline tangents(points, start, end, false, 0.1);
    const double length = PolyLine<Point3>(points, 0.1).getTotalLength();
    expectCubicThrough(points, tangents, length);
    EXPECT_THAT(tangents.evaluateDerivation(0.0), IsNear(start * length, 1e-9));
    EXPECT_THAT(tangents.evaluateDerivation(1.0), IsNear(end * length, 1e-9));
    EXPECT_THAT(tangents.getStartTangent(), IsNear(start * length, 1e-9));

    Spline normal(points, Vector3(), end, false, 0.1);
    const Vector3 n0 = random.direction<3>() * 0.7;
    normal.setStartNormal(n0);
    Vector3 across = naturalStart(points, end);
    across -= n0 * (across.dot(n0) / n0.dot(n0));
    across.normalize();
    expectSame(normal, Spline(points, across, end, false, 0.1), 0.0);

    if (points.size() < 3) return;
    const Spline closed(points, start, end, true, 0.1);
    points.push_back(points.front());
    expectCubicThrough(points, closed, PolyLine<Point3>(points, 0.1).getTotalLength());
    const auto atStart = derivativesOf(closed, 0.0), atEnd = derivativesOf(closed, 1.0);
    EXPECT_THAT(atStart[1], IsNear(atEnd[1], 1e-8));
    EXPECT_THAT(atStart[2], IsNear(atEnd[2], 1e-6));
  });
}

TEST(KvBSpline, AnEndWithoutTangentIsDoubledAndDeviatesNearThatEndOnly)
{
  RandomGeometry random(52);
  const auto points = randomPoints(random, 9);
  const Vector3 given(0.0, 0.6, 0.0), tooShort(0.0, 0.5, 0.0);
  const Spline spline(points, tooShort, given, false, 0.1);
  const auto curve = spline.getNurbsCurve();
  EXPECT_EQ(curve->getControlPoint(1), points.front());
  expectSame(spline, Spline(points, naturalStart(points, given), given, false, 0.1), curve->getKnot(5));
  EXPECT_GT(spline.evaluate(curve->getKnot(4)).distance(points[1]), 1e-3);
}

TEST(KvBSpline, EachEditGivesTheCurveOfItsPoints)
{
  RandomGeometry random(53);
  std::vector<Point3> points;
  Vector3 start, end, startNormal, endNormal;
  bool closed = false;
  Spline spline(0.01);
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    const auto any = randomPoints(random, 3);
    const std::size_t at = random.index(points.size() + 3);
    const bool exists = at < points.size();
    const Vector3 v = random.direction<3>() * random.uniform(0.2, 1.5);
    switch (random.index(11)) {
    case 0:
    case 1:
      spline.addInterpolationPoint(any[0], at);
      if (at <= points.size()) points.insert(points.begin() + static_cast<std::ptrdiff_t>(at), any[0]);
      break;
    case 2:
      spline.deleteInterpolationPoint(at);
      if (exists) points.erase(points.begin() + static_cast<std::ptrdiff_t>(at));
      break;
    case 3:
      if (round % 8 != 0) break;
      spline.deleteMultipleInterpolationPoints({at + 1, at, at, at + 900});
      if (at + 1 < points.size()) points.erase(points.begin() + static_cast<std::ptrdiff_t>(at) + 1);
      if (exists) points.erase(points.begin() + static_cast<std::ptrdiff_t>(at));
      break;
    case 4:
      spline.moveInterpolationPoint(at, any[1]);
      if (exists) points[at] = any[1];
      break;
    case 5:
      spline.moveMultipleInterpolationPoints({at, 0, 900}, any);
      spline.moveMultipleInterpolationPoints({0, 1}, any);
      if (exists) points[at] = any[0];
      if (!points.empty()) points[0] = any[1];
      break;
    case 6:
      spline.setStart(any[0]);
      spline.setEnd(any[1]);
      if (!points.empty()) points.front() = any[0], points.back() = any[1];
      break;
    case 7:
      spline.setStartTangent(start = v);
      startNormal = Vector3();
      break;
    case 8:
      spline.setEndNormal(endNormal = v);
      end = Vector3();
      break;
    case 9:
      spline.setStartNormal(startNormal = v);
      spline.setEndTangent(end = v);
      start = endNormal = Vector3();
      break;
    default:
      spline.setClosed(closed = !closed);
    }
    ASSERT_EQ(spline.getNumberOfInterpolationPoints(), points.size());
    EXPECT_EQ(spline.getStart(), points.empty() ? Point3() : points.front());
    EXPECT_EQ(spline.getEnd(), points.empty() ? Point3() : closed ? points.front() : points.back());
    if (points.empty()) continue;
    Spline fresh(points, start, end, closed, 0.01);
    if (startNormal != Vector3()) fresh.setStartNormal(startNormal);
    if (endNormal != Vector3()) fresh.setEndNormal(endNormal);
    for (const double u : {0.0, 0.3, 0.9})
      EXPECT_EQ(spline.evaluate(u), fresh.evaluate(u));
    for (std::size_t k = 0; k + 1 < points.size(); ++k)
      EXPECT_TRUE(spline.getSubCurve(k)->isCompletelyEqual(*fresh.getSubCurve(k), 0.0));
  }
}

TEST(KvBSpline, AnEditAfterAMotionLeavesTheCurveWhereItIs)
{
  using Suite = CurveSuite<double, 3>;
  repeat(40, 57, [](RandomGeometry& random) {
    Spline spline(randomPoints(random, 3 + random.index(6)), random.index(4) == 0, 0.1);
    const auto end = [&] { return random.direction<3>() * random.uniform(0.2, 2.0); };
    random.coin() ? spline.setStartTangent(end()) : spline.setStartNormal(end());
    random.coin() ? spline.setEndTangent(end()) : spline.setEndNormal(end());
    const Plane<double, 3> plane(random.direction<3>(), 1.25);

    Spline moved(spline), copied(randomPoints(random, 4), false, 0.5);
    const auto piece = copied.getSubCurve(2);
    moved.transform(Suite::placement());
    if (!spline.isClosed()) moved.reverse(); // starts a closed curve at another point
    copied = spline;
    EXPECT_EQ(copied.getSubCurve(2), piece);
    const auto mirrored = std::dynamic_pointer_cast<Spline>(spline.mirror(plane));
    for (Spline* const curve : {&moved, &copied, mirrored.get()}) {
      Spline edited(*curve);
      edited.setStart(edited.getStart());
      for (const double u : {0.05, 0.3, 0.55, 0.8, 0.95})
        EXPECT_THAT(edited.evaluate(u), IsNear(curve->evaluate(u), 1e-9)) << u;
    }
  });
}

template <class P>
class KvBSplinePieces : public testing::Test
{};
using Spaces = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>>;
TYPED_TEST_SUITE(KvBSplinePieces, Spaces);

TYPED_TEST(KvBSplinePieces, AreTrimmedBetweenTheParametersOfThePoints)
{
  using T = typename TypeParam::Scalar;
  constexpr unsigned dim = TypeParam::Dim;
  RandomGeometry random(54);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    auto points = randomPoints<T, dim>(random, round == 5 ? 300 : 2 + random.index(40));
    for (std::size_t i = 1; i < points.size(); ++i)
      if (random.index(6) == 0) points[i] = points[random.index(i)]; // visited again, or not left at all
    for (std::size_t i = 0; round < 5 && i < points.size(); ++i) {
      points[i] = TypeParam(); // to and fro on one line, in steps shorter than the segments
      points[i][0] = static_cast<T>(i < 12 ? i : 24 - std::min<std::size_t>(i, 24)) * T(0.25);
    }
    const KvBSpline<T, dim> spline(points, random.coin(), T(0.05));
    PolyLine<TypeParam> whole(0.05);
    spline.calcPolyLine(whole);
    for (std::size_t k = 0; k + 1 < points.size(); ++k) {
      SCOPED_TRACE(k);
      const double from = whole.calculateParameter(points[k], nullptr);
      const double to = whole.calculateParameter(points[k + 1], nullptr);
      const auto expected = PolyLineAlgorithm::trim(whole, static_cast<T>(from), static_cast<T>(to));
      const auto piece = spline.getSubCurve(k);
      ASSERT_TRUE(piece && expected);
      EXPECT_TRUE(piece->isCompletelyEqual(*expected, 0.0));
    }
  }
}

TEST(KvBSpline, DegenerateInputStaysFinite)
{
  const Point3 a(1, 2, 3), b(4, 2, 3), c(4, 6, 3);
  const std::vector<Point3> rows[] = {{a},          {a, b},       {a, a, a, a}, {a, a, b, c}, // coincident at the start
                                      {a, b, b, c}, {a, b, c, c}, {a, b, c, a}, {a, b, a, b}};
  for (const auto& points : rows)
    for (const bool closed : {false, true}) {
      SCOPED_TRACE(testing::PrintToString(points) + (closed ? ", closed" : ""));
      Spline spline(points, Vector3(1, 0, 0), Vector3(0, 1, 0), closed, 0.1);
      spline.setStartNormal(Vector3(0, 0, 1));
      for (int i = 0; i <= 40; ++i)
        EXPECT_TRUE(spline.evaluate(i / 40.0).isDefined());
      EXPECT_THAT(spline.evaluate(0.0), IsNear(points.front(), 1e-12));
      EXPECT_THAT(spline.evaluate(1.0), IsNear(spline.getEnd(), 1e-12));
      for (std::size_t k = 0; k + 1 < points.size(); ++k)
        ASSERT_TRUE(spline.getSubCurve(k));
    }
  Spline never;
  EXPECT_THROW(never.evaluate(0.5), ShapecoreException);
}

TEST(KvBSpline, LoadsAndEditsInstallNewObjects)
{
  RandomGeometry random(55);
  Spline spline(randomPoints(random, 6), Vector3(0, 0.8, 0), Vector3(0, 0, 2), false, 0.02);
  spline.setEndNormal(Vector3(1, 0, 0));
  const auto piece = spline.getSubCurve(2);
  const auto held = *piece;

  Spline loaded(randomPoints(random, 3), false, 0.1);
  const auto oldPiece = loaded.getSubCurve(0);
  const auto oldStart = oldPiece->front();
  roundTrip(spline, loaded);
  EXPECT_EQ(archiveOf(loaded), archiveOf(spline));
  EXPECT_TRUE(loaded.getSubCurve(2)->isCompletelyEqual(held, 0.0));
  EXPECT_EQ(oldPiece->front(), oldStart) << "what readers hold isn't loaded into";
  EXPECT_EQ(faultsOfDamaged(archiveOf(Spline(randomPoints(random, 2), false, 1.0)),
                            [](const std::vector<char>& bytes) {
                              Spline damaged;
                              loadFrom(bytes, damaged);
                              damaged.evaluate(0.5);
                            }),
            "");

  spline.moveInterpolationPoint(2, Point3(9, 9, 9));
  EXPECT_TRUE(piece->isCompletelyEqual(held, 0.0)) << "an edit doesn't change the pieces that readers hold";
}

} // namespace
