#include "PolyLines.h"

#include "geometry/PolyLineDump.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <locale>
#include <system_error>

namespace Kavrel::Tool {

namespace {

constexpr int usualExponent = 20;   // of two: lines have a size of about a million
constexpr int largestExponent = 60; // of two, of coordinates

// A power of two; coordinates far from the origin must stay in range.
double scaleFor(const std::vector<NumberedLine>& lines)
{
  BoundingBox<double, 3> box;
  double largest = 0.0;
  for (const NumberedLine& entry : lines)
    for (const Point3N& point : entry.line) {
      box.enlarge(point);
      for (unsigned i = 0; i < 3; ++i)
        largest = std::max(largest, std::abs(point[i]));
    }
  const double size = box.getDiameter();
  if (!(size > 0.0)) return 1.0;
  return std::ldexp(1.0, std::min(usualExponent - std::ilogb(size), largestExponent - std::ilogb(largest)));
}

std::vector<NumberedLine> chosenLines(const LineOptions& options)
{
  std::vector<NumberedLine> lines = numbered(readPolyLines(options.file));
  if (!options.number) return lines;
  if (*options.number >= lines.size())
    throw UsageError(fmt::format("--line: {} holds {} polylines, counted from 0", options.file, lines.size()));
  return {lines[*options.number]};
}

void writeLines(std::ostream& stream, const Outcome& outcome)
{
  stream.imbue(std::locale::classic());
  for (const Line& line : outcome.lines)
    if (!line.isEmpty()) PolyLineDump::toStream(line, stream, PolyNormalDumpMode::PointsOnly, true, false);
  if (!outcome.marks.empty())
    PolyLineDump::toStream(Line(outcome.marks, 0.1), stream, PolyNormalDumpMode::PointsOnly, true, false);
  stream.flush();
}

void writeLines(const std::string& file, const Outcome& outcome)
{
  std::ofstream stream(file);
  writeLines(stream, outcome);
  if (!stream) throw std::runtime_error(file + ": can't be written");
}

// A failure of the library gets the name of the file.
Outcome perform(const LineOptions& options, const LineAction& action, const std::vector<NumberedLine>& lines,
                const View& view)
{
  try {
    return action(lines, view);
  } catch (const UsageError&) {
    throw;
  } catch (const InputError&) { // a second file, by its own name
    throw;
  } catch (const std::exception& error) {
    throw std::runtime_error(options.file + ": " + error.what());
  }
}

// An empty value, as a variable that isn't set gives it, doesn't mean that the option isn't there.
void refuseEmptyValues(const CLI::App& action)
{
  for (const CLI::Option* option : action.get_options())
    for (const std::string& value : option->results())
      if (value.empty()) throw UsageError(option->get_name() + ": a value is needed");
}

bool isSameFile(const std::string& a, const std::string& b)
{
  std::error_code failed;
  const auto full = [&failed](const std::string& name) {
    return std::filesystem::weakly_canonical(std::filesystem::absolute(name, failed), failed);
  };
  return a == b || std::filesystem::equivalent(a, b, failed) || (full(a) == full(b) && !failed);
}

void checkFiles(const LineOptions& options, const CLI::App& action)
{
  if (options.file.empty()) throw UsageError("polyline: FILE is required");
  if (options.svg == "-") throw UsageError("--svg: the name of a file is needed, not \"-\"");
  if (options.svg.empty()) return;
  std::vector<std::string> files{options.file, options.out};
  if (const CLI::Option* second = action.get_option_no_throw("--with"))
    files.insert(files.end(), second->results().begin(), second->results().end());
  for (const std::string& file : files)
    if (!file.empty() && isSameFile(options.svg, file))
      throw UsageError(fmt::format("--svg: {} is a file of polylines", options.svg));
}

void run(const LineOptions& options, const LineAction& action, bool asJson)
{
  const std::vector<NumberedLine> lines = chosenLines(options);
  const View view(options.dropped.front(), lines);
  const Outcome outcome = perform(options, action, lines, view);
  if (!options.svg.empty()) drawSvg(options.svg, view, lines, outcome);
  if (options.out == "-") {
    writeLines(std::cout, outcome);
    if (!std::cout) throw std::runtime_error("the answer can't be written to standard output");
    return;
  }
  if (!options.out.empty()) writeLines(options.out, outcome);
  Json report = {{"file", options.file}};
  report.update(outcome.report);
  print(report, asJson);
}

} // namespace

View::View(char droppedAxis, const std::vector<NumberedLine>& lines) : dropped(droppedAxis), scale(scaleFor(lines)) {}

Vector<double, 3> View::turned(const Vector<double, 3>& p) const
{
  if (dropped == 'x') return {p.y(), p.z(), p.x()};
  if (dropped == 'y') return {p.x(), p.z(), -p.y()};
  return p;
}

Point<double, 3> View::fromView(const Vector<double, 3>& p) const
{
  const Vector<double, 3> v = p / scale;
  if (dropped == 'x') return Vector<double, 3>(v.z(), v.x(), v.y());
  if (dropped == 'y') return Vector<double, 3>(v.x(), -v.z(), v.y());
  return v;
}

Plane<double, 3> View::toView(const Plane<double, 3>& plane) const
{
  return Plane<double, 3>(turned(plane.getNormal()), plane.getDistance() * scale);
}

Line View::toView(const Line& line) const
{
  Line result(line.numberOfPoints(), line.getTolerance() * scale);
  for (const Point3N& point : line)
    result.addPoint(toView(point));
  result.setClosed(line.isClosed());
  return result;
}

Line View::fromView(const Line& line) const
{
  Line result(line.numberOfPoints(), line.getTolerance() / scale);
  for (const Point3N& point : line)
    result.addPoint(fromView(point));
  result.setClosed(line.isClosed());
  return result;
}

LineCommand::LineCommand(CLI::App& app, const bool& asJsonFlag)
    : command(app.add_subcommand("polyline", "Measures and changes polylines")),
      options(std::make_shared<LineOptions>()), asJson(asJsonFlag)
{
  // Not marked as required: the parser would then take the name of an action for it, also where only help is wanted.
  command->add_option("FILE", options->file, "Polylines in the text format");
  command->require_subcommand(1);
  command->footer("FILE stands before the action, as in: kvshapes polyline data/coast.txt info.\n" + app.get_footer());
}

CLI::App* LineCommand::add(const std::string& name, const std::string& description, LineAction action)
{
  CLI::App* result = command->add_subcommand(name, description);
  result->add_option("--line", options->number, "Take one polyline of the file, counted from 0");
  result->add_option("--drop", options->dropped, "Look along this axis: x, y or z, the usual one")
      ->check(CLI::IsMember({"x", "y", "z"}));
  result->add_option("--svg", options->svg, "Draw the polylines before and after to this file");
  result->add_option("--out", options->out, "Write the result in the text format to this file, or - for the screen");
  result->callback([result, shared = options, action = std::move(action), &json = asJson] {
    refuseEmptyValues(*result);
    checkFiles(*shared, *result);
    run(*shared, action, json);
  });
  return result;
}

void addPolyLine(CLI::App& app, const bool& asJson)
{
  LineCommand command(app, asJson);
  addLineInfo(command);
  addLineThin(command);
  addLineOffset(command);
  addLineSplit(command);
  addLineResample(command);
  addLineIntersect(command);
}

std::vector<NumberedLine> numbered(std::vector<Line> lines)
{
  std::vector<NumberedLine> result;
  for (Line& line : lines)
    result.push_back({result.size(), std::move(line)});
  return result;
}

double sizeOf(const Line& line) { return line.calculateBoundingBox().getDiameter(); }

} // namespace Kavrel::Tool
