#pragma once

#include "geometry/ShapecoreIO.h"
#include "geometry/mesh/Mesh.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

/// Meshes to search and queries that suit them, the same in every run.
namespace Kavrel::Benchmarks {

using Vector3 = Vector<double, 3>;

/// A mesh beside the same corners and indices in flat arrays, which every contestant can be fed from.
struct SearchModel
{
  std::string name;
  Mesh mesh;
  std::vector<Vector3> points;
  std::vector<std::array<unsigned, 3>> triangles;
  double size = 0.0; ///< half the diagonal of the box
  Vector3 centre;

  SearchModel(std::string title, std::vector<Vector3> corners, std::vector<std::array<unsigned, 3>> facets)
      : name(std::move(title)), points(std::move(corners)), triangles(std::move(facets))
  {
    Vector3 low = points.front(), high = points.front();
    for (const Vector3& point : points) {
      mesh.addVertex(point[0], point[1], point[2]);
      for (unsigned i = 0; i < 3; ++i) {
        low[i] = std::min(low[i], point[i]);
        high[i] = std::max(high[i], point[i]);
      }
    }
    for (const auto& triangle : triangles)
      mesh.addTriangle(triangle[0], triangle[1], triangle[2]);
    centre = (low + high) * 0.5;
    size = (high - low).length() * 0.5;
  }

  Vector3 corner(std::size_t triangle, unsigned i) const { return points[triangles[triangle][i]]; }
};

/// Two triangles a cell of a grid of latitudes and longitudes, as many as asked for.
inline std::unique_ptr<SearchModel> sphereModel(std::size_t count)
{
  const auto bands = static_cast<unsigned>(std::sqrt(static_cast<double>(count) / 4.0));
  const unsigned around = 2 * bands;
  std::vector<Vector3> points;
  for (unsigned band = 0; band <= bands; ++band)
    for (unsigned i = 0; i < around; ++i) {
      // The poles are left open by a hair, so that no triangle loses its area.
      const double polar = std::numbers::pi * (band + 0.25) / (bands + 0.5);
      const double turn = 2.0 * std::numbers::pi * i / around;
      points.emplace_back(std::sin(polar) * std::cos(turn), std::sin(polar) * std::sin(turn), std::cos(polar));
    }
  std::vector<std::array<unsigned, 3>> triangles;
  for (unsigned band = 0; band < bands; ++band)
    for (unsigned i = 0; i < around; ++i) {
      const unsigned a = band * around + i, b = band * around + (i + 1) % around;
      triangles.push_back({a, a + around, b + around});
      triangles.push_back({a, b + around, b});
    }
  return std::make_unique<SearchModel>("sphere", std::move(points), std::move(triangles));
}

/// A model of lines "v x y z" and "f a b c", indices from 1.
inline std::unique_ptr<SearchModel> modelFromLines(const std::string& path)
{
  std::ifstream file(path);
  if (!file) throw std::runtime_error("no model at " + path);
  std::vector<Vector3> points;
  std::vector<std::array<unsigned, 3>> triangles;
  for (std::string line; std::getline(file, line);) {
    const char* at = line.data() + 1;
    const char* const end = line.data() + line.size();
    const auto next = [&](auto& value) {
      while (at != end && *at == ' ')
        ++at;
      at = std::from_chars(at, end, value).ptr;
      while (at != end && *at != ' ')
        ++at;
    };
    if (line.starts_with("v ")) {
      Vector3 point;
      for (unsigned i = 0; i < 3; ++i)
        next(point[i]);
      points.push_back(point);
    } else if (line.starts_with("f ")) {
      std::array<unsigned, 3> triangle;
      for (unsigned& corner : triangle) {
        next(corner);
        --corner;
      }
      triangles.push_back(triangle);
    }
  }
  return std::make_unique<SearchModel>("model", std::move(points), std::move(triangles));
}

/// The model that ships with the library.
inline std::unique_ptr<SearchModel> shippedModel()
{
  std::ifstream file(KVSHAPES_DATA "/fandisk.txt");
  if (!file) throw std::runtime_error("no model in " KVSHAPES_DATA);
  std::vector<Vector3> points;
  std::vector<std::array<unsigned, 3>> triangles;
  bool inPoints = true;
  for (std::string line; std::getline(file, line);) {
    const char* at = line.data();
    const char* const end = at + line.size();
    unsigned index = 0;
    const auto [behind, error] = std::from_chars(at, end, index);
    if (error != std::errc()) {
      inPoints = !line.starts_with("Facets") && !line.starts_with("facets");
      continue;
    }
    at = behind;
    const auto next = [&](auto& value) {
      while (at != end && *at == ' ')
        ++at;
      at = std::from_chars(at, end, value).ptr;
    };
    if (inPoints) {
      Vector3 point;
      for (unsigned i = 0; i < 3; ++i)
        next(point[i]);
      points.push_back(point);
    } else {
      std::array<unsigned, 3> triangle;
      for (unsigned& corner : triangle)
        next(corner);
      triangles.push_back(triangle);
    }
  }
  return std::make_unique<SearchModel>("fandisk", std::move(points), std::move(triangles));
}

/// Points about a model, and directions.
struct SearchQueries
{
  std::vector<Vector3> near, on, inside, far, directions;

  explicit SearchQueries(const SearchModel& model)
  {
    constexpr std::size_t count = 4096;
    std::mt19937_64 engine(7);
    const auto uniform = [&engine](double low, double high) {
      return low + (high - low) * static_cast<double>(engine() >> 11) * 0x1p-53;
    };
    const auto direction = [&] {
      for (;;) {
        const Vector3 v(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1));
        if (v.length() > 0.1 && v.length() < 1.0) return v / v.length();
      }
    };
    for (std::size_t i = 0; i < count; ++i) {
      const auto triangle = static_cast<std::size_t>(uniform(0, static_cast<double>(model.triangles.size())));
      const double u = uniform(0, 0.5), v = uniform(0, 0.5);
      const Vector3 place =
          model.corner(triangle, 0) * (1 - u - v) + model.corner(triangle, 1) * u + model.corner(triangle, 2) * v;
      on.push_back(place);
      near.push_back(place + direction() * (0.01 * model.size));
      inside.push_back(model.centre + direction() * uniform(0, 0.3 * model.size));
      far.push_back(model.centre + direction() * (3.0 * model.size));
      directions.push_back(direction());
    }
  }
};

} // namespace Kavrel::Benchmarks
