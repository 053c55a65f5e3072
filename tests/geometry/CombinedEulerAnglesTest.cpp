#include "geometry/CombinedEulerAnglesCoordinateSystem.h"
#include "geometry/CombinedEulerAnglesOrthMatrix.h"
#include "platform/kvmath/EulerToMatrixComposer.h"
#include "support/CommaLocale.h"
#include "support/RandomGeometry.h"

#include <numbers>

namespace Kavrel {
namespace {

using CS = CoordinateSystem<double, 3>;
using P3 = Point<double, 3>;
using R3 = OrthMatrix<double, 3>;
using Order = EulerRotationOrder;
using CombinedMatrix = CombinedEulerAnglesOrthMatrix;
using CombinedSystem = CombinedEulerAnglesCoordinateSystem;

constexpr double pi = std::numbers::pi;

R3 compose(const EulerAngleSet& set) { return EulerToMatrixComposer().getComposedMatrix(set); }

double largestStep(const EulerAngleSet& a, const EulerAngleSet& b)
{
  double largest = 0;
  for (unsigned i = 0; i < 3; ++i)
    largest = std::max(largest, std::abs(std::remainder(a.getAngle(i) - b.getAngle(i), 2 * pi)));
  return largest;
}

TEST(CombinedEulerAnglesTest, MatrixAndAnglesStayInStep)
{
  CombinedMatrix matrix;
  CombinedSystem system(EulerAngleSet(Order::ZXZ), P3(1, 2, 3));
  Testing::repeat(200, 81, [&](Testing::RandomGeometry& random) {
    const auto order = static_cast<Order::Enum>(random.index(Order::count));
    const EulerAngleSet set(order, random.uniform(-3, 3), random.uniform(-3, 3), random.uniform(-3, 3));
    if (random.coin()) {
      matrix.setEulerAngles(set);
      system.setEulerAngles(set);
      EXPECT_EQ(matrix.getEulerAngles(), set);
    } else {
      matrix.setMatrix(compose(set));
      system.setOrientation(compose(set));
      EXPECT_EQ(matrix.getMatrix(), compose(set));
    }
    EXPECT_TRUE(compose(matrix.getEulerAngles()).isEqual(matrix.getMatrix(), 1e-12));
    EXPECT_TRUE(compose(system.getEulerAngles()).isEqual(system.getOrientation(), 1e-12));
    EXPECT_EQ(system.getOrigin(), P3(1, 2, 3));
  });
}

// A slow turn must not make the angles jump to the other solution, although its middle angle leaves the principal
// range.
TEST(CombinedEulerAnglesTest, AnglesFollowASlowTurn)
{
  for (const auto order : {Order::XYZ, Order::FixedXYZ, Order::ZXZ}) {
    SCOPED_TRACE(Order::getName(order));
    const auto at = [&](int i) { return EulerAngleSet(order, 0.3, 0.105 + 0.03 * i, -0.4); };
    CombinedMatrix matrix(at(0));
    CombinedSystem system(at(0), P3());
    for (int i = 1; i < 190; ++i) {
      matrix.setMatrix(compose(at(i)));
      if (i % 2 == 0)
        system.setOrientation(compose(at(i)));
      else
        system.setCoordinateSystem(CS(compose(at(i)), P3()));
      EXPECT_LE(largestStep(matrix.getEulerAngles(), at(i)), 1e-12) << i;
      EXPECT_LE(largestStep(system.getEulerAngles(), at(i)), 1e-12) << i;
    }
  }
}

// Of the two solutions the constructors take the one that turns less in all, though its middle angle is beyond a
// quarter turn.
TEST(CombinedEulerAnglesTest, ConstructorsTakeTheSmallerAngles)
{
  const EulerAngleSet set(Order::XYZ, 0.1, 2.8, -0.2);
  EXPECT_LE(largestStep(CombinedMatrix(compose(set), Order::XYZ).getEulerAngles(), set), 1e-15);
  EXPECT_LE(largestStep(CombinedSystem(CS(compose(set), P3()), Order::XYZ).getEulerAngles(), set), 1e-15);
}

TEST(CombinedEulerAnglesTest, ChangesThatChangeTooLittle)
{
  const EulerAngleSet set(Order::XYZ, 0, 0, 0.5), same(Order::ZYX, 0.5, 0, 0);
  ASSERT_EQ(compose(set), compose(same));
  R3 near = compose(set);
  near(0, 1) += 5e-13;
  CombinedMatrix matrix(set);
  matrix.setEulerAngles(same);
  EXPECT_EQ(matrix.getEulerAngles(), set) << "the matrix class keeps its angles";
  matrix.setMatrix(near);
  EXPECT_EQ(matrix.getMatrix(), near) << "and compares exactly";

  CombinedSystem system(set, P3(1, 2, 3));
  system.setOrientation(near);
  EXPECT_EQ(system.getOrientation(), compose(set));
  system.setOrientation(CombinedMatrix(near, Order::ZYX));
  EXPECT_EQ(system.getEulerAngles(), set);
  system.setCoordinateSystem(CS(compose(set), P3(1, 2, 3 + 5e-13)));
  EXPECT_EQ(system.getOrigin(), P3(1, 2, 3));
  system.setOrigin(P3(1, 2, 3 + 5e-13));
  EXPECT_NE(system.getOrigin(), P3(1, 2, 3));
  system.setEulerAngles(same);
  EXPECT_EQ(system.getEulerAngles(), same) << "the system takes them";
}

TEST(CombinedEulerAnglesTest, TheTwoClassesExchangeTheirValues)
{
  const EulerAngleSet set(Order::ZXZ, 4.0, -5.0, 6.0); // not what a decomposition would give
  CombinedSystem assigned;
  assigned.setOrientation(CombinedMatrix(set));
  for (const CombinedSystem& system : {CombinedSystem(CombinedMatrix(set), P3(1, 2, 3)), assigned}) {
    EXPECT_EQ(system.getOrientation(), compose(set));
    EXPECT_EQ(CombinedMatrix(system).getEulerAngles(), set);
  }
}

TEST(CombinedEulerAnglesTest, DumpIsADictInAnyLocale)
{
  const Testing::CommaLocale host;
  const CombinedSystem system(EulerAngleSet(Order::XYZ, 0, 0, pi), P3(0.123456, 1000, 2));
  EXPECT_EQ(system.toStringPyDict(true, 4),
            "{'coordinateSystem':{'origin':[0.1235, 1000, 2], 'orientation':[[-1, -1.225e-16, 0], [1.225e-16, -1, 0], "
            "[0, 0, 1]]}, 'eulerAngles':{'order':'XYZ', 'angles':[0, 0, 180]}}");
}

} // namespace
} // namespace Kavrel
