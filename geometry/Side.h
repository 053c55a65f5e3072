#pragma once

#include <cstdint>

namespace Kavrel {

/// Where something lies with respect to a plane or a ray.
enum class Side : std::int32_t
{
  Above = 1, ///< on the normal's side; left of a ray
  Below = 2, ///< on the other side
  Both = 3,  ///< a set of points on both sides
  On = 4     ///< within the tolerance
};

} // namespace Kavrel
