#include "geometry/CurveDimensionConverter.h"

#include "geometry/NurbsCurve.h"

#include <cstddef>
#include <cstdint>

namespace Kavrel {

std::shared_ptr<NurbsCurve<double, 3>> CurveDimensionConverter::convertTo3D(const NurbsCurve<double, 2>& curve)
{
  const auto narrow = [](std::size_t count) { return static_cast<std::uint32_t>(count); };
  const std::size_t points = curve.numberOfControlPoints();
  const std::size_t weights = curve.numberOfWeights();
  const std::size_t degree = curve.getDegree(); // not that of the counts where a curve isn't complete

  auto lifted = std::make_shared<NurbsCurve<double, 3>>(narrow(points), narrow(weights), narrow(points + degree + 1),
                                                        curve.isClosed(), curve.isPlanar(), curve.isPeriodical(),
                                                        curve.getTolerance());
  for (std::size_t i = 0; i < points; ++i)
    lifted->addControlPoint({curve.getControlPoint(i).x(), curve.getControlPoint(i).y(), 0.0});
  for (std::size_t i = 0; i < weights; ++i)
    lifted->addWeight(curve.getWeight(i));
  for (std::size_t i = 0; i < curve.numberOfKnots(); ++i)
    lifted->addKnot(curve.getKnot(i));
  lifted->setDomain(curve.getDomain());
  lifted->determineTypeOfNurbsCurve();
  return lifted;
}

} // namespace Kavrel
