#include "geometry/ChordLengthSpline.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace Kavrel {

namespace {

constexpr double longestAbsent = 0.5;        // strictly above: a tangent or normal counts
constexpr double shortestNormalised = 1e-12; // of a tangent across a normal
constexpr double shortestSeam = 1e-12;       // chord sums at or below don't divide

template <unsigned dim>
bool counts(const Vector<double, dim>& v)
{
  return v.length() > longestAbsent;
}

/// The quotient, or with a pivot that isn't positive the numerator.
template <class Value>
Value dividedByPivot(const Value& numerator, double pivot)
{
  return pivot > 0.0 ? numerator / pivot : numerator;
}

/// The cyclic tridiagonal system of n rows as L times its transpose: L has a diagonal, one number left of it in each
/// row, and a last row that is full.
class CyclicFactor
{
public:
  /// The neighbours i and i + 1 are coupled by chords[i], the last and the first by the last chord.
  explicit CyclicFactor(const std::vector<double>& chords)
      : count(chords.size()), diagonal(count), below(count - 1), lastRow(count - 2)
  {
    double sqrLastRow = 0.0;
    diagonal[0] = std::sqrt(2.0 * (chords[count - 1] + chords[0]));
    for (std::size_t k = 0; k + 2 < count; ++k) {
      below[k] = quotient(chords[k], diagonal[k]);
      lastRow[k] = dividedByPivot(k == 0 ? chords[count - 1] : -lastRow[k - 1] * below[k - 1], diagonal[k]);
      diagonal[k + 1] = std::sqrt(2.0 * (chords[k] + chords[k + 1]) - below[k] * below[k]);
      sqrLastRow += lastRow[k] * lastRow[k];
    }
    const std::size_t k = count - 2;
    below[k] = quotient(chords[k] - below[k - 1] * lastRow[k - 1], diagonal[k]);
    diagonal[k + 1] = std::sqrt(2.0 * (chords[k] + chords[k + 1]) - below[k] * below[k] - sqrLastRow);
  }

  /// Replaces the right-hand side by the solution.
  template <class Value>
  void solve(std::vector<Value>& values) const
  {
    const std::size_t last = count - 1;
    values[0] = dividedByPivot(values[0], diagonal[0]);
    for (std::size_t k = 1; k < last; ++k)
      values[k] = dividedByPivot(Value(values[k] - values[k - 1] * below[k - 1]), diagonal[k]);
    values[last] -= values[last - 1] * below[last - 1];
    for (std::size_t k = 0; k + 1 < last; ++k)
      values[last] -= values[k] * lastRow[k];
    values[last] = dividedByPivot(values[last], diagonal[last]);

    values[last] = dividedByPivot(values[last], diagonal[last]);
    for (std::size_t k = last; k-- > 0;) {
      Value rest = values[k] - values[k + 1] * below[k];
      if (k + 1 < last) rest -= values[last] * lastRow[k];
      values[k] = dividedByPivot(rest, diagonal[k]);
    }
  }

private:
  static double quotient(double numerator, double pivot) { return pivot > 0.0 ? numerator / pivot : 0.0; }

  std::size_t count;
  std::vector<double> diagonal;
  std::vector<double> below;
  std::vector<double> lastRow;
};

} // namespace

template <unsigned dim>
ChordLengthSpline<dim>::ChordLengthSpline(std::vector<Direction> interpolated, bool isClosed, const Ends& ends)
    : points(std::move(interpolated)), closed(isClosed), chords(closed ? points.size() : points.size() - 1),
      curvatures(points.size())
{
  for (std::size_t i = 0; i < chords.size(); ++i)
    chords[i] = (points[i + 1 < points.size() ? i + 1 : 0] - points[i]).length();
  if (!closed)
    solveOpen(ends);
  else if (points.size() >= 3)
    calcCurvatureClosed();
}

template <unsigned dim>
void ChordLengthSpline<dim>::solveOpen(const Ends& ends)
{
  if (counts(ends.startTangent)) startTangent = ends.startTangent;
  if (counts(ends.endTangent)) endTangent = ends.endTangent;
  if (points.size() < 2) return;
  calcCurvature();

  // A normal takes its tangent from the spline that leaves this end free.
  const bool startHasNormal = counts(ends.startNormal);
  const bool endHasNormal = counts(ends.endNormal);
  if (startHasNormal) startTangent = ends.startNormal.gramSchmidt(startSlope());
  if (endHasNormal) endTangent = ends.endNormal.gramSchmidt(endSlope());
  if (startHasNormal) startTangent.normalize(shortestNormalised);
  if (endHasNormal) endTangent.normalize(shortestNormalised);
  if (startHasNormal || endHasNormal) calcCurvature();
}

template <unsigned dim>
void ChordLengthSpline<dim>::calcCurvature()
{
  const std::size_t last = points.size() - 1;
  std::vector<double> diagonal(points.size());
  std::vector<Direction>& right = curvatures;
  const auto eliminate = [&](std::size_t i) {
    if (!(diagonal[i - 1] > 0.0)) return;
    diagonal[i] -= chords[i - 1] * chords[i - 1] / diagonal[i - 1];
    right[i] -= right[i - 1] * chords[i - 1] / diagonal[i - 1];
  };

  const bool startIsGiven = counts(startTangent);
  diagonal[0] = startIsGiven ? 2.0 * chords[0] : 0.0;
  Direction slope = chordSlope(0);
  right[0] = startIsGiven ? slope - startTangent * 6.0 : Direction();
  for (std::size_t i = 1; i < last; ++i) {
    const Direction previous = std::exchange(slope, chordSlope(i));
    diagonal[i] = 2.0 * (chords[i - 1] + chords[i]);
    right[i] = slope - previous;
    eliminate(i);
  }
  right[last] = Direction();
  if (counts(endTangent)) {
    diagonal[last] = 2.0 * chords[last - 1];
    right[last] = endTangent * 6.0 - slope;
    eliminate(last);
  }

  for (std::size_t i = last + 1; i-- > 0;) {
    if (!(diagonal[i] > 0.0))
      curvatures[i] = Direction();
    else if (i == last)
      curvatures[i] = right[i] / diagonal[i];
    else
      curvatures[i] = (right[i] - curvatures[i + 1] * chords[i]) / diagonal[i];
  }
}

template <unsigned dim>
void ChordLengthSpline<dim>::calcCurvatureClosed()
{
  const auto step = [this](std::size_t i) {
    const Direction way = points[i + 1 < points.size() ? i + 1 : 0] - points[i];
    return chords[i] > 0.0 ? way * 6.0 / chords[i] : way;
  };
  Direction previous = step(points.size() - 1);
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Direction next = step(i);
    curvatures[i] = next - previous;
    previous = next;
  }
  CyclicFactor(chords).solve(curvatures);
}

/// Six times the slope of a chord; zero without length.
template <unsigned dim>
typename ChordLengthSpline<dim>::Direction ChordLengthSpline<dim>::chordSlope(std::size_t i) const
{
  return chords[i] > 0.0 ? (points[i + 1] - points[i]) * 6.0 / chords[i] : Direction();
}

template <unsigned dim>
typename ChordLengthSpline<dim>::Direction ChordLengthSpline<dim>::startSlope() const
{
  const double chord = chords.front();
  if (!(chord > 0.0)) return Direction();
  return (points[1] - points[0]) / chord - (curvatures[0] * 2.0 + curvatures[1]) * chord / 6.0;
}

template <unsigned dim>
typename ChordLengthSpline<dim>::Direction ChordLengthSpline<dim>::endSlope() const
{
  const double chord = chords.back();
  if (!(chord > 0.0)) return Direction();
  const std::size_t last = points.size() - 1;
  return (points[last] - points[last - 1]) / chord + (curvatures[last] * 2.0 + curvatures[last - 1]) * chord / 6.0;
}

/// The control point between the point before i and point i, where each span of the parameter has its full width.
template <unsigned dim>
typename ChordLengthSpline<dim>::Direction ChordLengthSpline<dim>::calculateControlPoint(std::size_t i) const
{
  const std::size_t j = i == 0 ? points.size() - 1 : i - 1;
  const double g = chords[j];
  const double f = chords[i];
  if (!(g > 0.0)) return points[j];
  return points[j] * ((g - f) / (3.0 * g)) + points[i] * ((2.0 * g + f) / (3.0 * g)) +
         curvatures[j] * ((f * g - g * g) / 18.0) + curvatures[i] * ((-2.0 * g * g - f * g) / 18.0);
}

template <unsigned dim>
std::vector<typename ChordLengthSpline<dim>::Direction> ChordLengthSpline<dim>::controlPoints() const
{
  if (points.size() == 1) return std::vector<Direction>(4, points.front());
  const std::size_t spans = chords.size() + 1;
  std::vector<Direction> polygon(spans + 2);
  polygon.front() = points.front();
  polygon.back() = closed ? points.front() : points.back();
  for (std::size_t i = 1; i + 1 < spans; ++i)
    polygon[i + 1] = calculateControlPoint(i);
  if (closed)
    setSeamControlPoints(polygon);
  else
    setEndControlPoints(polygon);
  return polygon;
}

template <unsigned dim>
void ChordLengthSpline<dim>::setEndControlPoints(std::vector<Direction>& polygon) const
{
  const std::size_t last = polygon.size() - 1;
  polygon[1] = points.front() + startTangent * (chords.front() / 3.0);
  polygon[last - 1] = polygon[last] - endTangent * (chords.back() / 3.0);
}

template <unsigned dim>
void ChordLengthSpline<dim>::setSeamControlPoints(std::vector<Direction>& polygon) const
{
  const std::size_t last = polygon.size() - 1;
  const std::size_t m = chords.size();
  const Direction seam = calculateControlPoint(0);
  const auto blended = [&](double part, double sum, const Direction& neighbour) {
    if (!(sum > shortestSeam)) return points.front();
    const double w = part / sum;
    return neighbour * w + seam * (1.0 - w);
  };
  polygon[1] = blended(chords[m - 1], chords[1] + chords[0] + chords[m - 1], polygon[2]);
  polygon[last - 1] = blended(chords[0], chords[0] + chords[m - 2] + chords[m - 1], polygon[last - 2]);
}

template <unsigned dim>
std::vector<double> ChordLengthSpline<dim>::knots() const
{
  const std::size_t inner = points.size() == 1 ? 0 : chords.size() - 1;
  const double total = std::accumulate(chords.begin(), chords.end(), 0.0);
  std::vector<double> values(inner + 8);
  double passed = 0.0;
  for (std::size_t i = 0; i < inner; ++i) {
    passed += chords[i];
    values[i + 4] = total > 0.0 ? passed / total : 0.0;
  }
  std::fill(values.end() - 4, values.end(), 1.0);
  return values;
}

template class ChordLengthSpline<2>;
template class ChordLengthSpline<3>;

} // namespace Kavrel
