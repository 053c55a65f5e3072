#include "geometry/XiEtaPoint.h"

#include <algorithm>
#include <limits>

namespace Kavrel {

namespace {

bool isUndefined(double value)
{
  constexpr double limit = std::numeric_limits<float>::max();
  return value >= limit || value <= -limit;
}

} // namespace

double XiEtaPoint::interpolateVertexValues(double a, double b, double c) const
{
  if (isUndefined(a) || isUndefined(b) || isUndefined(c)) return std::numeric_limits<double>::quiet_NaN();
  return a + (b - a) * xi + (c - a) * eta;
}

void XiEtaPoint::snapToTriangle()
{
  if (isOnTriangle()) return;
  if (xi + eta > 1.0) {
    constexpr double k = 0.70710678118654752440; // √2/2
    const double s = ((1.0 - xi) * k + k * eta) * k;
    xi = 1.0 - s;
    eta = s;
    if (xi < 0.0)
      xi = 0.0, eta = 1.0;
    else if (eta < 0.0)
      xi = 1.0, eta = 0.0;
    return;
  }
  if (xi < 0.0) {
    xi = 0.0;
    eta = std::min(eta, 1.0);
  }
  if (eta < 0.0) {
    xi = std::min(xi, 1.0);
    eta = 0.0;
  }
}

} // namespace Kavrel
