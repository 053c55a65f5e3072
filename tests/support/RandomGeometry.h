#pragma once

#include "platform/kvmath/Vector.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace Kavrel::Testing {

/// Numbers and small geometry from a fixed seed: the same on every machine, so that a failure repeats.
class RandomGeometry
{
public:
  explicit RandomGeometry(std::uint64_t seed) : engine(seed) {}

  /// Evenly in [low, high).
  double uniform(double low, double high) { return low + (high - low) * unit(); }

  /// In [low, high), every order of magnitude as likely as the next; both limits positive.
  double logUniform(double low, double high) { return std::exp(uniform(std::log(low), std::log(high))); }

  /// In [0, count).
  std::size_t index(std::size_t count) { return static_cast<std::size_t>(unit() * static_cast<double>(count)); }

  bool coin() { return unit() < 0.5; }

  /// Evenly in the cube from -half to half.
  template <unsigned dim>
  Vector<double, dim> inCube(double half)
  {
    Vector<double, dim> v;
    for (unsigned i = 0; i < dim; ++i)
      v[i] = uniform(-half, half);
    return v;
  }

  /// Evenly on the unit sphere.
  template <unsigned dim>
  Vector<double, dim> direction()
  {
    for (;;) {
      const auto v = inCube<dim>(1.0);
      const double length = v.length();
      if (length > 0.1 && length <= 1.0) return v / length;
    }
  }

  /// Evenly directed, with a length in [low, high), every order of magnitude alike.
  template <unsigned dim>
  Vector<double, dim> ofAnySize(double low, double high)
  {
    return direction<dim>() * logUniform(low, high);
  }

  /// `count` points, each a random step of at most `step` per axis away from the one before.
  template <unsigned dim>
  std::vector<Vector<double, dim>> walk(std::size_t count, double step)
  {
    std::vector<Vector<double, dim>> points;
    Vector<double, dim> at;
    while (points.size() < count) {
      points.push_back(at);
      at += inCube<dim>(step);
    }
    return points;
  }

  /// The numbers 0 to count - 1 in random order.
  std::vector<std::size_t> permutation(std::size_t count)
  {
    std::vector<std::size_t> order(count);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t j = index(i + 1);
      order[i] = order[j];
      order[j] = i;
    }
    return order;
  }

private:
  // The standard distributions differ between libraries; the engine does not.
  double unit() { return static_cast<double>(engine() >> 11) * 0x1p-53; }

  std::mt19937_64 engine;
};

/// Runs `check(random)` that often, on and on with the numbers of one seed; a failure tells the round.
template <class Check>
void repeat(int count, std::uint64_t seed, Check check)
{
  RandomGeometry random(seed);
  for (int round = 0; round < count && !testing::Test::HasFatalFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    check(random);
  }
}

} // namespace Kavrel::Testing
