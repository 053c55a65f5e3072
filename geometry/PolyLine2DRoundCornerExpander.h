#pragma once

#include "geometry/PolyLine.h"

namespace Kavrel {

/// Offsets a polyline in the XY plane, with arcs around the corners that the offset moves away from.
///
/// Corners that the offset moves into are cut at the miter point, and segments that these cuts swallow are dropped. It
/// is a rule for each corner and its neighbours: where pieces that are further apart along the line meet, the result
/// crosses itself. Directions and areas ignore z; each new point has the z of the point that it stems from.
class KVSHAPES_EXPORT PolyLine2DRoundCornerExpander
{
public:
  /// Borrows the polyline: it must outlive this object.
  explicit PolyLine2DRoundCornerExpander(const PolyLine<Point3N>& line);
  ~PolyLine2DRoundCornerExpander();

  /// Makes \p result the contour at \p offset, as closed as the input, with tolerance 0.1 and no normals. A positive
  /// offset expands a closed line and moves an open one to the right of its direction of travel; a negative one does
  /// the opposite. Arcs are divided by the tolerance of the input. A point may stand twice in a row.
  ///
  /// An offset below 1e-5 in size copies the input. False, with \p result as it was, when the input has fewer than two
  /// points after those closer than 1e-6 in XY to their next one have been dropped. Raises ShapecoreException where an
  /// offset vanishes beside the coordinates, or isn't finite.
  ///
  /// A closed line that once ran clockwise leaves this object with that sense of rotation.
  bool expandPolyLine(PolyLine<Point3N>& result, double offset);

private:
  const PolyLine<Point3N>& polyLine;
  double orientation = 1.0;
};

} // namespace Kavrel
