#include "platform/kvmath/OrthMatrix.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "support/RandomGeometry.h"

#include <numbers>

namespace Kavrel {
namespace {

using V3 = Vector<double, 3>;
using M3 = Matrix<double, 3, 3>;
using R3 = OrthMatrix<double, 3>;

constexpr double pi = std::numbers::pi;

R3 randomRotation(Testing::RandomGeometry& random)
{
  return R3(MatrixFunctions::makeRotationMatrix(random.uniform(-4, 4), random.direction<3>()).second);
}

void expectOrthonormal(const Matrix<double, 3, 3>& m, double eps)
{
  EXPECT_TRUE((m * m.getTranspose()).isEqual(M3().setDiagonalValue(1.0), eps));
}

TEST(OrthMatrixTest, VectorsBecomeColumnsOfRowMajorMemory)
{
  const V3 columns[3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const R3 m(columns);
  const double rows[9] = {1, 4, 7, 2, 5, 8, 3, 6, 9};
  for (unsigned i = 0; i < 9; ++i)
    EXPECT_EQ(m.data()[i], rows[i]);
  EXPECT_EQ(m.column(1), columns[1]);
  EXPECT_EQ(M3().setColumn(1, columns[1]).column(1), columns[1]);
  EXPECT_EQ(m * V3(0, 1, 0), columns[1]);
  EXPECT_EQ(R3(m).transpose(), R3(m.getTranspose()));
  static_assert(sizeof(R3) == 9 * sizeof(double) && sizeof(Matrix<float, 2, 3>) == 6 * sizeof(float));
}

TEST(OrthMatrixTest, ProductsComposeAndInversesUndo)
{
  Testing::repeat(50, 21, [&](Testing::RandomGeometry& random) {
    const R3 a = randomRotation(random), b = randomRotation(random);
    const V3 v = random.inCube<3>(10);
    R3 product = a;
    product *= b;
    EXPECT_LE((product * v - a * (b * v)).length(), 1e-14 * 10);
    EXPECT_LE((a.getInverse() * (a * v) - v).length(), 1e-14 * 10);
    EXPECT_NEAR(product.determinant(), 1.0, 1e-14);
  });
}

TEST(OrthMatrixTest, OrthoNormalizeKeepsTheFirstDirection)
{
  Testing::repeat(100, 22, [&](Testing::RandomGeometry& random) {
    const V3 a = random.ofAnySize<3>(1e-20, 1e20);
    // Down to almost parallel, where one pass of projections leaves the vectors visibly askew.
    const V3 b = a * random.uniform(-2, 2) + random.ofAnySize<3>(1e-12, 1) * a.length();
    V3 axes[3] = {a, b, a.cross(b)};
    R3::orthoNormalize(axes);
    SCOPED_TRACE(testing::Message() << a << " / " << b);
    EXPECT_LE((axes[0] - a / a.length()).length(), 1e-15);
    EXPECT_GT(axes[1].dot(b), 0.0);
    expectOrthonormal(R3(axes), 1e-14);
  });
}

TEST(OrthMatrixTest, RotationsFollowTheRightHand)
{
  const auto turn = MatrixFunctions::makeRotationMatrix(pi / 2);
  const auto turned = turn * Vector<double, 2>(1, 0);
  EXPECT_NEAR(turned.x(), 0.0, 1e-16);
  EXPECT_NEAR(turned.y(), 1.0, 1e-16);

  Testing::repeat(100, 23, [&](Testing::RandomGeometry& random) {
    const V3 axis = random.ofAnySize<3>(1e-6, 1e6);
    const double angle = random.uniform(-7, 7);
    const auto [ok, m] = MatrixFunctions::makeRotationMatrix(angle, axis);
    ASSERT_TRUE(ok);
    expectOrthonormal(m, 1e-15 * 4);
    const V3 n = axis / axis.length(), u = n.getOrthoNormal(), w = n.cross(u);
    EXPECT_LE((m * n - n).length(), 1e-15 * 4);
    EXPECT_LE((m * u - (u * std::cos(angle) + w * std::sin(angle))).length(), 1e-15 * 4);
  });
  EXPECT_FALSE(MatrixFunctions::makeRotationMatrix(1.0, V3()).first);
}

TEST(OrthMatrixTest, RotatesTheSourceToTheTargetTheShortestWay)
{
  Testing::RandomGeometry random(24);
  for (int i = 0; i < 300; ++i) {
    const V3 a = random.ofAnySize<3>(1e-6, 1e6);
    V3 b = random.ofAnySize<3>(1e-6, 1e6);
    const double offset = random.logUniform(1e-18, 1e-2);
    if (i % 3 == 1) b = a + random.direction<3>() * (offset * a.length());
    if (i % 3 == 2) b = -a + random.direction<3>() * (offset * a.length());
    if (i == 2) b = -a;
    SCOPED_TRACE(testing::Message() << "angle " << a.angle(b) << " offset " << offset);
    const auto [ok, m] = MatrixFunctions::makeRotateSourceToTarget(a, b);
    ASSERT_TRUE(ok);
    expectOrthonormal(m, 1e-14);
    EXPECT_NEAR(R3(m).determinant(), 1.0, 1e-14);
    EXPECT_LE((m * (a / a.length()) - b / b.length()).length(), 1e-14);
    // The trace of a rotation by angle is 1 + 2 cos(angle).
    EXPECT_NEAR(m(0, 0) + m(1, 1) + m(2, 2), 1 + 2 * std::cos(a.angle(b)), 1e-14);
  }
  EXPECT_FALSE(MatrixFunctions::makeRotateSourceToTarget(V3(), V3(1, 0, 0)).first);
  EXPECT_FALSE(MatrixFunctions::makeRotateSourceToTarget(V3(1, 0, 0), V3()).first);
}

TEST(OrthMatrixTest, InverseOfAGeneralMatrix)
{
  Testing::repeat(50, 25, [&](Testing::RandomGeometry& random) {
    M3 m;
    for (unsigned j = 0; j < 9; ++j)
      m[j] = random.uniform(-1, 1) + (j % 4 == 0 ? 3.0 : 0.0);
    const M3 unit = M3().setDiagonalValue(1.0);
    EXPECT_TRUE((m * MatrixFunctions::inverseOf<double, 3>(m)).isEqual(unit, 1e-14));
  });
}

} // namespace
} // namespace Kavrel
