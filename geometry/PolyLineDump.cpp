#include "geometry/PolyLineDump.h"

#include <fstream>
#include <locale>
#include <sstream>

namespace Kavrel {

namespace {

constexpr double strokeLength = 10.0; // in normals
constexpr int fullPrecisionDigits = 15;

/// Numbered rows of one section.
class Rows
{
public:
  /// The keyword has the end of its line with it, so that a width of the stream covers both.
  Rows(std::ostream& stream, const char* keyword) : out(stream) { out << keyword; }

  template <class T, unsigned dim>
  void add(const Vector<T, dim>& v)
  {
    out << number++ << ' ' << v << '\n';
  }

private:
  std::ostream& out;
  std::size_t number = 0;
};

/// One row a vertex, the first one again for a closed line.
template <class P, class GetVector>
void writeSection(const PolyLine<P>& polyline, std::ostream& out, const char* keyword, GetVector getVector)
{
  Rows rows(out, keyword);
  for (const P& point : polyline)
    rows.add(getVector(point));
  if (polyline.isClosed() && !polyline.isEmpty()) rows.add(getVector(polyline.front()));
}

template <class P>
void writePoints(const PolyLine<P>& polyline, std::ostream& out)
{
  writeSection(polyline, out, "Poly3D\n", [](const Vector<typename P::Scalar, P::Dim>& position) { return position; });
}

template <class P>
void writeStrokes(const PolyLine<P>& polyline, std::ostream& out)
{
  using Position = Vector<typename P::Scalar, P::Dim>;
  Rows rows(out, "Poly3D\n");
  for (const P& point : polyline) {
    const Position& position = point;
    rows.add(position);
    if (!point.hasNormal()) continue;
    rows.add(position + point.getNormal() * strokeLength);
    rows.add(position);
  }
  if (polyline.isClosed() && !polyline.isEmpty()) rows.add(static_cast<const Position&>(polyline.front()));
}

Vector<double, 3> strokeFor(ProjectionPoint::PointPosition position)
{
  switch (static_cast<int>(position)) {
  case 1:
    return {0.0, 1.0, 0.0};
  case 2:
    return {-1.0, 0.0, 0.0};
  case 3:
    return {0.0, -1.0, 0.0};
  case 4:
    return {1.0, 0.0, 0.0};
  default:
    return {1.0, 1.0, 0.0};
  }
}

} // namespace

template <PolyLinePoint P>
void PolyLineDump::toStream(const PolyLine<P>& polyline, std::ostream& out, PolyNormalDumpMode mode, bool fullPrecision,
                            bool scientific)
{
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.flags(out.flags());
  text.width(out.width());
  text.precision(fullPrecision ? fullPrecisionDigits : out.precision());

  bool strokes = false;
  if constexpr (P::TypeHasNormal) {
    strokes = mode == PolyNormalDumpMode::NormalStrokes;
    if (strokes) writeStrokes(polyline, text);
  }
  if (!strokes) {
    if (scientific) text.flags(std::ios::scientific);
    writePoints(polyline, text);
    text.flags(out.flags());
  }

  text.precision(out.precision());
  if (mode == PolyNormalDumpMode::NormalsSection) {
    if constexpr (P::TypeHasNormal)
      writeSection(polyline, text, "Normals\n", [](const P& point) { return point.getNormal(); });
    if constexpr (P::TypeHasTangent)
      writeSection(polyline, text, "Binormals\n", [](const P& point) { return point.getTangent(); });
  }
  const std::string_view written = text.view();
  out.write(written.data(), static_cast<std::streamsize>(written.size()));
  out.flush();
}

template <PolyLinePoint P>
void PolyLineDump::toFile(const PolyLine<P>& polyline, const std::string& name, int number, bool append,
                          PolyNormalDumpMode mode)
{
  const std::string fileName = number < 0 ? name + ".kv" : name + "_" + std::to_string(number) + ".kv";
  std::ofstream file(fileName, std::ios::out | (append ? std::ios::app : std::ios::trunc));
  toStream(polyline, file, mode, false, false);
}

void PolyLineDump::withLogicalPositionsInNormals(const PolyLine<ProjectionPoint>& polyline, std::ostream& out)
{
  PolyLine<Point3N> shown;
  shown.reserve(polyline.numberOfPoints());
  for (const ProjectionPoint& point : polyline)
    shown.addPoint(Point3N(point, strokeFor(point.getLogicalPosition())));
  shown.setClosed(polyline.isClosed());
  shown.dump(out, PolyNormalDumpMode::NormalStrokes, false, false);
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT void PolyLineDump::toStream(const PolyLine<__VA_ARGS__>&, std::ostream&,                    \
                                                       PolyNormalDumpMode, bool, bool);                                \
  template KVSHAPES_EXPORT void PolyLineDump::toFile(const PolyLine<__VA_ARGS__>&, const std::string&, int, bool,      \
                                                     PolyNormalDumpMode);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
