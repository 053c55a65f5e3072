#include "geometry/MeshModifiers/TopologyGenerationMeshModifier.h"
#include "geometry/ShapecoreException.h"
#include "geometry/mesh/Mesh.h"
#include "geometry/mesh/MeshLazyValues.h"
#include "geometry/mesh/MeshUnpacking.h"
#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

namespace {

constexpr unsigned versionWithoutSpareInteger = 150001;
constexpr unsigned versionOfTrustedNormals = 53014;

/// Reads an element count and makes sure that the stream can hold so many of \p elementSize bytes each.
unsigned loadCount(PersistenceArchiver& archiver, std::size_t elementSize)
{
  int count = 0;
  archiver >> count;
  if (count < 0) throw ShapecoreException("Mesh: Facet data is corrupted.");
  PersistenceAccess::checkElementCount(archiver, static_cast<unsigned>(count), elementSize);
  return static_cast<unsigned>(count);
}

} // namespace

KVSHAPES_PERSISTENT_CLASS(Mesh, "Mesh", 150001)

void Mesh::save(PersistenceArchiver& archiver, unsigned int) const
{
  archiver << normalsPresent << static_cast<int>(numberOfVertices());
  for (const Vertex& vertex : data.vertices) {
    archiver.putArray(vertex.data(), 3);
    if (normalsPresent) archiver.putArray(vertex.getNormal().data(), 3);
  }
  archiver << static_cast<int>(numberOfTriangles());
  for (const Triangle& triangle : data.triangles) {
    unsigned corners[3];
    triangle.getVertexIndices(corners[0], corners[1], corners[2]);
    archiver.putArray(corners, 3);
  }
  Persistence::saveObject(archiver, id);
  saveCachedValues(archiver);
  archiver << hasTopology();
}

void Mesh::saveCachedValues(PersistenceArchiver& archiver) const
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  const MeshLazyValues::Values& values = lazy->values;
  archiver << values.areaValid;
  if (values.areaValid) archiver << values.area;
  archiver << values.areaWeightedNormalValid;
  if (values.areaWeightedNormalValid) Persistence::saveObject(archiver, values.areaWeightedNormal);
  archiver << values.centerOfGravityValid;
  if (values.centerOfGravityValid) Persistence::saveObject(archiver, values.centerOfGravity);
  archiver << values.curvedAreaValid;
  if (values.curvedAreaValid) archiver << values.curvedArea;
}

void Mesh::load(PersistenceArchiver& archiver, unsigned int version)
{
  clear();
  archiver >> normalsPresent;
  if (version < versionWithoutSpareInteger) {
    int spare = 0;
    archiver >> spare;
  }
  loadVertices(archiver);
  loadTriangles(archiver);
  Persistence::loadObject(archiver, id);
  loadCachedValues(archiver, version);
  bool withTopology = false;
  archiver >> withTopology;
  if (withTopology) computeTopology();
}

void Mesh::loadVertices(PersistenceArchiver& archiver)
{
  const unsigned count = loadCount(archiver, (normalsPresent ? 6 : 3) * sizeof(double));
  data.vertices.resize(count);
  unsigned index = 0;
  for (Vertex& vertex : data.vertices) {
    archiver.getArray(vertex.data(), 3);
    if (normalsPresent) {
      Vector<double, 3> normal;
      archiver.getArray(normal.data(), 3);
      vertex.setNormal(normal);
    }
    vertex.setIndex(index++);
  }
}

void Mesh::loadTriangles(PersistenceArchiver& archiver)
{
  const unsigned count = loadCount(archiver, 3 * sizeof(int));
  std::vector<int> corners(3 * std::size_t(count));
  archiver.getArray(corners.data(), corners.size());
  data.triangles = unpackTriangles(data.vertices, count, corners.data());
  if (data.triangles.size() != count) throw ShapecoreException("Mesh: Facet data is corrupted.");
}

void Mesh::loadCachedValues(PersistenceArchiver& archiver, unsigned version)
{
  MeshLazyValues::Values& values = lazy->values;
  archiver >> values.areaValid;
  if (values.areaValid) archiver >> values.area;
  archiver >> values.areaWeightedNormalValid;
  if (values.areaWeightedNormalValid) Persistence::loadObject(archiver, values.areaWeightedNormal);
  if (version < versionOfTrustedNormals) values.areaWeightedNormalValid = false;
  archiver >> values.centerOfGravityValid;
  if (values.centerOfGravityValid) Persistence::loadObject(archiver, values.centerOfGravity);
  archiver >> values.curvedAreaValid;
  if (values.curvedAreaValid) archiver >> values.curvedArea;
}

} // namespace Kavrel
