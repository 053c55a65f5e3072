#pragma once

#include "platform/kvmath/Vector.h"

namespace Kavrel {

/// The unit normal at \p t between two points that have normals; the plain blend where that is too short.
template <class P>
Vector<double, 3> blendOfNormals(const P& a, const P& b, double t)
{
  Vector<double, 3> normal = (1.0 - t) * a.getNormal() + t * b.getNormal();
  normal.normalize(1e-12);
  return normal;
}

} // namespace Kavrel
