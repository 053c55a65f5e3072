#include "geometry/CombinedEulerAnglesCoordinateSystem.h"

#include "geometry/CombinedEulerAnglesOrthMatrix.h"
#include "platform/kvmath/EulerAngleSetMatcher.h"
#include "platform/kvmath/EulerToMatrixComposer.h"
#include "platform/kvmath/MatrixToEulerDecomposer.h"

#include <sstream>

namespace Kavrel {

namespace {

constexpr double entryEps = 1e-12; // matrices with no entry further apart are the same orientation

} // namespace

CombinedEulerAnglesCoordinateSystem::CombinedEulerAnglesCoordinateSystem(const EulerAngleSet& set,
                                                                         const Point<double, 3>& origin)
    : system(EulerToMatrixComposer().getComposedMatrix(set), origin), angles(set)
{}

CombinedEulerAnglesCoordinateSystem::CombinedEulerAnglesCoordinateSystem(const CoordinateSystem<double, 3>& cs,
                                                                         EulerRotationOrder::Enum order)
    : system(cs)
{
  const MatrixToEulerDecomposer sets(cs.getOrientation(), order);
  angles = EulerAngleSetMatcher::getBestSet(sets.getSetA(), sets.getSetB());
}

CombinedEulerAnglesCoordinateSystem::CombinedEulerAnglesCoordinateSystem(
    const CombinedEulerAnglesOrthMatrix& orientation, const Point<double, 3>& origin)
    : system(orientation.getMatrix(), origin), angles(orientation.getEulerAngles())
{}

void CombinedEulerAnglesCoordinateSystem::setCoordinateSystem(const CoordinateSystem<double, 3>& cs)
{
  if (system.isEqualTo(cs)) return;
  system = cs;
  fitAngles();
}

void CombinedEulerAnglesCoordinateSystem::setEulerAngles(const EulerAngleSet& set)
{
  if (set == angles) return;
  system.setOrientation(EulerToMatrixComposer().getComposedMatrix(set));
  angles = set;
}

void CombinedEulerAnglesCoordinateSystem::setOrientation(const OrthMatrix<double, 3>& m)
{
  if (system.getOrientation().isEqual(m, entryEps)) return;
  system.setOrientation(m);
  fitAngles();
}

void CombinedEulerAnglesCoordinateSystem::setOrientation(const CombinedEulerAnglesOrthMatrix& orientation)
{
  if (system.getOrientation().isEqual(orientation.getMatrix(), entryEps)) return;
  system.setOrientation(orientation.getMatrix());
  angles = orientation.getEulerAngles();
}

void CombinedEulerAnglesCoordinateSystem::setOrigin(const Point<double, 3>& origin) { system.setOrigin(origin); }

void CombinedEulerAnglesCoordinateSystem::dumpAsPyDict(std::ostream& out, bool inDegrees) const
{
  out << "{'coordinateSystem':";
  system.dumpAsPyDict(out);
  out << ", 'eulerAngles':";
  angles.dumpAsPyDict(out, inDegrees);
  out << "}";
}

std::string CombinedEulerAnglesCoordinateSystem::toStringPyDict(bool inDegrees, int precision) const
{
  std::ostringstream out;
  out.precision(precision);
  dumpAsPyDict(out, inDegrees);
  return out.str();
}

void CombinedEulerAnglesCoordinateSystem::fitAngles()
{
  const MatrixToEulerDecomposer sets(system.getOrientation(), angles.getOrder());
  angles = EulerAngleSetMatcher::getBestFit(angles, sets.getSetA(), sets.getSetB());
}

} // namespace Kavrel
