#pragma once

#include "geometry/Point3N.h"

namespace Kavrel {

/// A foot point with the angle of a rotation about its normal.
class KVSHAPES_EXPORT RotationPoint : public Point3N
{
public:
  constexpr RotationPoint() = default;
  /// \p angle is in radians.
  constexpr RotationPoint(const Point3N& footPoint, double angle) : Point3N(footPoint), rotationAngle(angle) {}

  constexpr Point3N getFootPoint() const { return *this; }
  constexpr void setFootPoint(const Point3N& footPoint) { Point3N::operator=(footPoint); }
  /// In radians.
  constexpr double getRotationAngle() const { return rotationAngle; }
  constexpr void setRotationAngle(double angle) { rotationAngle = angle; }

  /// Turns by the angle, right-handed, around the line on which this point and its normal lie; the identity without a
  /// normal. Raises MathException when the normal is too short to give a direction.
  CoordinateSystem<double, 3> calculateRotationCoordinateSystem() const;

private:
  double rotationAngle = 0.0;

  KVSHAPES_PERSISTENT();
};

static_assert(std::is_trivially_copyable_v<RotationPoint>);

} // namespace Kavrel
