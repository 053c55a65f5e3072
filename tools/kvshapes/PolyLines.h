#pragma once

#include "Command.h"

#include <functional>
#include <optional>

namespace Kavrel::Tool {

using Line = PolyLine<Point3N>;

/// A polyline with its place in the file that it came from, counted from 0.
struct NumberedLine
{
  std::size_t number;
  Line line;
};

/// The plane that lines are looked at in, and their size there: models of any size and place are brought to a size at
/// which absolute limits don't matter. Sizes change by a power of two, so that coordinates come back as they were.
class View
{
public:
  /// Looks along the axis that is dropped: z shows x and y, y shows x and z, x shows y and z.
  View(char droppedAxis, const std::vector<NumberedLine>& lines);

  /// The first two coordinates are those of the picture.
  Point<double, 3> toView(const Vector<double, 3>& p) const { return turned(p) * scale; }
  Point<double, 3> fromView(const Vector<double, 3>& p) const;
  Plane<double, 3> toView(const Plane<double, 3>& plane) const;
  Line toView(const Line& line) const;
  Line fromView(const Line& line) const;
  /// What a length of the model measures here.
  double getScale() const { return scale; }

private:
  Vector<double, 3> turned(const Vector<double, 3>& p) const;

  char dropped;
  double scale;
};

/// What an action finds: the report, and what to draw and to write.
struct Outcome
{
  Json report;
  std::vector<Line> lines;
  std::vector<Point3N> marks;
  std::vector<Line> others; ///< of a second file: drawn, but not written
};

/// What every action on polylines is told.
struct LineOptions
{
  std::string file;
  std::optional<std::size_t> number;
  std::string dropped = "z";
  std::string svg;
  std::string out;
};

using LineAction = std::function<Outcome(const std::vector<NumberedLine>&, const View&)>;

/// Makes the actions of the command "polyline", with the options that all of them share.
class LineCommand
{
public:
  LineCommand(CLI::App& app, const bool& asJsonFlag);

  /// An action without the options of its own; `action` is called when the command line has been read.
  CLI::App* add(const std::string& name, const std::string& description, LineAction action);

private:
  CLI::App* command;
  std::shared_ptr<LineOptions> options;
  const bool& asJson;
};

/// Draws the lines before and what an action made of them as an SVG file. Raises when it can't be written.
void drawSvg(const std::string& file, const View& view, const std::vector<NumberedLine>& before,
             const Outcome& outcome);

/// Lines as they come from a file.
std::vector<NumberedLine> numbered(std::vector<Line> lines);

/// The diameter of the box around the points.
double sizeOf(const Line& line);

// Each adds its action.
void addLineInfo(LineCommand& command);
void addLineThin(LineCommand& command);
void addLineOffset(LineCommand& command);
void addLineSplit(LineCommand& command);
void addLineResample(LineCommand& command);
void addLineIntersect(LineCommand& command);

} // namespace Kavrel::Tool
