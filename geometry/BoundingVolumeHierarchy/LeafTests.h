#pragma once

#include "geometry/BoundingVolumeHierarchy/Distance.h"
#include "geometry/BoundingVolumeHierarchy/Intersection.h"

#include <cmath>
#include <cstdint>

/// What the common queries do with the elements of a leaf, in ascending position.
namespace Kavrel::BoundingVolumeHierarchy {

/// Keeps the nearest element.
template <class Hierarchy, class Query, class Result>
struct NearestLeaf
{
  const Hierarchy& tree;
  const Query& query;
  Result& result;

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position)
      if (distance(query, tree.getElement(position), result)) result.secondIndex = position;
  }
};

/// Keeps the hit with the parameter of smallest size, which is also kept in `best`.
template <class Hierarchy, class Query, class Result>
struct FirstHitLeaf
{
  const Hierarchy& tree;
  const Query& query;
  Result& result;
  double& best;

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position) {
      Result candidate;
      if (!intersect(query, tree.getElement(position), candidate) || !(best > std::abs(candidate.parameter))) continue;
      best = std::abs(candidate.parameter);
      candidate.secondIndex = position;
      result = candidate;
    }
  }
};

/// Hands every hit on.
template <class Result, class Hierarchy, class Query, class Sink>
struct AllHitsLeaf
{
  const Hierarchy& tree;
  const Query& query;
  const Sink& sink;

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position) {
      Result result;
      if (!intersect(query, tree.getElement(position), result)) continue;
      result.secondIndex = position;
      sink(result);
    }
  }
};

/// Hands every element on that lies within a squared distance.
template <class Result, class Hierarchy, class Query, class Sink>
struct WithinRadiusLeaf
{
  const Hierarchy& tree;
  const Query& query;
  double maxSquareDistance;
  const Sink& sink;

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position) {
      Result result;
      distance(query, tree.getElement(position), result);
      if (!(maxSquareDistance >= result.squareDistance)) continue;
      result.secondIndex = position;
      sink(result);
    }
  }
};

/// Keeps the nearest pair of elements of two leaves.
template <class HierarchyA, class HierarchyB, class Result>
struct NearestLeafPair
{
  const HierarchyA& treeA;
  const HierarchyB& treeB;
  Result& result;

  template <class NodeA, class NodeB>
  void operator()(const NodeA& a, const NodeB& b) const
  {
    for (std::uint32_t i = a.firstElement(); i < a.endElement(); ++i)
      for (std::uint32_t j = b.firstElement(); j < b.endElement(); ++j)
        if (distance(treeA.getElement(i), treeB.getElement(j), result)) {
          result.firstIndex = i;
          result.secondIndex = j;
        }
  }
};

} // namespace Kavrel::BoundingVolumeHierarchy
