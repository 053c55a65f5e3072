#include "PolyLines.h"

#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineThinOutAlgorithm.h"

#include <algorithm>
#include <set>

namespace Kavrel::Tool {

namespace {

struct Options
{
  std::string tolerance;
  bool careful = false;
};

Outcome thin(const Options& options, const std::vector<NumberedLine>& lines)
{
  const double tolerance = parsePositive("--tolerance", options.tolerance);
  Outcome outcome;
  Json records = Json::array();
  double largest = 0.0;
  for (const NumberedLine& entry : lines) {
    Line line = entry.line;
    if (options.careful)
      PolyLineThinOutAlgorithm::thinout(line, tolerance, std::set<std::size_t>());
    else
      PolyLineThinOutAlgorithm::thinout(line, tolerance);
    const double deviation = PolyLineAlgorithm::hausdorffDistance(entry.line, line);
    largest = std::max(largest, deviation);
    records.push_back({{"line", entry.number},
                       {"points before", entry.line.numberOfPoints()},
                       {"points after", line.numberOfPoints()},
                       {"deviation", deviation}});
    outcome.lines.push_back(std::move(line));
  }
  outcome.report = {{"largest deviation", largest}, {"polylines", std::move(records)}};
  return outcome;
}

} // namespace

void addLineThin(LineCommand& command)
{
  auto options = std::make_shared<Options>();
  CLI::App* action =
      command.add("thin", "Leaves out the points that add less than a tolerance, and says how far the line moved",
                  [options](const std::vector<NumberedLine>& lines, const View&) { return thin(*options, lines); });
  action->add_option("--tolerance", options->tolerance, "The distance that doesn't matter")->required();
  action->add_flag("--careful", options->careful, "Test all points under a new segment, not only the one that goes");
}

} // namespace Kavrel::Tool
