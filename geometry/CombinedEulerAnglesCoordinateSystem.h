#pragma once

#include "geometry/CoordinateSystem.h"
#include "platform/kvmath/EulerAngleSet.h"

namespace Kavrel {

class CombinedEulerAnglesOrthMatrix;

/// A placement as a coordinate system and as Euler angles of its orientation, kept in step. The angles keep their order
/// when the orientation changes, and stay near their former values.
class KVSHAPES_EXPORT CombinedEulerAnglesCoordinateSystem
{
public:
  /// The identity, in the order YZX.
  CombinedEulerAnglesCoordinateSystem() = default;
  CombinedEulerAnglesCoordinateSystem(const EulerAngleSet& set, const Point<double, 3>& origin);
  CombinedEulerAnglesCoordinateSystem(const CoordinateSystem<double, 3>& cs, EulerRotationOrder::Enum order);
  CombinedEulerAnglesCoordinateSystem(const CombinedEulerAnglesOrthMatrix& orientation, const Point<double, 3>& origin);

  const CoordinateSystem<double, 3>& getCoordinateSystem() const { return system; }
  const EulerAngleSet& getEulerAngles() const { return angles; }
  const OrthMatrix<double, 3>& getOrientation() const { return system.getOrientation(); }
  const Point<double, 3>& getOrigin() const { return system.getOrigin(); }

  /// Takes the system, with the angles nearest to the former ones, unless it is equal by CoordinateSystem::isEqualTo.
  void setCoordinateSystem(const CoordinateSystem<double, 3>& cs);
  /// Takes the angles unless they are exactly those at hand. The origin stays.
  void setEulerAngles(const EulerAngleSet& set);
  /// Takes the matrix, with the angles nearest to the former ones, unless no entry differs by more than 1e-12.
  void setOrientation(const OrthMatrix<double, 3>& m);
  /// Takes matrix and angles, unless no entry of the matrix differs by more than 1e-12.
  void setOrientation(const CombinedEulerAnglesOrthMatrix& orientation);
  void setOrigin(const Point<double, 3>& origin);

  /// Writes {'coordinateSystem':{...}, 'eulerAngles':{...}}, the angles in degrees if \p inDegrees.
  void dumpAsPyDict(std::ostream& out, bool inDegrees) const;
  /// The same as a text with \p precision significant digits.
  std::string toStringPyDict(bool inDegrees, int precision) const;

private:
  void fitAngles();

  CoordinateSystem<double, 3> system;
  EulerAngleSet angles{EulerRotationOrder::YZX};
};

} // namespace Kavrel
