#pragma once

#include "platform/kvmath/EulerRotationOrder.h"
#include "platform/kvmath/Vector.h"

#include <iosfwd>

namespace Kavrel {

/// Three rotation angles in radians and the order in which they apply.
class KVSHAPES_EXPORT EulerAngleSet
{
public:
  constexpr EulerAngleSet() = default;
  constexpr explicit EulerAngleSet(EulerRotationOrder::Enum rotationOrder, double first = 0.0, double second = 0.0,
                                   double third = 0.0)
      : order(rotationOrder), angles(first, second, third)
  {}

  constexpr EulerRotationOrder::Enum getOrder() const { return order; }
  /// Angle \p i in [0, 3), in the sequence of the rotations.
  constexpr double getAngle(unsigned i) const { return angles[i]; }
  constexpr void setAngle(unsigned i, double radians) { angles[i] = radians; }

  /// Exactly the same order and angles.
  friend constexpr bool operator==(const EulerAngleSet&, const EulerAngleSet&) = default;

  /// Writes {'order':'XYZ', 'angles':[a, b, c]}, the angles in degrees if \p inDegrees.
  void dumpAsPyDict(std::ostream& out, bool inDegrees) const;

private:
  EulerRotationOrder::Enum order = EulerRotationOrder::FixedXYZ;
  Vector<double, 3> angles;
};

} // namespace Kavrel
