#pragma once

#include "platform/kvmath/Matrix.h"

#include <utility>

namespace Kavrel {

/// Rotations and inverses as plain matrices.
class KVSHAPES_EXPORT MatrixFunctions
{
public:
  /// The rotation by \p angle radians, counter-clockwise.
  template <class T>
  static Matrix<T, 2, 2> makeRotationMatrix(T angle);

  /// The rotation by \p angle radians about \p axis by the right-hand rule; the axis needn't be of unit length.
  /// False, with the unit matrix, when it can't be normalised.
  template <class T>
  static std::pair<bool, Matrix<T, 3, 3>> makeRotationMatrix(T angle, Vector<T, 3> axis);

  /// The shortest rotation that takes the direction of \p a to that of \p b; opposite directions are turned about an
  /// axis perpendicular to them. False, with the unit matrix, when a direction can't be normalised.
  template <class T>
  static std::pair<bool, Matrix<T, 3, 3>> makeRotateSourceToTarget(Vector<T, 3> a, Vector<T, 3> b);

  /// The inverse by cofactors. A singular matrix gives entries that aren't finite.
  template <class T, unsigned n>
    requires(n == 3)
  static Matrix<T, n, n> inverseOf(const Matrix<T, n, n>& m);
};

} // namespace Kavrel
