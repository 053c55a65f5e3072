// Rounds the corners of a polygon: what remains when it shrinks and grows again.
#include "geometry/PolyLine2DRoundCornerExpander.h"

#include <cmath>
#include <cstdio>
#include <numbers>

using namespace Kavrel;
using Line = PolyLine<Point3N>;

namespace {

constexpr double tolerance = 1e-4; // of the arcs

Line offset(Line polygon, double distance)
{
  polygon.setTolerance(tolerance);
  Line result;
  if (!PolyLine2DRoundCornerExpander(polygon).expandPolyLine(result, distance)) result.clear();
  return result;
}

} // namespace

int main()
{
  Line plate({{0, 0}, {8, 0}, {8, 5}, {5, 5}, {3, 7}, {0, 7}}, tolerance);
  plate.setClosed(true);
  bool good = true;
  for (const double radius : {0.25, 0.5, 1.0}) {
    const Line rounded = offset(offset(plate, -radius), radius);
    std::printf("radius %.2f: %zu points, area %.4f of %.4f, length %.4f of %.4f\n", radius, rounded.numberOfPoints(),
                rounded.getXYArea(), plate.getXYArea(), rounded.getTotalLength(), plate.getTotalLength());
    // A corner with the angle a between its sides loses (cot(a/2) - (pi - a)/2) r².
    const auto lost = [radius](double a) {
      return (1.0 / std::tan(a / 2) - (std::numbers::pi - a) / 2) * radius * radius;
    };
    const double expected = plate.getXYArea() - 4.0 * lost(std::numbers::pi / 2) - lost(3 * std::numbers::pi / 4);
    good = good && std::abs(rounded.getXYArea() - expected) < 1e-2;
  }
  return good ? 0 : 1;
}
