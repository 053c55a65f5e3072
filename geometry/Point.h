#pragma once

#include "geometry/Instantiations.h"
#include "platform/kvarchive/Persistent.h"
#include "platform/kvmath/Vector.h"

#include <cstdint>
#include <iosfwd>

namespace Kavrel {

template <class T, unsigned dim>
class CoordinateSystem;
template <class T, unsigned dim>
class Plane;
template <class T, unsigned dim>
class StraightLine;

/// A position. It adds no data to Vector, so an array of points reads as a flat array of T.
/// Exists for float and double in 2D and 3D; Point<double, 1> serves only for its constants.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Point : public Vector<T, dim>
{
public:
  static constexpr std::uint32_t Dim = dim;
  static constexpr bool TypeHasNormal = false;
  static constexpr bool TypeHasTangent = false;

  using Vector<T, dim>::Vector;
  constexpr Point() = default;
  constexpr Point(const Vector<T, dim>& v) : Vector<T, dim>(v) {}

  constexpr Point& operator+=(const Vector<T, dim>& shift)
  {
    Vector<T, dim>::operator+=(shift);
    return *this;
  }
  constexpr Point& operator-=(const Vector<T, dim>& shift)
  {
    Vector<T, dim>::operator-=(shift);
    return *this;
  }
  /// Shifts the point.
  constexpr Point& move(const Vector<T, dim>& shift) { return *this += shift; }

  /// Squared Euclidean distance.
  constexpr T sqrDistance(const Point& q) const
  {
    T sum = ((*this)[0] - q[0]) * ((*this)[0] - q[0]);
    for (unsigned i = 1; i < dim; ++i)
      sum += ((*this)[i] - q[i]) * ((*this)[i] - q[i]);
    return sum;
  }
  /// Euclidean distance.
  T distance(const Point& q) const { return std::sqrt(sqrDistance(q)); }

  /// Squared distance across the direction \p d, which the caller passes as a unit vector: nothing is normalised, and
  /// a longer one can make the result negative.
  constexpr T sqrDistanceInProjection(const Point& q, const Vector<T, dim>& d) const
  {
    const T along = (*this - q).dot(d);
    return sqrDistance(q) - along * along;
  }

  /// Whether the point lies closer than \p tol to the infinite line through \p b and \p c. Two of the three points
  /// closer than \p tol to each other count as collinear with any third one.
  bool isCollinear(const Point& b, const Point& c, double tol) const;

  /// Reflects the point in the plane, in place.
  Point& mirror(const Plane<T, dim>& plane);
  /// Reflects the point through the infinite line, in place. A line without direction gives NaN.
  Point& mirror(const StraightLine<T, dim>& line);

  /// Takes the point from local to enclosing coordinates, in place. Include geometry/CoordinateSystem.h to call it.
  Point& transform(const CoordinateSystem<T, dim>& system);

  /// A static point with all coordinates 0.
  static const Point& getZeroPoint();

  /// Writes the coordinates as operator<< of Vector does.
  void dump(std::ostream& out) const;

  KVSHAPES_PERSISTENT();
};

template <class T, unsigned dim>
inline bool Point<T, dim>::isCollinear(const Point& b, const Point& c, double tol) const
{
  const double sqrTol = tol * tol;
  const double ab = sqrDistance(b);
  if (sqrTol > ab) return true;
  const double ac = sqrDistance(c);
  if (sqrTol > ac) return true;
  const double bc = b.sqrDistance(c);
  if (sqrTol > bc) return true;
  const double w = ab - ac;
  return sqrTol > (ab + ac) * 0.5 - (w * w / bc + bc) * 0.25;
}

template <class T, unsigned dim>
inline Point<T, dim>& Point<T, dim>::transform(const CoordinateSystem<T, dim>& system)
{
  const auto& m = system.getOrientation();
  const auto& o = system.getOrigin();
  const Point p(*this);
  for (unsigned i = 0; i < dim; ++i) {
    T sum = m[i * dim] * p[0];
    for (unsigned j = 1; j < dim; ++j)
      sum += m[i * dim + j] * p[j];
    (*this)[i] = sum + o[i];
  }
  return *this;
}

static_assert(sizeof(Point<double, 3>) == sizeof(Vector<double, 3>) && sizeof(Point<float, 2>) == 2 * sizeof(float));
static_assert(std::is_trivially_copyable_v<Point<double, 3>> && std::is_trivially_copyable_v<Point<float, 2>>);

template <class T, unsigned dim>
struct PersistentFlat<Point<T, dim>>
{
  using Component = T;
};

#define KV_EXTERN(...) extern template class Point<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel
