#include "geometry/XiEtaPoint.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace Kavrel::Testing {
namespace {

constexpr double largestFloat = std::numeric_limits<float>::max();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(XiEtaPointTest, SnapsOntoTheTriangle)
{
  const std::tuple<double, double, double, double, bool, bool> rows[] = {
      {0.25, 0.25, 0.25, 0.25, true, true}, {0, 1, 0, 1, true, true},       {1, 0, 1, 0, true, true},
      {-1, -1, 0, 0, false, true},          {0.4, -2, 0.4, 0, false, true}, {-0.5, 0.4, 0, 0.4, false, true},
      {1.5, -0.5, 1, 0, false, true},       {-3, 4.5, 0, 1, false, false},  {0.8, 0.8, 0.5, 0.5, false, false},
      {0.9, 0.5, 0.7, 0.3, false, false},   {3, 0.5, 1, 0, false, false},
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

TEST(XiEtaPointTest, AnUndefinedVertexValueSpoilsTheResultWhateverItsWeight)
{
  const XiEtaPoint corner(0, 0);
  for (const double undefined : {largestFloat, -largestFloat, std::numeric_limits<double>::infinity(), nan}) {
    EXPECT_TRUE(std::isnan(corner.interpolateVertexValues(undefined, 1, 1)));
    EXPECT_TRUE(std::isnan(corner.interpolateVertexValues(1, undefined, 1)));
    EXPECT_TRUE(std::isnan(corner.interpolateVertexValues(1, 1, undefined)));
  }
  EXPECT_EQ(XiEtaPoint(0.5, 0.25).interpolateVertexValues(8, 4, 0), 4);
  EXPECT_EQ(corner.interpolateVertexValues(5, std::nextafter(largestFloat, 0), 1), 5);
}

} // namespace
} // namespace Kavrel::Testing
