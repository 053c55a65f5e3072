/// How fast are the nearest segment of a long polyline and the crossings of two found, beside CGAL, Boost and GEOS?
/// Walks of 100,000 steps in random directions (0) or turning slowly (1). Times are per query, and per pair of lines.

#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"
#include "geometry/PolyLine.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <CGAL/AABB_segment_primitive.h>
#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/Simple_cartesian.h>
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <geos/algorithm/LineIntersector.h>
#include <geos/geom/CoordinateArraySequence.h>
#include <geos/noding/BasicSegmentString.h>
#include <geos/noding/MCIndexSegmentSetMutualIntersector.h>
#include <geos/noding/SegmentIntersector.h>
#endif

using namespace Kavrel;
using BoundingVolumeHierarchy::PolyLineSearchTree;
using P2 = Point<double, 2>;
using P3 = Point<double, 3>;

namespace {

constexpr std::size_t stepCount = 100'000;
constexpr std::size_t queryCount = 20'000;

enum Walk
{
  jagged,
  smooth
};

template <class P>
PolyLine<P> makeWalk(std::int64_t kind, unsigned seed)
{
  std::mt19937_64 engine(seed);
  std::normal_distribution<double> normal;
  const double inertia = kind == smooth ? 0.99 : 0.0;
  PolyLine<P> line;
  P at;
  Vector<double, P::Dim> step;
  for (std::size_t i = 0; i <= stepCount; ++i) {
    line.addPoint(at);
    for (unsigned axis = 0; axis < P::Dim; ++axis)
      step[axis] = inertia * step[axis] + std::sqrt(1 - inertia * inertia) * normal(engine);
    at += step;
  }
  return line;
}

template <class P>
const PolyLine<P>& walk(std::int64_t kind, unsigned which)
{
  static const PolyLine<P> walks[2][2] = {{makeWalk<P>(jagged, 1), makeWalk<P>(jagged, 2)},
                                          {makeWalk<P>(smooth, 3), makeWalk<P>(smooth, 4)}};
  return walks[kind][which];
}

const std::vector<P3>& queries(std::int64_t kind)
{
  static const auto make = [](std::int64_t from) {
    std::mt19937_64 engine(5);
    std::normal_distribution<double> normal;
    std::vector<P3> list;
    for (std::size_t i = 0; i < queryCount; ++i) {
      const P3& near = walk<P3>(from, 0)[engine() % stepCount];
      list.push_back(near + Vector<double, 3>(normal(engine), normal(engine), normal(engine)) * 2.0);
    }
    return list;
  };
  static const std::vector<P3> lists[] = {make(jagged), make(smooth)};
  return lists[kind];
}

template <class Query>
void runQueries(benchmark::State& state, const Query& query)
{
  const auto& list = queries(state.range(0));
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(query(list[i]));
    if (++i == list.size()) i = 0;
  }
}

void build(benchmark::State& state)
{
  const auto& line = walk<P3>(state.range(0), 0);
  for (auto _ : state)
    benchmark::DoNotOptimize(PolyLineSearchTree<P3>(line));
}

void nearest(benchmark::State& state)
{
  const PolyLineSearchTree<P3> tree(walk<P3>(state.range(0), 0));
  runQueries(state, [&tree](const P3& query) { return tree.projectPoint(query); });
}

/// With the trees at hand, and with the trees built on the way.
void crossings(benchmark::State& state, bool withBuild)
{
  const auto& a = walk<P2>(state.range(0), 0);
  const auto& b = walk<P2>(state.range(0), 1);
  const PolyLineSearchTree<P2> treeA(a), treeB(b);
  std::vector<PolyLineSearchTree<P2>::SegmentIntersection> list;
  for (auto _ : state) {
    list.clear();
    if (withBuild)
      PolyLineSearchTree<P2>(a).intersectXY(PolyLineSearchTree<P2>(b), list, false, 0);
    else
      treeA.intersectXY(treeB, list, false, 0);
  }
  state.counters["crossings"] = static_cast<double>(list.size());
}

BENCHMARK(build)->Name("build/kvshapes")->DenseRange(jagged, smooth)->Unit(benchmark::kMillisecond);
BENCHMARK(nearest)->Name("nearest/kvshapes")->DenseRange(jagged, smooth);
BENCHMARK_CAPTURE(crossings, query, false)
    ->Name("crossings/kvshapes")
    ->DenseRange(jagged, smooth)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(crossings, build, true)
    ->Name("crossings with build/kvshapes")
    ->DenseRange(jagged, smooth)
    ->Unit(benchmark::kMillisecond);

#ifdef KVSHAPES_PEERS

using Kernel = CGAL::Simple_cartesian<double>;
using CgalIterator = std::vector<Kernel::Segment_3>::const_iterator;
using CgalTree = CGAL::AABB_tree<CGAL::AABB_traits<Kernel, CGAL::AABB_segment_primitive<Kernel, CgalIterator>>>;

Kernel::Point_3 cgalPoint(const P3& p) { return {p[0], p[1], p[2]}; }

std::vector<Kernel::Segment_3> cgalSegments(const PolyLine<P3>& line)
{
  std::vector<Kernel::Segment_3> segments;
  for (std::size_t i = 0; i + 1 < line.numberOfPoints(); ++i)
    segments.emplace_back(cgalPoint(line[i]), cgalPoint(line[i + 1]));
  return segments;
}

void cgalBuild(benchmark::State& state)
{
  const auto segments = cgalSegments(walk<P3>(state.range(0), 0));
  for (auto _ : state) {
    CgalTree tree(segments.begin(), segments.end());
    tree.build();
    benchmark::DoNotOptimize(tree.size());
  }
}

void cgalNearest(benchmark::State& state)
{
  const auto segments = cgalSegments(walk<P3>(state.range(0), 0));
  CgalTree tree(segments.begin(), segments.end());
  tree.accelerate_distance_queries();
  tree.build();
  runQueries(state, [&tree](const P3& query) { return tree.closest_point(cgalPoint(query)); });
}

using BoostPoint = boost::geometry::model::point<double, 3, boost::geometry::cs::cartesian>;
using BoostSegment = boost::geometry::model::segment<BoostPoint>;
using BoostTree = boost::geometry::index::rtree<BoostSegment, boost::geometry::index::rstar<16>>;

void boostNearest(benchmark::State& state)
{
  const auto& line = walk<P3>(state.range(0), 0);
  std::vector<BoostSegment> segments;
  for (std::size_t i = 0; i + 1 < line.numberOfPoints(); ++i)
    segments.emplace_back(BoostPoint(line[i][0], line[i][1], line[i][2]),
                          BoostPoint(line[i + 1][0], line[i + 1][1], line[i + 1][2]));
  const BoostTree tree(segments);
  runQueries(state, [&tree](const P3& query) {
    const BoostPoint point(query[0], query[1], query[2]);
    return *tree.qbegin(boost::geometry::index::nearest(point, 1));
  });
}

class CollectCrossings : public geos::noding::SegmentIntersector
{
public:
  void processIntersections(geos::noding::SegmentString* a, std::size_t i, geos::noding::SegmentString* b,
                            std::size_t j) override
  {
    intersector.computeIntersection(a->getCoordinate(i), a->getCoordinate(i + 1), b->getCoordinate(j),
                                    b->getCoordinate(j + 1));
    if (intersector.hasIntersection()) points.push_back(intersector.getIntersection(0));
  }

  std::vector<geos::geom::Coordinate> points;

private:
  geos::algorithm::LineIntersector intersector;
};

geos::geom::CoordinateArraySequence geosCoordinates(const PolyLine<P2>& line)
{
  std::vector<geos::geom::Coordinate> coordinates;
  for (const P2& p : line)
    coordinates.emplace_back(p[0], p[1]);
  return geos::geom::CoordinateArraySequence(std::move(coordinates));
}

/// As GEOS works: the chains of one line are indexed with the first use, those of the other are made in each.
void geosCrossings(benchmark::State& state, bool withBuild)
{
  auto coordinatesA = geosCoordinates(walk<P2>(state.range(0), 0));
  auto coordinatesB = geosCoordinates(walk<P2>(state.range(0), 1));
  geos::noding::BasicSegmentString a(&coordinatesA, nullptr), b(&coordinatesB, nullptr);
  geos::noding::SegmentString::ConstVect base = {&a}, other = {&b};
  CollectCrossings collect;
  const auto fresh = [&] {
    auto index = std::make_unique<geos::noding::MCIndexSegmentSetMutualIntersector>();
    index->setBaseSegments(&base);
    index->setSegmentIntersector(&collect);
    return index;
  };
  auto index = fresh();
  for (auto _ : state) {
    collect.points.clear();
    if (withBuild) index = fresh();
    index->process(&other);
  }
  state.counters["crossings"] = static_cast<double>(collect.points.size());
}

BENCHMARK(cgalBuild)->Name("build/CGAL")->DenseRange(jagged, smooth)->Unit(benchmark::kMillisecond);
BENCHMARK(cgalNearest)->Name("nearest/CGAL")->DenseRange(jagged, smooth);
BENCHMARK(boostNearest)->Name("nearest/Boost")->DenseRange(jagged, smooth);
BENCHMARK_CAPTURE(geosCrossings, query, false)
    ->Name("crossings/GEOS")
    ->DenseRange(jagged, smooth)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(geosCrossings, build, true)
    ->Name("crossings with build/GEOS")
    ->DenseRange(jagged, smooth)
    ->Unit(benchmark::kMillisecond);

#endif

} // namespace
