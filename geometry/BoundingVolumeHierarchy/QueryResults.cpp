#include "geometry/BoundingVolumeHierarchy/QueryResults.h"

#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/Triangle.h"

#include <algorithm>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

void setNormal(Point3N& point, const Triangle& triangle, double xi, double eta)
{
  point.setNormal(triangle.getNormal(XiEtaPoint(xi, eta)));
}

void moveIntoTriangle(LineTriangleResult& result)
{
  result.xi = std::max(result.xi, 0.0);
  result.eta = std::max(result.eta, 0.0);
  const double sum = result.xi + result.eta;
  if (!(sum > 1.0)) return;
  result.xi /= sum;
  result.eta /= sum;
}

template <class LineType>
void evaluate(LineTriangleResult& result, const LineType& line, const Triangle& triangle)
{
  result.point = triangle.getPointAndNormal(XiEtaPoint(result.xi, result.eta));
  result.parameter = (result.point - line.origin).dot(line.direction);
}

} // namespace

void DistanceQueryResult<Vector<double, 3>, Triangle>::post(const Vector<double, 3>&, const Triangle& element)
{
  setNormal(point, element, xi, eta);
}

void DistanceQueryResult<Triangle, Triangle>::post(const Triangle& query, const Triangle& element)
{
  setNormal(firstPoint, query, firstXi, firstEta);
  setNormal(secondPoint, element, secondXi, secondEta);
}

void IntersectionQueryResult<Ray, Triangle>::post(const Ray& query, const Triangle& element)
{
  moveIntoTriangle(*this);
  evaluate(*this, query, element);
}

void IntersectionQueryResult<Line, Triangle>::post(const Line& query, const Triangle& element)
{
  moveIntoTriangle(*this);
  evaluate(*this, query, element);
}

void IntersectionQueryResult<LegacyLine, Triangle>::post(const LegacyLine& query, const Triangle& element)
{
  evaluate(*this, query, element);
}

} // namespace Kavrel::BoundingVolumeHierarchy
