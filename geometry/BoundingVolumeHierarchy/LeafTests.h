#pragma once

#include "geometry/BoundingVolumeHierarchy/Distance.h"
#include "geometry/BoundingVolumeHierarchy/Intersection.h"

#include <cmath>
#include <cstdint>

/// What the common queries do with the elements of a leaf, in ascending position. The `Plain` forms test every element;
/// the others are these unless the tree helps to leave some out (PackedLeafTests.h).
namespace Kavrel::BoundingVolumeHierarchy {

/// Keeps the nearest element.
template <class Hierarchy, class Query, class Result>
struct NearestLeaf
{
  const Hierarchy& tree;
  const Query& query;
  Result& result;

  /// Whether something at that distance can be left out.
  bool tooFar(double value) const { return result.found && value > result.squareDistance; }
  /// To be called behind the last leaf.
  void finish() const {}

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position)
      if (distance(query, tree.getElement(position), result)) result.secondIndex = position;
  }
};

/// Keeps the hit with the parameter of smallest size, which is also kept in `best`.
template <class Hierarchy, class Query, class Result>
struct PlainFirstHitLeaf
{
  const Hierarchy& tree;
  const Query& query;
  Result& result;
  double& best;

  void test(std::uint32_t position) const
  {
    Result candidate;
    if (!intersect(query, tree.getElement(position), candidate) || !(best > std::abs(candidate.parameter))) return;
    best = std::abs(candidate.parameter);
    candidate.secondIndex = position;
    result = candidate;
  }

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position)
      test(position);
  }
};

template <class Hierarchy, class Query, class Result>
struct FirstHitLeaf : PlainFirstHitLeaf<Hierarchy, Query, Result>
{};

template <class Hierarchy, class Query, class Result>
FirstHitLeaf(const Hierarchy&, const Query&, Result&, double&) -> FirstHitLeaf<Hierarchy, Query, Result>;

/// Hands every hit on.
template <class Result, class Hierarchy, class Query, class Sink>
struct PlainAllHitsLeaf
{
  const Hierarchy& tree;
  const Query& query;
  const Sink& sink;

  void test(std::uint32_t position) const
  {
    Result result;
    if (!intersect(query, tree.getElement(position), result)) return;
    result.secondIndex = position;
    sink(result);
  }

  /// For a hit that is certain and has nothing to tell.
  void take(std::uint32_t position) const
  {
    Result result;
    result.intersected = true;
    result.secondIndex = position;
    sink(result);
  }

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position)
      test(position);
  }
};

template <class Result, class Hierarchy, class Query, class Sink>
struct AllHitsLeaf : PlainAllHitsLeaf<Result, Hierarchy, Query, Sink>
{};

/// Hands every element on that lies within a squared distance.
template <class Result, class Hierarchy, class Query, class Sink>
struct PlainWithinRadiusLeaf
{
  const Hierarchy& tree;
  const Query& query;
  double maxSquareDistance;
  const Sink& sink;

  void test(std::uint32_t position) const
  {
    Result result;
    distance(query, tree.getElement(position), result);
    if (!(maxSquareDistance >= result.squareDistance)) return;
    result.secondIndex = position;
    sink(result);
  }

  /// To be called behind the last leaf.
  void finish() const {}

  void operator()(std::uint32_t first, std::uint32_t end) const
  {
    for (std::uint32_t position = first; position < end; ++position)
      test(position);
  }
};

template <class Result, class Hierarchy, class Query, class Sink>
struct WithinRadiusLeaf : PlainWithinRadiusLeaf<Result, Hierarchy, Query, Sink>
{};

/// Keeps the nearest pair of elements of two leaves.
template <class HierarchyA, class HierarchyB, class Result>
struct NearestLeafPair
{
  const HierarchyA& treeA;
  const HierarchyB& treeB;
  Result& result;

  /// Whether nodes at that distance can be left out.
  bool tooFar(double value) const { return result.found && value >= result.squareDistance; }

  /// To be called behind the last pair of leaves.
  void finish() const {}

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

/// Hands every crossing of elements of two leaves on.
template <class HierarchyA, class HierarchyB, class Sink>
struct PlainCrossingLeafPair
{
  const HierarchyA& treeA;
  const HierarchyB& treeB;
  const Sink& sink;

  void test(std::uint32_t i, std::uint32_t j) const
  {
    IntersectionQueryResult<typename HierarchyA::Element, typename HierarchyB::Element> result;
    if (!intersect(treeA.getElement(i), treeB.getElement(j), result)) return;
    result.firstIndex = i;
    result.secondIndex = j;
    sink(result);
  }

  template <class NodeA, class NodeB>
  void operator()(const NodeA& a, const NodeB& b) const
  {
    for (std::uint32_t i = a.firstElement(); i < a.endElement(); ++i)
      for (std::uint32_t j = b.firstElement(); j < b.endElement(); ++j)
        test(i, j);
  }
};

template <class HierarchyA, class HierarchyB, class Sink>
struct CrossingLeafPair : PlainCrossingLeafPair<HierarchyA, HierarchyB, Sink>
{};

} // namespace Kavrel::BoundingVolumeHierarchy
