#include "geometry/PointUtilities.h"

#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <tuple>

namespace Kavrel::Testing {
namespace {

using Vector3 = Vector<double, 3>;
using Cloud = std::vector<Vector3>;

Cloud randomCloud(std::uint64_t seed, std::size_t count)
{
  RandomGeometry random(seed);
  Cloud cloud;
  while (cloud.size() < count)
    cloud.push_back(random.inCube<3>(4.0));
  return cloud;
}

TEST(PointUtilitiesTest, CentreAndRadius)
{
  EXPECT_EQ(PointUtilities::getCenter({}), Vector3());
  const Cloud corners{{0, 0, 0}, {2, 0, 0}, {0, 4, 0}, {2, 4, 8}};
  EXPECT_EQ(PointUtilities::getCenter(corners), Vector3(1, 2, 2));
  EXPECT_DOUBLE_EQ(PointUtilities::getRadius(Vector3(1, 0, 0), corners), 9.0);
}

TEST(PointUtilitiesTest, DirectionsStandInTheirOrder)
{
  const double r = std::sqrt(3.0) / 2, k = 1 / (2 * std::sqrt(2.0)), c = 1 / std::sqrt(3.0);
  const Vector3 x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
  Cloud expected{x, y, z};
  for (const auto& [a, b] : {std::pair(x, z), std::pair(y, z), std::pair(x, y)})
    expected.insert(expected.end(), {a * 0.5 + b * r, a * r + b * 0.5});
  for (const auto& [a, b] : {std::pair(y, x), std::pair(z, x), std::pair(z, y)})
    expected.insert(expected.end(), {a * 0.5 - b * r, a * r - b * 0.5});
  for (const auto& [a, b, d] : {std::tuple(x, y, z), std::tuple(y, z, x), std::tuple(x, z, y)})
    expected.push_back((a + b) * k + d * r);
  expected.insert(expected.end(), {(y - x) * k + z * r, (y + z) * k - x * r, (z - x) * k + y * r, (x - y) * k + z * r,
                                   (z - y) * k + x * r, (x + z) * k - y * r, (-x - y) * k + z * r, (z - y) * k - x * r,
                                   (z - x) * k - y * r});
  for (const Vector3& diagonal : {x + y + z, y + z - x, x - y + z, z - x - y})
    expected.push_back(diagonal * c);
  ASSERT_EQ(expected.size(), PointUtilities::getSphereDirections().size());
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_THAT(PointUtilities::getSphereDirections()[i], IsNear(expected[i], 2e-16)) << i;
}

TEST(PointUtilitiesTest, ALargeCloudGivesItsOutermostPoints)
{
  const Cloud small = randomCloud(32, 64);
  EXPECT_EQ(PointUtilities::getRelevantPointCloud(small), small);
  for (const std::size_t count : {45u, 1000u}) {
    Cloud cloud = randomCloud(33, count);
    cloud.insert(cloud.begin() + 40, cloud.begin(), cloud.begin() + 20);
    const Cloud relevant = PointUtilities::getRelevantPointCloud(cloud);
    ASSERT_EQ(relevant.size(), 62u);
    const Cloud& directions = PointUtilities::getSphereDirections();
    for (std::size_t i = 0; i < 31; ++i) {
      const auto less = [&](const Vector3& a, const Vector3& b) { return a.dot(directions[i]) < b.dot(directions[i]); };
      EXPECT_EQ(relevant[i], *std::min_element(cloud.begin(), cloud.end(), less)) << i;
      EXPECT_EQ(relevant[i + 31], *std::max_element(cloud.begin(), cloud.end(), less)) << i;
    }
  }
}

TEST(PointUtilitiesTest, OfEquallyFarPointsTheFirstIsTaken)
{
  Cloud cloud(70, Vector3(0, 0, 0));
  for (std::size_t i = 10; i < 70; ++i)
    cloud[i] = Vector3(0, static_cast<double>(i % 7), i < 40 ? 0.0 : 1.0);
  const Cloud relevant = PointUtilities::getRelevantPointCloud(cloud);
  EXPECT_EQ(relevant[0], cloud[0]) << "all are equally far along x";
  EXPECT_EQ(relevant[31], cloud[0]);
  EXPECT_EQ(relevant[33], cloud[40]) << "the first of the upper ones along z";
}

} // namespace
} // namespace Kavrel::Testing
