#include "platform/kvcadcore/FacetProjection.h"

#include "platform/kvmath/Vector.h"

#include <algorithm>
#include <cmath>

namespace Kavrel {

namespace {

using Vector3 = Vector<double, 3>;

/// The sine between direction and facet, at or below which the direction runs along it.
constexpr double parallelSine = 1e-12;

Vector3 toVector(const double* values) { return Vector3(values[0], values[1], values[2]); }

double sqrDistanceToEdge(const Vector3& point, const Vector3& start, const Vector3& span)
{
  const double t = std::clamp((point - start).dot(span) / span.sqrLength(), 0.0, 1.0);
  return (point - (start + t * span)).sqrLength();
}

} // namespace

int sn_pr_projPointOnFacet2(const double corners[3][3], const double origin[3], const double direction[3],
                            double tolerance, double* xi, double* eta)
{
  const Vector3 a = toVector(corners[0]);
  const Vector3 e1 = toVector(corners[1]) - a;
  const Vector3 e2 = toVector(corners[2]) - a;
  const Vector3 start = toVector(origin);
  const Vector3 along = toVector(direction);
  const Vector3 normal = e1.cross(e2);
  const double slope = normal.dot(along);
  if (!(std::abs(slope) > parallelSine * normal.length() * along.length())) return 0;

  // Every part of the foot is measured from the first corner, so that its place keeps its digits far from the origin.
  const Vector3 foot = (start - a) - normal.dot(start - a) / slope * along;
  const double area = normal.sqrLength();
  const double u = foot.cross(e2).dot(normal) / area;
  const double v = e1.cross(foot).dot(normal) / area;
  if (!(u >= 0.0 && v >= 0.0 && u + v <= 1.0)) {
    const double sqrDistance = std::min({sqrDistanceToEdge(foot, Vector3(), e1), sqrDistanceToEdge(foot, Vector3(), e2),
                                         sqrDistanceToEdge(foot, e1, e2 - e1)});
    if (!(sqrDistance <= tolerance * tolerance)) return 0;
  }
  *xi = u;
  *eta = v;
  return 1;
}

} // namespace Kavrel
