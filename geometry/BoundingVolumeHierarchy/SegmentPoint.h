#pragma once

#include "geometry/Segment.h"

namespace Kavrel::BoundingVolumeHierarchy {

/// The point of a segment at a parameter in [0, 1], with all that its type interpolates between the ends.
template <class P>
P pointOn(const Segment<P>& segment, double parameter)
{
  P point;
  point = segment.getStart()->linearInterpolation(static_cast<typename P::Scalar>(parameter), *segment.getEnd());
  return point;
}

} // namespace Kavrel::BoundingVolumeHierarchy
