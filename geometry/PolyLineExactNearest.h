#pragma once

#include "geometry/BoundingVolumeHierarchy/ClosestPoints.h"
#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"
#include "geometry/BoundingVolumeHierarchy/Queries.h"
#include "geometry/PolyLine.h"
#include "geometry/PolyLineNearest.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace Kavrel::PolyLineNearest {

/// The largest size of a coordinate; infinite where one isn't finite.
template <class P>
double largestCoordinate(const PolyLine<P>& polyline)
{
  double largest = 0.0;
  for (const P& point : polyline)
    for (unsigned i = 0; i < P::Dim; ++i) {
      const double size = std::abs(static_cast<double>(point[i]));
      if (!(size <= largest)) largest = std::isfinite(size) ? size : std::numeric_limits<double>::infinity();
    }
  return largest;
}

/// Coordinates above are beyond what the boxes of a tree can hold.
inline constexpr double largestSearchable = 1e37;

/// Whether a tree can hold a line and serves that many queries better than walks along the line. To build a tree costs
/// as much as \p leastQueries walks along a long line.
template <class P>
bool isWorthATree(const PolyLine<P>& polyline, std::size_t queries, std::size_t leastQueries)
{
  constexpr std::size_t plainPairs = 20'000;
  const std::size_t segments = polyline.numberOfSegments();
  return segments >= 32 && queries >= std::max(leastQueries, plainPairs / segments) &&
         largestCoordinate(polyline) < largestSearchable;
}

/// PolyLineAlgorithm::sqrDist() of many points to one line, bit for bit: the tree leaves out only segments that are
/// measured as farther than the best by more than rounding can do, and the rest is measured by the same arithmetic.
/// Borrows the line.
template <class P>
class ManyNearest
{
public:
  using T = typename P::Scalar;
  using Position = Point<T, P::Dim>;

  ManyNearest(const PolyLine<P>& polyline, std::size_t queries) : line(polyline)
  {
    constexpr std::size_t leastQueries = 64;
    if (!isWorthATree(polyline, queries, leastQueries)) return;
    size = largestCoordinate(polyline);
    tree.emplace(polyline);
  }

  T sqrDist(const Position& point, double& u, std::size_t& segment) const
  {
    return sqrDistWithin(point, std::numeric_limits<T>::max(), u, segment);
  }

  /// The same where it is below \p bound; else something that isn't.
  T sqrDistWithin(const Position& point, T bound, double& u, std::size_t& segment) const
  {
    const double reach = std::max(size, sizeOf(point));
    if (!tree || !(reach < largestSearchable)) return line.sqrDist(point, u, segment);
    return search(point, bound, PruningSlack::of<T>(reach), u, segment);
  }

private:
  struct Best
  {
    T sqrDistance;
    T t = T(0);
    std::size_t segment = 0;
    bool isFirstVertex = true;

    /// Among equals the first vertex wins, then the first segment, in whichever order they come.
    void offer(T candidate, T parameter, std::size_t index)
    {
      const bool wins = candidate < sqrDistance || (candidate == sqrDistance && !isFirstVertex && index < segment);
      if (wins) *this = {candidate, parameter, index, false};
    }
  };

  T search(const Position& point, T bound, const PruningSlack& slack, double& u, std::size_t& segment) const
  {
    namespace Bvh = BoundingVolumeHierarchy;
    const auto& hierarchy = tree->getBvh();
    Best best{point.sqrDistance(line.front())};
    const auto limitOf = [&] { return slack.sqrLimit(static_cast<double>(std::min(best.sqrDistance, bound))); };
    double limit = limitOf();
    Bvh::visitNearestFirst(
        hierarchy, Bvh::SquareDistanceOfChildren(toDouble(point)),
        [&limit](double sqrDistance) { return sqrDistance > limit; },
        [&](std::uint32_t first, std::uint32_t end) {
          for (std::uint32_t i = first; i < end; ++i) {
            const auto& element = hierarchy.getElement(i);
            const auto [sqrDistance, t] = viewOf<T, P::Dim>(*element.getStart(), *element.getEnd(), point).nearest();
            best.offer(sqrDistance, t, hierarchy.getElementId(i));
          }
          limit = limitOf();
        });
    u = static_cast<double>(best.t);
    segment = best.segment;
    return best.sqrDistance;
  }

  const PolyLine<P>& line;
  double size = 0.0;
  std::optional<BoundingVolumeHierarchy::PolyLineSearchTree<P>> tree;
};

} // namespace Kavrel::PolyLineNearest
