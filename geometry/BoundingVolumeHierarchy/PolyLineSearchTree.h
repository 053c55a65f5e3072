#pragma once

#include "geometry/BoundingVolumeHierarchy/TopDownPartitioner.h"
#include "geometry/Plane.h"
#include "geometry/Segment.h"
#include "platform/Export.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Kavrel {

template <class PointType>
class PolyLine;

namespace BoundingVolumeHierarchy {

template <class Query, class Element>
struct IntersectionQueryResult;

/// Search tree over the segments of one or several polylines. The id of a segment is its index in the polyline; the ids
/// of a further polyline go on where those of the one before end.
///
/// The tree borrows the points of the polylines: unless it was told to keep them, these must live as long as the tree,
/// and none of their points may move in memory. A polyline of one point is searched as a copy with one segment of
/// length zero.
///
/// A tree is immutable; its copies share one hierarchy, and any number of threads may query. No query raises, except
/// `intersectAbsTolerance`. Among segments at equal distance the one that the traversal meets first wins.
template <class PointType>
class KVSHAPES_EXPORT PolyLineSearchTree
{
  static constexpr int N = static_cast<int>(PointType::Dim);

public:
  static constexpr unsigned dimension = static_cast<unsigned>(N);
  static constexpr unsigned defaultMaxLeafSize = 5;

  using Line = PolyLine<PointType>;
  using QueryPoint = Vector<double, dimension>;
  using Hierarchy = ElementTree<Segment<PointType>, dimension>;

  /// A crossing of a segment of this tree with one of another.
  struct SegmentIntersection
  {
    double parameterThis = 0;
    std::size_t indexThis = 0;
    double parameterOther = 0;
    std::size_t indexOther = 0;
    /// On the segment of this tree.
    PointType point;
  };

  /// A tree without segments.
  PolyLineSearchTree();

  /// Copies share the hierarchy. A move is a copy, so that every tree has one.
  PolyLineSearchTree(const PolyLineSearchTree&) = default;
  PolyLineSearchTree& operator=(const PolyLineSearchTree&) = default;

  /// Borrows \p polyline. \p maxLeafSize, at least 1, is the number of segments up to which a range is searched one by
  /// one.
  explicit PolyLineSearchTree(const Line& polyline, unsigned maxLeafSize = defaultMaxLeafSize);

  /// Copies the segments and borrows their points.
  explicit PolyLineSearchTree(const std::vector<Segment<PointType>>& segments,
                              unsigned maxLeafSize = defaultMaxLeafSize);

  /// Keeps \p polyline alive if \p keep. A null pointer gives a tree without segments.
  PolyLineSearchTree(const std::shared_ptr<const Line>& polyline, bool keep, unsigned maxLeafSize = defaultMaxLeafSize);

  /// Keeps the polylines alive if \p keep; only then can an id be mapped to its polyline. Null pointers are skipped.
  PolyLineSearchTree(const std::vector<std::shared_ptr<const Line>>& lines, bool keep,
                     unsigned maxLeafSize = defaultMaxLeafSize);
  PolyLineSearchTree(const std::vector<std::shared_ptr<Line>>& lines, bool keep,
                     unsigned maxLeafSize = defaultMaxLeafSize);

  const Hierarchy& getBvh() const { return *bvh; }

  /// True without segments.
  bool empty() const;

  /// The polylines that the tree keeps alive, copies of one-point polylines among them.
  const std::vector<std::shared_ptr<const Line>>& getPolyLines() const { return polyLines; }

  /// Number of segments of each polyline as it was handed in: 0 for a null pointer or an open polyline of one point.
  const std::vector<std::size_t>& getOriginalSizes() const { return originalSizes; }

  /// Position of the polyline to which the segment id \p index belongs; \p index becomes the segment's index within it.
  /// If the tree doesn't know: `size_t(-1)`, and \p index stays.
  std::size_t correctElementIndexForMultiplePolyLinesAndGetMeshIdx(std::size_t& index) const;

  /// The polyline itself, or null if the tree doesn't know.
  std::shared_ptr<const Line> correctElementIndexForMultiplePolyLines(std::size_t& index) const;

  /// Squared distance to the nearest segment; the largest finite double for an empty tree.
  double squareDistance(const QueryPoint& point) const;

  /// The same in \p out. True if a segment was found.
  bool squareDistance(const QueryPoint& point, double& out) const;

  /// Squared distance to the nearest segment within \p maxDistance (a plain distance, inclusive). If there is none:
  /// false, and the largest finite double.
  bool squareDistance(const QueryPoint& point, double maxDistance, double& out) const;

  /// Squared distance to the nearest segment of \p other within \p maxSquareDistance (squared, inclusive). If there is
  /// none the largest finite double; if a tree is empty the double above \p maxSquareDistance.
  double squareDistance(const PolyLineSearchTree& other, double maxSquareDistance) const;

  /// The same with the nearest points, default points if there are none.
  double squareDistance(const PolyLineSearchTree& other, PointType& onThis, PointType& onOther,
                        double maxSquareDistance) const;

  /// Squared distance to the plane, 0 if a segment crosses it; the largest finite double for an empty tree. Points in
  /// two dimensions have z = 0.
  double squareDistanceToPlane(const Plane<double, 3>& plane) const;

  /// Squared distance from \p query to the box around the whole tree, thus a lower bound of that to its segments; the
  /// largest finite double for an empty tree. For `AxisAlignedBox<float, dimension>` and `Plane<double, 3>`.
  template <class V>
  double squareDistanceToRootVolume(const V& query) const;

  /// The nearest point with its interpolated attributes; a default point for an empty tree.
  PointType projectPoint(const QueryPoint& point) const;

  /// Parameter of the nearest point on its segment, from 0 to 1, and the segment's id; zeros for an empty tree.
  std::pair<double, std::size_t> calcLocalParameter(const QueryPoint& point) const;

  /// The nearest point's value among \p parameters, which has one value per point of the polyline, interpolated along
  /// its segment. 0 for an empty tree and for a segment that ends beyond the list.
  double calcParameter(const QueryPoint& point, const std::vector<double>& parameters) const;

  /// The same; \p distance receives the distance (not squared) unless the tree is empty.
  double calcParameter(const QueryPoint& point, double& distance, const std::vector<double>& parameters) const;

  /// All crossings of segments with the plane, in traversal order and not along the polyline; a vertex may count twice.
  /// A segment has a crossing if one end is below the plane and the other on or above it. Always empty in two
  /// dimensions.
  std::vector<PointType> intersect(const Plane<double, 3>& plane) const;

  /// The crossing with the plane that is nearest to \p point; without one \p out stays.
  bool nearestIntersection(const Plane<double, 3>& plane, const QueryPoint& point, PointType& out) const;

  /// Appends all crossings with the segments of \p other to \p list. True if there are any.
  bool intersect(const PolyLineSearchTree& other, std::vector<SegmentIntersection>& list) const
      requires(PointType::Dim == 2);

  /// Appends the crossings in the xy plane with the segments of \p other to \p list, whatever their heights. Segments
  /// are prolonged by \p tolerance times their length at both ends; a negative one means 1e-6. With \p firstOnly the
  /// search ends at some first crossing. True if one was found.
  bool intersectXY(const PolyLineSearchTree& other, std::vector<SegmentIntersection>& list, bool firstOnly,
                   double tolerance) const;

  /// Appends to \p points the crossings with segments of \p other that are more than \p tolerance (a length; a negative
  /// one means 1e-6) away from the segments' ends. With \p firstOnly the search ends at some first crossing. True if
  /// one was found. Only `Point<double, 2>` knows this test; other point types raise the text "Not implemented" as soon
  /// as two leaves overlap.
  bool intersectAbsTolerance(const PolyLineSearchTree& other, std::vector<PointType>& points, bool firstOnly,
                             double tolerance) const;

  /// Largest distance (not squared) from a vertex of \p polyline to this tree. The largest finite double for a polyline
  /// without points, its root for an empty tree.
  double oneSidedHausdorffDistance(const Line& polyline) const;

protected:
  void initFromVector(const std::vector<std::shared_ptr<const Line>>& list, bool keep, unsigned maxLeafSize);
  void calcSizes();

private:
  SegmentIntersection
  intersectionFrom(const PolyLineSearchTree& other,
                   const IntersectionQueryResult<Segment<PointType>, Segment<PointType>>& hit) const;

  std::vector<std::shared_ptr<const Line>> polyLines;
  std::vector<std::size_t> originalSizes;
  std::vector<std::size_t> cumulatedSizes;
  std::shared_ptr<const Hierarchy> bvh;
};

#define KV_EXTERN(...) extern template class PolyLineSearchTree<__VA_ARGS__>;
KV_FOR_EACH_POLYLINE_POINT(KV_EXTERN)
#undef KV_EXTERN

} // namespace BoundingVolumeHierarchy
} // namespace Kavrel
