// How long do trees take to build, and to answer? Names read task/model/contestant; all times are per task, on one
// thread unless told otherwise. KVSHAPES_BENCHMARK_MODEL names a further model, in lines of "v x y z" and "f a b c".

#include "SearchModels.h"
#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"
#include "geometry/BoundingVolumeHierarchy/PointSearchTreeT.h"

#include <benchmark/benchmark.h>
#include <omp.h>

#ifdef KVSHAPES_PEERS
#include "SearchPeers.h"
#endif

using namespace Kavrel;
using namespace Kavrel::Benchmarks;
using BoundingVolumeHierarchy::MeshSearchTree;
using BoundingVolumeHierarchy::PointSearchTreeT;

namespace {

constexpr unsigned leafSize = 8;
constexpr unsigned maxDepth = 30;
constexpr unsigned pairLeafSize = 4;

/// Everything that is built once for a model.
struct Subject
{
  std::unique_ptr<SearchModel> model;
  SearchQueries queries;
  MeshSearchTree tree;
  double radius;
#ifdef KVSHAPES_PEERS
  CgalTree cgal;
  EmbreeTree embree;

  explicit Subject(std::unique_ptr<SearchModel> searched)
      : model(std::move(searched)), queries(*model), tree(model->mesh, leafSize, maxDepth), radius(0.01 * model->size),
        cgal(*model, true), embree(*model, RTC_BUILD_QUALITY_MEDIUM, RTC_SCENE_FLAG_COMPACT)
  {
    embree.build();
  }
#else
  explicit Subject(std::unique_ptr<SearchModel> searched)
      : model(std::move(searched)), queries(*model), tree(model->mesh, leafSize, maxDepth), radius(0.01 * model->size)
  {}
#endif
};

/// Registers a task that is done for one query after the other.
template <class Task>
void perQuery(const std::string& name, std::size_t count, Task task)
{
  benchmark::RegisterBenchmark(name.c_str(), [count, task](benchmark::State& state) {
    std::size_t i = 0;
    for (auto _ : state) {
      benchmark::DoNotOptimize(task(i));
      if (++i == count) i = 0;
    }
  })->Unit(benchmark::kMicrosecond);
}

template <class Task>
void once(const std::string& name, Task task)
{
  perQuery(name, 1, [task](std::size_t) { return task(); });
}

void registerBuild(Subject& s)
{
  const std::string name = "build/" + s.model->name;
  const double perTriangle = 1.0 / static_cast<double>(s.model->triangles.size());
  for (const int threads : {1, 2})
    benchmark::RegisterBenchmark((name + "/kvshapes, threads " + std::to_string(threads)).c_str(),
                                 [&s, threads, perTriangle](benchmark::State& state) {
                                   omp_set_num_threads(threads);
                                   for (auto _ : state) {
                                     const MeshSearchTree tree(s.model->mesh, leafSize, maxDepth);
                                     state.counters["bytes per triangle"] =
                                         static_cast<double>(tree.estimateBytes()) * perTriangle;
                                   }
                                   omp_set_num_threads(1);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime();
#ifdef KVSHAPES_PEERS
  once(name + "/CGAL", [&s] {
    CgalTree::Tree tree(s.cgal.triangles.cbegin(), s.cgal.triangles.cend());
    tree.build();
    return tree.size();
  });
  const auto embree = [&](const char* variant, RTCBuildQuality quality, RTCSceneFlags flags) {
    benchmark::RegisterBenchmark((name + variant).c_str(),
                                 [&s, quality, flags](benchmark::State& state) {
                                   for (auto _ : state) {
                                     state.PauseTiming();
                                     auto tree = std::make_unique<EmbreeTree>(*s.model, quality, flags);
                                     state.ResumeTiming();
                                     tree->build();
                                     state.PauseTiming();
                                     tree.reset();
                                     state.ResumeTiming();
                                   }
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->MeasureProcessCPUTime();
  };
  embree("/Embree low", RTC_BUILD_QUALITY_LOW, RTC_SCENE_FLAG_NONE);
  embree("/Embree compact", RTC_BUILD_QUALITY_MEDIUM, RTC_SCENE_FLAG_COMPACT);
#endif
}

void registerNearest(Subject& s)
{
  const std::pair<const char*, const std::vector<Vector3>*> places[] = {
      {"near", &s.queries.near}, {"on", &s.queries.on}, {"inside", &s.queries.inside}, {"far", &s.queries.far}};
  for (const auto& [place, points] : places) {
    const std::string name = std::string("nearest ") + place + "/" + s.model->name;
    perQuery(name + "/kvshapes", points->size(), [&s, points = points](std::size_t i) {
      Point3N out;
      s.tree.getNearestPoint((*points)[i], out);
      return out[0];
    });
#ifdef KVSHAPES_PEERS
    perQuery(name + "/CGAL", points->size(), [&s, points = points](std::size_t i) {
      return s.cgal.tree.closest_point(CgalTree::point((*points)[i])).x();
    });
    perQuery(name + "/Embree", points->size(),
             [&s, points = points](std::size_t i) { return s.embree.nearest((*points)[i]); });
#endif
  }
}

void registerLines(Subject& s)
{
  const std::string& model = s.model->name;
  const std::size_t count = s.queries.inside.size();
  // Every other ray comes from outside and aims at the surface.
  const auto origin = [&s](std::size_t i) { return i % 2 ? s.queries.far[i] : s.queries.inside[i]; };
  const auto direction = [&s, origin](std::size_t i) {
    return i % 2 ? (s.queries.on[i] - s.queries.far[i]).getNormalized() : s.queries.directions[i];
  };
  perQuery("first ray hit/" + model + "/kvshapes", count, [&s, origin, direction](std::size_t i) {
    XiEtaPoint place;
    Point3N point;
    double distance = 0.0;
    s.tree.raySelectFirst(origin(i), direction(i), place, point, distance);
    return distance;
  });
  perQuery("first line hit/" + model + "/kvshapes", count, [&s, origin, direction](std::size_t i) {
    XiEtaPoint place;
    Point3N point;
    double distance = 0.0;
    s.tree.lineSelectFirst(origin(i), direction(i), place, point, distance);
    return distance;
  });
  perQuery("all line hits/" + model + "/kvshapes", count, [&s, origin, direction](std::size_t i) {
    thread_local std::vector<XiEtaPoint> hits;
    return s.tree.lineSelectAll(origin(i), direction(i), hits);
  });
#ifdef KVSHAPES_PEERS
  perQuery("first ray hit/" + model + "/CGAL", count, [&s, origin, direction](std::size_t i) {
    return s.cgal.tree
        .first_intersection(CgalTree::Kernel::Ray_3(CgalTree::point(origin(i)), CgalTree::vector(direction(i))))
        .has_value();
  });
  perQuery("first ray hit/" + model + "/Embree", count,
           [&s, origin, direction](std::size_t i) { return s.embree.firstHit(origin(i), direction(i)); });
  perQuery("all line hits/" + model + "/CGAL", count, [&s, origin, direction](std::size_t i) {
    thread_local std::vector<CgalTree::Tree::Intersection_and_primitive_id<CgalTree::Kernel::Line_3>::Type> hits;
    hits.clear();
    s.cgal.tree.all_intersections(CgalTree::Kernel::Line_3(CgalTree::point(origin(i)), CgalTree::vector(direction(i))),
                                  std::back_inserter(hits));
    return hits.size();
  });
#endif
}

void registerSelections(Subject& s)
{
  const std::string& model = s.model->name;
  const auto plane = [&s](std::size_t i) {
    return Plane<double, 3>(s.queries.directions[i], Point<double, 3>(s.queries.inside[i]));
  };
  perQuery("within radius/" + model + "/kvshapes", s.queries.near.size(), [&s](std::size_t i) {
    thread_local std::vector<XiEtaPoint> hits;
    return s.tree.sphereSelectAll(s.queries.near[i], s.radius, hits);
  });
  perQuery("plane/" + model + "/kvshapes", s.queries.inside.size(), [&s, plane](std::size_t i) {
    thread_local std::vector<int> hits;
    return s.tree.planeIntersections(plane(i), hits);
  });
#ifdef KVSHAPES_PEERS
  perQuery("within radius/" + model + "/CGAL", s.queries.near.size(), [&s](std::size_t i) {
    thread_local std::vector<CgalTree::Tree::Primitive_id> hits;
    hits.clear();
    s.cgal.tree.all_intersected_primitives(
        CgalTree::Kernel::Sphere_3(CgalTree::point(s.queries.near[i]), s.radius * s.radius), std::back_inserter(hits));
    return hits.size();
  });
  perQuery("plane/" + model + "/CGAL", s.queries.inside.size(), [&s, plane](std::size_t i) {
    thread_local std::vector<CgalTree::Tree::Primitive_id> hits;
    hits.clear();
    const auto p = plane(i);
    const Vector3& n = p.getNormal();
    s.cgal.tree.all_intersected_primitives(CgalTree::Kernel::Plane_3(n[0], n[1], n[2], -p.getDistance()),
                                           std::back_inserter(hits));
    return hits.size();
  });
#endif
}

/// A model and a copy of it beside itself, once crossing and once apart.
void registerPairs(Subject& s)
{
  const std::string& model = s.model->name;
  const struct
  {
    const char* name;
    double shift;
  } placements[] = {{"crossing", 0.1}, {"apart", 2.5}};
  for (const auto& [name, share] : placements) {
    const Vector3 shift = Vector3(0.9, 0.4, 0.17).getNormalized() * (share * s.model->size);
    auto moved = std::make_shared<Mesh>(s.model->mesh);
    moved->move(shift);
    const auto first = std::make_shared<MeshSearchTree>(s.model->mesh, pairLeafSize, maxDepth);
    const auto second = std::make_shared<MeshSearchTree>(moved, true, pairLeafSize, maxDepth);
    const bool crosses = share < 1.0;
    const std::string title = std::string(crosses ? "crossing triangles/" : "nearest of pair/") + model;
    if (crosses)
      once(title + "/kvshapes", [first, second] {
        thread_local std::vector<MeshSearchTree::TriangleIntersectionResult> hits;
        first->getMeshIntersections(*second, hits);
        return hits.size();
      });
    else
      once(title + "/kvshapes", [first, second] {
        Point3N a, b;
        double squareDistance = 0.0;
        first->getNearestPoints(*second, a, b, squareDistance, std::numeric_limits<double>::max());
        return squareDistance;
      });
#ifdef KVSHAPES_PEERS
    if (crosses) {
      const auto triangles = std::make_shared<CgalTree::Triangles>(CgalTree::trianglesOf(*s.model, shift));
      once(title + "/CGAL", [&s, triangles] {
        std::size_t count = 0;
        thread_local std::vector<CgalTree::Tree::Primitive_id> hits;
        for (const auto& triangle : *triangles) {
          hits.clear();
          s.cgal.tree.all_intersected_primitives(triangle, std::back_inserter(hits));
          count += hits.size();
        }
        return count;
      });
      const auto a = fclModel<fcl::AABBd>(*s.model, Vector3());
      const auto b = fclModel<fcl::AABBd>(*s.model, shift);
      once(title + "/FCL boxes", [a, b] {
        fcl::CollisionRequestd request(1U << 30, true);
        fcl::CollisionResultd result;
        fcl::collide(a.get(), fcl::Transform3d::Identity(), b.get(), fcl::Transform3d::Identity(), request, result);
        return result.numContacts();
      });
    } else {
      const auto a = fclModel<fcl::OBBRSSd>(*s.model, Vector3());
      const auto b = fclModel<fcl::OBBRSSd>(*s.model, shift);
      once(title + "/FCL OBBRSS", [a, b] {
        fcl::DistanceRequestd request(true);
        fcl::DistanceResultd result;
        return fcl::distance(a.get(), fcl::Transform3d::Identity(), b.get(), fcl::Transform3d::Identity(), request,
                             result);
      });
    }
#endif
  }
}

void registerPoints(Subject& s)
{
  const std::string& model = s.model->name;
  const std::vector<Vector3>& points = s.model->points;
  const auto tree = std::make_shared<PointSearchTreeT<3>>(points, leafSize);
  const std::size_t count = s.queries.near.size();
  once("build points/" + model + "/kvshapes",
       [&points] { return PointSearchTreeT<3>(points, leafSize).getBvh().empty(); });
  perQuery("nearest point/" + model + "/kvshapes", count, [&s, tree](std::size_t i) {
    std::uint64_t id = 0;
    tree->selectClosest(s.queries.near[i], id);
    return id;
  });
  perQuery("8 nearest points/" + model + "/kvshapes", count, [&s, tree](std::size_t i) {
    thread_local std::vector<int> ids;
    thread_local std::vector<double> distances;
    return tree->nearestPointIndices(s.queries.near[i], 8, ids, distances, true);
  });
  perQuery("points within radius/" + model + "/kvshapes", count, [&s, tree](std::size_t i) {
    thread_local std::vector<int> ids;
    tree->sphereSelectAll(s.queries.near[i], s.radius, ids);
    return ids.size();
  });
#ifdef KVSHAPES_PEERS
  const auto cloud = std::make_shared<NanoflannCloud>(NanoflannCloud{points});
  const auto peer = std::make_shared<NanoflannTree>(3, *cloud, nanoflann::KDTreeSingleIndexAdaptorParams(10));
  once("build points/" + model + "/nanoflann", [cloud] {
    const NanoflannTree built(3, *cloud, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    return built.size(built);
  });
  perQuery("nearest point/" + model + "/nanoflann", count, [&s, peer, cloud](std::size_t i) {
    unsigned id = 0;
    double distance = 0.0;
    peer->knnSearch(s.queries.near[i].data(), 1, &id, &distance);
    return id;
  });
  perQuery("8 nearest points/" + model + "/nanoflann", count, [&s, peer, cloud](std::size_t i) {
    unsigned ids[8];
    double distances[8];
    return peer->knnSearch(s.queries.near[i].data(), 8, ids, distances);
  });
  perQuery("points within radius/" + model + "/nanoflann", count, [&s, peer, cloud](std::size_t i) {
    thread_local std::vector<std::pair<unsigned, double>> found;
    return peer->radiusSearch(s.queries.near[i].data(), s.radius * s.radius, found,
                              nanoflann::SearchParams(32, 0.0F, false));
  });
#endif
}

} // namespace

int main(int argc, char** argv)
{
  omp_set_num_threads(1);
  benchmark::Initialize(&argc, argv);
  std::vector<std::unique_ptr<Subject>> subjects;
  subjects.push_back(std::make_unique<Subject>(shippedModel()));
  if (const char* path = std::getenv("KVSHAPES_BENCHMARK_MODEL"))
    subjects.push_back(std::make_unique<Subject>(modelFromLines(path)));
  if (const char* count = std::getenv("KVSHAPES_BENCHMARK_SPHERE"); count == nullptr || std::atoi(count) > 0)
    subjects.push_back(std::make_unique<Subject>(
        sphereModel(count ? static_cast<std::size_t>(std::atoi(count)) : std::size_t{1000000})));
  for (const auto& subject : subjects) {
    registerBuild(*subject);
    registerNearest(*subject);
    registerLines(*subject);
    registerSelections(*subject);
    registerPairs(*subject);
    registerPoints(*subject);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
