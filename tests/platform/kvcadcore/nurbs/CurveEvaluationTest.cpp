#include "platform/kvcadcore/nurbs/CurveEvaluation.h"

#include "support/RandomNurbs.h"

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;

/// Parameters all over the domain and a little beyond, and every knot in it.
std::vector<double> interestingParameters(const NurbsArrays& curve, RandomGeometry& random)
{
  std::vector<double> parameters;
  std::ranges::unique_copy(std::span(curve.knots).subspan(curve.degree, curve.count() - curve.degree + 1),
                           std::back_inserter(parameters));
  for (int i = 0; i < 20; ++i)
    parameters.push_back(random.uniform(curve.domainStart() - 1e-3, curve.domainEnd() + 1e-3));
  return parameters;
}

TEST(CurveEvaluation, AgreesWithBezierExtraction)
{
  forRandomCurves(1, [](const NurbsArrays& curve, RandomGeometry& random) {
    for (const double u : interestingParameters(curve, random)) {
      const BezierReference reference(curve, u);
      const auto point = Nurbs::pointAt(curve.view(), u);
      const std::size_t span = Nurbs::findSpan(curve.knots, curve.degree, u), hint = random.index(curve.knots.size());
      ASSERT_EQ(Nurbs::findSpan(curve.knots, curve.degree, u, hint), span);
      for (unsigned c = 0; c < 3; ++c)
        ASSERT_NEAR(point[c], reference.at(u, c), 1e-13 * curve.degree) << "at " << u;
    }
  });
}

TEST(CurveEvaluation, ClampedEndsAreControlPointsToTheBit)
{
  forRandomCurves(1, [](const NurbsArrays& curve, RandomGeometry&) {
    const auto starts = std::ranges::equal_range(curve.knots, curve.domainStart());
    const auto ends = std::ranges::equal_range(curve.knots, curve.domainEnd());
    if (starts.size() <= curve.degree || ends.size() <= curve.degree || curve.view().weights) return;
    const auto first = std::size_t(starts.end() - curve.knots.begin()) - 1 - curve.degree;
    const auto last = std::size_t(ends.begin() - curve.knots.begin()) - 1;
    const auto start = Nurbs::pointAt(curve.view(), curve.domainStart());
    const auto end = Nurbs::pointAt(curve.view(), curve.domainEnd());
    ASSERT_TRUE(std::ranges::equal(start, std::span(curve.points).subspan(3 * first, 3)));
    ASSERT_TRUE(std::ranges::equal(end, std::span(curve.points).subspan(3 * last, 3)));
  });
}

TEST(CurveEvaluation, DerivativesAgreeWithDifferencesOfTheOrderBelow)
{
  forRandomCurves(2, [](const NurbsArrays& curve, RandomGeometry& random) {
    const BezierReference reference(curve, random.uniform(curve.domainStart(), curve.domainEnd()));
    const double length = reference.end - reference.start, h = 2e-3 * length / curve.degree;
    const double u = reference.start + length * random.uniform(0.3, 0.7);
    const auto at = [&](double shift) { return Nurbs::derivativesAt<4>(curve.view(), u + shift * h); };
    const auto a = at(-2), b = at(-1), values = at(0), c = at(1), d = at(2);
    for (unsigned order = 1; order <= 4; ++order)
      for (unsigned i = 0; i < 3; ++i) {
        const auto below = [&](const auto& v) { return v[order - 1][i]; };
        const double difference = (below(a) - 8 * below(b) + 8 * below(c) - below(d)) / (12 * h);
        const double size = 10 * std::pow(curve.degree / length, order);
        ASSERT_NEAR(values[order][i], difference, 1e-7 * size) << "order " << order << " at " << u;
      }
  });
}

// Evenly spread control points of one Bézier span make x(u) = u.
TEST(CurveEvaluation, LargestDegreeReproducesALine)
{
  NurbsArrays curve{Nurbs::maxDegree, std::vector<double>(512, 0.0), {}, {}};
  std::fill_n(curve.knots.begin() + 256, 256, 1.0);
  for (int i = 0; i < 256; ++i)
    curve.points.insert(curve.points.end(), {i / 255.0, 1.0, 0.0});
  for (double u = 0.0; u <= 1.0; u += 1.0 / 64) {
    const auto values = Nurbs::derivativesAt<2>(curve.view(), u);
    EXPECT_NEAR(values[0][0], u, 1e-13);
    EXPECT_NEAR(values[1][0], 1.0, 1e-10);
    EXPECT_NEAR(values[2][0], 0.0, 1e-7);
  }
}

} // namespace
