#include "geometry/MeshModifiers/TopologyGenerationMeshModifier.h"

#include "geometry/mesh/HalfEdgePairing.h"

namespace Kavrel {

TopologyGenerationMeshModifier::TopologyGenerationMeshModifier(Mesh& meshToEdit) : MeshModifier(meshToEdit)
{
  clearCacheFlags();
}

TopologyGenerationMeshModifier::~TopologyGenerationMeshModifier() = default;

void TopologyGenerationMeshModifier::computeTopology() { buildHalfEdges(getData()); }

void TopologyGenerationMeshModifier::operator()() { computeTopology(); }

} // namespace Kavrel
