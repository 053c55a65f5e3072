#pragma once

#include "geometry/PolyLine.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <tuple>

namespace Kavrel::Benchmarks {

constexpr std::int64_t walkSteps = 100'000;

/// How a walk goes: in random directions, or turning slowly. The third one winds around the origin, wavering, without
/// ever crossing itself.
enum Walk : std::int64_t
{
  jagged,
  smooth,
  spiral
};

/// A walk of steps about as long as 1.
template <class P>
PolyLine<P> makeWalk(std::int64_t kind, std::int64_t steps, unsigned seed)
{
  constexpr double gap = 4.0; // from one turn of the spiral to the next
  std::mt19937_64 engine(seed);
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> waver(-0.25 * gap, 0.25 * gap);
  const double inertia = kind == smooth ? 0.99 : 0.0;
  PolyLine<P> line;
  P at;
  Vector<double, P::Dim> step;
  for (std::int64_t i = 0; i <= steps; ++i) {
    if (kind == spiral) {
      const double angle = std::sqrt(4.0 * M_PI * static_cast<double>(i + 100) / gap);
      const double radius = gap * angle / (2.0 * M_PI) + waver(engine);
      at[0] = radius * std::cos(angle);
      at[1] = radius * std::sin(angle);
    }
    line.addPoint(at);
    if (kind == spiral) continue;
    for (unsigned axis = 0; axis < P::Dim; ++axis)
      step[axis] = inertia * step[axis] + std::sqrt(1 - inertia * inertia) * normal(engine);
    at += step;
  }
  return line;
}

/// The same, made once.
template <class P>
const PolyLine<P>& walk(std::int64_t kind, unsigned which, std::int64_t steps = walkSteps)
{
  static std::map<std::tuple<std::int64_t, unsigned, std::int64_t>, PolyLine<P>> walks;
  const auto [entry, isNew] = walks.try_emplace({kind, which, steps});
  if (isNew) entry->second = makeWalk<P>(kind, steps, static_cast<unsigned>(2 * kind + 1) + which);
  return entry->second;
}

/// Runs `query` on one element of a list after the other, one per iteration.
template <class List, class Query>
void runQueries(benchmark::State& state, const List& list, const Query& query)
{
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(query(list[i]));
    if (++i == list.size()) i = 0;
  }
}

} // namespace Kavrel::Benchmarks
