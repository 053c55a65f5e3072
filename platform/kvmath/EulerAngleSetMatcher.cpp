#include "platform/kvmath/EulerAngleSetMatcher.h"

#include <cmath>
#include <numbers>

namespace Kavrel {

namespace {

double sqrDifference(const EulerAngleSet& a, const EulerAngleSet& b)
{
  double sum = 0.0;
  for (unsigned i = 0; i < 3; ++i) {
    const double difference = std::remainder(a.getAngle(i) - b.getAngle(i), 2.0 * std::numbers::pi);
    sum += difference * difference;
  }
  return sum;
}

double sumOfAngles(const EulerAngleSet& set)
{
  return std::abs(set.getAngle(0)) + std::abs(set.getAngle(1)) + std::abs(set.getAngle(2));
}

} // namespace

const EulerAngleSet& EulerAngleSetMatcher::getBestFit(const EulerAngleSet& reference, const EulerAngleSet& a,
                                                      const EulerAngleSet& b)
{
  return sqrDifference(reference, b) < sqrDifference(reference, a) ? b : a;
}

const EulerAngleSet& EulerAngleSetMatcher::getBestSet(const EulerAngleSet& a, const EulerAngleSet& b)
{
  return sumOfAngles(b) < sumOfAngles(a) ? b : a;
}

} // namespace Kavrel
