#pragma once

#include "platform/kvmath/Vector.h"

/// Vectors and points of any scalar in double precision, which changes no value.
namespace Kavrel {

template <class T, unsigned dim>
Vector<double, dim> toDouble(const Vector<T, dim>& v)
{
  Vector<double, dim> wide;
  for (unsigned i = 0; i < dim; ++i)
    wide[i] = static_cast<double>(v[i]);
  return wide;
}

/// Three coordinates, z = 0 in two dimensions.
template <class T, unsigned dim>
Vector<double, 3> spatial(const Vector<T, dim>& v)
{
  Vector<double, 3> wide;
  for (unsigned i = 0; i < dim; ++i)
    wide[i] = static_cast<double>(v[i]);
  return wide;
}

} // namespace Kavrel
