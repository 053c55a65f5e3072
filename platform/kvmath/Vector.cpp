#include "platform/kvmath/Vector.h"

#include "platform/kvmath/ClassicLocaleGuard.h"

#include <istream>
#include <ostream>

namespace Kavrel {

template <class T, unsigned dim>
std::ostream& operator<<(std::ostream& out, const Vector<T, dim>& v)
{
  const ClassicLocaleGuard guard(out);
  out << v[0];
  for (unsigned i = 1; i < dim; ++i)
    out << ' ' << v[i];
  return out;
}

template <class T, unsigned dim>
std::istream& operator>>(std::istream& in, Vector<T, dim>& v)
{
  const ClassicLocaleGuard guard(in);
  for (unsigned i = 0; i < dim; ++i)
    in >> v[i];
  return in;
}

#define KV_STREAM_OPERATORS(T, dim)                                                                                    \
  template KVSHAPES_EXPORT std::ostream& operator<<(std::ostream&, const Vector<T, dim>&);                             \
  template KVSHAPES_EXPORT std::istream& operator>>(std::istream&, Vector<T, dim>&);
KV_STREAM_OPERATORS(float, 2)
KV_STREAM_OPERATORS(float, 3)
KV_STREAM_OPERATORS(double, 1)
KV_STREAM_OPERATORS(double, 2)
KV_STREAM_OPERATORS(double, 3)
#undef KV_STREAM_OPERATORS

} // namespace Kavrel
