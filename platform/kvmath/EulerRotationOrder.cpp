#include "platform/kvmath/EulerRotationOrder.h"

#include "platform/kvmath/MathException.h"

namespace Kavrel {

namespace {

constexpr unsigned fixedOffset = 12;

constexpr const char* names[EulerRotationOrder::count] = {
    "XYZ",      "XZY",      "YXZ",      "YZX",      "ZXY",      "ZYX",      "XYX",      "XZX",
    "YXY",      "YZY",      "ZXZ",      "ZYZ",      "FixedXYZ", "FixedXZY", "FixedYXZ", "FixedYZX",
    "FixedZXY", "FixedZYX", "FixedXYX", "FixedXZX", "FixedYXY", "FixedYZY", "FixedZXZ", "FixedZYZ"};

unsigned checkedIndex(EulerRotationOrder::Enum order)
{
  const auto index = static_cast<unsigned>(order);
  if (index >= EulerRotationOrder::count) throw MathException("EulerRotationOrder: unknown order of rotations");
  return index;
}

} // namespace

EulerRotationOrder::Axes EulerRotationOrder::getAxes(Enum order)
{
  const unsigned index = checkedIndex(order);
  const char* axes = names[index % fixedOffset];
  const auto axis = [axes](int i) { return static_cast<unsigned>(axes[i] - 'X'); };
  return {axis(0), axis(1), axis(2), index >= fixedOffset};
}

const char* EulerRotationOrder::getName(Enum order) { return names[checkedIndex(order)]; }

} // namespace Kavrel
