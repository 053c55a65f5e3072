#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"

#include "geometry/PolyLine.h"
#include "geometry/mesh/Mesh.h"
#include "geometry/mesh/MeshAlgorithm.h"
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

using Brute::largest;
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

/// The elements of the places, ascending.
std::vector<int> elementsOf(const Places& places)
{
  std::vector<int> elements;
  for (const auto& place : places)
    elements.push_back(static_cast<int>(place.getElementIdx()));
  std::sort(elements.begin(), elements.end());
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

TEST(MeshSearchTree, FindsTheNearestPointAndWhatASphereHolds)
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
        std::vector<double> distances;
        for (std::size_t k = 0; k < mesh.numberOfTriangles(); ++k)
          distances.push_back(distanceTo(mesh, k, query));
        const double expected = *std::min_element(distances.begin(), distances.end());
        const double slack = 1e-12 * (1 + expected), radius = std::sqrt(expected) * random.uniform(0.5, 3);
        const auto held =
            Brute::selected(distances.size(), [&](std::size_t k) { return distances[k] <= radius * radius; });
        XiEtaPoint place, first;
        Point3N nearest, firstPoint;
        Places places(3);
        ASSERT_TRUE(tree.selectClosest(query, place));
        ASSERT_TRUE(tree.getNearestPoint(query, nearest));
        EXPECT_TRUE(place.getXi() >= 0 && place.getEta() >= 0 && place.getXi() + place.getEta() <= 1 + 1e-12);
        EXPECT_NEAR(Brute::squareDistance<3>(mesh.getPoint(place), query), expected, slack);
        EXPECT_NEAR(tree.calcMinSquareDistance(query), expected, slack);
        EXPECT_EQ(tree.getNearestTriangle(query), static_cast<int>(place.getElementIdx()));
        EXPECT_THAT(nearest, IsNear(mesh.getPoint(place), 1e-9));
        EXPECT_EQ(nearest.getNormal(), mesh.getTriangleRef(place.getElementIdx()).getNormal());
        EXPECT_EQ(tree.sphereSelectAll(query, radius, places), held.size());
        EXPECT_EQ(elementsOf(places), held);
        for (const auto& other : places)
          EXPECT_NEAR(Brute::squareDistance<3>(mesh.getPoint(other), query), distances[other.getElementIdx()],
                      slack * 9);
        EXPECT_EQ(tree.sphereSelectFirst(query, radius, first), !held.empty());
        EXPECT_EQ(tree.sphereSelectFirst(query, radius, firstPoint), !held.empty());
        if (held.empty()) continue;
        EXPECT_EQ(first.getElementIdx(), place.getElementIdx());
        EXPECT_EQ(static_cast<const V3&>(firstPoint), static_cast<const V3&>(nearest));
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
        const auto height = [&, k](unsigned c) {
          return plane.getNormal().dot(corner(mesh, k, c)) - plane.getDistance();
        };
        const auto [low, high] = std::minmax({height(0), height(1), height(2)});
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

/// The hits of a line, as triangles in their order and the nearest parameter.
struct Hits
{
  Hits(const Mesh& mesh, const V3& origin, const V3& direction, bool onlyAhead)
  {
    for (std::size_t k = 0; k < mesh.numberOfTriangles(); ++k) {
      const auto t = Brute::lineTriangle(origin, direction, corner(mesh, k, 0), corner(mesh, k, 1), corner(mesh, k, 2));
      if (!t || (onlyAhead && *t < 0)) continue;
      triangles.push_back(static_cast<int>(k));
      if (std::abs(*t) < std::abs(nearest)) nearest = *t;
    }
  }

  std::vector<int> triangles;
  double nearest = largest;
};

TEST(MeshSearchTree, FollowsLinesAndRays)
{
  RandomGeometry random(405);
  for (const auto& [name, mesh] : zoo()) {
    SCOPED_TRACE(name);
    const MeshSearchTree tree(mesh, 4, 30);
    for (int i = 0; i < 300; ++i) {
      const V3 origin = random.inCube<3>(20);
      const auto target = static_cast<unsigned>(random.index(mesh.numberOfTriangles()));
      const V3 aimed = mesh.getTriangleRef(target).getCenter() + random.inCube<3>(0.05) - origin;
      const V3 unit = i % 2 == 0 ? random.direction<3>() : aimed.getNormalized();
      const V3 direction = unit * random.logUniform(1e-3, 1e3);
      const Hits all(mesh, origin, unit, false), ahead(mesh, origin, unit, true),
          vertical(mesh, origin, {0, 0, 1}, false);
      RayResult result, legacy;
      XiEtaPoint place;
      Point3N point;
      double distance = -1;
      Places places(2);
      ASSERT_EQ(tree.lineSelectFirst(origin, direction, result), !all.triangles.empty());
      ASSERT_EQ(tree.lineSelectFirst(origin, direction, place, point, distance), result.hit);
      EXPECT_NEAR(distance, std::abs(all.nearest), result.hit ? 1e-9 : 0);
      if (result.hit) {
        EXPECT_NEAR(result.parameter, all.nearest, 1e-9);
        EXPECT_THAT(point, IsNear(V3(origin + unit * all.nearest), 1e-8));
        EXPECT_EQ(static_cast<const V3&>(result.point), static_cast<const V3&>(point));
        EXPECT_EQ(static_cast<unsigned>(result.triangle), place.getElementIdx());
        EXPECT_THAT(point, IsNear(mesh.getPoint(place), 1e-9));
        EXPECT_TRUE(tree.lineSelectFirstLegacy(origin, direction, 1e-9, legacy));
        EXPECT_NEAR(std::abs(legacy.parameter), std::abs(all.nearest), 1e-6);
      }
      ASSERT_EQ(tree.raySelectFirst(origin, direction, place, point, distance), !ahead.triangles.empty());
      EXPECT_NEAR(distance, ahead.nearest, ahead.triangles.empty() ? 0 : 1e-9);
      EXPECT_EQ(tree.lineSelectAll(origin, direction, places), all.triangles.size());
      EXPECT_EQ(elementsOf(places), all.triangles);
      EXPECT_EQ(tree.raySelectAll(origin, direction, places), ahead.triangles.size());
      EXPECT_EQ(elementsOf(places), ahead.triangles);
      ASSERT_EQ(tree.lineSelectFirstZ(origin, result), !vertical.triangles.empty());
      EXPECT_NEAR(result.parameter, vertical.nearest, result.hit ? 1e-9 : 0);
    }
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
  const std::vector<const Mesh*> pointers = {nullptr, four.get(), nullptr, six.get()};
  for (const auto& tree : {MeshSearchTree(list, true, 4, 30), MeshSearchTree(pointers, 4, 30)})
    for (unsigned id = 0; id <= 10; ++id) {
      SCOPED_TRACE(id);
      XiEtaPoint place(0.25, 0.25);
      place.setElementIdx(id);
      XiEtaPoint same = place;
      const std::size_t index = id < 4 ? 1 : id < 10 ? 3 : std::size_t(-1);
      EXPECT_EQ(tree.correctElementIndexForMultipleMeshesAndGetMeshIdx(place), index);
      EXPECT_EQ(place.getElementIdx(), id < 4 || id == 10 ? id : id - 4);
      if (id == 10) continue;
      EXPECT_EQ(tree.correctElementIndexForMultipleMeshes(same), tree.getMeshes().empty() ? nullptr : list[index]);
      EXPECT_EQ(tree.getNearestTriangle(list[index]->getPoint(place)), static_cast<int>(id));
    }
}

TEST(MeshSearchTree, FindsCrossingTriangles)
{
  RandomGeometry random(408);
  const Mesh a = Testing::triangleSoup(random, 150, 6, 8), b = Testing::triangleSoup(random, 120, 6, 8);
  const MeshSearchTree tree(a, 3, 30), other(b, 5, 30);
  std::vector<MeshSearchTree::TriangleIntersectionResult> list(1);
  EXPECT_TRUE(tree.getMeshIntersections(other, list));
  EXPECT_GT(list.size(), 10U);
  for (const auto& entry : list) {
    P3 start, end;
    EXPECT_TRUE(MeshAlgorithm::triangleTriangleIntersection(a.getTriangle(static_cast<unsigned>(entry.first)),
                                                            b.getTriangle(static_cast<unsigned>(entry.second)), start,
                                                            end));
    EXPECT_TRUE(entry.start == start && entry.end == end);
  }
  EXPECT_FALSE(tree.getMeshIntersections(MeshSearchTree(), list) || !list.empty());
}

TEST(MeshSearchTree, FindsTheNearestPointsOfTwoMeshes)
{
  const Mesh cube = Testing::cube();
  const auto moved = std::make_shared<Mesh>(Testing::tetrahedron());
  moved->move(V3(3, 0.25, 0.5));
  const MeshSearchTree tree(cube, 4, 30), other(moved, false, 8, 30);
  Point3N onThis, onOther;
  double distance = 0;
  for (const double limit : {largest, 4.0, std::nextafter(4.0, 0.0)}) {
    SCOPED_TRACE(limit);
    const bool found = limit >= 4;
    EXPECT_EQ(tree.getNearestPoints(other, onThis, onOther, distance, limit), found);
    EXPECT_EQ(distance, found ? 4 : largest);
    EXPECT_EQ(static_cast<const V3&>(onOther - onThis), V3(found ? 2 : 0, 0, 0));
    EXPECT_TRUE(onThis.hasNormal() == found && onOther.hasNormal() == found);
  }
  EXPECT_EQ(tree.calcMinSquareDistanceFromVertices(moved), 4);
  EXPECT_EQ(tree.calcMaxSquareDistanceFromVertices(moved), 9);
  EXPECT_EQ(tree.calcMinSquareDistanceFromVertices(nullptr), largest);
  EXPECT_EQ(tree.calcMaxSquareDistanceFromVertices(nullptr), 0);
}

TEST(MeshSearchTree, FindsTheNearestPointsToAPolyline)
{
  RandomGeometry random(409);
  const Mesh mesh = Testing::hills(12, 12);
  const MeshSearchTree tree(mesh, 4, 30);
  for (const double height : {9.0, 0.0}) {
    SCOPED_TRACE(height);
    PolyLine<Point3N> line;
    for (const auto& p : random.walk<3>(60, 2.0))
      line.addPoint(Point3N(V3(p + V3(6, 6, height)), V3(0, 0, 1)));
    double expected = largest;
    for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
      for (std::size_t k = 0; k < mesh.numberOfTriangles(); ++k)
        expected = std::min(expected, Brute::segmentTriangle(line[i], line[i + 1], corner(mesh, k, 0),
                                                             corner(mesh, k, 1), corner(mesh, k, 2)));
    const PolyLineSearchTree<Point3N> lineTree(line, 3);
    Point3N onMesh, onLine;
    double distance = 0;
    ASSERT_TRUE(tree.getNearestPoints(lineTree, onMesh, onLine, distance, largest));
    EXPECT_NEAR(distance, expected, 1e-10 * (1 + expected));
    EXPECT_NEAR(Brute::squareDistance<3>(onMesh, onLine), expected, 1e-10 * (1 + expected));
    EXPECT_NEAR(tree.calcMinSquareDistance(onMesh) + lineTree.squareDistance(onLine), 0, 1e-20);
    EXPECT_TRUE(onMesh.hasNormal() && onLine.hasNormal());
    EXPECT_EQ(tree.getNearestPoints(lineTree, onMesh, onLine, distance, expected / 2), expected == 0);
  }
}

TEST(MeshSearchTree, MapsTriangleCentres)
{
  const Mesh cube = Testing::cube();
  const MeshSearchTree tree(cube, 4, 30);
  const Mesh inner = meshFromText("0.1 0.1 0.4, 0.7 0.1 0.4, 0.1 0.7 0.4 | 0 1 2, 0 2 1, 0 0 0");
  const auto hits = tree.mapTriangleCenters(std::make_shared<Mesh>(inner));
  ASSERT_EQ(hits.size(), 3U);
  EXPECT_DOUBLE_EQ(hits[0].parameter, -0.4);
  EXPECT_DOUBLE_EQ(hits[1].parameter, 0.4);
  EXPECT_FALSE(hits[2].hit) << "without area no direction";
}

TEST(MeshSearchTree, CollectsLeafs)
{
  RandomGeometry random(410);
  const Mesh mesh = Testing::triangleSoup(random, 400, 1, 10);
  for (const unsigned leafSize : {1U, 6U, 1000U}) {
    const MeshSearchTree tree(mesh, leafSize, 30);
    for (int i = 0; i < 60; ++i) {
      const V3 low = random.inCube<3>(10), high = low + V3(1, 2, 3) * random.uniform(0, 2);
      const auto meeting = Brute::selected(mesh.numberOfTriangles(), [&](std::size_t k) {
        for (unsigned axis = 0; axis < 3; ++axis) {
          const auto [least, most] =
              std::minmax({corner(mesh, k, 0)[axis], corner(mesh, k, 1)[axis], corner(mesh, k, 2)[axis]});
          if (least > high[axis] || most < low[axis]) return false;
        }
        return true;
      });
      std::vector<int> found = {1};
      const bool any = tree.collectLeafs(low, high, found);
      EXPECT_EQ(any, !found.empty());
      EXPECT_THAT(found, testing::IsSupersetOf(meeting));
      EXPECT_TRUE(leafSize != 1000U || found.size() == 400U);
      EXPECT_TRUE(leafSize != 1U || found.size() < 200U);
    }
  }
}

TEST(MeshSearchTree, AnswersAllTheSameWhenEmpty)
{
  const Mesh none, cube = Testing::cube();
  const MeshSearchTree full(cube, 8, 30);
  for (const auto& tree :
       {MeshSearchTree(), MeshSearchTree(none, 8, 30), MeshSearchTree(std::shared_ptr<const Mesh>(), true, 8, 30),
        MeshSearchTree(std::vector<const Mesh*>{nullptr, nullptr}, 8, 30)}) {
    EXPECT_TRUE(tree.empty() && !tree.getBoundingBox().isValid());
    EXPECT_EQ(tree.getNearestTriangle(V3()), -1);
    XiEtaPoint place(0.5, 0.5);
    place.setElementIdx(7);
    Point3N point(V3(1, 1, 1), V3(0, 0, 1)), other = point;
    EXPECT_FALSE(tree.getNearestPoint(V3(), point, place));
    EXPECT_TRUE(static_cast<const V3&>(point) == V3() && !point.hasNormal());
    EXPECT_EQ(place.getXi() + place.getEta() + place.getElementIdx(), 0);
    EXPECT_EQ(tree.calcMinSquareDistance(V3()), largest);
    EXPECT_EQ(tree.calcMinDistanceToPlane(Plane<double, 3>()), largest);
    std::vector<int> ids(1);
    EXPECT_FALSE(tree.collectLeafs(V3(-9, -9, -9), V3(9, 9, 9), ids) || !ids.empty());
    RayResult result;
    EXPECT_FALSE(tree.lineSelectFirstZ(V3(), result));
    double distance = 0;
    EXPECT_FALSE(tree.getNearestPoints(full, point, other, distance, largest));
    EXPECT_EQ(distance, largest);
    EXPECT_FALSE(full.getNearestPoints(tree, point, other, distance, 4));
  }
}

TEST(MeshSearchTree, KeepsMeshesOnlyWhenAsked)
{
  for (const bool keeps : {true, false}) {
    auto mesh = std::make_shared<Mesh>(Testing::cube());
    const std::weak_ptr<Mesh> alive = mesh;
    MeshSearchTree copy;
    copy = MeshSearchTree(mesh, keeps, 4, 30);
    mesh.reset();
    EXPECT_EQ(alive.expired(), !keeps);
  }
}

TEST(MeshSearchTree, SurvivesBadNumbers)
{
  const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  for (const double value : {nan, infinity, -infinity, 1e300, 1e-300}) {
    SCOPED_TRACE(value);
    const V3 bad(value, 0, 1);
    Mesh mesh = Testing::hills(6, 6), broken(mesh);
    broken.getVertexRef(11)[1] = value;
    const MeshSearchTree sound(mesh, 3, 30), tree(broken, 3, 30);
    XiEtaPoint place, other;
    Point3N point;
    double distance = 0;
    Places places;
    std::vector<MeshSearchTree::TriangleIntersectionResult> pairs;
    sound.selectClosest(bad, place);
    tree.selectClosest(V3(3, 3, 3), other);
    EXPECT_LT(std::max(place.getElementIdx(), other.getElementIdx()), mesh.numberOfTriangles());
    sound.raySelectFirst(bad, V3(0, 0, 1), place, point, distance);
    sound.lineSelectAll(V3(1, 1, 1), bad, places);
    EXPECT_EQ(sound.lineSelectAll(V3(1, 1, 1), V3(), places), 0U);
    sound.sphereSelectAll(bad, value, places);
    EXPECT_EQ(sound.sphereSelectFirst(mesh.getVertexRef(3), value, place), !std::isnan(value));
    tree.getMeshIntersections(sound, pairs);
    tree.raySelectFirst(V3(3.2, 3.1, 9), V3(0, 0, -1), place, point, distance);
  }
}

TEST(MeshSearchTree, ServesTheFlatFunctions)
{
  const auto four = std::make_shared<Mesh>(Testing::tetrahedron()), field = std::make_shared<Mesh>(Testing::grid(3, 1));
  field->move(V3(10, 0, 0));
  const MeshSearchTree tree(std::vector<std::shared_ptr<Mesh>>{four, field}, true, 2, 30);
  const double above[3] = {12.75, 0.25, 2}, down[3] = {0, 0, -3}, sideways[3] = {0, 1, 0};
  double position[3] = {}, normal[3] = {};
  unsigned place[2] = {9, 9};
  EXPECT_EQ(aku_pr_getNearestGeoPoint(MeshSearchTree(), above, position, place, place + 1, normal), 0);
  EXPECT_EQ(aku_pr_projPointOnGeo(tree, above, sideways, 1e-6, position, place, place + 1, normal), 0);
  EXPECT_THAT(place, ElementsAre(9U, 9U));
  for (const bool projects : {false, true}) {
    EXPECT_TRUE(projects ? aku_pr_projPointOnGeo(tree, above, down, 1e-6, position, place, place + 1, normal)
                         : aku_pr_getNearestGeoPoint(tree, above, position, place, place + 1, normal));
    EXPECT_THAT(place, ElementsAre(1U, 4U));
    EXPECT_THAT(position, ElementsAre(12.75, 0.25, 0));
    EXPECT_THAT(normal, ElementsAre(0, 0, 1));
    place[0] = place[1] = 9;
  }
}

} // namespace
