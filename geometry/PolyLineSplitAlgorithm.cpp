#include "geometry/PolyLineSplitAlgorithm.h"

#include "geometry/PolyLineAlgorithm.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Kavrel {

namespace {

constexpr double pieceTolerance = 0.1;
constexpr double doubledEps = 0.001;   // a vertex strictly closer to the cut is the cut
constexpr double samePlace = 1e-12;    // parameters strictly closer on one segment are one place
constexpr double shortestLine = 1e-12; // strictly below: no line to cut
constexpr double equallyNear = 1e-5;   // distances strictly closer: both pieces hold the point
constexpr double sqrJointGap = 1e-10;  // strictly below: the joint isn't doubled
constexpr double closedGap = 1e-12;    // ends strictly closer are one

/// The value at \p i of a list that wraps around.
double wrapped(const std::vector<double>& values, std::size_t i) { return values[i % values.size()]; }

template <class P>
std::shared_ptr<PolyLine<P>> makePiece(std::size_t capacity)
{
  return std::make_shared<PolyLine<P>>(capacity, pieceTolerance);
}

template <class P>
void appendVertices(const PolyLine<P>& polyline, std::size_t first, std::size_t last, PolyLine<P>& piece)
{
  for (std::size_t i = first; i < last; ++i)
    piece.addPoint(polyline[i]);
}

/// A point of a line by its segment and the parameter there.
struct Place
{
  friend bool operator<(const Place& a, const Place& b)
  {
    return a.segment != b.segment ? a.segment < b.segment : a.u < b.u;
  }
  bool isSameAs(const Place& other) const { return segment == other.segment && !(std::abs(u - other.u) >= samePlace); }

  std::size_t segment = 0;
  double u = 0.0;
};

template <class P>
Place nearestPlace(const PolyLine<P>& polyline, const Point<double, P::Dim>& p)
{
  Place place;
  polyline.sqrDist(p, place.u, place.segment);
  return place;
}

/// The point where a line is cut, and whether the vertices beside it are further away than a given distance.
template <class P>
struct Cut
{
  Cut(const PolyLine<P>& polyline, const Point<double, P::Dim>& p, double eps)
      : segment(nearestPlace(polyline, p).segment)
  {
    polyline.getSegment(segment).projectPoint(p, point, nullptr);
    const std::size_t next = (segment + 1) % polyline.numberOfPoints();
    isApartFromStart = point.sqrDistance(polyline[segment]) > eps * eps;
    isApartFromEnd = point.sqrDistance(polyline[next]) > eps * eps;
  }

  /// From the first vertex of the line to the cut.
  void appendBefore(const PolyLine<P>& polyline, PolyLine<P>& piece) const
  {
    appendVertices(polyline, 0, segment + 1, piece);
    if (isApartFromStart) piece.addPoint(point);
  }

  /// From the cut to the last vertex of the line.
  void appendBehind(const PolyLine<P>& polyline, PolyLine<P>& piece) const
  {
    if (isApartFromEnd) piece.addPoint(point);
    appendVertices(polyline, segment + 1, polyline.numberOfPoints(), piece);
  }

  std::size_t segment;
  P point;
  bool isApartFromStart;
  bool isApartFromEnd;
};

/// Collects the pieces of a line that a plane cuts.
template <class P>
class PlanePieces
{
public:
  using Pieces = std::list<std::shared_ptr<PolyLine<P>>>;

  PlanePieces(const PolyLine<P>& line, const Plane<double, P::Dim>& divider, Pieces& out)
      : frame(line), plane(divider), pieces(out), points{line.front()}, running(sideOf(line.front()))
  {
    frame.clearPoints();
  }

  void take(const P& point)
  {
    const Side side = sideOf(point);
    if (side != Side::On && running == Side::On) running = side;
    if (side != Side::On && side != running) {
      breakBefore(point);
      running = side;
    }
    points.push_back(point);
  }

  /// Ends the last piece; a line that was never cut gives none.
  void finish()
  {
    if (!pieces.empty()) flush();
  }

  bool endsOnFirstSide() const { return !pieces.empty() && first == running; }

private:
  Side sideOf(const P& point) const { return plane.getSideOfPoint(point, frame.getTolerance()); }

  void breakBefore(const P& point)
  {
    if (pieces.empty()) first = running;
    P joint = points.back();
    if (sideOf(joint) != Side::On) {
      joint = P(crossing(joint, point));
      points.push_back(joint);
    }
    flush();
    points.push_back(joint);
  }

  Point<double, P::Dim> crossing(const P& from, const P& to) const
  {
    Point<double, P::Dim> point;
    if (plane.segmentIntersection(from, to, point)) return point;
    // Ends this close to the plane, which only a small tolerance tells from it, are too flat for the plane's own test.
    const double d = plane.getDistanceOfPoint(from);
    return from + (to - from) * (d / (d - plane.getDistanceOfPoint(to)));
  }

  void flush()
  {
    auto piece = std::make_shared<PolyLine<P>>(frame);
    piece->getPointCollection().swap(points);
    pieces.push_back(std::move(piece));
  }

  PolyLine<P> frame; // the line without its points: what each piece is a copy of
  const Plane<double, P::Dim>& plane;
  Pieces& pieces;
  std::vector<P> points;
  Side running;
  Side first = Side::On;
};

template <class P>
void appendPiece(PolyLine<P>& piece, const PolyLine<P>& next)
{
  const bool gap = piece.isEmpty() || next.isEmpty() || !(piece.back().sqrDistance(next.front()) < sqrJointGap);
  piece.addPolyLine(next, true, gap);
}

/// A line cut at two points: at the second one into A and B, and the piece nearer to the first one there into C and D.
/// Where both pieces hold that point, C and D are null.
template <class P>
struct OrderedPieces
{
  using Piece = std::shared_ptr<PolyLine<P>>;

  OrderedPieces(const PolyLine<P>& polyline, const Point<double, 3>& p1, const Point<double, 3>& p2)
  {
    PolyLineSplitAlgorithm::split(polyline, p2, A, B, false, doubledEps);
    if (!A || !B) return;
    const double d1 = A->dist(p1);
    const double d2 = B->dist(p1);
    if (std::abs(d1 - d2) >= equallyNear)
      PolyLineSplitAlgorithm::split(d2 <= d1 ? *B : *A, p1, C, D, false, doubledEps);
  }

  std::vector<Piece> candidates(const PolyLine<P>& polyline, double t1, double t2) const
  {
    if (!polyline.isClosed()) return C && D ? std::vector<Piece>{C, D} : std::vector<Piece>{};
    const bool forward = t1 < t2 || (t1 == t2 && PolyLineAlgorithm::checkXYOrientation(polyline, true));
    const Piece& middle = forward ? C : D;
    if (!middle) return forward ? std::vector<Piece>{A, B} : std::vector<Piece>{B, A};
    const Piece& head = forward ? B : D;
    appendPiece(*head, forward ? *C : *A);
    return {head, forward ? D : C};
  }

  Piece A, B, C, D;
};

/// Of the two pieces that a line is cut into at one place the shorter or the longer one.
template <class P>
std::shared_ptr<PolyLine<P>> pieceFromOnePlace(const PolyLine<P>& polyline, const Point<double, 3>& p, bool shortest)
{
  std::shared_ptr<PolyLine<P>> a, b;
  PolyLineSplitAlgorithm::split(polyline, p, a, b, false, doubledEps);
  if (!a || !b) return nullptr;
  const bool aIsShorter = a->getTotalLength() < b->getTotalLength();
  const auto& taken = aIsShorter == shortest ? a : b;
  const auto& other = aIsShorter == shortest ? b : a;
  if (polyline.isClosed() && !shortest && other->numberOfPoints() < 2) {
    taken->deletePoint(polyline.numberOfPoints() - 1);
    taken->setClosed(true);
  }
  return taken;
}

/// The stretches of a line with their values as they grow.
template <class P>
class Stretches
{
public:
  using Lines = std::vector<PolyLine<P>>;
  using Values = std::vector<std::vector<double>>;

  Stretches(Lines& resultLines, Values& resultValues) : lines(resultLines), values(resultValues) {}

  bool isEmpty() const { return line.isEmpty(); }

  void add(const P& point, double value)
  {
    line.addPoint(point);
    lineValues.push_back(value);
  }

  /// Ends the stretch at hand, if there is one.
  void finish()
  {
    if (line.isEmpty()) return;
    lines.push_back(std::move(line));
    values.push_back(std::move(lineValues));
    line = PolyLine<P>(pieceTolerance);
    lineValues = {};
  }

  /// Puts the stretch at hand before the first one, whose first point it ends at.
  void joinWithFirst()
  {
    line.addPolyLine(lines.front(), true, false);
    lineValues.insert(lineValues.end(), values.front().begin() + 1, values.front().end());
    lines.front() = std::move(line);
    values.front() = std::move(lineValues);
  }

private:
  Lines& lines;
  Values& values;
  PolyLine<P> line{pieceTolerance};
  std::vector<double> lineValues;
};

} // namespace

// Classifiers ---------------------------------------------------------------------------------------------------------

template <class P>
void PolyLineSplitAlgorithm::SplitClassifier<P>::addPoint(double, std::size_t, std::size_t)
{}

template <class P>
PolyLineSplitAlgorithm::VariableClassifier<P>::VariableClassifier(std::vector<double> vertexValues, double factor)
    : values(std::move(vertexValues)), scale(factor)
{}

template <class P>
double PolyLineSplitAlgorithm::VariableClassifier<P>::operator()(const P&, const P&, std::size_t i, std::size_t j) const
{
  const double start = wrapped(values, i);
  return -start / (wrapped(values, j) - start);
}

template <class P>
bool PolyLineSplitAlgorithm::VariableClassifier<P>::operator()(const P& p, std::size_t i, double threshold) const
{
  return getValue(p, i) >= threshold;
}

template <class P>
double PolyLineSplitAlgorithm::VariableClassifier<P>::getValue(const P&, std::size_t i) const
{
  return wrapped(values, i) * scale;
}

template <class P>
bool PolyLineSplitAlgorithm::VariableClassifier<P>::testMidPoint(const P&, const P&, std::size_t i, std::size_t j,
                                                                 double threshold) const
{
  return (wrapped(values, j) + wrapped(values, i)) * 0.5 * scale >= threshold;
}

template <class P>
void PolyLineSplitAlgorithm::VariableClassifier<P>::addPoint(double t, std::size_t i, std::size_t)
{
  added.emplace_back(t, i);
}

template <class P>
void PolyLineSplitAlgorithm::VariableClassifier<P>::mergeAddedPoints()
{
  std::vector<double> merged;
  merged.reserve(values.size() + added.size());
  auto next = added.begin();
  for (std::size_t k = 0; k < values.size(); ++k) {
    merged.push_back(values[k]);
    if (next == added.end() || next->second != k) continue;
    const double t = next->first;
    merged.push_back(t * wrapped(values, k + 1) + (1.0 - t) * values[k]);
    ++next;
  }
  values = std::move(merged);
}

template <class P>
double PolyLineSplitAlgorithm::PlaneClassifier<P>::operator()(const P& a, const P& b, std::size_t, std::size_t) const
{
  const double start = plane.getDistanceOfPoint(a);
  return -start / (plane.getDistanceOfPoint(b) - start);
}

template <class P>
bool PolyLineSplitAlgorithm::PlaneClassifier<P>::operator()(const P& p, std::size_t, double threshold) const
{
  return plane.getDistanceOfPoint(p) >= threshold;
}

template <class P>
double PolyLineSplitAlgorithm::PlaneClassifier<P>::getValue(const P& p, std::size_t) const
{
  return plane.getDistanceOfPoint(p);
}

template <class P>
bool PolyLineSplitAlgorithm::PlaneClassifier<P>::testMidPoint(const P& a, const P& b, std::size_t, std::size_t,
                                                              double threshold) const
{
  return (*this)(P(Point<double, P::Dim>((a + b) * 0.5)), 0, threshold);
}

// At a point ----------------------------------------------------------------------------------------------------------

template <SplitPoint P>
void PolyLineSplitAlgorithm::split(const PolyLine<P>& polyline, const Point<double, P::Dim>& p,
                                   std::shared_ptr<PolyLine<P>>& first, std::shared_ptr<PolyLine<P>>& second,
                                   bool joinClosed, double eps)
{
  const std::size_t count = polyline.numberOfPoints();
  if (count == 0) return;
  const Cut<P> cut(polyline, p, eps);
  const std::size_t capacity = count * 3 / 4;
  auto start = makePiece<P>(capacity);
  std::shared_ptr<PolyLine<P>> rest;
  if (polyline.isClosed() && joinClosed) {
    cut.appendBehind(polyline, *start);
    cut.appendBefore(polyline, *start);
  } else {
    rest = makePiece<P>(capacity);
    cut.appendBefore(polyline, *start);
    cut.appendBehind(polyline, *rest);
    if (polyline.isClosed()) rest->addPoint(polyline.front());
  }
  first = std::move(start);
  second = std::move(rest);
}

template <SpatialSplitPoint P>
bool PolyLineSplitAlgorithm::splitOrdered(const PolyLine<P>& polyline, const Point<double, 3>& p1,
                                          const Point<double, 3>& p2, PolyLine<P>& result)
{
  const OrderedPieces<P> pieces(polyline, p1, p2);
  if (!pieces.A || !pieces.B) return false;
  const double t1 = polyline.calculateParameter(p1, nullptr);
  const double t2 = polyline.calculateParameter(p2, nullptr);
  const Point<double, 3> start = polyline.evaluate(t1);
  const Point<double, 3> end = polyline.evaluate(t2);
  const double sqrTolerance = polyline.getTolerance() * polyline.getTolerance();
  for (const auto& piece : pieces.candidates(polyline, t1, t2)) {
    if (piece->isEmpty() || !(piece->front().sqrDistance(start) < sqrTolerance) ||
        !(piece->back().sqrDistance(end) < sqrTolerance))
      continue;
    result = std::move(*piece);
    return true;
  }
  return false;
}

template <SpatialSplitPoint P>
void PolyLineSplitAlgorithm::splitOrdered(const PolyLine<P>& polyline, const Point<double, 3>& p1,
                                          const Point<double, 3>& p2, std::shared_ptr<PolyLine<P>>& result)
{
  auto piece = makePiece<P>(0);
  if (splitOrdered(polyline, p1, p2, *piece)) result = std::move(piece);
}

template <SpatialSplitPoint P>
void PolyLineSplitAlgorithm::splitShortestOrLongest(const PolyLine<P>& polyline, const Point<double, 3>& p1,
                                                    const Point<double, 3>& p2, std::shared_ptr<PolyLine<P>>& result,
                                                    bool shortest)
{
  const double length = polyline.getTotalLength();
  if (length < shortestLine) return;
  const Place place1 = nearestPlace(polyline, p1);
  const Place place2 = nearestPlace(polyline, p2);
  if (place1.isSameAs(place2)) {
    if (auto piece = pieceFromOnePlace(polyline, p1, shortest)) result = std::move(piece);
    return;
  }

  const bool swapped = place2 < place1;
  std::shared_ptr<PolyLine<P>> before, rest, between, behind;
  split(polyline, swapped ? p2 : p1, before, rest, false, doubledEps);
  if (!before || !rest) return;
  split(*rest, swapped ? p1 : p2, between, behind, false, doubledEps);
  const bool isShort = between->getTotalLength() / length < 0.5;
  if (!polyline.isClosed() || isShort == shortest) {
    result = std::move(between);
    return;
  }
  behind->addPolyLine(*before, true, false);
  result = std::move(behind);
}

// At vertices ---------------------------------------------------------------------------------------------------------

template <SpatialSplitPoint P>
void PolyLineSplitAlgorithm::splitAtIndex(const PolyLine<P>& polyline, std::size_t index, PolyLine<P>& first,
                                          PolyLine<P>& second)
{
  const std::size_t count = polyline.numberOfPoints();
  if (count < 2 || index == 0 || index >= count - 1) return;
  const auto& points = polyline.getPointCollection();
  const auto cut = points.begin() + static_cast<std::ptrdiff_t>(index);
  // Either target may be the line itself.
  std::vector<P> start(points.begin(), cut + 1);
  std::vector<P> rest(cut, points.end());
  if (polyline.isClosed()) rest.push_back(points.front());
  first.getPointCollection() = std::move(start);
  first.setClosed(false);
  second.getPointCollection() = std::move(rest);
  second.setClosed(false);
}

template <IndexSplitPoint P>
void PolyLineSplitAlgorithm::splitAtIndices(const PolyLine<P>& polyline, const std::vector<std::size_t>& indices,
                                            std::vector<PolyLine<P>>& result)
{
  result.clear();
  if (indices.empty()) {
    result.push_back(polyline);
    return;
  }
  std::vector<std::size_t> cuts;
  std::unique_copy(indices.begin(), indices.end(), std::back_inserter(cuts));
  result.resize(cuts.size() + 1);
  const std::size_t count = polyline.numberOfPoints();
  const std::size_t steps = polyline.isClosed() && count > 0 ? count + 1 : count;
  std::size_t piece = 0;
  for (std::size_t k = 0; k < steps; ++k) {
    const P& point = polyline[k % count];
    result[piece].addPoint(point);
    if (piece == cuts.size() || cuts[piece] > k) continue;
    result[++piece].addPoint(point);
  }
  if (!polyline.isClosed()) return;
  result.back().addPolyLine(result.front(), true, false);
  result.front() = std::move(result.back());
  result.pop_back();
}

// At a plane ----------------------------------------------------------------------------------------------------------

template <SplitPoint P>
void PolyLineSplitAlgorithm::splitAtPlane(const PolyLine<P>& polyline, const Plane<double, P::Dim>& plane,
                                          std::list<std::shared_ptr<PolyLine<P>>>& result, bool joinClosed)
{
  result.clear();
  const std::size_t count = polyline.numberOfPoints();
  if (count < 2) return;
  PlanePieces<P> pieces(polyline, plane, result);
  for (std::size_t k = 1; k < count; ++k)
    pieces.take(polyline[k]);
  if (polyline.isClosed()) pieces.take(polyline.front());
  pieces.finish();
  if (!polyline.isClosed() || !joinClosed || !pieces.endsOnFirstSide()) return;
  const auto first = result.front();
  result.pop_front();
  result.back()->concatenate(*first);
}

// By a classifier -----------------------------------------------------------------------------------------------------

template <SplitPoint P>
PolyLine<P> PolyLineSplitAlgorithm::splitPolyline(const PolyLine<P>& polyline, SplitClassifier<P>& classifier)
{
  PolyLine<P> result(polyline.numberOfPoints(), pieceTolerance);
  const std::size_t segments = polyline.numberOfSegments();
  for (std::size_t i = 0; i < segments; ++i) {
    const Segment<P> segment = polyline.getSegment(i);
    const P& a = *segment.getStart();
    const P& b = *segment.getEnd();
    result.addPoint(a);
    if (classifier(a, i, 0.0) == classifier(b, i + 1, 0.0)) continue;
    const double t = classifier(a, b, i, i + 1);
    if (!(t > 0.0 && t < 1.0)) continue;
    result.addPoint(P(a.linearInterpolation(t, b)));
    classifier.addPoint(t, i, i + 1);
  }
  if (!polyline.isClosed() && !polyline.isEmpty()) result.addPoint(polyline.back());
  result.setClosed(polyline.isClosed());
  return result;
}

template <SplitPoint P>
std::vector<PolyLine<P>> PolyLineSplitAlgorithm::getPartsOnSide(const PolyLine<P>& polyline,
                                                                const SplitClassifier<P>& classifier, double threshold,
                                                                std::vector<std::vector<double>>& values)
{
  values.clear();
  std::vector<PolyLine<P>> result;
  const std::size_t count = polyline.numberOfPoints();
  if (count == 0) return result;
  if (count == 1) {
    if (!classifier(polyline.front(), 0, threshold)) return result;
    result.push_back(polyline);
    values.push_back({classifier.getValue(polyline.front(), 0)});
    return result;
  }

  Stretches<P> stretches(result, values);
  const std::size_t segments = polyline.numberOfSegments();
  for (std::size_t i = 0; i < segments; ++i) {
    const std::size_t j = i + 1;
    const Segment<P> segment = polyline.getSegment(i);
    const P& a = *segment.getStart();
    const P& b = *segment.getEnd();
    const bool endIsOn = classifier(b, j, threshold);
    const bool isOn = classifier.testMidPoint(a, b, i, j, threshold) && (endIsOn || classifier(a, i, threshold));
    if (isOn) {
      if (stretches.isEmpty()) stretches.add(a, classifier.getValue(a, i));
      stretches.add(b, classifier.getValue(b, j));
    }
    if (!isOn || !endIsOn) stretches.finish();
  }
  if (polyline.isClosed() && !result.empty() && !stretches.isEmpty() && classifier(polyline.front(), 0, threshold))
    stretches.joinWithFirst();
  else
    stretches.finish();
  if (result.size() == 1 && polyline.isClosed()) {
    result.front().adjustClosedness(closedGap);
    values.front().resize(result.front().numberOfPoints());
  }
  return result;
}

// Instantiations ------------------------------------------------------------------------------------------------------

#define KV_INSTANTIATE(...)                                                                                            \
  template class PolyLineSplitAlgorithm::SplitClassifier<__VA_ARGS__>;                                                 \
  template class PolyLineSplitAlgorithm::VariableClassifier<__VA_ARGS__>;                                              \
  template KVSHAPES_EXPORT void PolyLineSplitAlgorithm::split(                                                         \
      const PolyLine<__VA_ARGS__>&, const Point<double, __VA_ARGS__::Dim>&, std::shared_ptr<PolyLine<__VA_ARGS__>>&,   \
      std::shared_ptr<PolyLine<__VA_ARGS__>>&, bool, double);                                                          \
  template KVSHAPES_EXPORT void PolyLineSplitAlgorithm::splitAtPlane(                                                  \
      const PolyLine<__VA_ARGS__>&, const Plane<double, __VA_ARGS__::Dim>&,                                            \
      std::list<std::shared_ptr<PolyLine<__VA_ARGS__>>>&, bool);                                                       \
  template KVSHAPES_EXPORT PolyLine<__VA_ARGS__> PolyLineSplitAlgorithm::splitPolyline(const PolyLine<__VA_ARGS__>&,   \
                                                                                       SplitClassifier<__VA_ARGS__>&); \
  template KVSHAPES_EXPORT std::vector<PolyLine<__VA_ARGS__>> PolyLineSplitAlgorithm::getPartsOnSide(                  \
      const PolyLine<__VA_ARGS__>&, const SplitClassifier<__VA_ARGS__>&, double, std::vector<std::vector<double>>&);
KV_INSTANTIATE(Point<double, 2>)
KV_INSTANTIATE(Point<double, 3>)
KV_INSTANTIATE(Point3N)
#undef KV_INSTANTIATE

template class PolyLineSplitAlgorithm::PlaneClassifier<Point3N>;
template class PolyLineSplitAlgorithm::PlaneClassifier<Point<double, 2>>;

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT void PolyLineSplitAlgorithm::splitAtIndex(const PolyLine<__VA_ARGS__>&, std::size_t,        \
                                                                     PolyLine<__VA_ARGS__>&, PolyLine<__VA_ARGS__>&);  \
  template KVSHAPES_EXPORT bool PolyLineSplitAlgorithm::splitOrdered(                                                  \
      const PolyLine<__VA_ARGS__>&, const Point<double, 3>&, const Point<double, 3>&, PolyLine<__VA_ARGS__>&);         \
  template KVSHAPES_EXPORT void PolyLineSplitAlgorithm::splitOrdered(const PolyLine<__VA_ARGS__>&,                     \
                                                                     const Point<double, 3>&, const Point<double, 3>&, \
                                                                     std::shared_ptr<PolyLine<__VA_ARGS__>>&);         \
  template KVSHAPES_EXPORT void PolyLineSplitAlgorithm::splitShortestOrLongest(                                        \
      const PolyLine<__VA_ARGS__>&, const Point<double, 3>&, const Point<double, 3>&,                                  \
      std::shared_ptr<PolyLine<__VA_ARGS__>>&, bool);
KV_INSTANTIATE(Point<double, 3>)
KV_INSTANTIATE(Point3N)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT void PolyLineSplitAlgorithm::splitAtIndices(                                                \
      const PolyLine<__VA_ARGS__>&, const std::vector<std::size_t>&, std::vector<PolyLine<__VA_ARGS__>>&);
KV_INSTANTIATE(Point<double, 3>)
KV_INSTANTIATE(Point3N)
KV_INSTANTIATE(ProjectionPoint)
#undef KV_INSTANTIATE

} // namespace Kavrel
