#pragma once

#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// Replaces element positions of a hierarchy by the ids of the elements, in place.
template <class Hierarchy>
void turnIntoIds(const Hierarchy& tree, std::vector<int>& positions)
{
  for (int& position : positions)
    position = static_cast<int>(tree.getElementId(static_cast<unsigned>(position)));
}

} // namespace Kavrel::BoundingVolumeHierarchy
