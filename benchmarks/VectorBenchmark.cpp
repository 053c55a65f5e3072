/// How fast are loops over vectors, beside Eigen's fixed sizes without alignment? The same loop serves both, over
/// arrays that fit the cache (1000 elements) and arrays that don't (a million). Times are per loop, rates per element.

#include "geometry/CoordinateSystem.h"
#include "geometry/Point.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <Eigen/Geometry>
#endif

using namespace Kavrel;

namespace {

template <class Element, class T>
std::vector<Element> randomElements(std::size_t count, unsigned seed)
{
  std::mt19937_64 engine(seed);
  std::uniform_real_distribution<T> coordinate(T(-1), T(1));
  std::vector<Element> list(count);
  for (Element& element : list)
    for (int i = 0; i < 3; ++i)
      element[i] = coordinate(engine);
  return list;
}

/// What the loops do, in the words of kvshapes.
template <class T>
struct Own
{
  using Scalar = T;
  using Element = Point<T, 3>;
  using Placement = CoordinateSystem<T, 3>;

  static Placement quarterTurn()
  {
    const Vector<T, 3> axes[] = {{T(0), T(1), T(0)}, {T(-1), T(0), T(0)}, {T(0), T(0), T(1)}};
    return Placement(OrthMatrix<T, 3>(axes), Element(T(1), T(2), T(3)));
  }
  static Element normalized(const Element& a) { return a.getNormalized(); }
  static T distance(const Element& a, const Element& b) { return a.distance(b); }
  static Element placed(Element a, const Placement& placement) { return a.transform(placement); }
};

#ifdef KVSHAPES_PEERS

/// The same in the words of Eigen.
template <class T>
struct Peer
{
  using Scalar = T;
  using Element = Eigen::Matrix<T, 3, 1, Eigen::DontAlign>;
  using Placement = Eigen::Transform<T, 3, Eigen::AffineCompact, Eigen::DontAlign>;

  static Placement quarterTurn()
  {
    Placement placement;
    placement.matrix() << T(0), T(-1), T(0), T(1), T(1), T(0), T(0), T(2), T(0), T(0), T(1), T(3);
    return placement;
  }
  static Element normalized(const Element& a) { return a.normalized(); }
  static T distance(const Element& a, const Element& b) { return (a - b).norm(); }
  static Element placed(const Element& a, const Placement& placement) { return placement * a; }
};

#endif

/// Runs `operation` on pairs of elements, one result a pair.
template <class Library, class Operation>
void loop(benchmark::State& state, const Operation& operation)
{
  using Element = typename Library::Element;
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto a = randomElements<Element, typename Library::Scalar>(count, 1);
  const auto b = randomElements<Element, typename Library::Scalar>(count, 2);
  std::vector results(count, operation(a[0], b[0])); // written once before, so that no loop pays for fresh pages
  benchmark::DoNotOptimize(results.data());
  for (auto _ : state) {
    for (std::size_t i = 0; i < count; ++i)
      results[i] = operation(a[i], b[i]);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Library>
void add(benchmark::State& state)
{
  using Element = typename Library::Element;
  loop<Library>(state, [](const Element& a, const Element& b) -> Element { return a + b; });
}

template <class Library>
void dot(benchmark::State& state)
{
  loop<Library>(state, [](const auto& a, const auto& b) { return a.dot(b); });
}

template <class Library>
void cross(benchmark::State& state)
{
  using Element = typename Library::Element;
  loop<Library>(state, [](const Element& a, const Element& b) -> Element { return a.cross(b); });
}

template <class Library>
void normalize(benchmark::State& state)
{
  loop<Library>(state, [](const auto& a, const auto&) { return Library::normalized(a); });
}

template <class Library>
void distance(benchmark::State& state)
{
  loop<Library>(state, [](const auto& a, const auto& b) { return Library::distance(a, b); });
}

template <class Library>
void transform(benchmark::State& state)
{
  auto placement = Library::quarterTurn();
  benchmark::DoNotOptimize(&placement); // else the numbers of the turn could be worked into the loop
  loop<Library>(state, [placement](const auto& a, const auto&) { return Library::placed(a, placement); });
}

template <class Library>
bool registerLoops(const std::string& title)
{
  const auto enter = [&title](const char* name, void (*task)(benchmark::State&)) {
    benchmark::RegisterBenchmark((name + title).c_str(), task)->Arg(1000)->Arg(1'000'000);
  };
  enter("add", add<Library>);
  enter("dot", dot<Library>);
  enter("cross", cross<Library>);
  enter("normalize", normalize<Library>);
  enter("distance", distance<Library>);
  enter("transform", transform<Library>);
  return true;
}

[[maybe_unused]] const bool ownRegistered =
    registerLoops<Own<double>>("/double/kvshapes") && registerLoops<Own<float>>("/float/kvshapes");
#ifdef KVSHAPES_PEERS
[[maybe_unused]] const bool peerRegistered =
    registerLoops<Peer<double>>("/double/Eigen") && registerLoops<Peer<float>>("/float/Eigen");
#endif

} // namespace
