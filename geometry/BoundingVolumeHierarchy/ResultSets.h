#pragma once

#include "geometry/XiEtaPoint.h"
#include "platform/Export.h"

#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// A list that a query fills. Borrows the vector.
template <class Entry>
class KVSHAPES_EXPORT ResultSet
{
public:
  explicit ResultSet(std::vector<Entry>& list) : entries(list) {}

  /// Empties the vector and keeps its memory.
  void pre() { entries.clear(); }
  bool empty() const { return entries.empty(); }

  std::vector<Entry>& entries;
};

using IndexResultSet = ResultSet<int>;
using XiEtaResultSet = ResultSet<XiEtaPoint>;

} // namespace Kavrel::BoundingVolumeHierarchy
