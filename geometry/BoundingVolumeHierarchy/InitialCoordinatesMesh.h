#pragma once

#include "geometry/BoundingVolumeHierarchy/MeshDeclaration.h"
#include "platform/Export.h"

#include <array>
#include <cstdint>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// A mesh laid out in the plane: its triangles over one float coordinate per vertex and axis, for searches in
/// its flat state. Borrows the mesh and both arrays; owns the table of vertex indices, in the mesh's
/// triangle order.
class KVSHAPES_EXPORT InitialCoordinatesMesh
{
public:
  InitialCoordinatesMesh(const Mesh& mesh, const std::vector<float>& x, const std::vector<float>& y);

  const Mesh& getMesh() const { return *mesh; }

  /// The vertex indices of a triangle. The index isn't checked.
  void getVertexIndices(std::uint32_t triangle, std::uint32_t out[3]) const
  {
    for (unsigned corner = 0; corner < 3; ++corner)
      out[corner] = vertexIndices[triangle][corner];
  }
  /// The coordinates of a vertex. The index isn't checked.
  void getCoordinates(std::uint32_t vertex, float out[2]) const
  {
    out[0] = (*x)[vertex];
    out[1] = (*y)[vertex];
  }
  void getCoordinates(std::uint32_t vertex, double out[2]) const
  {
    out[0] = static_cast<double>((*x)[vertex]);
    out[1] = static_cast<double>((*y)[vertex]);
  }

private:
  const Mesh* mesh;
  const std::vector<float>* x;
  const std::vector<float>* y;
  std::vector<std::array<std::uint32_t, 3>> vertexIndices;
};

} // namespace Kavrel::BoundingVolumeHierarchy
