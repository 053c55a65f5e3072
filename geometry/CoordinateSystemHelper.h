#pragma once

#include "geometry/CoordinateSystem.h"

namespace Kavrel {

/// Operations on coordinate systems that keep them right-handed.
class KVSHAPES_EXPORT CoordinateSystemHelper
{
public:
  /// \p cs mirrored at \p plane, with local X reversed after that, so that the frame keeps its handedness. The origin
  /// is the mirrored one.
  static CoordinateSystem<double, 3> createRightHandedMirrorOf(const CoordinateSystem<double, 3>& cs,
                                                               const Plane<double, 3>& plane);
};

} // namespace Kavrel
