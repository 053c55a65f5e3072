#pragma once

#include "platform/kvcadcore/nurbs/KnotSpan.h"

namespace Kavrel::Nurbs {

/// From the basis functions of degree (level - 1), or derivatives of them, to those of degree `level` differentiated
/// once more: `level` values become one more, in place. `reciprocal` holds 1 / knot distance of each of the old ones.
inline void differentiateBasis(double* row, const double* reciprocal, unsigned level)
{
  row[level] = level * (row[level - 1] * reciprocal[level - 1]);
  for (unsigned r = level - 1; r > 0; --r)
    row[r] = level * (row[r - 1] * reciprocal[r - 1] - row[r] * reciprocal[r]);
  row[0] = -(level * (row[0] * reciprocal[0]));
}

/// The degree + 1 B-spline basis functions that live on a span, and their derivatives up to `order`: rows[d][j] is
/// derivative d at `u` of the function of control point span - degree + j. Derivatives above the degree are 0. `u` may
/// lie outside the span, whose polynomials then go on. `span` must not be empty.
///
/// Cox and de Boor's recursion meets the functions of every degree on its way; row d starts with those of degree
/// (degree - d) and is differentiated d times. A fixedDegree above 0 stands for `degree` and lets the loops unroll; the
/// numbers are the same. Work space: order + 1 rows on the stack.
template <unsigned order, unsigned fixedDegree, std::size_t rowLength>
inline void basisFunctions(const double* knots, std::size_t span, unsigned runtimeDegree, double u,
                           double (&rows)[order + 1][rowLength])
{
  static_assert(rowLength > fixedDegree);
  const unsigned degree = fixedDegree > 0 ? fixedDegree : runtimeDegree;
  const double* const upper = knots + span + 1;
  double inverse[order + 1][rowLength]; // [d]: reciprocal knot distances of degree (degree - d)

  // Plain loops throughout: unrolled they stay in registers, which fills and copies of arrays would not.
  for (unsigned d = 0; d <= order; ++d)
    for (unsigned j = 0; j <= degree; ++j)
      rows[d][j] = 0.0;
  rows[0][0] = 1.0;
  if (degree <= order) rows[degree][0] = 1.0;
  for (unsigned level = 1; level <= degree; ++level) {
    const double* const lower = upper - level;
    double carried = 0.0;
    for (unsigned r = 0; r < level; ++r) {
      const double share = (u - lower[r]) / (upper[r] - lower[r]); // exactly 1 at the upper end
      const double whole = rows[0][r];
      rows[0][r] = carried + (1.0 - share) * whole;
      carried = share * whole;
    }
    rows[0][level] = carried;
    if (level < degree && degree - level <= order)
      for (unsigned r = 0; r <= level; ++r)
        rows[degree - level][r] = rows[0][r];
    if (degree - level < order)
      for (unsigned r = 0; r < level; ++r)
        inverse[degree - level][r] = 1.0 / (upper[r] - lower[r]);
  }
  for (unsigned d = 1; d <= order && d <= degree; ++d)
    for (unsigned level = degree - d + 1; level <= degree; ++level)
      differentiateBasis(rows[d], inverse[degree - level], level);
}

} // namespace Kavrel::Nurbs
