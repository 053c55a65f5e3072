#include "geometry/BoundingVolumeHierarchy/ClosestPoints.h"
#include "geometry/BoundingVolumeHierarchy/Intersection.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

using Vector3 = Vector<double, 3>;

/// Edge values below this size say nothing by themselves: the line may run along the triangle.
constexpr double tinyEdgeValue = 1e-9;
/// Edge values of one sign count as 0 when they are this small against those of the other.
constexpr double tinyAgainstOther = 1e-6;
/// The sine between line and plane, at or below which the line runs along the plane.
constexpr double parallelSine = 1e-9;
/// Above this length the normal of a triangle has a direction to rely on.
constexpr double normalLimit = 1e-6;
/// How far a place along the plane may lie from the plane, in units of the normal.
constexpr double planeDistanceLimit = 1e-9;
/// Squared distance within which a place belongs to a triangle or an edge.
constexpr double sqrPlaceLimit = 1e-12;
/// Where a ray begins to count.
constexpr double rayStart = -1e-6;
constexpr double smallestNormal = std::numeric_limits<double>::min();

/// A triangle seen from the origin of a line, and the line's direction.
struct Seen
{
  Corners corners;
  Vector3 direction;

  const Vector3& at(unsigned corner) const { return corners.points[corner]; }
  Vector3 normal() const { return (at(1) - at(0)).cross(at(2) - at(0)); }
  /// The parameter of a place projected on the line.
  double parameterOf(const Vector3& place) const { return place.dot(direction) / direction.sqrLength(); }
};

/// The hit: where on the line and where in the triangle.
struct Hit
{
  double parameter;
  TrianglePlace place;
};

Seen seenFrom(const Triangle& triangle, const Vector3& origin, const Vector3& direction)
{
  const Corners corners(triangle);
  return {Corners(corners.points[0] - origin, corners.points[1] - origin, corners.points[2] - origin), direction};
}

/// On which side of the line through p and q the direction passes. Sum and difference make the value exactly the
/// negative when p and q are swapped, so that two triangles at an edge never both see the line beyond it.
double edgeValue(const Vector3& p, const Vector3& q, const Vector3& direction)
{
  return direction.dot((p + q).cross(p - q));
}

/// A line that lies in the plane with the unit normal: where it runs through the triangle nearest to its origin.
bool intersectInPlane(const Seen& seen, const Vector3& normal, Hit& hit)
{
  Vector3 across = seen.direction.cross(normal);
  if (!across.normalize(1e-12)) return false;
  double sides[3];
  for (unsigned corner = 0; corner < 3; ++corner)
    sides[corner] = across.dot(seen.at(corner));
  if (std::min({sides[0], sides[1], sides[2]}) > 0.0 || std::max({sides[0], sides[1], sides[2]}) < 0.0) return false;

  double found[2] = {0.0, 0.0};
  unsigned count = 0;
  const auto add = [&](const Vector3& place) {
    if (count < 2) found[count++] = seen.parameterOf(place);
  };
  for (unsigned corner = 0; corner < 3; ++corner)
    if (sides[corner] == 0.0) add(seen.at(corner));
  for (unsigned corner = 0; corner < 3; ++corner) {
    const unsigned next = (corner + 1) % 3;
    if (sides[corner] * sides[next] < 0.0)
      add(seen.at(corner).linearInterpolation(sides[corner] / (sides[corner] - sides[next]), seen.at(next)));
  }
  if (count == 0) return false;
  if (count == 1) found[1] = found[0];

  const double parameter =
      found[0] * found[1] < 0.0 ? 0.0 : (std::abs(found[1]) < std::abs(found[0]) ? found[1] : found[0]);
  const Vector3 place = seen.direction * parameter;
  if (std::abs(normal.dot(place - seen.at(0))) > normal.length() * planeDistanceLimit) return false;
  hit = {parameter, seen.corners.nearestTo(place)};
  return !((place - seen.corners.at(hit.place)).sqrLength() > sqrPlaceLimit);
}

/// Where the line meets an edge, if it does: the parameter on the edge.
bool intersectEdge(const Seen& seen, const Vector3& normal, unsigned corner, double& t)
{
  const SegmentEnds<3> edge = seen.corners.edge(corner);
  const Vector3 across = seen.direction.cross(normal);
  const double start = across.dot(edge.start);
  const double end = across.dot(edge.end);
  if (start == end || start * end > 0.0) return false;
  t = start / (start - end);
  const Vector3 place = edge.at(t);
  return (place - seen.direction * seen.parameterOf(place)).sqrLength() <= sqrPlaceLimit;
}

/// A line along the plane with the unit normal: where it meets the edges.
bool intersectEdges(const Seen& seen, const Vector3& normal, Hit& hit)
{
  if (normal.sqrLength() < 0.5) return false;
  double lowest = std::numeric_limits<double>::max();
  double highest = std::numeric_limits<double>::lowest();
  hit.parameter = std::numeric_limits<double>::max();
  for (unsigned corner = 0; corner < 3; ++corner) {
    double t = 0.0;
    if (!intersectEdge(seen, normal, corner, t)) continue;
    const double parameter = seen.parameterOf(seen.corners.edge(corner).at(t));
    lowest = std::min(lowest, parameter);
    highest = std::max(highest, parameter);
    if (std::abs(parameter) < std::abs(hit.parameter)) hit = {parameter, placeOnEdge(corner, t)};
  }
  if (lowest > highest) return false;
  if (lowest <= 0.0 && highest >= 0.0) hit = {0.0, seen.corners.nearestTo(Vector3())};
  return true;
}

/// What a line along the plane of a triangle comes to.
enum class Along
{
  Hit,
  Missed,
  Unclear
};

Along intersectAlong(const Seen& seen, Vector3 normal, double length, bool hasValues, Hit& hit)
{
  if (length > normalLimit) normal /= length;
  if (intersectInPlane(seen, normal, hit) || intersectEdges(seen, normal, hit)) return Along::Hit;
  return hasValues ? Along::Unclear : Along::Missed;
}

/// The line against the triangle, any parameter accepted.
bool intersectLine(const Seen& seen, Hit& hit)
{
  // By corner: each value belongs to the edge across from it.
  double values[3] = {edgeValue(seen.at(1), seen.at(2), seen.direction),
                      edgeValue(seen.at(2), seen.at(0), seen.direction),
                      edgeValue(seen.at(0), seen.at(1), seen.direction)};
  const double low = std::min({values[0], values[1], values[2]});
  const double high = std::max({values[0], values[1], values[2]});
  if (std::abs(low) < tinyEdgeValue && std::abs(high) < tinyEdgeValue) {
    const Vector3 normal = seen.normal();
    const double length = normal.length();
    const bool hasValues = !(std::abs(low) < smallestNormal && std::abs(high) < smallestNormal);
    if (std::abs(normal.dot(seen.direction)) <= length * parallelSine || !hasValues) {
      const Along along = intersectAlong(seen, normal, length, hasValues, hit);
      if (along != Along::Unclear) return along == Along::Hit;
    }
    if (low < 0.0 && high > 0.0) return false;
  } else if (low < 0.0 && low > -tinyEdgeValue && high * tinyAgainstOther > -low) {
    for (double& value : values)
      value = std::max(value, 0.0);
  } else if (high > 0.0 && high < tinyEdgeValue && -high > low * tinyAgainstOther) {
    for (double& value : values)
      value = std::min(value, 0.0);
  } else if (low < 0.0 && high > 0.0) {
    return false;
  }

  const Vector3 normal = seen.normal();
  const double slope = normal.dot(seen.direction);
  if (slope == 0.0) return false;
  const double sum = values[0] + values[1] + values[2];
  const bool hasPlace = !(std::abs(sum) < smallestNormal);
  hit = {seen.at(0).dot(normal) / slope, {hasPlace ? values[1] / sum : 0.0, hasPlace ? values[2] / sum : 0.0}};
  return true;
}

bool take(const Hit& hit, LineTriangleResult& result)
{
  result.intersected = true;
  result.parameter = hit.parameter;
  result.xi = hit.place.xi;
  result.eta = hit.place.eta;
  return true;
}

} // namespace

bool intersect(const Ray& query, const Triangle& element, IntersectionQueryResult<Ray, Triangle>& result)
{
  Hit hit;
  const Seen seen = seenFrom(element, query.origin, query.direction);
  return intersectLine(seen, hit) && !(hit.parameter < rayStart) && take(hit, result);
}

bool intersect(const Line& query, const Triangle& element, IntersectionQueryResult<Line, Triangle>& result)
{
  Hit hit;
  return intersectLine(seenFrom(element, query.origin, query.direction), hit) && take(hit, result);
}

} // namespace Kavrel::BoundingVolumeHierarchy
