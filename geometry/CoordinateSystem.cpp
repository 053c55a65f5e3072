#include "geometry/CoordinateSystem.h"

#include "geometry/Plane.h"
#include "geometry/StraightLine.h"
#include "platform/kvarchive/Persistence.h"
#include "platform/kvmath/ClassicLocaleGuard.h"
#include "platform/kvmath/MathException.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "platform/kvmath/VectorFunction.h"

#include <cmath>
#include <sstream>

namespace Kavrel {

namespace {

constexpr double directionAngle = 1.7e-6; // radians between axes that count as the same
constexpr double distanceEps = 1e-12;
constexpr double sqrDistanceEps = 1e-24;
constexpr double normalizeEps = 1e-12; // in float, too
constexpr double halfTurn = 3.141592653589793;
constexpr unsigned versionWithoutMemo = 500002; // earlier archives hold one flag more
constexpr unsigned currentVersion = 500002;

} // namespace

KVSHAPES_PERSISTENT_KEY("BoostExportCoordinateSystem2f", currentVersion, CoordinateSystem<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportCoordinateSystem3f", currentVersion, CoordinateSystem<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportCoordinateSystem2", currentVersion, CoordinateSystem<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportCoordinateSystem3", currentVersion, CoordinateSystem<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (CoordinateSystem<T, dim>))

template <class T, unsigned dim>
CoordinateSystem<T, dim>::CoordinateSystem(const OrthMatrix<T, dim>& axes, const PointType& position)
    : orientation(axes), origin(position), identityKnown(false)
{}

template <class T, unsigned dim>
CoordinateSystem<T, dim>::CoordinateSystem(const PointType& position, const OrthMatrix<T, dim>& axes)
    : CoordinateSystem(axes, position)
{}

template <class T, unsigned dim>
T CoordinateSystem<T, dim>::getDirectionEps()
{
  static const T eps = static_cast<T>(std::cos(directionAngle));
  return eps;
}

template <class T, unsigned dim>
T CoordinateSystem<T, dim>::getDistanceEps()
{
  return T(distanceEps);
}

template <class T, unsigned dim>
const CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::getIdentity()
{
  static const CoordinateSystem identity;
  return identity;
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setOrientation(const OrthMatrix<T, dim>& axes)
{
  return setAndInvalidate(axes);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setOrientation(const Matrix<T, dim, dim>& axes)
{
  return setAndInvalidate(OrthMatrix<T, dim>(axes));
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setOrientation(const SquareMatrix<T, dim>& axes)
{
  return setAndInvalidate(OrthMatrix<T, dim>(axes));
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setOrigin(const PointType& position)
{
  return setAndInvalidate(position);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setIdentity()
{
  return *this = getIdentity();
}

template <class T, unsigned dim>
bool CoordinateSystem<T, dim>::operator==(const CoordinateSystem& other) const
{
  return orientation == other.orientation && origin == other.origin;
}

template <class T, unsigned dim>
bool CoordinateSystem<T, dim>::isEqualTo(const CoordinateSystem& other) const
{
  return origin.sqrDistance(other.origin) <= T(sqrDistanceEps) &&
         isEqualOrientation(orientation, other.orientation, getDirectionEps());
}

template <class T, unsigned dim>
bool CoordinateSystem<T, dim>::isEqualTo(const CoordinateSystem& other, T dist, T angle) const
{
  return isEqualOrigin(origin, other.origin, dist) &&
         isEqualOrientation(orientation, other.orientation, std::cos(angle));
}

template <class T, unsigned dim>
bool CoordinateSystem<T, dim>::isEqualOrientation(const CoordinateSystem& other, T cosEps) const
{
  return isEqualOrientation(orientation, other.orientation, cosEps);
}

template <class T, unsigned dim>
bool CoordinateSystem<T, dim>::isEqualOrigin(const CoordinateSystem& other, T dist) const
{
  return isEqualOrigin(origin, other.origin, dist);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::invert()
{
  if (isIdentity()) return *this;
  const OrthMatrix<T, dim> inverse = orientation.getInverse();
  return setAndInvalidate(inverse, -(inverse * origin));
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::getInverse() const
{
  return CoordinateSystem(*this).invert();
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::transform(const CoordinateSystem& other)
{
  if (isIdentity()) return *this = other;
  if (other.isIdentity()) return *this;
  return setAndInvalidate(other.orientation * orientation, other.orientation * origin + other.origin);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::getTransformed(const CoordinateSystem& other) const
{
  return CoordinateSystem(*this).transform(other);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::getRelativeCoordinateSystem(const CoordinateSystem& other) const
{
  return getTransformed(other.getInverse());
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::getRelativeTransformationFromAtoB(const CoordinateSystem& a,
                                                                                     const CoordinateSystem& b)
{
  return a.getInverse().getTransformed(b);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::translateBy(const VectorType& v)
{
  return setAndInvalidate(origin + v);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::getTranslatedBy(const VectorType& v) const
{
  return CoordinateSystem(*this).translateBy(v);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::translateAlongLocalX(T d)
{
  return translateBy(getLocalX() * d);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::translateAlongLocalY(T d)
{
  return translateBy(getLocalY() * d);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::getTranslatedAlongLocalX(T d) const
{
  return getTranslatedBy(getLocalX() * d);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::getTranslatedAlongLocalY(T d) const
{
  return getTranslatedBy(getLocalY() * d);
}

template <class T, unsigned dim>
SquareMatrix<T, dim + 1> CoordinateSystem<T, dim>::getTransformation() const
{
  SquareMatrix<T, dim + 1> m(T(1));
  for (unsigned i = 0; i < dim; ++i) {
    for (unsigned j = 0; j < dim; ++j)
      m(i, j) = orientation(i, j);
    m(i, dim) = origin[i];
  }
  return m;
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setTransformation(const SquareMatrix<T, dim + 1>& m)
{
  OrthMatrix<T, dim> axes;
  PointType position;
  for (unsigned i = 0; i < dim; ++i) {
    for (unsigned j = 0; j < dim; ++j)
      axes(i, j) = m(i, j);
    position[i] = m(i, dim);
  }
  return setAndInvalidate(axes, position);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setUpMirror(const VectorType& n, T d)
{
  VectorType rows[dim]; // the matrix is symmetric: its rows serve as columns
  for (unsigned i = 0; i < dim; ++i)
    for (unsigned j = 0; j < dim; ++j)
      rows[i][j] = (i == j ? T(1) : T(0)) - T(2) * n[i] * n[j];
  const VectorType foot = n * d;
  return setAndInvalidate(OrthMatrix<T, dim>(rows), n * (T(2) * foot.dot(n)));
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setUpMirror(const Plane<T, dim>& plane)
{
  return setUpMirror(plane.getNormal(), plane.getDistance());
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setUpRotation(const PointType& c, const OrthMatrix<T, dim>& r)
{
  return setAndInvalidate(r, r * (-c) + c);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setUpRotation(const PointType& c, const Matrix<T, dim, dim>& r)
{
  return setUpRotation(c, OrthMatrix<T, dim>(r));
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setUpRotation(const PointType& c, const SquareMatrix<T, dim>& r)
{
  return setUpRotation(c, OrthMatrix<T, dim>(r));
}

template <class T, unsigned dim>
CoordinateSystem<T, dim> CoordinateSystem<T, dim>::createMirrorTransformation(const Plane<T, dim>& plane)
{
  return CoordinateSystem().setUpMirror(plane);
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>
CoordinateSystem<T, dim>::createMirrorTransformation([[maybe_unused]] const StraightLine<T, 3>& line)
{
  if constexpr (dim != 3) {
    throw MathException("CoordinateSystem<T, dim>::createMirrorTransformation: dim == 3 expected");
  } else {
    VectorType direction = line.getDirection();
    if (!direction.normalize(T(normalizeEps))) return CoordinateSystem();
    const PointType start = line.getStart();
    const auto [ok, rotation] = MatrixFunctions::makeRotationMatrix(T(halfTurn), direction);
    OrthMatrixCheck::ensure<T, dim>(ok, "OrthMatrix::setRotationMatrix: Couldn't normalize axis");
    return CoordinateSystem()
        .translateBy(-start)
        .transform(CoordinateSystem(OrthMatrix<T, dim>(rotation), PointType()))
        .transform(CoordinateSystem().translateBy(start));
  }
}

template <class T, unsigned dim>
void CoordinateSystem<T, dim>::dumpAsPyDict(std::ostream& out) const
{
  const ClassicLocaleGuard guard(out);
  out << "{'origin':";
  VectorFunction::dumpAsPyArray<T, dim>(origin, out);
  out << ", 'orientation':";
  orientation.dumpAsPyArray(out);
  out << "}";
}

template <class T, unsigned dim>
std::string CoordinateSystem<T, dim>::toStringPyDict(int precision) const
{
  std::ostringstream out;
  out.precision(precision);
  dumpAsPyDict(out);
  return out.str();
}

template <class T, unsigned dim>
void CoordinateSystem<T, dim>::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveObject(archiver, orientation);
  Persistence::saveObject(archiver, origin);
}

template <class T, unsigned dim>
void CoordinateSystem<T, dim>::load(PersistenceArchiver& archiver, unsigned int version)
{
  Persistence::loadObject(archiver, orientation);
  Persistence::loadObject(archiver, origin);
  if (version < versionWithoutMemo) {
    bool dropped = false; // the memo was once stored
    archiver >> dropped;
  }
  identityKnown = false;
}

template <class T, unsigned dim>
void CoordinateSystem<T, dim>::rememberIdentity() const
{
  identityKnown = true;
  isIdentityFlag = isEqualTo(getIdentity());
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setAndInvalidate(const OrthMatrix<T, dim>& axes)
{
  orientation = axes;
  identityKnown = false;
  return *this;
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setAndInvalidate(const PointType& position)
{
  origin = position;
  identityKnown = false;
  return *this;
}

template <class T, unsigned dim>
CoordinateSystem<T, dim>& CoordinateSystem<T, dim>::setAndInvalidate(const OrthMatrix<T, dim>& axes,
                                                                     const PointType& position)
{
  setAndInvalidate(axes);
  return setAndInvalidate(position);
}

template <class T, unsigned dim>
bool CoordinateSystem<T, dim>::isEqualOrientation(const OrthMatrix<T, dim>& a, const OrthMatrix<T, dim>& b, T cosEps)
{
  for (unsigned i = 0; i < dim; ++i)
    if (!(a.column(i).dot(b.column(i)) >= cosEps)) return false;
  return true;
}

template <class T, unsigned dim>
bool CoordinateSystem<T, dim>::isEqualOrigin(const PointType& a, const PointType& b, T dist)
{
  return dist * dist >= a.sqrDistance(b);
}

template <class T>
CoordinateSystem<T, 2> createCoordinateSystemFrom(const Point<T, 2>& origin, Vector<T, 2> dir)
{
  Vector<T, 2> axes[2] = {{T(1), T(0)}, {T(0), T(1)}};
  if (dir.normalize(T(normalizeEps))) {
    axes[0] = dir;
    axes[1] = dir.getOrthoNormal();
    if (axes[0].cross(axes[1]) < T(0)) axes[1].negate();
  }
  return {OrthMatrix<T, 2>(axes), origin};
}

template <class T>
CoordinateSystem<T, 3> createCoordinateSystemFrom(const Point<T, 3>& origin, Vector<T, 3> a, Vector<T, 3> b)
{
  const bool hasA = a.normalize(T(normalizeEps));
  const bool hasB = b.normalize(T(normalizeEps));
  if (hasA && !hasB)
    b = a.getOrthoNormal();
  else if (!hasA && hasB)
    a = b.getOrthoNormal();
  else if (!hasA) {
    a = Vector<T, 3>(T(1), T(0), T(0));
    b = Vector<T, 3>(T(0), T(0), T(1));
  }
  Vector<T, 3> c = a.cross(b);
  if (!c.normalize(T(normalizeEps))) c = a.getOrthoNormal();
  const Vector<T, 3> axes[3] = {a, c.cross(a), c};
  return {OrthMatrix<T, 3>(axes), origin};
}

CoordinateSystem<double, 3> calcCoordinateSystemFromPoints(const Point<double, 3>& p0, const Point<double, 3>& p1,
                                                           const Point<double, 3>& p2)
{
  Vector<double, 3> axes[3] = {p1 - p0, p2 - p0, {}};
  axes[2] = axes[0].cross(axes[1]);
  if (axes[2] == Vector<double, 3>::getZeroVector())
    throw MathException("calcCoordinateSystemFromPoints: the given 3 Points are laying on a line and do not define a "
                        "plane!");
  OrthMatrix<double, 3>::orthoNormalize(axes);
  return {OrthMatrix<double, 3>(axes), p0};
}

#define KV_INSTANTIATE(...) template class CoordinateSystem<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(T)                                                                                              \
  template KVSHAPES_EXPORT CoordinateSystem<T, 2> createCoordinateSystemFrom(const Point<T, 2>&, Vector<T, 2>);        \
  template KVSHAPES_EXPORT CoordinateSystem<T, 3> createCoordinateSystemFrom(const Point<T, 3>&, Vector<T, 3>,         \
                                                                             Vector<T, 3>);
KV_INSTANTIATE(float)
KV_INSTANTIATE(double)
#undef KV_INSTANTIATE

} // namespace Kavrel
