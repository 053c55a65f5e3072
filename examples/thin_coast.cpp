// Thins out coast lines to a tolerance, by the greedy method and by the careful one, and shows how far they moved.
// Usage: thin_coast [FILE]
#include "geometry/PolyLineAlgorithm.h"
#include "geometry/PolyLineThinOutAlgorithm.h"
#include "geometry/ShapecoreIO.h"

#include <algorithm>
#include <cstdio>

using namespace Kavrel;
using Line = PolyLine<Point<double, 2>>;

namespace {

struct Result
{
  std::size_t points = 0;
  double moved = 0.0;
};

Result thinAll(const std::vector<std::shared_ptr<Line>>& coasts, double tolerance, bool careful)
{
  Result result;
  for (const auto& coast : coasts) {
    Line thin = *coast;
    if (careful)
      PolyLineThinOutAlgorithm::thinout(thin, tolerance, {}); // no vertex is protected
    else
      PolyLineThinOutAlgorithm::thinout(thin, tolerance);
    result.points += thin.numberOfPoints();
    result.moved = std::max(result.moved, PolyLineAlgorithm::hausdorffDistance(*coast, thin));
  }
  return result;
}

} // namespace

int main(int argc, char** argv)
{
  const auto coasts =
      ShapecoreIO::importPolyLines<Point<double, 2>>(FileName(argc > 1 ? argv[1] : "data/coast.txt"), 0, 1);
  std::size_t before = 0;
  for (const auto& coast : coasts)
    before += coast->numberOfPoints();
  bool good = !coasts.empty();
  for (const double tolerance : {0.01, 0.1, 0.5}) {
    const Result greedy = thinAll(coasts, tolerance, false);
    const Result careful = thinAll(coasts, tolerance, true);
    std::printf("tolerance %.2f: of %zu points %zu stay, moved by %.3f at most; carefully %zu, moved by %.3f\n",
                tolerance, before, greedy.points, greedy.moved, careful.points, careful.moved);
    // Points are measured from the line through their neighbours, so a headland that turns back may go as a whole:
    // the distance is worth a look.
    good = good && greedy.points < careful.points && careful.points < before;
    good = good && std::max(greedy.moved, careful.moved) < 8.0 * tolerance;
  }
  return good ? 0 : 1;
}
