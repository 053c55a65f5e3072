#pragma once

#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <cstddef>
#include <vector>

namespace Kavrel {

/// The C2 cubic through a list of points with the chord length as its parameter, in the form of a clamped B-spline over
/// [0, 1]. Linear in the number of points.
///
/// A tangent or normal counts when it is longer than 0.5; at most one of the two is set at each end. A closed spline
/// asks for neither. An end of an open spline without any has its end control point doubled: the curve starts there
/// without speed and passes the nearest inner points only approximately. Otherwise all points are passed.
template <unsigned dim>
class KVSHAPES_EXPORT ChordLengthSpline
{
public:
  using Direction = Vector<double, dim>;

  struct Ends
  {
    Direction startTangent, endTangent, startNormal, endNormal;
  };

  /// Needs a point. One point gives a curve that stays there.
  ChordLengthSpline(std::vector<Direction> interpolated, bool isClosed, const Ends& ends);

  std::vector<Direction> controlPoints() const;
  /// Ascending from four zeros to four ones. Points without distances give zeros between.
  std::vector<double> knots() const;

private:
  void solveOpen(const Ends& ends);
  void calcCurvature();
  void calcCurvatureClosed();
  Direction chordSlope(std::size_t i) const;
  Direction startSlope() const;
  Direction endSlope() const;
  Direction calculateControlPoint(std::size_t i) const;
  void setEndControlPoints(std::vector<Direction>& polygon) const;
  void setSeamControlPoints(std::vector<Direction>& polygon) const;

  std::vector<Direction> points;
  bool closed;
  std::vector<double> chords;         // one less than the points, as many when closed
  std::vector<Direction> curvatures;  // second derivatives by the chord length, one for each point
  Direction startTangent, endTangent; // zero where there is none
};

extern template class ChordLengthSpline<2>;
extern template class ChordLengthSpline<3>;

} // namespace Kavrel
