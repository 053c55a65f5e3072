#include "geometry/BoundingBox.h"

#include "geometry/Plane.h"
#include "geometry/Ray.h"
#include "geometry/Segment.h"
#include "platform/kvarchive/Persistence.h"

#include <algorithm>
#include <array>

namespace Kavrel {

namespace {

constexpr double sideEps = 1e-12;         // widens the sides, in their parameter
constexpr double repeatedSqrDist = 1e-12; // strictly below: a repeat

template <class T, unsigned dim>
double sqrDistanceXY(const Point<T, dim>& a, const Point<T, dim>& b)
{
  const double x = static_cast<double>(a[0]) - static_cast<double>(b[0]);
  const double y = static_cast<double>(a[1]) - static_cast<double>(b[1]);
  return x * x + y * y;
}

template <class T, unsigned dim>
void removeRepeats(std::vector<Point<T, dim>>& hits)
{
  auto kept = hits.begin();
  for (const Point<T, dim>& hit : hits) {
    const bool repeated = std::any_of(
        hits.begin(), kept, [&hit](const Point<T, dim>& other) { return sqrDistanceXY(hit, other) < repeatedSqrDist; });
    if (!repeated) *kept++ = hit;
  }
  hits.erase(kept, hits.end());
}

} // namespace

template <class T, unsigned dim>
bool BoundingBox<T, dim>::compare(const BoundingBox& other, double eps) const
{
  return valid && other.valid && static_cast<double>(min.distance(other.min)) <= eps &&
         static_cast<double>(max.distance(other.max)) <= eps;
}

template <class T, unsigned dim>
void BoundingBox<T, dim>::mirror(const Plane<T, dim>& plane)
{
  plane.mirrorPoint(min);
  plane.mirrorPoint(max);
}

template <class T, unsigned dim>
template <class Accept>
bool BoundingBox<T, dim>::visitSideHitsXY(const Ray<Point<T, dim>>& ray, Accept accept) const
{
  if (!valid) return false;
  std::array<Point<T, dim>, 4> corners{min, min, min, min};
  corners[1][0] = corners[2][0] = max[0];
  corners[2][1] = corners[3][1] = max[1];
  const Point<T, dim>& start = *ray.getStartPoint();
  const Vector<T, dim>& direction = *ray.getDirection();
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const Segment<Point<T, dim>> side(&corners[i], &corners[(i + 1) % corners.size()]);
    Point<T, dim> hit;
    if (!ray.getIntersectionXY(&side, hit, sideEps, false)) continue;
    const bool ahead = (hit[0] - start[0]) * direction[0] >= T(0) && (hit[1] - start[1]) * direction[1] >= T(0);
    if (ahead && accept(hit)) return true;
  }
  return false;
}

template <class T, unsigned dim>
bool BoundingBox<T, dim>::calculateIntersectionXY(const Ray<Point<T, dim>>& ray, std::vector<Point<T, dim>>& hits) const
{
  if (!valid) return false;
  visitSideHitsXY(ray, [&hits](const Point<T, dim>& hit) {
    hits.push_back(hit);
    return false;
  });
  if (hits.size() >= 2) removeRepeats(hits);
  return !hits.empty();
}

template <class T, unsigned dim>
bool BoundingBox<T, dim>::checkIntersectionXY(const Ray<Point<T, dim>>& ray) const
{
  return visitSideHitsXY(ray, [](const Point<T, dim>&) { return true; });
}

template <class T, unsigned dim>
void BoundingBox<T, dim>::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveObject(archiver, min);
  Persistence::saveObject(archiver, max);
  archiver << valid;
}

template <class T, unsigned dim>
void BoundingBox<T, dim>::load(PersistenceArchiver& archiver, unsigned int version)
{
  constexpr unsigned int firstVersionWithFlag = 300001;
  Persistence::loadObject(archiver, min);
  Persistence::loadObject(archiver, max);
  valid = true;
  if (version >= firstVersionWithFlag) archiver >> valid;
}

KVSHAPES_PERSISTENT_KEY("BoundingBox2f", 500001, BoundingBox<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoundingBox3f", 500001, BoundingBox<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoundingBox2", 300001, BoundingBox<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoundingBox3", 300001, BoundingBox<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (BoundingBox<T, dim>))

#define KV_INSTANTIATE(...) template class BoundingBox<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
