// How long does a point on a B-spline curve take, alone and with two derivatives, and how does that grow with the
// number of control points? The peer is OpenCASCADE's curve, with the same arrays and parameters.

#include <benchmark/benchmark.h>

#include "platform/kvcadcore/nurbs/CurveEvaluation.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <Geom_BSplineCurve.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColgp_Array1OfPnt.hxx>
#include <gp_Pnt.hxx>
#include <gp_Vec.hxx>
#endif

namespace {

using namespace Kavrel;

constexpr std::size_t parameterCount = 4096;

/// A helix of uneven knots, clamped; parameters over its domain.
struct Model
{
  unsigned degree;
  std::vector<double> knots, points, weights, parameters;

  /// Arguments: degree, control points, rational, ordered parameters.
  explicit Model(const benchmark::State& state) : degree(unsigned(state.range(0)))
  {
    const auto count = std::size_t(state.range(1));
    std::mt19937_64 engine(7);
    std::uniform_real_distribution<double> unit;
    knots.assign(degree + 1, 0.0);
    while (knots.size() < count)
      knots.push_back(knots.back() + 0.5 + unit(engine));
    knots.resize(count + degree + 1, knots.back() + 1.0);
    for (std::size_t i = 0; i < count; ++i)
      points.insert(points.end(), {std::cos(double(i)), std::sin(double(i)), 0.1 * double(i)});
    for (std::size_t i = 0; state.range(2) && i < count; ++i)
      weights.push_back(0.5 + unit(engine));
    for (std::size_t i = 0; i < parameterCount; ++i)
      parameters.push_back(knots.back() * unit(engine));
    if (state.range(3)) std::sort(parameters.begin(), parameters.end());
  }

  Nurbs::CurveView<double, 3> view() const
  {
    return {degree, knots, points.data(), weights.empty() ? nullptr : weights.data()};
  }
};

/// Evaluates at all parameters over and over and reports nanoseconds for one.
template <class Evaluate>
void measure(benchmark::State& state, const Model& model, Evaluate evaluate)
{
  for (auto _ : state)
    for (const double u : model.parameters)
      evaluate(u);
  state.SetItemsProcessed(std::int64_t(state.iterations() * model.parameters.size()));
  state.counters["per point"] = benchmark::Counter(
      double(parameterCount), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <unsigned order>
void BM_Kvshapes(benchmark::State& state)
{
  const Model model(state);
  measure(state, model, [&](double u) { benchmark::DoNotOptimize(Nurbs::derivativesAt<order>(model.view(), u)); });
}

/// The span of the parameter before serves as a hint.
template <unsigned order>
void BM_KvshapesHint(benchmark::State& state)
{
  const Model model(state);
  const auto view = model.view();
  std::size_t span = 0;
  measure(state, model, [&](double u) {
    span = Nurbs::findSpan(view.knots, view.degree, u, span);
    benchmark::DoNotOptimize(Nurbs::derivativesInSpan<order>(view, span, u));
  });
}

/// The columns of a degree, control points, rational, ordered table.
void rows(benchmark::internal::Benchmark* benchmark)
{
  benchmark->ArgNames({"degree", "points", "rational", "ordered"});
  benchmark->ArgsProduct({{3, 5}, {10, 100, 1000, 10000}, {0, 1}, {0, 1}});
}

void orderedRows(benchmark::internal::Benchmark* benchmark)
{
  benchmark->ArgNames({"degree", "points", "rational", "ordered"});
  benchmark->ArgsProduct({{3, 5}, {10, 10000}, {0, 1}, {1}});
}

/// A thousand times the spans must cost about ten steps of a halving search more, no matter the degree.
void growthRows(benchmark::internal::Benchmark* benchmark)
{
  benchmark->ArgNames({"degree", "points", "rational", "ordered"});
  benchmark->ArgsProduct({{3}, benchmark::CreateRange(1 << 4, 1 << 20, 16), {0}, {0}});
}

BENCHMARK(BM_Kvshapes<0>)->Name("Point")->Apply(rows);
BENCHMARK(BM_Kvshapes<2>)->Name("PointAndTwoDerivatives")->Apply(rows);
BENCHMARK(BM_KvshapesHint<0>)->Name("PointWithHint")->Apply(orderedRows);
BENCHMARK(BM_KvshapesHint<2>)->Name("PointAndTwoDerivativesWithHint")->Apply(orderedRows);
BENCHMARK(BM_Kvshapes<0>)->Name("PointGrowth")->Apply(growthRows);

#ifdef KVSHAPES_PEERS

Handle(Geom_BSplineCurve) peerCurve(const Model& model)
{
  const int count = int(model.points.size() / 3);
  TColgp_Array1OfPnt points(1, count);
  TColStd_Array1OfReal weights(1, count);
  for (int i = 0; i < count; ++i) {
    const double* p = &model.points[3 * std::size_t(i)];
    points(i + 1) = gp_Pnt(p[0], p[1], p[2]);
    weights(i + 1) = model.weights.empty() ? 1.0 : model.weights[std::size_t(i)];
  }
  auto distinct = model.knots;
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  TColStd_Array1OfReal knots(1, int(distinct.size()));
  TColStd_Array1OfInteger multiplicities(1, int(distinct.size()));
  for (int i = 0; i < int(distinct.size()); ++i) {
    knots(i + 1) = distinct[std::size_t(i)];
    multiplicities(i + 1) = int(std::count(model.knots.begin(), model.knots.end(), distinct[std::size_t(i)]));
  }
  return new Geom_BSplineCurve(points, weights, knots, multiplicities, int(model.degree));
}

void BM_OpenCascadePoint(benchmark::State& state)
{
  const Model model(state);
  const auto curve = peerCurve(model);
  measure(state, model, [&](double u) {
    gp_Pnt point;
    curve->D0(u, point);
    benchmark::DoNotOptimize(point);
  });
}

void BM_OpenCascadeTwoDerivatives(benchmark::State& state)
{
  const Model model(state);
  const auto curve = peerCurve(model);
  measure(state, model, [&](double u) {
    gp_Pnt point;
    gp_Vec first, second;
    curve->D2(u, point, first, second);
    benchmark::DoNotOptimize(point);
    benchmark::DoNotOptimize(second);
  });
}

BENCHMARK(BM_OpenCascadePoint)->Name("Point/OpenCASCADE")->Apply(rows);
BENCHMARK(BM_OpenCascadeTwoDerivatives)->Name("PointAndTwoDerivatives/OpenCASCADE")->Apply(rows);

#endif

} // namespace
