/// How fast are polylines thinned out and taken from each other, beside GEOS and Boost.Geometry, and do the other
/// edits take linear time? The coast is a fractal of a million points, refined from a polygon or, with the environment
/// variable KVSHAPES_BENCHMARK_COAST, from the longest line in a file of rows "x y" with blank rows between lines.
/// Thinning takes the tolerance as a fraction of the coast's width and states the largest deviation of a dropped point.

#include "geometry/PolyLine.h"
#include "geometry/PolyLineAlgorithm.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <omp.h>
#include <random>
#include <sstream>
#include <string>
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

constexpr std::size_t coastSize = 1'000'000;
constexpr std::size_t subtractedSize = 100'000;
constexpr double roughness = 0.15;

std::vector<P2> polygon()
{
  std::vector<P2> points;
  for (int i = 0; i <= 12; ++i)
    points.emplace_back(std::cos(i * std::numbers::pi / 6.2), std::sin(i * std::numbers::pi / 6.2));
  return points;
}

std::vector<P2> longestLine(const char* file)
{
  std::ifstream in(file);
  std::vector<P2> longest, line;
  for (std::string row; in;) {
    const bool more = static_cast<bool>(std::getline(in, row));
    double x = 0, y = 0;
    if (more && std::istringstream(row) >> x >> y) {
      line.emplace_back(x, y);
      continue;
    }
    if (line.size() > longest.size()) longest = line;
    line.clear();
  }
  return longest;
}

/// Displaces the middles of all segments sideways, until there are `count` points.
std::vector<P2> coast(std::size_t count)
{
  const char* const file = std::getenv("KVSHAPES_BENCHMARK_COAST");
  std::vector<P2> points = file ? longestLine(file) : polygon();
  if (points.size() < 2) points = polygon();
  std::mt19937_64 engine(7);
  std::normal_distribution<double> aside(0.0, roughness);
  while (points.size() < count) {
    std::vector<P2> finer;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
      const Vector<double, 2> way = points[i + 1] - points[i];
      finer.push_back(points[i]);
      finer.emplace_back(points[i] + way * 0.5 + Vector<double, 2>(-way[1], way[0]) * aside(engine));
    }
    finer.push_back(points.back());
    points = std::move(finer);
  }
  points.resize(count);
  return points;
}

const PolyLine<P2>& coastLine()
{
  static const PolyLine<P2> line(coast(coastSize), 0.1);
  return line;
}

double width(const PolyLine<P2>& line)
{
  const auto [low, high] = std::minmax_element(line.begin(), line.end(), [](auto& a, auto& b) { return a[0] < b[0]; });
  return (*high)[0] - (*low)[0];
}

/// The largest distance of a dropped point from the segment that took its place. The kept points are some of the
/// line's, in order.
double deviation(const PolyLine<P2>& line, const std::vector<P2>& kept)
{
  double worst = 0;
  std::size_t segment = 0;
  for (const P2& point : line) {
    if (segment + 2 < kept.size() && point == kept[segment + 1]) ++segment;
    worst = std::max(worst, Segment<P2>(&kept[segment], &kept[segment + 1]).sqrDistance(point));
  }
  return std::sqrt(worst);
}

double toleranceOf(const benchmark::State& state) { return width(coastLine()) / static_cast<double>(state.range(0)); }

void stateThinOut(benchmark::State& state, const std::vector<P2>& kept)
{
  state.counters["kept"] = static_cast<double>(kept.size());
  state.counters["deviation/tolerance"] = deviation(coastLine(), kept) / toleranceOf(state);
}

void thinOut(benchmark::State& state)
{
  const PolyLine<P2>& line = coastLine();
  const double tolerance = toleranceOf(state);
  PolyLine<P2> thin;
  for (auto _ : state) {
    thin = line;
    PolyLineAlgorithm::thinout(thin, tolerance);
  }
  stateThinOut(state, thin.getPointCollection());
}

/// A line of which every second stretch of ten segments is the coast's own.
PolyLine<P2> partlyEqual(const PolyLine<P2>& line)
{
  PolyLine<P2> other(line);
  const double aside = 1e-3 * width(line);
  for (std::size_t i = 0; i < other.numberOfPoints(); ++i)
    if (i / 10 % 2) other[i] += Vector<double, 2>(0.0, aside);
  return other;
}

/// A coast with segments of about a unit: segments that are much shorter count as parallel.
PolyLine<P2> enlargedCoast()
{
  PolyLine<P2> line(coast(subtractedSize + 1), 0.1);
  const double factor = static_cast<double>(subtractedSize) / line.getTotalLength();
  for (P2& point : line)
    point *= factor;
  return line;
}

struct Subtraction
{
  PolyLine<P2> line = enlargedCoast();
  PolyLine<P2> other = partlyEqual(line);
};

const Subtraction& subtraction()
{
  static const Subtraction instance;
  return instance;
}

void subtract(benchmark::State& state)
{
  const Subtraction& work = subtraction();
  omp_set_num_threads(static_cast<int>(state.range(0)));
  std::vector<std::shared_ptr<PolyLine<P2>>> rest;
  for (auto _ : state)
    rest = PolyLineAlgorithm::subtractPolylineBoundary(work.line, work.other, 1e-20, 1e-20);
  double length = 0;
  for (const auto& line : rest)
    length += line->getTotalLength();
  state.counters["lines"] = static_cast<double>(rest.size());
  state.counters["length"] = length;
}

PolyLine<P3> walk(std::int64_t count)
{
  PolyLine<P3> line;
  std::mt19937_64 engine(3);
  std::normal_distribution<double> normal;
  P3 at;
  for (std::int64_t i = 0; i < count; ++i) {
    line.addPoint(at);
    at += Vector<double, 3>(normal(engine), normal(engine), normal(engine));
  }
  return line;
}

template <class Edit>
void edit(benchmark::State& state, Edit change)
{
  const PolyLine<P3> line = walk(state.range(0));
  PolyLine<P3> edited;
  for (auto _ : state) {
    edited = line;
    change(edited);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["points"] = static_cast<double>(edited.numberOfPoints());
}

void trim(benchmark::State& state)
{
  const PolyLine<P3> line = walk(state.range(0));
  PolyLine<P3> piece;
  for (auto _ : state)
    PolyLineAlgorithm::trim(line, 0.1, 0.9, piece);
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["points"] = static_cast<double>(piece.numberOfPoints());
}

void resample(benchmark::State& state)
{
  edit(state, [](PolyLine<P3>& line) { PolyLineAlgorithm::resampleToMinimalDistance(line, 1.0); });
}

void reducePointDistance(benchmark::State& state)
{
  edit(state, [](PolyLine<P3>& line) { PolyLineAlgorithm::reducePointDistance(line, 0.5); });
}

/// A turn sharper than a radian counts, so that many points go.
void removeSpikes(benchmark::State& state)
{
  edit(state, [](PolyLine<P3>& line) { PolyLineAlgorithm::removeSpikes(line, 1e-6, 1.0); });
}

#ifdef KVSHAPES_PEERS

void thinOutBoost(benchmark::State& state)
{
  namespace bg = boost::geometry;
  using Line = bg::model::linestring<bg::model::d2::point_xy<double>>;
  Line line, thin;
  for (const P2& point : coastLine())
    line.emplace_back(point[0], point[1]);
  const double tolerance = toleranceOf(state);
  for (auto _ : state) {
    thin.clear();
    bg::simplify(line, thin, tolerance);
  }
  std::vector<P2> kept;
  for (const auto& point : thin)
    kept.emplace_back(point.x(), point.y());
  stateThinOut(state, kept);
}

/// The C interface of GEOS with the lines made for it.
class Geos
{
public:
  Geos() : context(GEOS_init_r()) {}
  Geos(const Geos&) = delete;
  ~Geos() { GEOS_finish_r(context); }

  GEOSGeometry* line(const PolyLine<P2>& polyline) const
  {
    const auto count = static_cast<unsigned>(polyline.numberOfPoints());
    GEOSCoordSequence* const sequence = GEOSCoordSeq_create_r(context, count, 2);
    for (unsigned i = 0; i < count; ++i)
      GEOSCoordSeq_setXY_r(context, sequence, i, polyline[i][0], polyline[i][1]);
    return GEOSGeom_createLineString_r(context, sequence);
  }

  std::vector<P2> pointsOf(const GEOSGeometry* geometry) const
  {
    const GEOSCoordSequence* const sequence = GEOSGeom_getCoordSeq_r(context, geometry);
    unsigned count = 0;
    GEOSCoordSeq_getSize_r(context, sequence, &count);
    std::vector<P2> points(count);
    for (unsigned i = 0; i < count; ++i)
      GEOSCoordSeq_getXY_r(context, sequence, i, &points[i][0], &points[i][1]);
    return points;
  }

  GEOSContextHandle_t context;
};

void thinOutGeos(benchmark::State& state)
{
  const Geos geos;
  GEOSGeometry* const line = geos.line(coastLine());
  const double tolerance = toleranceOf(state);
  GEOSGeometry* thin = nullptr;
  for (auto _ : state) {
    if (thin) GEOSGeom_destroy_r(geos.context, thin);
    thin = GEOSSimplify_r(geos.context, line, tolerance);
  }
  stateThinOut(state, geos.pointsOf(thin));
  GEOSGeom_destroy_r(geos.context, thin);
  GEOSGeom_destroy_r(geos.context, line);
}

void subtractGeos(benchmark::State& state)
{
  const Geos geos;
  GEOSGeometry* const line = geos.line(subtraction().line);
  GEOSGeometry* const other = geos.line(subtraction().other);
  GEOSGeometry* rest = nullptr;
  for (auto _ : state) {
    if (rest) GEOSGeom_destroy_r(geos.context, rest);
    rest = GEOSDifference_r(geos.context, line, other);
  }
  double length = 0;
  GEOSLength_r(geos.context, rest, &length);
  state.counters["lines"] = GEOSGetNumGeometries_r(geos.context, rest);
  state.counters["length"] = length;
  for (GEOSGeometry* geometry : {line, other, rest})
    GEOSGeom_destroy_r(geos.context, geometry);
}

#endif

} // namespace

BENCHMARK(thinOut)->Arg(100)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
#ifdef KVSHAPES_PEERS
BENCHMARK(thinOutBoost)->Arg(100)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(thinOutGeos)->Arg(100)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(subtract)->ArgName("threads")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
#ifdef KVSHAPES_PEERS
BENCHMARK(subtractGeos)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(trim)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(resample)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(reducePointDistance)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(removeSpikes)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
