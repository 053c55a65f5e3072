#pragma once

#include "geometry/Plane.h"
#include "geometry/PolyLine.h"

#include <cstddef>
#include <list>
#include <memory>
#include <utility>
#include <vector>

namespace Kavrel {

/// The points of lines that are cut by position.
template <class P>
concept SplitPoint = OneOf<P, Point<double, 2>, Point<double, 3>, Point3N>;

/// The points of lines that are cut between two points in space.
template <class P>
concept SpatialSplitPoint = OneOf<P, Point<double, 3>, Point3N>;

/// The points of lines that are cut by index.
template <class P>
concept IndexSplitPoint = SpatialSplitPoint<P> || OneOf<P, ProjectionPoint>;

/// Cuts polylines apart: at a point, at vertices, at a plane, or where a quantity along the line changes its sign.
/// Nothing here raises: a missing result is a null pointer, an empty list or false. Every operation passes along the
/// line a fixed number of times. Pieces are new polylines with fresh identifiers, but for those beside a plane.
class KVSHAPES_EXPORT PolyLineSplitAlgorithm
{
public:
  /// Sorts the vertices of a polyline into two sides by a quantity that they have. A vertex is given by its point and
  /// its index, which may be one past the last on the closing segment.
  template <class P>
  class KVSHAPES_EXPORT SplitClassifier
  {
  public:
    virtual ~SplitClassifier() = default;
    /// The fraction of the way from \p a to \p b where the quantity is 0. Asked only where it changes its sign.
    virtual double operator()(const P& a, const P& b, std::size_t i, std::size_t j) const = 0;
    /// Whether the vertex is on the wanted side: the quantity is at least \p threshold.
    virtual bool operator()(const P& p, std::size_t i, double threshold) const = 0;
    /// The quantity at the vertex.
    virtual double getValue(const P& p, std::size_t i) const = 0;
    /// Whether the middle of the segment is on the wanted side.
    virtual bool testMidPoint(const P& a, const P& b, std::size_t i, std::size_t j, double threshold) const = 0;
    /// Told of each vertex that splitPolyline() adds, at the fraction \p t between the vertices \p i and \p j.
    virtual void addPoint(double t, std::size_t i, std::size_t j);

  protected:
    SplitClassifier() = default;
    SplitClassifier(const SplitClassifier&) = default;
    SplitClassifier& operator=(const SplitClassifier&) = default;
  };

  /// A quantity given as one number a vertex. Indices wrap around the list, which must not be empty.
  template <class P>
  class KVSHAPES_EXPORT VariableClassifier : public SplitClassifier<P>
  {
  public:
    /// \p factor multiplies the values in comparisons: -1 chooses the other side.
    VariableClassifier(std::vector<double> vertexValues, double factor);

    double operator()(const P& a, const P& b, std::size_t i, std::size_t j) const override;
    bool operator()(const P& p, std::size_t i, double threshold) const override;
    double getValue(const P& p, std::size_t i) const override;
    bool testMidPoint(const P& a, const P& b, std::size_t i, std::size_t j, double threshold) const override;
    void addPoint(double t, std::size_t i, std::size_t j) override;

    /// Gives the vertices that splitPolyline() added a value each, blended linearly, so that the values fit the
    /// resulting line. Call it once after the split.
    void mergeAddedPoints();

    std::vector<double> values;
    double scale;
    /// Fraction and segment of each vertex added so far.
    std::vector<std::pair<double, std::size_t>> added;
  };

  /// The signed distance from a plane. The side on the plane counts as above.
  template <class P>
  class KVSHAPES_EXPORT PlaneClassifier : public SplitClassifier<P>
  {
  public:
    using PlaneType = Plane<typename P::Scalar, P::Dim>;

    explicit PlaneClassifier(const PlaneType& divider) : plane(divider) {}

    double operator()(const P& a, const P& b, std::size_t i, std::size_t j) const override;
    bool operator()(const P& p, std::size_t i, double threshold) const override;
    double getValue(const P& p, std::size_t i) const override;
    bool testMidPoint(const P& a, const P& b, std::size_t i, std::size_t j, double threshold) const override;

  private:
    PlaneType plane;
  };
  using PlaneSideClassifier = PlaneClassifier<Point3N>;
  using Plane2dClassifier = PlaneClassifier<Point<double, 2>>;

  /// Cuts the line at its point nearest to \p p; that point carries blended attributes. A vertex closer than \p eps is
  /// taken as the cut itself, and no point is doubled. \p first runs from the start to the cut, \p second from there to
  /// the end (to the first vertex of a closed line). A closed line with \p joinClosed becomes one open piece that
  /// starts and ends at the cut, and \p second null. An empty line leaves both. Pieces have tolerance 0.1.
  template <SplitPoint P>
  static void split(const PolyLine<P>& polyline, const Point<double, P::Dim>& p, std::shared_ptr<PolyLine<P>>& first,
                    std::shared_ptr<PolyLine<P>>& second, bool joinClosed, double eps);

  /// Cuts the line at a vertex; the points of \p first and \p second are replaced and both are open. The second piece
  /// of a closed line ends at its first vertex. Both stay as they are where there is nothing to cut: at the first and
  /// the last vertex.
  template <SpatialSplitPoint P>
  static void splitAtIndex(const PolyLine<P>& polyline, std::size_t index, PolyLine<P>& first, PolyLine<P>& second);

  /// Cuts the line at vertices given in ascending order; repeated ones count once. m cuts give m + 1 pieces of an open
  /// line, empty ones behind the end, and m of a closed line, where the piece over the first vertex comes first. No cut
  /// gives a copy.
  template <IndexSplitPoint P>
  static void splitAtIndices(const PolyLine<P>& polyline, const std::vector<std::size_t>& indices,
                             std::vector<PolyLine<P>>& result);

  /// Cuts the line wherever it changes to the other side of the plane. A vertex within the tolerance of the line is on
  /// the plane: the line is cut at the last such vertex before the change, and at a new point, without attributes,
  /// where there is none. A line that doesn't change sides gives no piece. Pieces are copies of the line in all but
  /// their points: domain, tolerance, closed flag and identifier are those of the line, and so is its hash if it had
  /// been computed. With \p joinClosed the last and the first piece of a closed line become one, which is open, if they
  /// lie on one side.
  template <SplitPoint P>
  static void splitAtPlane(const PolyLine<P>& polyline, const Plane<double, P::Dim>& plane,
                           std::list<std::shared_ptr<PolyLine<P>>>& result, bool joinClosed);

  /// The piece that starts at the point of the line nearest to \p p1 and ends at the one nearest to \p p2, in the
  /// direction of the line and over its first vertex where it is closed. False, with \p result as it was, for an open
  /// line that passes \p p2 first, and for a piece whose ends miss the two points by the tolerance of the line.
  template <SpatialSplitPoint P>
  static bool splitOrdered(const PolyLine<P>& polyline, const Point<double, 3>& p1, const Point<double, 3>& p2,
                           PolyLine<P>& result);
  /// The same into a new polyline; \p result stays where there is no such piece.
  template <SpatialSplitPoint P>
  static void splitOrdered(const PolyLine<P>& polyline, const Point<double, 3>& p1, const Point<double, 3>& p2,
                           std::shared_ptr<PolyLine<P>>& result);

  /// The shorter or the longer way between the points of the line nearest to \p p1 and \p p2, in the direction of the
  /// line. An open line has one way. Points at the same place cut the line in two, and the shorter or the longer piece
  /// is the answer. \p result stays for a line shorter than 1e-12.
  template <SpatialSplitPoint P>
  static void splitShortestOrLongest(const PolyLine<P>& polyline, const Point<double, 3>& p1,
                                     const Point<double, 3>& p2, std::shared_ptr<PolyLine<P>>& result, bool shortest);

  /// The line with a vertex added, and told to \p classifier, wherever its quantity passes 0 inside a segment; the
  /// attributes are blended. The result has tolerance 0.1 and the closed flag of the line.
  template <SplitPoint P>
  static PolyLine<P> splitPolyline(const PolyLine<P>& polyline, SplitClassifier<P>& classifier);

  /// The stretches of whole segments on the wanted side, with one list of vertex values each. A segment belongs to a
  /// stretch when its middle and at least one end are on the side, so a stretch may end beyond it: for exact ends call
  /// splitPolyline() first. A stretch over the first vertex of a closed line stays in one piece, and a closed line
  /// wholly on the side comes back closed. Stretches have tolerance 0.1.
  template <SplitPoint P>
  static std::vector<PolyLine<P>> getPartsOnSide(const PolyLine<P>& polyline, const SplitClassifier<P>& classifier,
                                                 double threshold, std::vector<std::vector<double>>& values);
};

#define KV_INSTANTIATE(...)                                                                                            \
  extern template class PolyLineSplitAlgorithm::SplitClassifier<__VA_ARGS__>;                                          \
  extern template class PolyLineSplitAlgorithm::VariableClassifier<__VA_ARGS__>;
KV_INSTANTIATE(Point<double, 2>)
KV_INSTANTIATE(Point<double, 3>)
KV_INSTANTIATE(Point3N)
#undef KV_INSTANTIATE

extern template class PolyLineSplitAlgorithm::PlaneClassifier<Point3N>;
extern template class PolyLineSplitAlgorithm::PlaneClassifier<Point<double, 2>>;

} // namespace Kavrel
