#include "geometry/BoundingVolumeHierarchy/BoxSearchTree.h"
#include "geometry/PolyLineAlgorithm.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <omp.h>
#include <utility>

namespace Kavrel {

namespace {

constexpr unsigned maxLeafSize = 10;
constexpr double pieceTolerance = 0.1;
constexpr double closingGap = 1e-12;
constexpr double expectedRest = 0.75; // of a thread's segments

template <unsigned dim>
using Box = BoundingVolumeHierarchy::AxisAlignedBox<double, dim>;

template <class P>
Box<P::Dim> boxOf(const Segment<P>& segment, double margin)
{
  Vector<double, P::Dim> low, high;
  for (unsigned i = 0; i < P::Dim; ++i) {
    const auto a = static_cast<double>((*segment.getStart())[i]);
    const auto b = static_cast<double>((*segment.getEnd())[i]);
    low[i] = std::min(a, b) - margin;
    high[i] = std::max(a, b) + margin;
  }
  return Box<P::Dim>(low, high);
}

/// Segments to be taken away, with a search tree over their widened boxes.
template <class P>
class Subtrahend
{
public:
  Subtrahend(const std::vector<Segment<P>>& toTakeAway, double sqrCollinearTol, double sqrLengthTol)
      : segments(toTakeAway), sqrCollinear(sqrCollinearTol), sqrLength(sqrLengthTol),
        tree(boxesOf(toTakeAway, std::sqrt(sqrCollinearTol)), maxLeafSize)
  {}

  void findNear(const Segment<P>& segment, std::vector<int>& ids) const
  {
    tree.getBoxesIntersecting(boxOf(segment, 0.0), ids);
  }

  /// What remains of the piece without the segment of this id.
  void takeFrom(const Segment<P>& piece, int id, std::vector<Segment<P>>& rest) const
  {
    piece.subtract(segments[static_cast<std::size_t>(id)], rest, sqrCollinear, sqrLength);
  }

private:
  static std::vector<Box<P::Dim>> boxesOf(const std::vector<Segment<P>>& segments, double margin)
  {
    std::vector<Box<P::Dim>> boxes;
    boxes.reserve(segments.size());
    for (const Segment<P>& segment : segments)
      boxes.push_back(boxOf(segment, margin));
    return boxes;
  }

  const std::vector<Segment<P>>& segments;
  double sqrCollinear;
  double sqrLength;
  BoundingVolumeHierarchy::BoxSearchTree<P::Dim> tree;
};

/// What remains of some segments, and the points between its pieces that weren't there before. Their addresses hold
/// when it moves.
template <class P>
struct Remainder
{
  std::vector<Segment<P>> pieces;
  std::deque<P> created;
};

/// Takes a subtrahend from one segment after the other.
template <class P>
class Cutter
{
public:
  explicit Cutter(const Subtrahend<P>& toTakeAway) : subtrahend(toTakeAway) {}

  void cut(const Segment<P>& segment, Remainder<P>& remainder)
  {
    subtrahend.findNear(segment, candidates);
    stack.assign(1, segment);
    // Each piece is tried with all candidates, so that no overlap survives: quadratic where many split one segment.
    while (!stack.empty()) {
      if (!cutTopPiece(remainder.created)) continue;
      remainder.pieces.push_back(stack.back());
      stack.pop_back();
    }
  }

private:
  /// Replaces the piece on top by what remains of it, its last part on top. Whether there is one. A candidate splits
  /// one piece of the segment only, and is complemented then: rounding may let it overlap the new ends by a hair, and
  /// splits by that might never end.
  bool cutTopPiece(std::deque<P>& created)
  {
    for (int& id : candidates) {
      const Segment<P> piece = stack.back();
      const bool hasSplit = id < 0;
      subtrahend.takeFrom(piece, hasSplit ? ~id : id, rest);
      if (rest.size() > 1) {
        if (hasSplit) continue;
        id = ~id;
      }
      stack.pop_back();
      if (rest.empty()) return false;
      for (const Segment<P>& part : rest)
        stack.emplace_back(ownedBy(piece, part.getStart(), created), ownedBy(piece, part.getEnd(), created));
    }
    return true;
  }

  /// The end of a part: one of the piece, or a new point of the piece, with its attributes.
  static const P* ownedBy(const Segment<P>& piece, const P* end, std::deque<P>& created)
  {
    if (end == piece.getStart() || end == piece.getEnd()) return end;
    return &created.emplace_back(piece.nearestPoint(*end));
  }

  const Subtrahend<P>& subtrahend;
  std::vector<int> candidates;
  std::vector<Segment<P>> stack;
  std::vector<Segment<P>> rest;
};

/// The remainders of the segments, which are dealt out to the threads in contiguous blocks: read one after the other
/// they are in the order of the segments, whatever the number of threads.
template <class P>
std::vector<Remainder<P>> cutAll(const PolyLine<P>& polyline, const Subtrahend<P>& subtrahend)
{
  const std::size_t segments = polyline.numberOfSegments();
  const auto threads = static_cast<std::size_t>(omp_get_max_threads());
  std::vector<Remainder<P>> remainders(threads);
#pragma omp parallel
  {
    Remainder<P> own;
    own.pieces.reserve(static_cast<std::size_t>(static_cast<double>(segments / threads) * expectedRest) + 1);
    Cutter<P> cutter(subtrahend);
#pragma omp for schedule(static) nowait
    for (std::size_t i = 0; i < segments; ++i)
      cutter.cut(polyline.getSegment(i), own);
    remainders[static_cast<std::size_t>(omp_get_thread_num())] = std::move(own);
  }
  return remainders;
}

/// Joins pieces that share a point into polylines.
template <class P>
class Chain
{
public:
  void add(const Segment<P>& piece)
  {
    if (lines.empty()) start = piece.getStart();
    if (lines.empty() || piece.getStart() != end) {
      lines.push_back(std::make_shared<PolyLine<P>>(pieceTolerance));
      lines.back()->addPoint(*piece.getStart());
    }
    end = piece.getEnd();
    lines.back()->addPoint(*end);
  }

  /// Joins what meets at the seam of a closed line.
  void close()
  {
    if (lines.size() == 1) {
      lines.front()->adjustClosedness(closingGap);
    } else if (lines.size() > 1 && start == end) {
      lines.back()->addPolyLine(*lines.front(), true, false);
      lines.front() = std::move(lines.back());
      lines.pop_back();
    }
  }

  std::vector<std::shared_ptr<PolyLine<P>>> take() { return std::move(lines); }

private:
  std::vector<std::shared_ptr<PolyLine<P>>> lines;
  const P* start = nullptr; // of the first piece
  const P* end = nullptr;   // of the last piece
};

template <class P>
void appendSegments(const PolyLine<P>& polyline, std::vector<Segment<P>>& segments)
{
  for (std::size_t i = 0; i < polyline.numberOfSegments(); ++i)
    segments.push_back(polyline.getSegment(i));
}

} // namespace

template <PolyLinePoint P>
std::vector<std::shared_ptr<PolyLine<P>>>
PolyLineAlgorithm::subtractSegments(const PolyLine<P>& polyline, const std::vector<Segment<P>>& segments,
                                    double sqrCollinearTol, double sqrLengthTol)
{
  if (polyline.numberOfPoints() < 2 || segments.empty()) return {std::make_shared<PolyLine<P>>(polyline)};
  const auto remainders = cutAll(polyline, Subtrahend<P>(segments, sqrCollinearTol, sqrLengthTol));
  Chain<P> chain;
  for (const Remainder<P>& remainder : remainders)
    for (const Segment<P>& piece : remainder.pieces)
      chain.add(piece);
  if (polyline.isClosed()) chain.close();
  return chain.take();
}

template <PolyLinePoint P>
std::vector<std::shared_ptr<PolyLine<P>>>
PolyLineAlgorithm::subtractPolylineBoundary(const PolyLine<P>& polyline, const PolyLine<P>& other,
                                            double sqrCollinearTol, double sqrLengthTol)
{
  std::vector<Segment<P>> segments;
  segments.reserve(other.numberOfSegments());
  appendSegments(other, segments);
  return subtractSegments(polyline, segments, sqrCollinearTol, sqrLengthTol);
}

template <PolyLinePoint P>
std::vector<std::shared_ptr<PolyLine<P>>>
PolyLineAlgorithm::subtractPolylineBoundaries(const PolyLine<P>& polyline,
                                              const std::vector<std::shared_ptr<const PolyLine<P>>>& list,
                                              double sqrCollinearTol, double sqrLengthTol)
{
  std::vector<Segment<P>> segments;
  for (const auto& line : list)
    if (line) appendSegments(*line, segments);
  return subtractSegments(polyline, segments, sqrCollinearTol, sqrLengthTol);
}

#define KV_INSTANTIATE(...) KV_POLYLINE_SUBTRACT(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
