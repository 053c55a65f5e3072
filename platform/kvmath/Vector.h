#pragma once

#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"

#include <cmath>
#include <cstddef>
#include <iosfwd>
#include <limits>
#include <type_traits>

namespace Kavrel {

/// The length below which a vector of scalar type T counts as zero unless the caller says otherwise.
template <class T>
inline constexpr T defaultLengthEps = std::is_same_v<T, float> ? T(1e-5F) : T(1e-12);

/// `dim` components of type T, contiguous, in the order x, y, z, and nothing else. Zero by default, trivially copied.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Vector
{
public:
  using Scalar = T;
  static constexpr unsigned Size = dim;

  constexpr Vector() = default;
  constexpr explicit Vector(T x) requires(dim == 1) : values{x} {}
  constexpr Vector(T x, T y) requires(dim == 2) : values{x, y} {}
  constexpr Vector(T x, T y, T z) requires(dim == 3) : values{x, y, z} {}

  constexpr T& operator[](std::size_t i) { return values[i]; }
  constexpr const T& operator[](std::size_t i) const { return values[i]; }
  constexpr T& x() { return values[0]; }
  constexpr const T& x() const { return values[0]; }
  constexpr T& y() requires(dim > 1) { return values[1]; }
  constexpr const T& y() const requires(dim > 1) { return values[1]; }
  constexpr T& z() requires(dim > 2) { return values[2]; }
  constexpr const T& z() const requires(dim > 2) { return values[2]; }
  constexpr T* data() { return values; }
  constexpr const T* data() const { return values; }

  constexpr Vector& operator+=(const Vector& b)
  {
    for (unsigned i = 0; i < dim; ++i)
      values[i] += b.values[i];
    return *this;
  }
  constexpr Vector& operator-=(const Vector& b)
  {
    for (unsigned i = 0; i < dim; ++i)
      values[i] -= b.values[i];
    return *this;
  }
  constexpr Vector& operator*=(T factor)
  {
    for (unsigned i = 0; i < dim; ++i)
      values[i] *= factor;
    return *this;
  }
  constexpr Vector& operator/=(T divisor)
  {
    for (unsigned i = 0; i < dim; ++i)
      values[i] /= divisor;
    return *this;
  }

  /// Turns the vector around, in place.
  constexpr Vector& negate()
  {
    for (unsigned i = 0; i < dim; ++i)
      values[i] = -values[i];
    return *this;
  }

  constexpr T dot(const Vector& b) const
  {
    T sum = values[0] * b.values[0];
    for (unsigned i = 1; i < dim; ++i)
      sum += values[i] * b.values[i];
    return sum;
  }

  /// The right-handed cross product.
  constexpr Vector cross(const Vector& b) const requires(dim == 3)
  {
    return Vector(values[1] * b.values[2] - values[2] * b.values[1], values[2] * b.values[0] - values[0] * b.values[2],
                  values[0] * b.values[1] - values[1] * b.values[0]);
  }
  /// The signed area of the parallelogram, positive when b lies counter-clockwise of this vector.
  constexpr T cross(const Vector& b) const requires(dim == 2)
  {
    return values[0] * b.values[1] - values[1] * b.values[0];
  }

  constexpr T sqrLength() const { return dot(*this); }
  T length() const { return std::sqrt(sqrLength()); }

  /// Scales to unit length. A length below eps, zero or NaN gives false and leaves the vector as it is, and so does an
  /// infinite component. Squares that overflow or vanish are taken care of.
  bool normalize(T eps = defaultLengthEps<T>)
  {
    const T norm = length();
    if (norm >= shortest(eps) && norm < safeHigh) {
      *this /= norm;
      return true;
    }
    const Vector unit = unitByScaling(*this, eps);
    if (unit == Vector()) return false;
    *this = unit;
    return true;
  }

  /// A copy scaled to unit length; a plain copy where normalize() would fail.
  Vector getNormalized() const
  {
    const T norm = length();
    return norm >= shortest(defaultLengthEps<T>) && norm < safeHigh ? *this / norm : normalizedByScaling(*this);
  }

  /// Whether normalize() would succeed.
  bool isNormalizable() const { return Vector(*this).normalize(); }

  /// Whether the length is 1 to within the default epsilon.
  bool isNormalized() const { return std::abs(length() - T(1)) <= defaultLengthEps<T>; }

  /// Whether no component differs by more than eps.
  bool isApproximatelyEqualTo(const Vector& b, double eps) const
  {
    for (unsigned i = 0; i < dim; ++i)
      if (!(std::abs(static_cast<double>(values[i]) - static_cast<double>(b.values[i])) <= eps)) return false;
    return true;
  }

  /// False when a component is NaN, or at or beyond the largest finite float in size.
  bool isDefined() const
  {
    constexpr double limit = std::numeric_limits<float>::max();
    for (unsigned i = 0; i < dim; ++i)
      if (!(std::abs(static_cast<double>(values[i])) < limit)) return false;
    return true;
  }

  /// The unsigned angle to b in radians, in [0, pi]; 0 where one of the two is the zero vector, and never NaN for
  /// finite vectors. The result doesn't depend on the lengths, so eps is not needed; callers pass it by habit.
  T angle(const Vector& b, [[maybe_unused]] T eps = T(1e-4)) const requires(dim > 1)
  {
    const T across = crossLength(b);
    return isSafeLength(across) ? std::atan2(across, dot(b)) : angleByScaling(*this, b);
  }

  /// The part of b perpendicular to this vector, which needn't be of unit length but mustn't be zero.
  constexpr Vector gramSchmidt(const Vector& b) const
  {
    const T factor = b.dot(*this) / dot(*this);
    Vector rest(b);
    for (unsigned i = 0; i < dim; ++i)
      rest.values[i] -= factor * values[i];
    return rest;
  }

  /// A unit vector perpendicular to this one: in 2D the quarter turn counter-clockwise. The zero vector gives the zero
  /// vector in 2D and an axis in 3D.
  Vector getOrthoNormal() const requires(dim > 1)
  {
    if constexpr (dim == 2) {
      Vector turned(-values[1], values[0]);
      turned.normalize(T(0));
      return turned;
    } else {
      // Across the axis of the smallest component the cross product is longest.
      unsigned axis = 0;
      for (unsigned i = 1; i < dim; ++i)
        if (std::abs(values[i]) < std::abs(values[axis])) axis = i;
      Vector unit;
      unit[axis] = T(1);
      Vector across = cross(unit);
      return across.normalize(T(0)) ? across : unit;
    }
  }

  /// (1-t)·this + t·b: exactly b at t = 1.
  constexpr Vector linearInterpolation(T t, const Vector& b) const
  {
    Vector blend;
    for (unsigned i = 0; i < dim; ++i)
      blend.values[i] = (T(1) - t) * values[i] + t * b.values[i];
    return blend;
  }

  static const Vector& getZeroVector()
  {
    static constexpr Vector zero;
    return zero;
  }

  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);
  static void serialization_register(void* record);

  friend constexpr Vector operator+(Vector a, const Vector& b) { return a += b; }
  friend constexpr Vector operator-(Vector a, const Vector& b) { return a -= b; }
  friend constexpr Vector operator-(Vector a) { return a.negate(); }
  friend constexpr Vector operator*(Vector a, T factor) { return a *= factor; }
  friend constexpr Vector operator*(T factor, Vector a) { return a *= factor; }
  friend constexpr Vector operator/(Vector a, T divisor) { return a /= divisor; }
  friend constexpr bool operator==(const Vector& a, const Vector& b)
  {
    for (unsigned i = 0; i < dim; ++i)
      if (!(a.values[i] == b.values[i])) return false;
    return true;
  }

private:
  static bool s_force_serialization_registration;

  /// Between these, the square of a length neither overflows nor loses digits by underflow.
  static constexpr T safeLow = std::is_same_v<T, float> ? T(1e-15) : T(1e-140);
  static constexpr T safeHigh = std::is_same_v<T, float> ? T(1e18) : T(1e150);
  static constexpr T shortest(T eps) { return eps > safeLow ? eps : safeLow; }
  static constexpr bool isSafeLength(T length) { return length > safeLow && length < safeHigh; }

  T crossLength(const Vector& b) const requires(dim > 1)
  {
    if constexpr (dim == 2)
      return std::abs(cross(b));
    else
      return cross(b).length();
  }

  T largestComponent() const
  {
    T largest = T(0);
    for (unsigned i = 0; i < dim; ++i)
      if (!(std::abs(values[i]) <= largest)) largest = std::abs(values[i]);
    return largest;
  }

  /// A copy with components of at most 1; zero and non-finite vectors stay.
  Vector getScaled() const
  {
    const T largest = largestComponent();
    return largest > T(0) && std::isfinite(largest) ? *this / largest : *this;
  }

  // The rare ways take their operands by value, so that those of the common way can stay in registers.

  /// \p v at unit length, or zero where it is too short or not finite.
  [[gnu::noinline, gnu::cold]] static Vector unitByScaling(Vector v, T eps)
  {
    if (const T plain = v.length(); plain >= safeLow && plain < safeHigh) return Vector(); // eps has turned it down
    const Vector scaled = v.getScaled();
    const T norm = scaled.length();
    if (!(norm > T(0)) || !std::isfinite(norm) || v.largestComponent() * norm < eps) return Vector();
    return scaled / norm;
  }

  [[gnu::noinline, gnu::cold]] static Vector normalizedByScaling(Vector v)
  {
    v.normalize();
    return v;
  }

  [[gnu::noinline, gnu::cold]] static T angleByScaling(Vector a, Vector b) requires(dim > 1)
  {
    if (a == Vector() || b == Vector()) return T(0); // their dot product may be -0, which would mean half a turn
    const Vector p = a.getScaled(), q = b.getScaled();
    return std::atan2(p.crossLength(q), p.dot(q));
  }

  T values[dim] = {};
};

static_assert(sizeof(Vector<double, 3>) == 3 * sizeof(double) && sizeof(Vector<float, 2>) == 2 * sizeof(float));
static_assert(std::is_trivially_copyable_v<Vector<double, 3>> && !std::is_polymorphic_v<Vector<double, 3>>);

/// A vector is stored as its components alone.
template <class T, unsigned dim>
struct PersistentFlat<Vector<T, dim>>
{
  using Component = T;
};

/// Writes the components separated by one blank, in the precision of the stream.
template <class T, unsigned dim>
KVSHAPES_EXPORT std::ostream& operator<<(std::ostream& out, const Vector<T, dim>& v);

/// Reads `dim` numbers separated by white space.
template <class T, unsigned dim>
KVSHAPES_EXPORT std::istream& operator>>(std::istream& in, Vector<T, dim>& v);

} // namespace Kavrel
