#pragma once

#include "platform/Export.h"

namespace Kavrel {

class Triangle;
class Vertex;

/// A vertex across an edge, seen from one end of that edge.
struct KVSHAPES_EXPORT VertexTriangleAdjacency
{
  Vertex* neighbour = nullptr;       ///< The other end of the edge.
  Triangle* firstTriangle = nullptr; ///< The first triangle, in order of the mesh, that has the edge.
  int count = 0;                     ///< How many triangles have it.
};

} // namespace Kavrel
