#include "geometry/BoundingVolumeHierarchy/PackedElements.h"

#include <algorithm>
#include <limits>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

/// The squared sine at corner 0, in terms of the longer edge, below which the exact tests may stray from the triangle.
constexpr double narrowSqrSine = 1e-8;

bool isNarrow(const Triangle& triangle)
{
  const Vector<double, 3> e1 = triangle.getVertexRef(1) - triangle.getVertexRef(0);
  const Vector<double, 3> e2 = triangle.getVertexRef(2) - triangle.getVertexRef(0);
  const double longest = std::max(e1.sqrLength(), e2.sqrLength());
  return !(e1.cross(e2).sqrLength() > narrowSqrSine * longest * longest);
}

} // namespace

void PackedElements<Triangle>::resize(std::size_t numberOfTriangles)
{
  coordinates = RawArray<float>(rows * numberOfTriangles + lanes);
  // What lies past the last row is read, though never used.
  std::fill_n(coordinates.data() + rows * numberOfTriangles, lanes, 0.0F);
}

void PackedElements<Triangle>::set(std::uint32_t first, std::uint32_t count, std::uint32_t place,
                                   const Triangle& triangle)
{
  float* column = coordinates.data() + std::size_t{rows} * first + place;
  for (unsigned corner = 0; corner < 3; ++corner)
    for (unsigned i = 0; i < 3; ++i, column += count)
      *column = static_cast<float>(triangle.getVertexRef(corner)[i]);
  if (isNarrow(triangle)) coordinates[std::size_t{rows} * first + place] = std::numeric_limits<float>::quiet_NaN();
}

} // namespace Kavrel::BoundingVolumeHierarchy
