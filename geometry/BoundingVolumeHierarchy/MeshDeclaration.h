#pragma once

#include "platform/Export.h"

namespace Kavrel {

// Whether the hierarchies over meshes are exported is settled where they are declared, which may be before the mesh is
// known. Behind its definition the attribute says nothing new, and the compiler would say so.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattributes"
class KVSHAPES_EXPORT Mesh;
#pragma GCC diagnostic pop

} // namespace Kavrel
