#include "geometry/PolyLineAlgorithm.h"

#include <algorithm>
#include <utility>

namespace Kavrel {

namespace {

constexpr double sqrClosingGap = 1e-6;   // strictly below: the piece is closed
constexpr double sqrVertexReach = 1e-24; // at or below: an end of the piece is the vertex

template <class P>
double sqrDistance(const P& a, const P& b)
{
  return static_cast<double>(a.sqrDistance(b));
}

/// Appends the start of each segment behind `segment`, up to that of `last`; those of all segments where the two are
/// the same.
template <class P>
void appendStarts(const PolyLine<P>& polyline, std::size_t segment, std::size_t last, std::vector<P>& vertices)
{
  const std::size_t segments = polyline.numberOfSegments();
  do {
    segment = segment + 1 < segments ? segment + 1 : 0;
    vertices.push_back(polyline[segment]);
  } while (segment != last);
}

/// Whether the piece of a closed line from one parameter to another holds a third one.
bool holds(double from, double to, double reference)
{
  if (from < to) return from <= reference && reference <= to;
  return from == to || reference <= to || reference >= from;
}

} // namespace

template <PolyLinePoint P>
bool PolyLineAlgorithm::trim(const PolyLine<P>& polyline, typename P::Scalar from, typename P::Scalar to,
                             PolyLine<P>& out)
{
  P first, last;
  std::size_t firstSegment = 0, lastSegment = 0;
  if (!polyline.evaluateParameterPointAndSegment(static_cast<double>(from), first, firstSegment)) return false;
  if (!polyline.evaluateParameterPointAndSegment(static_cast<double>(to), last, lastSegment)) return false;

  std::vector<P> vertices;
  if (sqrDistance(first, *polyline.getSegment(firstSegment).getEnd()) > sqrVertexReach) vertices.push_back(first);
  const bool onward = firstSegment != lastSegment || from > to;
  if (onward && polyline.numberOfSegments() > 0) appendStarts(polyline, firstSegment, lastSegment, vertices);
  if (sqrDistance(last, polyline[lastSegment]) > sqrVertexReach) vertices.push_back(last);

  out = polyline;
  out.setClosed(sqrDistance(first, last) < sqrClosingGap);
  out.getPointCollection() = std::move(vertices);
  return true;
}

template <PolyLinePoint P>
std::shared_ptr<PolyLine<P>> PolyLineAlgorithm::trim(const PolyLine<P>& polyline, typename P::Scalar from,
                                                     typename P::Scalar to)
{
  auto piece = std::make_shared<PolyLine<P>>(static_cast<double>(polyline.getTolerance()));
  return trim(polyline, from, to, *piece) ? piece : nullptr;
}

template <PolyLinePoint P>
std::shared_ptr<PolyLine<P>>
PolyLineAlgorithm::trim(const PolyLine<P>& polyline, const Point<typename P::Scalar, P::Dim>& from,
                        const Point<typename P::Scalar, P::Dim>& to, const Point<typename P::Scalar, P::Dim>& reference)
{
  using T = typename P::Scalar;

  std::vector<double> parameters;
  polyline.getPointParameters(&parameters);
  double first = polyline.calculateParameter(from, &parameters);
  double last = polyline.calculateParameter(to, &parameters);
  const bool swapped =
      polyline.isClosed() ? !holds(first, last, polyline.calculateParameter(reference, &parameters)) : first > last;
  if (swapped) std::swap(first, last);
  auto piece = trim(polyline, static_cast<T>(first), static_cast<T>(last));
  if (piece && swapped) piece->reverse();
  return piece;
}

template <PolyLinePoint P>
bool PolyLineAlgorithm::resetFirstPointIndexTo(std::size_t index, PolyLine<P>& polyline)
{
  if (!polyline.isClosed() || index == 0 || index >= polyline.numberOfPoints()) return false;
  std::rotate(polyline.begin(), polyline.begin() + static_cast<std::ptrdiff_t>(index), polyline.end());
  return true;
}

#define KV_INSTANTIATE(...) KV_POLYLINE_TRIM(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
