#pragma once

#include "geometry/ConstraintPoint.h"
#include "geometry/Curve.h"
#include "geometry/Point3N.h"
#include "geometry/Point3NT.h"
#include "geometry/ProjectionPoint.h"
#include "geometry/Segment.h"
#include "geometry/Side.h"

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace Kavrel {

enum class PolyNormalDumpMode : int;
template <class T, unsigned dim>
class StraightLine;

/// Points joined by straight segments: a container of its vertices, and at once a curve whose parameter is the fraction
/// of the whole length covered so far, from 0 to 1. Each evaluation walks along the points to find its place. Who
/// samples a long line gets the parameters once, with getPointParameters(), and passes them to getPointAtParam().
///
/// On a closed polyline a segment leads from the last vertex back to the first, which isn't stored again. The domain of
/// the curve clips evaluation and nothing else; it doesn't scale the parameter.
///
/// Indices given to element access aren't checked. Positions are `Point<T, dim>`; members that keep the attributes of
/// a point (normal, tangent, ...) take or return `PointType`.
template <class PointType>
class KVSHAPES_EXPORT PolyLine : public Curve<typename PointType::Scalar, PointType::Dim>
{
public:
  static_assert(PolyLinePoint<PointType>, "polylines exist over the eight point types of geometry/Instantiations.h");

  static constexpr std::uint32_t Dim = PointType::Dim;
  static constexpr bool TypeHasNormal = PointType::TypeHasNormal;
  static constexpr bool TypeHasTangent = PointType::TypeHasTangent;

  using Scalar = typename PointType::Scalar;
  using Position = Point<Scalar, Dim>;
  using Direction = Vector<Scalar, Dim>;
  using CurveBase = Curve<Scalar, Dim>;
  using iterator = typename std::vector<PointType>::iterator;
  using const_iterator = typename std::vector<PointType>::const_iterator;

  /// An empty open line.
  explicit PolyLine(double chordTolerance = 0.1);
  /// An empty open line with room for \p capacity points.
  PolyLine(std::size_t capacity, double chordTolerance);
  /// An open line through copies of the points.
  PolyLine(const std::vector<PointType>& vertices, double chordTolerance);
  /// Copies everything, identifier and cached hash included.
  PolyLine(const PolyLine&) = default;
  PolyLine& operator=(const PolyLine&) = default;
  /// Leaves the source empty and open, with tolerance 0 and the invalid identifier.
  PolyLine(PolyLine&& other) noexcept;
  PolyLine& operator=(PolyLine&& other) noexcept;
  ~PolyLine() override;

  void copy(const CurveBase& other) override;
  /// Takes over domain, tolerance, closed flag and points; identifier and cached hash stay.
  void copyPolyLine(const PolyLine& other);
  /// A new empty polyline with the same tolerance.
  std::shared_ptr<CurveBase> create() const override;

  // Container ---------------------------------------------------------------------------------------------------------

  void addPoint(const PointType& point) { points.push_back(point); }
  /// Inserts before the position.
  void addPoint(iterator position, const PointType& point) { points.insert(position, point); }
  /// Inserts before the index.
  void addPoint(std::size_t index, const PointType& point) { points.insert(at(index), point); }
  /// Appends the points of \p other in order, without its last one unless \p withLast and without its first one unless
  /// \p withFirst. The closed flag stays. A line may be appended to itself.
  void addPolyLine(const PolyLine& other, bool withLast, bool withFirst);
  /// Appends the points of \p other but the leading ones closer than the tolerance (strictly) to the last point of this
  /// line, and opens the line.
  void concatenate(const PolyLine& other);

  void deletePoint(std::size_t index) { points.erase(at(index)); }
  void deletePoint(iterator position) { points.erase(position); }
  /// Erases the points \p first to \p last - 1. With \p first above \p last a closed line loses the points from \p
  /// first over the end to \p last - 1; an open one stays. A \p first past the end erases nothing.
  void deletePoints(std::size_t first, std::size_t last);
  void deletePoints(iterator first, iterator last) { points.erase(first, last); }
  /// Keeps the first point, and of the others those at a distance of at least \p eps from the last kept one. A closed
  /// line also loses its last kept point when that lies closer than \p eps to the first.
  void deleteEqualPoints(double eps);
  /// No points, and open.
  void clear();
  /// No points; the closed flag stays.
  void clearPoints() { points.clear(); }

  void reserve(std::size_t capacity) { points.reserve(capacity); }
  /// New elements are default-constructed points.
  void resize(std::size_t count) { points.resize(count); }

  PointType& getPoint(std::size_t index) { return points[index]; }
  const PointType& getPoint(std::size_t index) const { return points[index]; }
  PointType& operator[](std::size_t index) { return points[index]; }
  const PointType& operator[](std::size_t index) const { return points[index]; }
  PointType& front() { return points.front(); }
  const PointType& front() const { return points.front(); }
  PointType& back() { return points.back(); }
  const PointType& back() const { return points.back(); }
  iterator begin() { return points.begin(); }
  const_iterator begin() const { return points.begin(); }
  iterator end() { return points.end(); }
  const_iterator end() const { return points.end(); }

  std::vector<PointType>& getPointCollection() { return points; }
  const std::vector<PointType>& getPointCollection() const { return points; }
  /// Replaces the points; the closed flag stays.
  void setPointCollection(const std::vector<PointType>& vertices) { points = vertices; }

  std::size_t numberOfPoints() const { return points.size(); }
  /// One less than the points when open, as many when closed, 0 for an empty line.
  std::size_t numberOfSegments() const { return closed || points.empty() ? points.size() : points.size() - 1; }
  bool isEmpty() const { return points.empty(); }

  /// The index after \p index: wraps when closed, stops at the last point when open. On a closed line an index beyond
  /// the end counts on around it.
  std::size_t getNextPointIndex(std::size_t index) const { return nextIndex(index, points.size()); }
  /// The index before \p index: wraps when closed, stops at 0 when open.
  std::size_t getPreviousPointIndex(std::size_t index) const { return previousIndex(index, points.size()); }
  std::size_t getNextSegmentIndex(std::size_t index) const { return nextIndex(index, numberOfSegments()); }
  std::size_t getPreviousSegmentIndex(std::size_t index) const { return previousIndex(index, numberOfSegments()); }

  /// The segment from vertex \p index to the next one, wrapping at the end. It borrows the points: it is valid until
  /// the line is changed.
  Segment<PointType> getSegment(std::size_t index) const
  {
    return Segment<PointType>(points.data() + index, points.data() + wrapped(index + 1));
  }

  /// Sets the flag; no point is added or removed.
  void setClosed(bool isNowClosed) { closed = isNowClosed; }
  bool isClosed() const override { return closed; }
  /// Closes the line when it has at least three points and its ends are closer than \p eps (strictly): the last point
  /// goes then. Opens it otherwise.
  void adjustClosedness(double eps);

  // Curve -------------------------------------------------------------------------------------------------------------

  /// The position at the fraction \p t of the whole length. Below the domain it is the first point, above it the last
  /// one (the first of a closed line). An empty line gives a default point.
  Position evaluate(const double& t) const override;
  /// evaluate() with the attributes blended along the segment: a normal or tangent is there when both ends have one.
  PointType evaluateWithAttributes(double t) const;
  /// The point at the fraction \p t, clamped to [0, 1], and the segment that it lies on; the domain takes no part.
  /// `Point3N` and `Point3NT` keep the attributes of the start of the segment. False only for an empty line.
  bool evaluateParameterPointAndSegment(double t, PointType& point, std::size_t& segment) const;
  /// The unit direction of the segment at \p t. Raises ShapecoreException for a line without segments, and for a
  /// segment without direction.
  Direction evaluateDerivation(const double& t) const override;
  /// The unit direction of segment \p index, of the one before it past the end of an open line. Raises
  /// ShapecoreException for a segment without direction.
  Direction getSegmentDerivation(std::size_t index) const;

  /// Writes the parameter of each vertex to \p out, and 1 once more for a closed line. A line no longer than 1e-12
  /// gives arc lengths. Nothing happens for null or an empty line.
  void getPointParameters(std::vector<double>* out) const;
  /// The point at parameter \p t with interpolated attributes, found by bisection in \p parameters, the result of
  /// getPointParameters(); with null by a walk along the line. Parameters beyond the line give its ends.
  PointType getPointAtParam(double t, const std::vector<double>* parameters) const;
  /// The parameter of the point of the line nearest to \p p, and its \p distance. \p parameters, unless null, is used
  /// when it has the right size and recomputed otherwise. An empty line gives 0 and leaves \p distance.
  double calculateParameter(const Position& p, double& distance, std::vector<double>* parameters) const;
  double calculateParameter(const Position& p, std::vector<double>* parameters) const;

  /// The first point, or the point at the lower bound of a domain that doesn't begin at 0.
  Position getStart() const override;
  /// The last stored point, of a closed line too, or the point at the upper bound of a domain that doesn't end at 1.
  Position getEnd() const override;
  /// Along the first segment, as long as the tangent of Curve.
  Direction getStartTangent() const override;
  /// Along the last segment, the closing one of a closed line, as long as the tangent of Curve.
  Direction getEndTangent() const override;

  /// The sum of the segment lengths.
  double getTotalLength() const;
  /// The total length times the width of the domain.
  Scalar getLength() const override;
  /// The length from the first point to vertex \p index, or, unless \p fromStart, the rest of the total length.
  double getPolyLength(std::size_t index, bool fromStart) const;

  /// Makes \p out a copy of this line without attributes, domain and tolerance included.
  void calcPolyLine(PolyLine<Position>& out) const override;
  /// The box of the points.
  BoundingBox<Scalar, Dim> calculateBoundingBox() const override;
  /// The box of the points as \p system places them.
  BoundingBox<Scalar, Dim> calculateBoundingBox(const CoordinateSystem<Scalar, Dim>& system) const;

  /// Reverses the order of the points; a closed line keeps its first one.
  void reverse() override;
  void transform(const CoordinateSystem<Scalar, Dim>& system) override;
  /// A new polyline with a fresh identifier, transformed.
  std::shared_ptr<PolyLine> transformCopy(const CoordinateSystem<Scalar, Dim>& system) const;
  std::shared_ptr<CurveBase> mirror(const Plane<Scalar, Dim>& plane) const override;
  /// A new polyline with a fresh identifier, mirrored in the line.
  std::shared_ptr<PolyLine> mirror(const StraightLine<Scalar, Dim>& line) const;
  /// Mirrors in place.
  PolyLine& mirrorPolyLine(const Plane<Scalar, Dim>& plane);
  /// Mirrors in place.
  PolyLine& mirrorPolyLine(const StraightLine<Scalar, Dim>& line);
  /// The mirror image of the end replaces the first point, or with \p atStart false that of the start the last one. The
  /// new point has no attributes. An empty line stays empty.
  void setSymmetricalEnd(bool atStart, const Plane<Scalar, Dim>& plane) override;

  // Measures and predicates -------------------------------------------------------------------------------------------

  /// Squared distance to the nearest point of the line; the largest finite value for an empty line.
  Scalar sqrDist(const Position& p) const;
  Scalar dist(const Position& p) const;
  /// The same, with the nearest \p segment and the parameter \p u on it, from 0 to 1. An empty line leaves both.
  Scalar sqrDist(const Position& p, double& u, std::size_t& segment) const;
  Scalar dist(const Position& p, double& u, std::size_t& segment) const;
  /// The greatest distance of \p p to a vertex; 0 for an empty line.
  Scalar maxDist(const Position& p) const;
  /// Whether \p p is at most \p eps away from the line.
  bool isPointOn(const PointType& p, double eps) const;
  /// Whether each inner point is collinear with the first and the last one by Point::isCollinear(). Fewer than three
  /// points are; a closed line isn't.
  bool isCollinear(double tol) const;
  /// Equal point counts, and positions and normals equal to within \p eps in each component. Closed flags take no part.
  bool isApproximatelyEqualTo(const PolyLine& other, double eps) const;
  /// Equal closed flags and counts, and positions equal to within \p eps in each component. Attributes take no part.
  bool isCompletelyEqual(const PolyLine& other, double eps) const;
  /// The side of the plane that the points lie on: `Both` when they are on both, `On` when all are within \p eps. \p
  /// touches tells whether a point seen was on the plane. An empty line gives 0.
  Side getSide(const Plane<Scalar, Dim>& plane, const double& eps, bool& touches) const;

  /// The area in the first two coordinates, positive when they run counter-clockwise; 0 unless closed.
  double getXYAreaWithSign() const;
  double getXYArea() const;
  /// Whether the closed line winds around \p p in the first two coordinates. A point on the line gives \p onBoundary;
  /// \p sqrTol bounds the squared distance to a vertex and the doubled area spanned with a segment.
  bool hasPointInside(const Point<double, 2>& p, bool onBoundary, double sqrTol) const;
  bool hasPointInside(double x, double y, bool onBoundary, double sqrTol) const;
  /// The centre of gravity of the line as a wire, closed in any case; a default point for an empty line or one without
  /// length.
  Position calculateCenterOfGravity() const;

  /// A digest of positions, normals and length. It is computed once and kept: later changes of the points don't show in
  /// it. The first call writes, so it isn't safe beside another call.
  const std::string& getHash() const;

  /// Writes the text form, see PolyLineDump::toStream().
  void dump(std::ostream& out, PolyNormalDumpMode mode, bool fullPrecision, bool scientific) const;
  /// Writes the text form to a file, see PolyLineDump::toFile().
  void dump(const std::string& name, int number, bool append, PolyNormalDumpMode mode) const;

private:
  iterator at(std::size_t index) { return points.begin() + static_cast<std::ptrdiff_t>(index); }
  std::size_t wrapped(std::size_t index) const { return index < points.size() ? index : index - points.size(); }
  std::size_t nextIndex(std::size_t index, std::size_t count) const
  {
    if (index + 1 < count) return index + 1;
    if (count == 0) return 0;
    return closed ? (index + 1) % count : count - 1;
  }
  std::size_t previousIndex(std::size_t index, std::size_t count) const
  {
    if (index > 0 && (!closed || index <= count)) return index - 1;
    return closed && count > 0 ? (index + count - 1) % count : 0;
  }

  std::size_t numberOfParameters() const { return closed ? points.size() + 1 : points.size(); }

  std::vector<PointType> points;
  bool closed = false;
  mutable std::string hash;

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class PolyLine<__VA_ARGS__>;
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
