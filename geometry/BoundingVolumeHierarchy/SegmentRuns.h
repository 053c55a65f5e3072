#pragma once

#include "geometry/PolyLine.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// Boxes in x and y around runs of consecutive segments of a polyline, each run twice as long as those of the level
/// below. As a polyline stays near itself for a while, this index needs no sorting: it costs little more than a copy of
/// the points. For questions that are asked once.
class SegmentRuns
{
public:
  using Position = Vector<double, 2>;

  struct Box
  {
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    /// A coordinate that is not a number is left out.
    void add(const Position& p)
    {
      lowX = std::min(lowX, p.x());
      lowY = std::min(lowY, p.y());
      highX = std::max(highX, p.x());
      highY = std::max(highY, p.y());
    }
    void add(const Box& other)
    {
      lowX = std::min(lowX, other.lowX);
      lowY = std::min(lowY, other.lowY);
      highX = std::max(highX, other.highX);
      highY = std::max(highY, other.highY);
    }
    /// Touching counts.
    bool meets(const Box& other) const
    {
      return lowX <= other.highX && other.lowX <= highX && lowY <= other.highY && other.lowY <= highY;
    }

    double lowX = infinity, lowY = infinity;
    double highX = -infinity, highY = -infinity;
  };

  template <class P>
  explicit SegmentRuns(const PolyLine<P>& line) : segmentCount(line.numberOfSegments())
  {
    points.reserve(segmentCount + 1);
    for (const P& p : line)
      points.emplace_back(p[0], p[1]);
    if (line.isClosed() && !points.empty()) points.push_back(points.front());
    build();
  }

  std::size_t numberOfSegments() const { return segmentCount; }
  const Position& start(std::size_t segment) const { return points[segment]; }
  const Position& end(std::size_t segment) const { return points[segment + 1]; }

  Box boxOf(std::size_t segment) const
  {
    Box box;
    box.add(points[segment]);
    box.add(points[segment + 1]);
    return box;
  }

  /// `visit(i, j)` for the pairs i < j of segments whose boxes meet, until it gives true. Whether it did.
  template <class Visit>
  bool visitMeetingPairs(const Visit& visit) const
  {
    return segmentCount > 0 && visitWithin(levels.size() - 1, 0, visit);
  }

private:
  static constexpr std::size_t leafSize = 8;

  void build()
  {
    std::vector<Box> boxes((segmentCount + leafSize - 1) / leafSize);
    for (std::size_t i = 0; i < boxes.size(); ++i)
      for (std::size_t k = i * leafSize; k <= endOf(i); ++k)
        boxes[i].add(points[k]);
    while (boxes.size() > 1) {
      std::vector<Box> next((boxes.size() + 1) / 2);
      for (std::size_t i = 0; i < boxes.size(); ++i)
        next[i / 2].add(boxes[i]);
      levels.push_back(std::move(boxes));
      boxes = std::move(next);
    }
    levels.push_back(std::move(boxes));
  }

  std::size_t endOf(std::size_t leaf) const { return std::min((leaf + 1) * leafSize, segmentCount); }

  /// Pairs of segments of one run.
  template <class Visit>
  bool visitWithin(std::size_t level, std::size_t run, const Visit& visit) const
  {
    if (level == 0) return visitWithinLeaf(run, visit);
    const std::size_t left = 2 * run, right = left + 1;
    if (visitWithin(level - 1, left, visit)) return true;
    if (right == levels[level - 1].size()) return false;
    return visitWithin(level - 1, right, visit) || visitBetween(level - 1, left, right, visit);
  }

  /// Pairs of one segment of each of two runs.
  template <class Visit>
  bool visitBetween(std::size_t level, std::size_t a, std::size_t b, const Visit& visit) const
  {
    if (!levels[level][a].meets(levels[level][b])) return false;
    if (level == 0) return visitBetweenLeaves(a, b, visit);
    const std::size_t count = levels[level - 1].size();
    for (std::size_t i = 2 * a; i < std::min(2 * a + 2, count); ++i)
      for (std::size_t j = 2 * b; j < std::min(2 * b + 2, count); ++j)
        if (visitBetween(level - 1, i, j, visit)) return true;
    return false;
  }

  template <class Visit>
  bool visitWithinLeaf(std::size_t leaf, const Visit& visit) const
  {
    for (std::size_t i = leaf * leafSize; i < endOf(leaf); ++i) {
      const Box box = boxOf(i);
      for (std::size_t j = i + 1; j < endOf(leaf); ++j)
        if (box.meets(boxOf(j)) && visit(i, j)) return true;
    }
    return false;
  }

  template <class Visit>
  bool visitBetweenLeaves(std::size_t a, std::size_t b, const Visit& visit) const
  {
    std::size_t near[leafSize];
    Box nearBoxes[leafSize];
    std::size_t count = 0;
    for (std::size_t j = b * leafSize; j < endOf(b); ++j) {
      nearBoxes[count] = boxOf(j);
      near[count] = j;
      count += nearBoxes[count].meets(levels[0][a]) ? 1 : 0;
    }
    for (std::size_t i = a * leafSize; i < endOf(a); ++i) {
      const Box box = boxOf(i);
      if (!box.meets(levels[0][b])) continue;
      for (std::size_t j = 0; j < count; ++j)
        if (box.meets(nearBoxes[j]) && visit(i, near[j])) return true;
    }
    return false;
  }

  std::size_t segmentCount;
  std::vector<Position> points;
  std::vector<std::vector<Box>> levels;
};

} // namespace Kavrel::BoundingVolumeHierarchy
