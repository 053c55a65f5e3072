#include "platform/kvmath/EulerAngleSet.h"

#include "platform/kvmath/VectorFunction.h"

#include <numbers>
#include <ostream>

namespace Kavrel {

namespace {

constexpr double degreesPerRadian = 180.0 / std::numbers::pi;

} // namespace

void EulerAngleSet::dumpAsPyDict(std::ostream& out, bool inDegrees) const
{
  out << "{'order':'" << EulerRotationOrder::getName(order) << "', 'angles':";
  VectorFunction::dumpAsPyArray(inDegrees ? angles * degreesPerRadian : angles, out);
  out << '}';
}

} // namespace Kavrel
