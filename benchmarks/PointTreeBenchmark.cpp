/// How fast are points found, beside nanoflann and CGAL's k-d tree? A million points in a cube (0) and on a sphere (1);
/// queries near them. Times are per query, and per build.

#include "Walks.h"
#include "geometry/BoundingVolumeHierarchy/PointSearchTreeT.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <CGAL/Orthogonal_k_neighbor_search.h>
#include <CGAL/Search_traits_3.h>
#include <CGAL/Simple_cartesian.h>
#include <nanoflann.hpp>
#endif

using namespace Kavrel;
using namespace Kavrel::Benchmarks;
using Tree = BoundingVolumeHierarchy::PointSearchTreeT<3>;
using Position = Vector<double, 3>;

namespace {

constexpr std::size_t pointCount = 1'000'000;
constexpr std::size_t queryCount = 20'000;
constexpr int neighbours = 8;
constexpr double radius = 0.015;

enum Shape
{
  cube,
  sphere
};

std::vector<Position> makePoints(std::int64_t shape, std::size_t count, unsigned seed, double noise)
{
  std::mt19937_64 engine(seed);
  std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
  std::vector<Position> points;
  points.reserve(count);
  while (points.size() < count) {
    Position p(coordinate(engine), coordinate(engine), coordinate(engine));
    if (shape == sphere && !p.normalize(0.1)) continue;
    points.push_back(p + Position(coordinate(engine), coordinate(engine), coordinate(engine)) * noise);
  }
  return points;
}

const std::vector<Position>& points(std::int64_t shape)
{
  static const std::vector<Position> lists[] = {makePoints(cube, pointCount, 1, 0),
                                                makePoints(sphere, pointCount, 2, 0)};
  return lists[shape];
}

const std::vector<Position>& queries(std::int64_t shape)
{
  static const std::vector<Position> lists[] = {makePoints(cube, queryCount, 3, 0.01),
                                                makePoints(sphere, queryCount, 4, 0.01)};
  return lists[shape];
}

const Tree& tree(std::int64_t shape)
{
  static const Tree trees[] = {Tree(points(cube)), Tree(points(sphere))};
  return trees[shape];
}

void build(benchmark::State& state)
{
  const auto& list = points(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(Tree(list));
}

void nearest(benchmark::State& state)
{
  const Tree& t = tree(state.range(0));
  runQueries(state, queries(state.range(0)), [&t](const Position& query) {
    std::uint64_t id = 0;
    t.selectClosest(query, id);
    return id;
  });
}

void eightNearest(benchmark::State& state)
{
  const Tree& t = tree(state.range(0));
  std::vector<int> ids;
  std::vector<double> squareDistances;
  runQueries(state, queries(state.range(0)), [&](const Position& query) {
    t.nearestPointIndices(query, neighbours, ids, squareDistances, true);
    return ids[0];
  });
}

void withinRadius(benchmark::State& state)
{
  const Tree& t = tree(state.range(0));
  std::vector<int> ids;
  runQueries(state, queries(state.range(0)), [&](const Position& query) {
    t.sphereSelectAll(query, radius, ids);
    return ids.size();
  });
}

BENCHMARK(build)->Name("build/kvshapes")->DenseRange(cube, sphere)->Unit(benchmark::kMillisecond);
BENCHMARK(nearest)->Name("nearest/kvshapes")->DenseRange(cube, sphere);
BENCHMARK(eightNearest)->Name("8 nearest/kvshapes")->DenseRange(cube, sphere);
BENCHMARK(withinRadius)->Name("radius/kvshapes")->DenseRange(cube, sphere);

#ifdef KVSHAPES_PEERS

struct Flann
{
  const std::vector<Position>& list;

  std::size_t kdtree_get_point_count() const { return list.size(); }
  double kdtree_get_pt(std::size_t i, std::size_t axis) const { return list[i][axis]; }
  template <class Box>
  bool kdtree_get_bbox(Box&) const
  {
    return false;
  }
};
using FlannTree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Flann>, Flann, 3, std::uint32_t>;

const FlannTree& flannTree(std::int64_t shape)
{
  static const auto make = [](const Flann& adaptor) {
    auto t = std::make_unique<FlannTree>(3, adaptor);
    t->buildIndex();
    return t;
  };
  static const Flann adaptors[] = {{points(cube)}, {points(sphere)}};
  static const std::unique_ptr<FlannTree> trees[] = {make(adaptors[cube]), make(adaptors[sphere])};
  return *trees[shape];
}

void flannBuild(benchmark::State& state)
{
  const Flann adaptor{points(state.range(0))};
  for (auto _ : state) {
    FlannTree index(3, adaptor);
    index.buildIndex();
    benchmark::DoNotOptimize(index.size(index));
  }
}

void flannNearest(benchmark::State& state)
{
  const FlannTree& t = flannTree(state.range(0));
  runQueries(state, queries(state.range(0)), [&t](const Position& query) {
    std::uint32_t id = 0;
    double squareDistance = 0;
    t.knnSearch(query.data(), 1, &id, &squareDistance);
    return id;
  });
}

void flannEightNearest(benchmark::State& state)
{
  const FlannTree& t = flannTree(state.range(0));
  runQueries(state, queries(state.range(0)), [&t](const Position& query) {
    std::uint32_t ids[neighbours];
    double squareDistances[neighbours];
    t.knnSearch(query.data(), neighbours, ids, squareDistances);
    return ids[0];
  });
}

void flannRadius(benchmark::State& state)
{
  const FlannTree& t = flannTree(state.range(0));
  std::vector<std::pair<std::uint32_t, double>> hits;
  runQueries(state, queries(state.range(0)), [&](const Position& query) {
    return t.radiusSearch(query.data(), radius * radius, hits, nanoflann::SearchParams(32, 0, false));
  });
}

using Kernel = CGAL::Simple_cartesian<double>;
using CgalSearch = CGAL::Orthogonal_k_neighbor_search<CGAL::Search_traits_3<Kernel>>;

std::vector<Kernel::Point_3> cgalPoints(std::int64_t shape)
{
  std::vector<Kernel::Point_3> list;
  for (const Position& p : points(shape))
    list.emplace_back(p[0], p[1], p[2]);
  return list;
}

void cgalBuild(benchmark::State& state)
{
  const auto list = cgalPoints(state.range(0));
  for (auto _ : state) {
    CgalSearch::Tree t(list.begin(), list.end());
    t.build();
    benchmark::DoNotOptimize(t.size());
  }
}

template <unsigned count>
void cgalNearest(benchmark::State& state)
{
  static std::unique_ptr<CgalSearch::Tree> trees[2];
  auto& t = trees[state.range(0)];
  if (!t) {
    const auto list = cgalPoints(state.range(0));
    t = std::make_unique<CgalSearch::Tree>(list.begin(), list.end());
    t->build();
  }
  runQueries(state, queries(state.range(0)), [&t](const Position& query) {
    CgalSearch search(*t, Kernel::Point_3(query[0], query[1], query[2]), count);
    return search.begin()->second;
  });
}

BENCHMARK(flannBuild)->Name("build/nanoflann")->DenseRange(cube, sphere)->Unit(benchmark::kMillisecond);
BENCHMARK(cgalBuild)->Name("build/CGAL")->DenseRange(cube, sphere)->Unit(benchmark::kMillisecond);
BENCHMARK(flannNearest)->Name("nearest/nanoflann")->DenseRange(cube, sphere);
BENCHMARK(cgalNearest<1>)->Name("nearest/CGAL")->DenseRange(cube, sphere);
BENCHMARK(flannEightNearest)->Name("8 nearest/nanoflann")->DenseRange(cube, sphere);
BENCHMARK(cgalNearest<neighbours>)->Name("8 nearest/CGAL")->DenseRange(cube, sphere);
BENCHMARK(flannRadius)->Name("radius/nanoflann")->DenseRange(cube, sphere);

#endif

} // namespace
