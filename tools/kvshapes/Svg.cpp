#include "PolyLines.h"

#include <fmt/core.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <utility>

namespace Kavrel::Tool {

namespace {

constexpr double width = 800.0; // pixels that the longer side of the drawing takes
constexpr double margin = 20.0;
constexpr double markRadius = 3.0;
constexpr const char* colourBefore = "#9aa5b1";
constexpr const char* colourOfOthers = "#1f2937";
constexpr const char* colourOfMarks = "#1d4ed8";
constexpr std::array coloursAfter{"#c2410c", "#15803d"}; // in turn, so that the pieces of a line show

/// Brings the picture's plane to pixels: y points down there.
class Canvas
{
public:
  explicit Canvas(const View& lineView) : view(lineView) {}

  void include(const Line& line)
  {
    for (const Point3N& point : line)
      box.enlarge(view.toView(point));
  }

  /// Call it when everything is included.
  void fit()
  {
    const Vector<double, 3> extent = box.getMax() - box.getMin();
    const double longest = std::max(extent.x(), extent.y());
    const double wanted = width / longest;
    scale = std::isfinite(wanted) ? wanted : 1.0; // all points may lie in one place
  }

  double getWidth() const { return (box.getMax().x() - box.getMin().x()) * scale + 2.0 * margin; }
  double getHeight() const { return (box.getMax().y() - box.getMin().y()) * scale + 2.0 * margin; }

  std::pair<double, double> place(const Vector<double, 3>& p) const
  {
    const Point<double, 3> at = view.toView(p);
    return {(at.x() - box.getMin().x()) * scale + margin, (box.getMax().y() - at.y()) * scale + margin};
  }

private:
  const View& view;
  BoundingBox<double, 3> box;
  double scale = 1.0;
};

void drawLine(std::ostream& out, const Canvas& canvas, const Line& line, const char* colour)
{
  if (line.isEmpty()) return;
  fmt::print(out, "<path stroke=\"{}\" d=\"", colour);
  for (std::size_t i = 0; i < line.numberOfPoints(); ++i) {
    const auto [x, y] = canvas.place(line[i]);
    fmt::print(out, "{}{:.2f} {:.2f}", i == 0 ? 'M' : 'L', x, y);
  }
  // A line of one point shows as the dot of its round cap.
  fmt::print(out, "{}\"/>\n", line.isClosed() || line.numberOfPoints() == 1 ? "Z" : "");
}

void drawMark(std::ostream& out, const Canvas& canvas, const Vector<double, 3>& p)
{
  const auto [x, y] = canvas.place(p);
  fmt::print(out, "<circle cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"{}\"/>\n", x, y, markRadius);
}

} // namespace

void drawSvg(const std::string& file, const View& view, const std::vector<NumberedLine>& before, const Outcome& outcome)
{
  Canvas canvas(view);
  for (const NumberedLine& entry : before)
    canvas.include(entry.line);
  for (const auto* lines : {&outcome.others, &outcome.lines})
    for (const Line& line : *lines)
      canvas.include(line);
  canvas.fit();

  std::ofstream out(file);
  fmt::print(out, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" height=\"{1:.0f}\" ", canvas.getWidth(),
             canvas.getHeight());
  fmt::print(out, "viewBox=\"0 0 {0:.2f} {1:.2f}\" fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n",
             canvas.getWidth(), canvas.getHeight());
  fmt::print(out, "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n");
  fmt::print(out, "<g stroke-width=\"2.5\">\n<title>before</title>\n");
  for (const NumberedLine& entry : before)
    drawLine(out, canvas, entry.line, colourBefore);
  fmt::print(out, "</g>\n<g stroke-width=\"1\">\n<title>second file</title>\n");
  for (const Line& line : outcome.others)
    drawLine(out, canvas, line, colourOfOthers);
  fmt::print(out, "</g>\n<g stroke-width=\"1\">\n<title>after</title>\n");
  for (std::size_t i = 0; i < outcome.lines.size(); ++i)
    drawLine(out, canvas, outcome.lines[i], coloursAfter[i % coloursAfter.size()]);
  fmt::print(out, "</g>\n<g fill=\"{}\">\n<title>points</title>\n", colourOfMarks);
  for (const Point3N& mark : outcome.marks)
    drawMark(out, canvas, mark);
  fmt::print(out, "</g>\n</svg>\n");
  out.flush();
  if (!out) throw std::runtime_error(file + ": can't be written");
}

} // namespace Kavrel::Tool
