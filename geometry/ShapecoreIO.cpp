#include "geometry/ShapecoreIO.h"

#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kvfile/KvIfstream.h"

#include <stdexcept>

namespace Kavrel::ShapecoreIO {

namespace {

void open(KvIfstream& stream, const FileName& file)
{
  stream.open(file, std::ios_base::in);
  if (!stream.is_open())
    throw std::runtime_error("ShapecoreIO: file could not be opened! Check paths, permissions, etc.");
}

template <class PointType>
PointType convert(const Point3NT& point, [[maybe_unused]] unsigned i, [[maybe_unused]] unsigned j)
{
  using T = typename PointType::Scalar;
  if constexpr (PointType::Dim == 2)
    return PointType(static_cast<T>(point[i]), static_cast<T>(point[j]));
  else if constexpr (PointType::TypeHasNormal)
    return PointType(point);
  else
    return PointType(static_cast<T>(point.x()), static_cast<T>(point.y()), static_cast<T>(point.z()));
}

template <class PointType>
std::shared_ptr<PolyLine<PointType>> convert(const PolyLine<Point3NT>& source, unsigned i, unsigned j)
{
  auto target = std::make_shared<PolyLine<PointType>>(source.numberOfPoints(), source.getTolerance());
  for (const Point3NT& point : source)
    target->addPoint(convert<PointType>(point, i, j));
  target->setDomain(source.getDomain());
  target->setClosed(source.isClosed());
  return target;
}

} // namespace

std::shared_ptr<Mesh> importMesh(const FileName& file, TextImportStatus* status)
{
  KvIfstream stream;
  open(stream, file);
  KvFileParser parser(stream);
  const auto mesh = std::make_shared<Mesh>();
  try {
    parser.readMesh(*mesh);
  } catch (...) {
    if (status) *status = parser.getStatus();
    throw;
  }
  if (status) *status = parser.getStatus();
  return mesh;
}

template <class PointType>
std::vector<std::shared_ptr<PolyLine<PointType>>> importPolyLines(const FileName& file, unsigned int i, unsigned int j)
{
  if (PointType::Dim == 2 && (i > 2 || j > 2))
    throw ShapecoreException("ShapecoreIO::importPolyLines: coordinate index out of bounds");
  KvIfstream stream;
  open(stream, file);
  std::vector<std::shared_ptr<PolyLine<PointType>>> polylines;
  for (const auto& polyline : KvFileParser(stream).readPolyLine())
    polylines.push_back(convert<PointType>(*polyline, i, j));
  return polylines;
}

template <class PointType>
std::shared_ptr<PolyLine<PointType>> importPolyLine(const FileName& file, unsigned int i, unsigned int j)
{
  const auto polylines = importPolyLines<PointType>(file, i, j);
  return polylines.empty() ? nullptr : polylines.front();
}

#define KV_DEFINE_IMPORT(...)                                                                                          \
  template KVSHAPES_EXPORT std::vector<std::shared_ptr<PolyLine<__VA_ARGS__>>> importPolyLines<__VA_ARGS__>(           \
      const FileName&, unsigned int, unsigned int);                                                                    \
  template KVSHAPES_EXPORT std::shared_ptr<PolyLine<__VA_ARGS__>> importPolyLine<__VA_ARGS__>(                         \
      const FileName&, unsigned int, unsigned int);
KV_FOR_EACH_POLYLINE_POINT(KV_DEFINE_IMPORT)
#undef KV_DEFINE_IMPORT

} // namespace Kavrel::ShapecoreIO
