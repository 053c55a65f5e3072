#pragma once

#include "geometry/Point3N.h"

namespace Kavrel {

/// A point with an optional normal and an optional tangent. A tangent is present exactly when one of its components
/// differs from 0.0.
class KVSHAPES_EXPORT Point3NT : public Point3N
{
public:
  static constexpr bool TypeHasTangent = true;

  constexpr Point3NT() = default;
  /// Without normal and tangent.
  constexpr Point3NT(const Vector<double, 3>& position) : Point3N(position) {}
  /// Without tangent.
  constexpr Point3NT(const Point3N& point) : Point3N(point) {}
  /// Without normal and tangent.
  constexpr Point3NT(double x, double y, double z) : Point3N(x, y, z) {}
  /// Without tangent; a zero normal means none.
  constexpr Point3NT(const Vector<double, 3>& position, const Vector<double, 3>& pointNormal)
      : Point3N(position, pointNormal)
  {}
  /// A zero normal or tangent means none.
  constexpr Point3NT(const Vector<double, 3>& position, const Vector<double, 3>& pointNormal,
                     const Vector<double, 3>& pointTangent)
      : Point3N(position, pointNormal)
  {
    setTangent(pointTangent);
  }

  /// Takes the coordinates and clears normal and tangent.
  constexpr Point3NT& operator=(const Vector<double, 3>& position)
  {
    Point3N::operator=(position);
    clearTangent();
    return *this;
  }
  /// Takes position and normal and clears the tangent.
  constexpr Point3NT& operator=(const Point3N& point)
  {
    Point3N::operator=(point);
    clearTangent();
    return *this;
  }

  using Point3N::set;
  constexpr Point3NT& set(const Vector<double, 3>& position, const Vector<double, 3>& pointNormal,
                          const Vector<double, 3>& pointTangent)
  {
    Point3N::set(position, pointNormal);
    setTangent(pointTangent);
    return *this;
  }
  constexpr Point3NT& set(double x, double y, double z, double nx, double ny, double nz, double tx, double ty,
                          double tz)
  {
    return set(Vector<double, 3>(x, y, z), Vector<double, 3>(nx, ny, nz), Vector<double, 3>(tx, ty, tz));
  }
  constexpr Point3NT& set(const Point3NT& other) { return *this = other; }

  /// A zero tangent means none.
  constexpr void setTangent(const Vector<double, 3>& v)
  {
    tangent = v;
    tangentPresent = isNonZero(v);
  }
  constexpr void setTangent(double x, double y, double z) { setTangent(Vector<double, 3>(x, y, z)); }
  constexpr void clearTangent()
  {
    tangent = Vector<double, 3>();
    tangentPresent = false;
  }
  /// The zero vector where there is none.
  constexpr const Vector<double, 3>& getTangent() const { return tangent; }
  constexpr bool hasTangent() const { return tangentPresent; }
  constexpr void invertTangent() { tangent.negate(); }
  /// Scales the tangent to unit length; false without a tangent or with one shorter than 1e-12, which stays as it is.
  bool normalizeTangent() { return tangentPresent && tangent.normalize(1e-12); }

  /// The unit vector along the part of tangent × normal that stands perpendicular to \p dir, which mustn't be zero.
  Vector<double, 3> getBinormalPerpendicularToDirection(const Vector<double, 3>& dir) const
  {
    return dir.gramSchmidt(tangent.cross(getNormal())).getNormalized();
  }

  /// Mirrors the position, the normal and the tangent, as far as present, in place.
  Point3NT& mirror(const Plane<double, 3>& plane);
  Point3NT& mirror(const StraightLine<double, 3>& line);
  /// Transforms the position and rotates normal and tangent, as far as present, in place.
  Point3NT& transform(const CoordinateSystem<double, 3>& system);

  /// As for Point3N; the tangent follows the same rule as the normal.
  Point3NT linearInterpolation(double t, const Point3NT& b) const
  {
    Point3NT result(Point3N::linearInterpolation(t, b));
    if (tangentPresent && b.tangentPresent)
      result.setTangent(VectorFunction::unitVectorLinearMorphing(t, tangent, b.tangent));
    return result;
  }

  /// Writes the coordinates, " T: " and the tangent.
  void dump(std::ostream& out) const;

private:
  bool tangentPresent = false;
  Vector<double, 3> tangent;

  KVSHAPES_PERSISTENT();
};

static_assert(std::is_trivially_copyable_v<Point3NT>);

} // namespace Kavrel
