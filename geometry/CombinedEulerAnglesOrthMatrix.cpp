#include "geometry/CombinedEulerAnglesOrthMatrix.h"

#include "geometry/CombinedEulerAnglesCoordinateSystem.h"
#include "platform/kvmath/EulerAngleSetMatcher.h"
#include "platform/kvmath/EulerToMatrixComposer.h"
#include "platform/kvmath/MatrixToEulerDecomposer.h"

namespace Kavrel {

CombinedEulerAnglesOrthMatrix::CombinedEulerAnglesOrthMatrix(const EulerAngleSet& set)
    : angles(set), matrix(EulerToMatrixComposer().getComposedMatrix(set))
{}

CombinedEulerAnglesOrthMatrix::CombinedEulerAnglesOrthMatrix(const OrthMatrix<double, 3>& m,
                                                             EulerRotationOrder::Enum order)
    : matrix(m)
{
  const MatrixToEulerDecomposer sets(m, order);
  angles = EulerAngleSetMatcher::getBestSet(sets.getSetA(), sets.getSetB());
}

CombinedEulerAnglesOrthMatrix::CombinedEulerAnglesOrthMatrix(const CombinedEulerAnglesCoordinateSystem& system)
    : angles(system.getEulerAngles()), matrix(system.getOrientation())
{}

CombinedEulerAnglesOrthMatrix&
CombinedEulerAnglesOrthMatrix::operator=(const CombinedEulerAnglesCoordinateSystem& system)
{
  return *this = CombinedEulerAnglesOrthMatrix(system);
}

void CombinedEulerAnglesOrthMatrix::setEulerAngles(const EulerAngleSet& set)
{
  if (set == angles) return;
  EulerToMatrixComposer composer;
  const auto& composed = composer.getComposedMatrix(set);
  if (composed == matrix) return;
  angles = set;
  matrix = composed;
}

void CombinedEulerAnglesOrthMatrix::setMatrix(const OrthMatrix<double, 3>& m)
{
  if (m == matrix) return;
  matrix = m;
  const MatrixToEulerDecomposer sets(m, angles.getOrder());
  angles = EulerAngleSetMatcher::getBestFit(angles, sets.getSetA(), sets.getSetB());
}

} // namespace Kavrel
