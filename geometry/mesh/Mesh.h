#pragma once

#include "geometry/Side.h"
#include "geometry/mesh/MeshData.h"
#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"
#include "platform/kvident/Identifier.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace Kavrel {

class MeshModifier;
struct MeshLazyValues;
class XiEtaPoint;
template <class T, unsigned dim>
class BoundingBox;
template <class T, unsigned dim>
class CoordinateSystem;
template <class T, unsigned dim>
class Plane;

/// A triangle mesh: vertices with optional normals, triangles over them, and half-edges that are built from the
/// triangles on request and can be dropped at any time.
///
/// Vertices and triangles may be appended here; every other structural change is made by a MeshModifier. Addresses of
/// elements stay valid while elements are appended.
///
/// Area, curved area, centre of gravity, area-weighted normal, hash and constraint list are computed on first request.
/// Any number of threads may read one mesh, these values included; a writer needs the mesh to itself.
class KVSHAPES_EXPORT Mesh
{
public:
  using VertexCollection = MeshCollection<Vertex>;
  using HalfEdgeCollection = MeshCollection<HalfEdge>;
  using TriangleCollection = MeshCollection<Triangle>;

  using VertexIterator = VertexCollection::iterator;
  using ConstVertexIterator = VertexCollection::const_iterator;
  using TriangleIterator = TriangleCollection::iterator;
  using ConstTriangleIterator = TriangleCollection::const_iterator;
  using EdgeIterator = HalfEdgeCollection::iterator;
  using ConstEdgeIterator = HalfEdgeCollection::const_iterator;

  /// An empty mesh with a fresh identifier.
  Mesh();
  /// Geometry, topology, cached values and hash of \p source under an identifier of its own. Constraints are not
  /// copied.
  Mesh(const Mesh& source);
  /// Takes everything, the identifier included, and leaves \p source empty.
  Mesh(Mesh&& source);
  ~Mesh();
  /// As the copy constructor; the identifier stays. Assigning a mesh to itself changes nothing.
  Mesh& operator=(const Mesh& source);
  /// As the move constructor. Assigning a mesh to itself changes nothing.
  Mesh& operator=(Mesh&& source);
  void swap(Mesh& other);

  /// A mesh of copies of \p vertices and of \p triangles, whose corners must point into that very vector.
  /// Raises ShapecoreException "Mesh: Facet data is corrupted." for a corner outside of it.
  static std::unique_ptr<Mesh> create(const std::vector<Vertex>& vertices, const std::vector<Triangle>& triangles);

  // --- Building ---------------------------------------------------------------------------------------------------

  /// Appends a vertex without normal; the mesh then counts as one without normals. Of the cached values only the hash
  /// is dropped, by all forms of adding: call clearCachedData() after growing a mesh whose measures were read.
  Vertex& addVertex(double x, double y, double z);
  /// Appends a copy, with its normal and without half-edge. The mesh has normals if all vertices so far have one.
  Vertex& addVertex(const Vertex& vertex);
  /// Appends a triangle over existing vertices, without half-edges.
  /// Raises ShapecoreException "Mesh: Facet data is corrupted." for an index not below the vertex count.
  Triangle& addTriangle(std::uint64_t a, std::uint64_t b, std::uint64_t c);
  /// Appends a copy with the next index, links as they are. For modifiers that keep the topology up to date by hand.
  HalfEdge& addHalfEdge(const HalfEdge& halfEdge);

  /// Replaces vertices and triangles by packed coordinates (x, y, z) and corner indices (a, b, c), and drops the
  /// topology. Normals are taken over if there is one per vertex, else computed by corner angles.
  /// Without vertices or triangles the mesh stays as it is and "Corrupted mesh." goes to the log at debug level.
  /// Raises ShapecoreException "Mesh: Facet data is corrupted." for an index outside the vertices; vertices are then
  /// replaced and triangles incomplete.
  template <class T>
  void set(unsigned nVertices, const T* coordinates, unsigned nTriangles, const int* indices, unsigned nNormals,
           const T* normals);

  /// Empties the mesh and drops all derived values. The identifier stays.
  void clear();
  /// Drops area, curved area, area-weighted normal, centre of gravity and hash.
  void clearCachedData();
  /// Vertices, triangles and cached values of \p source, without topology and constraints; the hash counts as stale.
  void copyGeometry(const Mesh& source);

  // --- Elements; no access by index is checked --------------------------------------------------------------------

  std::size_t numberOfVertices() const { return data.vertices.size(); }
  std::size_t numberOfTriangles() const { return data.triangles.size(); }
  std::size_t numberOfHalfEdges() const { return data.halfEdges.size(); }
  /// True without vertices.
  bool isEmpty() const { return data.vertices.empty(); }
  /// True when all vertices carry normals.
  bool hasNormals() const { return normalsPresent; }
  void setHasNormals(bool value) { normalsPresent = value; }
  /// True when there are half-edges.
  bool hasTopology() const { return !data.halfEdges.empty(); }
  Identifier getId() const { return id; }
  void setId(Identifier value) { id = value; }

  const VertexCollection& getVertexCollection() const { return data.vertices; }
  VertexCollection& getVertexCollection() { return data.vertices; }
  const TriangleCollection& getTriangleCollection() const { return data.triangles; }
  TriangleCollection& getTriangleCollection() { return data.triangles; }
  const HalfEdgeCollection& getHalfEdgeCollection() const { return data.halfEdges; }
  HalfEdgeCollection& getHalfEdgeCollection() { return data.halfEdges; }

  const Vertex* getVertex(unsigned i) const { return &data.vertices[i]; }
  Vertex* getVertex(unsigned i) { return &data.vertices[i]; }
  const Vertex& getVertexRef(unsigned i) const { return data.vertices[i]; }
  Vertex& getVertexRef(unsigned i) { return data.vertices[i]; }
  const Triangle* getTriangle(unsigned i) const { return &data.triangles[i]; }
  Triangle* getTriangle(unsigned i) { return &data.triangles[i]; }
  const Triangle& getTriangleRef(unsigned i) const { return data.triangles[i]; }
  Triangle& getTriangleRef(unsigned i) { return data.triangles[i]; }
  const HalfEdge* getHalfEdge(unsigned i) const { return &data.halfEdges[i]; }
  HalfEdge* getHalfEdge(unsigned i) { return &data.halfEdges[i]; }
  const HalfEdge& getHalfEdgeRef(unsigned i) const { return data.halfEdges[i]; }
  HalfEdge& getHalfEdgeRef(unsigned i) { return data.halfEdges[i]; }

  ConstVertexIterator beginVertex() const { return data.vertices.begin(); }
  ConstVertexIterator endVertex() const { return data.vertices.end(); }
  VertexIterator beginVertex() { return data.vertices.begin(); }
  VertexIterator endVertex() { return data.vertices.end(); }
  ConstTriangleIterator beginTriangle() const { return data.triangles.begin(); }
  ConstTriangleIterator endTriangle() const { return data.triangles.end(); }
  TriangleIterator beginTriangle() { return data.triangles.begin(); }
  TriangleIterator endTriangle() { return data.triangles.end(); }
  ConstEdgeIterator beginEdge() const { return data.halfEdges.begin(); }
  ConstEdgeIterator endEdge() const { return data.halfEdges.end(); }
  EdgeIterator beginEdge() { return data.halfEdges.begin(); }
  EdgeIterator endEdge() { return data.halfEdges.end(); }

  // --- Measures, computed on first request ------------------------------------------------------------------------

  /// Sum of the triangle areas.
  double getArea() const;
  /// Area of the triangles whose larger principal curvature exceeds 0.1 per length unit in size. Triangles with a
  /// corner without normal count as flat.
  double getCurvedArea() const;
  /// Sum of e1 x e2 / 2 over the triangles; nearly zero for a closed mesh.
  Vector<double, 3> getAreaWeightedNormal() const;
  /// The area-weighted normal at unit length; as it is when shorter than 1e-12.
  Vector<double, 3> getAverageNormal() const;
  /// Mean of the surface, weighted by area; the origin for an empty mesh. Valid until the cached values are dropped.
  const Point<double, 3>& getCenterOfGravity() const;
  /// A digest of coordinate and index sums: different digests prove different meshes, equal ones prove nothing.
  std::string getHash() const;
  /// Box of the vertices, each placed by \p system if given. Invalid for an empty mesh.
  BoundingBox<double, 3> calculateBoundingBox(const CoordinateSystem<double, 3>* system = nullptr) const;
  /// Bytes of the mesh and its elements.
  std::size_t estimateBytes() const;

  // --- Changes ----------------------------------------------------------------------------------------------------

  /// Shifts all vertices.
  void move(const Vector<double, 3>& shift);
  /// Places all vertices with their normals. Area and curved area stay as they were read.
  void transform(const CoordinateSystem<double, 3>& system);
  /// Mirrors all vertices with their normals and turns the triangles around, so that the outside stays outside.
  void mirror(const Plane<double, 3>& plane);
  /// Moves each vertex by \p distance along its normal, computing normals if there are none. Always true.
  bool offSet(double distance);
  /// Appends the vertices, placed by \p system if given, and the triangles of \p other, which may be this mesh.
  void appendMesh(const Mesh& other, const CoordinateSystem<double, 3>* system = nullptr);
  /// Turns all triangles and normals around.
  void invertOrientation();

  /// Builds the half-edges, replacing those that are there.
  void computeTopology();
  /// Drops half-edges and constraints.
  void removeTopology();
  /// Gives each vertex a normal unless the mesh has normals; see MeshNormalCalculator for the options.
  void computeNormals(bool useConstraints, bool useAngles);
  /// As computeNormals(), replacing normals that are there.
  void recomputeNormals(bool useConstraints, bool useAngles);

  // --- Queries ----------------------------------------------------------------------------------------------------

  /// True when every neighbour of a half-edge points back, hence also without half-edges.
  bool isTopologyConsistent() const;
  /// Point and normal at a place in a triangle.
  /// Raises ShapecoreException "Mesh::getPoint: XiEtaPoint index out of bounds" for a place in no triangle of this
  /// mesh.
  Point3N getPoint(const XiEtaPoint& place) const;
  /// Raises KvException "Mesh contains no points." or "Mesh contains no facets.", and ShapecoreException
  /// "Mesh: Wrong number of normals." when the mesh has normals but one of its vertices has none.
  void check() const;
  /// Writes the mesh in the text format, normals on request; \p fullPrecision gives the points 15 digits.
  void dump(std::ostream& stream, bool withNormals, bool fullPrecision) const;
  /// The side of \p plane on which the vertices lie, where up to \p eps beside it counts as on it. \p touches, unless
  /// null, tells whether a vertex is on it.
  Side getSide(const Plane<double, 3>& plane, double eps, bool* touches) const;

  // --- Hanging nodes ----------------------------------------------------------------------------------------------

  /// One record per vertex, computed if absent. Valid until the mesh is changed.
  const std::vector<MeshConstraint>* getConstraints() const;
  void setConstraints(std::unique_ptr<std::vector<MeshConstraint>> constraints);
  /// Computes the list if absent. True when it has entries, which may all be free.
  bool ensureHasConstraints() const;
  /// True for a hanging vertex of this mesh.
  bool isConstraintVertex(unsigned index) const;
  bool isConstraintVertex(const Vertex& vertex) const;
  bool isConstraintVertex(const Vertex* vertex) const;
  /// The ends of the edge on which vertex \p index hangs; false and nothing delivered for a free one.
  bool getConstraintOfVertex(unsigned index, int& first, int& second) const;
  bool getNeighbourVertices(const Vertex& vertex, const Vertex*& first, const Vertex*& second) const;

private:
  friend class MeshModifier;

  /// The collections for a modifier; the argument proves who calls.
  const MeshData& readAccess(const MeshModifier&) const { return data; }
  MeshData& writeAccess(const MeshModifier&) { return data; }

  void copyTopology(const Mesh& source);
  void markHashDirty();
  void loadVertices(PersistenceArchiver& archiver);
  void loadTriangles(PersistenceArchiver& archiver);
  void saveCachedValues(PersistenceArchiver& archiver) const;
  void loadCachedValues(PersistenceArchiver& archiver, unsigned version);

  MeshData data;
  bool normalsPresent = false;
  Identifier id;
  std::unique_ptr<MeshLazyValues> lazy;

  KVSHAPES_PERSISTENT();
};

extern template KVSHAPES_EXPORT void Mesh::set<float>(unsigned, const float*, unsigned, const int*, unsigned,
                                                      const float*);
extern template KVSHAPES_EXPORT void Mesh::set<double>(unsigned, const double*, unsigned, const int*, unsigned,
                                                       const double*);

} // namespace Kavrel
