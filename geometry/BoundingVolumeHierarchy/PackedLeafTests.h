#pragma once

#include "geometry/BoundingVolumeHierarchy/FacingNodes.h"
#include "geometry/BoundingVolumeHierarchy/LeafTests.h"
#include "geometry/BoundingVolumeHierarchy/LineFilter.h"
#include "geometry/BoundingVolumeHierarchy/NearestFilter.h"
#include "geometry/BoundingVolumeHierarchy/PairFilter.h"
#include "geometry/BoundingVolumeHierarchy/PlaneFilter.h"

#include <bit>

/// The leaf tests of trees that hold packed triangles. They find what the plain ones find, in the same order, and leave
/// out exact tests whose outcome is certain.
namespace Kavrel::BoundingVolumeHierarchy {

/// Whether the elements of a hierarchy come with packed triangles.
template <class Hierarchy>
concept HasPackedTriangles = requires(const Hierarchy& tree)
{
  tree.getPackedElements().getLeaf(0U);
};

/// Calls `look(rows, stride)` for each four triangles of a leaf, which gives one bit for each that needs a test, and
/// `test(position)` for those, in ascending position.
template <class Hierarchy, class Look, class Test>
void testPacked(const Hierarchy& tree, std::uint32_t first, std::uint32_t end, const Look& look, const Test& test)
{
  constexpr unsigned lanes = PackedElements<Triangle>::lanes;
  const std::uint32_t stride = end - first;
  const float* rows = tree.getPackedElements().getLeaf(first);
  for (std::uint32_t position = first; position < end; position += lanes, rows += lanes) {
    const unsigned inLeaf = end - position >= lanes ? (1U << lanes) - 1U : (1U << (end - position)) - 1U;
    for (unsigned wanted = look(rows, stride, inLeaf) & inLeaf; wanted != 0; wanted &= wanted - 1U)
      test(position + static_cast<std::uint32_t>(std::countr_zero(wanted)));
  }
}

/// Follows the bounds of the packed triangles alone and measures, at the end, what may be the nearest: as a rule one.
template <HasPackedTriangles Hierarchy>
class NearestLeaf<Hierarchy, Vector<double, 3>, DistanceQueryResult<Vector<double, 3>, Triangle>>
{
public:
  using Result = DistanceQueryResult<Vector<double, 3>, Triangle>;

  NearestLeaf(const Hierarchy& searched, const Vector<double, 3>& point, Result& best)
      : tree(searched), query(point), result(best), filter(point, searched.getRoot().volume)
  {
    if (best.found) shorten(best.squareDistance);
  }

  bool tooFar(double value) const { return value > reach; }

  void operator()(std::uint32_t first, std::uint32_t end)
  {
    testPacked(
        tree, first, end,
        [this](const float* rows, std::uint32_t stride, unsigned inLeaf) {
          const unsigned candidates = filter.mayBeWithin(rows, stride) & inLeaf;
          if (candidates != 0) shorten(filter.reachOfNearest(candidates));
          return candidates;
        },
        [this, first](std::uint32_t position) {
          const NearestFilter::Sight sight = filter.getSight((position - first) % PackedElements<Triangle>::lanes);
          if (!filter.isOutOfReach(sight)) wait(position, sight);
        });
  }

  void finish() { measureWaiting(); }

private:
  struct Waiting
  {
    std::uint32_t position;
    NearestFilter::Sight sight;
  };
  static constexpr unsigned maximumWaiting = 16;

  void shorten(double squareDistance)
  {
    if (!(squareDistance < reach)) return;
    reach = squareDistance;
    filter.setReach(squareDistance);
  }

  void wait(std::uint32_t position, const NearestFilter::Sight& sight)
  {
    if (count == maximumWaiting) measureWaiting();
    __builtin_prefetch(&tree.getElement(position));
    waiting[count++] = {position, sight};
  }

  void measureWaiting()
  {
    for (unsigned i = 0; i < count; ++i)
      if (!filter.isOutOfReach(waiting[i].sight)) tree.prefetchCorners(waiting[i].position);
    for (unsigned i = 0; i < count; ++i) {
      if (filter.isOutOfReach(waiting[i].sight)) continue;
      if (!distance(query, tree.getElement(waiting[i].position), result)) continue;
      result.secondIndex = waiting[i].position;
      shorten(result.squareDistance);
    }
    count = 0;
  }

  const Hierarchy& tree;
  const Vector<double, 3>& query;
  Result& result;
  NearestFilter filter;
  double reach = std::numeric_limits<double>::infinity();
  Waiting waiting[maximumWaiting];
  unsigned count = 0;
};

template <HasPackedTriangles Hierarchy, class Sink>
struct WithinRadiusLeaf<DistanceQueryResult<Vector<double, 3>, Triangle>, Hierarchy, Vector<double, 3>, Sink>
{
  using Result = DistanceQueryResult<Vector<double, 3>, Triangle>;

  WithinRadiusLeaf(const Hierarchy& tree, const Vector<double, 3>& query, double maxSquareDistance, const Sink& sink)
      : plain{tree, query, maxSquareDistance, sink}, filter(query, tree.getRoot().volume)
  {
    filter.setReach(maxSquareDistance);
  }

  void operator()(std::uint32_t first, std::uint32_t end)
  {
    testPacked(
        plain.tree, first, end,
        [this](const float* rows, std::uint32_t stride, unsigned inLeaf) {
          return filter.mayBeWithin(rows, stride, inLeaf);
        },
        [this](std::uint32_t position) {
          if (count == maximumWaiting) finish();
          __builtin_prefetch(&plain.tree.getElement(position));
          waiting[count++] = position;
        });
  }

  /// Tests those that wait: their memory is fetched for many at once.
  void finish()
  {
    for (unsigned i = 0; i < count; ++i)
      plain.tree.prefetchCorners(waiting[i]);
    for (unsigned i = 0; i < count; ++i)
      plain.test(waiting[i]);
    count = 0;
  }

private:
  static constexpr unsigned maximumWaiting = 32;

  PlainWithinRadiusLeaf<Result, Hierarchy, Vector<double, 3>, Sink> plain;
  NearestFilter filter;
  std::uint32_t waiting[maximumWaiting];
  unsigned count = 0;
};

/// The exact test for the triangles of a leaf that a line may meet.
template <class Plain>
void testMetTriangles(LineFilter& filter, Plain& plain, std::uint32_t first, std::uint32_t end)
{
  filter.approach(plain.tree.getPackedElements().getLeaf(first), end - first);
  testPacked(
      plain.tree, first, end,
      [&filter](const float* rows, std::uint32_t stride, unsigned) { return filter.mayMeet(rows, stride); },
      [&plain](std::uint32_t position) { plain.test(position); });
}

template <HasPackedTriangles Hierarchy, class Query, class Result>
  requires OneOf<Query, Ray, Line>
struct FirstHitLeaf<Hierarchy, Query, Result>
{
  FirstHitLeaf(const Hierarchy& tree, const Query& query, Result& result, double& best)
      : plain{tree, query, result, best}, filter(query.origin, query.direction, tree.getRoot().volume)
  {}

  void operator()(std::uint32_t first, std::uint32_t end) { testMetTriangles(filter, plain, first, end); }

private:
  PlainFirstHitLeaf<Hierarchy, Query, Result> plain;
  LineFilter filter;
};

template <class Result, HasPackedTriangles Hierarchy, class Query, class Sink>
  requires OneOf<Query, Ray, Line>
struct AllHitsLeaf<Result, Hierarchy, Query, Sink>
{
  AllHitsLeaf(const Hierarchy& tree, const Query& query, const Sink& sink)
      : plain{tree, query, sink}, filter(query.origin, query.direction, tree.getRoot().volume)
  {}

  void operator()(std::uint32_t first, std::uint32_t end) { testMetTriangles(filter, plain, first, end); }

private:
  PlainAllHitsLeaf<Result, Hierarchy, Query, Sink> plain;
  LineFilter filter;
};

template <class Result, HasPackedTriangles Hierarchy, class Sink>
struct AllHitsLeaf<Result, Hierarchy, Plane<double, 3>, Sink>
{
  AllHitsLeaf(const Hierarchy& tree, const Plane<double, 3>& query, const Sink& sink)
      : plain{tree, query, sink}, filter(query, tree.getRoot().volume)
  {}

  void operator()(std::uint32_t first, std::uint32_t end)
  {
    unsigned certain = 0;
    testPacked(
        plain.tree, first, end,
        [&](const float* rows, std::uint32_t stride, unsigned) {
          const PlaneFilter::Verdict verdict = filter.look(rows, stride);
          certain = verdict.meets;
          return verdict.mayMeet;
        },
        [&](std::uint32_t position) {
          const bool isCertain = (certain & 1U << ((position - first) % PackedElements<Triangle>::lanes)) != 0;
          if (isCertain)
            plain.take(position);
          else
            plain.test(position);
        });
  }

private:
  PlainAllHitsLeaf<Result, Hierarchy, Plane<double, 3>, Sink> plain;
  PlaneFilter filter;
};

template <HasPackedTriangles HierarchyA, HasPackedTriangles HierarchyB>
struct NearestLeafPair<HierarchyA, HierarchyB, DistanceQueryResult<Triangle, Triangle>>
{
  using Result = DistanceQueryResult<Triangle, Triangle>;

  NearestLeafPair(const HierarchyA& first, const HierarchyB& second, Result& best)
      : treeA(first), treeB(second), result(best), filter(first.getRoot().volume, second.getRoot().volume),
        facingA(first), facingB(second)
  {
    if (best.found) filter.setReach(best.squareDistance);
  }

  /// Whether the nearest pair may lie below two nodes.
  bool matters(std::uint32_t indexA, std::uint32_t indexB) const
  {
    return facingA.contains(indexA) && facingB.contains(indexB);
  }

  bool tooFar(double value) const
  {
    return result.found && (value >= result.squareDistance || value > known.squareDistance);
  }

  template <class NodeA, class NodeB>
  void operator()(const NodeA& a, const NodeB& b)
  {
    if (++visited == nextLook) lookAhead();
    const float* const rows = treeA.getPackedElements().getLeaf(a.firstElement());
    const std::uint32_t count = a.endElement() - a.firstElement();
    if (filter.areApart(rows, count, treeB.getPackedElements().getLeaf(b.firstElement()),
                        b.endElement() - b.firstElement()))
      return;
    for (std::uint32_t i = 0; i < count; ++i) {
      filter.setSingle(rows + i, count);
      testPacked(
          treeB, b.firstElement(), b.endElement(),
          [this](const float* others, std::uint32_t stride, unsigned) { return filter.mayBeNear(others, stride); },
          [&](std::uint32_t j) {
            if (measure(a.firstElement() + i, j, result) && take(result)) filter.setSingle(rows + i, count);
          });
    }
  }

  /// Takes the nearest pair known where the walk hasn't come to it: rounding may put narrow triangles nearer than their
  /// volumes.
  void finish()
  {
    if (known.squareDistance < result.squareDistance) result = known;
  }

private:
  bool measure(std::uint32_t i, std::uint32_t j, Result& best) const
  {
    if (!distance(treeA.getElement(i), treeB.getElement(j), best)) return false;
    best.firstIndex = i;
    best.secondIndex = j;
    return true;
  }

  /// Looks from now on for what is not farther than a pair.
  bool take(const Result& pair)
  {
    if (!(pair.squareDistance < known.squareDistance)) return false;
    known = pair;
    filter.setReach(known.squareDistance);
    direction = known.secondPoint - known.firstPoint;
    if (direction.normalize()) filter.setDirection(direction);
    return true;
  }

  /// Leaves the parts of both trees out that lie too far back as seen along the direction of the nearest pair known.
  /// Comes again each time the work has doubled, and takes no more than a share of it.
  void lookAhead()
  {
    nextLook *= 2;
    if (!known.found) return;
    approach();
    const double frontA = facingA.front(-direction, visited);
    const double frontB = facingB.front(direction, visited);
    facingA.choose(-direction, filter.getReach() - frontB, visited);
    facingB.choose(direction, filter.getReach() - frontA, visited);
  }

  /// Goes to and fro between the trees, from one place of the nearest pair known to what is nearest to it in the other
  /// tree, for as long as that comes nearer. Looks into no more leaves than were visited so far.
  void approach()
  {
    constexpr unsigned maximumSteps = 32;
    std::size_t leaves = visited;
    Result pair = known;
    for (unsigned step = 0; step < maximumSteps && leaves > 0; ++step) {
      const bool nearer = step % 2 == 0 ? measure(pair.firstIndex, nearestTo(treeB, pair.firstPoint, leaves), pair)
                                        : measure(nearestTo(treeA, pair.secondPoint, leaves), pair.secondIndex, pair);
      if (!nearer && step > 0) break;
    }
    take(pair);
  }

  /// Of the leaves it looks into, which are taken off the number left.
  template <class Hierarchy>
  static std::uint32_t nearestTo(const Hierarchy& tree, const Vector<double, 3>& point, std::size_t& leaves)
  {
    DistanceQueryResult<Vector<double, 3>, Triangle> nearest;
    NearestLeaf leaf{tree, point, nearest};
    visitNearestFirst(
        tree, SquareDistanceOfChildren(point), [&](double value) { return leaves == 0 || leaf.tooFar(value); },
        [&](std::uint32_t first, std::uint32_t end) {
          leaf(first, end);
          --leaves;
        });
    leaf.finish();
    return nearest.secondIndex;
  }

  const HierarchyA& treeA;
  const HierarchyB& treeB;
  Result& result;
  /// A pair that is as near as the result or nearer, though it may not be the first such to come.
  Result known;
  Vector<double, 3> direction;
  PairFilter filter;
  FacingNodes<HierarchyA> facingA;
  FacingNodes<HierarchyB> facingB;
  std::size_t visited = 0;
  std::size_t nextLook = 512;
};

template <HasPackedTriangles HierarchyA, HasPackedTriangles HierarchyB, class Sink>
struct CrossingLeafPair<HierarchyA, HierarchyB, Sink>
{
  CrossingLeafPair(const HierarchyA& treeA, const HierarchyB& treeB, const Sink& sink)
      : plain{treeA, treeB, sink}, filter(treeA.getRoot().volume, treeB.getRoot().volume)
  {}

  template <class NodeA, class NodeB>
  void operator()(const NodeA& a, const NodeB& b)
  {
    const float* const rows = plain.treeA.getPackedElements().getLeaf(a.firstElement());
    const std::uint32_t count = a.endElement() - a.firstElement();
    for (std::uint32_t i = 0; i < count; ++i) {
      filter.setSingle(rows + i, count);
      testPacked(
          plain.treeB, b.firstElement(), b.endElement(),
          [this](const float* others, std::uint32_t stride, unsigned) { return filter.mayCross(others, stride); },
          [&](std::uint32_t j) { plain.test(a.firstElement() + i, j); });
    }
  }

private:
  PlainCrossingLeafPair<HierarchyA, HierarchyB, Sink> plain;
  PairFilter filter;
};

} // namespace Kavrel::BoundingVolumeHierarchy
