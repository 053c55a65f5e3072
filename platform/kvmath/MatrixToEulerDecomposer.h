#pragma once

#include "platform/kvmath/EulerAngleSet.h"
#include "platform/kvmath/OrthMatrix.h"

namespace Kavrel {

/// Finds the two sets of Euler angles of a rotation matrix for a given order.
///
/// Angles lie in [-pi, pi]. The middle angle of set A lies in [-pi/2, pi/2] when the three axes differ, and in [0, pi]
/// when the first and the last are the same; set B turns the outer two by half a turn. Where the outer axes fall
/// together (gimbal lock) set A has 0 for the outer angle that acts last. A reflection has no such angles, and gives
/// meaningless ones.
class KVSHAPES_EXPORT MatrixToEulerDecomposer
{
public:
  /// Raises MathException for an unknown order.
  MatrixToEulerDecomposer(const OrthMatrix<double, 3>& matrix, EulerRotationOrder::Enum order);

  const EulerAngleSet& getSetA() const { return setA; }
  const EulerAngleSet& getSetB() const { return setB; }

private:
  EulerAngleSet setA;
  EulerAngleSet setB;
};

} // namespace Kavrel
