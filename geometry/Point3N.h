#pragma once

#include "geometry/Point.h"
#include "platform/kvmath/VectorFunction.h"

namespace Kavrel {

/// A point with an optional normal. A normal is present exactly when one of its components differs from 0.0; it needn't
/// be of unit length.
class KVSHAPES_EXPORT Point3N : public Point<double, 3>
{
public:
  static constexpr bool TypeHasNormal = true;

  /// The origin, without normal.
  constexpr Point3N() = default;
  /// Without normal.
  constexpr Point3N(const Vector<double, 3>& position) : Point<double, 3>(position) {}
  /// At z = 0, without normal.
  constexpr Point3N(double x, double y) : Point<double, 3>(x, y, 0.0) {}
  /// Without normal.
  constexpr Point3N(double x, double y, double z) : Point<double, 3>(x, y, z) {}
  /// A zero normal means none.
  constexpr Point3N(const Vector<double, 3>& position, const Vector<double, 3>& pointNormal)
      : Point<double, 3>(position)
  {
    setNormal(pointNormal);
  }

  /// Takes the coordinates and clears the normal.
  constexpr Point3N& operator=(const Vector<double, 3>& position)
  {
    setPosition(position);
    clearNormal();
    return *this;
  }

  /// Takes the coordinates and keeps the normal.
  constexpr Point3N& set(const Vector<double, 3>& position)
  {
    setPosition(position);
    return *this;
  }
  constexpr Point3N& set(const Vector<double, 3>& position, const Vector<double, 3>& pointNormal)
  {
    setPosition(position);
    setNormal(pointNormal);
    return *this;
  }
  /// All three coordinates take \p v; the normal stays.
  constexpr Point3N& set(double v) { return set(v, v, v); }
  /// The coordinates alone; the normal stays.
  constexpr Point3N& set(double x, double y, double z) { return set(Vector<double, 3>(x, y, z)); }
  constexpr Point3N& set(double x, double y, double z, double nx, double ny, double nz)
  {
    return set(Vector<double, 3>(x, y, z), Vector<double, 3>(nx, ny, nz));
  }
  constexpr Point3N& set(const Point3N& other) { return *this = other; }

  /// A zero normal means none.
  constexpr void setNormal(const Vector<double, 3>& v)
  {
    normal = v;
    normalPresent = isNonZero(v);
  }
  constexpr void setNormal(double x, double y, double z) { setNormal(Vector<double, 3>(x, y, z)); }
  constexpr void clearNormal()
  {
    normal = Vector<double, 3>();
    normalPresent = false;
  }
  /// The zero vector where there is none.
  constexpr const Vector<double, 3>& getNormal() const { return normal; }
  constexpr bool hasNormal() const { return normalPresent; }
  constexpr void invertNormal() { normal.negate(); }
  /// Scales the normal to unit length; false without a normal or with one shorter than 1e-12, which stays as it is.
  bool normalizeNormal() { return normalPresent && normal.normalize(1e-12); }

  /// Whether some component differs from 0.0; NaN does.
  static constexpr bool isNonZero(const Vector<double, 3>& v) { return v[0] != 0.0 || v[1] != 0.0 || v[2] != 0.0; }

  /// Whether positions and normals agree in every component to within \p eps, be the normals present or not.
  bool isApproximatelyEqualTo(const Point3N& other, double eps) const
  {
    return Vector<double, 3>::isApproximatelyEqualTo(other, eps) && normal.isApproximatelyEqualTo(other.normal, eps);
  }

  /// Mirrors the position and the normal, if present, in place.
  Point3N& mirror(const Plane<double, 3>& plane);
  Point3N& mirror(const StraightLine<double, 3>& line);
  /// Mirrors the normal alone, if present.
  void mirrorNormal(const Plane<double, 3>& plane);
  /// Takes the part of the normal along the plane, if it is present.
  void projectNormalToPlane(const Plane<double, 3>& plane);
  /// Transforms the position and rotates the normal, if present, in place.
  Point3N& transform(const CoordinateSystem<double, 3>& system);

  /// The point at (1-t)·this + t·b. It has a normal only when both ends have one: the unit vector on the great circle
  /// between the two, and none where they are opposite.
  Point3N linearInterpolation(double t, const Point3N& b) const
  {
    Point3N result(Vector<double, 3>::linearInterpolation(t, b));
    if (normalPresent && b.normalPresent)
      result.setNormal(VectorFunction::unitVectorLinearMorphing(t, normal, b.normal));
    return result;
  }

  /// Writes "P: ", the coordinates, " N: " and the normal.
  void dump(std::ostream& out) const;

protected:
  constexpr void setPosition(const Vector<double, 3>& position) { static_cast<Vector<double, 3>&>(*this) = position; }

private:
  bool normalPresent = false;
  Vector<double, 3> normal;

  KVSHAPES_PERSISTENT();
};

static_assert(sizeof(Point3N) == 56 && std::is_trivially_copyable_v<Point3N>);

} // namespace Kavrel
