#pragma once

#include "platform/Export.h"

#include <vector>

namespace Kavrel {

/// A sparse matrix by compressed columns: within a column the rows ascend. Exists for double; empty by default.
template <class T>
class KVSHAPES_EXPORT CSCMatrix
{
public:
  /// One entry on the way into a matrix.
  struct RowColumnValueTuple
  {
    int row;
    int column;
    T value;
  };

  CSCMatrix() = default;
  virtual ~CSCMatrix();
  CSCMatrix(const CSCMatrix&) = default;
  CSCMatrix(CSCMatrix&&) noexcept = default;
  CSCMatrix& operator=(const CSCMatrix&) = default;
  CSCMatrix& operator=(CSCMatrix&&) noexcept = default;

  /// Replaces the content by a matrix of \p rows × \p columns. Entries may come in any order; those with the same place
  /// are added up in the order given. Raises MathException, with the content as it was, for a negative size or a place
  /// outside the matrix.
  void createFromIndexValuePairs(int rows, int columns, std::vector<RowColumnValueTuple> entries);

  /// Hands out a symmetric matrix for the direct solver: \p n its side; \p indices the n + 1 starts of the columns in
  /// \p values, counted from 0, followed by the row of each value; \p values the lower triangle with the diagonal. What
  /// stands above the diagonal is left out. Raises MathException for a matrix that isn't square.
  void convertToLegacySolverFormat(int& n, std::vector<int>& indices, std::vector<T>& values) const;

  int getRows() const { return rowCount; }
  int getColumns() const { return static_cast<int>(columnStarts.size()) - 1; }
  /// The value at a place inside the matrix; 0 where none is stored.
  T getValue(int row, int column) const;

private:
  int rowCount = 0;
  std::vector<int> columnStarts = {0};
  std::vector<int> rowIndices;
  std::vector<T> storedValues;
};

extern template class CSCMatrix<double>;

} // namespace Kavrel
