#pragma once

#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"
#include "geometry/PolyLine.h"

#include <cstddef>
#include <list>
#include <memory>
#include <optional>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Kavrel {

namespace BoundingVolumeHierarchy {
class SegmentRuns;
}

/// The point types over which PolyLineIntersectionAlgorithms exists.
#define KV_FOR_EACH_INTERSECTION_POINT(M) M(Point<double, 2>) M(Point<double, 3>) M(Point3N) M(Point3NT)

/// Where polylines cross planes, lines, segments, circles, each other and themselves. "XY" means seen along z: heights
/// play no part, and the point found lies on the first polyline. Nothing is raised from geometric input.
///
/// Parameters run from 0 to 1 along a segment. Segments that enclose less than 1e-6 (the cross product of their
/// directions, an area) count as parallel and don't cross, so lines with segments shorter than about 1e-3 need scaling.
/// Lists are extended, never cleared.
///
/// An object keeps a tree of boxes for each polyline that it has seen, so that a caller who asks often pays for it
/// once. A polyline is known again by its address and its identifier. One that was changed in place needs
/// resetPolyLine() or `refresh`; else crossings off its former boxes are missed. The static operations may run side by
/// side; the others change the object.
template <class P>
class KVSHAPES_EXPORT PolyLineIntersectionAlgorithms
{
public:
  static_assert(OneOf<P, Point<double, 2>, Point<double, 3>, Point3N, Point3NT>,
                "polylines are intersected over four point types");

  using Scalar = typename P::Scalar;
  using Position = Point<Scalar, P::Dim>;
  using Line = PolyLine<P>;
  using SearchTree = BoundingVolumeHierarchy::PolyLineSearchTree<P>;

  static constexpr bool isPlanar = std::is_same_v<P, Point<double, 2>>;

  /// Up to this number of points all pairs of segments are tested faster than trees are built: 60.
  static std::size_t getCriticalNumberOfPolyLinePoints() { return s_criticalNumberOfPoints; }

  // Kept trees --------------------------------------------------------------------------------------------------------

  /// Drops all trees.
  void clear() { searchTrees.clear(); }
  std::size_t numberOfSearchTrees() const { return searchTrees.size(); }
  /// Builds the tree of \p polyline anew. False for fewer than two points, which have none.
  bool resetPolyLine(const Line& polyline);

  // Two polylines -----------------------------------------------------------------------------------------------------
  // Segments are prolonged at both ends by `tolerance` times their length. A negative tolerance, a polyline of fewer
  // than two points and an empty tree give false; else the result is true, whether there are crossings or not.
  // Crossings come in the order of the segments of `a`, then of `b`; one in a vertex may be met by both its segments.
  // `refresh` builds the trees anew. The forms with trees leave out crossings with polylines of a single point.

  /// Appends the crossings of two polylines.
  bool calculateAllIntersectionPointsXY(const Line& a, const Line& b, std::vector<P>& points, bool refresh,
                                        double tolerance);
  static bool calculateAllIntersectionPointsXY(const SearchTree& a, const SearchTree& b, std::vector<P>& points,
                                               double tolerance);

  /// The same without a point that equals the one before it within 1e-12 in each coordinate, or, for the last one, the
  /// first of \p points.
  bool calculateAllIntersectionPointsFiltered(const Line& a, const Line& b, std::vector<P>& points, bool refresh,
                                              double tolerance) requires(isPlanar);
  static bool calculateAllIntersectionPointsFiltered(const SearchTree& a, const SearchTree& b, std::vector<P>& points,
                                                     double tolerance) requires(isPlanar);

  /// Appends the crossings, and for each the indices of its two segments. Trees over several polylines give false.
  bool calculateAllIntersectionPoints(const Line& a, std::vector<unsigned>& segmentsA, const Line& b,
                                      std::vector<unsigned>& segmentsB, std::vector<P>& points, bool refresh,
                                      double tolerance) requires(isPlanar);
  static bool calculateAllIntersectionPoints(const SearchTree& a, std::vector<unsigned>& segmentsA, const SearchTree& b,
                                             std::vector<unsigned>& segmentsB, std::vector<P>& points,
                                             double tolerance) requires(isPlanar);
  /// False with a null pointer.
  bool calculateAllIntersectionPoints(const std::shared_ptr<const Line>& a,
                                      const std::shared_ptr<std::vector<unsigned>>& segmentsA,
                                      const std::shared_ptr<const Line>& b,
                                      const std::shared_ptr<std::vector<unsigned>>& segmentsB,
                                      const std::shared_ptr<std::vector<P>>& points, bool refresh,
                                      double tolerance) requires(isPlanar);

  /// Whether two polylines cross. The same object, even an empty one, crosses itself.
  bool intersectXY(const Line& a, const Line& b, bool refresh, double tolerance);
  static bool intersectXY(const SearchTree& a, const SearchTree& b, double tolerance);

  /// What all of these call. With \p firstOnly some one crossing; \p segmentsA and \p segmentsB are both given or both
  /// ignored; \p checkInvalid leaves out crossings with a polyline of a single point, where a tree knows of it.
  static bool calculateIntersectionsXYGeneralCase(const SearchTree& a, const SearchTree& b, std::vector<P>& points,
                                                  bool filtered, double tolerance, bool firstOnly,
                                                  std::vector<unsigned>* segmentsA, std::vector<unsigned>* segmentsB,
                                                  bool checkInvalid);

  /// Appends the crossings and the overlaps of collinear segments, by comparing each segment of \p a with each of \p b;
  /// segments are prolonged by 1e-6 of their length. The overlaps borrow the points of the two lines. True unless both
  /// lists are empty; false for a polyline of fewer than two points.
  static bool calculateAllIntersectionPointsAndSegmentsXY(const Line& a, const Line& b, std::vector<P>& points,
                                                          std::vector<Segment<P>>& overlaps);

  /// Whether two polylines cross as seen along \p direction, a unit vector. A crossing within \p tolerance (model
  /// units) of an end of a segment doesn't count.
  template <class Q>
    requires(OneOf<P, Point<double, 3>, Point3N>&& OneOf<Q, Point<double, 3>, Point3N>)
  static bool intersectInProjection(const PolyLine<P>& a, const PolyLine<Q>& b, const Vector<double, 3>& direction,
                                    const double& tolerance);

  // Polyline and plane, line, segment, circle -------------------------------------------------------------------------

  /// Appends the positions where the polyline, closing segment included, passes through the plane. A crossing at most
  /// 1e-12 away from the last or the first position in \p out is left out. True unless \p out is empty.
  static bool calculateIntersection(const Line& polyline, const Plane<Scalar, P::Dim>& plane,
                                    std::vector<Position>& out);
  /// The same, with segment and parameter of each position in \p where.
  static bool calculateIntersection(const Line& polyline, const Plane<Scalar, P::Dim>& plane,
                                    std::vector<Position>& out, std::vector<std::pair<std::size_t, double>>& where);
  /// The crossing with the plane that is nearest to \p point, among equals the first. Without one \p out stays.
  static bool findPointOfNearestIntersection(const Plane<double, 3>& plane, const Point<double, 3>& point,
                                             const Line& polyline,
                                             Point<double, 3>& out) requires(std::is_same_v<P, Point<double, 3>>);

  /// One crossing with an infinite line, on the segment that comes first when they are taken from both ends of the
  /// polyline inwards: 0, 1, the last, 2, the last but one, ... Without one \p out stays.
  static bool calculateIntersectionXY(const Line& polyline, const StraightLine<Scalar, P::Dim>& line, P& out);
  /// Appends the crossings with a segment. True unless \p out is empty; false for an empty polyline.
  static bool calculateIntersectionXY(const Line& polyline, const Segment<P>& segment, std::vector<P>& out);
  /// One crossing with an infinite line as seen along y, searched for in the same order, without the closing segment.
  /// If there is none the first segment is prolonged backwards, then the last one forwards.
  static bool calculateIntersectionXZ(const Line& polyline, const StraightLine<Scalar, P::Dim>& line, P& out);

  /// Appends the points where the segment meets the circle and returns their number, 0 to 2; a tangent gives the same
  /// point twice.
  static int circleIntersectionsWithSegment(const Segment<Point<double, 2>>& segment, const Point<double, 2>& centre,
                                            double radius, std::vector<Point<double, 2>>& out) requires(isPlanar);
  /// The same for each segment of a polyline. True unless \p out is empty; false for fewer than two points.
  static bool circleIntersectionsWithPolyLine(const Point<double, 2>& centre, double radius, const Line& polyline,
                                              std::vector<Point<double, 2>>& out) requires(isPlanar);

  // A polyline and itself ---------------------------------------------------------------------------------------------
  // Seen along z. Segments that share a vertex don't count, nor do collinear ones. Two segments meet where their boxes
  // do and both parameters lie within 1e-6 of [0, 1]. Segments are ordered by their smaller x, then by their index; of
  // a pair that crosses, the one that begins later stands for it. Fewer than four points never cross.

  /// Whether the polyline crosses itself. Unless \p list is null, appends each segment that crosses one that begins
  /// before it, in order; the result is then whether the list holds anything.
  static bool isSelfIntersecting(const Line& polyline, const std::shared_ptr<std::list<std::size_t>>& list);
  /// The list that isSelfIntersecting() makes.
  static std::shared_ptr<std::list<std::size_t>> getIntersections(const Line& polyline) requires(isPlanar);
  /// All crossings, ordered by the segment that begins later, then by the other one. The points lie on the former.
  static std::shared_ptr<std::vector<P>> getSelfIntersections(const Line& polyline);

private:
  static constexpr std::size_t s_criticalNumberOfPoints = 60;

  /// Address and identifier: a polyline that moved has no tree.
  using Key = std::pair<const Line*, std::size_t>;
  struct KeyHash
  {
    std::size_t operator()(const Key& key) const;
  };

  using Entry = typename SearchTree::SegmentIntersection;

  /// Light enough to be made for a single question, as a SearchTree isn't. Copies of the object share them.
  using KeptTree = std::shared_ptr<const BoundingVolumeHierarchy::SegmentRuns>;

  static Key createSearchTreeKey(const Line& polyline);
  /// Null for fewer than two points. The segments of the tree are prolonged by \p tolerance or more.
  KeptTree createOrFindSearchTree(const Line& polyline, bool refresh, double tolerance);

  bool crossPolyLines(const Line& a, const Line& b, std::vector<P>& points, bool filtered, bool refresh,
                      double tolerance, bool firstOnly, std::vector<unsigned>* segmentsA,
                      std::vector<unsigned>* segmentsB);
  static void appendInOrder(std::vector<Entry>& list, std::vector<P>& points, bool filtered,
                            std::vector<unsigned>* segmentsA, std::vector<unsigned>* segmentsB);

  static std::optional<bool> lessOneSegmentPolyline(const SearchTree& tree, std::size_t index);
  static std::optional<bool> invalidPolylinesIntersection(const SearchTree& a, const SearchTree& b, const Entry& entry);

  std::unordered_map<Key, KeptTree, KeyHash> searchTrees;
};

#define KV_EXTERN(...) extern template class PolyLineIntersectionAlgorithms<__VA_ARGS__>;
KV_FOR_EACH_INTERSECTION_POINT(KV_EXTERN)
#undef KV_EXTERN

} // namespace Kavrel
