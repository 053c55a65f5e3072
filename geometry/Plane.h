#pragma once

#include "geometry/Point.h"
#include "geometry/Side.h"

#include <string>
#include <vector>

namespace Kavrel {

template <class PointType>
class PolyLine;

/// A plane (in 2D a line) in Hesse form: the points p with n·p = distance. Setters that take a normal scale it to unit
/// length; one that is too short for that stays as it is, and nothing reports it.
template <class T, unsigned dim>
class KVSHAPES_EXPORT Plane
{
public:
  /// Through the origin, with the default normal.
  constexpr Plane() : distance(T(0)), normal(defaultNormal()) {}
  /// Through \p p.
  Plane(const Vector<T, dim>& planeNormal, const Point<T, dim>& p) : normal(planeNormal)
  {
    normal.normalize();
    distance = normal.dot(p);
  }
  /// At the signed distance \p d from the origin.
  Plane(const Vector<T, dim>& planeNormal, T d) : distance(d), normal(planeNormal) { normal.normalize(); }

  /// Exact, component by component.
  friend constexpr bool operator==(const Plane& a, const Plane& b)
  {
    return a.distance == b.distance && a.normal == b.normal;
  }
  /// Whether the distances differ by at most \p distEps and the normals by at most \p angle radians.
  bool isEqual(const Plane& other, double distEps, double angle) const;

  constexpr T getDistance() const { return distance; }
  constexpr void setDistance(T d) { distance = d; }
  constexpr const Vector<T, dim>& getNormal() const { return normal; }
  /// The foot point of the origin.
  constexpr Point<T, dim> getPoint() const { return normal * distance; }
  /// (0,0,1), in 2D (0,1).
  static constexpr Vector<T, dim> defaultNormal()
  {
    Vector<T, dim> axis;
    axis[dim - 1] = T(1);
    return axis;
  }

  /// Turns the plane about the foot point of the origin, which becomes a point of the new plane.
  void setNormal(const Vector<T, dim>& v);
  /// Turns the plane about the origin: the distance stays.
  void setNormalizedNormal(const Vector<T, dim>& v)
  {
    normal = v;
    normal.normalize();
  }
  /// Moves the plane along its normal to pass through \p p.
  void setPoint(const Point<T, dim>& p)
  {
    normal.normalize();
    distance = normal.dot(p);
  }
  void setPointAndNormal(const Point<T, dim>& p, const Vector<T, dim>& v) { *this = Plane(v, p); }

  /// Signed, positive on the normal's side.
  constexpr T getDistanceOfPoint(const Point<T, dim>& p) const { return normal.dot(p) - distance; }
  /// On at a distance of at most \p eps, else Above or Below.
  constexpr Side getSideOfPoint(const Point<T, dim>& p, double eps) const
  {
    const double e = static_cast<double>(getDistanceOfPoint(p));
    if (e <= eps && -e <= eps) return Side::On;
    return e > eps ? Side::Above : Side::Below;
  }
  /// True on the plane, too.
  constexpr bool pointIsAbove(const Point<T, dim>& p) const { return getDistanceOfPoint(p) >= T(0); }
  constexpr bool pointIsBelow(const Point<T, dim>& p) const { return !pointIsAbove(p); }

  constexpr void projectPoint(Point<T, dim>& p) const { p -= normal * getDistanceOfPoint(p); }
  constexpr Point<T, dim> getProjectedPoint(Point<T, dim> p) const
  {
    projectPoint(p);
    return p;
  }
  constexpr void projectVector(Vector<T, dim>& v) const { v -= normal * v.dot(normal); }
  constexpr Vector<T, dim> getProjectedVector(Vector<T, dim> v) const
  {
    projectVector(v);
    return v;
  }
  constexpr void mirrorPoint(Point<T, dim>& p) const { p -= normal * (T(2) * getDistanceOfPoint(p)); }
  constexpr Point<T, dim> getMirroredPoint(Point<T, dim> p) const
  {
    mirrorPoint(p);
    return p;
  }
  constexpr void mirrorVector(Vector<T, dim>& v) const { v -= normal * (T(2) * v.dot(normal)); }
  constexpr Vector<T, dim> getMirroredVector(Vector<T, dim> v) const
  {
    mirrorVector(v);
    return v;
  }

  /// Swaps the sides; the points of the plane stay.
  constexpr void invert()
  {
    distance = -distance;
    normal.negate();
  }
  /// Takes the plane from local to enclosing coordinates, in place.
  Plane& transform(const CoordinateSystem<T, dim>& system);
  Plane getTransformed(const CoordinateSystem<T, dim>& system) const;
  /// Reflects this plane in \p other, in place.
  Plane& mirror(const Plane& other);

  /// Cuts the line \p p + t·\p v. False, with the outputs as they were, when |n·v| is below 0.0001; \p v is taken as it
  /// is, so a short one fails at any angle. \p t may be null.
  bool intersect(const Vector<T, dim>& p, const Vector<T, dim>& v, Point<T, dim>& out, double* t = nullptr) const;
  /// Cuts the infinite line; \p t is the parameter from its start along its direction.
  bool intersect(const StraightLine<T, dim>& line, Point<T, dim>& out, double* t = nullptr) const;
  /// Cuts the infinite line through \p a (t = 0) and \p b (t = 1).
  bool segmentIntersection(const Point<T, dim>& a, const Point<T, dim>& b, Point<T, dim>& out,
                           double* t = nullptr) const;
  /// The line that two planes share, with a direction of unit length and tolerance 0.1, copied into \p out. False, with
  /// \p out as it was, for planes closer to parallel than 1e-3 in the sine of their angle, and always in 2D.
  bool intersect(const Plane& other, StraightLine<T, dim>& out) const;

  /// Cuts a polyline, its closing segment included, and appends the crossing points to \p points and their arc lengths
  /// from the first vertex to \p arcLengths; each may be null. A segment counts as crossing when the product of its
  /// ends' signed distances is at most \p eps. A crossing closer than 1e-12 to the last of \p points is appended to
  /// neither. Whether any segment crossed.
  template <class PointType>
    requires(std::is_same_v<T, double>&& dim == 3)
  bool intersect(const PolyLine<PointType>& polyLine, std::vector<PointType>* points, std::vector<double>* arcLengths,
                 double eps) const;

  /// Appends to \p out the pieces of the polyline that don't lie below the plane, each with tolerance 0.1. A vertex on
  /// the plane may stand in a piece several times.
  template <class PointType>
    requires(std::is_same_v<T, double>&& dim == 3)
  void clipWithHalfSpace(const PolyLine<PointType>& polyLine, std::vector<PolyLine<PointType>>& out) const;

  /// Writes the text form of a mesh of two triangles, the square with sides of length \p size about the foot of
  /// \p center, for debugging. In 3D only.
  void dump(Vector<T, dim>& center, const std::string& fileName, double size) const requires(dim == 3);

private:
  T distance;
  Vector<T, dim> normal;

  KVSHAPES_PERSISTENT();
};

static_assert(std::is_trivially_copyable_v<Plane<double, 3>>);

#define KV_EXTERN(...) extern template class Plane<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel
