#include "platform/kvmath/MatrixFunctions.h"

#include <cmath>

namespace Kavrel {

namespace {

template <class T>
Matrix<T, 3, 3> unitMatrix()
{
  return Matrix<T, 3, 3>().setDiagonalValue(T(1));
}

// Rodrigues' formula for a unit axis.
template <class T>
Matrix<T, 3, 3> rotation(T cosine, T sine, const Vector<T, 3>& k)
{
  const T rest = T(1) - cosine;
  Matrix<T, 3, 3> m;
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j)
      m(i, j) = rest * k[i] * k[j] + (i == j ? cosine : T(0));
  m(0, 1) -= sine * k[2];
  m(0, 2) += sine * k[1];
  m(1, 0) += sine * k[2];
  m(1, 2) -= sine * k[0];
  m(2, 0) -= sine * k[1];
  m(2, 1) += sine * k[0];
  return m;
}

} // namespace

template <class T>
Matrix<T, 2, 2> MatrixFunctions::makeRotationMatrix(T angle)
{
  Matrix<T, 2, 2> m;
  m[0] = std::cos(angle);
  m[1] = -std::sin(angle);
  m[2] = -m[1];
  m[3] = m[0];
  return m;
}

template <class T>
std::pair<bool, Matrix<T, 3, 3>> MatrixFunctions::makeRotationMatrix(T angle, Vector<T, 3> axis)
{
  if (!axis.normalize()) return {false, unitMatrix<T>()};
  return {true, rotation(std::cos(angle), std::sin(angle), axis)};
}

template <class T>
std::pair<bool, Matrix<T, 3, 3>> MatrixFunctions::makeRotateSourceToTarget(Vector<T, 3> a, Vector<T, 3> b)
{
  if (!a.normalize() || !b.normalize()) return {false, unitMatrix<T>()};
  Vector<T, 3> axis = a.cross(b);
  const T sine = axis.length();
  const T cosine = a.dot(b);
  // Next to parallel the cross product is mostly rounding: its part along a would turn a away from b.
  if (!axis.normalize(T(0))) axis = a.getOrthoNormal();
  axis -= a * a.dot(axis);
  if (!axis.normalize(T(0.1))) axis = a.getOrthoNormal();
  return {true, rotation(cosine, sine, axis)};
}

template <class T, unsigned n>
  requires(n == 3)
Matrix<T, n, n> MatrixFunctions::inverseOf(const Matrix<T, n, n>& m)
{
  Matrix<T, n, n> inverse;
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j) {
      const unsigned r1 = (j + 1) % 3, r2 = (j + 2) % 3, c1 = (i + 1) % 3, c2 = (i + 2) % 3;
      inverse(i, j) = m(r1, c1) * m(r2, c2) - m(r1, c2) * m(r2, c1);
    }
  const T determinant = m(0, 0) * inverse(0, 0) + m(0, 1) * inverse(1, 0) + m(0, 2) * inverse(2, 0);
  for (unsigned i = 0; i < 9; ++i)
    inverse[i] /= determinant;
  return inverse;
}

#define KV_MATRIX_FUNCTIONS(T)                                                                                         \
  template KVSHAPES_EXPORT Matrix<T, 2, 2> MatrixFunctions::makeRotationMatrix(T);                                     \
  template KVSHAPES_EXPORT std::pair<bool, Matrix<T, 3, 3>> MatrixFunctions::makeRotationMatrix(T, Vector<T, 3>);      \
  template KVSHAPES_EXPORT std::pair<bool, Matrix<T, 3, 3>> MatrixFunctions::makeRotateSourceToTarget(Vector<T, 3>,    \
                                                                                                      Vector<T, 3>);   \
  template KVSHAPES_EXPORT Matrix<T, 3, 3> MatrixFunctions::inverseOf<T, 3>(const Matrix<T, 3, 3>&);
KV_MATRIX_FUNCTIONS(float)
KV_MATRIX_FUNCTIONS(double)
#undef KV_MATRIX_FUNCTIONS

} // namespace Kavrel
