#include "geometry/PolyLineAlgorithm.h"

#include "geometry/PolyLinePlaces.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Kavrel {

namespace {

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
  if (&out == &polyline) return trim(PolyLine<P>(polyline), from, to, out);
  PolyLinePlaces::Place<P> first{}, last{};
  if (!polyline.evaluateParameterPointAndSegment(static_cast<double>(from), first.point, first.segment)) return false;
  if (!polyline.evaluateParameterPointAndSegment(static_cast<double>(to), last.point, last.segment)) return false;
  out = polyline;
  out.clearPoints();
  out.setClosed(PolyLinePlaces::closes(first.point, last.point));
  PolyLinePlaces::appendPiece(polyline, first, last, !(from > to), out.getPointCollection());
  return true;
}

template <PolyLinePoint P>
std::shared_ptr<PolyLine<P>> PolyLineAlgorithm::trim(const PolyLine<P>& polyline, typename P::Scalar from,
                                                     typename P::Scalar to)
{
  auto piece = std::make_shared<PolyLine<P>>(static_cast<double>(polyline.getTolerance()));
  if (!trim(polyline, from, to, *piece)) return nullptr;
  std::vector<P>& points = piece->getPointCollection();
  if (points.size() < points.capacity() / 2)
    points.shrink_to_fit(); // many short pieces of a long line are kept at once
  return piece;
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
