#pragma once

#include "geometry/mesh/MeshConstraint.h"
#include "geometry/mesh/VertexTriangleAdjacency.h"
#include "platform/Export.h"

#include <memory>
#include <vector>

namespace Kavrel {

class Mesh;

/// Finds the hanging nodes of an adaptively refined mesh: the vertices that lie on the middle of an edge of a coarser
/// triangle. Works on the triangles alone; a mesh needs no topology for it.
class KVSHAPES_EXPORT MeshConstraintsCalculator
{
public:
  struct KVSHAPES_EXPORT Result
  {
    /// One record per vertex; the record of a free vertex is empty.
    std::unique_ptr<std::vector<MeshConstraint>> constraints;
    /// For each vertex its neighbours, in the order in which the triangles name them.
    std::unique_ptr<std::vector<std::vector<VertexTriangleAdjacency>>> neighbours;
  };

  /// A vertex hangs when exactly two edges at it belong to one triangle only, when these lead to the ends of an edge of
  /// exactly one triangle that doesn't have the vertex as a corner, and when it lies within a hundredth of that edge's
  /// length, inclusive, from its midpoint. Linear in the size of the mesh
  /// unless vertices with very many neighbours abound.
  static Result computeConstraintsAndNeighbourStructure(Mesh& mesh);

  /// The constraints alone.
  static std::unique_ptr<std::vector<MeshConstraint>> computeConstraints(Mesh& mesh);
};

} // namespace Kavrel
