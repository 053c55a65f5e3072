#include "platform/kvmath/Vector.h"
#include "platform/kvmath/VectorFunction.h"
#include "support/CommaLocale.h"
#include "support/RandomGeometry.h"

#include <array>
#include <limits>
#include <numbers>
#include <sstream>
#include <type_traits>

namespace Kavrel {
namespace {

using V2 = Vector<double, 2>;
using V3 = Vector<double, 3>;
using V3f = Vector<float, 3>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largestFloat = 3.4028234663852886e38;

static_assert(std::is_standard_layout_v<V3f> && sizeof(Vector<double, 1>) == sizeof(double));

TEST(VectorTest, NormalizeComparesTheLengthStrictly)
{
  const std::tuple<const char*, V3, double, bool> rows[] = {
      {"zero", {}, 1e-12, false},
      {"at eps", {0.5, 0, 0}, 0.5, true},
      {"just below eps", {0.5, 0, 0}, std::nextafter(0.5, 1.0), false},
      {"short, no eps", {3e-200, 0, 4e-200}, 0.0, true},
      {"square overflows", {3e200, 0, 4e200}, 1e-12, true},
      {"NaN", {1, nan, 0}, 1e-12, false},
      {"infinite", {infinity, 1, 0}, 1e-12, false},
  };
  for (const auto& [name, vector, eps, succeeds] : rows) {
    SCOPED_TRACE(name);
    V3 v = vector;
    EXPECT_EQ(v.normalize(eps), succeeds);
    for (unsigned i = 0; i < 3 && !succeeds; ++i)
      EXPECT_TRUE(v[i] == vector[i] || std::isnan(vector[i]));
    EXPECT_TRUE(!succeeds || std::abs(v.length() - 1.0) < 1e-15);
    EXPECT_TRUE(eps != 1e-12 || vector.isNormalizable() == succeeds);
  }
  Testing::repeat(100, 10, [&](Testing::RandomGeometry& random) {
    V3 v = random.ofAnySize<3>(1e-20, 1e20), unit = v;
    EXPECT_FALSE(v.normalize(std::nextafter(v.length(), infinity))) << v;
    EXPECT_TRUE(unit.normalize(v.length())) << v;
    EXPECT_TRUE(unit.isNormalized());
    EXPECT_FALSE((unit * (1 + 2e-12)).isNormalized());
  });
  EXPECT_FALSE(V3f(0.9e-5F, 0, 0).isNormalizable());
  EXPECT_TRUE(V3f(1.1e-5F, 0, 0).isNormalizable());
}

// Both directions are built from a known angle in a random plane.
TEST(VectorTest, AngleOfVectorsOfAnySize)
{
  Testing::RandomGeometry random(11);
  for (int i = 0; i < 300; ++i) {
    const V3 u = random.direction<3>();
    const V3 w = u.getOrthoNormal();
    const double angle = i % 3 == 0 ? random.logUniform(1e-9, 3) : std::numbers::pi - random.logUniform(1e-9, 3);
    SCOPED_TRACE(angle);
    const double scale = random.logUniform(1e-150, 1e150);
    const V3 a = u * scale;
    const V3 b = (u * std::cos(angle) + w * std::sin(angle)) * random.logUniform(1e-150, 1e150);
    EXPECT_NEAR(a.angle(b), angle, 1e-15 + 2e-15 * angle);
    EXPECT_EQ(a.angle(b), b.angle(a));
  }
  EXPECT_EQ(V3().angle({-1, -1, -1}), 0.0);
  EXPECT_EQ(V2().angle({-1, 0}), 0.0);
  EXPECT_EQ(V2(1e200, 1e200).angle({-1e200, -1e200}), std::numbers::pi);
  EXPECT_NEAR(V3f(1e-12F, 0, 0).angle({0, 1e-12F, 0}), std::numbers::pi_v<float> / 2, 1e-6F);
}

TEST(VectorTest, OrthoNormalIsPerpendicular)
{
  Testing::RandomGeometry random(12);
  std::vector<V3> directions = {{1, 0, 0}, {0, -1, 0}, {1, 1, 1}, {0, 1e-100, 1e-100}};
  for (int i = 0; i < 100; ++i)
    directions.push_back(random.ofAnySize<3>(1e-140, 1e140));
  for (const V3& v : directions) {
    SCOPED_TRACE(testing::Message() << v);
    const V3 across = v.getOrthoNormal();
    EXPECT_NEAR(across.length(), 1.0, 1e-15);
    EXPECT_LE(std::abs(across.dot(v)), 1e-15 * v.length());
    const V2 flat(v.x() + v.y(), v.z());
    if (flat.length() == 0.0) continue;
    EXPECT_GT(flat.cross(flat.getOrthoNormal()), 0.99 * flat.length()) << "counter-clockwise";
  }
  EXPECT_EQ(V2().getOrthoNormal(), V2());
  EXPECT_EQ(V3().getOrthoNormal().length(), 1.0);
}

TEST(VectorTest, InterpolationIsExactAtBothEnds)
{
  const V3 a(0.1, 1e16, -3), b(0.7, 1.0, 1e-9);
  EXPECT_EQ(a.linearInterpolation(0.0, b), a);
  EXPECT_EQ(a.linearInterpolation(1.0, b), b);
}

TEST(VectorTest, UndefinedComponents)
{
  for (const double component : {std::nextafter(largestFloat, 0), nan, largestFloat, -largestFloat})
    EXPECT_EQ(V3(0, component, 0).isDefined(), std::abs(component) < largestFloat) << component;
}

TEST(VectorTest, TextReadsBackInAnyLocale)
{
  const V3 v(1234567.125, -0.1, 1e-300);
  const Testing::CommaLocale host;
  std::stringstream text;
  text.precision(17);
  text << V2(0.5, 1500) << '\n' << v << ' ' << 1.5;
  EXPECT_EQ(text.str().substr(0, 9), "0.5 1500\n");
  EXPECT_EQ(text.str().substr(text.str().size() - 4), " 1,5") << "the stream keeps its own locale";
  V3 back;
  V2 flat;
  text >> flat >> back;
  EXPECT_EQ(flat, V2(0.5, 1500));
  EXPECT_EQ(back, v);
}

TEST(VectorTest, MorphingFollowsTheGreatCircle)
{
  Testing::RandomGeometry random(14);
  for (int i = 0; i < 200; ++i) {
    const V3 a = random.direction<3>();
    const V3 w = a.getOrthoNormal();
    const double angle = i % 2 == 0 ? random.logUniform(1e-12, 3.0) : std::numbers::pi - random.logUniform(1e-6, 1);
    const V3 b = a * std::cos(angle) + w * std::sin(angle);
    const double t = random.uniform(0, 1);
    SCOPED_TRACE(testing::Message() << "angle " << angle << " t " << t);
    const V3 expected = a * std::cos(t * angle) + w * std::sin(t * angle);
    const double accuracy = 1e-15 * (4 + 1 / std::sin(angle));
    EXPECT_LE((VectorFunction::unitVectorLinearMorphing(t, a, b) - expected).length(), accuracy + 4e-16);
    EXPECT_EQ(VectorFunction::unitVectorLinearMorphing(0.0, a, b), a);
    EXPECT_EQ(VectorFunction::unitVectorLinearMorphing(1.0, a, b), b);
  }
  const V3 x(1, 0, 0);
  EXPECT_EQ(VectorFunction::unitVectorLinearMorphing(0.5, x, -x), V3());
  EXPECT_EQ(VectorFunction::unitVectorLinearMorphing(0.3, x, x), x);
}

} // namespace
} // namespace Kavrel
