#pragma once

#include "platform/Export.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Kavrel {

class KvIfstream;
class Mesh;
class Point3N;
class Point3NT;
template <class PointType>
class PolyLine;

/// How a read of the text format ended.
struct KVSHAPES_EXPORT TextImportStatus
{
  /// False when a row had something else where a number should stand, or ended early: what follows wasn't read.
  bool complete = false;
  /// The line, counted from 1, of the faulty row, or of the row or keyword that raised; 0 after a complete read.
  std::size_t line = 0;
};

/// Reads meshes, polylines and point collections from the keyword text format, described in docs/guide/text-format.md.
///
/// The reader is forgiving: it skips what it doesn't expect, and a row that can't be read ends the reading without a
/// message, as the end of the file would; that row is dropped. getStatus() tells the difference. A read takes all
/// that is left in the stream. Numbers are read in the classic locale, whatever that of the stream.
///
/// What every read raises: KvException "File is empty." for a text without a word; std::invalid_argument
/// "invalid stod argument" and std::out_of_range "stod argument out of range" for the first number of a "projpoints"
/// row. A failed read leaves what it had finished before.
class KVSHAPES_EXPORT KvFileParser
{
public:
  /// Borrows the stream.
  explicit KvFileParser(KvIfstream& input) : stream(input) {}

  /// Appends vertices and triangles to the mesh. Behind each "facets" section the mesh is checked, and gets normals,
  /// weighted by corner angles, if it has none. Raises KvException "Mesh contains a wrong number of normals." for more
  /// normals than vertices, and what Mesh::addTriangle and Mesh::check raise.
  void readMesh(Mesh& mesh);

  /// Appends the polylines of the text: each "poly3d" section with the "normals" and "binormals" behind it, and each
  /// "projpoints" section. A polyline that has a point without normal is closed if its ends lie within 1e-5. Raises
  /// KvException "Polyline contains a wrong number of normals." or "Polyline contains a wrong number of binormals." for
  /// more of them than points.
  void readPolyLine(std::vector<std::shared_ptr<PolyLine<Point3NT>>>& polylines);
  std::vector<std::shared_ptr<PolyLine<Point3NT>>> readPolyLine();

  /// Appends one collection for each "poly3d" section, with its "normals", and each "projpoints" section. Raises
  /// KvException "Point-Collection contains a wrong number of normals." for more normals than points, and "The file
  /// seems to contain meshes." at a row of "points" or "facets".
  void readPoints(std::vector<std::shared_ptr<std::vector<Point3N>>>& collections);
  std::vector<std::shared_ptr<std::vector<Point3N>>> readPoints();

  /// How the last read ended, also if it raised.
  const TextImportStatus& getStatus() const { return status; }

private:
  KvIfstream& stream;
  TextImportStatus status;
};

} // namespace Kavrel
