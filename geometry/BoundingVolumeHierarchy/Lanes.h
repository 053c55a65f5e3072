#pragma once

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Short vectors of numbers that the processor works on at once. They add, subtract, multiply, divide and compare lane
/// by lane with the plain operators, and `mask ? a : b` selects lane by lane.
namespace Kavrel::BoundingVolumeHierarchy::Lanes {

using Float4 = float __attribute__((vector_size(16)));
using Double2 = double __attribute__((vector_size(16)));

inline Float4 load(const float* values)
{
  Float4 lanes;
  std::memcpy(&lanes, values, sizeof(lanes));
  return lanes;
}

inline Float4 all(float value) { return Float4{value, value, value, value}; }
inline Double2 all(double value) { return Double2{value, value}; }

/// a where it is smaller, else b: a NaN in either gives b.
inline Float4 smaller(Float4 a, Float4 b)
{
#if defined(__SSE2__)
  return _mm_min_ps(a, b);
#else
  return a < b ? a : b;
#endif
}
inline Double2 smaller(Double2 a, Double2 b)
{
#if defined(__SSE2__)
  return _mm_min_pd(a, b);
#else
  return a < b ? a : b;
#endif
}

/// a where it is greater, else b: a NaN in either gives b.
inline Float4 greater(Float4 a, Float4 b)
{
#if defined(__SSE2__)
  return _mm_max_ps(a, b);
#else
  return a > b ? a : b;
#endif
}
inline Double2 greater(Double2 a, Double2 b)
{
#if defined(__SSE2__)
  return _mm_max_pd(a, b);
#else
  return a > b ? a : b;
#endif
}

/// The absolute value; a NaN stays one.
inline Float4 size(Float4 a) { return greater(-a, a); }

/// One bit per lane of a comparison, lane 0 lowest.
template <class Mask>
unsigned bits(Mask mask)
{
#if defined(__SSE2__)
  if constexpr (sizeof(mask[0]) == 4)
    return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<Float4>(mask)));
  else
    return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<Double2>(mask)));
#else
  unsigned set = 0;
  for (unsigned lane = 0; lane < sizeof(mask) / sizeof(mask[0]); ++lane)
    set |= mask[lane] ? 1U << lane : 0U;
  return set;
#endif
}

/// The bounds of two boxes side by side, one box a lane, widened to double.
template <unsigned dim>
struct BoxPair
{
  Double2 min[dim];
  Double2 max[dim];

  template <class Box>
  BoxPair(const Box& first, const Box& second)
  {
    for (unsigned i = 0; i < dim; ++i) {
      min[i] = Double2{static_cast<double>(first.min[i]), static_cast<double>(second.min[i])};
      max[i] = Double2{static_cast<double>(first.max[i]), static_cast<double>(second.max[i])};
    }
  }
};

#if defined(__SSE2__)
template <>
template <class Box>
inline BoxPair<3>::BoxPair(const Box& first, const Box& second)
{
  // Six floats each: two loads a box overlap in the middle.
  const float* const a = first.min.data();
  const float* const b = second.min.data();
  const __m128 a0 = _mm_loadu_ps(a), a1 = _mm_loadu_ps(a + 2);
  const __m128 b0 = _mm_loadu_ps(b), b1 = _mm_loadu_ps(b + 2);
  const __m128 minXY = _mm_unpacklo_ps(a0, b0);
  const __m128 minZmaxX = _mm_unpackhi_ps(a0, b0);
  const __m128 maxYZ = _mm_unpackhi_ps(a1, b1);
  min[0] = _mm_cvtps_pd(minXY);
  min[1] = _mm_cvtps_pd(_mm_movehl_ps(minXY, minXY));
  min[2] = _mm_cvtps_pd(minZmaxX);
  max[0] = _mm_cvtps_pd(_mm_movehl_ps(minZmaxX, minZmaxX));
  max[1] = _mm_cvtps_pd(maxYZ);
  max[2] = _mm_cvtps_pd(_mm_movehl_ps(maxYZ, maxYZ));
}
#endif

} // namespace Kavrel::BoundingVolumeHierarchy::Lanes
