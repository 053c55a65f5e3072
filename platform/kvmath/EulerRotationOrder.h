#pragma once

#include "platform/Export.h"

namespace Kavrel {

/// The order of three rotations about coordinate axes.
struct KVSHAPES_EXPORT EulerRotationOrder
{
  /// XYZ turns about x, then about the y axis so moved, then about the z axis so moved. FixedXYZ turns about the x, y
  /// and z axes at rest, in this order.
  enum Enum
  {
    XYZ = 0,
    XZY = 1,
    YXZ = 2,
    YZX = 3,
    ZXY = 4,
    ZYX = 5,
    XYX = 6,
    XZX = 7,
    YXY = 8,
    YZY = 9,
    ZXZ = 10,
    ZYZ = 11,
    FixedXYZ = 12,
    FixedXZY = 13,
    FixedYXZ = 14,
    FixedYZX = 15,
    FixedZXY = 16,
    FixedZYX = 17,
    FixedXYX = 18,
    FixedXZX = 19,
    FixedYXY = 20,
    FixedYZY = 21,
    FixedZXZ = 22,
    FixedZYZ = 23
  };

  static constexpr unsigned count = 24;

  /// The order as a sequence of axes.
  struct Axes
  {
    unsigned first;
    unsigned second;
    unsigned third;
    bool fixed;
  };

  /// Raises MathException for a value outside the enumeration.
  static Axes getAxes(Enum order);

  /// "XYZ", or "FixedXYZ" for axes at rest.
  static const char* getName(Enum order);
};

} // namespace Kavrel
