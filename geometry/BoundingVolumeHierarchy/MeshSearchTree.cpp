#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"

#include "geometry/BoundingVolumeHierarchy/ElementIds.h"
#include "geometry/BoundingVolumeHierarchy/Queries.h"
#include "geometry/BoundingVolumeHierarchy/SegmentPoint.h"
#include "geometry/PolyLine.h"
#include "geometry/mesh/Mesh.h"

#include <algorithm>
#include <cmath>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

using Hierarchy = MeshSearchTree::Hierarchy;
using Position = Vector<double, 3>;
using NearestResult = DistanceQueryResult<Position, Triangle>;

constexpr double largest = std::numeric_limits<double>::max();
constexpr double shortestDirection = 1e-12; // below it a direction is none

template <class MeshPointer>
std::vector<std::size_t> runningSizes(const std::vector<MeshPointer>& list)
{
  std::vector<std::size_t> sizes;
  sizes.reserve(list.size());
  std::size_t sum = 0;
  for (const auto& mesh : list)
    sizes.push_back(sum += mesh ? mesh->numberOfTriangles() : 0);
  return sizes;
}

/// xi, eta and the id; zeros where nothing was found.
template <class Result>
XiEtaPoint placeOf(const Hierarchy& bvh, const Result& result, bool found)
{
  XiEtaPoint place(result.xi, result.eta);
  place.setElementIdx(found ? bvh.getElementId(result.secondIndex) : 0);
  return place;
}

/// The nearest triangle, with the normal there.
NearestResult nearestTriangle(const Hierarchy& bvh, const Position& point)
{
  NearestResult result;
  closest(bvh, point, result);
  if (result.found) result.post(point, bvh.getElement(result.secondIndex));
  return result;
}

NearestResult nearestTriangleWithin(const Hierarchy& bvh, const Position& point, double radius)
{
  NearestResult result;
  closestWithin(bvh, point, radius * radius, result);
  if (result.found) result.post(point, bvh.getElement(result.secondIndex));
  return result;
}

/// The first triangle that a line meets, with point and normal. `Query` is made from origin, unit direction and what
/// else it takes. A direction too short to be one meets nothing.
template <class Query, class... More>
IntersectionQueryResult<Query, Triangle> firstTriangle(const Hierarchy& bvh, const Position& origin, Position direction,
                                                       const More&... more)
{
  IntersectionQueryResult<Query, Triangle> result;
  if (!direction.normalize(shortestDirection)) return result;
  const Query query(origin, direction, more...);
  firstHit(bvh, query, result);
  if (result.intersected) result.post(query, bvh.getElement(result.secondIndex));
  return result;
}

template <class Query>
std::size_t allTriangles(const Hierarchy& bvh, const Position& origin, Position direction, std::vector<XiEtaPoint>& out)
{
  out.clear();
  if (!direction.normalize(shortestDirection)) return 0;
  using Result = IntersectionQueryResult<Query, Triangle>;
  const Query query(origin, direction);
  allHits<Result>(bvh, query, [&](Result result) {
    result.post(query, bvh.getElement(result.secondIndex));
    out.push_back(placeOf(bvh, result, true));
  });
  return out.size();
}

template <class Result>
bool report(const Hierarchy& bvh, const Result& found, XiEtaPoint& xiEta, Point3N& out, double& distance)
{
  xiEta = placeOf(bvh, found, found.intersected);
  out = found.point;
  distance = found.intersected ? std::abs(found.parameter) : largest;
  return found.intersected;
}

template <class Result>
MeshSearchTree::RayIntersectionResult rayResult(const Hierarchy& bvh, const Result& found)
{
  MeshSearchTree::RayIntersectionResult result;
  if (!found.intersected) return result;
  result.hit = true;
  result.triangle = static_cast<int>(bvh.getElementId(found.secondIndex));
  result.position = placeOf(bvh, found, true);
  result.parameter = found.parameter;
  result.point = found.point;
  return result;
}

void copyTo(double out[3], const Position& values) { std::copy(values.data(), values.data() + 3, out); }

int reportPlace(const MeshSearchTree& tree, XiEtaPoint place, const Point3N& point, double position[3],
                unsigned* meshIndex, unsigned* triangle, double normal[3])
{
  copyTo(position, point);
  copyTo(normal, point.getNormal());
  *meshIndex = static_cast<unsigned>(tree.correctElementIndexForMultipleMeshesAndGetMeshIdx(place));
  *triangle = place.getElementIdx();
  return 1;
}

} // namespace

// Construction -------------------------------------------------------------------------------------------------------

MeshSearchTree::MeshSearchTree() : bvh(std::make_shared<const Hierarchy>()) {}

MeshSearchTree::MeshSearchTree(const Mesh& mesh, unsigned maxLeafSize, unsigned maxDepth)
    : cumulatedSizes{mesh.numberOfTriangles()}, bvh(std::make_shared<const Hierarchy>(mesh, maxLeafSize, maxDepth))
{}

MeshSearchTree::MeshSearchTree(const std::shared_ptr<const Mesh>& mesh, bool keep, unsigned maxLeafSize,
                               unsigned maxDepth)
    : MeshSearchTree(mesh ? MeshSearchTree(*mesh, maxLeafSize, maxDepth) : MeshSearchTree())
{
  if (keep) meshes.push_back(mesh);
}

MeshSearchTree::MeshSearchTree(const std::vector<const Mesh*>& list, unsigned maxLeafSize, unsigned maxDepth)
    : cumulatedSizes(runningSizes(list)), bvh(std::make_shared<const Hierarchy>(list, maxLeafSize, maxDepth))
{}

MeshSearchTree::MeshSearchTree(const std::vector<std::shared_ptr<const Mesh>>& list, bool keep, unsigned maxLeafSize,
                               unsigned maxDepth)
    : cumulatedSizes(runningSizes(list)), bvh(std::make_shared<const Hierarchy>(list, maxLeafSize, maxDepth))
{
  if (keep) meshes = list;
}

MeshSearchTree::MeshSearchTree(const std::vector<std::shared_ptr<Mesh>>& list, bool keep, unsigned maxLeafSize,
                               unsigned maxDepth)
    : MeshSearchTree(std::vector<std::shared_ptr<const Mesh>>(list.begin(), list.end()), keep, maxLeafSize, maxDepth)
{}

bool MeshSearchTree::empty() const { return bvh->empty(); }

BoundingBox<double, 3> MeshSearchTree::getBoundingBox() const
{
  if (empty()) return {};
  const auto& volume = bvh->getRoot().volume;
  Point<double, 3> low, high;
  for (unsigned i = 0; i < 3; ++i) {
    low[i] = static_cast<double>(volume.min[i]);
    high[i] = static_cast<double>(volume.max[i]);
  }
  return {low, high};
}

std::size_t MeshSearchTree::estimateBytes() const
{
  // In words: two for each shared pointer and one for each size, and the tree itself.
  return bvh->estimateBytes() + 8 * (2 * meshes.capacity() + cumulatedSizes.capacity() + 8);
}

std::size_t MeshSearchTree::correctElementIndexForMultipleMeshesAndGetMeshIdx(XiEtaPoint& xiEta) const
{
  const auto entry = std::upper_bound(cumulatedSizes.begin(), cumulatedSizes.end(), xiEta.getElementIdx());
  if (entry == cumulatedSizes.end()) return static_cast<std::size_t>(-1);
  if (entry != cumulatedSizes.begin())
    xiEta.setElementIdx(xiEta.getElementIdx() - static_cast<std::uint32_t>(*(entry - 1)));
  return static_cast<std::size_t>(entry - cumulatedSizes.begin());
}

std::shared_ptr<const Mesh> MeshSearchTree::correctElementIndexForMultipleMeshes(XiEtaPoint& xiEta) const
{
  const std::size_t k = correctElementIndexForMultipleMeshesAndGetMeshIdx(xiEta);
  return k < meshes.size() ? meshes[k] : nullptr;
}

// Nearest point ------------------------------------------------------------------------------------------------------

bool MeshSearchTree::selectClosest(const Position& point, XiEtaPoint& out) const
{
  NearestResult result;
  closest(*bvh, point, result);
  out = placeOf(*bvh, result, result.found);
  return result.found;
}

int MeshSearchTree::getNearestTriangle(const Position& point) const
{
  XiEtaPoint place;
  return selectClosest(point, place) ? static_cast<int>(place.getElementIdx()) : -1;
}

bool MeshSearchTree::getNearestPoint(const Position& point, Point3N& out) const
{
  const NearestResult result = nearestTriangle(*bvh, point);
  out = result.point;
  return result.found;
}

bool MeshSearchTree::getNearestPoint(const Position& point, Point3N& out, XiEtaPoint& xiEta) const
{
  const NearestResult result = nearestTriangle(*bvh, point);
  out = result.point;
  xiEta = placeOf(*bvh, result, result.found);
  return result.found;
}

double MeshSearchTree::calcMinSquareDistance(const Position& point) const
{
  NearestResult result;
  closest(*bvh, point, result);
  return result.squareDistance;
}

double MeshSearchTree::calcMinSquareDistanceFromVertices(const std::shared_ptr<const Mesh>& mesh) const
{
  double nearest = largest;
  if (!mesh) return nearest;
  for (const Vertex& vertex : mesh->getVertexCollection())
    nearest = std::min(nearest, calcMinSquareDistance(vertex));
  return nearest;
}

double MeshSearchTree::calcMaxSquareDistanceFromVertices(const std::shared_ptr<const Mesh>& mesh) const
{
  double farthest = 0;
  if (!mesh) return farthest;
  for (const Vertex& vertex : mesh->getVertexCollection())
    farthest = std::max(farthest, calcMinSquareDistance(vertex));
  return farthest;
}

double MeshSearchTree::calcMinDistanceToPlane(const Plane<double, 3>& plane) const
{
  DistanceQueryResult<Plane<double, 3>, Triangle> result;
  closest(*bvh, plane, result);
  return result.distance;
}

// Within a radius ----------------------------------------------------------------------------------------------------

bool MeshSearchTree::sphereSelectFirst(const Position& point, double radius, Point3N& out) const
{
  const NearestResult result = nearestTriangleWithin(*bvh, point, radius);
  out = result.point;
  return result.found;
}

bool MeshSearchTree::sphereSelectFirst(const Position& point, double radius, XiEtaPoint& out) const
{
  const NearestResult result = nearestTriangleWithin(*bvh, point, radius);
  out = placeOf(*bvh, result, result.found);
  return result.found;
}

std::size_t MeshSearchTree::sphereSelectAll(const Position& point, double radius, std::vector<XiEtaPoint>& out) const
{
  out.clear();
  withinRadius<NearestResult>(*bvh, point, radius * radius,
                              [&](const NearestResult& result) { out.push_back(placeOf(*bvh, result, true)); });
  return out.size();
}

bool MeshSearchTree::planeSelectAll(const Plane<double, 3>& plane, double radius, std::vector<int>& out) const
{
  using Result = DistanceQueryResult<Plane<double, 3>, Triangle>;
  out.clear();
  withinRadius<Result>(*bvh, plane, radius * radius,
                       [&out](const Result& result) { out.push_back(static_cast<int>(result.secondIndex)); });
  turnIntoIds(*bvh, out);
  return !out.empty();
}

// Planes and boxes ---------------------------------------------------------------------------------------------------

bool MeshSearchTree::planeIntersections(const Plane<double, 3>& plane, std::vector<int>& out) const
{
  using Result = IntersectionQueryResult<Plane<double, 3>, Triangle>;
  out.clear();
  allHits<Result>(*bvh, plane, [&out](const Result& result) { out.push_back(static_cast<int>(result.secondIndex)); });
  turnIntoIds(*bvh, out);
  return !out.empty();
}

bool MeshSearchTree::collectLeafs(const Position& low, const Position& high, std::vector<int>& out) const
{
  out.clear();
  BoundingVolumeHierarchy::collectLeafs(*bvh, AxisAlignedBox<double, 3>(low, high), out);
  turnIntoIds(*bvh, out);
  return !out.empty();
}

// Lines and rays -----------------------------------------------------------------------------------------------------

bool MeshSearchTree::lineSelectFirst(const Position& origin, const Position& direction,
                                     RayIntersectionResult& result) const
{
  result = rayResult(*bvh, firstTriangle<Line>(*bvh, origin, direction));
  return result.hit;
}

bool MeshSearchTree::lineSelectFirst(const Position& origin, const Position& direction, XiEtaPoint& xiEta, Point3N& out,
                                     double& distance) const
{
  return report(*bvh, firstTriangle<Line>(*bvh, origin, direction), xiEta, out, distance);
}

bool MeshSearchTree::lineSelectFirstLegacy(const Position& origin, const Position& direction, double tolerance,
                                           RayIntersectionResult& result) const
{
  result = rayResult(*bvh, firstTriangle<LegacyLine>(*bvh, origin, direction, tolerance));
  return result.hit;
}

bool MeshSearchTree::lineSelectFirstZ(const Position& origin, RayIntersectionResult& result) const
{
  const Line vertical(origin, Position(0, 0, 1));
  IntersectionQueryResult<Line, Triangle> found;
  double best = largest;
  visitNearestFirst(
      *bvh, VerticalGapOfChildren(origin), [&best](double gap) { return gap > best; },
      FirstHitLeaf(*bvh, vertical, found, best));
  if (found.intersected) found.post(vertical, bvh->getElement(found.secondIndex));
  result = rayResult(*bvh, found);
  return result.hit;
}

std::size_t MeshSearchTree::lineSelectAll(const Position& origin, const Position& direction,
                                          std::vector<XiEtaPoint>& out) const
{
  return allTriangles<Line>(*bvh, origin, direction, out);
}

bool MeshSearchTree::raySelectFirst(const Position& origin, const Position& direction, XiEtaPoint& xiEta, Point3N& out,
                                    double& distance) const
{
  return report(*bvh, firstTriangle<Ray>(*bvh, origin, direction), xiEta, out, distance);
}

std::size_t MeshSearchTree::raySelectAll(const Position& origin, const Position& direction,
                                         std::vector<XiEtaPoint>& out) const
{
  return allTriangles<Ray>(*bvh, origin, direction, out);
}

// Two trees ----------------------------------------------------------------------------------------------------------

bool MeshSearchTree::getMeshIntersections(const MeshSearchTree& other,
                                          std::vector<TriangleIntersectionResult>& out) const
{
  out.clear();
  if (empty() || other.empty()) return false;
  using Result = IntersectionQueryResult<Triangle, Triangle>;
  crossingPairs(*bvh, *other.bvh, [&](const Result& result) {
    out.push_back({static_cast<int>(bvh->getElementId(result.firstIndex)),
                   static_cast<int>(other.bvh->getElementId(result.secondIndex)), result.start, result.end});
  });
  return !out.empty();
}

bool MeshSearchTree::getNearestPoints(const MeshSearchTree& other, Point3N& onThis, Point3N& onOther,
                                      double& squareDistance, double maxSquareDistance) const
{
  DistanceQueryResult<Triangle, Triangle> result;
  if (!empty() && !other.empty())
    searchWithin(maxSquareDistance, result, [&] { closestPair(*bvh, *other.bvh, result); });
  if (result.found) result.post(bvh->getElement(result.firstIndex), other.bvh->getElement(result.secondIndex));
  onThis = result.firstPoint;
  onOther = result.secondPoint;
  squareDistance = result.squareDistance;
  return result.found;
}

template <class P>
bool MeshSearchTree::getNearestPoints(const PolyLineSearchTree<P>& other, Point3N& onMesh, P& onPolyLine,
                                      double& squareDistance, double maxSquareDistance) const
{
  const auto& lines = other.getBvh();
  DistanceQueryResult<Segment<P>, Triangle> result;
  if (!empty() && !other.empty()) searchWithin(maxSquareDistance, result, [&] { closestPair(lines, *bvh, result); });
  if (result.found) {
    const Triangle& triangle = bvh->getElement(result.secondIndex);
    result.firstPoint = pointOn(lines.getElement(result.firstIndex), result.parameter);
    result.secondPoint.setNormal(triangle.getNormal(XiEtaPoint(result.xi, result.eta)));
  }
  onMesh = result.secondPoint;
  onPolyLine = result.firstPoint;
  squareDistance = result.squareDistance;
  return result.found;
}

std::vector<MeshSearchTree::RayIntersectionResult>
MeshSearchTree::mapTriangleCenters(const std::shared_ptr<const Mesh>& mesh) const
{
  std::vector<RayIntersectionResult> hits;
  if (!mesh) return hits;
  hits.reserve(mesh->numberOfTriangles());
  for (const Triangle& triangle : mesh->getTriangleCollection()) {
    const Position& a = triangle.getVertexRef(0);
    const Position normal = (triangle.getVertexRef(1) - a).cross(triangle.getVertexRef(2) - a);
    hits.push_back(rayResult(*bvh, firstTriangle<Line>(*bvh, triangle.getCenter(), normal)));
  }
  return hits;
}

template KVSHAPES_EXPORT bool MeshSearchTree::getNearestPoints(const PolyLineSearchTree<Point<double, 3>>&, Point3N&,
                                                               Point<double, 3>&, double&, double) const;
template KVSHAPES_EXPORT bool MeshSearchTree::getNearestPoints(const PolyLineSearchTree<Point3N>&, Point3N&, Point3N&,
                                                               double&, double) const;

// Flat functions -----------------------------------------------------------------------------------------------------

int aku_pr_getNearestGeoPoint(const MeshSearchTree& tree, const double point[3], double position[3],
                              unsigned* meshIndex, unsigned* triangle, double normal[3])
{
  Point3N nearest;
  XiEtaPoint place;
  if (!tree.getNearestPoint(Position(point[0], point[1], point[2]), nearest, place)) return 0;
  return reportPlace(tree, place, nearest, position, meshIndex, triangle, normal);
}

int aku_pr_projPointOnGeo(const MeshSearchTree& tree, const double origin[3], const double direction[3],
                          double tolerance, double position[3], unsigned* meshIndex, unsigned* triangle,
                          double normal[3])
{
  MeshSearchTree::RayIntersectionResult hit;
  if (!tree.lineSelectFirstLegacy(Position(origin[0], origin[1], origin[2]),
                                  Position(direction[0], direction[1], direction[2]), tolerance, hit))
    return 0;
  return reportPlace(tree, hit.position, hit.point, position, meshIndex, triangle, normal);
}

} // namespace Kavrel::BoundingVolumeHierarchy
