// Reads a mesh, builds its search tree, and checks nearest points and first ray hits against brute force.
// Usage: mesh_queries [FILE]
#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"
#include "geometry/ShapecoreIO.h"
#include "geometry/mesh/Mesh.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>

using namespace Kavrel;
using BoundingVolumeHierarchy::MeshSearchTree;
using Position = Point<double, 3>;
using Direction = Vector<double, 3>;

namespace {

constexpr int queries = 100;
constexpr double tolerance = 1e-9; // relative to the size of the model

double nearestByBruteForce(const Mesh& mesh, const Position& point)
{
  double least = std::numeric_limits<double>::max();
  for (auto triangle = mesh.beginTriangle(); triangle != mesh.endTriangle(); ++triangle)
    least = std::min(least, triangle->getPointSqrDistance(point));
  return std::sqrt(least);
}

// The distance to the first hit, or a negative number for none.
double rayByBruteForce(const Mesh& mesh, const Position& origin, const Direction& direction)
{
  double first = -1.0;
  for (auto triangle = mesh.beginTriangle(); triangle != mesh.endTriangle(); ++triangle) {
    XiEtaPoint place;
    if (triangle->computeIntersection(origin, direction, place) != 2) continue;
    const double along = (triangle->getPoint(place) - origin).dot(direction);
    if (along >= 0.0 && (first < 0.0 || along < first)) first = along;
  }
  return first;
}

} // namespace

int main(int argc, char** argv)
{
  const std::shared_ptr<const Mesh> mesh = ShapecoreIO::importMesh(FileName(argc > 1 ? argv[1] : "data/fandisk.txt"));
  const MeshSearchTree tree(mesh, true, 8, 64);
  const BoundingBox<double, 3> box = mesh->calculateBoundingBox();
  const double size = box.getDiameter();

  std::mt19937 random(1);
  std::uniform_real_distribution<double> spread(-1.0, 1.0);
  const auto anywhere = [&] {
    return Position(box.getCenter() + Direction(spread(random), spread(random), spread(random)) * size);
  };
  int wrong = 0, hits = 0;
  for (int i = 0; i < queries; ++i) {
    const Position point = anywhere();
    Point3N nearest;
    tree.getNearestPoint(point, nearest);
    if (std::abs(point.distance(nearest) - nearestByBruteForce(*mesh, point)) > tolerance * size) ++wrong;

    const Direction direction = Direction(anywhere() * 0.2 + box.getCenter() * 0.8 - point).getNormalized();
    XiEtaPoint place;
    Point3N hit;
    double distance = 0.0;
    const bool found = tree.raySelectFirst(point, direction, place, hit, distance);
    const double expected = rayByBruteForce(*mesh, point, direction);
    hits += found;
    if (found != (expected >= 0.0) || (found && std::abs(distance - expected) > tolerance * size)) ++wrong;
  }
  std::printf("%zu triangles: %d nearest points and %d rays (%d hits) checked against brute force, %d wrong\n",
              static_cast<std::size_t>(mesh->numberOfTriangles()), queries, queries, hits, wrong);
  return wrong == 0 ? 0 : 1;
}
