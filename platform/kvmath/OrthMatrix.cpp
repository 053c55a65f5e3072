#include "platform/kvmath/OrthMatrix.h"

#include "platform/kvmath/ClassicLocaleGuard.h"
#include "platform/kvmath/MathException.h"

#include <ostream>

namespace Kavrel {

template <class T, unsigned dim>
void OrthMatrix<T, dim>::dumpAsPyArray(std::ostream& out) const
{
  const ClassicLocaleGuard guard(out);
  for (unsigned i = 0; i < dim; ++i) {
    out << (i == 0 ? "[[" : ", [") << (*this)(i, 0);
    for (unsigned j = 1; j < dim; ++j)
      out << ", " << (*this)(i, j);
    out << ']';
  }
  out << ']';
}

template <class T, unsigned dim>
void OrthMatrix<T, dim>::ensure(bool ok, const char* message)
{
  if (!ok) throw MathException(message);
}

#define KV_ORTH_MATRIX(T, dim)                                                                                         \
  template KVSHAPES_EXPORT void OrthMatrix<T, dim>::dumpAsPyArray(std::ostream&) const;                                \
  template KVSHAPES_EXPORT void OrthMatrix<T, dim>::ensure(bool, const char*);
KV_ORTH_MATRIX(float, 2)
KV_ORTH_MATRIX(float, 3)
KV_ORTH_MATRIX(double, 2)
KV_ORTH_MATRIX(double, 3)
#undef KV_ORTH_MATRIX

} // namespace Kavrel
