#include "geometry/mesh/MeshAlgorithm.h"

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

} // namespace Kavrel
