#include "geometry/CoordinateSystemHelper.h"

#include "geometry/Plane.h"

namespace Kavrel {

CoordinateSystem<double, 3> CoordinateSystemHelper::createRightHandedMirrorOf(const CoordinateSystem<double, 3>& cs,
                                                                              const Plane<double, 3>& plane)
{
  auto mirrored = cs.getTransformed(CoordinateSystem<double, 3>::createMirrorTransformation(plane));
  OrthMatrix<double, 3> reverseX;
  reverseX(0, 0) = -1.0;
  return mirrored.setOrientation(mirrored.getOrientation() * reverseX);
}

} // namespace Kavrel
