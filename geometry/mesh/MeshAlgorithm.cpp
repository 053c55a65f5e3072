#include "geometry/mesh/MeshAlgorithm.h"

#include "geometry/Plane.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kvident/TigerHash.h"

#include <cstdint>
#include <locale>
#include <sstream>

namespace Kavrel {

namespace {

Vector<double, 3> edgeProduct(const Triangle& triangle)
{
  const Vertex& p0 = triangle.getVertexRef(0);
  return (triangle.getVertexRef(1) - p0).cross(triangle.getVertexRef(2) - p0);
}

double sumOfComponents(const Vector<double, 3>& v) { return v.y() + v.x() + v.z(); }

} // namespace

Point<double, 3> MeshAlgorithm::calculateAreaWeightedCenterOfGravity(const Mesh& mesh, double& area)
{
  Point<double, 3> center;
  area = 0;
  if (mesh.isEmpty()) return center;

  double weights = 0;
  for (auto triangle = mesh.beginTriangle(), end = mesh.endTriangle(); triangle != end; ++triangle) {
    const double weight = edgeProduct(*triangle).length();
    const Vector<double, 3> corners = triangle->getVertexRef(0) + triangle->getVertexRef(1) + triangle->getVertexRef(2);
    center += weight * corners / 3.0;
    weights += weight;
  }
  area = weights / 2;
  center /= weights;
  return center;
}

Vector<double, 3> MeshAlgorithm::calculateAreaWeightedNormal(const Mesh& mesh)
{
  Vector<double, 3> sum;
  for (auto triangle = mesh.beginTriangle(), end = mesh.endTriangle(); triangle != end; ++triangle)
    sum += 0.5 * edgeProduct(*triangle);
  return sum;
}

std::string MeshAlgorithm::computeHash(const Mesh& mesh)
{
  double positions = 0;
  double normals = 0;
  for (auto vertex = mesh.beginVertex(), end = mesh.endVertex(); vertex != end; ++vertex) {
    positions += sumOfComponents(*vertex);
    normals += sumOfComponents(vertex->getNormal());
  }
  std::uint32_t indices = 0;
  for (auto triangle = mesh.beginTriangle(), end = mesh.endTriangle(); triangle != end; ++triangle)
    for (unsigned corner = 0; corner < 3; ++corner)
      indices += triangle->getVertexRef(corner).getIndex();

  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << positions;
  if (mesh.hasNormals()) text << normals;
  text << indices;
  return TigerHash::tHash(text.str());
}

Side MeshAlgorithm::getSide(const Mesh& mesh, const Plane<double, 3>& plane, double eps, bool* touches)
{
  bool ignored = false;
  bool& touching = touches ? *touches : ignored;
  touching = false;
  Side result{};
  for (const Vertex& vertex : mesh.getVertexCollection()) {
    const Side side = plane.getSideOfPoint(vertex, eps);
    if (side == Side::On) {
      touching = true;
      if (result == Side{}) result = side;
      continue;
    }
    const bool opposite = (result == Side::Above || result == Side::Below) && result != side;
    if (opposite) return Side::Both;
    result = side;
  }
  return result;
}

void MeshAlgorithm::offsetAlongNormals(Mesh& mesh, double distance)
{
  mesh.computeNormals(false, false);
  for (Vertex& vertex : mesh.getVertexCollection())
    vertex += distance * vertex.getNormal();
  mesh.clearCachedData();
}

} // namespace Kavrel
