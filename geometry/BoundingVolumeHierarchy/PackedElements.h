#pragma once

#include "geometry/BoundingVolumeHierarchy/RawArray.h"
#include "geometry/mesh/Triangle.h"
#include "platform/Export.h"

#include <cstddef>
#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

/// Compact copies of the elements of a hierarchy, from which a leaf sees at once which of its elements can't matter to
/// a query. Most kinds of element have none.
template <class E>
struct PackedElements
{
  std::uint64_t estimateBytes() const { return 0; }
};

/// The corners of the triangles in single precision. The triangles of a leaf with positions first to end - 1 take
/// 9 rows of end - first floats from index 9 first on: the rows are the coordinates of corner 0, 1 and 2, so that a
/// register takes the same coordinate of four triangles at once. What is rejected by them is rejected with a margin for
/// all rounding; everything else goes to the exact test. A triangle too narrow for a safe margin has a NaN in its first
/// row, which no test rejects.
template <>
class KVSHAPES_EXPORT PackedElements<Triangle>
{
public:
  static constexpr unsigned rows = 9;
  /// So many triangles are tested at once; their rows may be read that far past the end.
  static constexpr unsigned lanes = 4;

  /// The first row of the leaf that begins at a position.
  const float* getLeaf(std::uint32_t first) const { return coordinates.data() + std::size_t{rows} * first; }

  /// Makes room; the coordinates are not set.
  void resize(std::size_t numberOfTriangles);

  /// Sets the coordinates of a triangle that stands at `place` among the `count` triangles of the leaf that begins at
  /// `first`.
  void set(std::uint32_t first, std::uint32_t count, std::uint32_t place, const Triangle& triangle);

  std::uint64_t estimateBytes() const { return coordinates.bytes(); }

private:
  RawArray<float> coordinates;
};

} // namespace Kavrel::BoundingVolumeHierarchy
