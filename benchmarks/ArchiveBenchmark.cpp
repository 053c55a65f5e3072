// How long does it take to save and load large objects through memory, and how do the bytes compare?
// The peer is Boost.Serialization's binary archive, over plain classes that hold the same values.

#include <benchmark/benchmark.h>

#include "geometry/Point3N.h"
#include "geometry/StraightLine.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kvarchive/Persistence.h"

#include <cmath>
#include <memory>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/shared_ptr.hpp>
#include <boost/serialization/vector.hpp>
#include <sstream>
#endif

namespace {

using namespace Kavrel;

constexpr std::size_t pointCount = 1000000;
constexpr std::size_t curveCount = 100000;
constexpr unsigned gridSize = 708; // about a million triangles

double coordinate(std::size_t i) { return std::sin(double(i)); }

/// Runs `save` over and over; `save` returns the size of the stream.
template <class Save>
void measureSave(benchmark::State& state, std::size_t elements, Save save)
{
  std::size_t bytes = 0;
  for (auto _ : state) {
    bytes = save();
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["bytes/element"] = double(bytes) / double(elements);
}

template <class Write>
std::vector<char> archived(Write write)
{
  PersistenceArchiver archive;
  write(archive);
  const auto bytes = archive.close();
  return {bytes.begin(), bytes.end()};
}

template <class Write>
void saveOurs(benchmark::State& state, std::size_t elements, Write write)
{
  measureSave(state, elements, [&] {
    PersistenceArchiver archive;
    write(archive);
    return archive.close().size();
  });
}

template <class Target, class Write, class Read>
void loadOurs(benchmark::State& state, Write write, Read read)
{
  const std::vector<char> bytes = archived(write);
  for (auto _ : state) {
    Target target;
    PersistenceArchiver archive;
    archive.openForReading(bytes);
    read(archive, target);
    benchmark::DoNotOptimize(target);
  }
}

std::vector<Point<double, 3>> points()
{
  std::vector<Point<double, 3>> result;
  for (std::size_t i = 0; i < pointCount; ++i)
    result.emplace_back(coordinate(i), coordinate(i + 1), coordinate(i + 2));
  return result;
}

std::vector<Point3N> pointsWithNormals()
{
  std::vector<Point3N> result;
  for (const Point<double, 3>& p : points()) {
    result.emplace_back(p.x(), p.y(), p.z());
    result.back().setNormal(Vector<double, 3>(0, 0, 1));
  }
  return result;
}

using Curves = std::vector<std::shared_ptr<Curve<double, 3>>>;

/// Every curve is referred to twice.
Curves curves()
{
  Curves result;
  for (std::size_t i = 0; i < curveCount; ++i)
    result.push_back(std::make_shared<StraightLine<double, 3>>(Point<double, 3>(coordinate(i), 0, 0),
                                                               Point<double, 3>(0, coordinate(i), 1), 0.1));
  result.insert(result.end(), result.begin(), result.begin() + curveCount);
  return result;
}

const Mesh& grid()
{
  static const std::unique_ptr<Mesh> mesh = [] {
    auto result = std::make_unique<Mesh>();
    for (unsigned y = 0; y <= gridSize; ++y)
      for (unsigned x = 0; x <= gridSize; ++x)
        result->addVertex(x, y, coordinate(x * y));
    for (unsigned y = 0; y < gridSize; ++y)
      for (unsigned x = 0; x < gridSize; ++x) {
        const unsigned corner = y * (gridSize + 1) + x, above = corner + gridSize + 1;
        result->addTriangle(corner, corner + 1, above);
        result->addTriangle(corner + 1, above + 1, above);
      }
    return result;
  }();
  return *mesh;
}

constexpr auto saveAll = [](const auto& list) {
  return [&list](PersistenceArchiver& archive) { Persistence::saveContainer(archive, list); };
};
constexpr auto loadAll = [](PersistenceArchiver& archive, auto& list) { Persistence::loadContainer(archive, list); };

void PointsSave(benchmark::State& state)
{
  const auto list = points();
  saveOurs(state, list.size(), saveAll(list));
}
void PointsLoad(benchmark::State& state)
{
  const auto list = points();
  loadOurs<std::vector<Point<double, 3>>>(state, saveAll(list), loadAll);
}
void NormalsSave(benchmark::State& state)
{
  const auto list = pointsWithNormals();
  saveOurs(state, list.size(), saveAll(list));
}
void NormalsLoad(benchmark::State& state)
{
  const auto list = pointsWithNormals();
  loadOurs<std::vector<Point3N>>(state, saveAll(list), loadAll);
}
void CurvesSave(benchmark::State& state)
{
  const auto list = curves();
  saveOurs(state, curveCount, saveAll(list));
}
void CurvesLoad(benchmark::State& state)
{
  const auto list = curves();
  loadOurs<Curves>(state, saveAll(list), loadAll);
}
void MeshSave(benchmark::State& state)
{
  saveOurs(state, grid().numberOfTriangles(),
           [](PersistenceArchiver& archive) { Persistence::saveObject(archive, grid()); });
}
void MeshLoad(benchmark::State& state)
{
  loadOurs<Mesh>(
      state, [](PersistenceArchiver& archive) { Persistence::saveObject(archive, grid()); },
      [](PersistenceArchiver& archive, Mesh& mesh) { Persistence::loadObject(archive, mesh); });
}

BENCHMARK(PointsSave)->Unit(benchmark::kMillisecond);
BENCHMARK(PointsLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(NormalsSave)->Unit(benchmark::kMillisecond);
BENCHMARK(NormalsLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(CurvesSave)->Unit(benchmark::kMillisecond);
BENCHMARK(CurvesLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(MeshSave)->Unit(benchmark::kMillisecond);
BENCHMARK(MeshLoad)->Unit(benchmark::kMillisecond);

} // namespace

#ifdef KVSHAPES_PEERS

namespace Peer {

struct XYZ
{
  double x = 0, y = 0, z = 0;
  template <class Archive>
  void serialize(Archive& archive, unsigned)
  {
    archive& x& y& z;
  }
};

struct PointWithNormal
{
  XYZ point;
  bool hasNormal = true;
  XYZ normal;
  template <class Archive>
  void serialize(Archive& archive, unsigned)
  {
    archive& point& hasNormal& normal;
  }
};

struct Curve
{
  virtual ~Curve() = default;
  double lower = 0, upper = 1, tolerance = 0.1;
  bool first = false, second = false;
  unsigned long long id = 0;
  template <class Archive>
  void serialize(Archive& archive, unsigned)
  {
    archive& lower& upper& first& second& tolerance& id;
  }
};

struct Line : Curve
{
  XYZ start, end, direction;
  template <class Archive>
  void serialize(Archive& archive, unsigned)
  {
    archive& boost::serialization::base_object<Curve>(*this);
    archive& start& end& direction;
  }
};

struct Corners
{
  int a = 0, b = 0, c = 0;
  template <class Archive>
  void serialize(Archive& archive, unsigned)
  {
    archive& a& b& c;
  }
};

struct Mesh
{
  std::vector<XYZ> vertices;
  std::vector<Corners> triangles;
  template <class Archive>
  void serialize(Archive& archive, unsigned)
  {
    archive& vertices& triangles;
  }
};

using Curves = std::vector<std::shared_ptr<Curve>>;

} // namespace Peer

BOOST_CLASS_EXPORT(Peer::Line)

namespace {

template <class T>
std::string boosted(const T& object)
{
  std::ostringstream stream;
  boost::archive::binary_oarchive archive(stream, boost::archive::no_header);
  archive << object;
  return stream.str();
}

template <class T>
void saveBoost(benchmark::State& state, std::size_t elements, const T& object)
{
  measureSave(state, elements, [&] {
    std::ostringstream stream;
    boost::archive::binary_oarchive archive(stream, boost::archive::no_header);
    archive << object;
    return std::size_t(stream.tellp());
  });
}

template <class T>
void loadBoost(benchmark::State& state, const T& object)
{
  std::istringstream stream(boosted(object));
  for (auto _ : state) {
    stream.seekg(0);
    T target;
    boost::archive::binary_iarchive archive(stream, boost::archive::no_header);
    archive >> target;
    benchmark::DoNotOptimize(target);
  }
}

std::vector<Peer::XYZ> peerPoints()
{
  std::vector<Peer::XYZ> result;
  for (std::size_t i = 0; i < pointCount; ++i)
    result.push_back({coordinate(i), coordinate(i + 1), coordinate(i + 2)});
  return result;
}

std::vector<Peer::PointWithNormal> peerNormals()
{
  std::vector<Peer::PointWithNormal> result;
  for (const Peer::XYZ& p : peerPoints())
    result.push_back({p, true, {0, 0, 1}});
  return result;
}

Peer::Curves peerCurves()
{
  Peer::Curves result;
  for (std::size_t i = 0; i < curveCount; ++i) {
    auto line = std::make_shared<Peer::Line>();
    line->start.x = coordinate(i);
    result.push_back(line);
  }
  result.insert(result.end(), result.begin(), result.begin() + curveCount);
  return result;
}

Peer::Mesh peerMesh()
{
  Peer::Mesh mesh;
  mesh.vertices.resize((gridSize + 1) * (gridSize + 1));
  mesh.triangles.resize(2 * gridSize * gridSize);
  return mesh;
}

void PointsSaveBoost(benchmark::State& state) { saveBoost(state, pointCount, peerPoints()); }
void PointsLoadBoost(benchmark::State& state) { loadBoost(state, peerPoints()); }
void NormalsSaveBoost(benchmark::State& state) { saveBoost(state, pointCount, peerNormals()); }
void NormalsLoadBoost(benchmark::State& state) { loadBoost(state, peerNormals()); }
void CurvesSaveBoost(benchmark::State& state) { saveBoost(state, curveCount, peerCurves()); }
void CurvesLoadBoost(benchmark::State& state) { loadBoost(state, peerCurves()); }
void MeshSaveBoost(benchmark::State& state) { saveBoost(state, 2 * gridSize * gridSize, peerMesh()); }
void MeshLoadBoost(benchmark::State& state) { loadBoost(state, peerMesh()); }

BENCHMARK(PointsSaveBoost)->Unit(benchmark::kMillisecond);
BENCHMARK(PointsLoadBoost)->Unit(benchmark::kMillisecond);
BENCHMARK(NormalsSaveBoost)->Unit(benchmark::kMillisecond);
BENCHMARK(NormalsLoadBoost)->Unit(benchmark::kMillisecond);
BENCHMARK(CurvesSaveBoost)->Unit(benchmark::kMillisecond);
BENCHMARK(CurvesLoadBoost)->Unit(benchmark::kMillisecond);
BENCHMARK(MeshSaveBoost)->Unit(benchmark::kMillisecond);
BENCHMARK(MeshLoadBoost)->Unit(benchmark::kMillisecond);

} // namespace

#endif
