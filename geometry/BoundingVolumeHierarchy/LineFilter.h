#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/PackedElements.h"
#include "geometry/BoundingVolumeHierarchy/RoundingSlack.h"
#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Kavrel::BoundingVolumeHierarchy {

/// Tells of four packed triangles at once which of them a line may meet: by the same edge values as the exact test,
/// with a bound for their rounding.
class LineFilter
{
public:
  template <class Volume>
  LineFilter(const Vector<double, 3>& lineOrigin, const Vector<double, 3>& lineDirection, const Volume& rootVolume)
      : origin(lineOrigin), direction(lineDirection),
        perLength(lineDirection / std::max(lineDirection.sqrLength(), std::numeric_limits<double>::min())),
        way{Lanes::all(static_cast<float>(lineDirection[0])), Lanes::all(static_cast<float>(lineDirection[1])),
            Lanes::all(static_cast<float>(lineDirection[2]))}
  {
    // The coordinates, seen from a place on the line beside the leaf, are off by less than eight roundings of the
    // largest one; an edge value by 64 times that, times the reach of the triangle. From an origin very far away that
    // place is no better than double precision.
    constexpr double roundings = 8.0 * 64.0;
    constexpr double farAway = 1e-8;
    const double size = largestCoordinate(rootVolume) + farAway * lineOrigin.length();
    const double length = lineDirection.length();
    // Where an edge value could leave single precision nothing is rejected. It is a sum of products of the direction,
    // of two coordinates of at most some 16 sizes, and of small factors.
    const bool isInRange = 1e4 * size * size * std::max(1.0, length) < 1e38 && length < 1e30;
    slack = Lanes::all(isInRange ? roundedUp(roundings * floatRounding * size * std::max(1e-30, length))
                                 : std::numeric_limits<float>::infinity());
  }

  /// Takes a leaf into view; its first row begins at `rows`. The leaf of an empty tree has none.
  void approach(const float* rows, std::uint32_t stride)
  {
    if (stride == 0) return;
    const Vector<double, 3> corner(static_cast<double>(rows[3 * stride]), static_cast<double>(rows[4 * stride]),
                                   static_cast<double>(rows[5 * stride]));
    const Vector<double, 3> beside = origin + direction * (corner - origin).dot(perLength);
    for (unsigned i = 0; i < 3; ++i)
      place[i] = Lanes::all(static_cast<float>(beside[i]));
  }

  /// One bit a triangle, set where the line may meet it. The triangles stand in four lanes of rows of the given stride,
  /// in the leaf in view.
  unsigned mayMeet(const float* rows, std::uint32_t stride) const
  {
    Float4 a[3], b[3], c[3];
    Float4 reach{};
    for (unsigned i = 0; i < 3; ++i) {
      a[i] = Lanes::load(rows + i * stride) - place[i];
      b[i] = Lanes::load(rows + (i + 3) * stride) - place[i];
      c[i] = Lanes::load(rows + (i + 6) * stride) - place[i];
      reach = Lanes::greater(reach,
                             Lanes::greater(Lanes::size(a[i]), Lanes::greater(Lanes::size(b[i]), Lanes::size(c[i]))));
    }
    const Float4 values[3] = {edgeValue(b, c), edgeValue(c, a), edgeValue(a, b)};
    const Float4 low = Lanes::smaller(values[0], Lanes::smaller(values[1], values[2]));
    const Float4 high = Lanes::greater(values[0], Lanes::greater(values[1], values[2]));
    const Float4 margin = reach * slack + Lanes::all(tinyValue);
    return Lanes::bits(~((low < -margin) & (high > margin)));
  }

private:
  using Float4 = Lanes::Float4;

  /// Above the size at which the exact test takes an edge value for 0.
  static constexpr float tinyValue = 2e-9F;

  Float4 edgeValue(const Float4* p, const Float4* q) const
  {
    Float4 sum[3], difference[3];
    for (unsigned i = 0; i < 3; ++i) {
      sum[i] = p[i] + q[i];
      difference[i] = p[i] - q[i];
    }
    return way[0] * (sum[1] * difference[2] - sum[2] * difference[1]) +
           way[1] * (sum[2] * difference[0] - sum[0] * difference[2]) +
           way[2] * (sum[0] * difference[1] - sum[1] * difference[0]);
  }

  Vector<double, 3> origin;
  Vector<double, 3> direction;
  Vector<double, 3> perLength;
  Float4 way[3];
  Float4 slack;
  Float4 place[3]{};
};

} // namespace Kavrel::BoundingVolumeHierarchy
