#include "platform/kvcadcore/nurbs/CurveEvaluation.h"

#include "support/RandomNurbs.h"

#include <gtest/gtest.h>

#include <complex>

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;

/// Runs `check(curve, random)` over degrees 1 to 25, clamped or not, rational or not.
template <class Check>
void forRandomCurves(unsigned repetitions, Check check)
{
  RandomGeometry random(20);
  for (unsigned degree = 1; degree <= 25; ++degree)
    for (unsigned variant = 0; variant < 4 * repetitions; ++variant) {
      SCOPED_TRACE(testing::Message() << "degree " << degree << ", variant " << variant);
      const NurbsArrays curve = randomNurbs(random, degree, variant & 1, variant & 2);
      check(curve, random);
      if (testing::Test::HasFailure()) return;
    }
}

/// Parameters all over the domain and a little beyond, and every knot in it.
std::vector<double> interestingParameters(const NurbsArrays& curve, RandomGeometry& random)
{
  std::vector<double> parameters(curve.knots.begin() + curve.degree,
                                 curve.knots.begin() + static_cast<std::ptrdiff_t>(curve.count()) + 1);
  for (int i = 0; i < 20; ++i)
    parameters.push_back(random.uniform(curve.domainStart() - 0.02, curve.domainEnd() + 0.02));
  return parameters;
}

TEST(CurveEvaluation, AgreesWithBezierExtraction)
{
  forRandomCurves(3, [](const NurbsArrays& curve, RandomGeometry& random) {
    for (const double u : interestingParameters(curve, random)) {
      const BezierReference reference(curve, u);
      const auto expected = reference.at(u), size = reference.at(u, true);
      const auto point = Nurbs::pointAt(curve.view(), u);
      for (unsigned c = 0; c < 3; ++c) {
        const long double value = expected[c] / expected[3];
        const long double terms = (size[c] + size[3] * std::abs(value)) / std::abs(expected[3]);
        ASSERT_NEAR(point[c], double(value), 1e-14 * curve.degree * (10.0 + double(terms))) << "at " << u;
      }
    }
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

// The unit circle by z(u) = (1 + iu) / (1 - iu): its derivatives are 2 d! i^d / (1 - iu)^(d + 1).
TEST(CurveEvaluation, ArcHasTheDerivativesOfTheClosedForm)
{
  const NurbsArrays arc{2, {0, 0, 0, 1, 1, 1}, {1, 0, 7, 1, 1, 7, 0, 1, 7}, {1, 1, 2}};
  for (double u = -3.0; u <= 3.0; u += 0.0625) {
    SCOPED_TRACE(u);
    const std::complex<double> i(0, 1), base = 1.0 / (1.0 - i * u);
    const auto values = Nurbs::derivativesAt<4>(arc.view(), u);
    std::complex<double> expected = 2.0 * base - 1.0, derivative = 2.0 * base;
    for (unsigned d = 0; d <= 4; ++d) {
      EXPECT_NEAR(values[d][0], expected.real(), d == 0 ? 2e-15 : 1e-12);
      EXPECT_NEAR(values[d][1], expected.imag(), d == 0 ? 2e-15 : 1e-12);
      EXPECT_NEAR(values[d][2], d == 0 ? 7.0 : 0.0, 1e-13);
      expected = derivative *= double(d + 1) * i * base;
    }
  }
}

TEST(CurveEvaluation, WholeCircleIsRound)
{
  const double s = std::sqrt(0.5);
  const NurbsArrays circle{2,
                           {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4},
                           {1, 0, 0, 1, 1, 0, 0, 1, 0, -1, 1, 0, -1, 0, 0, -1, -1, 0, 0, -1, 0, 1, -1, 0, 1, 0, 0},
                           {1, s, 1, s, 1, s, 1, s, 1}};
  for (double u = 0.0; u <= 4.0; u += 1.0 / 128) {
    const auto [p, tangent] = Nurbs::derivativesAt<1>(circle.view(), u);
    EXPECT_NEAR(std::hypot(p[0], p[1]), 1.0, 1e-14) << u;
    EXPECT_NEAR(p[0] * tangent[0] + p[1] * tangent[1], 0.0, 1e-14) << u;
  }
}

// Control points at the averages of `degree` successive knots make x(u) = u, here for the largest degree.
TEST(CurveEvaluation, LargestDegreeReproducesALine)
{
  NurbsArrays curve{Nurbs::maxDegree, {}, {}, {}};
  for (unsigned i = 0; i < 2 * Nurbs::maxDegree + 12; ++i)
    curve.knots.push_back(0.01 * i);
  for (std::size_t i = 0; i + curve.degree + 1 < curve.knots.size(); ++i) {
    double sum = 0.0;
    for (unsigned j = 1; j <= curve.degree; ++j)
      sum += curve.knots[i + j];
    curve.points.insert(curve.points.end(), {sum / curve.degree, 1.0, -sum});
  }
  for (double u = curve.domainStart(); u <= curve.domainEnd(); u += 0.003) {
    const auto values = Nurbs::derivativesAt<4>(curve.view(), u);
    for (unsigned d = 0; d <= 4; ++d)
      EXPECT_NEAR(values[d][0],
                  d == 0   ? u
                  : d == 1 ? 1.0
                           : 0.0,
                  1e-12 * std::pow(1e3, d))
          << "order " << d << " at " << u;
  }
}

TEST(CurveEvaluation, FloatAndPlaneGiveTheSameNumbers)
{
  forRandomCurves(1, [](NurbsArrays curve, RandomGeometry& random) {
    std::vector<float> flat;
    for (std::size_t i = 0; i < curve.points.size(); ++i)
      if (i % 3 < 2) flat.push_back(static_cast<float>(curve.points[i]));
    for (std::size_t i = 0; i < curve.count(); ++i)
      for (std::size_t c = 0; c < 2; ++c)
        curve.points[3 * i + c] = static_cast<double>(flat[2 * i + c]);
    const auto space = curve.view();
    const Nurbs::CurveView<float, 2> plane{space.degree, space.knots, flat.data(), space.weights};
    for (const double u : interestingParameters(curve, random)) {
      const auto values = Nurbs::derivativesAt<2>(space, u);
      const auto planar = Nurbs::derivativesAt<2>(plane, u);
      const auto point = Nurbs::pointAt(plane, u);
      for (unsigned c = 0; c < 2; ++c) {
        ASSERT_EQ(point[c], values[0][c]);
        for (unsigned d = 0; d <= 2; ++d)
          ASSERT_EQ(planar[d][c], values[d][c]);
      }
    }
  });
}

TEST(KnotSpan, HintOnlySavesTime)
{
  forRandomCurves(1, [](const NurbsArrays& curve, RandomGeometry& random) {
    for (const double u : interestingParameters(curve, random))
      for (std::size_t hint = 0; hint < curve.knots.size() + 2; ++hint)
        ASSERT_EQ(Nurbs::findSpan(curve.knots, curve.degree, u, hint), Nurbs::findSpan(curve.knots, curve.degree, u));
  });
}

} // namespace
