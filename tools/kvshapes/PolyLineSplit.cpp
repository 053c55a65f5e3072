#include "PolyLines.h"

#include "geometry/PolyLineSplitAlgorithm.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>

namespace Kavrel::Tool {

namespace {

constexpr double relativeTolerance = 1e-9; // of the size of the line: a vertex this near is taken as the cut

struct Options
{
  std::string plane;
  std::string point;
  std::string indices;
};

using Pieces = std::vector<Line>;

Pieces splitAtPlane(const Plane<double, 3>& plane, const Line& line)
{
  Line precise = line;
  precise.setTolerance(relativeTolerance * sizeOf(line));
  std::list<std::shared_ptr<Line>> found;
  PolyLineSplitAlgorithm::splitAtPlane(precise, plane, found, true);
  if (found.empty()) return {line};
  Pieces pieces;
  for (const auto& piece : found) {
    piece->setClosed(false);
    pieces.push_back(*piece);
  }
  return pieces;
}

Pieces splitAtPoint(const Vector<double, 3>& point, const Line& line)
{
  std::shared_ptr<Line> first, second;
  PolyLineSplitAlgorithm::split(line, point, first, second, true, relativeTolerance * sizeOf(line));
  Pieces pieces;
  for (const auto& piece : {first, second})
    if (piece && piece->numberOfPoints() > 1) pieces.push_back(*piece);
  if (pieces.empty()) return {line};
  return pieces;
}

Pieces splitAtIndices(const std::vector<std::size_t>& indices, const NumberedLine& entry)
{
  const std::size_t count = entry.line.numberOfPoints();
  const bool closed = entry.line.isClosed();
  for (const std::size_t index : indices)
    if (index >= count || (!closed && (index == 0 || index + 1 == count)))
      throw UsageError(fmt::format("--at: polyline {} can't be cut at vertex {} of {}", entry.number, index, count));
  Pieces pieces;
  PolyLineSplitAlgorithm::splitAtIndices(entry.line, indices, pieces);
  return pieces;
}

std::vector<std::size_t> parseIndices(const std::string& option, const std::string& text)
{
  std::vector<std::size_t> indices;
  const char* position = text.data();
  const char* const end = position + text.size();
  for (;;) {
    std::size_t index = 0;
    const auto [rest, error] = std::from_chars(position, end, index);
    if (error != std::errc() || (rest != end && *rest != ','))
      throw UsageError(fmt::format("{}: indices separated by commas are needed, not \"{}\"", option, text));
    indices.push_back(index);
    if (rest == end) break;
    position = rest + 1;
  }
  std::sort(indices.begin(), indices.end());
  indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
  return indices;
}

using Cutter = std::function<Pieces(const NumberedLine&)>;

Cutter cutterOf(const Options& options)
{
  if (!options.plane.empty())
    return [plane = parsePlane("--plane", options.plane)](const NumberedLine& entry) {
      return splitAtPlane(plane, entry.line);
    };
  if (!options.point.empty())
    return [point = parseVector("--point", options.point)](const NumberedLine& entry) {
      return splitAtPoint(point, entry.line);
    };
  if (!options.indices.empty())
    return [indices = parseIndices("--at", options.indices)](const NumberedLine& entry) {
      return splitAtIndices(indices, entry);
    };
  throw UsageError("split: give --plane nx,ny,nz,d, --point x,y,z or --at i,j,...");
}

Outcome split(const Options& options, const std::vector<NumberedLine>& lines)
{
  const Cutter cut = cutterOf(options);
  Outcome outcome;
  Json records = Json::array();
  for (const NumberedLine& entry : lines)
    for (Line& piece : cut(entry)) {
      records.push_back({{"line", entry.number},
                         {"points", piece.numberOfPoints()},
                         {"closed", piece.isClosed()},
                         {"length", piece.getTotalLength()}});
      outcome.lines.push_back(std::move(piece));
    }
  outcome.report = {{"count", records.size()}, {"pieces", std::move(records)}};
  return outcome;
}

} // namespace

void addLineSplit(LineCommand& command)
{
  auto options = std::make_shared<Options>();
  CLI::App* action =
      command.add("split", "Cuts polylines apart, at a plane, a point or vertices",
                  [options](const std::vector<NumberedLine>& lines, const View&) { return split(*options, lines); });
  auto* plane = action->add_option(
      "--plane", options->plane, "Cut where the polyline changes sides of this plane: normal and distance nx,ny,nz,d");
  auto* point = action->add_option("--point", options->point, "Cut at the point nearest to x,y,z");
  auto* indices = action->add_option("--at", options->indices, "Cut at vertices i,j,..., counted from 0");
  plane->excludes(point)->excludes(indices);
  point->excludes(indices);
}

} // namespace Kavrel::Tool
