#pragma once

#include "platform/Export.h"
#include "platform/kvcadcore/CurveRecords.h"

namespace Kavrel {

/// Releases the edge with all it owns, members of a composite and theirs included, and clears the pointer. Null stays
/// null. Of a kind without a known layout only the record itself is released.
KVSHAPES_EXPORT void PO_IG_EDG_free(PO_IG_EDG** edge);

} // namespace Kavrel
