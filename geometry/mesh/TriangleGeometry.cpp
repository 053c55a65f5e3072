#include "geometry/Point3N.h"
#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/NearestOnTriangle.h"
#include "geometry/mesh/Triangle.h"

namespace Kavrel {

namespace {

using Vector3 = Vector<double, 3>;

constexpr double normalEps = 1e-12; // strictly below: no direction

/// The two edges that leave corner 0.
struct EdgePair
{
  explicit EdgePair(const Triangle& triangle)
      : e1(triangle.getVertexRef(1) - triangle.getVertexRef(0)), e2(triangle.getVertexRef(2) - triangle.getVertexRef(0))
  {}

  Vector3 e1;
  Vector3 e2;
};

Vector3 unitOrZero(Vector3 v) { return v.normalize(normalEps) ? v : Vector3(); }

void setPlace(XiEtaPoint& place, double xi, double eta, unsigned triangleIndex)
{
  place.setXi(xi).setEta(eta);
  place.setElementIdx(triangleIndex);
}

} // namespace

double Triangle::getArea() const
{
  const EdgePair edges(*this);
  return 0.5 * edges.e1.cross(edges.e2).length();
}

Vector3 Triangle::getNormal() const
{
  const EdgePair edges(*this);
  return unitOrZero(edges.e1.cross(edges.e2));
}

bool Triangle::getNormalAndArea(Vector3& normal, double& area) const
{
  const EdgePair edges(*this);
  const Vector3 across = edges.e1.cross(edges.e2);
  const double length = across.length();
  if (!(length >= normalEps)) return false;
  normal = across / length;
  area = 0.5 * length;
  return true;
}

Point<double, 3> Triangle::getCenter() const
{
  const Vector3 sum = *vertices[0] + *vertices[1] + *vertices[2];
  return Point<double, 3>(sum * 0.3333333333333333);
}

Point<double, 3> Triangle::getPoint(const XiEtaPoint& place) const
{
  return Point<double, 3>(pointOnTriangle(*vertices[0], *vertices[1], *vertices[2], {place.getXi(), place.getEta()}));
}

void Triangle::getGlobalPointFromXiEtaPoint(Point<double, 3>& point, const XiEtaPoint& place) const
{
  point = getPoint(place);
}

Vector3 Triangle::getNormal(const XiEtaPoint& place) const
{
  if (!vertices[0]->hasNormal() && !vertices[1]->hasNormal() && !vertices[2]->hasNormal()) return getNormal();
  const double xi = place.getXi();
  const double eta = place.getEta();
  return unitOrZero((1 - xi - eta) * vertices[0]->getNormal() + xi * vertices[1]->getNormal() +
                    eta * vertices[2]->getNormal());
}

Point3N Triangle::getPointAndNormal(const XiEtaPoint& place) const
{
  return Point3N(getPoint(place), getNormal(place));
}

Vector3 Triangle::getInterpolatedVertexNormal() const
{
  if (!vertices[0]->hasNormal() || !vertices[1]->hasNormal() || !vertices[2]->hasNormal()) return getNormal();
  return unitOrZero(vertices[0]->getNormal() + vertices[1]->getNormal() + vertices[2]->getNormal());
}

double Triangle::distanceToTrianglePlane(const Point<double, 3>& point) const
{
  return (point - *vertices[0]).dot(getNormal());
}

double Triangle::getPointSqrDistance(const Point<double, 3>& point) const
{
  return (point - getPoint(getNearestPointXiEta(point))).sqrLength();
}

double Triangle::getPointDistance(const Point<double, 3>& point) const { return std::sqrt(getPointSqrDistance(point)); }

Point3N Triangle::getNearestPoint(const Point<double, 3>& point) const
{
  return getPointAndNormal(getNearestPointXiEta(point));
}

XiEtaPoint Triangle::getNearestPointXiEta(const Point<double, 3>& point) const
{
  const TrianglePlace nearest = nearestOnTriangle(*vertices[0], *vertices[1], *vertices[2], point);
  XiEtaPoint place(nearest.xi, nearest.eta);
  place.setElementIdx(index);
  return place;
}

void Triangle::getXiEtaPointFromGlobalPoint(XiEtaPoint& place, const Point<double, 3>& point) const
{
  place = getNearestPointXiEta(point);
}

void Triangle::getXiEtaOfProjection(XiEtaPoint& place, const Point<double, 3>& point) const
{
  const EdgePair edges(*this);
  const Vector3 from0 = point - *vertices[0];
  const double a = edges.e1.dot(edges.e1);
  const double b = edges.e1.dot(edges.e2);
  const double c = edges.e2.dot(edges.e2);
  const double s = from0.dot(edges.e1);
  const double t = from0.dot(edges.e2);
  const double eta = (t * a - s * b) / (c * a - b * b);
  setPlace(place, (s - b * eta) / a, eta, index);
}

// The line against the triangle by two determinants. (Möller, Trumbore, Fast, Minimum Storage Ray/Triangle
// Intersection, 1997)
int Triangle::computeIntersection(const Point<double, 3>& origin, const Vector3& direction, XiEtaPoint& place) const
{
  const EdgePair edges(*this);
  const Vector3 q = direction.cross(edges.e2);
  const double det = edges.e1.dot(q);
  if (det == 0) return 0;
  const Vector3 s = origin - *vertices[0];
  const double xi = s.dot(q) / det;
  const double eta = direction.dot(s.cross(edges.e1)) / det;
  setPlace(place, xi, eta, index);
  return xi >= 0 && eta >= 0 && xi + eta <= 1 ? 2 : 1;
}

int Triangle::computeIntersection(const Point<double, 3>& point, double tolerance, XiEtaPoint& place) const
{
  place = getNearestPointXiEta(point);
  if ((point - getPoint(place)).sqrLength() <= tolerance * tolerance) return 2;
  return std::abs(distanceToTrianglePlane(point)) <= tolerance ? 1 : 0;
}

int Triangle::calcRectProjBarycentricCoord(const Point<double, 3>& point, double tolerance) const
{
  Vector3 normal;
  double area = 0;
  if (!getNormalAndArea(normal, area)) return 0;

  const Vector3 a = *vertices[0] - point;
  const Vector3 b = *vertices[1] - point;
  const Vector3 c = *vertices[2] - point;
  const double area0 = 0.5 * normal.dot(b.cross(c));
  const double area1 = 0.5 * normal.dot(c.cross(a));
  const double area2 = area - area0 - area1;

  // Each mask leaves out the bit of its corner, so that two of them leave the bit of the third corner.
  constexpr int allBits = 7;
  int mask = allBits;
  if (area0 / area < -tolerance) mask &= 6;
  if (area1 / area < -tolerance) mask &= 5;
  if (area2 / area < -tolerance) mask &= 3;
  return mask == allBits ? 1 : -mask;
}

bool Triangle::isPointInside(const Point<double, 3>& point, double tolerance) const
{
  return calcRectProjBarycentricCoord(point, tolerance) == 1;
}

} // namespace Kavrel
