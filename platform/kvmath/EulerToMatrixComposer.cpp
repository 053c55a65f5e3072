#include "platform/kvmath/EulerToMatrixComposer.h"

#include <cmath>

namespace Kavrel {

namespace {

OrthMatrix<double, 3> rotationAboutAxis(unsigned axis, double angle)
{
  const unsigned next = (axis + 1) % 3, last = (axis + 2) % 3;
  OrthMatrix<double, 3> m;
  m(next, next) = m(last, last) = std::cos(angle);
  m(last, next) = std::sin(angle);
  m(next, last) = -m(last, next);
  return m;
}

} // namespace

const OrthMatrix<double, 3>& EulerToMatrixComposer::getComposedMatrix(const EulerAngleSet& set)
{
  const auto axes = EulerRotationOrder::getAxes(set.getOrder());
  const auto first = rotationAboutAxis(axes.first, set.getAngle(0));
  const auto second = rotationAboutAxis(axes.second, set.getAngle(1));
  const auto third = rotationAboutAxis(axes.third, set.getAngle(2));
  matrix = axes.fixed ? third * second * first : first * second * third;
  return matrix;
}

} // namespace Kavrel
