/// How fast are the crossings of two long polylines found, and those of one with itself, beside GEOS and
/// Boost.Geometry? Walks in random directions (0) or turning slowly (1), and a spiral that doesn't cross itself (2), of
/// 100,000 and of a million steps. Times are per pair of lines, and per line.

#include "Walks.h"
#include "geometry/PolyLineIntersectionAlgorithms.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <boost/geometry.hpp>
#include <geos/algorithm/LineIntersector.h>
#include <geos/geom/CoordinateArraySequence.h>
#include <geos/geom/GeometryFactory.h>
#include <geos/geom/LineString.h>
#include <geos/noding/BasicSegmentString.h>
#include <geos/noding/MCIndexSegmentSetMutualIntersector.h>
#include <geos/noding/SegmentIntersector.h>
#include <geos/operation/valid/IsSimpleOp.h>
#endif

using namespace Kavrel;
using namespace Kavrel::Benchmarks;
using P2 = Point<double, 2>;
using Algorithms = PolyLineIntersectionAlgorithms<P2>;

namespace {

const PolyLine<P2>& line(const benchmark::State& state, unsigned which)
{
  return walk<P2>(state.range(0), which, state.range(1));
}

void twoWalks(benchmark::internal::Benchmark* row)
{
  row->ArgsProduct({{jagged, smooth}, {walkSteps}})->Unit(benchmark::kMillisecond);
}

void growingWalks(benchmark::internal::Benchmark* row)
{
  row->ArgsProduct({{jagged, smooth}, {walkSteps, 10 * walkSteps}})->Unit(benchmark::kMillisecond);
}

/// Not the jagged walk, on which GEOS takes half a minute.
void tameWalks(benchmark::internal::Benchmark* row)
{
  row->ArgsProduct({{smooth, spiral}, {walkSteps}})->Unit(benchmark::kMillisecond);
}

void allGrowingWalks(benchmark::internal::Benchmark* row)
{
  row->ArgsProduct({{jagged, smooth, spiral}, {walkSteps, 10 * walkSteps}})->Unit(benchmark::kMillisecond);
}

void count(benchmark::State& state, std::size_t crossings)
{
  state.counters["crossings"] = static_cast<double>(crossings);
}

/// With search trees at hand.
void crossings(benchmark::State& state)
{
  const Algorithms::SearchTree a(line(state, 0)), b(line(state, 1));
  std::vector<P2> points;
  for (auto _ : state) {
    points.clear();
    Algorithms::calculateAllIntersectionPointsXY(a, b, points, 0);
  }
  count(state, points.size());
}

/// Asked once.
void crossingsWithBuild(benchmark::State& state)
{
  const auto& a = line(state, 0);
  const auto& b = line(state, 1);
  std::vector<P2> points;
  for (auto _ : state) {
    points.clear();
    Algorithms().calculateAllIntersectionPointsXY(a, b, points, false, 0);
  }
  count(state, points.size());
}

/// Of an object that knows both lines.
void crossingsAgain(benchmark::State& state)
{
  Algorithms algorithms;
  std::vector<P2> points;
  for (auto _ : state) {
    points.clear();
    algorithms.calculateAllIntersectionPointsXY(line(state, 0), line(state, 1), points, false, 0);
  }
  count(state, points.size());
}

void selfCrossings(benchmark::State& state)
{
  std::size_t found = 0;
  for (auto _ : state)
    found = Algorithms::getSelfIntersections(line(state, 0))->size();
  count(state, found);
}

void isSimple(benchmark::State& state)
{
  for (auto _ : state)
    benchmark::DoNotOptimize(Algorithms::isSelfIntersecting(line(state, 0), nullptr));
}

BENCHMARK(crossings)->Name("crossings/kvshapes")->Apply(growingWalks);
BENCHMARK(crossingsWithBuild)->Name("crossings, asked once/kvshapes")->Apply(growingWalks);
BENCHMARK(crossingsAgain)->Name("crossings, asked again/kvshapes")->Apply(growingWalks);
BENCHMARK(selfCrossings)->Name("self-crossings/kvshapes")->Apply(allGrowingWalks);
BENCHMARK(isSimple)->Name("is simple/kvshapes")->Args({spiral, walkSteps})->Unit(benchmark::kMillisecond);

#ifdef KVSHAPES_PEERS

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

geos::geom::CoordinateArraySequence geosCoordinates(const PolyLine<P2>& from)
{
  std::vector<geos::geom::Coordinate> coordinates;
  for (const P2& p : from)
    coordinates.emplace_back(p[0], p[1]);
  return geos::geom::CoordinateArraySequence(std::move(coordinates));
}

/// As GEOS works: the chains of one line are indexed with the first use, those of the other are made in each.
void geosCrossings(benchmark::State& state, bool withBuild)
{
  auto coordinatesA = geosCoordinates(line(state, 0));
  auto coordinatesB = geosCoordinates(line(state, 1));
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
  count(state, collect.points.size());
}

/// All locations, or only whether there is one.
void geosIsSimple(benchmark::State& state, bool allLocations)
{
  const auto factory = geos::geom::GeometryFactory::create();
  const std::unique_ptr<geos::geom::LineString> geometry(factory->createLineString(geosCoordinates(line(state, 0))));
  std::size_t found = 0;
  for (auto _ : state) {
    geos::operation::valid::IsSimpleOp operation(*geometry);
    operation.setFindAllLocations(allLocations);
    benchmark::DoNotOptimize(operation.isSimple());
    found = operation.getNonSimpleLocations().size();
  }
  count(state, found);
}

using BoostPoint = boost::geometry::model::d2::point_xy<double>;
using BoostLine = boost::geometry::model::linestring<BoostPoint>;

BoostLine boostLine(const PolyLine<P2>& from)
{
  BoostLine to;
  for (const P2& p : from)
    to.emplace_back(p[0], p[1]);
  return to;
}

void boostCrossings(benchmark::State& state)
{
  const auto a = boostLine(line(state, 0));
  const auto b = boostLine(line(state, 1));
  boost::geometry::model::multi_point<BoostPoint> points;
  for (auto _ : state) {
    points.clear();
    boost::geometry::intersection(a, b, points);
  }
  count(state, points.size());
}

void boostIsSimple(benchmark::State& state)
{
  const auto own = boostLine(line(state, 0));
  for (auto _ : state)
    benchmark::DoNotOptimize(boost::geometry::is_simple(own));
}

BENCHMARK_CAPTURE(geosCrossings, query, false)->Name("crossings/GEOS")->Apply(twoWalks);
BENCHMARK_CAPTURE(geosCrossings, build, true)->Name("crossings, asked once/GEOS")->Apply(twoWalks);
BENCHMARK(boostCrossings)->Name("crossings, asked once/Boost")->Apply(twoWalks);
BENCHMARK_CAPTURE(geosIsSimple, all, true)->Name("self-crossings/GEOS")->Apply(tameWalks);
BENCHMARK_CAPTURE(geosIsSimple, any, false)
    ->Name("is simple/GEOS")
    ->Args({spiral, walkSteps})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(boostIsSimple)->Name("is simple/Boost")->Args({spiral, walkSteps})->Unit(benchmark::kMillisecond);

#endif

} // namespace
