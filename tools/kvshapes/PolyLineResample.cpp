#include "PolyLines.h"

#include "geometry/PolyLineAlgorithm.h"

#include <fmt/core.h>

#include <algorithm>

namespace Kavrel::Tool {

namespace {

constexpr double mostPoints = 1e8;

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

// Halving keeps gaps of up to twice its length.
void refine(Line& line, double length, bool halve)
{
  if (halve)
    PolyLineAlgorithm::reducePointDistance(line, 0.5 * length);
  else
    PolyLineAlgorithm::resampleToMinimalDistance(line, length);
}

Outcome resample(const Options& options, const std::vector<NumberedLine>& lines)
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
    Line line = entry.line;
    refine(line, length, options.halve);
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
  CLI::App* action =
      command.add("resample", "Divides long segments, in equal parts or by halving",
                  [options](const std::vector<NumberedLine>& lines, const View&) { return resample(*options, lines); });
  action->add_option("--length", options->length, "The longest segment that stays undivided")->required();
  action->add_flag("--halve", options->halve, "Halve a segment as often as needed");
}

} // namespace Kavrel::Tool
