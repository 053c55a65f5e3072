#pragma once

#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <cmath>
#include <limits>

/// How far single precision may be off. Everything that is rejected by packed coordinates is rejected by more than
/// that.
namespace Kavrel::BoundingVolumeHierarchy {

/// The relative error of rounding to single precision.
inline constexpr double floatRounding = 0x1p-24;

/// The largest size of a coordinate in a volume; infinity where sums of coordinates could leave single precision.
template <class Volume>
double largestCoordinate(const Volume& volume)
{
  double largest = 0.0;
  for (unsigned i = 0; i < Volume::Dim; ++i)
    largest =
        std::max({largest, std::abs(static_cast<double>(volume.min[i])), std::abs(static_cast<double>(volume.max[i]))});
  constexpr double summable = 1e37;
  return largest < summable ? largest : std::numeric_limits<double>::infinity();
}

/// Bound of the error of a distance, along a unit vector, between a point and a place in the volume, both rounded to
/// single precision first: about ten roundings of numbers of that size, and some to spare.
template <class Volume>
double roundingSlack(const Vector<double, 3>& point, const Volume& volume)
{
  constexpr double roundings = 16.0;
  const double size = std::max({std::abs(point[0]), std::abs(point[1]), std::abs(point[2])});
  return roundings * floatRounding * (size + largestCoordinate(volume));
}

/// A float that is safely above, by a few roundings; infinity where there is none.
inline float roundedUp(double value)
{
  constexpr double largest = 1e38;
  return value < largest ? static_cast<float>(value * (1.0 + 1e-5)) : std::numeric_limits<float>::infinity();
}

} // namespace Kavrel::BoundingVolumeHierarchy
