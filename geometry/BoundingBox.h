#pragma once

#include "geometry/Point.h"

#include <vector>

namespace Kavrel {

template <class PointType>
class Ray;

/// An axis-aligned box. A box that has seen no point is invalid; its corners are then without meaning.
template <class T, unsigned dim>
class KVSHAPES_EXPORT BoundingBox
{
public:
  /// Invalid, with zero corners.
  constexpr BoundingBox() = default;
  /// The box of one point.
  constexpr explicit BoundingBox(const Point<T, dim>& p) : min(p), max(p), valid(true) {}
  /// The smallest box that holds both points, in any order.
  constexpr BoundingBox(const Point<T, dim>& a, const Point<T, dim>& b) : min(a), max(a), valid(true)
  {
    enlargeValid(b);
  }

  /// Grows to hold \p p; an invalid box becomes the box of \p p. A NaN coordinate leaves its axis as it is.
  constexpr void enlarge(const Vector<T, dim>& p)
  {
    if (valid)
      enlargeValid(p);
    else
      enlargeInvalid(p);
  }
  /// Grows to hold the other's corners, without a look at whether the other is valid.
  constexpr void enlarge(const BoundingBox& other)
  {
    const Point<T, dim> otherMax = other.max;
    enlarge(other.min);
    enlarge(otherMax);
  }
  /// Makes the box invalid, with zero corners.
  constexpr void clear() { *this = BoundingBox(); }

  constexpr bool isValid() const { return valid; }
  constexpr const Point<T, dim>& getMin() const { return min; }
  constexpr const Point<T, dim>& getMax() const { return max; }
  constexpr Point<T, dim> getCenter() const { return (min + max) * T(0.5); }
  /// The lengths of the sides.
  constexpr Point<T, dim> getDimension() const { return max - min; }
  /// The length of the diagonal.
  T getDiameter() const { return (max - min).length(); }

  /// Whether the point lies in the box, its border included; never for an invalid box.
  constexpr bool isInside(const Point<T, dim>& p) const
  {
    bool inside = valid;
    for (unsigned i = 0; i < dim; ++i)
      inside = inside && min[i] <= p[i] && p[i] <= max[i];
    return inside;
  }

  /// Whether the boxes share a point, a touching one included; never when one is invalid.
  constexpr bool intersect(const BoundingBox& other) const
  {
    bool overlap = valid && other.valid;
    for (unsigned i = 0; i < dim; ++i)
      overlap = overlap && min[i] <= other.max[i] && other.min[i] <= max[i];
    return overlap;
  }

  /// Whether each corner lies within \p eps of the other box's; never when one is invalid.
  bool compare(const BoundingBox& other, double eps) const;

  /// Distance from the point to the box: 0 inside, and 0 for an invalid box.
  T distance(const Point<T, dim>& p) const
  {
    if (!valid) return T(0);
    T sum = T(0);
    for (unsigned i = 0; i < dim; ++i) {
      const T clamped = p[i] < min[i] ? min[i] : (max[i] < p[i] ? max[i] : p[i]);
      sum += (p[i] - clamped) * (p[i] - clamped);
    }
    return std::sqrt(sum);
  }

  /// Mirrors the two corners, in place; they aren't sorted again.
  void mirror(const Plane<T, dim>& plane);

  /// Appends to \p hits where the ray meets the four sides of the box, seen along z. The hits come in the order of the
  /// sides (min y, max x, max y, min x), not along the ray; when there are several, those closer than 1e-6 to an
  /// earlier one in \p hits are removed. In 3D the sides lie at the height of the lower corner. Whether \p hits then
  /// holds anything.
  bool calculateIntersectionXY(const Ray<Point<T, dim>>& ray, std::vector<Point<T, dim>>& hits) const;
  /// Whether the ray meets one of the four sides, seen along z.
  bool checkIntersectionXY(const Ray<Point<T, dim>>& ray) const;

private:
  constexpr void enlargeValid(const Vector<T, dim>& p)
  {
    for (unsigned i = 0; i < dim; ++i) {
      const bool below = p[i] < min[i];
      const bool above = !below && p[i] > max[i];
      min[i] = below ? p[i] : min[i];
      max[i] = above ? p[i] : max[i];
    }
  }
  constexpr void enlargeInvalid(const Vector<T, dim>& p)
  {
    min = max = p;
    valid = true;
  }

  /// Calls \p accept with each accepted hit, side by side, until it returns true; whether it did.
  template <class Accept>
  bool visitSideHitsXY(const Ray<Point<T, dim>>& ray, Accept accept) const;

  Point<T, dim> min;
  Point<T, dim> max;
  bool valid = false;

  KVSHAPES_PERSISTENT();
};

static_assert(std::is_trivially_copyable_v<BoundingBox<double, 3>>);

#define KV_EXTERN(...) extern template class BoundingBox<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel
