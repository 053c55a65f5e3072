#pragma once

#include "geometry/BoundingVolumeHierarchy/PackedLeafTests.h"
#include "geometry/BoundingVolumeHierarchy/Primitives.h"
#include "geometry/BoundingVolumeHierarchy/Traversals.h"

#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

/// The common queries, each a few lines over a traversal. Results hold element positions; the caller turns them into
/// ids with `getElementId` and completes a result with its `post`.
namespace Kavrel::BoundingVolumeHierarchy {

/// Points of all kinds are searched by their position.
template <class Query>
const auto& asQuery(const Query& query)
{
  if constexpr (requires { Query::Size; })
    return static_cast<const Vector<typename Query::Scalar, Query::Size>&>(query);
  else
    return query;
}

/// The element nearest to a point or plane. Of several at the same distance the first in traversal order stays. A
/// result that already holds a distance is only improved.
template <class Hierarchy, class Query, class Result>
void closest(const Hierarchy& tree, const Query& query, Result& result)
{
  const auto& point = asQuery(query);
  NearestLeaf leaf{tree, point, result};
  visitNearestFirst(
      tree, SquareDistanceOfChildren(point), [&leaf](double value) { return leaf.tooFar(value); }, leaf);
  leaf.finish();
}

/// The smallest double above a squared distance: what a result starts with so that this distance itself still counts.
inline double justAbove(double squareDistance)
{
  constexpr double largest = std::numeric_limits<double>::max();
  return squareDistance < largest ? std::nextafter(squareDistance, largest) : largest;
}

/// Runs a search that only takes what lies within a squared distance, the bound included: the result starts as found
/// just above it, and is cleared where nothing better came. \p result is a fresh one.
template <class Result, class Search>
void searchWithin(double maxSquareDistance, Result& result, const Search& search)
{
  const double limit = justAbove(maxSquareDistance);
  result.found = true;
  result.squareDistance = limit;
  search();
  if (result.squareDistance < limit) return;
  result.found = false;
  result.squareDistance = std::numeric_limits<double>::max();
}

/// The nearest element within a squared distance, the bound included; nothing lies within NaN. \p result is a fresh
/// one.
template <class Hierarchy, class Query, class Result>
void closestWithin(const Hierarchy& tree, const Query& query, double maxSquareDistance, Result& result)
{
  if (std::isnan(maxSquareDistance)) return;
  searchWithin(maxSquareDistance, result, [&] { closest(tree, query, result); });
}

/// The hit with the parameter of smallest size along a Ray, Line or LegacyLine.
template <class Hierarchy, class Query, class Result>
void firstHit(const Hierarchy& tree, const Query& query, Result& result)
{
  double best = std::numeric_limits<double>::max();
  visitNearestFirst(
      tree, ParameterOfChildren<Query>(query), [&best](double value) { return value > best; },
      FirstHitLeaf{tree, query, result, best});
}

/// All elements that a Ray, Line or LegacyLine meets, in traversal order: `sink(result)` for each, with its position in
/// `secondIndex`.
template <class Result, class Hierarchy, class Query, class Sink>
  requires OneOf<Query, Ray, Line, LegacyLine>
void allHits(const Hierarchy& tree, const Query& query, const Sink& sink)
{
  visitAllNear(
      tree, ParameterOfChildren<Query>(query),
      [](double value) { return value == std::numeric_limits<double>::infinity(); },
      AllHitsLeaf<Result, Hierarchy, Query, Sink>{tree, query, sink});
}

/// The same for a plane.
template <class Result, class Hierarchy, unsigned dim, class Sink>
void allHits(const Hierarchy& tree, const Plane<double, dim>& query, const Sink& sink)
{
  visitAllNear(
      tree, GapOfChildren(query), [](double gap) { return gap > 0.0; },
      AllHitsLeaf<Result, Hierarchy, Plane<double, dim>, Sink>{tree, query, sink});
}

/// All elements within a squared distance of a point or plane, the bound included, in traversal order: `sink(result)`
/// for each, with its position in `secondIndex`.
template <class Result, class Hierarchy, class Query, class Sink>
void withinRadius(const Hierarchy& tree, const Query& query, double maxSquareDistance, const Sink& sink)
{
  const auto& point = asQuery(query);
  WithinRadiusLeaf<Result, Hierarchy, std::remove_cvref_t<decltype(point)>, Sink> leaf{tree, point, maxSquareDistance,
                                                                                       sink};
  visitAllNear(
      tree, SquareDistanceOfChildren(point), [maxSquareDistance](double value) { return value > maxSquareDistance; },
      leaf);
  leaf.finish();
}

/// The positions of all elements in leaves whose boxes meet a box. The elements themselves are not tested.
template <class Hierarchy, class Box>
void collectLeafs(const Hierarchy& tree, const Box& box, std::vector<int>& positions)
{
  visitAll(
      tree, [&box](const auto& volume) { return overlaps(volume, box); },
      [&positions](std::uint32_t first, std::uint32_t end) {
        for (std::uint32_t position = first; position < end; ++position)
          positions.push_back(static_cast<int>(position));
      });
}

/// The nearest pair of elements of two hierarchies, neither of them empty. A result that already holds a distance is
/// only improved.
template <class HierarchyA, class HierarchyB, class Result>
void closestPair(const HierarchyA& treeA, const HierarchyB& treeB, Result& result)
{
  NearestLeafPair leaves{treeA, treeB, result};
  visitNearestPairs(
      treeA, treeB, 0, 0, [&leaves](double value) { return leaves.tooFar(value); }, leaves);
  leaves.finish();
}

/// Hands all pairs of element positions to `test(positionA, positionB)` that stand in leaves whose volumes, and those
/// of all nodes above, `accepts(volumeA, volumeB)` lets pass, in traversal order. Neither hierarchy is empty.
template <class HierarchyA, class HierarchyB, class Accepts, class Test>
void overlappingPairs(const HierarchyA& treeA, const HierarchyB& treeB, const Accepts& accepts, const Test& test)
{
  visitAllPairs(treeA, treeB, 0, 0, accepts, [&test](const auto& a, const auto& b) {
    for (std::uint32_t i = a.firstElement(); i < a.endElement(); ++i)
      for (std::uint32_t j = b.firstElement(); j < b.endElement(); ++j)
        test(i, j);
  });
}

/// All pairs of elements of two hierarchies that cross, in traversal order: `sink(result)` for each, with the positions
/// in `firstIndex` and `secondIndex`. Neither hierarchy is empty.
template <class HierarchyA, class HierarchyB, class Sink>
void crossingPairs(const HierarchyA& treeA, const HierarchyB& treeB, const Sink& sink)
{
  visitAllPairs(
      treeA, treeB, 0, 0, [](const auto& a, const auto& b) { return overlaps(a, b); },
      CrossingLeafPair<HierarchyA, HierarchyB, Sink>{treeA, treeB, sink});
}

/// All pairs of elements within a squared distance of each other, the bound included, in traversal order:
/// `sink(result)` for each, with the positions in `firstIndex` and `secondIndex`.
template <class Result, class HierarchyA, class HierarchyB, class Sink>
void pairsWithin(const HierarchyA& treeA, const HierarchyB& treeB, double maxSquareDistance, const Sink& sink)
{
  overlappingPairs(
      treeA, treeB,
      [maxSquareDistance](const auto& a, const auto& b) { return squareDistance(a, b) <= maxSquareDistance; },
      [&](std::uint32_t i, std::uint32_t j) {
        Result result;
        distance(treeA.getElement(i), treeB.getElement(j), result);
        if (!(maxSquareDistance >= result.squareDistance)) return;
        result.firstIndex = i;
        result.secondIndex = j;
        sink(result);
      });
}

} // namespace Kavrel::BoundingVolumeHierarchy
