#include "platform/kvmath/CSCMatrix.h"

#include "platform/kvmath/MathException.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Kavrel {

template <class T>
CSCMatrix<T>::~CSCMatrix() = default;

template <class T>
void CSCMatrix<T>::createFromIndexValuePairs(int rows, int columns, std::vector<RowColumnValueTuple> entries)
{
  if (rows < 0 || columns < 0) throw MathException("CSCMatrix::createFromIndexValuePairs: negative size");
  for (const auto& entry : entries)
    if (entry.row < 0 || entry.row >= rows || entry.column < 0 || entry.column >= columns)
      throw MathException("CSCMatrix::createFromIndexValuePairs: entry outside the matrix");
  std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
    return std::pair(a.column, a.row) < std::pair(b.column, b.row);
  });

  CSCMatrix result;
  result.rowCount = rows;
  result.columnStarts.assign(static_cast<std::size_t>(columns) + 1, 0);
  const RowColumnValueTuple* previous = nullptr;
  for (const auto& entry : entries) {
    if (previous != nullptr && previous->row == entry.row && previous->column == entry.column) {
      result.storedValues.back() += entry.value;
    } else {
      result.rowIndices.push_back(entry.row);
      result.storedValues.push_back(entry.value);
      ++result.columnStarts[static_cast<std::size_t>(entry.column) + 1];
    }
    previous = &entry;
  }
  for (std::size_t j = 1; j < result.columnStarts.size(); ++j)
    result.columnStarts[j] += result.columnStarts[j - 1];
  *this = std::move(result);
}

template <class T>
void CSCMatrix<T>::convertToLegacySolverFormat(int& n, std::vector<int>& indices, std::vector<T>& values) const
{
  if (getRows() != getColumns()) throw MathException("CSCMatrix::convertToLegacySolverFormat: the matrix isn't square");
  n = getColumns();
  values.clear();
  indices.assign(1, 0);
  std::vector<int> rows;
  for (int column = 0; column < n; ++column) {
    const auto begin = rowIndices.begin() + columnStarts[static_cast<std::size_t>(column)];
    const auto end = rowIndices.begin() + columnStarts[static_cast<std::size_t>(column) + 1];
    const auto lower = std::lower_bound(begin, end, column);
    rows.insert(rows.end(), lower, end);
    values.insert(values.end(), storedValues.begin() + (lower - rowIndices.begin()),
                  storedValues.begin() + (end - rowIndices.begin()));
    indices.push_back(static_cast<int>(rows.size()));
  }
  indices.insert(indices.end(), rows.begin(), rows.end());
}

template <class T>
T CSCMatrix<T>::getValue(int row, int column) const
{
  const auto begin = rowIndices.begin() + columnStarts[static_cast<std::size_t>(column)];
  const auto end = rowIndices.begin() + columnStarts[static_cast<std::size_t>(column) + 1];
  const auto place = std::lower_bound(begin, end, row);
  return place != end && *place == row ? storedValues[static_cast<std::size_t>(place - rowIndices.begin())] : T(0);
}

template class CSCMatrix<double>;

} // namespace Kavrel
