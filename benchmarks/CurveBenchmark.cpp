/// What do a NURBS curve and an interpolating spline cost through their classes? A point with and without the cache, a
/// discretisation at a tolerance, and the edit of a spline: the solve alone and with all pieces. The peer is
/// OpenCASCADE; its discretisation is asked for a deflection that gives the deviation measured for ours.

#include "geometry/ChordLengthSpline.h"
#include "geometry/KvBSpline.h"
#include "geometry/NurbsCurve.h"
#include "geometry/PolyLine.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <GCPnts_TangentialDeflection.hxx>
#include <GeomAPI_Interpolate.hxx>
#include <GeomAdaptor_Curve.hxx>
#include <Geom_BSplineCurve.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <TColgp_HArray1OfPnt.hxx>
#endif

using namespace Kavrel;
using P3 = Point<double, 3>;
using V3 = Vector<double, 3>;

namespace {

constexpr std::size_t parameterCount = 4096;

/// Points along a widening helix, a little off it, about 1 apart.
std::vector<P3> wavyPoints(std::size_t count)
{
  std::mt19937_64 engine(3);
  std::uniform_real_distribution<double> noise(-0.1, 0.1);
  std::vector<P3> points;
  for (std::size_t i = 0; i < count; ++i) {
    const double angle = 0.2 * static_cast<double>(i);
    points.push_back({5.0 * std::cos(angle) + noise(engine), 5.0 * std::sin(angle) + noise(engine), 0.05 * angle});
  }
  return points;
}

struct Model
{
  Model(std::size_t degree, std::size_t count, bool rational) : points(wavyPoints(count)), knots(degree + 1, 0.0)
  {
    std::mt19937_64 engine(7);
    std::uniform_real_distribution<double> unit;
    while (knots.size() < count)
      knots.push_back(knots.back() + 0.5 + unit(engine));
    knots.resize(count + degree + 1, knots.back() + 1.0);
    for (std::size_t i = 0; rational && i < count; ++i)
      weights.push_back(0.5 + unit(engine));
    for (std::size_t i = 0; i < parameterCount; ++i)
      parameters.push_back(knots.back() * unit(engine));
  }

  NurbsCurve<double, 3> curve(double tolerance) const
  {
    return {points, weights, knots, false, false, false, tolerance};
  }

  std::vector<P3> points;
  std::vector<double> knots, weights, parameters;
};

/// Counts its evaluations.
class CountingCurve : public NurbsCurve<double, 3>
{
public:
  using NurbsCurve::NurbsCurve;
  explicit CountingCurve(const NurbsCurve& curve) : NurbsCurve(curve) {}
  Point<double, 3> evaluate(const double& t) const override
  {
    ++count;
    return NurbsCurve::evaluate(t);
  }
  mutable std::size_t count = 0;
};

/// The largest distance of densely sampled points of the curve from a polyline whose vertices have ascending
/// parameters.
template <class Evaluate>
double deviation(const std::vector<P3>& vertices, const std::vector<double>& parameters, const Evaluate& evaluate)
{
  double worst = 0.0;
  for (std::size_t i = 1; i < vertices.size(); ++i)
    for (int k = 1; k < 16; ++k) {
      const double f = k / 16.0;
      const P3 p = evaluate(parameters[i - 1] * (1.0 - f) + parameters[i] * f);
      const V3 chord = vertices[i] - vertices[i - 1];
      const double t = std::clamp((p - vertices[i - 1]).dot(chord) / chord.sqrLength(), 0.0, 1.0);
      worst = std::max(worst, p.distance(vertices[i - 1] + chord * t));
    }
  return worst;
}

/// The largest distance of densely sampled points of the curve from its discretisation, followed along the line.
double deviationOf(const NurbsCurve<double, 3>& curve, const PolyLine<P3>& polyline)
{
  double worst = 0.0;
  const Interval& domain = curve.getDomain();
  const std::size_t samples = 20 * polyline.numberOfPoints();
  std::size_t segment = 0;
  for (std::size_t i = 0; i <= samples; ++i) {
    const double f = static_cast<double>(i) / static_cast<double>(samples);
    const P3 p = curve.evaluate(domain.lower + f * domain.length());
    const auto sqrDistanceTo = [&](std::size_t k) {
      const V3 chord = polyline[k + 1] - polyline[k];
      const double t = std::clamp((p - polyline[k]).dot(chord) / chord.sqrLength(), 0.0, 1.0);
      return p.sqrDistance(polyline[k] + chord * t);
    };
    std::size_t best = segment;
    for (std::size_t k = segment; k + 1 < polyline.numberOfPoints() && k < segment + 8; ++k)
      if (sqrDistanceTo(k) < sqrDistanceTo(best)) best = k;
    segment = best;
    worst = std::max(worst, std::sqrt(sqrDistanceTo(segment)));
  }
  return worst;
}

void perPoint(benchmark::State& state)
{
  state.SetItemsProcessed(state.iterations() * std::int64_t(parameterCount));
  state.counters["per point"] = benchmark::Counter(
      double(parameterCount), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// Arguments: degree, control points, rational, cached.
void BM_EvaluateThroughTheClass(benchmark::State& state)
{
  const Model model(std::size_t(state.range(0)), std::size_t(state.range(1)), state.range(2) != 0);
  auto curve = model.curve(0.1);
  if (state.range(3)) curve.enableAndGenerateIgNurbsCurveCache();
  for (auto _ : state)
    for (const double u : model.parameters)
      benchmark::DoNotOptimize(curve.evaluate(u));
  perPoint(state);
}
BENCHMARK(BM_EvaluateThroughTheClass)->ArgsProduct({{3, 5}, {10, 1000, 10000}, {0, 1}, {0, 1}});

/// Arguments: control points, tolerance in millionths.
void BM_Discretise(benchmark::State& state)
{
  const Model model(3, std::size_t(state.range(0)), false);
  const auto curve = model.curve(static_cast<double>(state.range(1)) * 1e-6);
  PolyLine<P3> polyline;
  for (auto _ : state) {
    curve.calcPolyLine(polyline);
    benchmark::DoNotOptimize(polyline.back());
  }
  const CountingCurve counting(curve);
  counting.calcPolyLine(polyline);
  const auto vertices = static_cast<double>(polyline.numberOfPoints());
  state.counters["vertices"] = vertices;
  state.counters["evaluations/vertex"] = static_cast<double>(counting.count) / vertices;
  state.counters["deviation"] = deviationOf(curve, polyline);
}
BENCHMARK(BM_Discretise)->ArgsProduct({{100, 10000}, {100000, 1000, 10}})->Unit(benchmark::kMicrosecond);

/// Argument: points.
void BM_SplineSolve(benchmark::State& state)
{
  const auto points = wavyPoints(std::size_t(state.range(0)));
  const V3 tangent(0, 1, 0);
  for (auto _ : state) {
    const std::vector<V3> copy(points.begin(), points.end());
    const ChordLengthSpline<3> spline(copy, false, {tangent, tangent, V3(), V3()});
    const auto polygon = spline.controlPoints();
    const NurbsCurve<double, 3> curve({polygon.begin(), polygon.end()}, spline.knots(), false, false, false, 0.1,
                                      false);
    benchmark::DoNotOptimize(curve.numberOfKnots());
  }
}
BENCHMARK(BM_SplineSolve)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

/// Arguments: points, tolerance in thousandths.
void BM_SplineEdit(benchmark::State& state)
{
  const auto points = wavyPoints(std::size_t(state.range(0)));
  KvBSpline<double, 3> spline(points, V3(0, 1, 0), V3(0, 1, 0), false, static_cast<double>(state.range(1)) * 1e-3);
  const std::size_t middle = points.size() / 2;
  for (auto _ : state)
    spline.moveInterpolationPoint(middle, points[middle]);
  std::size_t vertices = 0;
  for (std::size_t i = 0; i + 1 < points.size(); ++i)
    vertices += spline.getSubCurve(i)->numberOfPoints();
  state.counters["vertices"] = static_cast<double>(vertices);
}
BENCHMARK(BM_SplineEdit)->ArgsProduct({{1000, 10000, 100000}, {100, 1}})->Unit(benchmark::kMicrosecond);

#ifdef KVSHAPES_PEERS

gp_Pnt peerPoint(const P3& p) { return {p.x(), p.y(), p.z()}; }

Handle(Geom_BSplineCurve) peerCurve(const Model& model)
{
  std::vector<double> distinct;
  std::vector<int> multiplicities;
  for (const double knot : model.knots) {
    if (!distinct.empty() && distinct.back() == knot) {
      ++multiplicities.back();
    } else {
      distinct.push_back(knot);
      multiplicities.push_back(1);
    }
  }
  const auto size = [](const auto& list) { return static_cast<int>(list.size()); };
  TColgp_Array1OfPnt poles(1, size(model.points));
  TColStd_Array1OfReal knots(1, size(distinct));
  TColStd_Array1OfInteger counts(1, size(distinct));
  for (int i = 0; i < size(model.points); ++i)
    poles(i + 1) = peerPoint(model.points[std::size_t(i)]);
  for (int i = 0; i < size(distinct); ++i) {
    knots(i + 1) = distinct[std::size_t(i)];
    counts(i + 1) = multiplicities[std::size_t(i)];
  }
  const int degree = size(model.knots) - size(model.points) - 1;
  if (model.weights.empty()) return new Geom_BSplineCurve(poles, knots, counts, degree);
  TColStd_Array1OfReal weights(1, size(model.weights));
  for (int i = 0; i < size(model.weights); ++i)
    weights(i + 1) = model.weights[std::size_t(i)];
  return new Geom_BSplineCurve(poles, weights, knots, counts, degree);
}

void BM_EvaluatePeer(benchmark::State& state)
{
  const Model model(std::size_t(state.range(0)), std::size_t(state.range(1)), state.range(2) != 0);
  const auto curve = peerCurve(model);
  gp_Pnt point;
  for (auto _ : state)
    for (const double u : model.parameters) {
      curve->D0(u, point);
      benchmark::DoNotOptimize(point);
    }
  perPoint(state);
}
BENCHMARK(BM_EvaluatePeer)->ArgsProduct({{3, 5}, {10, 1000, 10000}, {0, 1}});

/// The deviation that a deflection of the peer leaves, and its vertices.
double peerDeviation(const GeomAdaptor_Curve& curve, double deflection, int& vertices)
{
  const GCPnts_TangentialDeflection discretised(curve, 3.0, deflection);
  vertices = discretised.NbPoints();
  std::vector<P3> points;
  std::vector<double> parameters;
  for (int i = 1; i <= vertices; ++i) {
    const gp_Pnt p = discretised.Value(i);
    points.push_back({p.X(), p.Y(), p.Z()});
    parameters.push_back(discretised.Parameter(i));
  }
  return deviation(points, parameters, [&curve](double u) {
    const gp_Pnt p = curve.Value(u);
    return P3(p.X(), p.Y(), p.Z());
  });
}

void BM_DiscretisePeer(benchmark::State& state)
{
  const Model model(3, std::size_t(state.range(0)), false);
  const auto own = model.curve(static_cast<double>(state.range(1)) * 1e-6);
  PolyLine<P3> polyline;
  own.calcPolyLine(polyline);
  const double wanted = deviationOf(own, polyline);
  const GeomAdaptor_Curve curve(peerCurve(model));
  int vertices = 0;
  double low = wanted * 1e-2, high = wanted * 1e2;
  for (int i = 0; i < 25; ++i) {
    const double middle = std::sqrt(low * high);
    (peerDeviation(curve, middle, vertices) > wanted ? high : low) = middle;
  }
  for (auto _ : state) {
    const GCPnts_TangentialDeflection discretised(curve, 3.0, low);
    benchmark::DoNotOptimize(discretised.NbPoints());
  }
  state.counters["deviation"] = peerDeviation(curve, low, vertices);
  state.counters["vertices"] = vertices;
}
BENCHMARK(BM_DiscretisePeer)->ArgsProduct({{100, 10000}, {100000, 1000, 10}})->Unit(benchmark::kMicrosecond);

void BM_SplineSolvePeer(benchmark::State& state)
{
  const auto points = wavyPoints(std::size_t(state.range(0)));
  const Handle(TColgp_HArray1OfPnt) array = new TColgp_HArray1OfPnt(1, static_cast<int>(points.size()));
  for (std::size_t i = 0; i < points.size(); ++i)
    array->SetValue(static_cast<int>(i) + 1, peerPoint(points[i]));
  for (auto _ : state) {
    GeomAPI_Interpolate interpolation(array, false, 1e-9);
    interpolation.Load(gp_Vec(0, 1, 0), gp_Vec(0, 1, 0));
    interpolation.Perform();
    benchmark::DoNotOptimize(interpolation.Curve());
  }
}
BENCHMARK(BM_SplineSolvePeer)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

#endif

} // namespace
