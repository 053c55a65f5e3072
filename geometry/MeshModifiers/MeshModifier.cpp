#include "geometry/MeshModifiers/MeshModifier.h"

#include "geometry/mesh/Mesh.h"
#include "geometry/mesh/MeshLazyValues.h"

namespace Kavrel {

MeshModifier::MeshModifier(Mesh& meshToEdit)
    : mesh(&meshToEdit), data(&meshToEdit.writeAccess(*this)), hadTopology(meshToEdit.hasTopology())
{}

MeshModifier::~MeshModifier()
{
  if (cacheFlags == 0) return;
  const MeshLazyValues::Lock lock(mesh->lazy->cacheMutex);
  commitTopology();
  commitCaches();
}

const MeshData& MeshModifier::getReadAccess(const Mesh& other) const { return other.readAccess(*this); }

void MeshModifier::negateAreaWeightedNormal() { mesh->lazy->values.areaWeightedNormal.negate(); }

bool MeshModifier::clearTopology()
{
  if (!isTopologyPending() || !hadTopology) return false;
  mesh->removeTopology();
  topologyHandled = true;
  return true;
}

bool MeshModifier::updateTopology()
{
  if (!isTopologyPending() || !hadTopology) return false;
  mesh->computeTopology();
  topologyHandled = true;
  return true;
}

bool MeshModifier::createTopology()
{
  if (!isTopologyPending() && hadTopology) return false;
  mesh->computeTopology();
  topologyHandled = true;
  return true;
}

void MeshModifier::commitTopology()
{
  switch (topologyCalcMode) {
  case TopologyClear:
    clearTopology();
    break;
  case TopologyUpdate:
    updateTopology();
    break;
  case TopologyCreate:
    createTopology();
    break;
  case TopologyKeep:
    break;
  }
}

void MeshModifier::commitCaches()
{
  MeshLazyValues::Values& values = mesh->lazy->values;
  if (isInvalid(InvalidateArea)) {
    values.areaValid = false;
    values.curvedAreaValid = false;
    values.areaWeightedNormalValid = false;
  }
  if (isInvalid(InvalidateCenterOfGravity)) values.centerOfGravityValid = false;
  if (isInvalid(InvalidateHash)) values.hashDirty = true;
}

} // namespace Kavrel
