#pragma once

#include "platform/Export.h"

namespace Kavrel {

/// Default tolerances of the modelling programs. Lengths are in model units, angles in radians.
struct KVSHAPES_EXPORT CadConstants
{
  static constexpr double DefaultModelSpaceTolerance = 0.01;
  static constexpr double DefaultModelSpaceToleranceR8 = 0.02;
  static constexpr double DefaultStitchingDistance = 0.5;
  static constexpr double DefaultMeshingTolerance = 0.05;
  static constexpr double DefaultErrorTolerance = 0.1;
  static constexpr double DefaultMinimalLoopArea = 0.75;
  static constexpr double DefaultMaxSideLength = 20.0;
  static constexpr double DefaultG0Tolerance = 0.01;
  static constexpr double DefaultG1Tolerance = 0.008726646259971648; // half a degree
  static constexpr double DefaultG2Tolerance = 0.2;
};

} // namespace Kavrel
