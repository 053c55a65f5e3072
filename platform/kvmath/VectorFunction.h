#pragma once

#include "platform/kvmath/Vector.h"

#include <iosfwd>

namespace Kavrel {

/// Functions on vectors that aren't members.
class KVSHAPES_EXPORT VectorFunction
{
public:
  /// The unit vector at \p t on the great circle from the unit vector \p a (t = 0) to the unit vector \p b (t = 1).
  /// Opposite vectors have no such circle and give the zero vector.
  template <class T, unsigned dim>
  static Vector<T, dim> unitVectorLinearMorphing(double t, const Vector<T, dim>& a, const Vector<T, dim>& b);

  /// Copies [first, last) into the leading components of \p v; at most `dim` values are taken, the others stay.
  template <class T, unsigned dim>
  static void copyRangeTo(Vector<T, dim>& v, const T* first, const T* last)
  {
    for (unsigned i = 0; i < dim && first != last; ++i)
      v[i] = *first++;
  }

  /// Writes "[x, y, z]" in the precision of the stream.
  template <class T, unsigned dim>
  static void dumpAsPyArray(const Vector<T, dim>& v, std::ostream& out);
};

} // namespace Kavrel
