#include "geometry/RotationPoint.h"

#include "geometry/CoordinateSystem.h"
#include "platform/kvarchive/Persistence.h"
#include "platform/kvmath/MatrixFunctions.h"

namespace Kavrel {

CoordinateSystem<double, 3> RotationPoint::calculateRotationCoordinateSystem() const
{
  CoordinateSystem<double, 3> system;
  if (!hasNormal()) return system;
  const auto [ok, rotation] = MatrixFunctions::makeRotationMatrix(rotationAngle, getNormal());
  OrthMatrixCheck::ensure<double, 3>(ok, "OrthMatrix::setRotationMatrix: Couldn't normalize axis");
  return system.setUpRotation(*this, rotation);
}

void RotationPoint::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveParent<Point3N>(archiver, *this);
  archiver << rotationAngle;
}

void RotationPoint::load(PersistenceArchiver& archiver, unsigned int)
{
  Persistence::loadParent<Point3N>(archiver, *this);
  archiver >> rotationAngle;
}

KVSHAPES_PERSISTENT_CLASS(RotationPoint, "RotationPoint", 400000)

} // namespace Kavrel
