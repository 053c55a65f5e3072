#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"

#include "geometry/PolyLine.h"
#include "geometry/mesh/Mesh.h"
#include "support/BruteForce.h"
#include "support/Matchers.h"
#include "support/MeshBuilder.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

using namespace Kavrel;
using namespace Kavrel::BoundingVolumeHierarchy;
using Testing::IsNear;
using Testing::meshFromText;
using Testing::RandomGeometry;
namespace Brute = Testing::BruteForce;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;
using Places = std::vector<XiEtaPoint>;

namespace {

constexpr double largest = std::numeric_limits<double>::max();
using V3 = Vector<double, 3>;
using P3 = Point<double, 3>;
using RayResult = MeshSearchTree::RayIntersectionResult;

const V3& corner(const Mesh& mesh, std::size_t triangle, unsigned i)
{
  return mesh.getTriangleRef(static_cast<unsigned>(triangle)).getVertexRef(i);
}

double distanceTo(const Mesh& mesh, std::size_t triangle, const V3& query)
{
  return Brute::pointTriangle(query, corner(mesh, triangle, 0), corner(mesh, triangle, 1), corner(mesh, triangle, 2));
}

V3 at(const Mesh& mesh, const XiEtaPoint& place)
{
  const V3 a = corner(mesh, place.getElementIdx(), 0);
  return a + (corner(mesh, place.getElementIdx(), 1) - a) * place.getXi() +
         (corner(mesh, place.getElementIdx(), 2) - a) * place.getEta();
}

/// Squared distance of the edges of one triangle from another triangle; 0 where an edge pierces it.
double edgesTo(const Mesh& mesh, std::size_t triangle, const Mesh& other, std::size_t k)
{
  double least = largest;
  for (unsigned c = 0; c < 3; ++c)
    least = std::min(least, Brute::segmentTriangle(corner(mesh, triangle, c), corner(mesh, triangle, (c + 1) % 3),
                                                   corner(other, k, 0), corner(other, k, 1), corner(other, k, 2)));
  return least;
}

std::vector<int> elementsOf(const Places& places)
{
  std::vector<int> elements;
  for (const auto& place : places)
    elements.push_back(static_cast<int>(place.getElementIdx()));
  return elements;
}

/// A solid, an open field, and loose triangles of all sizes with degenerate ones among them.
std::vector<std::pair<const char*, Mesh>> zoo()
{
  std::vector<std::pair<const char*, Mesh>> meshes;
  meshes.emplace_back("sphere", Testing::sphere(600, 10));
  meshes.emplace_back("hills", Testing::hills(15, 18));
  RandomGeometry random(401);
  Mesh soup = Testing::triangleSoup(random, 300, 4, 10);
  for (int i = 0; i < 20; ++i) {
    const V3 p = random.inCube<3>(10), q = random.inCube<3>(10);
    for (const V3& v : {p, q, V3((p + q) * 0.5)})
      soup.addVertex(v[0], v[1], v[2]);
    const auto n = soup.numberOfVertices();
    soup.addTriangle(n - 3, n - 2, i % 2 == 0 ? n - 1 : n - 3);
  }
  meshes.emplace_back("soup", std::move(soup));
  return meshes;
}

TEST(MeshSearchTree, FindsTheNearestPoint)
{
  RandomGeometry random(402);
  for (const auto& [name, mesh] : zoo())
    for (const unsigned leafSize : {1U, 8U, 1000U}) {
      SCOPED_TRACE(testing::Message() << name << ", leaf " << leafSize);
      const MeshSearchTree tree(mesh, leafSize, 30);
      for (int i = 0; i < 120; ++i) {
        const V3 query =
            i % 2 == 0 ? V3(random.inCube<3>(15))
                       : V3(corner(mesh, random.index(mesh.numberOfTriangles()), 0) + random.ofAnySize<3>(1e-6, 1e3));
        const double expected =
            Brute::nearest(mesh.numberOfTriangles(), [&](std::size_t k) { return distanceTo(mesh, k, query); }).value;
        const double slack = 1e-12 * (1 + expected);
        XiEtaPoint place;
        Point3N nearest;
        ASSERT_TRUE(tree.selectClosest(query, place));
        ASSERT_TRUE(place.getElementIdx() < mesh.numberOfTriangles());
        EXPECT_TRUE(place.getXi() >= 0 && place.getEta() >= 0 && place.getXi() + place.getEta() <= 1 + 1e-12);
        EXPECT_NEAR(Brute::squareDistance(at(mesh, place), query), expected, slack);
        EXPECT_EQ(tree.getNearestTriangle(query), static_cast<int>(place.getElementIdx()));
        ASSERT_TRUE(tree.getNearestPoint(query, nearest));
        EXPECT_THAT(nearest, IsNear(at(mesh, place), 1e-9));
        EXPECT_NEAR(tree.calcMinSquareDistance(query), expected, slack);
        const V3 normal = mesh.getTriangleRef(place.getElementIdx()).getNormal();
        EXPECT_EQ(nearest.getNormal(), normal);
      }
    }
}

TEST(MeshSearchTree, FindsWhatASphereHolds)
{
  RandomGeometry random(403);
  for (const auto& [name, mesh] : zoo()) {
    SCOPED_TRACE(name);
    const MeshSearchTree tree(mesh, 4, 30);
    for (int i = 0; i < 100; ++i) {
      const V3 query = random.inCube<3>(14);
      const double radius = random.logUniform(0.01, 20);
      const auto expected = Brute::selected(
          mesh.numberOfTriangles(), [&](std::size_t k) { return distanceTo(mesh, k, query) <= radius * radius; });
      Places places(3);
      EXPECT_EQ(tree.sphereSelectAll(query, radius, places), expected.size());
      EXPECT_THAT(elementsOf(places), UnorderedElementsAreArray(expected));
      double nearest = largest;
      for (const auto& place : places) {
        const double square = distanceTo(mesh, place.getElementIdx(), query);
        EXPECT_NEAR(Brute::squareDistance(at(mesh, place), query), square, 1e-10);
        nearest = std::min(nearest, square);
      }
      Point3N point;
      XiEtaPoint place;
      ASSERT_EQ(tree.sphereSelectFirst(query, radius, point), !expected.empty());
      ASSERT_EQ(tree.sphereSelectFirst(query, radius, place), !expected.empty());
      if (expected.empty()) continue;
      EXPECT_NEAR(Brute::squareDistance<3>(point, query), nearest, 1e-10);
      EXPECT_NEAR(Brute::squareDistance(at(mesh, place), query), nearest, 1e-10);
    }
  }
}

TEST(MeshSearchTree, FindsWhatAPlaneMeets)
{
  RandomGeometry random(404);
  for (const auto& [name, mesh] : zoo()) {
    SCOPED_TRACE(name);
    const MeshSearchTree tree(mesh, 4, 30);
    for (int i = 0; i < 60; ++i) {
      const Plane<double, 3> plane(random.direction<3>(), P3(random.inCube<3>(20)));
      const double radius = random.uniform(0, 5);
      std::vector<int> cut, near;
      double nearest = largest;
      for (std::size_t k = 0; k < mesh.numberOfTriangles(); ++k) {
        double low = largest, high = -largest;
        for (unsigned c = 0; c < 3; ++c) {
          const double height = plane.getNormal().dot(corner(mesh, k, c)) - plane.getDistance();
          low = std::min(low, height);
          high = std::max(high, height);
        }
        const double distance = low < 0 && high > 0 ? 0 : std::min(std::abs(low), std::abs(high));
        nearest = std::min(nearest, distance);
        if (low <= 0 && high > 0) cut.push_back(static_cast<int>(k));
        if (distance <= radius) near.push_back(static_cast<int>(k));
      }
      std::vector<int> found = {3};
      EXPECT_EQ(tree.planeIntersections(plane, found), !cut.empty());
      EXPECT_THAT(found, UnorderedElementsAreArray(cut));
      EXPECT_EQ(tree.planeSelectAll(plane, radius, found), !near.empty());
      EXPECT_THAT(found, UnorderedElementsAreArray(near));
      EXPECT_NEAR(tree.calcMinDistanceToPlane(plane), nearest, 1e-12);
    }
  }
}

/// The parameter and the triangle of every hit of the line.
std::vector<std::pair<double, int>> hitsOf(const Mesh& mesh, const V3& origin, const V3& direction)
{
  std::vector<std::pair<double, int>> hits;
  for (std::size_t k = 0; k < mesh.numberOfTriangles(); ++k)
    if (const auto t =
            Brute::lineTriangle(origin, direction, corner(mesh, k, 0), corner(mesh, k, 1), corner(mesh, k, 2)))
      hits.emplace_back(*t, static_cast<int>(k));
  return hits;
}

TEST(MeshSearchTree, FollowsLinesAndRays)
{
  RandomGeometry random(405);
  for (const auto& [name, mesh] : zoo()) {
    SCOPED_TRACE(name);
    const MeshSearchTree tree(mesh, 4, 30);
    int hitCount = 0;
    for (int i = 0; i < 300; ++i) {
      const V3 origin = random.inCube<3>(20);
      const auto target = static_cast<unsigned>(random.index(mesh.numberOfTriangles()));
      const V3 aimed = mesh.getTriangleRef(target).getCenter() + random.inCube<3>(0.05) - origin;
      const V3 unit = i % 2 == 0 ? random.direction<3>() : aimed.getNormalized();
      const V3 direction = unit * random.logUniform(1e-3, 1e3);
      const auto hits = hitsOf(mesh, origin, unit);
      std::vector<int> all, ahead;
      double first = largest, firstAhead = largest;
      for (const auto& [parameter, triangle] : hits) {
        all.push_back(triangle);
        if (std::abs(parameter) < std::abs(first)) first = parameter;
        if (parameter < 0) continue;
        ahead.push_back(triangle);
        firstAhead = std::min(firstAhead, parameter);
      }
      hitCount += static_cast<int>(hits.size());
      RayResult result;
      XiEtaPoint place;
      Point3N point;
      double distance = -1;
      ASSERT_EQ(tree.lineSelectFirst(origin, direction, result), !all.empty());
      ASSERT_EQ(tree.lineSelectFirst(origin, direction, place, point, distance), !all.empty());
      if (!all.empty()) {
        EXPECT_NEAR(result.parameter, first, 1e-9);
        EXPECT_NEAR(distance, std::abs(first), 1e-9);
        EXPECT_THAT(point, IsNear(V3(origin + unit * first), 1e-8));
        EXPECT_EQ(static_cast<const V3&>(result.point), static_cast<const V3&>(point));
        EXPECT_EQ(static_cast<unsigned>(result.triangle), place.getElementIdx());
        EXPECT_THAT(point, IsNear(at(mesh, place), 1e-9));
      } else {
        EXPECT_EQ(distance, largest);
        EXPECT_EQ(result.triangle, -1);
      }
      ASSERT_EQ(tree.raySelectFirst(origin, direction, place, point, distance), !ahead.empty());
      EXPECT_NEAR(distance, firstAhead, ahead.empty() ? 0 : 1e-9);
      Places places(2);
      EXPECT_EQ(tree.lineSelectAll(origin, direction, places), all.size());
      EXPECT_THAT(elementsOf(places), UnorderedElementsAreArray(all));
      EXPECT_EQ(tree.raySelectAll(origin, direction, places), ahead.size());
      EXPECT_THAT(elementsOf(places), UnorderedElementsAreArray(ahead));
      double nearest = largest;
      for (const auto& [parameter, triangle] : hitsOf(mesh, origin, V3(0, 0, 1)))
        if (std::abs(parameter) < std::abs(nearest)) nearest = parameter;
      RayResult vertical, legacy;
      ASSERT_EQ(tree.lineSelectFirstZ(origin, vertical), nearest < largest);
      EXPECT_NEAR(vertical.parameter, nearest, vertical.hit ? 1e-9 : 0);
      EXPECT_TRUE(tree.lineSelectFirstLegacy(origin, direction, 1e-9, legacy) || all.empty());
      EXPECT_TRUE(all.empty() || std::abs(std::abs(legacy.parameter) - std::abs(first)) < 1e-6);
    }
    EXPECT_GT(hitCount, 100);
  }
}

TEST(MeshSearchTree, LosesNoRayThroughEdgesAndVertices)
{
  RandomGeometry random(406);
  const Mesh mesh = Testing::sphere(800, 5);
  const MeshSearchTree tree(mesh, 4, 30);
  for (int i = 0; i < 4000; ++i) {
    const std::size_t triangle = random.index(mesh.numberOfTriangles());
    const double t = random.uniform(0, 1);
    const V3 target = i % 3 == 0 ? corner(mesh, triangle, 0)
                                 : V3(corner(mesh, triangle, 0) * (1 - t) + corner(mesh, triangle, 1) * t);
    const V3 origin = random.inCube<3>(2);
    XiEtaPoint place;
    Point3N point;
    double distance = 0;
    ASSERT_TRUE(tree.raySelectFirst(origin, target - origin, place, point, distance)) << i;
    EXPECT_NEAR(distance, (target - origin).length(), 1e-9);
  }
}

TEST(MeshSearchTree, LooksBothWaysAlongALine)
{
  const Mesh mesh = meshFromText("0 0 0, 4 0 0, 0 4 0 | 0 1 2");
  const MeshSearchTree tree(mesh, 8, 30);
  XiEtaPoint place;
  Point3N point;
  double distance = 0;
  RayResult result;
  EXPECT_TRUE(tree.lineSelectFirst(V3(1, 1, 3), V3(0, 0, 5), result));
  EXPECT_DOUBLE_EQ(result.parameter, -3);
  EXPECT_FALSE(tree.lineSelectFirst(V3(1, 1, 3), V3(0, 0, 0), result) || result.hit);
  for (const double height : {3.0, 2e-6, 5e-7})
    EXPECT_EQ(tree.raySelectFirst(V3(1, 1, height), V3(0, 0, 5), place, point, distance), height < 1e-6) << height;
}

TEST(MeshSearchTree, FollowsTheVertical)
{
  RayResult result; // straight through vertices and along edges of a grid, where lines meet the faces of boxes
  const Mesh grid = Testing::grid(6, 6);
  const MeshSearchTree tree(grid, 2, 30);
  for (int i = 0; i <= 6; ++i)
    for (int j = 0; j <= 6; ++j) {
      ASSERT_TRUE(tree.lineSelectFirstZ(V3(i, j, 7), result)) << i << ' ' << j;
      EXPECT_DOUBLE_EQ(result.parameter, -7);
      ASSERT_TRUE(tree.lineSelectFirstZ(V3(i, 0.3 + 0.9 * j, -2), result) || j == 6);
    }
}

TEST(MeshSearchTree, MapsIdsToMeshes)
{
  const auto four = std::make_shared<Mesh>(Testing::tetrahedron()), six = std::make_shared<Mesh>(Testing::grid(3, 1));
  six->move(V3(5, 0, 0));
  const std::vector<std::shared_ptr<Mesh>> list = {nullptr, four, nullptr, six};
  const std::vector<std::shared_ptr<const Mesh>> constList(list.begin(), list.end());
  const std::vector<const Mesh*> pointers = {nullptr, four.get(), nullptr, six.get()};
  const MeshSearchTree trees[] = {MeshSearchTree(list, true, 4, 30), MeshSearchTree(constList, true, 4, 30),
                                  MeshSearchTree(constList, false, 4, 30), MeshSearchTree(pointers, 4, 30)};
  for (const auto& tree : trees)
    for (unsigned id = 0; id <= 10; ++id) {
      SCOPED_TRACE(id);
      XiEtaPoint place(0.25, 0.25), same;
      place.setElementIdx(id);
      same.setElementIdx(id);
      const std::size_t index = id < 4 ? 1 : id < 10 ? 3 : std::size_t(-1);
      EXPECT_EQ(tree.correctElementIndexForMultipleMeshesAndGetMeshIdx(place), index);
      EXPECT_EQ(place.getElementIdx(), id < 4 || id == 10 ? id : id - 4);
      if (id == 10) continue;
      EXPECT_EQ(tree.correctElementIndexForMultipleMeshes(same), tree.getMeshes().empty() ? nullptr : list[index]);
      EXPECT_EQ(same.getElementIdx(), place.getElementIdx());
      EXPECT_EQ(tree.getNearestTriangle(at(*list[index], place)), static_cast<int>(id));
    }
}

TEST(MeshSearchTree, FindsCrossingTriangles)
{
  RandomGeometry random(408);
  const Mesh a = Testing::triangleSoup(random, 150, 6, 8), b = Testing::triangleSoup(random, 120, 6, 8);
  const MeshSearchTree tree(a, 3, 30), other(b, 5, 30);
  std::vector<std::pair<int, int>> expected, found;
  for (std::size_t i = 0; i < a.numberOfTriangles(); ++i)
    for (std::size_t k = 0; k < b.numberOfTriangles(); ++k)
      if (edgesTo(a, i, b, k) == 0 || edgesTo(b, k, a, i) == 0)
        expected.emplace_back(static_cast<int>(i), static_cast<int>(k));
  ASSERT_GT(expected.size(), 10U);
  std::vector<MeshSearchTree::TriangleIntersectionResult> list(1);
  EXPECT_TRUE(tree.getMeshIntersections(other, list));
  for (const auto& entry : list) {
    found.emplace_back(entry.first, entry.second);
    for (const V3& end : {entry.start, entry.end}) {
      EXPECT_NEAR(distanceTo(a, static_cast<std::size_t>(entry.first), end), 0, 1e-18);
      EXPECT_NEAR(distanceTo(b, static_cast<std::size_t>(entry.second), end), 0, 1e-18);
    }
  }
  EXPECT_THAT(found, UnorderedElementsAreArray(expected));
  EXPECT_FALSE(tree.getMeshIntersections(MeshSearchTree(), list));
  EXPECT_TRUE(list.empty());
}

TEST(MeshSearchTree, FindsTheNearestPointsOfTwoMeshes)
{
  const Mesh ball = Testing::sphere(120, 2);
  for (const double gap : {0.5, 3.0, 100.0}) {
    SCOPED_TRACE(gap);
    Mesh moved = Testing::sphere(60, 1);
    moved.move(V3(1, 2, -2) * ((3 + gap) / 3));
    double expected = largest;
    for (std::size_t i = 0; i < ball.numberOfTriangles(); ++i)
      for (std::size_t k = 0; k < moved.numberOfTriangles(); ++k)
        expected = std::min({expected, edgesTo(ball, i, moved, k), edgesTo(moved, k, ball, i)});
    MeshSearchTree tree(ball, 4, 30), other(moved, 8, 30);
    Point3N onThis, onOther;
    double distance = 0;
    ASSERT_TRUE(tree.getNearestPoints(other, onThis, onOther, distance, largest));
    EXPECT_NEAR(distance, expected, 1e-10 * (1 + expected));
    EXPECT_NEAR(Brute::squareDistance<3>(onThis, onOther), distance, 1e-10 * (1 + expected));
    EXPECT_NEAR(tree.calcMinSquareDistance(onThis) + other.calcMinSquareDistance(onOther), 0, 1e-20);
    EXPECT_TRUE(onThis.hasNormal() && onOther.hasNormal());
    const double found = distance;
    EXPECT_TRUE(tree.getNearestPoints(other, onThis, onOther, distance, found));
    EXPECT_FALSE(tree.getNearestPoints(other, onThis, onOther, distance, std::nextafter(found, 0.0)));
    EXPECT_EQ(distance, largest);
    EXPECT_EQ(static_cast<const V3&>(onThis), V3());
    EXPECT_FALSE(onThis.hasNormal());
  }
}

template <class P>
void expectNearestToPolyLine()
{
  RandomGeometry random(409);
  const Mesh mesh = Testing::hills(12, 12);
  const MeshSearchTree tree(mesh, 4, 30);
  for (const double height : {9.0, 0.0}) {
    SCOPED_TRACE(height);
    PolyLine<P> line;
    for (const auto& p : random.walk<3>(60, 2.0))
      line.addPoint(P(V3(p + V3(6, 6, height))));
    double expected = largest;
    for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
      for (std::size_t k = 0; k < mesh.numberOfTriangles(); ++k)
        expected = std::min(expected, Brute::segmentTriangle(line[i], line[i + 1], corner(mesh, k, 0),
                                                             corner(mesh, k, 1), corner(mesh, k, 2)));
    const PolyLineSearchTree<P> lineTree(line, 3);
    Point3N onMesh;
    P onLine;
    double distance = 0;
    ASSERT_TRUE(tree.getNearestPoints(lineTree, onMesh, onLine, distance, largest));
    EXPECT_NEAR(distance, expected, 1e-10 * (1 + expected));
    EXPECT_NEAR(Brute::squareDistance<3>(onMesh, onLine), expected, 1e-10 * (1 + expected));
    EXPECT_NEAR(tree.calcMinSquareDistance(onMesh) + lineTree.squareDistance(onLine), 0, 1e-20);
    EXPECT_EQ(tree.getNearestPoints(lineTree, onMesh, onLine, distance, expected / 2), expected == 0);
  }
}

TEST(MeshSearchTree, FindsTheNearestPointsToAPolyline)
{
  expectNearestToPolyLine<Point<double, 3>>();
  expectNearestToPolyLine<Point3N>();
}

TEST(MeshSearchTree, MeasuresTheVerticesOfAMesh)
{
  const Mesh mesh = Testing::sphere(400, 5);
  const auto other = std::make_shared<Mesh>(Testing::hills(5, 7));
  const MeshSearchTree tree(mesh, 4, 30);
  double low = largest, high = 0;
  for (unsigned i = 0; i < other->numberOfVertices(); ++i) {
    const double square = Brute::nearest(mesh.numberOfTriangles(), [&](std::size_t k) {
                            return distanceTo(mesh, k, other->getVertexRef(i));
                          }).value;
    low = std::min(low, square);
    high = std::max(high, square);
  }
  EXPECT_NEAR(tree.calcMinSquareDistanceFromVertices(other), low, 1e-12);
  EXPECT_NEAR(tree.calcMaxSquareDistanceFromVertices(other), high, 1e-12);
  for (const auto& none : {std::make_shared<Mesh>(), std::shared_ptr<Mesh>()}) {
    EXPECT_EQ(tree.calcMinSquareDistanceFromVertices(none), largest);
    EXPECT_EQ(tree.calcMaxSquareDistanceFromVertices(none), 0);
  }
  EXPECT_TRUE(tree.mapTriangleCenters(nullptr).empty());
}

TEST(MeshSearchTree, MapsTriangleCentres)
{
  const Mesh ball = Testing::sphere(500, 3);
  auto inner = std::make_shared<Mesh>(Testing::sphere(100, 2));
  const MeshSearchTree tree(ball, 4, 30);
  const auto n = inner->numberOfTriangles();
  inner->addVertex(0, 0, 0);
  const auto v = inner->numberOfVertices() - 1;
  inner->addTriangle(v, v, v);
  const auto hits = tree.mapTriangleCenters(inner);
  ASSERT_EQ(hits.size(), n + 1);
  for (std::size_t i = 0; i < n; ++i) {
    const Triangle& triangle = inner->getTriangleRef(static_cast<unsigned>(i));
    RayResult single;
    ASSERT_TRUE(tree.lineSelectFirst(triangle.getCenter(), triangle.getNormal(), single));
    EXPECT_EQ(hits[i].triangle, single.triangle);
    EXPECT_THAT(hits[i].point, IsNear(single.point, 1e-12));
  }
  EXPECT_FALSE(hits[n].hit);
  EXPECT_EQ(hits[n].parameter, largest);
}

TEST(MeshSearchTree, CollectsLeafs)
{
  RandomGeometry random(410);
  const Mesh mesh = Testing::triangleSoup(random, 400, 1, 10);
  for (const unsigned leafSize : {1U, 6U, 1000U}) {
    const MeshSearchTree tree(mesh, leafSize, 30);
    for (int i = 0; i < 60; ++i) {
      const V3 low = random.inCube<3>(10), high = low + V3(1, 2, 3) * random.uniform(0, 2);
      std::vector<int> found = {1};
      const bool any = tree.collectLeafs(low, high, found);
      EXPECT_EQ(any, !found.empty());
      std::sort(found.begin(), found.end());
      EXPECT_EQ(std::adjacent_find(found.begin(), found.end()), found.end());
      for (std::size_t k = 0; k < mesh.numberOfTriangles(); ++k) {
        bool meets = true;
        for (unsigned axis = 0; axis < 3; ++axis) {
          const auto [least, most] =
              std::minmax({corner(mesh, k, 0)[axis], corner(mesh, k, 1)[axis], corner(mesh, k, 2)[axis]});
          meets = meets && least <= high[axis] && most >= low[axis];
        }
        EXPECT_TRUE(!meets || std::binary_search(found.begin(), found.end(), static_cast<int>(k)));
      }
      EXPECT_TRUE(leafSize != 1000U || found.size() == 400U);
      EXPECT_TRUE(leafSize != 1U || found.size() < 200U);
    }
  }
}

TEST(MeshSearchTree, AnswersAllTheSameWhenEmpty)
{
  const Mesh none, cube = Testing::cube();
  MeshSearchTree trees[] = {MeshSearchTree(), MeshSearchTree(none, 8, 30),
                            MeshSearchTree(std::shared_ptr<const Mesh>(), true, 8, 30),
                            MeshSearchTree(std::vector<const Mesh*>{nullptr, nullptr}, 8, 30)};
  MeshSearchTree full(cube, 8, 30);
  const auto shared = std::make_shared<Mesh>(Testing::tetrahedron());
  for (auto& tree : trees) {
    EXPECT_TRUE(tree.empty());
    EXPECT_FALSE(tree.getBoundingBox().isValid());
    EXPECT_EQ(tree.getNearestTriangle(V3()), -1);
    XiEtaPoint place(0.5, 0.5);
    place.setElementIdx(7);
    Point3N point(V3(1, 1, 1), V3(0, 0, 1)), other = point;
    EXPECT_FALSE(tree.getNearestPoint(V3(), point, place));
    EXPECT_EQ(static_cast<const V3&>(point), V3());
    EXPECT_FALSE(point.hasNormal());
    EXPECT_EQ(place.getXi() + place.getEta() + place.getElementIdx(), 0);
    EXPECT_EQ(tree.calcMinSquareDistance(V3()), largest);
    EXPECT_EQ(tree.calcMinDistanceToPlane(Plane<double, 3>()), largest);
    EXPECT_EQ(tree.calcMinSquareDistanceFromVertices(shared), largest);
    EXPECT_EQ(tree.calcMaxSquareDistanceFromVertices(shared), largest);
    Places places(1);
    EXPECT_FALSE(tree.sphereSelectFirst(V3(), 1e9, place));
    EXPECT_EQ(tree.sphereSelectAll(V3(), 1e9, places) + places.size(), 0U);
    std::vector<int> ids(1);
    EXPECT_FALSE(tree.planeIntersections(Plane<double, 3>(), ids));
    EXPECT_FALSE(tree.collectLeafs(V3(-9, -9, -9), V3(9, 9, 9), ids) || !ids.empty());
    RayResult result;
    result.hit = true;
    EXPECT_FALSE(tree.lineSelectFirstZ(V3(), result) || result.hit);
    double distance = 0;
    EXPECT_FALSE(tree.getNearestPoints(full, point, other, distance, largest));
    EXPECT_EQ(distance, largest);
    EXPECT_FALSE(full.getNearestPoints(tree, point, other, distance, 4));
    EXPECT_FALSE(tree.mapTriangleCenters(shared).at(3).hit);
  }
}

TEST(MeshSearchTree, KeepsMeshesOnlyWhenAsked)
{
  for (const bool keeps : {true, false}) {
    auto mesh = std::make_shared<Mesh>(Testing::cube());
    const std::weak_ptr<Mesh> alive = mesh;
    auto tree = std::make_unique<MeshSearchTree>(mesh, keeps, 4, 30);
    mesh.reset();
    EXPECT_EQ(alive.expired(), !keeps);
    if (!keeps) continue;
    MeshSearchTree copy(*tree);
    EXPECT_EQ(&copy.getBvh(), &tree->getBvh());
    tree.reset();
    EXPECT_DOUBLE_EQ(copy.calcMinSquareDistance(V3(0.5, 0.5, 3)), 4);
    copy = MeshSearchTree();
    EXPECT_TRUE(alive.expired());
  }
}

TEST(MeshSearchTree, SurvivesBadNumbers)
{
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  for (const double value : {nan, infinity, -infinity, 1e300, 1e-300}) {
    SCOPED_TRACE(value);
    Mesh mesh = Testing::hills(6, 6);
    const MeshSearchTree sound(mesh, 3, 30);
    const V3 bad(value, 0, 1);
    XiEtaPoint place;
    Point3N point;
    double distance = 0;
    Places places;
    sound.selectClosest(bad, place);
    EXPECT_LT(place.getElementIdx(), mesh.numberOfTriangles());
    sound.raySelectFirst(bad, V3(0, 0, 1), place, point, distance);
    sound.lineSelectAll(V3(1, 1, 1), bad, places);
    sound.sphereSelectAll(bad, value, places);
    EXPECT_EQ(sound.sphereSelectFirst(mesh.getVertexRef(3), value, place), !std::isnan(value));
    Mesh broken = Testing::hills(6, 6);
    broken.getVertexRef(11)[1] = value;
    const MeshSearchTree tree(broken, 3, 30);
    EXPECT_EQ(tree.getBvh().numberOfElements(), broken.numberOfTriangles());
    tree.selectClosest(V3(3, 3, 3), place);
    EXPECT_LT(place.getElementIdx(), broken.numberOfTriangles());
    std::vector<MeshSearchTree::TriangleIntersectionResult> pairs;
    tree.getMeshIntersections(sound, pairs);
    tree.raySelectFirst(V3(3.2, 3.1, 9), V3(0, 0, -1), place, point, distance);
  }
}

TEST(MeshSearchTree, ServesTheFlatFunctions)
{
  const auto four = std::make_shared<Mesh>(Testing::tetrahedron());
  const auto field = std::make_shared<Mesh>(Testing::grid(3, 1));
  field->move(V3(10, 0, 0));
  const MeshSearchTree tree(std::vector<std::shared_ptr<Mesh>>{four, field}, true, 2, 30);
  const double above[3] = {12.75, 0.25, 2}, down[3] = {0, 0, -3}, sideways[3] = {0, 1, 0};
  for (const bool projects : {false, true}) {
    double position[3] = {}, normal[3] = {};
    unsigned mesh = 9, triangle = 9;
    EXPECT_EQ(projects ? aku_pr_projPointOnGeo(tree, above, down, 1e-6, position, &mesh, &triangle, normal)
                       : aku_pr_getNearestGeoPoint(tree, above, position, &mesh, &triangle, normal),
              1);
    EXPECT_THAT((std::vector{mesh, triangle}), ElementsAre(1U, 4U));
    EXPECT_THAT(position, ElementsAre(12.75, 0.25, 0));
    EXPECT_THAT(normal, ElementsAre(0, 0, 1));
    mesh = 9;
    EXPECT_EQ(projects ? aku_pr_projPointOnGeo(tree, above, sideways, 1e-6, position, &mesh, &triangle, normal)
                       : aku_pr_getNearestGeoPoint(MeshSearchTree(), above, position, &mesh, &triangle, normal),
              0);
    EXPECT_EQ(projects ? 9U : mesh, 9U);
    EXPECT_THAT(position, ElementsAre(12.75, 0.25, 0));
  }
}

} // namespace
