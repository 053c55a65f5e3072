#include "geometry/mesh/Mesh.h"

#include "geometry/BoundingBox.h"
#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/ShapecoreException.h"
#include "geometry/XiEtaPoint.h"
#include "platform/kvident/TigerHash.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "support/CommaLocale.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <sstream>
#include <thread>

namespace Kavrel::Testing {
namespace {

using testing::ThrowsMessage;
using V = Vector<double, 3>;

constexpr const char* corrupted = "Mesh: Facet data is corrupted.";

std::string text(const Mesh& mesh)
{
  std::ostringstream out;
  mesh.dump(out, true, true);
  return out.str();
}

/// Every link of the mesh stays in it, and every element knows its position.
void expectSelfContained(const Mesh& mesh)
{
  const auto isOwn = [](const auto& collection, const auto* element, bool mayBeNull) {
    if (!element) return mayBeNull;
    return element->getIndex() < collection.size() && &collection[element->getIndex()] == element;
  };
  const auto& vertices = mesh.getVertexCollection();
  const auto& edges = mesh.getHalfEdgeCollection();
  const auto& triangles = mesh.getTriangleCollection();
  for (const Vertex& vertex : vertices)
    ASSERT_TRUE(isOwn(vertices, &vertex, false) && isOwn(edges, vertex.getHalfEdge(), true));
  for (const Triangle& triangle : triangles) {
    ASSERT_TRUE(isOwn(triangles, &triangle, false) && isOwn(edges, triangle.getHalfEdge(), !mesh.hasTopology()));
    for (unsigned i = 0; i < 3; ++i)
      ASSERT_TRUE(isOwn(vertices, triangle.getVertex(i), false));
  }
  for (const HalfEdge& edge : edges)
    ASSERT_TRUE(isOwn(edges, &edge, false) && isOwn(edges, edge.getNextEdge(), false) &&
                isOwn(edges, edge.getNeighbourEdge(), true) && isOwn(vertices, edge.getVertex(), false) &&
                isOwn(triangles, edge.getTriangle(), false));
}

TEST(Mesh, KnowsWhetherItHasNormals)
{
  Vertex withNormal(4, 5, 6);
  withNormal.setNormal(0, 0, 1);
  // Vertices added: n with normal, p without, c by coordinates; s sets hasNormals by hand.
  for (const std::string order : {"", "nn", "p", "np", "npn", "nc", "psn", "psp"}) {
    SCOPED_TRACE(order);
    Mesh mesh;
    for (const char c : order) {
      if (c == 'n') mesh.addVertex(withNormal);
      if (c == 'p') mesh.addVertex(Vertex(1, 2, 3));
      if (c == 'c') mesh.addVertex(1, 2, 3);
      if (c == 's') mesh.setHasNormals(true);
    }
    EXPECT_EQ(mesh.hasNormals(), order == "nn" || order == "psn");
  }
}

TEST(Mesh, RejectsCornersThatDoNotExist)
{
  Mesh mesh = tetrahedron();
  const std::string before = text(mesh);
  const std::uint64_t far = std::uint64_t{1} << 32; // 0 in 32 bits
  const std::uint64_t rows[][3] = {{4, 0, 1}, {0, 4, 1}, {0, 1, 4}, {far, 0, 1}, {0, 1, ~std::uint64_t{0}}};
  for (const auto& row : rows)
    EXPECT_THAT(([&] { mesh.addTriangle(row[0], row[1], row[2]); }), ThrowsMessage<ShapecoreException>(corrupted));
  EXPECT_EQ(text(mesh), before);

  std::vector<Vertex> vertices(3), others(3);
  const std::vector<Triangle> good{{vertices[0], vertices[2], vertices[1], 0}};
  EXPECT_EQ(Mesh::create(vertices, good)->getTriangleRef(0).getVertex(1)->getIndex(), 2u);
  EXPECT_THAT(([&] { Mesh::create(others, good); }), ThrowsMessage<ShapecoreException>(corrupted));
}

template <class T>
void checkBulkLoad()
{
  const T coordinates[] = {0, 0, 0, 1, 0, 0, 0, 0, 1};
  const T normals[] = {0, -1, 0, 0, 0, 0, 1, 0, 0};
  const int good[] = {0, 1, 2, 2, 1, 0};
  Mesh mesh = cube();
  mesh.computeTopology();
  mesh.getArea();
  ASSERT_FALSE(mesh.getConstraints()->empty());
  mesh.set(3, coordinates, 1, good, 0, normals);
  expectSelfContained(mesh);
  EXPECT_EQ(mesh.getConstraints()->size(), 3u);
  EXPECT_EQ(mesh.getArea(), 0.5);
  EXPECT_TRUE(mesh.hasNormals());
  for (const Vertex& vertex : mesh.getVertexCollection())
    EXPECT_EQ(vertex.getNormal(), V(0, -1, 0));

  // A zero among the normals leaves its vertex without one, and the mesh in need of a check.
  mesh.set(3, coordinates, 2, good, 3, normals);
  EXPECT_FALSE(mesh.getVertexRef(1).hasNormal());
  EXPECT_EQ(mesh.getVertexRef(2).getNormal(), V(1, 0, 0));
  EXPECT_THAT(([&] { mesh.check(); }), ThrowsMessage<ShapecoreException>("Mesh: Wrong number of normals."));

  for (const int bad : {3, -1, std::numeric_limits<int>::min()}) {
    const int indices[] = {0, 1, 2, 0, 1, bad};
    Mesh target = cube();
    EXPECT_THAT(([&] { target.set(3, coordinates, 2, indices, 0, normals); }),
                ThrowsMessage<ShapecoreException>(corrupted));
    EXPECT_EQ(target.numberOfVertices(), 3u);
    expectSelfContained(target);
  }

  const std::string before = text(mesh);
  mesh.set(0, coordinates, 1, good, 0, normals);
  mesh.set(3, coordinates, 0, good, 0, normals);
  EXPECT_EQ(text(mesh), before);
}

TEST(Mesh, LoadsArrays)
{
  checkBulkLoad<float>();
  checkBulkLoad<double>();
}

TEST(Mesh, CopiesAndMoves)
{
  RandomGeometry random(5111);
  for (const bool withTopology : {false, true}) {
    SCOPED_TRACE(withTopology);
    Mesh source = shuffled(stripWithHoles(40), random);
    source.recomputeNormals(false, true);
    if (withTopology) source.computeTopology();
    const std::string original = text(source), hash = source.getHash();
    const double area = source.getArea();
    const auto expectEqual = [&](const Mesh& copy) {
      expectSelfContained(copy);
      EXPECT_EQ(text(copy), original);
      EXPECT_EQ(copy.getHash(), hash);
      EXPECT_EQ(copy.getArea(), area);
      EXPECT_TRUE(copy.hasNormals());
      EXPECT_EQ(copy.hasTopology(), withTopology);
    };

    const Mesh constructed(source);
    Mesh assigned = cube();
    assigned.computeTopology();
    const Identifier id = assigned.getId(), sourceId = source.getId();
    assigned = source;
    EXPECT_EQ(assigned.getId(), id);
    EXPECT_NE(constructed.getId(), sourceId);
    for (const Mesh* copy : {&constructed, static_cast<const Mesh*>(&assigned)}) {
      expectEqual(*copy);
      for (unsigned i = 0; i < source.numberOfHalfEdges(); ++i) {
        const HalfEdge *own = copy->getHalfEdge(i)->getNeighbourEdge(),
                       *foreign = source.getHalfEdge(i)->getNeighbourEdge();
        ASSERT_EQ(own ? own->getIndex() : i, foreign ? foreign->getIndex() : i);
      }
    }

    Mesh moved(std::move(source));
    EXPECT_TRUE(source.isEmpty() && !source.hasTopology() && !source.hasNormals() && source.numberOfTriangles() == 0);
    EXPECT_EQ(source.getArea(), 0.0);
    assigned = std::move(moved);
    EXPECT_EQ(assigned.getId(), sourceId);
    expectEqual(assigned);
    Mesh& same = assigned;
    assigned = same;
    assigned = std::move(same);
    expectEqual(assigned);
  }
}

TEST(Mesh, CopiesDropWhatIsForeign)
{
  Mesh source = cube();
  source.computeTopology();
  Mesh target;
  EXPECT_EQ(target.addVertex(source.getVertexRef(3)).getHalfEdge(), nullptr);
  target.copyGeometry(source);
  expectSelfContained(target);
  EXPECT_FALSE(target.hasTopology());

  // A half-edge taken out of a mesh leaves its record behind, all bits set.
  HalfEdge& removed = source.getHalfEdgeRef(5);
  HalfEdge* const neighbour = removed.getNeighbourEdge();
  neighbour->setNeighbourEdge(nullptr);
  std::fill_n(reinterpret_cast<unsigned char*>(&removed), sizeof removed, static_cast<unsigned char>(0xFF));
  const Mesh copy(source);
  EXPECT_TRUE(source.isTopologyConsistent() && copy.isTopologyConsistent());
  EXPECT_TRUE(copy.getHalfEdge(5)->isRemoved());
  EXPECT_EQ(copy.getHalfEdge(neighbour->getIndex())->getNeighbourEdge(), nullptr);
}

TEST(Mesh, MeasuresKnownBodies)
{
  const std::tuple<const char*, Mesh, double, V, V> rows[] = {
      {"empty", Mesh(), 0, V(), V()},
      {"cube", cube(), 6, V(), V(0.5, 0.5, 0.5)},
      {"grid", grid(4, 2), 8, V(0, 0, 8), V(2, 1, 0)},
      {"tetrahedron", tetrahedron(), 1.5 + std::sqrt(0.75), V(),
       // Each face's centre, weighted by its area.
       V(1, 1, 1) * ((0.5 / 3 * 2 + std::sqrt(0.75) / 3) / (1.5 + std::sqrt(0.75)))},
  };
  for (const auto& [name, mesh, expectedArea, weightedNormal, center] : rows) {
    SCOPED_TRACE(name);
    EXPECT_NEAR(mesh.getArea(), expectedArea, 1e-14);
    EXPECT_THAT(mesh.getAreaWeightedNormal(), IsNear(weightedNormal, 1e-14));
    EXPECT_THAT(mesh.getCenterOfGravity(), IsNear(center, 1e-14));
    EXPECT_EQ(mesh.getCurvedArea(), 0.0);
  }
  Mesh growing = grid(4, 2);
  EXPECT_EQ(growing.getAverageNormal(), V(0, 0, 1));
  growing.getCenterOfGravity();
  growing.addTriangle(0, 1, 5);
  EXPECT_EQ(growing.getArea(), 8) << "the centre of gravity has brought the area along";

  // A sphere of radius r has the curvature 1/r everywhere: all of it is curved up to a radius of 10.
  for (const double radius : {1.0, 9.0, 11.0}) {
    Mesh ball = sphere(2000, radius);
    EXPECT_EQ(ball.getCurvedArea(), 0.0);
    ball.computeNormals(false, true);
    EXPECT_NEAR(ball.getCurvedArea() / ball.getArea(), radius < 10 ? 1 : 0, 0.05) << radius;
    EXPECT_TRUE(ball.offSet(0.5));
    for (const Vertex& vertex : ball.getVertexCollection())
      ASSERT_NEAR(vertex.length(), radius + 0.5, 1e-2);
  }
}

TEST(Mesh, PlacementsCarryMeasuresAlong)
{
  const Plane<double, 3> plane(V(2, -1, 1), 0.75);
  CoordinateSystem<double, 3> system;
  system.setOrientation(MatrixFunctions::makeRotationMatrix(0.7, V(1, 2, -1)).second).setOrigin(V(3, -2, 5));
  const std::pair<const char*, std::function<void(Mesh&)>> rows[] = {
      {"move", [](Mesh& mesh) { mesh.move(V(1, 2, 3)); }}, {"transform", [&](Mesh& mesh) { mesh.transform(system); }},
      {"mirror", [&](Mesh& mesh) { mesh.mirror(plane); }}, {"invert", [](Mesh& mesh) { mesh.invertOrientation(); }},
      {"offset", [](Mesh& mesh) { mesh.offSet(0.25); }},
  };
  Mesh placed = hills(6, 4);
  const auto box = placed.calculateBoundingBox(&system);
  placed.transform(system);
  EXPECT_EQ(box.getMin(), placed.calculateBoundingBox().getMin());
  EXPECT_EQ(box.getMax(), placed.calculateBoundingBox().getMax());
  for (const auto& [name, change] : rows) {
    SCOPED_TRACE(name);
    Mesh mesh = hills(6, 4);
    mesh.computeNormals(false, true);
    mesh.computeTopology();
    const Mesh before(mesh);
    mesh.getAreaWeightedNormal();
    mesh.getCenterOfGravity();
    mesh.getHash();
    change(mesh);
    expectSelfContained(mesh);
    for (const HalfEdge& edge : mesh.getHalfEdgeCollection())
      if (const HalfEdge* other = edge.getNeighbourEdge()) {
        ASSERT_EQ(edge.getVertex(), other->getPreviousEdge()->getVertex());
      }
    Mesh fresh(mesh);
    fresh.clearCachedData();
    EXPECT_THAT(mesh.getAreaWeightedNormal(), IsNear(fresh.getAreaWeightedNormal(), 1e-12));
    EXPECT_THAT(mesh.getCenterOfGravity(), IsNear(fresh.getCenterOfGravity(), 1e-12));
    EXPECT_NEAR(mesh.getArea(), fresh.getArea(), 1e-12);
    EXPECT_EQ(mesh.getHash(), fresh.getHash());
    EXPECT_NE(mesh.getHash(), before.getHash());
    // The normals stay on the side of the triangles.
    for (const Triangle& triangle : mesh.getTriangleCollection())
      for (unsigned i = 0; i < 3; ++i)
        ASSERT_GT(triangle.getNormal().dot(triangle.getVertexRef(i).getNormal()), 0.2);
  }
}

TEST(Mesh, HashesTheSumsInSixDigits)
{
  Mesh mesh = meshFromText("1 2 3.25, 1000 0 0, 0 0.5 0 | 0 1 2, 0 2 1");
  const CommaLocale foreign;
  // The coordinates add up to 1006.75, the normals to 0.375, the indices to 6.
  EXPECT_EQ(mesh.getHash(), TigerHash::tHash("1006.756"));
  for (Vertex& vertex : mesh.getVertexCollection())
    vertex.setNormal(0, 0.125, 0);
  mesh.addTriangle(1, 1, 1);
  EXPECT_EQ(mesh.getHash(), TigerHash::tHash("1006.759"));
  mesh.setHasNormals(true);
  mesh.clearCachedData();
  EXPECT_EQ(mesh.getHash(), TigerHash::tHash("1006.750.3759"));
  mesh.recomputeNormals(false, false);
  EXPECT_NE(mesh.getHash(), TigerHash::tHash("1006.750.3759"));
  EXPECT_EQ(Mesh().getHash(), TigerHash::tHash("00"));
}

TEST(Mesh, TellsTheSideOfAPlane)
{
  const std::tuple<double, double, Side, bool> rows[] = {{-1, 0.1, Side::Above, false}, {2, 0.1, Side::Below, false},
                                                         {0.5, 0.1, Side::Both, false}, {0, 0, Side::Above, true},
                                                         {1, 0, Side::Below, true},     {0.5, 0.5, Side::On, true},
                                                         {-0.1, 0.2, Side::Above, true}};
  for (const auto& [z, eps, side, expectedTouches] : rows) {
    SCOPED_TRACE(z);
    bool touches = !expectedTouches;
    EXPECT_EQ(cube().getSide(Plane<double, 3>(V(0, 0, 1), z), eps, &touches), side);
    EXPECT_EQ(touches, expectedTouches);
  }
  EXPECT_EQ(static_cast<int>(Mesh().getSide(Plane<double, 3>(), 0, nullptr)), 0);
}

TEST(Mesh, ChecksAndPoints)
{
  EXPECT_THAT([] { Mesh().check(); }, ThrowsMessage<KvException>("Mesh contains no points."));
  EXPECT_THAT([] { meshFromText("0 0 0").check(); }, ThrowsMessage<KvException>("Mesh contains no facets."));

  const Mesh solid = cube();
  XiEtaPoint place(0.25, 0.5);
  place.setElementIdx(12);
  EXPECT_THAT(([&] { solid.getPoint(place); }),
              ThrowsMessage<ShapecoreException>("Mesh::getPoint: XiEtaPoint index out of bounds"));
  place.setElementIdx(2); // 4 5 6 at the top
  EXPECT_EQ(solid.getPoint(place), V(0.75, 0.5, 1));
  EXPECT_EQ(solid.getPoint(place).getNormal(), V(0, 0, 1));
}

TEST(Mesh, DumpsText)
{
  Mesh mesh = meshFromText("0 0 0.123456789, 1e20 0 0, 0 -1 0 | 0 1 2, 2 1 0");
  mesh.getVertexRef(0).setNormal(0, 0.123456789, 1);
  mesh.setHasNormals(true);
  std::ostringstream out;
  out.precision(3);
  mesh.dump(out, true, true);
  EXPECT_EQ(out.str(), "#Mesh\nPoints\n0 0 0 0.123456789\n1 1e+20 0 0\n2 0 -1 0\n"
                       "\nNormals\n0 0 0.123 1\n1 0 0 0\n2 0 0 0\n\nFacets\n0 0 1 2\n1 2 1 0\n");
}

TEST(Mesh, FindsHangingNodesOnDemand)
{
  Mesh mesh = meshFromText("0 0 0, 0 2 0, -1 1 0, 1 1 0, 0 1 0 | 0 1 2, 0 3 4, 4 3 1"); // 4 on the edge from 0 to 1
  int first = -1, second = -1;
  EXPECT_FALSE(mesh.getConstraintOfVertex(3, first, second) || mesh.getConstraintOfVertex(99, first, second));
  const Vertex *a = nullptr, *b = nullptr;
  ASSERT_TRUE(mesh.getNeighbourVertices(mesh.getVertexRef(4), a, b));
  EXPECT_THAT((std::vector{a->getIndex(), b->getIndex()}), testing::UnorderedElementsAre(0, 1));
  // A list of free vertices is a list; only an empty mesh has none.
  EXPECT_TRUE(cube().ensureHasConstraints() && !Mesh().ensureHasConstraints());
  // Growing the mesh makes the list stale: this triangle closes the gap.
  mesh.addTriangle(0, 4, 1);
  EXPECT_FALSE(mesh.isConstraintVertex(4));
  mesh.addVertex(9, 9, 9);
  EXPECT_EQ(mesh.getConstraints()->size(), 6u);
}

TEST(Mesh, ReadersShareLazyValues)
{
  const Mesh reference = sphere(4000, 3.0);
  for (int round = 0; round < 20; ++round) {
    const Mesh mesh(reference);
    std::vector<std::string> answers(4);
    std::vector<std::thread> readers;
    for (std::string& answer : answers)
      readers.emplace_back([&mesh, &answer] {
        std::ostringstream out;
        out << mesh.getHash() << mesh.getCenterOfGravity() << ' ' << mesh.getArea() << ' ' << mesh.getCurvedArea()
            << ' ' << mesh.getAreaWeightedNormal() << ' ' << mesh.getConstraints();
        answer = out.str();
      });
    for (std::thread& reader : readers)
      reader.join();
    EXPECT_THAT(answers, testing::Each(answers[0]));
  }
}

} // namespace
} // namespace Kavrel::Testing
