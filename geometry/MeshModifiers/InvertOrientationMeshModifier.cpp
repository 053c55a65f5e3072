#include "geometry/MeshModifiers/InvertOrientationMeshModifier.h"

#include "geometry/mesh/Mesh.h"

namespace Kavrel {

InvertOrientationMeshModifier::InvertOrientationMeshModifier(Mesh& meshToEdit) : MeshModifier(meshToEdit)
{
  clearCacheFlags();
}

InvertOrientationMeshModifier::~InvertOrientationMeshModifier() = default;

void InvertOrientationMeshModifier::invertOrientation()
{
  for (Triangle& triangle : getData().triangles)
    triangle.changeOrientation();
  if (getMesh().hasNormals())
    for (Vertex& vertex : getData().vertices)
      vertex.invertNormal();
  negateAreaWeightedNormal();
  setInvalid(InvalidateHash);
  setInvalid(InvalidateTopology);
}

void InvertOrientationMeshModifier::operator()() { invertOrientation(); }

} // namespace Kavrel
