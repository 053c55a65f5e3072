#pragma once

#include "platform/kvmath/Matrix.h"

#include <iosfwd>

namespace Kavrel {

class PersistenceArchiver;

/// A rotation or reflection: column i is the image of axis i. Identity by default; nothing checks orthogonality.
template <class T, unsigned dim>
class KVSHAPES_EXPORT OrthMatrix : public SquareMatrix<T, dim>
{
public:
  constexpr OrthMatrix() : SquareMatrix<T, dim>(T(1)) {}
  constexpr explicit OrthMatrix(const Matrix<T, dim, dim>& m) : SquareMatrix<T, dim>(m) {}
  /// The `dim` vectors of the array become the columns.
  constexpr explicit OrthMatrix(const Vector<T, dim>* columns) { this->set(columns); }

  constexpr OrthMatrix& transpose()
  {
    SquareMatrix<T, dim>::transpose();
    return *this;
  }

  /// The inverse of an orthogonal matrix: its transpose.
  constexpr OrthMatrix getInverse() const { return OrthMatrix(*this).transpose(); }

  /// this := this·b
  constexpr OrthMatrix& operator*=(const OrthMatrix& b) { return *this = *this * b; }

  friend constexpr OrthMatrix operator*(const OrthMatrix& a, const OrthMatrix& b)
  {
    return OrthMatrix(static_cast<const Matrix<T, dim, dim>&>(a) * static_cast<const Matrix<T, dim, dim>&>(b));
  }
  friend constexpr Vector<T, dim> operator*(const OrthMatrix& m, const Vector<T, dim>& v)
  {
    return static_cast<const Matrix<T, dim, dim>&>(m) * v;
  }

  /// +1 for a rotation, -1 for a reflection, up to rounding.
  constexpr T determinant() const
  {
    const auto& m = *this;
    if constexpr (dim == 2)
      return m[0] * m[3] - m[1] * m[2];
    else
      return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
             m[2] * (m[3] * m[7] - m[4] * m[6]);
  }

  /// Makes the `dim` vectors of the array orthonormal in place, in array order: the first one keeps its direction.
  /// A vector that depends on those before it becomes zero or, by rounding, any direction across them.
  static void orthoNormalize(Vector<T, dim>* vectors)
  {
    for (unsigned i = 0; i < dim; ++i)
      for (int pass = 0; pass < 2; ++pass) { // the second pass removes what cancellation left in the first
        for (unsigned j = 0; j < i; ++j)
          vectors[i] -= vectors[j] * vectors[i].dot(vectors[j]);
        vectors[i].normalize(T(0));
      }
  }

  /// The nested list of the rows, "[[a, b], [c, d]]".
  void dumpAsPyArray(std::ostream& out) const;

  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);
  static void serialization_register(void* record);

private:
  friend struct OrthMatrixCheck;
  /// Raises MathException with \p message unless \p ok.
  static void ensure(bool ok, const char* message);

  static bool s_force_serialization_registration;
};

/// The door to OrthMatrix::ensure for the code that turns a failed rotation into a raise.
struct KVSHAPES_EXPORT OrthMatrixCheck
{
  template <class T, unsigned dim>
  static void ensure(bool ok, const char* message)
  {
    OrthMatrix<T, dim>::ensure(ok, message);
  }
};

} // namespace Kavrel
