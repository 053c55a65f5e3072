#include "geometry/MeshModifiers/AppendMeshModifier.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/mesh/Mesh.h"

namespace Kavrel {

namespace {

// Elements are read by position up to a count taken beforehand, so that a mesh can be appended to itself.
void appendVertices(MeshData& target, const MeshData& source, std::size_t count,
                    const CoordinateSystem<double, 3>* system)
{
  for (std::size_t i = 0; i < count; ++i) {
    target.vertices.push_back(source.vertices[i]);
    Vertex& added = target.vertices.back();
    added.setHalfEdge(nullptr);
    added.setIndex(static_cast<unsigned>(target.vertices.size() - 1));
    if (system) added.transform(*system);
  }
}

void appendTriangles(Mesh& target, const MeshData& source, std::size_t count, std::uint64_t vertexOffset)
{
  for (std::size_t i = 0; i < count; ++i) {
    unsigned a = 0, b = 0, c = 0;
    source.triangles[i].getVertexIndices(a, b, c);
    target.addTriangle(vertexOffset + a, vertexOffset + b, vertexOffset + c);
  }
}

} // namespace

AppendMeshModifier::AppendMeshModifier(Mesh& meshToEdit) : MeshModifier(meshToEdit) {}

AppendMeshModifier::~AppendMeshModifier() = default;

void AppendMeshModifier::appendMesh(const Mesh& source, const CoordinateSystem<double, 3>* system)
{
  if (source.isEmpty()) return;
  appended = true;
  setCacheFlags(-1); // an empty list may have cleared them
  Mesh& target = getMesh();
  const MeshData& sourceData = getReadAccess(source);
  const std::size_t oldVertices = target.numberOfVertices();
  const std::size_t newVertices = source.numberOfVertices();
  const std::size_t newTriangles = source.numberOfTriangles();

  target.setHasNormals(source.hasNormals() && (oldVertices == 0 || target.hasNormals()));
  getData().constraints.reset();
  appendVertices(getData(), sourceData, newVertices, system && !system->isIdentity() ? system : nullptr);
  appendTriangles(target, sourceData, newTriangles, oldVertices);
}

void AppendMeshModifier::appendMeshes(const PlacedMeshes& sources)
{
  for (const auto& [source, system] : sources)
    if (source) appendMesh(*source, &system);
  if (!appended) clearCacheFlags();
}

void AppendMeshModifier::operator()(const Mesh& source, const CoordinateSystem<double, 3>* system)
{
  appendMesh(source, system);
}

void AppendMeshModifier::operator()(const PlacedMeshes& sources) { appendMeshes(sources); }

} // namespace Kavrel
