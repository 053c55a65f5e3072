#pragma once

#include "platform/Export.h"

namespace Kavrel {

/// Projects a point on a facet along a direction, to either side. The foot counts when it lies in the facet or no
/// farther than the tolerance (model units) from it. Gives 1 and the place of the foot, corner 0 + xi (corner 1 -
/// corner 0) + eta (corner 2 - corner 0), which lies beyond the facet when the foot does; gives 0 and leaves the place
/// when the foot is too far, when the direction runs along the facet, or when the facet has no area.
KVSHAPES_EXPORT int sn_pr_projPointOnFacet2(const double corners[3][3], const double origin[3],
                                            const double direction[3], double tolerance, double* xi, double* eta);

} // namespace Kavrel
