#include "platform/kvmath/EulerAngleSetMatcher.h"
#include "platform/kvmath/EulerToMatrixComposer.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "platform/kvmath/MatrixToEulerDecomposer.h"
#include "support/RandomGeometry.h"

#include <numbers>

namespace Kavrel {
namespace {

using R3 = OrthMatrix<double, 3>;
using Order = EulerRotationOrder;

constexpr double pi = std::numbers::pi;

std::vector<Order::Enum> allOrders()
{
  std::vector<Order::Enum> orders;
  for (unsigned i = 0; i < Order::count; ++i)
    orders.push_back(static_cast<Order::Enum>(i));
  return orders;
}

// Turns the frame step by step about its own or the outer axes, as the name of the order says.
R3 rotationByName(const EulerAngleSet& set)
{
  std::string name = Order::getName(set.getOrder());
  const bool fixed = name.rfind("Fixed", 0) == 0;
  if (fixed) name = name.substr(5);
  R3 frame;
  for (unsigned i = 0; i < 3; ++i) {
    Vector<double, 3> axis;
    axis[static_cast<unsigned>(name[i] - 'X')] = 1.0;
    if (!fixed) axis = frame * axis;
    frame = R3(MatrixFunctions::makeRotationMatrix(set.getAngle(i), axis).second) * frame;
  }
  return frame;
}

TEST(EulerAnglesTest, ComposesAsTheNameOfTheOrderSays)
{
  Testing::RandomGeometry random(31);
  EulerToMatrixComposer composer;
  for (const auto order : allOrders())
    for (int i = 0; i < 10; ++i) {
      const EulerAngleSet set(order, random.uniform(-4, 4), random.uniform(-4, 4), random.uniform(-4, 4));
      SCOPED_TRACE(Order::getName(order));
      EXPECT_TRUE(composer.getComposedMatrix(set).isEqual(rotationByName(set), 1e-14));
    }
}

void expectBothSetsGive(const R3& matrix, Order::Enum order)
{
  SCOPED_TRACE(Order::getName(order));
  const MatrixToEulerDecomposer sets(matrix, order);
  EulerToMatrixComposer composer;
  for (const EulerAngleSet* set : {&sets.getSetA(), &sets.getSetB()}) {
    SCOPED_TRACE(testing::Message() << set->getAngle(0) << " " << set->getAngle(1) << " " << set->getAngle(2));
    EXPECT_EQ(set->getOrder(), order);
    EXPECT_TRUE(composer.getComposedMatrix(*set).isEqual(matrix, 1e-12));
    for (unsigned i = 0; i < 3; ++i)
      EXPECT_LE(std::abs(set->getAngle(i)), pi + 1e-15);
  }
}

// Also where the middle angle goes to gimbal lock: exactly, and within any distance of it.
TEST(EulerAnglesTest, BothSetsOfEveryOrderGiveTheMatrixBack)
{
  Testing::RandomGeometry random(33);
  EulerToMatrixComposer composer;
  for (const auto order : allOrders())
    for (const double middle : {0.0, pi / 2, -pi / 2, pi, -pi})
      for (const double offset : {0.0, 1e-17, 1e-15, 1e-14, 2e-13, 1e-12, 1e-9, 1e-5, random.uniform(-2, 2)})
        for (const double first : {0.0, 0.3, -2.9}) {
          SCOPED_TRACE(testing::Message() << "middle " << middle << " offset " << offset);
          const EulerAngleSet set(order, first, middle + offset, random.uniform(-3, 3));
          expectBothSetsGive(composer.getComposedMatrix(set), order);
        }
  const auto locked = composer.getComposedMatrix(EulerAngleSet(Order::ZYX, 0.25, pi / 2, 0.5));
  EXPECT_EQ(MatrixToEulerDecomposer(locked, Order::ZYX).getSetA().getAngle(0), 0.0);
}

TEST(EulerAnglesTest, RecoversTheAnglesAwayFromGimbalLock)
{
  Testing::RandomGeometry random(34);
  EulerToMatrixComposer composer;
  for (const auto order : allOrders()) {
    SCOPED_TRACE(Order::getName(order));
    const auto axes = Order::getAxes(order);
    const bool sameOuter = axes.first == axes.third;
    for (int i = 0; i < 50; ++i) {
      const double middle = sameOuter ? random.uniform(0.1, 3.0) : random.uniform(-1.5, 1.5);
      const EulerAngleSet set(order, random.uniform(-3.1, 3.1), middle, random.uniform(-3.1, 3.1));
      const MatrixToEulerDecomposer sets(composer.getComposedMatrix(set), order);
      for (unsigned j = 0; j < 3; ++j)
        EXPECT_NEAR(sets.getSetA().getAngle(j), set.getAngle(j), 1e-13);
      // From near set B, the matcher must come back to it, whole turns aside.
      const auto& b = sets.getSetB();
      const EulerAngleSet nearB(order, b.getAngle(0) + 2 * pi + 0.01, b.getAngle(1) - 2 * pi, b.getAngle(2) - 0.01);
      EXPECT_EQ(&EulerAngleSetMatcher::getBestFit(nearB, sets.getSetA(), b), &b);
      EXPECT_EQ(&EulerAngleSetMatcher::getBestFit(set, sets.getSetA(), b), &sets.getSetA());
    }
  }
}

TEST(EulerAnglesTest, BestSetTurnsLeastAndTiesGoToTheFirst)
{
  const EulerAngleSet small(Order::XYZ, 0.25, -0.5, 1), large(Order::XYZ, 3, 3, -3), tied(Order::XYZ, 1, 0.5, -0.25);
  EXPECT_EQ(&EulerAngleSetMatcher::getBestSet(large, small), &small);
  EXPECT_EQ(&EulerAngleSetMatcher::getBestSet(small, tied), &small);
}

} // namespace
} // namespace Kavrel
