#include "platform/kvcadcore/nurbs/KnotInsertion.h"

#include "support/RandomNurbs.h"

#include <gtest/gtest.h>

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;

/// The curves of the core know no weights: here the first three coordinates count, and stride 3 serves.
void expectSameShape(const NurbsArrays& a, const NurbsArrays& b, double low, double high, RandomGeometry& random)
{
  for (int i = 0; i < 20; ++i) {
    const double u = random.uniform(low, high);
    const auto p = Nurbs::pointAt(a.view(), u), q = Nurbs::pointAt(b.view(), u);
    for (unsigned c = 0; c < 3; ++c)
      ASSERT_NEAR(p[c], q[c], 1e-12) << "at " << u;
  }
}

template <class Check>
void forRandomCurves(Check check)
{
  RandomGeometry random(21);
  for (unsigned degree = 1; degree <= 25; ++degree)
    for (unsigned variant = 0; variant < 6; ++variant) {
      SCOPED_TRACE(testing::Message() << "degree " << degree << ", variant " << variant);
      check(randomNurbs(random, degree, variant & 1, false), random);
      if (testing::Test::HasFailure()) return;
    }
}

NurbsArrays partOf(const NurbsArrays& curve, Nurbs::ControlRange range)
{
  const auto knots = curve.knots.begin() + static_cast<std::ptrdiff_t>(range.first);
  const auto points = curve.points.begin() + static_cast<std::ptrdiff_t>(3 * range.first);
  return {curve.degree,
          {knots, knots + static_cast<std::ptrdiff_t>(range.count + curve.degree + 1)},
          {points, points + static_cast<std::ptrdiff_t>(3 * range.count)},
          {}};
}

TEST(KnotInsertion, RestrictionIsThatPartOfTheCurve)
{
  forRandomCurves([](const NurbsArrays& curve, RandomGeometry& random) {
    double cuts[] = {curve.domainStart(), curve.domainEnd(), curve.knots[curve.degree + 1],
                     random.uniform(curve.domainStart(), curve.domainEnd()),
                     random.uniform(curve.domainStart(), curve.domainEnd())};
    std::ranges::sort(cuts);
    for (const double low : cuts)
      for (const double high : cuts) {
        if (low >= high) continue;
        NurbsArrays part = curve;
        part = partOf(part, Nurbs::restrictTo(part.knots, part.degree, part.points, 3, low, high));
        ASSERT_EQ(std::ranges::count(part.knots, low), curve.degree + 1);
        ASSERT_EQ(std::ranges::count(part.knots, high), curve.degree + 1);
        ASSERT_TRUE(std::ranges::is_sorted(part.knots));
        expectSameShape(part, curve, low, high, random);
      }
  });
}

TEST(KnotInsertion, ClampedEndsStayBitForBit)
{
  forRandomCurves([](const NurbsArrays& curve, RandomGeometry&) {
    NurbsArrays once = curve;
    once = partOf(once, Nurbs::clampEnds(once.knots, once.degree, once.points, 3));
    NurbsArrays twice = once;
    Nurbs::clampEnds(twice.knots, twice.degree, twice.points, 3);
    ASSERT_EQ(twice.knots, once.knots);
    ASSERT_EQ(twice.points, once.points);
  });
}

TEST(KnotInsertion, InsertedKnotsKeepTheCurve)
{
  forRandomCurves([](const NurbsArrays& curve, RandomGeometry& random) {
    std::vector<double> inserted(random.index(6), random.uniform(curve.domainStart(), curve.domainEnd()));
    inserted.resize(std::min<std::size_t>(inserted.size(), curve.degree));
    for (std::size_t k = curve.degree + 1; k <= curve.count(); ++k) // inner knots and the upper end
      if (curve.knots[k] > curve.domainStart() && std::ranges::count(curve.knots, curve.knots[k]) <= curve.degree &&
          std::ranges::count(inserted, curve.knots[k]) == 0)
        inserted.push_back(curve.knots[k]);
    std::ranges::sort(inserted);

    NurbsArrays finer{curve.degree,
                      std::vector<double>(curve.knots.size() + inserted.size()),
                      std::vector<double>(curve.points.size() + 3 * inserted.size()),
                      {}};
    Nurbs::insertKnots(curve.knots, curve.degree, curve.points, 3, inserted, finer.knots, finer.points);
    std::vector<double> merged;
    std::ranges::merge(curve.knots, inserted, std::back_inserter(merged));
    ASSERT_EQ(finer.knots, merged);
    expectSameShape(finer, curve, curve.domainStart(), curve.domainEnd(), random);
  });
}

TEST(KnotInsertion, BezierPointsAgreeWithRepeatedInsertion)
{
  forRandomCurves([](const NurbsArrays& curve, RandomGeometry&) {
    std::vector<double> bezier(3 * (curve.degree + 1));
    for (std::size_t span = curve.degree; span < curve.count(); ++span) {
      if (curve.knots[span] == curve.knots[span + 1]) continue;
      Nurbs::bezierPoints(curve.knots, curve.degree, span, curve.points, 3, bezier);
      const BezierReference reference(curve, curve.knots[span]);
      for (std::size_t i = 0; i < bezier.size(); ++i)
        ASSERT_NEAR(bezier[i], double(reference.points[i / 3][i % 3]), 1e-12) << "span " << span;
    }
  });
}

} // namespace
