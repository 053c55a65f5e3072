#pragma once

#include "geometry/mesh/HalfEdge.h"
#include "geometry/mesh/MeshCollection.h"
#include "geometry/mesh/MeshConstraint.h"
#include "geometry/mesh/Triangle.h"
#include "geometry/mesh/Vertex.h"

#include <memory>
#include <vector>

namespace Kavrel {

/// The collections of a mesh. Every element's index is its position; all links stay inside one record.
struct MeshData
{
  MeshCollection<Vertex> vertices;
  MeshCollection<HalfEdge> halfEdges; ///< Empty without topology.
  MeshCollection<Triangle> triangles;
  mutable std::unique_ptr<std::vector<MeshConstraint>> constraints; ///< One per vertex, null until computed.
};

} // namespace Kavrel
