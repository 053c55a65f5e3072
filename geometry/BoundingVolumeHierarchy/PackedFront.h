#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/PackedElements.h"
#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace Kavrel::BoundingVolumeHierarchy {

/// Sees packed triangles along a direction.
class PackedFront
{
public:
  PackedFront() = default;
  explicit PackedFront(const Vector<double, 3>& direction)
      : way{Lanes::all(static_cast<float>(direction[0])), Lanes::all(static_cast<float>(direction[1])),
            Lanes::all(static_cast<float>(direction[2]))}
  {}

  /// How far a corner is along the direction.
  Lanes::Float4 along(const Lanes::Float4* corner) const
  {
    return way[0] * corner[0] + way[1] * corner[1] + way[2] * corner[2];
  }

  /// The least that the corners of a leaf are along the direction; negative infinity where a triangle is too narrow to
  /// be sure.
  float nearest(const float* rows, std::uint32_t count) const
  {
    float least = std::numeric_limits<float>::infinity();
    for (std::uint32_t i = 0; i < count; i += PackedElements<Triangle>::lanes) {
      Lanes::Float4 corners[3][3];
      for (unsigned corner = 0; corner < 3; ++corner)
        for (unsigned k = 0; k < 3; ++k)
          corners[corner][k] = Lanes::load(rows + i + (3 * corner + k) * count);
      const Lanes::Float4 values =
          Lanes::smaller(along(corners[2]), Lanes::smaller(along(corners[1]), along(corners[0])));
      for (std::uint32_t lane = 0; lane < std::min(count - i, PackedElements<Triangle>::lanes); ++lane) {
        if (!(corners[0][0][lane] == corners[0][0][lane])) return -std::numeric_limits<float>::infinity();
        least = std::min(least, values[lane]);
      }
    }
    return least;
  }

private:
  Lanes::Float4 way[3]{};
};

} // namespace Kavrel::BoundingVolumeHierarchy
