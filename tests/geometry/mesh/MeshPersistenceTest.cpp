#include "geometry/mesh/Mesh.h"

#include "platform/kvarchive/Persistence.h"
#include "support/ArchiveWriter.h"
#include "support/MeshBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Kavrel::Testing {
namespace {

using V = Vector<double, 3>;

std::string text(const Mesh& mesh)
{
  std::ostringstream out;
  mesh.dump(out, true, true);
  return out.str();
}

std::vector<unsigned> neighbours(const Mesh& mesh)
{
  std::vector<unsigned> result;
  for (const HalfEdge& edge : mesh.getHalfEdgeCollection())
    result.push_back(edge.getNeighbourEdge() ? edge.getNeighbourEdge()->getIndex() : 0xFFFFFFFF);
  return result;
}

TEST(MeshPersistence, ComesBackWhole)
{
  RandomGeometry random(5121);
  for (unsigned state = 0; state < 64; ++state) {
    SCOPED_TRACE(state);
    Mesh source = shuffled(stripWithHoles(30), random);
    source.addTriangle(0, 1, 2); // the pairing of a crowded edge comes back, too
    source.addTriangle(2, 1, 0);
    if (state & 1) source.computeNormals(false, true);
    // The measures travel as they are remembered, even when they no longer fit.
    if (state & 4) source.getArea();
    if (state & 8) source.getCurvedArea();
    if (state & 16) source.getAreaWeightedNormal();
    if (state & 32) source.getCenterOfGravity();
    source.addTriangle(0, 1, 5);
    if (state & 2) source.computeTopology();
    Mesh target = cube();
    target.computeTopology();
    roundTrip(source, target);
    EXPECT_EQ(text(target), text(source));
    EXPECT_EQ(neighbours(target), neighbours(source));
    EXPECT_EQ(target.getId(), source.getId());
    EXPECT_EQ(target.getConstraints()->size(), source.numberOfVertices());
    EXPECT_EQ(target.getCenterOfGravity(), source.getCenterOfGravity());
    EXPECT_EQ(target.getArea(), source.getArea());
    EXPECT_EQ(target.getCurvedArea(), source.getCurvedArea());
    EXPECT_EQ(target.getAreaWeightedNormal(), source.getAreaWeightedNormal());
  }
}

/// The fields of a mesh as a stream of an older class version has them.
struct OldMesh
{
  unsigned version = 150001;
  int vertices = 3;
  int triangles = 1;
  int lastCorner = 2;

  std::vector<char> bytes() const
  {
    ArchiveWriter writer;
    writer.version("Mesh", version);
    writer.object("Mesh", [&] {
      writer << true;
      if (version < 150001) writer << 77;
      writer << vertices;
      const double rows[3][6] = {{0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0, 2}, {0, 1, 0, 0, 0, 1}};
      for (const auto& row : rows)
        for (const double value : row)
          writer << value;
      writer << triangles << 0 << 1 << lastCorner;
      Persistence::saveObject(writer.archive(), Identifier::getInvalidId());
      writer << false << true;
      Persistence::saveObject(writer.archive(), V(7, 8, 9));
      writer << false << true << 42.0 << true;
    });
    writer << 4711;
    return writer.bytes();
  }
};

TEST(MeshPersistence, ReadsOlderVersions)
{
  for (const unsigned version : {0u, 53013u, 53014u, 150000u, 150001u}) {
    SCOPED_TRACE(version);
    const std::vector<char> bytes = OldMesh{version}.bytes();
    PersistenceArchiver archive;
    archive.openForReading(bytes);
    Mesh mesh;
    Persistence::loadObject(archive, mesh);
    int behind = 0;
    archive >> behind;
    EXPECT_EQ(behind, 4711);
    EXPECT_EQ(mesh.numberOfHalfEdges(), 3u);
    EXPECT_EQ(mesh.getId(), Identifier::getInvalidId());
    EXPECT_EQ(mesh.getCurvedArea(), 42.0);
    EXPECT_EQ(mesh.getAreaWeightedNormal(), version < 53014 ? V(0, 0, 0.5) : V(7, 8, 9));
    // A vertex has a normal only if it isn't zero, whatever the mesh says.
    EXPECT_TRUE(mesh.hasNormals());
    EXPECT_FALSE(mesh.getVertexRef(0).hasNormal());
    EXPECT_EQ(mesh.getVertexRef(1).getNormal(), V(0, 0, 2));
  }
}

TEST(MeshPersistence, RejectsWrongCountsAndCorners)
{
  const OldMesh rows[] = {{150001, 3, 1, 3}, {150001, 3, 1, -1},   {150001, -3},
                          {150001, 3, -1},   {150001, 2000000000}, {150001, 3, 2000000000}};
  for (const OldMesh& stream : rows) {
    SCOPED_TRACE(testing::Message() << stream.vertices << ", " << stream.triangles << ", " << stream.lastCorner);
    Mesh mesh;
    EXPECT_THROW(loadFrom(stream.bytes(), mesh), std::exception);
    EXPECT_LE(mesh.numberOfVertices(), 3u);
  }
}

TEST(MeshPersistence, SurvivesDamage)
{
  Mesh source = tetrahedron();
  source.computeNormals(false, true);
  source.computeTopology();
  source.getCenterOfGravity();
  source.getAreaWeightedNormal();
  const auto load = [](const std::vector<char>& bytes) {
    Mesh mesh;
    loadFrom(bytes, mesh);
    mesh.isTopologyConsistent();
    text(mesh);
  };
  EXPECT_EQ(faultsOfDamaged(archiveOf(source), load), "");
}

TEST(MeshPersistence, TrianglesReferToSharedVertices)
{
  std::vector<Vertex> vertices;
  for (unsigned i = 0; i < 4; ++i)
    vertices.emplace_back(i, 10 * i, 0, i);
  vertices[2].setNormal(0, 0, 3);
  const Triangle first(vertices[0], vertices[1], vertices[2], 5), second(vertices[2], vertices[1], vertices[3], 6);
  ArchiveWriter writer;
  first.save(writer.archive(), 0);
  second.save(writer.archive(), 0);
  Persistence::savePointer(writer.archive(), std::shared_ptr<Vertex>(&vertices[1], null_deleter()));
  const std::vector<char> bytes = writer.bytes();

  std::shared_ptr<Vertex> owner;
  {
    PersistenceArchiver archive;
    archive.openForReading(bytes);
    Triangle a, b;
    a.load(archive, 0);
    b.load(archive, 0);
    EXPECT_EQ(a.getVertex(1), b.getVertex(1));
    EXPECT_EQ(b.getVertexRef(2), vertices[3]);
    EXPECT_EQ(b.getVertexRef(0).getNormal(), V(0, 0, 3));
    Persistence::loadPointer(archive, owner);
    EXPECT_EQ(owner.get(), a.getVertex(1));
  }
  // What an owner has claimed outlives the archive.
  EXPECT_EQ(owner->getIndex(), 1u);
}

} // namespace
} // namespace Kavrel::Testing
