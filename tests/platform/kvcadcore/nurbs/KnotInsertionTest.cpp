#include "platform/kvcadcore/nurbs/KnotInsertion.h"

#include "support/RandomNurbs.h"

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;

void expectSameShape(const NurbsArrays& a, const NurbsArrays& b, double low, double high, RandomGeometry& random)
{
  for (int i = 0; i < 20; ++i) {
    const double u = random.uniform(low, high);
    const auto p = Nurbs::pointAt(a.view(), u), q = Nurbs::pointAt(b.view(), u);
    for (unsigned c = 0; c < 3; ++c)
      ASSERT_NEAR(p[c], q[c], 1e-12) << "at " << u;
  }
}

NurbsArrays restricted(NurbsArrays curve, double low, double high)
{
  const auto [first, count] = Nurbs::restrictTo(curve.knots, curve.degree, curve.points, 3, low, high);
  const auto knots = std::span(curve.knots).subspan(first, count + curve.degree + 1);
  const auto points = std::span(curve.points).subspan(3 * first, 3 * count);
  return {curve.degree, {knots.begin(), knots.end()}, {points.begin(), points.end()}, {}};
}

TEST(KnotInsertion, RestrictionIsThatPartOfTheCurve)
{
  forRandomCurves(1, [](const NurbsArrays& curve, RandomGeometry& random) {
    const double start = curve.domainStart(), end = curve.domainEnd();
    double cuts[] = {start, end, curve.knots[curve.degree + 1], random.uniform(start, end), random.uniform(start, end)};
    std::ranges::sort(cuts);
    for (const double low : cuts)
      for (const double high : cuts) {
        if (low >= high) continue;
        const NurbsArrays part = restricted(curve, low, high);
        ASSERT_EQ(std::ranges::count(part.knots, low), curve.degree + 1);
        ASSERT_EQ(std::ranges::count(part.knots, high), curve.degree + 1);
        expectSameShape(part, {curve.degree, curve.knots, curve.points, {}}, low, high, random);
      }
  });
}

TEST(KnotInsertion, InsertedKnotsKeepTheCurve)
{
  forRandomCurves(1, [](const NurbsArrays& curve, RandomGeometry& random) {
    const double start = curve.domainStart(), end = curve.domainEnd();
    std::vector<double> inserted(1 + random.index(curve.degree), random.uniform(start, end));
    for (std::size_t k = curve.degree + 1; k <= curve.count(); ++k) // inner knots and the upper end
      if (curve.knots[k] > start && std::ranges::count(curve.knots, curve.knots[k]) <= curve.degree &&
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
    expectSameShape(finer, {curve.degree, curve.knots, curve.points, {}}, start, end, random);
  });
}

TEST(KnotInsertion, BezierPointsAgreeWithPolarForms)
{
  forRandomCurves(1, [](const NurbsArrays& curve, RandomGeometry& random) {
    const double u = random.uniform(curve.domainStart(), curve.domainEnd());
    std::vector<double> bezier(3 * (curve.degree + 1));
    Nurbs::bezierPoints(curve.knots, curve.degree, Nurbs::findSpan(curve.knots, curve.degree, u), curve.points, 3,
                        bezier);
    const BezierReference reference({curve.degree, curve.knots, curve.points, {}}, u);
    for (std::size_t i = 0; i < bezier.size(); ++i)
      ASSERT_NEAR(bezier[i], double(reference.points[i / 3][i % 3]), 1e-12);
  });
}

} // namespace
