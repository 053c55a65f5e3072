// How fast is a mesh read from the text format, beside a plain reader that takes the same file word by word?

#include "geometry/KvFileParser.h"
#include "geometry/ShapecoreIO.h"
#include "geometry/mesh/Mesh.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <unistd.h>
#include <vector>

namespace Kavrel {
namespace {

/// A sphere of about a million triangles as a mesh dumps it, with 15 digits.
class SphereFile
{
public:
  SphereFile() : path(std::filesystem::temp_directory_path() / ("kvshapes-" + std::to_string(::getpid()) + ".txt"))
  {
    Mesh mesh;
    constexpr unsigned bands = 500, around = 1000;
    for (unsigned j = 0; j <= bands; ++j)
      for (unsigned i = 0; i < around; ++i) {
        const double polar = std::numbers::pi * (j + 0.5) / (bands + 1), turn = 2 * std::numbers::pi * i / around;
        mesh.addVertex(std::sin(polar) * std::cos(turn), std::sin(polar) * std::sin(turn), std::cos(polar));
      }
    for (unsigned j = 0; j < bands; ++j)
      for (unsigned i = 0; i < around; ++i) {
        const unsigned a = j * around + i, b = j * around + (i + 1) % around;
        mesh.addTriangle(a, a + around, b + around);
        mesh.addTriangle(a, b + around, b);
      }
    std::ofstream file(path);
    mesh.dump(file, false, true);
  }
  SphereFile(const SphereFile&) = delete;
  SphereFile& operator=(const SphereFile&) = delete;
  ~SphereFile() { std::filesystem::remove(path); }

  const std::filesystem::path& getPath() const { return path; }
  std::int64_t size() const { return static_cast<std::int64_t>(std::filesystem::file_size(path)); }

private:
  std::filesystem::path path;
};

const SphereFile& sphereFile()
{
  static const SphereFile file;
  return file;
}

void importMesh(benchmark::State& state)
{
  const FileName name(sphereFile().getPath());
  for (auto _ : state)
    benchmark::DoNotOptimize(ShapecoreIO::importMesh(name));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * sphereFile().size());
}
BENCHMARK(importMesh)->Unit(benchmark::kMillisecond);

/// The parts of the import that aren't reading: the plain reader doesn't have them.
void computeNormals(benchmark::State& state)
{
  const auto mesh = ShapecoreIO::importMesh(FileName(sphereFile().getPath()));
  for (auto _ : state)
    mesh->recomputeNormals(false, true);
}
BENCHMARK(computeNormals)->Unit(benchmark::kMillisecond);

/// Points and facets into plain arrays, without checks and normals.
void plainReader(benchmark::State& state)
{
  for (auto _ : state) {
    std::ifstream file(sphereFile().getPath());
    std::vector<std::array<double, 3>> points;
    std::vector<std::array<unsigned, 3>> facets;
    bool readsFacets = false;
    std::string word;
    std::getline(file, word);
    while (file >> word) {
      if (word == "Points") continue;
      if (word == "Facets") {
        readsFacets = true;
        continue;
      }
      if (readsFacets) {
        auto& facet = facets.emplace_back();
        file >> facet[0] >> facet[1] >> facet[2];
      } else {
        auto& point = points.emplace_back();
        file >> point[0] >> point[1] >> point[2];
      }
    }
    benchmark::DoNotOptimize(points.data());
    benchmark::DoNotOptimize(facets.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * sphereFile().size());
}
BENCHMARK(plainReader)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Kavrel
