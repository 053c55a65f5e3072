#pragma once

#include "platform/Export.h"

#include <memory>

namespace Kavrel {

template <class T, unsigned dim>
class NurbsCurve;

/// Takes curves of the plane into space.
class KVSHAPES_EXPORT CurveDimensionConverter
{
public:
  /// The same curve at z = 0: knots, weights, flags, domain and tolerance are those of \p curve, the identifier is a
  /// fresh one and the cache is off.
  static std::shared_ptr<NurbsCurve<double, 3>> convertTo3D(const NurbsCurve<double, 2>& curve);
};

} // namespace Kavrel
