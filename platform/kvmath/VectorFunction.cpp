#include "platform/kvmath/VectorFunction.h"

#include "platform/kvmath/ClassicLocaleGuard.h"

#include <cmath>
#include <ostream>

namespace Kavrel {

namespace {

constexpr double straightAngle = 3.141592653589793;
constexpr double oppositeEps = 1e-12; // radians: nearer to the straight angle the plane of the turn is noise
constexpr double smallAngle = 1e-8;   // radians: below, chord and arc agree to the last place

} // namespace

template <class T, unsigned dim>
Vector<T, dim> VectorFunction::unitVectorLinearMorphing(double t, const Vector<T, dim>& a, const Vector<T, dim>& b)
{
  const double angle = static_cast<double>(a.angle(b));
  Vector<T, dim> result;
  if (straightAngle - angle <= oppositeEps) return result;
  if (t == 0.0 && a.isNormalized()) return a;
  if (t == 1.0 && b.isNormalized()) return b;
  if (angle < smallAngle)
    result = a.linearInterpolation(static_cast<T>(t), b);
  else {
    const double sine = std::sin(angle);
    result = a * static_cast<T>(std::sin((1.0 - t) * angle) / sine) + b * static_cast<T>(std::sin(t * angle) / sine);
  }
  if (!result.normalize()) return Vector<T, dim>();
  return result;
}

template <class T, unsigned dim>
void VectorFunction::dumpAsPyArray(const Vector<T, dim>& v, std::ostream& out)
{
  const ClassicLocaleGuard guard(out);
  out << '[' << v[0];
  for (unsigned i = 1; i < dim; ++i)
    out << ", " << v[i];
  out << ']';
}

#define KV_VECTOR_FUNCTION(T, dim)                                                                                     \
  template KVSHAPES_EXPORT Vector<T, dim> VectorFunction::unitVectorLinearMorphing(double, const Vector<T, dim>&,      \
                                                                                   const Vector<T, dim>&);             \
  template KVSHAPES_EXPORT void VectorFunction::dumpAsPyArray(const Vector<T, dim>&, std::ostream&);
KV_VECTOR_FUNCTION(float, 2)
KV_VECTOR_FUNCTION(float, 3)
KV_VECTOR_FUNCTION(double, 2)
KV_VECTOR_FUNCTION(double, 3)
#undef KV_VECTOR_FUNCTION

} // namespace Kavrel
