#include "geometry/PolyLineThinOutAlgorithm.h"

#include <numeric>
#include <vector>

namespace Kavrel {

namespace {

/// The greedy method. A vertex that was kept is kept again as long as its neighbours stay the same, so a pass after the
/// first takes up only those that wait since a neighbour went.
template <PolyLinePoint P>
class GreedyThinOut
{
public:
  using T = typename P::Scalar;

  GreedyThinOut(const std::vector<P>& vertices, bool isClosed, T tolerance)
      : points(vertices), closed(isClosed), sqrTolerance(tolerance * tolerance), remaining(vertices.size())
  {
    if (remaining < 3) return;
    link();
    while (remaining > 2 && !waiting.empty())
      pass();
  }

  std::size_t numberOfDropped() const { return points.size() - remaining; }
  bool isDropped(std::size_t index) const { return !dropped.empty() && dropped[index]; }

private:
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  void link()
  {
    const std::size_t count = points.size();
    before.resize(count);
    behind.resize(count);
    std::iota(before.begin() + 1, before.end(), std::size_t(0));
    std::iota(behind.begin(), behind.end() - 1, std::size_t(1));
    before.front() = count - 1;
    behind.back() = 0;
    dropped.resize(count);
    waiting.resize(closed ? count : count - 2);
    std::iota(waiting.begin(), waiting.end(), std::size_t(closed ? 0 : 1));
  }

  void pass()
  {
    current.swap(waiting);
    waiting.clear();
    std::size_t skipped = none;
    for (std::size_t k = 0; k < current.size(); ++k) {
      const std::size_t i = current[k];
      if (i == skipped || stays(i)) continue;
      drop(i);
      if (remaining == 2) return;
      skipped = behind[i];
      notify(before[i], i);
      notify(behind[i], i);
    }
  }

  bool stays(std::size_t i) const
  {
    const P& start = points[before[i]];
    const Vector<T, P::Dim> chord = points[behind[i]] - start;
    const T sqrChord = chord.sqrLength();
    if (!(sqrChord >= sqrTolerance)) return false;
    const Vector<T, P::Dim> way = points[i] - start;
    const T along = way.dot(chord);
    return way.sqrLength() - along * along / sqrChord >= sqrTolerance;
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
    if (!closed && (neighbour == 0 || neighbour + 1 == points.size())) return;
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
  std::size_t remaining;
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

/// Keeps the points of the ascending indices.
template <PolyLinePoint P>
void keepOnly(const std::vector<std::size_t>& indices, std::vector<P>& points)
{
  for (std::size_t i = 0; i < indices.size(); ++i)
    points[i] = points[indices[i]];
  points.resize(indices.size());
}

} // namespace

template <PolyLinePoint P>
std::unordered_set<std::size_t> PolyLineThinOutAlgorithm::computeThinoutPoints(const PolyLine<P>& polyline,
                                                                               typename P::Scalar tolerance)
{
  const GreedyThinOut<P> thinOut(polyline.getPointCollection(), polyline.isClosed(), tolerance);
  std::unordered_set<std::size_t> indices;
  indices.reserve(thinOut.numberOfDropped());
  for (std::size_t i = 0; i < polyline.numberOfPoints(); ++i)
    if (thinOut.isDropped(i)) indices.insert(i);
  return indices;
}

template <PolyLinePoint P>
bool PolyLineThinOutAlgorithm::thinout(PolyLine<P>& polyline, typename P::Scalar tolerance)
{
  std::vector<P>& points = polyline.getPointCollection();
  const GreedyThinOut<P> thinOut(points, polyline.isClosed(), tolerance > 0 ? tolerance : polyline.getTolerance());
  if (thinOut.numberOfDropped() == 0) return false;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < points.size(); ++i)
    if (!thinOut.isDropped(i)) points[kept++] = points[i];
  points.resize(kept);
  return true;
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
  if (kept.size() == count) return false;
  keepOnly(kept, points);
  return true;
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
