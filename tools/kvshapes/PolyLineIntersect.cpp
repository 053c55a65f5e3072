#include "PolyLines.h"

#include "geometry/PolyLineIntersectionAlgorithms.h"

#include <cstdint>
#include <unordered_map>

namespace Kavrel::Tool {

namespace {

using Intersections = PolyLineIntersectionAlgorithms<Point3N>;
using SearchTree = BoundingVolumeHierarchy::PolyLineSearchTree<Point3N>;

constexpr double prolongation = 1e-9; // of a segment, at both ends
constexpr double sqrOnePoint = 1e-12; // in the view, where lines have a size of about a million

struct Options
{
  std::string plane;
  std::string other;
};

/// The lines of a file as the view shows them, with their trees.
struct SeenLines
{
  SeenLines(const std::vector<NumberedLine>& entries, const View& view)
  {
    lines.reserve(entries.size()); // the trees borrow the lines
    for (const NumberedLine& entry : entries) {
      numbers.push_back(entry.number);
      lines.push_back(view.toView(entry.line));
      trees.emplace_back(lines.back());
    }
  }

  std::vector<std::size_t> numbers;
  std::vector<Line> lines;
  std::vector<SearchTree> trees;
};

/// Tells a crossing in a vertex, which each of the segments that end there has, when it comes again.
class Repetitions
{
public:
  Repetitions(const Line& a, const Line& b) : countA(a.numberOfPoints()), countB(b.numberOfPoints()) {}

  bool isNew(std::size_t segmentA, std::size_t segmentB, const Point<double, 3>& point)
  {
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t j = 0; j < 3; ++j) {
        const auto place = seen.find(key((segmentA + countA + i - 1) % countA, (segmentB + countB + j - 1) % countB));
        if (place != seen.end() && place->second.sqrDistance(point) < sqrOnePoint) return false;
      }
    seen.emplace(key(segmentA, segmentB), point);
    return true;
  }

private:
  std::uint64_t key(std::size_t a, std::size_t b) const { return static_cast<std::uint64_t>(a) * countB + b; }

  std::size_t countA;
  std::size_t countB;
  std::unordered_map<std::uint64_t, Point<double, 3>> seen;
};

class Collector
{
public:
  explicit Collector(const View& lineView) : view(lineView) {}

  void crossPair(const SeenLines& a, std::size_t i, const SeenLines& b, std::size_t j)
  {
    if (a.lines[i].numberOfPoints() < 2 || b.lines[j].numberOfPoints() < 2) return;
    std::vector<Point3N> points;
    std::vector<unsigned> onA, onB;
    Intersections::calculateIntersectionsXYGeneralCase(a.trees[i], b.trees[j], points, false, prolongation, false, &onA,
                                                       &onB, true);
    Repetitions repetitions(a.lines[i], b.lines[j]);
    for (std::size_t k = 0; k < points.size(); ++k)
      if (repetitions.isNew(onA[k], onB[k], points[k]))
        add({{"line", a.numbers[i]}, {"segment", onA[k]}, {"other line", b.numbers[j]}, {"other segment", onB[k]}},
            points[k]);
  }

  void crossItself(const SeenLines& a, std::size_t i)
  {
    const auto points = Intersections::getSelfIntersections(a.lines[i]);
    for (const Point3N& point : *points)
      add({{"line", a.numbers[i]}, {"segment", nullptr}, {"other line", a.numbers[i]}, {"other segment", nullptr}},
          point);
  }

  void crossPlane(const SeenLines& a, std::size_t i, const Plane<double, 3>& plane)
  {
    std::vector<Point<double, 3>> points;
    std::vector<std::pair<std::size_t, double>> places;
    Intersections::calculateIntersection(a.lines[i], plane, points, places);
    for (std::size_t k = 0; k < points.size(); ++k)
      add({{"line", a.numbers[i]}, {"segment", places[k].first}, {"parameter", places[k].second}}, points[k]);
  }

  void draw(const Line& other) { outcome.others.push_back(other); }

  Outcome finish()
  {
    outcome.report = {{"count", records.size()}, {"crossings", std::move(records)}};
    return std::move(outcome);
  }

private:
  void add(Json record, const Vector<double, 3>& seen)
  {
    const Point<double, 3> point = view.fromView(seen);
    record["position"] = toJson(point);
    records.push_back(std::move(record));
    outcome.marks.push_back(point);
  }

  const View& view;
  Outcome outcome;
  Json records = Json::array();
};

Outcome intersect(const Options& options, const std::vector<NumberedLine>& lines, const View& view)
{
  const SeenLines first(lines, view);
  const std::size_t count = lines.size();
  Collector collector(view);
  if (!options.plane.empty()) {
    const Plane<double, 3> plane = view.toView(parsePlane("--plane", options.plane));
    for (std::size_t i = 0; i < count; ++i)
      collector.crossPlane(first, i, plane);
  } else if (!options.other.empty()) {
    const std::vector<NumberedLine> others = numbered(readPolyLines(options.other));
    const SeenLines second(others, view);
    for (const NumberedLine& entry : others)
      collector.draw(entry.line);
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t j = 0; j < others.size(); ++j)
        collector.crossPair(first, i, second, j);
  } else {
    for (std::size_t i = 0; i < count; ++i) {
      collector.crossItself(first, i);
      for (std::size_t j = i + 1; j < count; ++j)
        collector.crossPair(first, i, first, j);
    }
  }
  return collector.finish();
}

} // namespace

void addLineIntersect(LineCommand& command)
{
  auto options = std::make_shared<Options>();
  CLI::App* action = command.add(
      "intersect", "Finds where polylines cross themselves and each other, or those of a second file, or a plane",
      [options](const std::vector<NumberedLine>& lines, const View& view) { return intersect(*options, lines, view); });
  auto* other = action->add_option("--with", options->other, "A second file of polylines");
  action->add_option("--plane", options->plane, "A plane: normal and distance nx,ny,nz,d")->excludes(other);
}

} // namespace Kavrel::Tool
