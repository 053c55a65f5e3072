#include "PolyLines.h"

#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineIntersectionAlgorithms.h"

namespace Kavrel::Tool {

namespace {

constexpr double relativeTolerance = 1e-6; // of the size of the line

Json orientationOf(const Line& seen)
{
  if (!seen.isClosed()) return nullptr;
  return PolyLineAlgorithm::checkXYOrientation(seen, true) ? "counter-clockwise" : "clockwise";
}

Json describe(const NumberedLine& entry, const View& view, double tolerance)
{
  const Line& line = entry.line;
  const Line seen = view.toView(line);
  const double scale = view.getScale();
  const BoundingBox<double, 3> box = line.calculateBoundingBox();
  const double flatness = (tolerance > 0.0 ? tolerance : relativeTolerance * sizeOf(line)) * scale;
  return {{"line", entry.number},
          {"points", line.numberOfPoints()},
          {"closed", line.isClosed()},
          {"length", line.getTotalLength()},
          {"box min", toJson(box.getMin())},
          {"box max", toJson(box.getMax())},
          {"planar", PolyLineAlgorithm::checkPlanarity(seen, flatness).first},
          {"area", seen.getXYArea() / scale / scale},
          {"orientation", orientationOf(seen)},
          {"self crossings", PolyLineIntersectionAlgorithms<Point3N>::getSelfIntersections(seen)->size()}};
}

} // namespace

void addLineInfo(LineCommand& command)
{
  auto tolerance = std::make_shared<std::string>();
  CLI::App* action =
      command.add("info", "Says what polylines are: points, length, box, closed, planar, area, crossings",
                  [tolerance](const std::vector<NumberedLine>& lines, const View& view) {
                    const double flatness = tolerance->empty() ? 0.0 : parsePositive("--tolerance", *tolerance);
                    Outcome outcome;
                    Json records = Json::array();
                    for (const NumberedLine& entry : lines) {
                      records.push_back(describe(entry, view, flatness));
                      outcome.lines.push_back(entry.line);
                    }
                    outcome.report = {{"polylines", std::move(records)}};
                    return outcome;
                  });
  action->add_option("--tolerance", *tolerance,
                     "How far a planar polyline may leave its plane; a millionth of its size unless given");
}

} // namespace Kavrel::Tool
