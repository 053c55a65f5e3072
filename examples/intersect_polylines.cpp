// Finds where two polylines cross, once with search trees and once by comparing all segments.
#include "geometry/PolyLineIntersectionAlgorithms.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

using namespace Kavrel;
using Position = Point<double, 2>;
using Line = PolyLine<Position>;

namespace {

// A wave along a circle.
Line makeWave(double radius, double height, int waves, int count)
{
  Line line;
  for (int i = 0; i < count; ++i) {
    const double angle = 2.0 * std::numbers::pi * i / count;
    const double r = radius + height * std::sin(waves * angle);
    line.addPoint(Position(r * std::cos(angle), r * std::sin(angle)));
  }
  line.setClosed(true);
  return line;
}

} // namespace

int main()
{
  const Line circle = makeWave(10.0, 0.0, 0, 1000);
  const Line wave = makeWave(10.1, 1.0, 12, 5000);

  PolyLineIntersectionAlgorithms<Position> crossings; // keeps the trees for the next call
  std::vector<Position> points;
  std::vector<unsigned> onCircle, onWave;
  crossings.calculateAllIntersectionPoints(circle, onCircle, wave, onWave, points, false, 0.0);

  double largest = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    largest = std::max({largest, circle.dist(points[i]), wave.dist(points[i])});
    if (i < 4)
      std::printf("(%.6f, %.6f) on segment %u of the circle and %u of the wave\n", points[i][0], points[i][1],
                  onCircle[i], onWave[i]);
  }

  std::vector<Position> compared;
  std::vector<Segment<Position>> overlaps;
  PolyLineIntersectionAlgorithms<Position>::calculateAllIntersectionPointsAndSegmentsXY(circle, wave, compared,
                                                                                        overlaps);
  std::printf("%zu crossings, at most %.1e off the lines; %zu by comparing all segments\n", points.size(), largest,
              compared.size());
  return points.size() == 24 && compared.size() == 24 && largest < 1e-12 ? 0 : 1;
}
