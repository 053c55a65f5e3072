#pragma once

#include "platform/Export.h"

#include <cstddef>
#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

/// A raw view of a triangle mesh that its owner keeps in flat arrays: three vertex indices a triangle, three floats a
/// vertex. Borrows everything. The coordinates are reached through a pointer to the owner's pointer, so that the owner
/// may move its array between queries.
struct KVSHAPES_EXPORT DEMeshAdapter
{
  const std::int32_t* triangles = nullptr;
  std::uint32_t numberOfTriangles = 0;
  const float* const* coordinates = nullptr;

  /// The three floats of a corner (0 to 2) of a triangle.
  const float* getCorner(std::uint32_t triangle, unsigned corner) const
  {
    return *coordinates + 3 * static_cast<std::ptrdiff_t>(triangles[3 * static_cast<std::size_t>(triangle) + corner]);
  }
};

} // namespace Kavrel::BoundingVolumeHierarchy
