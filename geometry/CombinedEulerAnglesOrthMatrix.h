#pragma once

#include "platform/kvmath/EulerAngleSet.h"
#include "platform/kvmath/OrthMatrix.h"

namespace Kavrel {

class CombinedEulerAnglesCoordinateSystem;

/// A rotation as Euler angles and as a matrix, kept in step. The angles keep their order when the matrix changes, and
/// stay near their former values.
class KVSHAPES_EXPORT CombinedEulerAnglesOrthMatrix
{
public:
  /// No rotation, in the order FixedXYZ.
  CombinedEulerAnglesOrthMatrix() = default;
  explicit CombinedEulerAnglesOrthMatrix(const EulerAngleSet& set);
  CombinedEulerAnglesOrthMatrix(const OrthMatrix<double, 3>& m, EulerRotationOrder::Enum order);
  /// The orientation and the angles of \p system.
  explicit CombinedEulerAnglesOrthMatrix(const CombinedEulerAnglesCoordinateSystem& system);

  CombinedEulerAnglesOrthMatrix(const CombinedEulerAnglesOrthMatrix&) = default;
  CombinedEulerAnglesOrthMatrix& operator=(const CombinedEulerAnglesOrthMatrix&) = default;
  CombinedEulerAnglesOrthMatrix& operator=(const CombinedEulerAnglesCoordinateSystem& system);

  const EulerAngleSet& getEulerAngles() const { return angles; }
  const OrthMatrix<double, 3>& getMatrix() const { return matrix; }

  /// Takes the angles, unless they give exactly the matrix at hand: then the former angles stay.
  void setEulerAngles(const EulerAngleSet& set);
  /// Takes the matrix, unless it is exactly the one at hand, with the angles nearest to the former ones.
  void setMatrix(const OrthMatrix<double, 3>& m);

private:
  EulerAngleSet angles{EulerRotationOrder::FixedXYZ};
  OrthMatrix<double, 3> matrix;
};

} // namespace Kavrel
