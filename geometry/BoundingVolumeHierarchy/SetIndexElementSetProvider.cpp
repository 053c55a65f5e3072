#include "geometry/BoundingVolumeHierarchy/SetIndexElementSetProvider.h"

#include "geometry/mesh/Mesh.h"

#include <numeric>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

std::size_t countTriangles(const Mesh& mesh) { return mesh.numberOfTriangles(); }

std::size_t countTriangles(const InitialCoordinatesMesh& flat) { return flat.getMesh().numberOfTriangles(); }

std::size_t countTriangles(const DEMeshAdapter& adapter) { return adapter.numberOfTriangles; }

Triangle elementOf(const Mesh* mesh, std::uint32_t index) { return mesh->getTriangleRef(index); }

template <class Set>
SetIndexElement<Set> elementOf(const Set* set, std::uint32_t index)
{
  return {set, index};
}

} // namespace

template <class Set, class E>
SetIndexElementSetProvider<Set, E>::SetIndexElementSetProvider(const Set& source)
    : set(&source), indices(countTriangles(source))
{
  std::iota(indices.begin(), indices.end(), 0U);
}

template <class Set, class E>
E SetIndexElementSetProvider<Set, E>::getElement(unsigned position) const
{
  return elementOf(set, indices[position]);
}

template class SetIndexElementSetProvider<Mesh, Triangle>;
template class SetIndexElementSetProvider<DEMeshAdapter, SetIndexElement<DEMeshAdapter>>;
template class SetIndexElementSetProvider<InitialCoordinatesMesh, SetIndexElement<InitialCoordinatesMesh>>;

} // namespace Kavrel::BoundingVolumeHierarchy
