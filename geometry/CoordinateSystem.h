#pragma once

#include "geometry/Instantiations.h"
#include "geometry/Point.h"
#include "platform/kvarchive/Persistent.h"
#include "platform/kvmath/OrthMatrix.h"

#include <iosfwd>
#include <string>

namespace Kavrel {

template <class T, unsigned dim>
class Plane;
template <class T, unsigned dim>
class StraightLine;

/// A rigid placement: an orthonormal orientation and an origin, as a frame and as the transformation that takes
/// coordinates in the frame to those around it. A local point p lies at `orientation`·p + `origin`; a vector is only
/// turned.
///
/// The value remembers whether it is the identity, and writes that memo from const operations: share a value between
/// threads only after one has called isIdentity().
template <class T, unsigned dim>
class KVSHAPES_EXPORT CoordinateSystem
{
public:
  using PointType = Point<T, dim>;
  using VectorType = Vector<T, dim>;

  /// The identity.
  CoordinateSystem() = default;
  CoordinateSystem(const OrthMatrix<T, dim>& axes, const PointType& position);
  CoordinateSystem(const PointType& position, const OrthMatrix<T, dim>& axes);

  /// The cosine above which two axes have the same direction: cos(1.7e-6), which is 1 in float.
  static T getDirectionEps();
  /// The distance up to which two origins are the same: 1e-12.
  static T getDistanceEps();
  static const CoordinateSystem& getIdentity();

  /// Column i is the local axis i.
  const OrthMatrix<T, dim>& getOrientation() const { return orientation; }
  const PointType& getOrigin() const { return origin; }
  VectorType getLocalX() const { return orientation.column(0); }
  VectorType getLocalY() const { return orientation.column(1); }

  CoordinateSystem& setOrientation(const OrthMatrix<T, dim>& axes);
  /// The columns are taken as they are.
  CoordinateSystem& setOrientation(const Matrix<T, dim, dim>& axes);
  CoordinateSystem& setOrientation(const SquareMatrix<T, dim>& axes);
  CoordinateSystem& setOrigin(const PointType& position);
  CoordinateSystem& setIdentity();

  /// Whether this is the identity within the two constants above. Remembered until the next change.
  bool isIdentity() const
  {
    if (!identityKnown) rememberIdentity();
    return isIdentityFlag;
  }

  /// Exactly equal numbers.
  bool operator==(const CoordinateSystem& other) const;

  /// Origins at most 1e-12 apart and each pair of axes within the direction constant. In float that asks for a dot
  /// product of 1, which axes that differ by rounding alone can miss.
  bool isEqualTo(const CoordinateSystem& other) const;
  /// Origins at most \p dist apart and each pair of axes at most \p angle radians apart.
  bool isEqualTo(const CoordinateSystem& other, T dist, T angle) const;
  /// Whether each pair of axes has a dot product of at least \p cosEps.
  bool isEqualOrientation(const CoordinateSystem& other, T cosEps) const;
  /// Whether the origins are at most \p dist apart.
  bool isEqualOrigin(const CoordinateSystem& other, T dist) const;

  /// Turns the transformation around. An identity stays as it is.
  CoordinateSystem& invert();
  CoordinateSystem getInverse() const;

  /// Moves this system by \p other: this := other ∘ this.
  CoordinateSystem& transform(const CoordinateSystem& other);
  CoordinateSystem getTransformed(const CoordinateSystem& other) const;

  /// \p rhs placed inside this system: applied to a point, first \p rhs, then this.
  CoordinateSystem operator*(const CoordinateSystem& rhs) const { return rhs.getTransformed(*this); }

  /// This system as seen from within \p other.
  CoordinateSystem getRelativeCoordinateSystem(const CoordinateSystem& other) const;
  /// The transformation that takes \p a to \p b, in outer coordinates.
  static CoordinateSystem getRelativeTransformationFromAtoB(const CoordinateSystem& a, const CoordinateSystem& b);

  CoordinateSystem& translateBy(const VectorType& v);
  CoordinateSystem getTranslatedBy(const VectorType& v) const;
  CoordinateSystem& translateAlongLocalX(T d);
  CoordinateSystem& translateAlongLocalY(T d);
  CoordinateSystem getTranslatedAlongLocalX(T d) const;
  CoordinateSystem getTranslatedAlongLocalY(T d) const;

  /// Turns \p v by the orientation, without the translation.
  void transformVector(VectorType& v) const { v = orientation * v; }
  VectorType transformVectorCopy(const VectorType& v) const { return orientation * v; }

  /// The homogeneous matrix: orientation in the upper left, origin in the last column, last row 0 … 0 1.
  SquareMatrix<T, dim + 1> getTransformation() const;
  /// The reverse; the last row is ignored.
  CoordinateSystem& setTransformation(const SquareMatrix<T, dim + 1>& m);

  /// The mirror at the plane with the unit normal \p n and the signed distance \p d from the outer origin.
  CoordinateSystem& setUpMirror(const VectorType& n, T d);
  CoordinateSystem& setUpMirror(const Plane<T, dim>& plane);

  /// The rotation \p r about the fixed point \p c.
  CoordinateSystem& setUpRotation(const PointType& c, const OrthMatrix<T, dim>& r);
  CoordinateSystem& setUpRotation(const PointType& c, const Matrix<T, dim, dim>& r);
  CoordinateSystem& setUpRotation(const PointType& c, const SquareMatrix<T, dim>& r);

  static CoordinateSystem createMirrorTransformation(const Plane<T, dim>& plane);
  /// The half turn about the line; a line without direction gives the identity. Raises MathException in 2D.
  static CoordinateSystem createMirrorTransformation(const StraightLine<T, 3>& line);

  /// Writes {'origin':[...], 'orientation':[[...], ...]}, the orientation by rows.
  void dumpAsPyDict(std::ostream& out) const;
  /// The same as a text with \p precision significant digits.
  std::string toStringPyDict(int precision) const;

private:
  void rememberIdentity() const;
  CoordinateSystem& setAndInvalidate(const OrthMatrix<T, dim>& axes);
  CoordinateSystem& setAndInvalidate(const PointType& position);
  CoordinateSystem& setAndInvalidate(const OrthMatrix<T, dim>& axes, const PointType& position);
  static bool isEqualOrientation(const OrthMatrix<T, dim>& a, const OrthMatrix<T, dim>& b, T cosEps);
  static bool isEqualOrigin(const PointType& a, const PointType& b, T dist);

  OrthMatrix<T, dim> orientation;
  PointType origin;
  mutable bool isIdentityFlag = true;
  mutable bool identityKnown = true;

  KVSHAPES_PERSISTENT();
};

/// The 2D system at \p origin with local X along \p dir and local Y a quarter turn counter-clockwise of it.
/// Without a usable direction the axes are those outside.
template <class T>
KVSHAPES_EXPORT CoordinateSystem<T, 2> createCoordinateSystemFrom(const Point<T, 2>& origin, Vector<T, 2> dir);

/// The right-handed system at \p origin with local X along \p a and local Z along \p a × \p b. A missing or parallel
/// direction is replaced by one perpendicular to the other; without any, local X and Y are the outer x and z.
template <class T>
KVSHAPES_EXPORT CoordinateSystem<T, 3> createCoordinateSystemFrom(const Point<T, 3>& origin, Vector<T, 3> a,
                                                                  Vector<T, 3> b);

/// The right-handed system at \p p0 with local X towards \p p1 and \p p2 in the half plane of positive local Y.
/// Raises MathException if the cross product of the two sides is exactly zero.
KVSHAPES_EXPORT CoordinateSystem<double, 3>
calcCoordinateSystemFromPoints(const Point<double, 3>& p0, const Point<double, 3>& p1, const Point<double, 3>& p2);

#define KV_EXTERN(...) extern template class CoordinateSystem<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel
