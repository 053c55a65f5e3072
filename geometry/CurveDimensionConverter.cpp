#include "geometry/CurveDimensionConverter.h"

#include "geometry/NurbsCurve.h"

#include <vector>

namespace Kavrel {

std::shared_ptr<NurbsCurve<double, 3>> CurveDimensionConverter::convertTo3D(const NurbsCurve<double, 2>& curve)
{
  std::vector<Point<double, 3>> points(curve.numberOfControlPoints());
  std::vector<double> weights(curve.numberOfWeights());
  std::vector<double> knots(curve.numberOfKnots());
  for (std::size_t i = 0; i < points.size(); ++i)
    points[i] = Point<double, 3>(curve.getControlPoint(i).x(), curve.getControlPoint(i).y(), 0.0);
  for (std::size_t i = 0; i < weights.size(); ++i)
    weights[i] = curve.getWeight(i);
  for (std::size_t i = 0; i < knots.size(); ++i)
    knots[i] = curve.getKnot(i);

  auto lifted = std::make_shared<NurbsCurve<double, 3>>(points, weights, knots, curve.isClosed(), curve.isPlanar(),
                                                        curve.isPeriodical(), curve.getTolerance());
  lifted->setDomain(curve.getDomain());
  return lifted;
}

} // namespace Kavrel
