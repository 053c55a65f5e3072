// What a project does that finds the installed package: build a mesh, ask it a question, and create a persistent class
// that only registers itself.
#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"
#include "geometry/GeometricTolerances.h"
#include "geometry/Point3NT.h"
#include "geometry/PolyLine.h"
#include "geometry/VectorField.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kvarchive/PersistenceArchiver.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <typeinfo>

int main()
{
  using namespace Kavrel;
  auto mesh = std::make_shared<Mesh>();
  mesh->addVertex(0.0, 0.0, 0.0);
  mesh->addVertex(1.0, 0.0, 0.0);
  mesh->addVertex(0.0, 1.0, 0.0);
  mesh->addTriangle(0, 1, 2);
  const BoundingVolumeHierarchy::MeshSearchTree tree(std::shared_ptr<const Mesh>(mesh), true, 8, 64);
  Point3N nearest;
  if (!tree.getNearestPoint(Point<double, 3>(Vector<double, 3>(0.25, 0.25, 2.0)), nearest)) return 1;
  if (std::abs(nearest.z()) > 1e-12) return 2;
  const std::type_info* const classes[] = {&typeid(Mesh), &typeid(VectorField), &typeid(GeometricTolerances),
                                           &typeid(PolyLine<Point3NT>)};
  for (const std::type_info* type : classes)
    if (PersistenceArchiver::getHashForType(PersistenceArchiver::getHashForName(type->name())) == NO_HASH) {
      std::printf("%s isn't registered\n", type->name());
      return 3;
    }
  std::printf("nearest: %g %g %g\n", nearest.x(), nearest.y(), nearest.z());
}
