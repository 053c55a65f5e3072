#pragma once

#include "platform/kvmath/EulerAngleSet.h"
#include "platform/kvmath/OrthMatrix.h"

namespace Kavrel {

/// Makes the rotation matrix of a set of Euler angles.
class KVSHAPES_EXPORT EulerToMatrixComposer
{
public:
  EulerToMatrixComposer() = default;

  /// The rotation of \p set; the reference holds until the next call. Raises MathException for an unknown order.
  const OrthMatrix<double, 3>& getComposedMatrix(const EulerAngleSet& set);

private:
  OrthMatrix<double, 3> matrix;
};

} // namespace Kavrel
