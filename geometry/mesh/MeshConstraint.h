#pragma once

#include "platform/Export.h"

namespace Kavrel {

class Vertex;

/// Where a hanging node hangs: a vertex on the middle of an edge of a coarser triangle that has no corner there.
/// A mesh keeps one record per vertex; the record of a free vertex is all null.
struct KVSHAPES_EXPORT MeshConstraint
{
  Vertex* vertex = nullptr; ///< The hanging vertex, null when the vertex at this position is free.
  Vertex* first = nullptr;  ///< One end of the edge it hangs on.
  Vertex* second = nullptr; ///< The other end.
};

} // namespace Kavrel
