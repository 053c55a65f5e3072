/// How fast is the nearest segment of a long polyline found, beside CGAL and Boost? Walks of 100,000 steps in random
/// directions (0) or turning slowly (1). Times are per query.

#include "Walks.h"
#include "geometry/BoundingVolumeHierarchy/PolyLineSearchTree.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <CGAL/AABB_segment_primitive.h>
#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/Simple_cartesian.h>
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#endif

using namespace Kavrel;
using namespace Kavrel::Benchmarks;
using BoundingVolumeHierarchy::PolyLineSearchTree;
using P3 = Point<double, 3>;

namespace {

constexpr std::size_t queryCount = 20'000;

const std::vector<P3>& queries(std::int64_t kind)
{
  static const auto make = [](std::int64_t from) {
    std::mt19937_64 engine(5);
    std::normal_distribution<double> normal;
    std::vector<P3> list;
    for (std::size_t i = 0; i < queryCount; ++i) {
      const P3& near = walk<P3>(from, 0)[engine() % walkSteps];
      list.push_back(near + Vector<double, 3>(normal(engine), normal(engine), normal(engine)) * 2.0);
    }
    return list;
  };
  static const std::vector<P3> lists[] = {make(jagged), make(smooth)};
  return lists[kind];
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
  runQueries(state, queries(state.range(0)), [&tree](const P3& query) { return tree.projectPoint(query); });
}

BENCHMARK(build)->Name("build/kvshapes")->DenseRange(jagged, smooth)->Unit(benchmark::kMillisecond);
BENCHMARK(nearest)->Name("nearest/kvshapes")->DenseRange(jagged, smooth);

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
  runQueries(state, queries(state.range(0)), [&tree](const P3& query) { return tree.closest_point(cgalPoint(query)); });
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
  runQueries(state, queries(state.range(0)), [&tree](const P3& query) {
    const BoostPoint point(query[0], query[1], query[2]);
    return *tree.qbegin(boost::geometry::index::nearest(point, 1));
  });
}

BENCHMARK(cgalBuild)->Name("build/CGAL")->DenseRange(jagged, smooth)->Unit(benchmark::kMillisecond);
BENCHMARK(cgalNearest)->Name("nearest/CGAL")->DenseRange(jagged, smooth);
BENCHMARK(boostNearest)->Name("nearest/Boost")->DenseRange(jagged, smooth);

#endif

} // namespace
