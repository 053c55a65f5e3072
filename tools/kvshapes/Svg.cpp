#include "PolyLines.h"

#include <fmt/core.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <fstream>
#include <utility>

namespace Kavrel::Tool {

namespace {

constexpr double width = 800.0; // pixels that the longer side of the drawing takes
constexpr double margin = 20.0;
constexpr double markRadius = 3.0;

/// Brings the picture's plane to pixels: y points down there.
class Canvas
{
public:
  explicit Canvas(const View& lineView) : view(lineView) {}

  void include(const Vector<double, 3>& p) { box.enlarge(view.toView(p)); }

  /// Call it when everything is included.
  void fit()
  {
    const Vector<double, 3> extent = box.getMax() - box.getMin();
    const double longest = std::max(extent.x(), extent.y());
    scale = longest > 0.0 ? width / longest : 1.0;
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

void drawLine(std::ostream& out, const Canvas& canvas, const Line& line)
{
  fmt::print(out, "<path d=\"");
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

void drawSvg(const std::string& file, const View& view, const std::vector<NumberedLine>& before,
             const std::vector<Line>& after, const std::vector<Point3N>& marks)
{
  Canvas canvas(view);
  for (const NumberedLine& entry : before)
    for (const Point3N& point : entry.line)
      canvas.include(point);
  for (const Line& line : after)
    for (const Point3N& point : line)
      canvas.include(point);
  canvas.fit();

  std::ofstream out(file);
  fmt::print(out, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" height=\"{1:.0f}\" ", canvas.getWidth(),
             canvas.getHeight());
  fmt::print(out, "viewBox=\"0 0 {0:.2f} {1:.2f}\" fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n",
             canvas.getWidth(), canvas.getHeight());
  fmt::print(out, "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n");
  fmt::print(out, "<g stroke=\"#9aa5b1\" stroke-width=\"2.5\">\n<title>before</title>\n");
  for (const NumberedLine& entry : before)
    drawLine(out, canvas, entry.line);
  fmt::print(out, "</g>\n<g stroke=\"#c2410c\" stroke-width=\"1\">\n<title>after</title>\n");
  for (const Line& line : after)
    drawLine(out, canvas, line);
  fmt::print(out, "</g>\n<g fill=\"#1d4ed8\">\n<title>points</title>\n");
  for (const Point3N& mark : marks)
    drawMark(out, canvas, mark);
  fmt::print(out, "</g>\n</svg>\n");
  out.flush();
  if (!out) throw std::runtime_error(file + ": can't be written");
}

} // namespace Kavrel::Tool
