#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/PackedElements.h"
#include "geometry/BoundingVolumeHierarchy/RoundingSlack.h"
#include "geometry/Plane.h"

#include <cmath>
#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

/// Tells of four packed triangles at once which a plane meets, and of which it can't tell.
class PlaneFilter
{
public:
  template <class Volume>
  PlaneFilter(const Plane<double, 3>& plane, const Volume& rootVolume)
      : normal{Lanes::all(static_cast<float>(plane.getNormal()[0])),
               Lanes::all(static_cast<float>(plane.getNormal()[1])),
               Lanes::all(static_cast<float>(plane.getNormal()[2]))},
        offset(Lanes::all(static_cast<float>(plane.getDistance()))),
        slack(
            Lanes::all(roundedUp(roundingSlack(Vector<double, 3>(plane.getDistance(), 0.0, 0.0), rootVolume) + 1e-30)))
  {}

  struct Verdict
  {
    unsigned mayMeet; ///< one bit a triangle: it can't be told to lie on one side
    unsigned meets;   ///< of these: it surely reaches to both sides
  };

  Verdict look(const float* rows, std::uint32_t stride) const
  {
    Float4 s[3];
    for (unsigned corner = 0; corner < 3; ++corner) {
      const float* const row = rows + 3 * corner * stride;
      s[corner] = normal[0] * Lanes::load(row) + normal[1] * Lanes::load(row + stride) +
                  normal[2] * Lanes::load(row + 2 * stride) - offset;
    }
    const Float4 low = Lanes::smaller(Lanes::smaller(s[0], s[1]), s[2]);
    const Float4 high = Lanes::greater(Lanes::greater(s[0], s[1]), s[2]);
    const auto sum = s[0] + s[1] + s[2];
    const auto isNumber = sum == sum;
    return {Lanes::bits(~(isNumber & ((low > slack) | (high < -slack)))),
            Lanes::bits(isNumber & (low < -slack) & (high > slack))};
  }

private:
  using Float4 = Lanes::Float4;

  Float4 normal[3];
  Float4 offset;
  Float4 slack;
};

} // namespace Kavrel::BoundingVolumeHierarchy
