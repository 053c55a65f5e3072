#pragma once

#include "geometry/mesh/MeshData.h"

namespace Kavrel {

/// The triangles over \p vertices whose corner indices stand in \p corners, three for each of \p count. Stops before
/// the first one with a corner outside \p vertices.
MeshCollection<Triangle> unpackTriangles(MeshCollection<Vertex>& vertices, unsigned count, const int* corners);

} // namespace Kavrel
