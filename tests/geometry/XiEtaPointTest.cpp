#include "geometry/XiEtaPoint.h"

#include "support/RandomGeometry.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace Kavrel::Testing {
namespace {

constexpr double largestFloat = std::numeric_limits<float>::max();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(XiEtaPointTest, TheDefaultIsTheCentreWithoutATriangle)
{
  XiEtaPoint p;
  EXPECT_TRUE(p.isOnTriangle());
  EXPECT_FALSE(p.isElementIdxValid());
  EXPECT_FALSE(XiEtaPoint(0.5, 0.25).isElementIdxValid());
  EXPECT_DOUBLE_EQ(p.interpolateVertexValues(3, 6, 12), 7);
  p.setElementIdx(0xFFFFFFFE);
  EXPECT_TRUE(p.isElementIdxValid());
}

TEST(XiEtaPointTest, SnapsOntoTheTriangle)
{
  const std::tuple<double, double, double, double, bool, bool> rows[] = {
      {0.25, 0.25, 0.25, 0.25, true, true}, {0, 1, 0, 1, true, true},           {1, 0, 1, 0, true, true},
      {2, 0, 1, 0, false, false},           {0, 3, 0, 1, false, false},         {-1, -1, 0, 0, false, true},
      {0.8, 0.8, 0.5, 0.5, false, false},   {0.9, 0.5, 0.7, 0.3, false, false}, {-0.5, 0.4, 0, 0.4, false, true},
      {0.4, -2, 0.4, 0, false, true},       {-3, 4.5, 0, 1, false, false},      {-0.5, 1.5, 0, 1, false, true},
      {1.5, -0.5, 1, 0, false, true},
  };
  for (const auto& [xi, eta, snappedXi, snappedEta, on, valid] : rows) {
    XiEtaPoint p(xi, eta);
    SCOPED_TRACE(std::to_string(xi) + ", " + std::to_string(eta));
    EXPECT_EQ(p.isOnTriangle(), on);
    EXPECT_EQ(p.isValid(), valid);
    p.snapToTriangle();
    EXPECT_NEAR(p.getXi(), snappedXi, 1e-15);
    EXPECT_NEAR(p.getEta(), snappedEta, 1e-15);
  }
  EXPECT_TRUE(XiEtaPoint(nan, 0).isValid());
  EXPECT_FALSE(XiEtaPoint(nan, 0).isOnTriangle());
}

TEST(XiEtaPointTest, BeyondTheHypotenuseTheSnapIsTheNearestPoint)
{
  repeat(300, 21, [&](RandomGeometry& random) {
    const double xi = random.uniform(-1, 2), eta = random.uniform(1 - xi, 3);
    XiEtaPoint p(xi, eta);
    p.snapToTriangle();
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i <= 1000; ++i)
      best = std::min(best, std::hypot(i / 1000.0 - xi, 1 - i / 1000.0 - eta));
    EXPECT_NEAR(std::hypot(p.getXi() - xi, p.getEta() - eta), best, 2e-3) << xi << ", " << eta;
  });
}

TEST(XiEtaPointTest, AnUndefinedVertexValueSpoilsTheResultWhateverItsWeight)
{
  const XiEtaPoint corner(0, 0);
  for (const double undefined : {largestFloat, -largestFloat, std::numeric_limits<double>::infinity(), nan}) {
    EXPECT_TRUE(std::isnan(corner.interpolateVertexValues(undefined, 1, 1)));
    EXPECT_TRUE(std::isnan(corner.interpolateVertexValues(1, undefined, 1)));
    EXPECT_TRUE(std::isnan(corner.interpolateVertexValues(1, 1, undefined)));
  }
  EXPECT_EQ(corner.interpolateVertexValues(5, std::nextafter(largestFloat, 0), 1), 5);
}

} // namespace
} // namespace Kavrel::Testing
