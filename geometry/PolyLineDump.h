#pragma once

#include "geometry/PolyLine.h"

#include <iosfwd>
#include <string>

namespace Kavrel {

/// What the text form of a polyline does with normals.
enum class PolyNormalDumpMode : int
{
  PointsOnly = 0,
  NormalStrokes = 1,  ///< the line runs out along each normal, ten normals long, and comes back
  NormalsSection = 2, ///< a section of normals behind the points, and one of tangents for `Point3NT`
};

/// Text of polylines in the keyword form that the text import reads: a keyword, then one numbered row a point.
class KVSHAPES_EXPORT PolyLineDump
{
public:
  /// Writes \p polyline under "Poly3D". A closed line repeats its first row at the end. The points have 15 digits with
  /// \p fullPrecision and the precision of \p out otherwise; \p scientific writes them, but not strokes, in scientific
  /// notation. Types without normals get their points in every mode. The format of \p out stays as it was.
  template <PolyLinePoint P>
  static void toStream(const PolyLine<P>& polyline, std::ostream& out, PolyNormalDumpMode mode, bool fullPrecision,
                       bool scientific);

  /// Writes \p polyline to the file \p name + ".kv", or \p name + "_" + \p number + ".kv" when \p number isn't
  /// negative; \p append keeps what the file holds. A file that can't be opened is not reported.
  template <PolyLinePoint P>
  static void toFile(const PolyLine<P>& polyline, const std::string& name, int number, bool append,
                     PolyNormalDumpMode mode);

  /// Writes \p polyline with a stroke at each point for its logical position: 1 up, 2 left, 3 down, 4 right, and the
  /// diagonal for all others.
  static void withLogicalPositionsInNormals(const PolyLine<ProjectionPoint>& polyline, std::ostream& out);
};

} // namespace Kavrel
