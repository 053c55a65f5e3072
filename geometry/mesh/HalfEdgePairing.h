#pragma once

#include "geometry/mesh/MeshData.h"

namespace Kavrel {

/// Replaces the half-edges of \p data by three per triangle, in triangle order, each paired with the first opposite one
/// of its edge. Linear in the size of the mesh but for a sort of the edges at each vertex.
void buildHalfEdges(MeshData& data);

} // namespace Kavrel
