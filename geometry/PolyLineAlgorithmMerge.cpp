#include "geometry/PolyLineAlgorithm.h"

#include <algorithm>
#include <span>

namespace Kavrel {

namespace {

constexpr double sqrCoincidence = 1e-10;         // of squared distances
constexpr double sharpTurn = 1.0471975511965976; // π/3, strictly above: the joint stays doubled
constexpr double angleEps = 0.0001;

template <class P>
using List = std::span<const PolyLine<P>* const>;

template <class P>
double sqrDistance(const P& a, const P& b)
{
  return static_cast<double>(a.sqrDistance(b));
}

/// Whether a line has two points only, equal to each other and to the neighbour's end.
template <class P>
bool repeats(const PolyLine<P>& line, const P& neighbour)
{
  const auto coincide = [](const P& a, const P& b) { return sqrDistance(a, b) <= sqrCoincidence; };
  return line.numberOfPoints() == 2 && coincide(line.front(), line.back()) && coincide(line.front(), neighbour) &&
         coincide(line.back(), neighbour);
}

template <class P>
List<P> withoutRepeatingEnds(List<P> list)
{
  if (list.size() > 1 && repeats(*list.back(), list[list.size() - 2]->back())) list = list.first(list.size() - 1);
  if (list.size() > 1 && repeats(*list.front(), list[1]->front())) list = list.subspan(1);
  return list;
}

/// Whether the merged line would turn sharply at the vertex `j` of the next one.
template <class P>
bool turnsSharply(const std::vector<P>& merged, const std::vector<P>& points, std::size_t j)
{
  using T = typename P::Scalar;

  if (merged.size() < 2 || j + 1 >= points.size()) return false;
  if (!(sqrDistance(points[j + 1], points[j]) > sqrCoincidence)) return false;
  if (!(sqrDistance(points[j], merged.back()) > sqrCoincidence)) return false;
  const Vector<T, P::Dim> incoming = merged.back() - merged[merged.size() - 2];
  return static_cast<double>(incoming.angle(points[j + 1] - points[j], T(angleEps))) > sharpTurn;
}

/// How many leading points only repeat the end of the merged line.
template <class P>
std::size_t numberOfRepeatedPoints(const std::vector<P>& merged, const std::vector<P>& points, double sqrTolerance)
{
  std::size_t j = 0;
  if (merged.empty()) return j;
  while (j < points.size() && sqrDistance(merged.back(), points[j]) < sqrTolerance && !turnsSharply(merged, points, j))
    ++j;
  return j;
}

/// Appends all lines; whether the result is closed.
template <class P>
bool appendAll(List<P> list, double sqrTolerance, std::vector<P>& merged)
{
  bool closed = true;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::vector<P>& points = list[i]->getPointCollection();
    const bool isLast = i + 1 == list.size();
    std::size_t first = numberOfRepeatedPoints(merged, points, sqrTolerance);
    std::size_t end = points.size();
    if (isLast && first == end) --first;
    if (isLast && !merged.empty()) {
      const double gap = sqrDistance(merged.front(), points.back());
      if (gap < sqrTolerance) --end;
      if (gap > 100.0 * sqrTolerance) closed = false;
    }
    for (; first < end; ++first)
      merged.push_back(points[first]);
  }
  return closed;
}

/// Whether an open line closes; it loses its last point then.
template <class P>
bool closesByItself(double sqrTolerance, std::vector<P>& points)
{
  if (!(0.01 * sqrTolerance > sqrDistance(points.front(), points.back()))) return false;
  points.pop_back();
  return true;
}

} // namespace

template <PolyLinePoint P>
void PolyLineAlgorithm::mergePolyLines(const std::vector<std::shared_ptr<const PolyLine<P>>>& list, PolyLine<P>& out)
{
  std::vector<const PolyLine<P>*> lines;
  std::vector<P>& merged = out.getPointCollection();
  std::size_t count = merged.size();
  for (const auto& line : list) {
    if (!line || line->isEmpty()) continue;
    lines.push_back(line.get());
    count += line->numberOfPoints();
  }
  if (lines.empty()) return;
  // Many calls with the same line take linear time together.
  if (count > merged.capacity()) merged.reserve(std::max(count, 2 * merged.capacity()));

  const List<P> remaining = withoutRepeatingEnds<P>(lines);
  const double sqrTolerance = static_cast<double>(out.getTolerance() * out.getTolerance());
  bool closed = appendAll<P>(remaining, sqrTolerance, merged);
  if (remaining.size() == 1) closed = remaining.front()->isClosed() || closesByItself(sqrTolerance, merged);
  out.setClosed(closed);
}

#define KV_INSTANTIATE(...) KV_POLYLINE_MERGE(template KVSHAPES_EXPORT, __VA_ARGS__)
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
