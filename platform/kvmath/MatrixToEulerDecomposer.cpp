#include "platform/kvmath/MatrixToEulerDecomposer.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace Kavrel {

namespace {

constexpr double gimbalEps = 1e-13; // sine of the angle between the outer axes: below, the first angle is noise

struct Angles
{
  double first;
  double middle;
  double last;
};

// The last angle, read from the matrix with the first rotation taken off: so it makes up for whatever the first one
// lacks, near a gimbal lock in particular.
double lastAngle(const OrthMatrix<double, 3>& m, double first, double sign, unsigned i, unsigned j, unsigned k,
                 bool sameOuter)
{
  const double c = std::cos(first), s = sign * std::sin(first);
  const auto rowJ = [&](unsigned column) { return c * m(j, column) + s * m(k, column); };
  return sameOuter ? std::atan2(-sign * rowJ(k), rowJ(j)) : std::atan2(sign * rowJ(i), rowJ(j));
}

// Angles about moving axes. With i, j and k in cyclic order the sign is +1.
Angles anglesAboutMovingAxes(const OrthMatrix<double, 3>& m, unsigned i, unsigned j, bool sameOuter)
{
  const unsigned k = 3 - i - j;
  const double sign = (i + 1) % 3 == j ? 1.0 : -1.0;
  Angles angles{};
  if (sameOuter) {
    const double across = std::hypot(m(j, i), m(k, i));
    angles.middle = std::atan2(across, m(i, i));
    if (across > gimbalEps) angles.first = std::atan2(m(j, i), -sign * m(k, i));
  } else {
    const double across = std::hypot(m(i, i), m(i, j));
    angles.middle = std::atan2(sign * m(i, k), across);
    if (across > gimbalEps) angles.first = std::atan2(-sign * m(j, k), m(k, k));
  }
  angles.last = lastAngle(m, angles.first, sign, i, j, k, sameOuter);
  return angles;
}

double halfTurnAway(double angle) { return angle > 0.0 ? angle - std::numbers::pi : angle + std::numbers::pi; }

} // namespace

MatrixToEulerDecomposer::MatrixToEulerDecomposer(const OrthMatrix<double, 3>& matrix, EulerRotationOrder::Enum order)
{
  // Rotations about axes at rest are those about moving axes in reverse.
  auto axes = EulerRotationOrder::getAxes(order);
  if (axes.fixed) std::swap(axes.first, axes.third);
  const bool sameOuter = axes.first == axes.third;
  Angles a = anglesAboutMovingAxes(matrix, axes.first, axes.second, sameOuter);
  Angles b{halfTurnAway(a.first), sameOuter ? -a.middle : halfTurnAway(-a.middle), halfTurnAway(a.last)};
  if (axes.fixed) {
    std::swap(a.first, a.last);
    std::swap(b.first, b.last);
  }
  setA = EulerAngleSet(order, a.first, a.middle, a.last);
  setB = EulerAngleSet(order, b.first, b.middle, b.last);
}

} // namespace Kavrel
