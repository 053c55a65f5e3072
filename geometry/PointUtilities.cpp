#include "geometry/PointUtilities.h"

#include <algorithm>
#include <array>
#include <limits>

namespace Kavrel {

namespace {

constexpr std::size_t largestUnreducedCloud = 64;
constexpr std::size_t numberOfDirections = 31;

std::vector<Vector<double, 3>> makeSphereDirections()
{
  const double h = 0.5;
  const double r = std::sqrt(3.0) / 2.0;
  const double k = 1.0 / (2.0 * std::sqrt(2.0));
  const double c = 1.0 / std::sqrt(3.0);
  return {{1, 0, 0},   {0, 1, 0},   {0, 0, 1},   {h, 0, r},  {r, 0, h},  {0, h, r},  {0, r, h},  {h, r, 0},
          {r, h, 0},   {-r, h, 0},  {-h, r, 0},  {-r, 0, h}, {-h, 0, r}, {0, -r, h}, {0, -h, r}, {k, k, r},
          {r, k, k},   {k, r, k},   {-k, k, r},  {-r, k, k}, {-k, r, k}, {k, -k, r}, {r, -k, k}, {k, -r, k},
          {-k, -k, r}, {-r, -k, k}, {-k, -r, k}, {c, c, c},  {-c, c, c}, {c, -c, c}, {-c, -c, c}};
}

/// The outermost points of a cloud along the directions, found in one pass over the points.
class Extremes
{
public:
  void scan(const std::vector<Vector<double, 3>>& points)
  {
    least.fill(std::numeric_limits<double>::infinity());
    greatest.fill(-std::numeric_limits<double>::infinity());
    const std::vector<Vector<double, 3>>& directions = PointUtilities::getSphereDirections();
    for (std::size_t i = 0; i < points.size(); ++i)
      for (std::size_t d = 0; d < numberOfDirections; ++d) {
        const double value = points[i].dot(directions[d]);
        if (value < least[d]) least[d] = value, first[d] = i;
        if (value > greatest[d]) greatest[d] = value, last[d] = i;
      }
  }

  const std::array<std::size_t, numberOfDirections>& ofLeastValue() const { return first; }
  const std::array<std::size_t, numberOfDirections>& ofGreatestValue() const { return last; }

private:
  std::array<double, numberOfDirections> least;
  std::array<double, numberOfDirections> greatest;
  std::array<std::size_t, numberOfDirections> first{};
  std::array<std::size_t, numberOfDirections> last{};
};

} // namespace

Point<double, 3> PointUtilities::getCenter(const std::vector<Vector<double, 3>>& points)
{
  Point<double, 3> sum;
  if (points.empty()) return sum;
  for (const Vector<double, 3>& p : points)
    sum += p;
  return sum / static_cast<double>(points.size());
}

double PointUtilities::getRadius(const Vector<double, 3>& center, const std::vector<Vector<double, 3>>& points)
{
  double sqrRadius = 0.0;
  for (const Vector<double, 3>& p : points)
    sqrRadius = std::max(sqrRadius, (p - center).sqrLength());
  return std::sqrt(sqrRadius);
}

std::vector<Vector<double, 3>> PointUtilities::getRelevantPointCloud(const std::vector<Vector<double, 3>>& points)
{
  if (points.size() <= largestUnreducedCloud) return points;
  Extremes extremes;
  extremes.scan(points);
  std::vector<Vector<double, 3>> relevant;
  relevant.reserve(2 * numberOfDirections);
  for (const std::size_t i : extremes.ofLeastValue())
    relevant.push_back(points[i]);
  for (const std::size_t i : extremes.ofGreatestValue())
    relevant.push_back(points[i]);
  return relevant;
}

const std::vector<Vector<double, 3>>& PointUtilities::getSphereDirections()
{
  static const std::vector<Vector<double, 3>> directions = makeSphereDirections();
  return directions;
}

} // namespace Kavrel
