#include "geometry/PolyLine2DRoundCornerExpander.h"

#include "geometry/Circle.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Kavrel {

namespace {

using Polygon = PolyLine<Point3N>;
using Position = Point<double, 3>;
using Direction = Vector<double, 3>;

constexpr double smallestOffset = 1e-5; // strictly below: the input is copied
constexpr double zeroSqrLength = 1e-12; // strictly below: no segment
constexpr double normalizeEps = 1e-12;
constexpr double angleEps = 1e-4;

/// What becomes of a corner and of the outgoing segment.
struct CornerRecord
{
  bool arcCorner = true; // goes around the corner; else meets at the miter point
  Direction direction;   // of the segment, a unit vector without z
  double length = 0.0;   // of the segment in the plane
  Direction normal;      // unit vector, right of the direction of a counter-clockwise polygon
  Direction miter;       // from the corner to the miter point of an offset of 1
  double cut = 0.0;      // by which the miter shortens both segments of the corner
  bool tooShort = false; // nothing of the segment is left between the cuts
};

Direction flatWay(const Position& from, const Position& to)
{
  Direction way = to - from;
  way.z() = 0.0;
  return way;
}

/// Drops each point whose next one lies at the same place in XY. The last point of an open line has no next one.
void removeZeroSegments(Polygon& polygon)
{
  auto& points = polygon.getPointCollection();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const bool last = i + 1 == points.size();
    const Point3N& next = points[last ? 0 : i + 1]; // by the time the last point comes, [0] is the first one kept
    const bool hasNext = !last || (polygon.isClosed() && kept > 0);
    const bool hasSegment = hasNext && flatWay(points[i], next).sqrLength() >= zeroSqrLength;
    if (hasSegment || (last && !polygon.isClosed())) points[kept++] = points[i];
  }
  points.resize(kept);
}

/// The offset of one cleaned polygon.
class Expansion
{
public:
  Expansion(const Polygon& cleaned, double orientation, double signedOffset)
      : polygon(cleaned), up(0.0, 0.0, orientation), offset(signedOffset), count(cleaned.numberOfPoints()),
        arc(cleaned.getTolerance())
  {
    makeRecords();
    classifyCorners();
    findSwallowedSegments();
  }

  Polygon outline()
  {
    Polygon out;
    out.setClosed(polygon.isClosed());
    for (std::size_t i = 0; i < count; ++i) {
      if (isEnd(i))
        out.addPoint(displaced(i, records[i].normal));
      else if (records[i].arcCorner)
        addArcCorner(out, i);
      else
        addMiterCorner(out, i);
    }
    return out;
  }

private:
  bool isEnd(std::size_t i) const { return !polygon.isClosed() && (i == 0 || i + 1 == count); }
  std::size_t before(std::size_t i) const { return polygon.getPreviousPointIndex(i); }
  std::size_t after(std::size_t i) const { return polygon.getNextPointIndex(i); }

  void makeRecords()
  {
    records.reserve(count);
    for (std::size_t i = 0; i < polygon.numberOfSegments(); ++i) {
      CornerRecord record;
      record.direction = flatWay(polygon[i], polygon[after(i)]);
      record.length = record.direction.length();
      record.direction.normalize(normalizeEps);
      record.normal = record.direction.cross(up);
      record.normal.normalize(normalizeEps);
      records.push_back(record);
    }
    if (!polygon.isClosed()) records.push_back(records.back()); // the end goes along with the last segment
  }

  void classifyCorners()
  {
    for (std::size_t i = 0; i < count; ++i) {
      if (isEnd(i)) continue;
      const Direction& normalBefore = records[before(i)].normal;
      const double turn = up.dot(normalBefore.cross(records[i].normal));
      if (offset * turn < 0.0) makeMiter(records[i], normalBefore);
    }
  }

  void makeMiter(CornerRecord& record, const Direction& normalBefore) const
  {
    record.arcCorner = false;
    Direction bisector = normalBefore + record.normal;
    bisector.normalize(normalizeEps);
    record.miter = bisector;
    record.cut = 1.0;
    const double angle = bisector.angle(record.direction, angleEps);
    const double sine = std::sin(angle);
    if (sine == 0.0) return;
    record.miter = bisector / sine;
    record.cut = offset / std::tan(angle);
  }

  void findSwallowedSegments()
  {
    for (std::size_t i = 0; i < polygon.numberOfSegments(); ++i) {
      const double atStart = std::min(records[i].cut, records[before(i)].length);
      const double atEnd = std::min(records[after(i)].cut, records[after(i)].length);
      records[i].tooShort = records[i].length < atStart + atEnd;
    }
  }

  Point3N displaced(std::size_t i, const Direction& way) const { return Point3N(Position(polygon[i] + way * offset)); }

  void addMiterCorner(Polygon& out, std::size_t i) const
  {
    const CornerRecord& incoming = records[before(i)];
    const CornerRecord& outgoing = records[i];
    if (incoming.tooShort && outgoing.tooShort) return;
    if (outgoing.tooShort)
      out.addPoint(displaced(i, incoming.normal));
    else if (incoming.tooShort)
      out.addPoint(displaced(i, outgoing.normal));
    else
      out.addPoint(displaced(i, outgoing.miter));
  }

  void addArcCorner(Polygon& out, std::size_t i)
  {
    const CornerRecord& incoming = records[before(i)];
    const CornerRecord& outgoing = records[i];
    if (incoming.tooShort) out.addPoint(displaced(before(i), incoming.normal));
    addArc(out, i, displaced(i, incoming.normal), displaced(i, outgoing.normal));
    if (outgoing.tooShort) out.addPoint(displaced(after(i), outgoing.normal));
  }

  void addArc(Polygon& out, std::size_t i, const Position& start, const Position& end)
  {
    const Position& center = polygon[i];
    // By its angle: between two nearly equal end points, rounding could make the arc run the long way.
    const double angle = (start - center).angle(end - center, angleEps);
    const Circle<double, 3> circle(center, std::abs(offset), offset >= 0.0 ? -up : up, start, angle,
                                   polygon.getTolerance());
    circle.calcPolyLine(arc);
    for (const Position& point : arc)
      out.addPoint(Point3N(point));
  }

  const Polygon& polygon;
  Direction up;
  double offset;
  std::size_t count;
  std::vector<CornerRecord> records;
  PolyLine<Position> arc; // of one corner after the other
};

} // namespace

PolyLine2DRoundCornerExpander::PolyLine2DRoundCornerExpander(const PolyLine<Point3N>& line) : polyLine(line) {}

PolyLine2DRoundCornerExpander::~PolyLine2DRoundCornerExpander() = default;

bool PolyLine2DRoundCornerExpander::expandPolyLine(PolyLine<Point3N>& result, double offset)
{
  if (std::abs(offset) < smallestOffset) {
    result = polyLine;
    return true;
  }
  if (polyLine.numberOfPoints() < 2) return false;
  if (polyLine.getXYAreaWithSign() < 0.0) orientation = -1.0;
  PolyLine<Point3N> polygon(polyLine);
  removeZeroSegments(polygon);
  if (polygon.numberOfPoints() < 2) return false;
  result = Expansion(polygon, orientation, offset).outline();
  return true;
}

} // namespace Kavrel
