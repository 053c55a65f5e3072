#include "geometry/mesh/MeshNormalCalculator.h"

#include "geometry/mesh/Mesh.h"

#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace Kavrel {

namespace {

using Normal = Vector<double, 3>;

using CornerNormals = std::array<Normal, 3>;

constexpr double lengthEps = 1e-12;
constexpr double degreesPerRadian = 57.29577951308232;

/// Twice the area along the normal.
Normal edgeProduct(const Triangle& triangle)
{
  const Vertex& p0 = triangle.getVertexRef(0);
  return (triangle.getVertexRef(1) - p0).cross(triangle.getVertexRef(2) - p0);
}

double angleInDegrees(double cosine)
{
  if (cosine <= -1) return std::numbers::pi * degreesPerRadian;
  if (cosine >= 1) return 0;
  return std::acos(cosine) * degreesPerRadian;
}

/// Interior angles in degrees by the law of cosines; the third one is NaN if an edge has no length.
std::array<double, 3> interiorAngles(const Normal& a, const Normal& b, const Normal& c)
{
  const double sqrA = a.sqrLength(), sqrB = b.sqrLength(), sqrC = c.sqrLength();
  const double lengthA = std::sqrt(sqrA), lengthB = std::sqrt(sqrB), lengthC = std::sqrt(sqrC);
  const double angle0 = angleInDegrees((sqrB + sqrA - sqrC) / (2 * lengthB * lengthA));
  const double angle1 = angleInDegrees((sqrC + sqrA - sqrB) / (2 * lengthC * lengthA));
  return {angle0, angle1, 180 - angle0 - angle1};
}

} // namespace

MeshNormalCalculator& MeshNormalCalculator::setUseAngles(bool use)
{
  changeOption(useAngles, use);
  return *this;
}

MeshNormalCalculator& MeshNormalCalculator::setUseConstraints(bool use)
{
  changeOption(useConstraints, use);
  return *this;
}

MeshNormalCalculator& MeshNormalCalculator::setUseConstraintsAndAngles(bool constraints, bool angles)
{
  return setUseConstraints(constraints).setUseAngles(angles);
}

void MeshNormalCalculator::changeOption(bool& option, bool value)
{
  if (option != value) clear();
  option = value;
}

void MeshNormalCalculator::clear() { normals.clear(); }

bool MeshNormalCalculator::calculateNormals()
{
  if (!normals.empty()) return false;
  normals.resize(mesh.numberOfVertices());
  if (useAngles)
    addAngleWeighted();
  else
    addAreaWeighted();
  normalizeAll();
  if (useConstraints) overwriteConstrained();
  return true;
}

bool MeshNormalCalculator::calculate(const Mesh& mesh, std::vector<Normal>& out, bool useConstraints, bool useAngles)
{
  out.clear();
  MeshNormalCalculator calculator(mesh);
  calculator.setUseConstraintsAndAngles(useConstraints, useAngles).calculateNormals();
  out = std::move(calculator.normals);
  return !out.empty();
}

void MeshNormalCalculator::addAreaWeighted()
{
  addWeighted([](const Triangle& triangle) {
    const Normal product = edgeProduct(triangle);
    return CornerNormals{product, product, product};
  });
}

void MeshNormalCalculator::addAngleWeighted()
{
  addWeighted([](const Triangle& triangle) {
    const Vertex &p0 = triangle.getVertexRef(0), &p1 = triangle.getVertexRef(1), &p2 = triangle.getVertexRef(2);
    const Normal a = p0 - p1, b = p0 - p2, c = p1 - p2;
    const std::array<double, 3> angles = interiorAngles(a, b, c);
    if (std::isnan(angles[2])) return CornerNormals{};
    Normal unit = a.cross(b);
    unit.normalize(lengthEps);
    return CornerNormals{unit * angles[0], unit * angles[1], unit * angles[2]};
  });
}

// In batches, so that reading corners and adding to their sums don't wait for each other's memory.
template <class NormalsOf>
void MeshNormalCalculator::addWeighted(NormalsOf normalsOf)
{
  struct Share
  {
    std::array<unsigned, 3> corners;
    CornerNormals normals;
  };
  std::array<Share, 64> batch;
  const auto end = mesh.endTriangle();
  for (auto triangle = mesh.beginTriangle(); triangle != end;) {
    std::size_t count = 0;
    for (; count < batch.size() && triangle != end; ++count, ++triangle) {
      auto& corners = batch[count].corners;
      triangle->getVertexIndices(corners[0], corners[1], corners[2]);
      batch[count].normals = normalsOf(*triangle);
    }
    for (std::size_t i = 0; i < count; ++i)
      for (unsigned corner = 0; corner < 3; ++corner)
        normals[batch[i].corners[corner]] += batch[i].normals[corner];
  }
}

void MeshNormalCalculator::normalizeAll()
{
  std::vector<unsigned> failed;
  for (unsigned i = 0; i < normals.size(); ++i)
    if (!normals[i].normalize(lengthEps)) failed.push_back(i);
  if (!failed.empty()) replaceFailed(failed);
}

void MeshNormalCalculator::replaceFailed(const std::vector<unsigned>& failed)
{
  std::vector<bool> open(normals.size());
  for (const unsigned i : failed) {
    normals[i] = Normal(0, 0, 1);
    open[i] = true;
  }
  for (const Triangle& triangle : mesh.getTriangleCollection())
    for (unsigned corner = 0; corner < 3; ++corner) {
      const unsigned i = triangle.getVertexRef(corner).getIndex();
      if (!open[i]) continue;
      Normal unit = edgeProduct(triangle);
      if (!unit.normalize(lengthEps)) break;
      normals[i] = unit;
      open[i] = false;
    }
}

void MeshNormalCalculator::overwriteConstrained()
{
  for (const MeshConstraint& constraint : *mesh.getConstraints()) {
    if (!constraint.vertex) continue;
    const Normal sum = normals[constraint.first->getIndex()] + normals[constraint.second->getIndex()];
    normals[constraint.vertex->getIndex()] = sum.getNormalized();
  }
}

} // namespace Kavrel
