#pragma once

#include "platform/kvmath/EulerAngleSet.h"

namespace Kavrel {

/// Chooses between two sets of Euler angles. The result refers to one of the arguments \c a and \c b, which must
/// outlive it; a tie goes to \c a.
class KVSHAPES_EXPORT EulerAngleSetMatcher
{
public:
  /// The set whose angles are nearer to those of \p reference, whole turns left aside (least sum of squares).
  static const EulerAngleSet& getBestFit(const EulerAngleSet& reference, const EulerAngleSet& a,
                                         const EulerAngleSet& b);

  /// The set with the smaller sum of absolute angles.
  static const EulerAngleSet& getBestSet(const EulerAngleSet& a, const EulerAngleSet& b);
};

} // namespace Kavrel
