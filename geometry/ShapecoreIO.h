#pragma once

#include "geometry/Instantiations.h"
#include "geometry/KvFileParser.h"
#include "platform/Export.h"
#include "platform/kvfile/FileName.h"

#include <memory>
#include <vector>

/// Reads files in the text format. A file that can't be opened raises std::runtime_error "ShapecoreIO: file could not
/// be opened! Check paths, permissions, etc."; beyond that everything raises what KvFileParser raises.
namespace Kavrel::ShapecoreIO {

/// The mesh of a file. What stands behind a faulty row is missing without a message; \p status, where given, tells so,
/// and names the line, also if the read raises.
KVSHAPES_EXPORT std::shared_ptr<Mesh> importMesh(const FileName& file, TextImportStatus* status = nullptr);

/// The polylines of a file, in order. Points in the plane take coordinate \p i of the file's points as x and coordinate
/// \p j as y; both must be below 3, else ShapecoreException. Other points ignore \p i and \p j. Domain, tolerance and
/// closed flag are those of the read polyline.
template <class PointType>
std::vector<std::shared_ptr<PolyLine<PointType>>> importPolyLines(const FileName& file, unsigned int i = 0,
                                                                  unsigned int j = 1);

/// The first polyline of a file, or null if it holds none.
template <class PointType>
std::shared_ptr<PolyLine<PointType>> importPolyLine(const FileName& file, unsigned int i = 0, unsigned int j = 1);

#define KV_DECLARE_IMPORT(...)                                                                                         \
  extern template KVSHAPES_EXPORT std::vector<std::shared_ptr<PolyLine<__VA_ARGS__>>> importPolyLines<__VA_ARGS__>(    \
      const FileName&, unsigned int, unsigned int);                                                                    \
  extern template KVSHAPES_EXPORT std::shared_ptr<PolyLine<__VA_ARGS__>> importPolyLine<__VA_ARGS__>(                  \
      const FileName&, unsigned int, unsigned int);
KV_FOR_EACH_POLYLINE_POINT(KV_DECLARE_IMPORT)
#undef KV_DECLARE_IMPORT

} // namespace Kavrel::ShapecoreIO
