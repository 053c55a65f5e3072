#pragma once

#include "geometry/MeshModifiers/MeshModifier.h"

namespace Kavrel {

/// Builds the half-edges of a mesh from its triangles. Geometry, cached values and hash stay as they are.
class KVSHAPES_EXPORT TopologyGenerationMeshModifier : public MeshModifier
{
public:
  explicit TopologyGenerationMeshModifier(Mesh& meshToEdit);
  TopologyGenerationMeshModifier(const TopologyGenerationMeshModifier&) = default;
  ~TopologyGenerationMeshModifier() override;

  /// Replaces all half-edges: three per triangle in its order, and for each vertex its first outgoing one.
  ///
  /// Half-edges pair with the first opposite one of their edge, whether that one has a partner or not; at an edge of
  /// more than two triangles a link may thus stay one-way (Mesh::isTopologyConsistent). Two triangles that run along an
  /// edge in the same direction don't pair. The result depends on the order of triangles and vertices alone.
  void computeTopology();
  void operator()();
};

} // namespace Kavrel
