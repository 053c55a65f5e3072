/// How fast does a mesh with half-edges come from index arrays, and how fast do its vertices get normals, beside CGAL's
/// Surface_mesh and OpenMesh? A sphere of a million triangles (0) and the model that ships with the library (1). Times
/// are per mesh; a build includes the end of the mesh that was built.

#include "SearchModels.h"
#include "geometry/mesh/Mesh.h"
#include "geometry/mesh/MeshNormalCalculator.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#ifdef KVSHAPES_PEERS
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <OpenMesh/Core/Mesh/DefaultTriMesh.hh>
#endif

using namespace Kavrel;
using namespace Kavrel::Benchmarks;

namespace {

constexpr std::size_t sphereTriangles = 1'000'000;

enum Shape
{
  sphere,
  shipped
};

const SearchModel& model(std::int64_t shape)
{
  static std::unique_ptr<SearchModel> models[2];
  auto& m = models[shape];
  if (!m) m = shape == sphere ? sphereModel(sphereTriangles) : shippedModel();
  return *m;
}

/// Fails a run that left triangles out, and tells how many it made per second.
void countTriangles(benchmark::State& state, std::size_t made)
{
  const std::size_t wanted = model(state.range(0)).triangles.size();
  if (made != wanted) state.SkipWithError("triangles are missing");
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(wanted));
}

/// Packed corners and indices, with normals at hand so that building has none to compute, like the peers.
struct Arrays
{
  std::vector<Vector3> normals;
  std::vector<int> indices;
  const SearchModel& source;

  explicit Arrays(const SearchModel& m) : source(m)
  {
    MeshNormalCalculator::calculate(m.mesh, normals, false, false);
    for (const auto& triangle : m.triangles)
      indices.insert(indices.end(), triangle.begin(), triangle.end());
  }

  void fill(Mesh& mesh) const
  {
    const auto corners = static_cast<unsigned>(source.points.size());
    mesh.set(corners, source.points.front().data(), static_cast<unsigned>(source.triangles.size()), indices.data(),
             corners, normals.front().data());
  }
};

void build(benchmark::State& state)
{
  const Arrays arrays(model(state.range(0)));
  std::size_t bytes = 0, made = 0;
  for (auto _ : state) {
    Mesh mesh;
    arrays.fill(mesh);
    mesh.computeTopology();
    bytes = mesh.estimateBytes();
    made = mesh.hasTopology() ? mesh.numberOfTriangles() : 0;
  }
  countTriangles(state, made);
  state.counters["bytes per triangle"] = static_cast<double>(bytes) / static_cast<double>(made);
}

template <bool useAngles>
void normals(benchmark::State& state)
{
  Mesh mesh(model(state.range(0)).mesh);
  mesh.computeTopology();
  for (auto _ : state) {
    mesh.recomputeNormals(false, useAngles);
    benchmark::ClobberMemory();
  }
  countTriangles(state, mesh.numberOfTriangles());
}

void onBothModels(benchmark::internal::Benchmark* task)
{
  task->DenseRange(sphere, shipped)->Unit(benchmark::kMillisecond);
}

BENCHMARK(build)->Name("build/kvshapes")->Apply(onBothModels);
BENCHMARK(normals<false>)->Name("normals by area/kvshapes")->Apply(onBothModels);
BENCHMARK(normals<true>)->Name("normals by angle/kvshapes")->Apply(onBothModels);

#ifdef KVSHAPES_PEERS

using CgalPoint = CGAL::Simple_cartesian<double>::Point_3;
using CgalMesh = CGAL::Surface_mesh<CgalPoint>;

/// Both peers number their vertices from 0 in the order of adding, and are told the size beforehand.
template <class PeerMesh, class PeerPoint, class PeerVertex>
void fillPeer(PeerMesh& mesh, const SearchModel& m)
{
  const auto corners = static_cast<unsigned>(m.points.size()), triangles = static_cast<unsigned>(m.triangles.size());
  mesh.reserve(corners, corners + triangles, triangles);
  for (const Vector3& p : m.points)
    mesh.add_vertex(PeerPoint(p[0], p[1], p[2]));
  for (const auto& [a, b, c] : m.triangles)
    mesh.add_face(PeerVertex(a), PeerVertex(b), PeerVertex(c));
}

void cgalBuild(benchmark::State& state)
{
  const SearchModel& m = model(state.range(0));
  std::size_t made = 0;
  for (auto _ : state) {
    CgalMesh mesh;
    fillPeer<CgalMesh, CgalPoint, CgalMesh::Vertex_index>(mesh, m);
    made = mesh.number_of_faces();
  }
  countTriangles(state, made);
}

void fillOpenMesh(OpenMesh::TriMesh& mesh, const SearchModel& m)
{
  fillPeer<OpenMesh::TriMesh, OpenMesh::TriMesh::Point, OpenMesh::VertexHandle>(mesh, m);
}

void openMeshBuild(benchmark::State& state)
{
  const SearchModel& m = model(state.range(0));
  std::size_t made = 0;
  for (auto _ : state) {
    OpenMesh::TriMesh mesh;
    fillOpenMesh(mesh, m);
    made = mesh.n_faces();
  }
  countTriangles(state, made);
}

template <class Update>
void runOpenMeshNormals(benchmark::State& state, const Update& update)
{
  OpenMesh::TriMesh mesh;
  fillOpenMesh(mesh, model(state.range(0)));
  mesh.request_face_normals();
  mesh.request_vertex_normals();
  for (auto _ : state) {
    update(mesh);
    benchmark::ClobberMemory();
  }
  countTriangles(state, mesh.n_faces());
}

/// The usual call: unit normals of the faces, then their plain mean at each vertex.
void openMeshUpdate(benchmark::State& state)
{
  runOpenMeshNormals(state, [](OpenMesh::TriMesh& mesh) { mesh.update_normals(); });
}

/// The weights of "normals by area".
void openMeshByArea(benchmark::State& state)
{
  runOpenMeshNormals(state, [](OpenMesh::TriMesh& mesh) {
    for (const auto vertex : mesh.vertices())
      mesh.set_normal(vertex, mesh.calc_normal(vertex));
  });
}

BENCHMARK(cgalBuild)->Name("build/CGAL")->Apply(onBothModels);
BENCHMARK(openMeshBuild)->Name("build/OpenMesh")->Apply(onBothModels);
BENCHMARK(openMeshUpdate)->Name("normals unweighted/OpenMesh")->Apply(onBothModels);
BENCHMARK(openMeshByArea)->Name("normals by area/OpenMesh")->Apply(onBothModels);

#endif

} // namespace
