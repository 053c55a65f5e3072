#include "geometry/BoundingBox.h"
#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/ShapecoreException.h"
#include "geometry/XiEtaPoint.h"
#include "geometry/mesh/Mesh.h"
#include "geometry/mesh/MeshAlgorithm.h"
#include "geometry/mesh/MeshConstraintsCalculator.h"
#include "geometry/mesh/MeshLazyValues.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <ostream>
#include <sstream>

namespace Kavrel {

namespace {

constexpr double curvedFrom = 0.1; // curvature per length unit; strictly above: curved

double sumOfAreas(const Mesh& mesh)
{
  double sum = 0;
  for (const Triangle& triangle : mesh.getTriangleCollection()) {
    const Vertex& p0 = triangle.getVertexRef(0);
    sum += (triangle.getVertexRef(1) - p0).cross(triangle.getVertexRef(2) - p0).length();
  }
  return 0.5 * sum;
}

bool isCurved(const Triangle& triangle)
{
  Vector<double, 3> direction1, direction2;
  double curvature1 = 0, curvature2 = 0, directionCosine = 0;
  triangle.getCurvature(direction1, curvature1, direction2, curvature2, directionCosine);
  return std::max(std::abs(curvature1), std::abs(curvature2)) > curvedFrom;
}

double sumOfCurvedAreas(const Mesh& mesh)
{
  double sum = 0;
  for (const Triangle& triangle : mesh.getTriangleCollection())
    if (isCurved(triangle)) sum += triangle.getArea();
  return sum;
}

} // namespace

void Mesh::clearCachedData()
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  lazy->values.areaValid = false;
  lazy->values.areaWeightedNormalValid = false;
  lazy->values.centerOfGravityValid = false;
  lazy->values.curvedAreaValid = false;
  lazy->values.hashDirty = true;
}

double Mesh::getArea() const
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  MeshLazyValues::Values& values = lazy->values;
  if (!values.areaValid) {
    values.area = sumOfAreas(*this);
    values.areaValid = true;
  }
  return values.area;
}

double Mesh::getCurvedArea() const
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  MeshLazyValues::Values& values = lazy->values;
  if (!values.curvedAreaValid) {
    values.curvedArea = sumOfCurvedAreas(*this);
    values.curvedAreaValid = true;
  }
  return values.curvedArea;
}

Vector<double, 3> Mesh::getAreaWeightedNormal() const
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  MeshLazyValues::Values& values = lazy->values;
  if (!values.areaWeightedNormalValid) {
    values.areaWeightedNormal = MeshAlgorithm::calculateAreaWeightedNormal(*this);
    values.areaWeightedNormalValid = true;
  }
  return values.areaWeightedNormal;
}

Vector<double, 3> Mesh::getAverageNormal() const
{
  Vector<double, 3> normal = getAreaWeightedNormal();
  normal.normalize(1e-12);
  return normal;
}

const Point<double, 3>& Mesh::getCenterOfGravity() const
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  MeshLazyValues::Values& values = lazy->values;
  if (!values.centerOfGravityValid) {
    values.centerOfGravity = MeshAlgorithm::calculateAreaWeightedCenterOfGravity(*this, values.area);
    values.centerOfGravityValid = true;
    values.areaValid = true;
  }
  return values.centerOfGravity;
}

std::string Mesh::getHash() const
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  if (lazy->values.hashDirty) {
    lazy->values.hash = MeshAlgorithm::computeHash(*this);
    lazy->values.hashDirty = false;
  }
  return lazy->values.hash;
}

BoundingBox<double, 3> Mesh::calculateBoundingBox(const CoordinateSystem<double, 3>* system) const
{
  BoundingBox<double, 3> box;
  if (!system || system->isIdentity()) {
    for (const Vertex& vertex : data.vertices)
      box.enlarge(vertex);
    return box;
  }
  for (const Vertex& vertex : data.vertices)
    box.enlarge(Point<double, 3>(vertex).transform(*system));
  return box;
}

bool Mesh::offSet(double distance)
{
  MeshAlgorithm::offsetAlongNormals(*this, distance);
  return true;
}

Side Mesh::getSide(const Plane<double, 3>& plane, double eps, bool* touches) const
{
  return MeshAlgorithm::getSide(*this, plane, eps, touches);
}

Point3N Mesh::getPoint(const XiEtaPoint& place) const
{
  if (place.getElementIdx() >= data.triangles.size())
    throw ShapecoreException("Mesh::getPoint: XiEtaPoint index out of bounds");
  return data.triangles[place.getElementIdx()].getPointAndNormal(place);
}

void Mesh::check() const
{
  if (data.vertices.empty()) throw KvException("Mesh contains no points.");
  if (data.triangles.empty()) throw KvException("Mesh contains no facets.");
  if (!normalsPresent) return;
  for (const Vertex& vertex : data.vertices)
    if (!vertex.hasNormal()) throw ShapecoreException("Mesh: Wrong number of normals.");
}

void Mesh::dump(std::ostream& stream, bool withNormals, bool fullPrecision) const
{
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.flags(stream.flags());
  text.width(stream.width());
  text.precision(stream.precision());

  text << "#Mesh\n"
       << "Points\n";
  if (fullPrecision) text.precision(15);
  for (const Vertex& vertex : data.vertices)
    text << vertex.getIndex() << ' ' << static_cast<const Vector<double, 3>&>(vertex) << '\n';
  text.precision(stream.precision());
  if (normalsPresent && withNormals) {
    text << "\nNormals\n";
    for (const Vertex& vertex : data.vertices)
      text << vertex.getIndex() << ' ' << vertex.getNormal() << '\n';
  }
  text << "\nFacets\n";
  for (const Triangle& triangle : data.triangles)
    text << triangle.getIndex() << ' ' << triangle << '\n';
  stream << text.str();
}

const std::vector<MeshConstraint>* Mesh::getConstraints() const
{
  const MeshLazyValues::Lock lock(lazy->cacheMutex);
  // The list points at vertices for those who may write to the mesh; computing it changes nothing else.
  if (!data.constraints) data.constraints = MeshConstraintsCalculator::computeConstraints(const_cast<Mesh&>(*this));
  return data.constraints.get();
}

void Mesh::setConstraints(std::unique_ptr<std::vector<MeshConstraint>> constraints)
{
  data.constraints = std::move(constraints);
}

bool Mesh::ensureHasConstraints() const { return !getConstraints()->empty(); }

bool Mesh::isConstraintVertex(unsigned index) const
{
  const auto& constraints = *getConstraints();
  return index < constraints.size() && constraints[index].vertex;
}

bool Mesh::isConstraintVertex(const Vertex& vertex) const { return isConstraintVertex(vertex.getIndex()); }

bool Mesh::isConstraintVertex(const Vertex* vertex) const { return isConstraintVertex(*vertex); }

bool Mesh::getConstraintOfVertex(unsigned index, int& first, int& second) const
{
  if (!isConstraintVertex(index)) return false;
  const MeshConstraint& constraint = (*getConstraints())[index];
  first = static_cast<int>(constraint.first->getIndex());
  second = static_cast<int>(constraint.second->getIndex());
  return true;
}

bool Mesh::getNeighbourVertices(const Vertex& vertex, const Vertex*& first, const Vertex*& second) const
{
  int firstIndex = 0, secondIndex = 0;
  if (!getConstraintOfVertex(vertex.getIndex(), firstIndex, secondIndex)) return false;
  first = getVertex(static_cast<unsigned>(firstIndex));
  second = getVertex(static_cast<unsigned>(secondIndex));
  return true;
}

} // namespace Kavrel
