#include "geometry/BoundingVolumeHierarchy/InitialCoordinatesMesh.h"

#include "geometry/mesh/Mesh.h"

namespace Kavrel::BoundingVolumeHierarchy {

InitialCoordinatesMesh::InitialCoordinatesMesh(const Mesh& flatMesh, const std::vector<float>& flatX,
                                               const std::vector<float>& flatY)
    : mesh(&flatMesh), x(&flatX), y(&flatY)
{
  vertexIndices.reserve(flatMesh.numberOfTriangles());
  for (const Triangle& triangle : flatMesh.getTriangleCollection()) {
    auto& corners = vertexIndices.emplace_back();
    triangle.getVertexIndices(corners[0], corners[1], corners[2]);
  }
}

} // namespace Kavrel::BoundingVolumeHierarchy
