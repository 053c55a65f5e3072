#include "platform/kvcadcore/nurbs/KnotInsertion.h"

namespace Kavrel::Nurbs {

namespace {

/// to = (1 - s) a + s b, where s tells how far u is on the way from low to high. `to` may be `a` or `b`.
void mix(double low, double u, double high, const double* a, const double* b, double* to, unsigned stride)
{
  const double s = (u - low) / (high - low);
  for (unsigned c = 0; c < stride; ++c)
    to[c] = (1.0 - s) * a[c] + s * b[c];
}

/// The two ends of de Boor's triangle over the control points of a span: its right side shapes the part behind u, its
/// left side the part before. Each overwrites the points of the span.
void keepBehind(const double* knots, unsigned degree, std::size_t span, double u, double* points, unsigned stride)
{
  const double* const lower = knots + (span - degree);
  const double* const upper = knots + span + 1;
  for (unsigned level = 1; level <= degree; ++level)
    for (unsigned i = 0; i + level <= degree; ++i) {
      double* const point = points + i * stride;
      mix(lower[i + level], u, upper[i], point, point + stride, point, stride);
    }
}

void keepBefore(const double* knots, unsigned degree, std::size_t span, double u, double* points, unsigned stride)
{
  const double* const lower = knots + (span - degree);
  const double* const upper = knots + span + 1;
  for (unsigned level = 1; level <= degree; ++level)
    for (unsigned i = degree; i >= level; --i) {
      double* const point = points + i * stride;
      mix(lower[i], u, upper[i - level], point - stride, point, point, stride);
    }
}

/// The non-empty span whose upper part ends at u: as findSpan, but at an inner knot the span on its left.
std::size_t findSpanBefore(std::span<const double> knots, unsigned degree, double u)
{
  const std::size_t span = findSpan(knots, degree, u);
  if (knots[span] < u) return span;
  const auto first = knots.begin() + degree;
  const auto equal = std::lower_bound(first, knots.begin() + std::ptrdiff_t(span), u);
  return equal == first ? span : std::size_t(equal - knots.begin()) - 1;
}

} // namespace

ControlRange restrictTo(std::span<double> knots, unsigned degree, std::span<double> points, unsigned stride, double low,
                        double high)
{
  const std::size_t front = findSpan(knots, degree, low);
  const std::size_t back = findSpanBefore(knots, degree, high);
  keepBehind(knots.data(), degree, front, low, points.data() + (front - degree) * stride, stride);
  std::fill_n(knots.begin() + std::ptrdiff_t(front - degree), degree + 1, low);
  keepBefore(knots.data(), degree, back, high, points.data() + (back - degree) * stride, stride);
  std::fill_n(knots.begin() + std::ptrdiff_t(back + 1), degree + 1, high);
  return {front - degree, back - front + degree + 1};
}

ControlRange clampEnds(std::span<double> knots, unsigned degree, std::span<double> points, unsigned stride)
{
  return restrictTo(knots, degree, points, stride, knots[degree], knots[controlPointCount(knots, degree)]);
}

void bezierPoints(std::span<const double> knots, unsigned degree, std::size_t span, std::span<const double> points,
                  unsigned stride, std::span<double> result)
{
  double localKnots[2 * (maxDegree + 1)];
  const auto local = std::span(localKnots).first(2 * (degree + 1));
  std::ranges::copy(knots.subspan(span - degree, local.size()), local.begin());
  std::ranges::copy(points.subspan((span - degree) * stride, (degree + 1) * stride), result.begin());
  restrictTo(local, degree, result, stride, knots[span], knots[span + 1]);
}

void insertKnots(std::span<const double> knots, unsigned degree, std::span<const double> points, unsigned stride,
                 std::span<const double> inserted, std::span<double> resultKnots, std::span<double> resultPoints)
{
  // From the back: what an insertion leaves alone moves once, by as many places as knots are still to come.
  std::size_t knotsLeft = knots.size(), pointsLeft = controlPointCount(knots, degree);
  for (std::size_t shift = inserted.size(); shift > 0; --shift) {
    const double u = inserted[shift - 1];
    for (; knots[knotsLeft - 1] >= u; --knotsLeft)
      resultKnots[knotsLeft - 1 + shift] = knots[knotsLeft - 1];
    const std::size_t span = knotsLeft - 1;
    for (; pointsLeft > span - degree; --pointsLeft)
      std::ranges::copy(points.subspan((pointsLeft - 1) * stride, stride),
                        resultPoints.begin() + std::ptrdiff_t((pointsLeft - 1 + shift) * stride));
    for (std::size_t i = span - degree + 1; i <= span; ++i) {
      double* const previous = resultPoints.data() + (i - 1 + shift) * stride;
      mix(knots[i], u, resultKnots[i + degree + shift], previous, previous + stride, previous, stride);
    }
    pointsLeft = span - degree + 1;
    resultKnots[span + shift] = u;
  }
  std::ranges::copy(knots.first(knotsLeft), resultKnots.begin());
  std::ranges::copy(points.first(pointsLeft * stride), resultPoints.begin());
}

} // namespace Kavrel::Nurbs
