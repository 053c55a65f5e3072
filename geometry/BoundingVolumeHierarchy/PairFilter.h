#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/PackedFront.h"
#include "geometry/BoundingVolumeHierarchy/RoundingSlack.h"
#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Kavrel::BoundingVolumeHierarchy {

/// Tells of four packed triangles at once which of them may lie near a single one, or may cross it.
class PairFilter
{
  using Float4 = Lanes::Float4;

  /// Neither the four triangles nor the single one are marked as too narrow.
  auto isNumber(const Float4 (&corners)[3][3]) const
  {
    const Float4 marks = corners[0][0] + first[0];
    return marks == marks;
  }

public:
  template <class VolumeA, class VolumeB>
  PairFilter(const VolumeA& rootA, const VolumeB& rootB)
      : slack(128.0 * floatRounding * std::max(largestCoordinate(rootA), largestCoordinate(rootB))),
        boxSlack(Lanes::all(roundedUp(slack))),
        smallestSide(Lanes::all(slack < 128.0 * floatRounding * largestCubed ? std::numeric_limits<float>::min()
                                                                             : std::numeric_limits<float>::infinity()))
  {}

  /// Asks from now on for what lies no farther than that.
  void setReach(double squareDistance)
  {
    const double distance = std::sqrt(squareDistance) + slack;
    reach = Lanes::all(roundedUp(distance));
    sqrReach = Lanes::all(roundedUp(distance * distance));
  }

  /// How far that is at most, single precision counted in.
  double getReach() const { return static_cast<double>(reach[0]); }

  /// A unit vector from the first tree to the second, along which pairs show best how far apart they are.
  void setDirection(const Vector<double, 3>& unit)
  {
    onwards = PackedFront(unit);
    backwards = PackedFront(-unit);
    hasDirection = true;
  }

  /// Whether all triangles of a leaf of the first tree lie out of reach of all of the second, as seen along the
  /// direction.
  bool areApart(const float* rowsA, std::uint32_t countA, const float* rowsB, std::uint32_t countB) const
  {
    return hasDirection && onwards.nearest(rowsB, countB) + backwards.nearest(rowsA, countA) > reach[0];
  }

  /// Takes one triangle into view, which stands at `rows`.
  void setSingle(const float* rows, std::uint32_t stride)
  {
    Float4 corners[3][3];
    for (unsigned corner = 0; corner < 3; ++corner)
      for (unsigned i = 0; i < 3; ++i)
        corners[corner][i] = Lanes::all(rows[(3 * corner + i) * stride]);
    for (unsigned i = 0; i < 3; ++i) {
      low[i] = least(corners[0][i], corners[1][i], corners[2][i]);
      high[i] = most(corners[0][i], corners[1][i], corners[2][i]);
      first[i] = corners[0][i];
    }
    farthest = most(onwards.along(corners[0]), onwards.along(corners[1]), onwards.along(corners[2]));
    setPlane(corners);
  }

  /// One bit a triangle, set where it may lie within reach of the single one.
  unsigned mayBeNear(const float* rows, std::uint32_t stride) const
  {
    Float4 corners[3][3];
    loadCorners(rows, stride, corners);
    Float4 sum{};
    for (unsigned i = 0; i < 3; ++i) {
      const Float4 gap = most(low[i] - most(corners[0][i], corners[1][i], corners[2][i]),
                              least(corners[0][i], corners[1][i], corners[2][i]) - high[i], Float4{});
      sum += gap * gap;
    }
    auto beyond = sum > sqrReach;
    if (hasDirection) {
      const Float4 nearest = least(onwards.along(corners[0]), onwards.along(corners[1]), onwards.along(corners[2]));
      beyond |= nearest - farthest > reach;
    }
    return Lanes::bits(~(beyond & isNumber(corners)));
  }

  /// One bit a triangle, set where it may cross the single one: their boxes meet, and it reaches through the plane of
  /// the single one.
  unsigned mayCross(const float* rows, std::uint32_t stride) const
  {
    Float4 corners[3][3];
    loadCorners(rows, stride, corners);
    auto apart = Float4{} > Float4{};
    for (unsigned i = 0; i < 3; ++i) {
      apart |= low[i] - boxSlack > most(corners[0][i], corners[1][i], corners[2][i]);
      apart |= least(corners[0][i], corners[1][i], corners[2][i]) > high[i] + boxSlack;
    }
    Float4 sides[3];
    Float4 size{};
    for (unsigned corner = 0; corner < 3; ++corner) {
      Float4 offset[3];
      for (unsigned i = 0; i < 3; ++i) {
        offset[i] = corners[corner][i] - first[i];
        size = most(size, offset[i], -offset[i]);
      }
      sides[corner] = dot(normal, offset);
    }
    const Float4 margin = sideSlack + size * normalSlack;
    apart |= least(sides[0], sides[1], sides[2]) > margin;
    apart |= most(sides[0], sides[1], sides[2]) < -margin;
    return Lanes::bits(~(apart & isNumber(corners)));
  }

private:
  static Float4 dot(const Float4* a, const Float4* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
  static Float4 least(Float4 a, Float4 b, Float4 c) { return Lanes::smaller(a, Lanes::smaller(b, c)); }
  static Float4 most(Float4 a, Float4 b, Float4 c) { return Lanes::greater(a, Lanes::greater(b, c)); }

  static void loadCorners(const float* rows, std::uint32_t stride, Float4 (&corners)[3][3])
  {
    for (unsigned corner = 0; corner < 3; ++corner)
      for (unsigned i = 0; i < 3; ++i)
        corners[corner][i] = Lanes::load(rows + (3 * corner + i) * stride);
  }

  void setPlane(const Float4 (&corners)[3][3])
  {
    Float4 e1[3], e2[3];
    Float4 length{};
    for (unsigned i = 0; i < 3; ++i) {
      e1[i] = corners[1][i] - corners[0][i];
      e2[i] = corners[2][i] - corners[0][i];
      length = most(length, Lanes::size(e1[i]), Lanes::size(e2[i]));
    }
    for (unsigned i = 0; i < 3; ++i) {
      const unsigned j = (i + 1) % 3, k = (i + 2) % 3;
      normal[i] = e1[j] * e2[k] - e1[k] * e2[j];
    }
    // Corners are off by their rounding: the normal by that times the edges, the side of a corner by that times the
    // normal, and both by the rounding of the products, which is less.
    normalSlack = length * boxSlack;
    sideSlack = length * length * boxSlack + smallestSide;
  }

  /// From this size of coordinates on, the side of a corner could leave single precision: no plane parts triangles.
  static constexpr double largestCubed = 1e12;

  double slack;
  Float4 boxSlack;
  Float4 smallestSide;
  Float4 reach = Lanes::all(std::numeric_limits<float>::infinity());
  Float4 sqrReach = Lanes::all(std::numeric_limits<float>::infinity());
  PackedFront onwards, backwards;
  bool hasDirection = false;
  // The single triangle.
  Float4 low[3], high[3], first[3], farthest, normal[3], normalSlack, sideSlack;
};

} // namespace Kavrel::BoundingVolumeHierarchy
