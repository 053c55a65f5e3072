#include "geometry/PolyLineThinOutAlgorithm.h"

#include <numeric>
#include <vector>

namespace Kavrel {

namespace {

/// The greedy method. A vertex that was kept is kept again as long as its neighbours stay the same. So once few
/// vertices go in a pass over all, the passes take up only those that wait since a neighbour went.
template <PolyLinePoint P>
class GreedyThinOut
{
public:
  using T = typename P::Scalar;

  GreedyThinOut(const std::vector<P>& vertices, bool isClosed, T tolerance)
      : points(vertices), closed(isClosed), sqrTolerance(tolerance * tolerance), kept(vertices.size())
  {
    std::iota(kept.begin(), kept.end(), std::size_t(0));
    while (kept.size() > 2) {
      const std::size_t count = kept.size();
      sweep();
      const std::size_t gone = count - kept.size();
      if (gone == 0) return;
      if (gone < count / fewGone) {
        settle();
        return;
      }
    }
  }

  /// The indices of the vertices that stay, ascending.
  const std::vector<std::size_t>& keptIndices() const { return kept; }

private:
  static constexpr std::size_t fewGone = 8; // of as many
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  bool stays(std::size_t first, std::size_t i, std::size_t last) const
  {
    const P& start = points[first];
    const Vector<T, P::Dim> chord = points[last] - start;
    const T sqrChord = chord.sqrLength();
    if (!(sqrChord >= sqrTolerance)) return false;
    const Vector<T, P::Dim> way = points[i] - start;
    const T along = way.dot(chord);
    return way.sqrLength() - along * along / sqrChord >= sqrTolerance;
  }

  /// A pass over all vertices that are left.
  void sweep()
  {
    const std::size_t count = kept.size();
    const std::size_t end = closed ? count : count - 1;
    std::size_t spare = count - 2;
    std::size_t to = closed ? 0 : 1;
    for (std::size_t from = to; from < count; ++from) {
      const std::size_t first = kept[to > 0 ? to - 1 : count - 1];
      const std::size_t last = kept[from + 1 < count ? from + 1 : 0];
      if (from < end && spare > 0 && !stays(first, kept[from], last)) {
        --spare;
        if (++from == count) break; // the one behind waits
      }
      kept[to++] = kept[from];
    }
    kept.resize(to);
  }

  /// Passes over those whose neighbours have changed; here a vertex is its place among those that were left.
  void settle()
  {
    link();
    while (remaining > 2 && !waiting.empty())
      settleWaiting();
    std::size_t to = 0;
    for (std::size_t i = 0; i < kept.size(); ++i)
      if (!dropped[i]) kept[to++] = kept[i];
    kept.resize(to);
  }

  void link()
  {
    remaining = kept.size();
    dropped.resize(remaining);
    before.resize(remaining);
    behind.resize(remaining);
    std::iota(before.begin() + 1, before.end(), std::size_t(0));
    std::iota(behind.begin(), behind.end() - 1, std::size_t(1));
    before.front() = remaining - 1;
    behind.back() = 0;
    waiting.resize(closed ? remaining : remaining - 2);
    std::iota(waiting.begin(), waiting.end(), std::size_t(closed ? 0 : 1));
  }

  void settleWaiting()
  {
    current.swap(waiting);
    waiting.clear();
    std::size_t skipped = none;
    for (std::size_t k = 0; k < current.size(); ++k) {
      const std::size_t i = current[k];
      if (i == skipped || stays(kept[before[i]], kept[i], kept[behind[i]])) continue;
      drop(i);
      if (remaining == 2) return;
      skipped = behind[i];
      notify(before[i], i);
      notify(behind[i], i);
    }
  }

  void drop(std::size_t i)
  {
    dropped[i] = true;
    --remaining;
    behind[before[i]] = behind[i];
    before[behind[i]] = before[i];
  }

  /// Lets a neighbour of a dropped vertex wait. `waiting` is in order but for the seam: the last vertex, when the first
  /// one goes, is still ahead in this pass, and the first one, when the last goes, comes before all others in the next.
  void notify(std::size_t neighbour, std::size_t gone)
  {
    if (!closed && (neighbour == 0 || neighbour + 1 == kept.size())) return;
    if (neighbour > gone && neighbour == before[gone]) {
      if (current.back() != neighbour) current.push_back(neighbour);
    } else if (neighbour < gone && neighbour == behind[gone]) {
      if (waiting.front() != neighbour) waiting.insert(waiting.begin(), neighbour);
    } else if (waiting.empty() || waiting.back() != neighbour) {
      waiting.push_back(neighbour);
    }
  }

  const std::vector<P>& points;
  bool closed;
  T sqrTolerance;
  std::vector<std::size_t> kept;

  // For settling
  std::size_t remaining = 0;
  std::vector<std::size_t> before;
  std::vector<std::size_t> behind;
  std::vector<char> dropped;
  std::vector<std::size_t> current; // of this pass
  std::vector<std::size_t> waiting; // for the next pass
};

/// Whether all points from `first` to `last` are collinear with the two.
template <PolyLinePoint P>
bool areCollinear(const std::vector<P>& points, std::size_t first, std::size_t last, const P& start, const P& end,
                  double tolerance)
{
  for (std::size_t i = first; i <= last; ++i)
    if (!points[i].isCollinear(start, end, tolerance)) return false;
  return true;
}

/// Keeps the points of the ascending indices. False if that is all of them.
template <PolyLinePoint P>
bool keepOnly(const std::vector<std::size_t>& indices, std::vector<P>& points)
{
  if (indices.size() == points.size()) return false;
  for (std::size_t i = 0; i < indices.size(); ++i)
    points[i] = points[indices[i]];
  points.resize(indices.size());
  return true;
}

} // namespace

template <PolyLinePoint P>
std::unordered_set<std::size_t> PolyLineThinOutAlgorithm::computeThinoutPoints(const PolyLine<P>& polyline,
                                                                               typename P::Scalar tolerance)
{
  const GreedyThinOut<P> thinOut(polyline.getPointCollection(), polyline.isClosed(), tolerance);
  const std::vector<std::size_t>& kept = thinOut.keptIndices();
  std::unordered_set<std::size_t> indices;
  indices.reserve(polyline.numberOfPoints() - kept.size());
  auto next = kept.begin();
  for (std::size_t i = 0; i < polyline.numberOfPoints(); ++i) {
    if (next != kept.end() && *next == i)
      ++next;
    else
      indices.insert(i);
  }
  return indices;
}

template <PolyLinePoint P>
bool PolyLineThinOutAlgorithm::thinout(PolyLine<P>& polyline, typename P::Scalar tolerance)
{
  std::vector<P>& points = polyline.getPointCollection();
  const typename P::Scalar used = tolerance > 0 ? tolerance : polyline.getTolerance();
  const GreedyThinOut<P> thinOut(points, polyline.isClosed(), used);
  return keepOnly(thinOut.keptIndices(), points);
}

template <PolyLinePoint P>
bool PolyLineThinOutAlgorithm::thinout(PolyLine<P>& polyline, typename P::Scalar tolerance,
                                       const std::set<std::size_t>& protectedIndices)
{
  std::vector<P>& points = polyline.getPointCollection();
  const std::size_t count = points.size();
  const std::size_t minimum = polyline.isClosed() ? 3 : 2;
  if (count <= minimum) return false;

  const std::size_t end = polyline.isClosed() ? count : count - 1;
  auto nextProtected = protectedIndices.upper_bound(0);
  std::vector<std::size_t> kept{0};
  for (std::size_t i = 1; i < end; ++i) {
    const bool isProtected = nextProtected != protectedIndices.end() && *nextProtected == i;
    if (isProtected) ++nextProtected;
    // All vertices behind this one are still there.
    const bool spare = kept.size() + count - i > minimum;
    const std::size_t previous = kept.back();
    const P& next = points[i + 1 < count ? i + 1 : 0];
    if (isProtected || !spare ||
        !areCollinear(points, previous + 1, i, points[previous], next, static_cast<double>(tolerance)))
      kept.push_back(i);
  }
  if (end < count) kept.push_back(end);
  return keepOnly(kept, points);
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT std::unordered_set<std::size_t> PolyLineThinOutAlgorithm::computeThinoutPoints(             \
      const PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar);                                                              \
  template KVSHAPES_EXPORT bool PolyLineThinOutAlgorithm::thinout(PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar);        \
  template KVSHAPES_EXPORT bool PolyLineThinOutAlgorithm::thinout(PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar,         \
                                                                  const std::set<std::size_t>&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
