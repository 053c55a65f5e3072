/// How long does the distance from a point to a line take, and how long the distances of two lines, beside GEOS and
/// Boost.Geometry? Lines turn slowly (coast) or at every vertex (jagged). Times are per query, and per pair of lines.

#include "geometry/PolyLineAlgorithm.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <random>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/linestring.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <geos_c.h>
#endif

using namespace Kavrel;
using P2 = Point<double, 2>;
using P3 = Point<double, 3>;

namespace {

enum Shape
{
  coast,
  jagged
};

/// A walk of unit steps on average.
template <class P>
PolyLine<P> makeLine(Shape shape, std::size_t count, unsigned seed)
{
  std::mt19937_64 engine(seed);
  std::normal_distribution<double> normal;
  const double inertia = shape == coast ? 0.99 : 0.0;
  PolyLine<P> line;
  line.reserve(count);
  P at;
  at[0] = 3.0 * seed; // lines don't start at the same place
  Vector<double, P::Dim> step;
  for (std::size_t i = 0; i < count; ++i) {
    line.addPoint(at);
    for (unsigned axis = 0; axis < P::Dim; ++axis)
      step[axis] = inertia * step[axis] + std::sqrt(1 - inertia * inertia) * normal(engine);
    at += step;
  }
  return line;
}

template <class P>
const PolyLine<P>& line(Shape shape, std::size_t count, unsigned seed)
{
  static std::map<std::tuple<Shape, std::size_t, unsigned>, PolyLine<P>> lines;
  const auto key = std::make_tuple(shape, count, seed);
  const auto found = lines.find(key);
  return found != lines.end() ? found->second : lines.emplace(key, makeLine<P>(shape, count, seed)).first->second;
}

/// Places within the box of the line and around it.
template <class P>
std::vector<P> queries(const PolyLine<P>& around)
{
  std::mt19937_64 engine(7);
  std::uniform_real_distribution<double> place(-0.25, 1.25);
  const auto box = around.calculateBoundingBox();
  std::vector<P> places(64);
  for (P& p : places)
    for (unsigned axis = 0; axis < P::Dim; ++axis)
      p[axis] = box.getMin()[axis] + place(engine) * (box.getMax()[axis] - box.getMin()[axis]);
  return places;
}

/// `query(line, place)` for one place after another.
template <class P, class Query>
void runQueries(benchmark::State& state, Shape shape, const Query& query)
{
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto places = queries(line<P>(shape, count, 1));
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(query(places[i]));
    i = (i + 1) % places.size();
  }
  state.counters["vertices"] = benchmark::Counter(static_cast<double>(count) * static_cast<double>(state.iterations()),
                                                  benchmark::Counter::kIsRate);
}

template <class P>
void pointToLine(benchmark::State& state, Shape shape, const P&)
{
  const auto& polyline = line<P>(shape, static_cast<std::size_t>(state.range(0)), 1);
  runQueries<P>(state, shape, [&polyline](const P& place) {
    double u = 0.0;
    std::size_t segment = 0;
    return PolyLineAlgorithm::sqrDist(polyline, place, u, segment);
  });
}

/// `measure(a, b)` for two lines that meet now and then.
template <class Measure>
void betweenLines(benchmark::State& state, Shape shape, const Measure& measure)
{
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto& a = line<P2>(shape, count, 1);
  const auto& b = line<P2>(shape, count, 2);
  double distance = 0.0;
  for (auto _ : state)
    distance = measure(a, b);
  state.counters["distance"] = distance;
}

double hausdorff(const PolyLine<P2>& a, const PolyLine<P2>& b) { return PolyLineAlgorithm::hausdorffDistance(a, b); }
double nearest(const PolyLine<P2>& a, const PolyLine<P2>& b) { return PolyLineAlgorithm::minDistBetweenPolygons(a, b); }
double nearestWithPoints(const PolyLine<P2>& a, const PolyLine<P2>& b)
{
  P2 onA, onB;
  return PolyLineAlgorithm::minDistBetweenPolygons(a, b, onA, onB);
}
double largest(const PolyLine<P2>& a, const PolyLine<P2>& b) { return PolyLineAlgorithm::maxDistBetweenPolygons(a, b); }
double farthestVertices(const PolyLine<P2>& a, const PolyLine<P2>& b)
{
  return PolyLineAlgorithm::maxDistBetweenTwoPolygons(a, b);
}

void vertexCounts(benchmark::internal::Benchmark* b)
{
  b->RangeMultiplier(10)->Range(1'000, 1'000'000)->Unit(benchmark::kMicrosecond);
}
void growth(benchmark::internal::Benchmark* b)
{
  b->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
}
/// What takes quadratic time isn't run on long lines.
[[maybe_unused]] void shortGrowth(benchmark::internal::Benchmark* b)
{
  b->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(pointToLine, coast, coast, P2())->Name("point to coast/kvshapes")->Apply(vertexCounts);
BENCHMARK_CAPTURE(pointToLine, jagged, jagged, P2())->Name("point to jagged/kvshapes")->Apply(vertexCounts);
BENCHMARK_CAPTURE(pointToLine, space, coast, P3())->Name("point to coast in space/kvshapes")->Apply(vertexCounts);
BENCHMARK_CAPTURE(betweenLines, hausdorff, coast, hausdorff)->Name("hausdorff/kvshapes")->Apply(growth);
BENCHMARK_CAPTURE(betweenLines, hausdorff2, jagged, hausdorff)->Name("hausdorff of jagged/kvshapes")->Apply(growth);
BENCHMARK_CAPTURE(betweenLines, nearest, coast, nearest)->Name("nearest/kvshapes")->Apply(growth);
BENCHMARK_CAPTURE(betweenLines, nearestWithPoints, coast, nearestWithPoints)
    ->Name("nearest with points/kvshapes")
    ->Apply(growth);
BENCHMARK_CAPTURE(betweenLines, largest, coast, largest)->Name("largest/kvshapes")->Apply(growth);
BENCHMARK_CAPTURE(betweenLines, vertices, coast, farthestVertices)->Name("farthest vertices/kvshapes")->Apply(growth);

#ifdef KVSHAPES_PEERS

/// A GEOS geometry in the context of this program.
class GeosLine
{
public:
  static GEOSContextHandle_t context()
  {
    static const GEOSContextHandle_t handle = GEOS_init_r();
    return handle;
  }

  explicit GeosLine(const PolyLine<P2>& polyline)
  {
    GEOSCoordSequence* const sequence = coordinates(polyline.getPointCollection().data(), polyline.numberOfPoints());
    geometry = GEOSGeom_createLineString_r(context(), sequence);
  }
  explicit GeosLine(const P2& place) : geometry(GEOSGeom_createPoint_r(context(), coordinates(&place, 1))) {}
  GeosLine(GeosLine&& other) noexcept : geometry(std::exchange(other.geometry, nullptr)) {}
  GeosLine& operator=(GeosLine&&) = delete;
  ~GeosLine() { GEOSGeom_destroy_r(context(), geometry); }

  const GEOSGeometry* get() const { return geometry; }

private:
  static GEOSCoordSequence* coordinates(const P2* points, std::size_t count)
  {
    GEOSCoordSequence* const sequence = GEOSCoordSeq_create_r(context(), static_cast<unsigned>(count), 2);
    for (unsigned i = 0; i < count; ++i)
      GEOSCoordSeq_setXY_r(context(), sequence, i, points[i].x(), points[i].y());
    return sequence;
  }

  GEOSGeometry* geometry;
};

void geosPointToLine(benchmark::State& state, Shape shape)
{
  const auto& polyline = line<P2>(shape, static_cast<std::size_t>(state.range(0)), 1);
  const GeosLine geometry(polyline);
  std::vector<GeosLine> places;
  for (const P2& place : queries(polyline))
    places.emplace_back(place);
  std::size_t i = 0;
  runQueries<P2>(state, shape, [&](const P2&) {
    double distance = 0.0;
    GEOSDistance_r(GeosLine::context(), places[i++ % places.size()].get(), geometry.get(), &distance);
    return distance;
  });
}

using GeosMeasure = int (*)(GEOSContextHandle_t, const GEOSGeometry*, const GEOSGeometry*, double*);

void geosBetweenLines(benchmark::State& state, GeosMeasure measure)
{
  const auto count = static_cast<std::size_t>(state.range(0));
  const GeosLine a(line<P2>(coast, count, 1)), b(line<P2>(coast, count, 2));
  betweenLines(state, coast, [&](const PolyLine<P2>&, const PolyLine<P2>&) {
    double distance = 0.0;
    measure(GeosLine::context(), a.get(), b.get(), &distance);
    return distance;
  });
}

using BoostPoint = boost::geometry::model::d2::point_xy<double>;
using BoostLine = boost::geometry::model::linestring<BoostPoint>;

BoostLine boostLine(const PolyLine<P2>& polyline)
{
  BoostLine copy;
  for (const P2& p : polyline)
    copy.emplace_back(p.x(), p.y());
  return copy;
}

void boostPointToLine(benchmark::State& state, Shape shape)
{
  const BoostLine copy = boostLine(line<P2>(shape, static_cast<std::size_t>(state.range(0)), 1));
  runQueries<P2>(state, shape, [&copy](const P2& place) {
    return boost::geometry::comparable_distance(BoostPoint(place.x(), place.y()), copy);
  });
}

void boostHausdorff(benchmark::State& state)
{
  const auto count = static_cast<std::size_t>(state.range(0));
  const BoostLine a = boostLine(line<P2>(coast, count, 1)), b = boostLine(line<P2>(coast, count, 2));
  betweenLines(state, coast, [&](const PolyLine<P2>&, const PolyLine<P2>&) {
    return boost::geometry::discrete_hausdorff_distance(a, b);
  });
}

BENCHMARK_CAPTURE(geosPointToLine, coast, coast)->Name("point to coast/GEOS")->Apply(vertexCounts);
BENCHMARK_CAPTURE(geosPointToLine, jagged, jagged)->Name("point to jagged/GEOS")->Apply(vertexCounts);
BENCHMARK_CAPTURE(boostPointToLine, coast, coast)->Name("point to coast/Boost")->Apply(vertexCounts);
BENCHMARK_CAPTURE(boostPointToLine, jagged, jagged)->Name("point to jagged/Boost")->Apply(vertexCounts);
BENCHMARK_CAPTURE(geosBetweenLines, hausdorff, GEOSHausdorffDistance_r)->Name("hausdorff/GEOS")->Apply(shortGrowth);
BENCHMARK(boostHausdorff)->Name("hausdorff/Boost, between vertices")->Apply(shortGrowth);
BENCHMARK_CAPTURE(geosBetweenLines, indexed, GEOSDistanceIndexed_r)->Name("nearest/GEOS, indexed")->Apply(growth);

#endif

} // namespace
