#include "PolyLines.h"

#include "geometry/PolyLine2DRoundCornerExpander.h"
#include "geometry/PolyLineIntersectionAlgorithms.h"

#include <fmt/core.h>

#include <cmath>

namespace Kavrel::Tool {

namespace {

constexpr double usualArcTolerance = 0.01;    // of the distance
constexpr double smallestArcTolerance = 1e-8; // of the distance

struct Options
{
  std::string distance;
  std::string tolerance;
};

double arcTolerance(const Options& options, double distance)
{
  if (options.tolerance.empty()) return std::abs(distance) * usualArcTolerance;
  const double tolerance = parsePositive("--tolerance", options.tolerance);
  if (tolerance < std::abs(distance) * smallestArcTolerance)
    throw UsageError(fmt::format("--tolerance: {} is too small for the distance {}", options.tolerance, distance));
  return tolerance;
}

Outcome offset(const Options& options, const std::vector<NumberedLine>& lines, const View& view)
{
  const double distance = parseNumbers("--distance", options.distance, 1).front();
  const double tolerance = arcTolerance(options, distance);
  Outcome outcome;
  Json records = Json::array();
  for (const NumberedLine& entry : lines) {
    Line seen = view.toView(entry.line);
    seen.setTolerance(tolerance * view.getScale());
    Line moved;
    if (!PolyLine2DRoundCornerExpander(seen).expandPolyLine(moved, distance * view.getScale()))
      throw std::runtime_error(fmt::format("polyline {} has fewer than 2 different points", entry.number));
    const double square = view.getScale() * view.getScale();
    records.push_back(
        {{"line", entry.number},
         {"points before", entry.line.numberOfPoints()},
         {"points after", moved.numberOfPoints()},
         {"area before", seen.getXYArea() / square},
         {"area after", moved.getXYArea() / square},
         {"self crossings", PolyLineIntersectionAlgorithms<Point3N>::getSelfIntersections(moved)->size()}});
    outcome.lines.push_back(view.fromView(moved));
  }
  outcome.report = {{"polylines", std::move(records)}};
  return outcome;
}

} // namespace

void addLineOffset(LineCommand& command)
{
  auto options = std::make_shared<Options>();
  CLI::App* action = command.add(
      "offset",
      "Moves polylines sideways, with arcs around the corners; bays narrower than the distance give crossings",
      [options](const std::vector<NumberedLine>& lines, const View& view) { return offset(*options, lines, view); });
  action
      ->add_option("--distance", options->distance,
                   "How far: a closed polyline grows by a positive distance and shrinks by a negative one")
      ->required();
  action->add_option("--tolerance", options->tolerance,
                     "How far the arcs may leave the true ones; a hundredth of the distance unless given");
}

} // namespace Kavrel::Tool
