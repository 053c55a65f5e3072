#include "PolyLines.h"

#include "geometry/PolyLineAlgorithm.h"

#include <fmt/core.h>

#include <algorithm>

namespace Kavrel::Tool {

namespace {

constexpr double mostPoints = 1e7;

struct Options
{
  std::string length;
  bool halve = false;
};

double longestSegment(const Line& line)
{
  const int longest = PolyLineAlgorithm::getLongestSegment(line);
  return longest < 0 ? 0.0 : line.getSegment(static_cast<std::size_t>(longest)).length();
}

// Halving leaves gaps of up to twice its length, and takes a length of its own where that is below 1e-5: not in a view.
Line refined(const Line& line, double length, bool halve, const View& view)
{
  Line result = halve ? view.toView(line) : line;
  if (!halve) {
    PolyLineAlgorithm::resampleToMinimalDistance(result, length);
    return result;
  }
  PolyLineAlgorithm::reducePointDistance(result, 0.5 * length * view.getScale());
  return view.fromView(result);
}

Outcome resample(const Options& options, const std::vector<NumberedLine>& lines, const View& view)
{
  const double length = parsePositive("--length", options.length);
  double total = 0.0;
  for (const NumberedLine& entry : lines)
    total += entry.line.getTotalLength();
  if (!(total / length < mostPoints))
    throw UsageError(fmt::format("--length: {} would make more than {:.0e} points", options.length, mostPoints));
  Outcome outcome;
  Json records = Json::array();
  for (const NumberedLine& entry : lines) {
    Line line = refined(entry.line, length, options.halve, view);
    records.push_back({{"line", entry.number},
                       {"points before", entry.line.numberOfPoints()},
                       {"points after", line.numberOfPoints()},
                       {"longest before", longestSegment(entry.line)},
                       {"longest after", longestSegment(line)}});
    outcome.lines.push_back(std::move(line));
  }
  outcome.report = {{"polylines", std::move(records)}};
  return outcome;
}

} // namespace

void addLineResample(LineCommand& command)
{
  auto options = std::make_shared<Options>();
  CLI::App* action = command.add(
      "resample", "Divides long segments, in equal parts or by halving",
      [options](const std::vector<NumberedLine>& lines, const View& view) { return resample(*options, lines, view); });
  action->add_option("--length", options->length, "The longest segment that stays undivided")->required();
  action->add_flag("--halve", options->halve, "Halve a segment as often as needed");
}

} // namespace Kavrel::Tool
