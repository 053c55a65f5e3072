#pragma once

#include "geometry/PolyLine.h"

namespace Kavrel {

/// A planar polyline under the class key of an older archive format. It exists so that such archives can be read.
class KVSHAPES_EXPORT PolyLine2_Deprecated : public PolyLine<Point<double, 2>>
{
public:
  using PolyLine<Point<double, 2>>::PolyLine;
  ~PolyLine2_Deprecated() override;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel
