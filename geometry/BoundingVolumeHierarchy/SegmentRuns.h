#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/PolyLine.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// Boxes in x and y around runs of consecutive segments of a polyline, some runs of one level making one of the next.
/// As a polyline stays near itself for a while, this index needs no sorting: it costs little more than a copy of the
/// points. It keeps the places that the points have when it is made.
class SegmentRuns
{
public:
  using Position = Vector<double, 2>;

  /// Segments count as prolonged at both ends by \p extension, at least 0, times their extent.
  template <class P>
  explicit SegmentRuns(const PolyLine<P>& line, double extension = 0.0)
      : segmentCount(line.numberOfSegments()), prolongation(extension)
  {
    points.reserve(segmentCount + 1);
    for (const P& p : line)
      points.emplace_back(p[0], p[1]);
    if (line.isClosed() && !points.empty()) points.push_back(points.front());
    makeLevels();
  }

  /// The same segments in the same places, otherwise prolonged.
  SegmentRuns(const SegmentRuns& other, double extension)
      : segmentCount(other.segmentCount), prolongation(extension), points(other.points)
  {
    makeLevels();
  }

  std::size_t numberOfSegments() const { return segmentCount; }
  double getProlongation() const { return prolongation; }
  const Position& start(std::size_t segment) const { return points[segment]; }
  const Position& end(std::size_t segment) const { return points[segment + 1]; }

  /// `visit(i, j)` for the pairs i < j of segments whose boxes meet or almost do, until it gives true. Whether it did.
  template <class Visit>
  bool visitMeetingPairs(const Visit& visit) const
  {
    return segmentCount > 0 && visitWithin({levels.size() - 1, 0}, visit);
  }

  /// The same for a segment of this line and one of another.
  template <class Visit>
  bool visitMeetingPairs(const SegmentRuns& other, const Visit& visit) const
  {
    if (segmentCount == 0 || other.segmentCount == 0) return false;
    const Group top{levels.size() - 1, 0}, topOfOther{other.levels.size() - 1, 0};
    return visitBetween(top, at(top).around(), other, topOfOther, other.at(topOfOther).around(), visit);
  }

private:
  static constexpr std::size_t width = 8; // boxes side by side, a multiple of the lanes
  static constexpr float infinity = std::numeric_limits<float>::infinity();
  static constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();
  /// By so much of its extent a segment is longer for the rounding of a parameter to 0 or 1.
  static constexpr double roundingSlack = 4 * std::numeric_limits<double>::epsilon();

  /// Rounding to single precision keeps the order of numbers, so boxes that meet still do.
  struct Box
  {
    float lowX = infinity, lowY = infinity;
    float highX = -infinity, highY = -infinity;
  };

  /// The boxes of consecutive segments or runs. Unused ones are no numbers, which meet nothing, be it infinite.
  struct Boxes
  {
    Boxes()
    {
      for (float* bounds : {lowX, lowY, highX, highY})
        std::fill_n(bounds, width, noNumber);
    }

    void set(std::size_t i, const Box& box)
    {
      lowX[i] = box.lowX, lowY[i] = box.lowY;
      highX[i] = box.highX, highY[i] = box.highY;
    }
    Box get(std::size_t i) const { return {lowX[i], lowY[i], highX[i], highY[i]}; }

    Box around() const
    {
      Box box;
      for (std::size_t i = 0; i < width; ++i) {
        box.lowX = std::min(box.lowX, lowX[i]);
        box.lowY = std::min(box.lowY, lowY[i]);
        box.highX = std::max(box.highX, highX[i]);
        box.highY = std::max(box.highY, highY[i]);
      }
      return box;
    }

    /// Those that meet a box, one bit each.
    unsigned meeting(const Box& box) const
    {
      unsigned set = 0;
      for (std::size_t i = 0; i < width; i += 4) {
        const auto inX =
            (Lanes::load(lowX + i) <= Lanes::all(box.highX)) & (Lanes::all(box.lowX) <= Lanes::load(highX + i));
        const auto inY =
            (Lanes::load(lowY + i) <= Lanes::all(box.highY)) & (Lanes::all(box.lowY) <= Lanes::load(highY + i));
        set |= Lanes::bits(inX & inY) << i;
      }
      return set;
    }

    float lowX[width], lowY[width], highX[width], highY[width];
  };

  /// Consecutive segments on level 0, runs of the level below on others.
  struct Group
  {
    Group part(std::size_t i) const { return {level - 1, index * width + i}; }

    std::size_t level;
    std::size_t index;
  };

  std::pair<float, float> span(double a, double b) const
  {
    const double low = std::min(a, b), high = std::max(a, b);
    const double margin = high > low ? (prolongation + roundingSlack) * (high - low) : 0.0;
    return {static_cast<float>(low - margin), static_cast<float>(high + margin)};
  }

  void makeLevels()
  {
    levels.emplace_back((segmentCount + width - 1) / width);
    for (std::size_t i = 0; i < segmentCount; ++i) {
      const auto [lowX, highX] = span(start(i).x(), end(i).x());
      const auto [lowY, highY] = span(start(i).y(), end(i).y());
      levels[0][i / width].set(i % width, {lowX, lowY, highX, highY});
    }
    while (levels.back().size() > 1) {
      const auto& last = levels.back();
      std::vector<Boxes> next((last.size() + width - 1) / width);
      for (std::size_t i = 0; i < last.size(); ++i)
        next[i / width].set(i % width, last[i].around());
      levels.push_back(std::move(next));
    }
  }

  const Boxes& at(Group group) const { return levels[group.level][group.index]; }

  /// `visit(i)` for each bit i that is set, until it gives true.
  template <class Visit>
  static bool forEachBit(unsigned set, const Visit& visit)
  {
    for (; set != 0; set &= set - 1)
      if (visit(static_cast<std::size_t>(std::countr_zero(set)))) return true;
    return false;
  }

  /// Pairs of segments of one group.
  template <class Visit>
  bool visitWithin(Group group, const Visit& visit) const
  {
    const Boxes& boxes = at(group);
    return forEachBit((1U << width) - 1, [&](std::size_t i) {
      const Box box = boxes.get(i);
      if (!(box.lowX <= box.highX)) return false;
      if (group.level > 0 && visitWithin(group.part(i), visit)) return true;
      return forEachBit(boxes.meeting(box) >> (i + 1) << (i + 1),
                        [&](std::size_t j) { return visitPair(group, i, box, *this, group, j, boxes.get(j), visit); });
    });
  }

  /// Pairs of a segment of a group of this line and one of a group of the other. The boxes around the groups meet.
  template <class Visit>
  bool visitBetween(Group a, const Box& boxA, const SegmentRuns& other, Group b, const Box& boxB,
                    const Visit& visit) const
  {
    const Boxes& boxesA = at(a);
    const Boxes& boxesB = other.at(b);
    const unsigned nearA = boxesA.meeting(boxB);
    if (a.level > b.level)
      return forEachBit(nearA,
                        [&](std::size_t i) { return visitBetween(a.part(i), boxesA.get(i), other, b, boxB, visit); });
    const unsigned nearB = boxesB.meeting(boxA);
    if (b.level > a.level)
      return forEachBit(nearB,
                        [&](std::size_t j) { return visitBetween(a, boxA, other, b.part(j), boxesB.get(j), visit); });
    if (nearB == 0) return false;
    return forEachBit(nearA, [&](std::size_t i) {
      const Box box = boxesA.get(i);
      return forEachBit(boxesB.meeting(box) & nearB,
                        [&](std::size_t j) { return visitPair(a, i, box, other, b, j, boxesB.get(j), visit); });
    });
  }

  /// What the i-th and the j-th box of two groups on one level stand for.
  template <class Visit>
  bool visitPair(Group a, std::size_t i, const Box& boxA, const SegmentRuns& other, Group b, std::size_t j,
                 const Box& boxB, const Visit& visit) const
  {
    if (a.level == 0) return visit(a.index * width + i, b.index * width + j);
    return visitBetween(a.part(i), boxA, other, b.part(j), boxB, visit);
  }

  std::size_t segmentCount;
  double prolongation;
  std::vector<Position> points;
  std::vector<std::vector<Boxes>> levels;
};

} // namespace Kavrel::BoundingVolumeHierarchy
