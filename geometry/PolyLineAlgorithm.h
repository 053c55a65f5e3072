#pragma once

#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/PolyLineEditInstantiations.h"
#include "geometry/PolyLineMeasureInstantiations.h"

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kavrel {

namespace BoundingVolumeHierarchy {
template <class PointType>
class PolyLineSearchTree;
}

/// Measures, questions and changes of polylines.
class KVSHAPES_EXPORT PolyLineAlgorithm
{
public:
  // Measuring

  /// Squared distance (model units²) from \p point to the nearest point of \p polyline, with the \p segment that this
  /// lies on and the parameter \p u there, from 0 to 1. A foot within 1e-12 of a segment end counts as that end, a
  /// segment with a squared length below 1e-12 as its start, and of equally near segments the first one is reported.
  /// An empty polyline gives the largest finite value and leaves \p u and \p segment. One pass, nothing allocated.
  template <PolyLinePoint P>
  static typename P::Scalar sqrDist(const PolyLine<P>& polyline, const Point<typename P::Scalar, P::Dim>& point,
                                    double& u, std::size_t& segment);

  /// The segment nearest to \p point, the first of equally near ones, and its \p distance. A segment counts when the
  /// foot of the point lies on it, to within 1e-6 in its parameter; with \p extended its ends count as well. A segment
  /// without length never counts. -1 with distance 0 when none counts.
  template <OneOf<Point<double, 2>, Point<double, 3>, Point3N, ProjectionPoint> P>
  static int getNearestSegment(const PolyLine<P>& polyline, const std::type_identity_t<P>& point, bool extended,
                               double& distance);
  /// The same without the distance, except for a Point3N: that one is projected along its normal, seen along z, if it
  /// has one longer than 1e-12, and with \p extended or where nothing is hit, the ends of the segments count, too.
  /// A Point3N closer than √1e-5 to an end of a segment counts with distance 0 in any case.
  template <OneOf<Point<double, 2>, Point<double, 3>, Point3N, ProjectionPoint> P>
  static int getNearestSegment(const PolyLine<P>& polyline, const std::type_identity_t<P>& point, bool extended);
  /// The nearest point of the line, with a normal as Segment::projectPoint() gives it. Without a segment of some length
  /// the position of \p point, without a normal.
  template <PolyLinePoint P>
  static P calculateProjectionPoint(const PolyLine<P>& polyline, const std::type_identity_t<P>& point);
  /// The point at \p t, from 0 to 1 and beyond, on an existing segment.
  template <PolyLinePoint P>
  static P getPointByParameters(const PolyLine<P>& polyline, std::size_t segment, double t);
  /// The first of the longest segments; -1 if there is none.
  template <PolyLinePoint P>
  static int getLongestSegment(const PolyLine<P>& polyline);

  /// The length from vertex \p a forward to vertex \p b, around the end of the line when \p b comes first.
  template <OneOf<Point<double, 3>, Point3N> P>
  static double getPartialPolyLineLength(const PolyLine<P>& polyline, std::size_t a, std::size_t b);
  /// The unit direction of the segment that is nearest to \p point. Within a tenth of it from a corner, the segment
  /// behind the corner counts with \p forward and the one before it without; where the segment is shorter than the
  /// usual model-space tolerance, the next one does. The zero vector for an empty line.
  template <PolyLinePoint P>
  static Vector<typename P::Scalar, P::Dim>
  calcTangentAtPoint(const PolyLine<P>& polyline, const Point<typename P::Scalar, P::Dim>& point, bool forward);
  /// The unit direction of the chord over \p segment and the one before it, for \p u below 0.5, or behind it. At the
  /// ends of an open line it is that of the end segment. The zero vector for an empty line.
  template <PolyLinePoint P>
  static Vector<typename P::Scalar, P::Dim> getSmoothedTangent(const PolyLine<P>& polyline, double u,
                                                               std::size_t segment);
  /// The largest turn at a vertex in radians; 0 at the ends of an open line.
  static double maxAngleOfTangents(const PolyLine<Point<double, 3>>& polyline);
  /// The vertices, ascending, at which the line turns by more than \p angle (radians), measured between the first
  /// vertices more than \p distance away on either side. The vertices passed over on the way forward aren't looked at.
  /// The start of a closed line is reported as the number of its points. Empty below three points.
  template <PolyLinePoint P>
  static std::vector<std::size_t> computeCuspIndices(const PolyLine<P>& polyline, double angle, double distance);
  /// Whether the vertices between two, given in either order, keep strictly closer than \p tolerance to their chord.
  /// False when one doesn't exist; true for equal and adjacent ones.
  template <PolyLinePoint P>
  static bool isStraightLine(const PolyLine<P>& polyline, double tolerance, std::size_t first, std::size_t last);

  /// The largest distance from a vertex of either line to the other line; the largest finite double if a line is empty.
  /// n log n through two trees.
  template <PolyLinePoint P>
  static double hausdorffDistance(const PolyLine<P>& a, const PolyLine<P>& b);
  /// The same with a tree over \p b at hand.
  template <PolyLinePoint P>
  static double hausdorffDistance(const PolyLine<P>& a, const PolyLine<P>& b,
                                  const BoundingVolumeHierarchy::PolyLineSearchTree<P>& treeOfB);
  /// The smallest distance from a vertex of \p a to the line \p b; where one is empty the root of the largest finite
  /// double. n log n through a tree.
  template <PolyLinePoint P>
  static double minDistToPolygon(const PolyLine<P>& a, const PolyLine<P>& b);
  /// The same by sqrDist(), with the vertex of \p a, the first of equally near ones. It stays where a line is empty.
  template <PolyLinePoint P>
  static double minDistToPolygon(const PolyLine<P>& a, const PolyLine<P>& b, std::type_identity_t<P>& nearestOfA);
  /// The same with a tree over the second line at hand.
  template <PolyLinePoint P>
  static double minDistToPolygon(const PolyLine<P>& a, const BoundingVolumeHierarchy::PolyLineSearchTree<P>& treeOfB);
  /// The smallest distance from a vertex of either line to the other line. Segments that cross don't count.
  template <PolyLinePoint P>
  static double minDistBetweenPolygons(const PolyLine<P>& a, const PolyLine<P>& b);
  /// The same by sqrDist(), with the nearest points: a vertex with its attributes on one line and a position on the
  /// other. Of equal distances those from \p a to \p b come first. The points stay where a line is empty.
  template <PolyLinePoint P>
  static double minDistBetweenPolygons(const PolyLine<P>& a, const PolyLine<P>& b, std::type_identity_t<P>& pointOnA,
                                       std::type_identity_t<P>& pointOnB);
  /// The smallest Segment::distance() of a segment of \p a to one of \p b, 0 where they cross in space; a line of one
  /// point counts as that point. The largest finite double if a line is empty.
  template <OneOf<Point<double, 3>, Point3N, Point3NT> P>
  static double minDistBetweenPolygonsThroughSegments(const PolyLine<P>& a, const PolyLine<P>& b);
  /// The largest distance, by sqrDist(), from a vertex of \p a to the line \p b; 0 for an empty \p a.
  template <PolyLinePoint P>
  static double maxDistToPolygon(const PolyLine<P>& a, const PolyLine<P>& b);
  /// The larger maxDistToPolygon() of both directions. Lines with equally many vertices that agree in pairs to within
  /// 1e-5 give the largest distance of a pair, in one pass.
  template <PolyLinePoint P>
  static double maxDistBetweenPolygons(const PolyLine<P>& a, const PolyLine<P>& b);
  /// The largest distance of a vertex of \p a from one of \p b; -1 if a line is empty.
  template <PolyLinePoint P>
  static double maxDistBetweenTwoPolygons(const PolyLine<P>& a, const PolyLine<P>& b);
  /// For each point of \p a the vector to its foot on the segment of \p b that getNearestSegment() finds without
  /// extension, or to the end of it when the foot lies outside. Where no segment is found it is the zero vector.
  template <OneOf<Point<double, 3>, Point3N> P>
  static std::shared_ptr<std::vector<Vector<double, 3>>> calculateDifference(const PolyLine<P>& a,
                                                                             const PolyLine<P>& b);
  /// The largest angle (radians) between the normal of a point of \p a and that of \p b at its nearest point; 0 for an
  /// empty \p a. The largest finite double if a point has no normal, or one too short to have a direction, or lies
  /// farther than \p maxDistance from \p b.
  template <OneOf<Point3N, Point3NT> P>
  static double maxNormalDeviationBetweenTwoPolygons(const PolyLine<P>& a, const PolyLine<P>& b, double maxDistance);
  /// The larger maxNormalDeviationBetweenTwoPolygons() of both directions.
  template <OneOf<Point3N, Point3NT> P>
  static double maxNormalDeviation(const PolyLine<P>& a, const PolyLine<P>& b, double maxDistance);

  // Lines in two dimensions have z = 0 for the following.

  /// The smallest distance of a vertex from the plane; the largest finite double for an empty line.
  template <PolyLinePoint P>
  static double minDistToPlane(const PolyLine<P>& polyline, const Plane<double, 3>& plane);
  /// The largest distance of a vertex from the plane; 0 for an empty line.
  template <PolyLinePoint P>
  static double maxDistToPlane(const PolyLine<P>& polyline, const Plane<double, 3>& plane);
  /// Whether no vertex is farther than \p tolerance from the plane.
  template <OneOf<Point<double, 3>, Point3N> P>
  static bool laysOnPlane(const PolyLine<P>& polyline, const Plane<double, 3>& plane, double tolerance);
  /// How far the line runs back against the direction, as a length; 0 below two points.
  static double calcBackdraft(const PolyLine<Point<double, 3>>& polyline, Vector<double, 3> direction);
  /// The plane through the mean of the vertices with the normal that the triangles between it and the segments have on
  /// balance, the smaller ones of two opposite turns left out. Triangles with a doubled area below 0.01 don't count;
  /// without any the normal is zero. An empty line gives the default plane.
  template <PolyLinePoint P>
  static Plane<double, 3> computeRegressionPlane(const PolyLine<P>& polyline);
  /// Whether no vertex is farther than \p tolerance from a plane, and that plane: the regression plane of three and
  /// more points, some plane through fewer. False with the default plane, for an empty line, too.
  template <PolyLinePoint P>
  static std::pair<bool, Plane<double, 3>> checkPlanarity(const PolyLine<P>& polyline, double tolerance);
  /// The centre of gravity of the line as a wire, with the unit normal of the area it spans there, if there is one. The
  /// origin without a segment of some length.
  template <PolyLinePoint P>
  static Point3N calculateCenterOfPolyLine(const PolyLine<P>& polyline);
  /// The centre of gravity of the area enclosed in x and y, with the mean of all other coordinates by the same weights.
  /// Where three times the sum of weights is below 1e-12, the weighted sum itself; a default point for an empty line.
  template <OneOf<Point<double, 2>, Point<double, 3>, Point3N> P>
  static P calculateCenterOfEnclosedXYArea(const PolyLine<P>& polyline);
  /// Whether the line runs counter-clockwise in x and y: its shoelace sum isn't negative. Unless the line is closed or
  /// \p treatAsClosed, the closing segment is missing there, and the sum depends on the origin.
  template <OneOf<Point<double, 2>, Point<double, 3>, Point3N> P>
  static bool checkXYOrientation(const PolyLine<P>& polyline, bool treatAsClosed);
  /// Four times the area in the regression plane by the length of the line seen along its normal; 0 below three points,
  /// without a regression plane, and for an open line, which has no area.
  template <OneOf<Point<double, 3>, Point3N> P>
  static double getHydraulicDiameter(const PolyLine<P>& polyline);

  /// Whether all of \p inner lies within \p outer, which counts as closed. With \p strict vertices on the border are
  /// inside, and segments may touch it to within the tolerance 0.001; without, neither is.
  template <OneOf<Point<double, 2>, Point<float, 3>, Point<double, 3>, Point3N, Point3NT> P>
  static bool isInsideOfPolyLine(const PolyLine<P>& inner, const PolyLine<P>& outer, bool strict);
  /// The same, seen along \p direction, or along z if that is shorter than the tolerance of \p outer. In space the form
  /// without a direction looks along the normal of the regression plane of \p inner.
  template <OneOf<Point<float, 3>, Point<double, 3>, Point3N, Point3NT> P>
  static bool isInsideOfPolyLine(const PolyLine<P>& inner, const PolyLine<P>& outer,
                                 const Vector<typename P::Scalar, P::Dim>& direction, bool strict);
  /// Whether the closed polygon winds around the point; \p onBoundary for a point exactly on it. False if it is open.
  static bool enclosing(const PolyLine<Point<double, 2>>& polygon, const Point<double, 2>& point, bool onBoundary);
  /// Whether \p p lies strictly closer than \p tolerance, along y, to the line y = slope·x + intercept. With the slope
  /// exactly 0 it is whether |x| is at most \p tolerance.
  static bool valueBetweenLines(double slope, double intercept, double tolerance, const Point<double, 2>& p);
  /// The same with the slope from \p a to \p b, and y of \p a as the intercept.
  static bool valueBetweenLines(const Point<double, 2>& a, const Point<double, 2>& b, double tolerance,
                                const Point<double, 2>& p);

  // Editing

  /// The piece of \p polyline between the parameters \p from and \p to, fractions of the whole length that are clamped
  /// to [0, 1]. On a closed line \p from above \p to gives the piece through the seam, all around where both lie on one
  /// segment. \p out takes over everything else from \p polyline and is closed exactly where the ends of the piece are
  /// closer than 1e-3. An end of the piece has the attributes that evaluateParameterPointAndSegment() gives it; one
  /// within 1e-12 of a vertex doesn't double it. False, with \p out as it was, for an empty line.
  template <PolyLinePoint P>
  static bool trim(const PolyLine<P>& polyline, typename P::Scalar from, typename P::Scalar to, PolyLine<P>& out);

  /// The same as a new polyline with the tolerance of \p polyline; null for an empty line.
  template <PolyLinePoint P>
  static std::shared_ptr<PolyLine<P>> trim(const PolyLine<P>& polyline, typename P::Scalar from, typename P::Scalar to);

  /// The piece between the points of \p polyline nearest to two positions, running from \p from to \p to. Of the two
  /// pieces of a closed line it is the one that holds the point nearest to \p reference; otherwise that has no part.
  /// Null for an empty line.
  template <PolyLinePoint P>
  static std::shared_ptr<PolyLine<P>> trim(const PolyLine<P>& polyline, const Point<typename P::Scalar, P::Dim>& from,
                                           const Point<typename P::Scalar, P::Dim>& to,
                                           const Point<typename P::Scalar, P::Dim>& reference);

  /// Lets a closed line begin at the vertex \p index. False, with nothing changed, for an open line, for index 0 and
  /// for one beyond the end.
  template <PolyLinePoint P>
  static bool resetFirstPointIndexTo(std::size_t index, PolyLine<P>& polyline);

  /// Drops the points whose position has a component that is NaN or not below the largest float in size. True if there
  /// were any.
  template <PolyLinePoint P>
  static bool removeUndefinedPoints(PolyLine<P>& polyline);

  /// Halves each segment longer than \p maxLength, once: repeated calls bring all below it. The middle point comes from
  /// linearInterpolation() of the points. True if there was such a segment.
  template <PolyLinePoint P>
  static bool subdivide(PolyLine<P>& polyline, typename P::Scalar maxLength);

  /// Splits each segment longer than \p distance into the least number of equal parts that aren't, by
  /// linearInterpolation() of its ends. A negative distance changes nothing. Raises std::length_error or std::bad_alloc
  /// for more points than there is room for, with a distance of 0 too, and changes nothing then.
  template <OneOf<Point<double, 3>, Point3N, Point3NT> P>
  static void resampleToMinimalDistance(PolyLine<P>& polyline, double distance);

  /// Halves the segments, and the halves again, until none is longer than twice \p distance. A distance below 1e-5
  /// stands for the length of the line over its number of points. Segments stay that are infinitely long, and those
  /// whose middle is rounded to one of their ends.
  template <OneOf<Point<double, 3>, Point3N> P>
  static void reducePointDistance(PolyLine<P>& polyline, double distance);

  /// Removes the vertices at which the line turns back on itself: those with an angle below \p angle (radians) between
  /// the ways to their neighbours, those that differ from the vertex before by at most \p tolerance in each coordinate,
  /// and those that differ from the next one by at most 1e-12. After each removal the vertices before it are looked at
  /// again. Lines of fewer than three points stay, the ends of an open line too. Linear time.
  template <PolyLinePoint P>
  static void removeSpikes(PolyLine<P>& polyline, typename P::Scalar tolerance, typename P::Scalar angle);

  /// PolyLineThinOutAlgorithm::thinout() of the greedy kind. A tolerance that isn't positive stands for that of the
  /// line. True if a point went.
  template <PolyLinePoint P>
  static bool thinout(PolyLine<P>& polyline, typename P::Scalar tolerance);

  /// Makes \p out, which may be \p polyline itself, a copy of it in which each vertex is shifted across \p axis, to the
  /// right of the way seen against the axis, by \p constant and its value in \p offsets. Corners are mitred, up to a
  /// shift of 100000. The shift scales with the length of the axis, except where the line turns right back. True if all
  /// corners turn by less than a right angle; false for fewer than two points too, which stay. Raises
  /// ShapecoreException for fewer offsets than points to be shifted.
  template <OneOf<Point<double, 3>, Point3N> P>
  static bool calcOffsetPolyLine(const PolyLine<P>& polyline, const Vector<double, 3>& axis,
                                 const std::vector<double>& offsets, double constant, PolyLine<P>& out);

  /// The same with one \p offset for all vertices.
  template <OneOf<Point<double, 3>, Point3N> P>
  static bool calcOffsetPolyLine(const PolyLine<P>& polyline, const Vector<double, 3>& axis, double offset,
                                 PolyLine<P>& out);

  /// Appends the polylines of \p list to \p out, end to start. Leading points of a polyline closer to the end of \p out
  /// than its tolerance are left out, unless the line turns there by more than 60 degrees; so are a first and a last
  /// polyline of two equal points that only repeat their neighbour's end. The result is closed unless its ends lie more
  /// than ten tolerances apart, and doesn't repeat its first point. A single polyline keeps its closed flag; an open
  /// one whose ends are closer than a tenth of the tolerance is closed, without its last point. Null and empty
  /// polylines have no part; with no other in the list nothing happens.
  template <PolyLinePoint P>
  static void mergePolyLines(const std::vector<std::shared_ptr<const PolyLine<P>>>& list, PolyLine<P>& out);

  /// What remains of \p polyline without its overlaps with \p segments: open polylines of tolerance 0.1, in order. Both
  /// tolerances are squared lengths: a segment overlaps when its start lies closer than the first to the line through a
  /// parallel piece of \p polyline, and a piece not longer than the second goes when another segment is tried on it.
  /// New ends have the attributes that \p polyline has there. An overlap within a segment leaves two pieces, of which
  /// the one at the end comes first, each a polyline of its own. A closed line stays closed if nothing is taken from
  /// it; otherwise its pieces at the seam are joined. Without \p segments, or for fewer than two points, the result is
  /// a copy.
  ///
  /// Runs on all threads of OpenMP; their number doesn't change the result. One search per segment, then linear in its
  /// candidates unless an overlap splits it: each piece is tried with all of them.
  template <PolyLinePoint P>
  static std::vector<std::shared_ptr<PolyLine<P>>> subtractSegments(const PolyLine<P>& polyline,
                                                                    const std::vector<Segment<P>>& segments,
                                                                    double sqrCollinearTol, double sqrLengthTol);

  /// subtractSegments() with all segments of \p other.
  template <PolyLinePoint P>
  static std::vector<std::shared_ptr<PolyLine<P>>>
  subtractPolylineBoundary(const PolyLine<P>& polyline, const PolyLine<P>& other, double sqrCollinearTol,
                           double sqrLengthTol);

  /// subtractSegments() with the segments of all polylines of \p list, in order; null ones have none.
  template <PolyLinePoint P>
  static std::vector<std::shared_ptr<PolyLine<P>>>
  subtractPolylineBoundaries(const PolyLine<P>& polyline, const std::vector<std::shared_ptr<const PolyLine<P>>>& list,
                             double sqrCollinearTol, double sqrLengthTol);
};

// Measuring

#define KV_INSTANTIATE(...)                                                                                            \
  extern template __VA_ARGS__::Scalar PolyLineAlgorithm::sqrDist(                                                      \
      const PolyLine<__VA_ARGS__>&, const Point<__VA_ARGS__::Scalar, __VA_ARGS__::Dim>&, double&, std::size_t&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_EXTERN(...)                                                                                                 \
  KV_POLYLINE_NEAREST(extern template, __VA_ARGS__)                                                                    \
  KV_POLYLINE_DISTANCES(extern template, __VA_ARGS__)                                                                  \
  KV_POLYLINE_FARTHEST_VERTICES(extern template, __VA_ARGS__)                                                          \
  KV_POLYLINE_TANGENTS(extern template, __VA_ARGS__)                                                                   \
  KV_POLYLINE_PLANES(extern template, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_EXTERN)
#undef KV_EXTERN
#define KV_EXTERN(...) KV_POLYLINE_NEAREST_SEGMENT(extern template, __VA_ARGS__)
KV_FOR_EACH_NEAREST_SEGMENT_POINT(KV_EXTERN)
#undef KV_EXTERN
#define KV_EXTERN(...)                                                                                                 \
  KV_POLYLINE_DIFFERENCE(extern template, __VA_ARGS__)                                                                 \
  KV_POLYLINE_PARTIAL_LENGTH(extern template, __VA_ARGS__)                                                             \
  KV_POLYLINE_SPATIAL(extern template, __VA_ARGS__)
KV_FOR_EACH_SPATIAL_MEASURE_POINT(KV_EXTERN)
#undef KV_EXTERN
#define KV_EXTERN(...) KV_POLYLINE_SEGMENT_DISTANCES(extern template, __VA_ARGS__)
KV_FOR_EACH_SEGMENT_DISTANCE_POINT(KV_EXTERN)
#undef KV_EXTERN
#define KV_EXTERN(...) KV_POLYLINE_NORMAL_DEVIATION(extern template, __VA_ARGS__)
KV_FOR_EACH_NORMAL_DEVIATION_POINT(KV_EXTERN)
#undef KV_EXTERN
#define KV_EXTERN(...) KV_POLYLINE_XY(extern template, __VA_ARGS__)
KV_FOR_EACH_XY_MEASURE_POINT(KV_EXTERN)
#undef KV_EXTERN
#define KV_EXTERN(...)                                                                                                 \
  KV_POLYLINE_INSIDE(extern template, __VA_ARGS__)                                                                     \
  KV_POLYLINE_INSIDE_ALONG(extern template, __VA_ARGS__)
KV_FOR_EACH_INSIDE_ALONG_POINT(KV_EXTERN)
#undef KV_EXTERN
KV_POLYLINE_INSIDE(extern template, Point<double, 2>)

// Editing

#define KV_INSTANTIATE(...)                                                                                            \
  KV_POLYLINE_TRIM(extern template, __VA_ARGS__)                                                                       \
  KV_POLYLINE_REFINEMENT(extern template, __VA_ARGS__)                                                                 \
  KV_POLYLINE_MERGE(extern template, __VA_ARGS__)                                                                      \
  KV_POLYLINE_SUBTRACT(extern template, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...) KV_POLYLINE_RESAMPLING(extern template, __VA_ARGS__)
KV_FOR_EACH_RESAMPLED_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...)                                                                                            \
  KV_POLYLINE_HALVING(extern template, __VA_ARGS__)                                                                    \
  KV_POLYLINE_OFFSET(extern template, __VA_ARGS__)
KV_FOR_EACH_SHIFTED_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
