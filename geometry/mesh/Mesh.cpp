#include "geometry/mesh/Mesh.h"

#include "geometry/BoundingBox.h"
#include "geometry/CoordinateSystem.h"
#include "geometry/MeshModifiers/AppendMeshModifier.h"
#include "geometry/MeshModifiers/InvertOrientationMeshModifier.h"
#include "geometry/MeshModifiers/TopologyGenerationMeshModifier.h"
#include "geometry/Plane.h"
#include "geometry/ShapecoreException.h"
#include "geometry/mesh/MeshLazyValues.h"
#include "geometry/mesh/MeshNormalCalculator.h"
#include "geometry/mesh/MeshUnpacking.h"
#include "platform/kvlog/Logging.h"

#include <functional>
#include <utility>

namespace Kavrel {

namespace {

const Logging logging("geometry/mesh/Mesh.cpp");

constexpr const char* corruptedFacets = "Mesh: Facet data is corrupted.";

/// Finds the elements of a collection that stand where others stand in theirs.
template <class T>
class Counterparts
{
public:
  explicit Counterparts(MeshCollection<T>& ownCollection) : collection(ownCollection) {}

  /// Null for none and for a removed half-edge.
  T* operator()(const T* foreign) const
  {
    return foreign && foreign->getIndex() < collection.size() ? &collection[foreign->getIndex()] : nullptr;
  }

private:
  MeshCollection<T>& collection;
};

template <class T>
Vector<double, 3> vectorAt(const T* packed, std::size_t i)
{
  return {static_cast<double>(packed[3 * i]), static_cast<double>(packed[3 * i + 1]),
          static_cast<double>(packed[3 * i + 2])};
}

template <class T>
MeshCollection<Vertex> unpackVertices(unsigned count, const T* coordinates, const T* normals)
{
  MeshCollection<Vertex> vertices(count);
  unsigned i = 0;
  for (Vertex& vertex : vertices) {
    vertex.set(vectorAt(coordinates, i));
    if (normals) vertex.setNormal(vectorAt(normals, i));
    vertex.setIndex(i++);
  }
  return vertices;
}

} // namespace

MeshCollection<Triangle> unpackTriangles(MeshCollection<Vertex>& vertices, unsigned count, const int* corners)
{
  const auto exists = [&vertices](int corner) { return corner >= 0 && std::size_t(corner) < vertices.size(); };
  MeshCollection<Triangle> triangles(count);
  unsigned i = 0;
  for (Triangle& triangle : triangles) {
    const int a = corners[0], b = corners[1], c = corners[2];
    if (!exists(a) || !exists(b) || !exists(c)) break;
    triangle.setVertices(&vertices[std::size_t(a)], &vertices[std::size_t(b)], &vertices[std::size_t(c)]);
    triangle.setIndex(i++);
    corners += 3;
  }
  triangles.resize(i);
  return triangles;
}

inline void Mesh::markHashDirty() { lazy->values.hashDirty = true; }

Mesh::Mesh() : lazy(std::make_unique<MeshLazyValues>()) {}

Mesh::Mesh(const Mesh& source) : Mesh() { *this = source; }

Mesh::Mesh(Mesh&& source) : Mesh() { swap(source); }

Mesh::~Mesh() = default;

Mesh& Mesh::operator=(const Mesh& source)
{
  if (this == &source) return *this;
  clear();
  copyGeometry(source);
  copyTopology(source);
  const MeshLazyValues::Lock lock(source.lazy->cacheMutex);
  lazy->values.hash = source.lazy->values.hash;
  lazy->values.hashDirty = source.lazy->values.hashDirty;
  return *this;
}

Mesh& Mesh::operator=(Mesh&& source)
{
  if (this == &source) return *this;
  clear();
  swap(source);
  return *this;
}

void Mesh::swap(Mesh& other)
{
  data.vertices.swap(other.data.vertices);
  data.halfEdges.swap(other.data.halfEdges);
  data.triangles.swap(other.data.triangles);
  data.constraints.swap(other.data.constraints);
  std::swap(normalsPresent, other.normalsPresent);
  std::swap(id, other.id);
  std::swap(lazy->values, other.lazy->values);
}

std::unique_ptr<Mesh> Mesh::create(const std::vector<Vertex>& vertices, const std::vector<Triangle>& triangles)
{
  auto mesh = std::make_unique<Mesh>();
  for (const Vertex& vertex : vertices)
    mesh->addVertex(vertex);
  const auto position = [&vertices](const Vertex* corner) -> std::uint64_t {
    const std::less<const Vertex*> before;
    const Vertex* const end = vertices.data() + vertices.size();
    const bool inside = !before(corner, vertices.data()) && before(corner, end);
    return inside ? static_cast<std::uint64_t>(corner - vertices.data()) : vertices.size();
  };
  for (const Triangle& triangle : triangles)
    mesh->addTriangle(position(triangle.getVertex(0)), position(triangle.getVertex(1)),
                      position(triangle.getVertex(2)));
  return mesh;
}

Vertex& Mesh::addVertex(double x, double y, double z)
{
  normalsPresent = false;
  data.constraints.reset();
  markHashDirty();
  return data.vertices.emplace_back(x, y, z, static_cast<unsigned>(data.vertices.size()));
}

Vertex& Mesh::addVertex(const Vertex& vertex)
{
  normalsPresent = (isEmpty() || normalsPresent) && vertex.hasNormal();
  data.constraints.reset();
  markHashDirty();
  Vertex& added = data.vertices.emplace_back(vertex);
  added.setHalfEdge(nullptr);
  added.setIndex(static_cast<unsigned>(data.vertices.size() - 1));
  return added;
}

Triangle& Mesh::addTriangle(std::uint64_t a, std::uint64_t b, std::uint64_t c)
{
  const std::uint64_t count = data.vertices.size();
  if (a >= count || b >= count || c >= count) throw ShapecoreException(corruptedFacets);
  data.constraints.reset();
  markHashDirty();
  return data.triangles.emplace_back(data.vertices[a], data.vertices[b], data.vertices[c],
                                     static_cast<unsigned>(data.triangles.size()));
}

HalfEdge& Mesh::addHalfEdge(const HalfEdge& halfEdge)
{
  HalfEdge& added = data.halfEdges.emplace_back(halfEdge);
  added.setIndex(static_cast<unsigned>(data.halfEdges.size() - 1));
  return added;
}

template <class T>
void Mesh::set(unsigned nVertices, const T* coordinates, unsigned nTriangles, const int* indices, unsigned nNormals,
               const T* normals)
{
  if (nVertices == 0 || nTriangles == 0) {
    logging.logDEBUG("Corrupted mesh.", __FILE__, __PRETTY_FUNCTION__, __LINE__);
    return;
  }
  const bool withNormals = nNormals == nVertices;
  MeshCollection<Vertex> vertices = unpackVertices(nVertices, coordinates, withNormals ? normals : nullptr);
  MeshCollection<Triangle> triangles = unpackTriangles(vertices, nTriangles, indices);
  removeTopology();
  data.vertices.swap(vertices);
  data.triangles.swap(triangles);
  normalsPresent = withNormals;
  clearCachedData();
  if (data.triangles.size() != nTriangles) throw ShapecoreException(corruptedFacets);
  if (!withNormals) computeNormals(false, true);
}

template KVSHAPES_EXPORT void Mesh::set<float>(unsigned, const float*, unsigned, const int*, unsigned, const float*);
template KVSHAPES_EXPORT void Mesh::set<double>(unsigned, const double*, unsigned, const int*, unsigned, const double*);

void Mesh::clear()
{
  data.vertices.clear();
  data.halfEdges.clear();
  data.triangles.clear();
  data.constraints.reset();
  normalsPresent = false;
  clearCachedData();
}

void Mesh::copyGeometry(const Mesh& source)
{
  removeTopology();
  if (this != &source) {
    normalsPresent = source.normalsPresent;
    data.vertices = source.data.vertices;
    for (Vertex& vertex : data.vertices)
      vertex.setHalfEdge(nullptr);
    data.triangles = source.data.triangles;
    const Counterparts ownVertex(data.vertices);
    for (Triangle& triangle : data.triangles) {
      triangle.setHalfEdge(nullptr);
      for (unsigned corner = 0; corner < 3; ++corner)
        triangle.setVertex(corner, ownVertex(triangle.getVertex(corner)));
    }
    const MeshLazyValues::Lock lock(source.lazy->cacheMutex);
    const std::string ownHash = std::move(lazy->values.hash);
    lazy->values = source.lazy->values;
    lazy->values.hash = ownHash;
  }
  markHashDirty();
}

void Mesh::copyTopology(const Mesh& source)
{
  removeTopology();
  if (!source.hasTopology()) return;
  data.halfEdges = source.data.halfEdges;
  const Counterparts ownVertex(data.vertices);
  const Counterparts ownEdge(data.halfEdges);
  const Counterparts ownTriangle(data.triangles);
  for (HalfEdge& edge : data.halfEdges) {
    if (edge.isRemoved()) continue;
    edge.setTriangle(ownTriangle(edge.getTriangle()));
    edge.setVertex(ownVertex(edge.getVertex()));
    edge.setNextEdge(ownEdge(edge.getNextEdge()));
    edge.setNeighbourEdge(ownEdge(edge.getNeighbourEdge()));
  }
  auto vertex = data.vertices.begin();
  for (const Vertex& foreign : source.data.vertices)
    (vertex++)->setHalfEdge(ownEdge(foreign.getHalfEdge()));
  auto triangle = data.triangles.begin();
  for (const Triangle& foreign : source.data.triangles)
    (triangle++)->setHalfEdge(ownEdge(foreign.getHalfEdge()));
}

std::size_t Mesh::estimateBytes() const
{
  return sizeof(Mesh) + sizeof(MeshLazyValues) + numberOfVertices() * sizeof(Vertex) +
         numberOfHalfEdges() * sizeof(HalfEdge) + numberOfTriangles() * sizeof(Triangle);
}

void Mesh::move(const Vector<double, 3>& shift)
{
  for (Vertex& vertex : data.vertices)
    vertex += shift;
  if (lazy->values.centerOfGravityValid) lazy->values.centerOfGravity += shift;
  markHashDirty();
}

void Mesh::transform(const CoordinateSystem<double, 3>& system)
{
  if (system.isIdentity()) return;
  for (Vertex& vertex : data.vertices)
    vertex.transform(system);
  if (lazy->values.centerOfGravityValid) lazy->values.centerOfGravity.transform(system);
  if (lazy->values.areaWeightedNormalValid) system.transformVector(lazy->values.areaWeightedNormal);
  markHashDirty();
}

void Mesh::mirror(const Plane<double, 3>& plane)
{
  for (Vertex& vertex : data.vertices) {
    vertex.mirror(plane);
    vertex.setHalfEdge(nullptr);
  }
  for (Triangle& triangle : data.triangles) {
    triangle.changeOrientation();
    triangle.setHalfEdge(nullptr);
  }
  if (hasTopology()) computeTopology();
  lazy->values.centerOfGravityValid = false;
  lazy->values.areaWeightedNormalValid = false;
  markHashDirty();
}

void Mesh::appendMesh(const Mesh& other, const CoordinateSystem<double, 3>* system)
{
  AppendMeshModifier(*this).appendMesh(other, system);
}

void Mesh::invertOrientation() { InvertOrientationMeshModifier(*this).invertOrientation(); }

void Mesh::computeTopology() { TopologyGenerationMeshModifier(*this).computeTopology(); }

void Mesh::removeTopology()
{
  if (hasTopology()) {
    data.halfEdges.clear();
    for (Vertex& vertex : data.vertices)
      vertex.setHalfEdge(nullptr);
    for (Triangle& triangle : data.triangles)
      triangle.setHalfEdge(nullptr);
  }
  data.constraints.reset();
}

void Mesh::computeNormals(bool useConstraints, bool useAngles)
{
  if (normalsPresent) return;
  std::vector<Vector<double, 3>> normals;
  if (!MeshNormalCalculator::calculate(*this, normals, useConstraints, useAngles)) return;
  auto normal = normals.begin();
  for (Vertex& vertex : data.vertices)
    vertex.setNormal(*normal++);
  normalsPresent = true;
  lazy->values.areaWeightedNormalValid = false;
  lazy->values.curvedAreaValid = false;
  markHashDirty();
}

void Mesh::recomputeNormals(bool useConstraints, bool useAngles)
{
  normalsPresent = false;
  computeNormals(useConstraints, useAngles);
}

bool Mesh::isTopologyConsistent() const
{
  for (const HalfEdge& edge : data.halfEdges)
    if (!edge.isRemoved() && edge.getNeighbourEdge() && !edge.hasTwoWayNeighbour()) return false;
  return true;
}

} // namespace Kavrel
