#pragma once

#include "platform/kvmath/Vector.h"

#include <cstddef>

namespace Kavrel {

/// rows × columns entries in row-major order and nothing else. Zero by default.
template <class T, unsigned rows, unsigned columns>
class KVSHAPES_EXPORT Matrix
{
public:
  constexpr Matrix() = default;

  /// Entry i in row-major order.
  constexpr T& operator[](std::size_t i) { return entries[i]; }
  constexpr const T& operator[](std::size_t i) const { return entries[i]; }
  constexpr T& operator()(unsigned row, unsigned column) { return entries[row * columns + column]; }
  constexpr const T& operator()(unsigned row, unsigned column) const { return entries[row * columns + column]; }
  constexpr T* data() { return entries; }
  constexpr const T* data() const { return entries; }

  /// Fills the matrix from an array of `columns` vectors, each of which becomes a column.
  constexpr Matrix& set(const Vector<T, rows>* vectors)
  {
    for (unsigned j = 0; j < columns; ++j)
      setColumn(j, vectors[j]);
    return *this;
  }

  constexpr Matrix& setColumn(unsigned column, const Vector<T, rows>& v)
  {
    for (unsigned i = 0; i < rows; ++i)
      (*this)(i, column) = v[i];
    return *this;
  }

  constexpr Vector<T, rows> column(unsigned index) const
  {
    Vector<T, rows> v;
    for (unsigned i = 0; i < rows; ++i)
      v[i] = (*this)(i, index);
    return v;
  }

  constexpr Matrix& setDiagonalValue(T value)
  {
    for (unsigned i = 0; i < (rows < columns ? rows : columns); ++i)
      (*this)(i, i) = value;
    return *this;
  }

  constexpr Matrix<T, columns, rows> getTranspose() const
  {
    Matrix<T, columns, rows> result;
    for (unsigned i = 0; i < rows; ++i)
      for (unsigned j = 0; j < columns; ++j)
        result(j, i) = (*this)(i, j);
    return result;
  }

  /// Whether no entry differs by more than eps.
  constexpr bool isEqual(const Matrix& other, double eps) const
  {
    for (unsigned i = 0; i < rows * columns; ++i) {
      const double difference = static_cast<double>(entries[i]) - static_cast<double>(other.entries[i]);
      if (!(difference <= eps && -difference <= eps)) return false;
    }
    return true;
  }

  friend constexpr bool operator==(const Matrix& a, const Matrix& b)
  {
    for (unsigned i = 0; i < rows * columns; ++i)
      if (!(a.entries[i] == b.entries[i])) return false;
    return true;
  }

private:
  T entries[rows * columns] = {};
};

template <class T, unsigned rows, unsigned inner, unsigned columns>
constexpr Matrix<T, rows, columns> operator*(const Matrix<T, rows, inner>& a, const Matrix<T, inner, columns>& b)
{
  Matrix<T, rows, columns> product;
  for (unsigned i = 0; i < rows; ++i)
    for (unsigned j = 0; j < columns; ++j) {
      T sum = a(i, 0) * b(0, j);
      for (unsigned k = 1; k < inner; ++k)
        sum += a(i, k) * b(k, j);
      product(i, j) = sum;
    }
  return product;
}

template <class T, unsigned rows, unsigned columns>
constexpr Vector<T, rows> operator*(const Matrix<T, rows, columns>& m, const Vector<T, columns>& v)
{
  Vector<T, rows> result;
  for (unsigned i = 0; i < rows; ++i) {
    T sum = m(i, 0) * v[0];
    for (unsigned j = 1; j < columns; ++j)
      sum += m(i, j) * v[j];
    result[i] = sum;
  }
  return result;
}

/// A matrix with equal sides.
template <class T, unsigned n>
class KVSHAPES_EXPORT SquareMatrix : public Matrix<T, n, n>
{
public:
  constexpr SquareMatrix() = default;
  constexpr SquareMatrix(const Matrix<T, n, n>& m) : Matrix<T, n, n>(m) {}
  /// \p diagonal on the diagonal, 0 elsewhere.
  constexpr explicit SquareMatrix(T diagonal) { this->setDiagonalValue(diagonal); }

  /// Swaps rows and columns in place.
  constexpr SquareMatrix& transpose()
  {
    for (unsigned i = 0; i < n; ++i)
      for (unsigned j = i + 1; j < n; ++j) {
        const T entry = (*this)(i, j);
        (*this)(i, j) = (*this)(j, i);
        (*this)(j, i) = entry;
      }
    return *this;
  }
};

} // namespace Kavrel
