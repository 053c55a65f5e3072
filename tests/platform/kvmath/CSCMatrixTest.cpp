#include "platform/kvmath/CSCMatrix.h"
#include "platform/kvmath/MathException.h"
#include "support/RandomGeometry.h"

#include <map>
#include <utility>

namespace Kavrel {
namespace {

using Tuple = CSCMatrix<double>::RowColumnValueTuple;

TEST(CSCMatrixTest, AddsUpEntriesInAnyOrder)
{
  Testing::RandomGeometry random(41);
  std::vector<Tuple> entries;
  std::map<std::pair<int, int>, double> dense;
  for (int i = 0; i < 200; ++i) {
    const int row = static_cast<int>(random.index(12)), column = static_cast<int>(random.index(9));
    const double value = static_cast<double>(random.index(1000)); // integers add exactly
    entries.push_back({row, column, value});
    dense[{row, column}] += value;
  }
  CSCMatrix<double> matrix;
  matrix.createFromIndexValuePairs(12, 9, entries);
  for (int row = 0; row < 12; ++row)
    for (int column = 0; column < 9; ++column)
      EXPECT_EQ(matrix.getValue(row, column), (dense[{row, column}]));
}

// The solver's arrays are read back as a lower triangle, and mirrored.
TEST(CSCMatrixTest, SolverFormatHoldsTheLowerTriangle)
{
  const double full[4][4] = {{4, 1, 0, 2}, {1, 5, 0, 0}, {0, 0, 0, 3}, {2, 0, 3, 7}};
  std::vector<Tuple> entries;
  for (int row = 3; row >= 0; --row)
    for (int column = 0; column < 4; ++column)
      if (full[row][column] != 0) entries.push_back({row, column, full[row][column]});
  CSCMatrix<double> matrix;
  matrix.createFromIndexValuePairs(4, 4, entries);
  int n = 0;
  std::vector<int> indices = {-1};
  std::vector<double> values = {-1};
  matrix.convertToLegacySolverFormat(n, indices, values);
  EXPECT_EQ(n, 4);
  EXPECT_EQ(indices, (std::vector<int>{0, 3, 4, 5, 6, 0, 1, 3, 1, 3, 3}));
  EXPECT_EQ(values, (std::vector<double>{4, 1, 2, 5, 3, 7}));
}

TEST(CSCMatrixTest, BadInputRaisesAndLeavesTheMatrix)
{
  CSCMatrix<double> matrix;
  matrix.createFromIndexValuePairs(2, 3, {{1, 2, 5.0}});
  for (const Tuple& bad : {Tuple{2, 0, 1.0}, Tuple{-1, 0, 1.0}, Tuple{0, 3, 1.0}, Tuple{0, -1, 1.0}})
    EXPECT_THROW(matrix.createFromIndexValuePairs(2, 3, {bad}), MathException);
  EXPECT_EQ(matrix.getValue(1, 2), 5.0);
  int n = 0;
  std::vector<int> indices;
  std::vector<double> values;
  EXPECT_THROW(matrix.convertToLegacySolverFormat(n, indices, values), MathException);
}

} // namespace
} // namespace Kavrel
