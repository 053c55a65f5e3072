#include "geometry/KvFileParser.h"

#include "geometry/KvTextScanner.h"
#include "geometry/PolyLine.h"
#include "geometry/PolyLineWithNormals.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kverror/KvException.h"
#include "platform/kvfile/KvIfstream.h"
#include "platform/kvtranslate/Translator.h"

#include <algorithm>
#include <array>
#include <optional>
#include <source_location>
#include <utility>

namespace Kavrel {

namespace {

using TextPolyLine = PolyLine<Point3NT>;
using PolyLines = std::vector<std::shared_ptr<TextPolyLine>>;
using Collection = std::vector<Point3N>;
using Collections = std::vector<std::shared_ptr<Collection>>;

constexpr double readTolerance = 0.1;       // of every polyline that is read
constexpr double closednessDistance = 1e-5; // strictly below: first and last point are the same

enum class ImportType
{
  MeshImport,
  PolyLineImport,
  PointsImport
};

enum class Section
{
  Start,
  Skipped,
  Points,
  ProjPoints,
  Normals,
  Poly3d,
  Facets,
  Temperatures,
  Binormals
};

[[noreturn]] void raise(const char* text, std::source_location location = std::source_location::current())
{
  throw KvException(Translator::translate("KvFileParser", text, nullptr, -1), location);
}

struct Keyword
{
  std::string_view name;
  Section section;
};

constexpr std::array<Keyword, 7> keywords = {{{"points", Section::Points},
                                              {"projpoints", Section::ProjPoints},
                                              {"normals", Section::Normals},
                                              {"poly3d", Section::Poly3d},
                                              {"facets", Section::Facets},
                                              {"temperatures", Section::Temperatures},
                                              {"binormals", Section::Binormals}}};

char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::optional<Section> sectionOf(std::string_view word)
{
  // Most words are running numbers.
  if (word.front() < 'A') return std::nullopt;
  for (const Keyword& keyword : keywords)
    if (std::equal(word.begin(), word.end(), keyword.name.begin(), keyword.name.end(),
                   [](char written, char expected) { return toLower(written) == expected; }))
      return keyword.section;
  return std::nullopt;
}

bool isRecognised(Section section, ImportType type)
{
  switch (section) {
  case Section::Points:
  case Section::Facets:
    return type != ImportType::PolyLineImport;
  case Section::ProjPoints:
  case Section::Poly3d:
    return type != ImportType::MeshImport;
  default:
    return true;
  }
}

/// Whether the polyline or collection of the section at hand ends where another section starts.
bool endsObject(Section old, Section next)
{
  switch (old) {
  case Section::ProjPoints:
    return true;
  case Section::Poly3d:
    return next != Section::Normals && next != Section::Binormals;
  case Section::Normals:
    return next != Section::Binormals;
  case Section::Binormals:
    return next != Section::Normals;
  default:
    return false;
  }
}

/// One read of a text. Of mesh, polylines and collections only the target of its type is there.
class Reader
{
public:
  Reader(KvTextScanner& source, ImportType importType, Mesh* meshTarget, PolyLines* polyLineTarget,
         Collections* collectionTarget)
      : scanner(source), type(importType), mesh(meshTarget), polyLines(polyLineTarget), collections(collectionTarget)
  {}

  void readInput()
  {
    std::string_view word;
    if (!scanner.nextWord(word)) raise("File is empty.");
    do {
      if (const auto next = sectionOf(word))
        changeSection(isRecognised(*next, type) ? *next : Section::Skipped);
      else
        readRow(word);
    } while (scanner.nextWord(word));
    finish();
  }

private:
  void changeSection(Section next)
  {
    if (endsObject(section, next)) finishObject();
    if (section == Section::Facets) finishFacets();
    section = next;
    if (section == Section::ProjPoints || section == Section::Poly3d) startObject();
    if (section == Section::Normals || section == Section::Binormals) position = 0;
    if (section == Section::Normals && mesh) mesh->setHasNormals(true);
  }

  void startObject()
  {
    if (polyLines) polyLine = std::make_shared<TextPolyLine>(readTolerance);
    if (collections) collection = std::make_shared<Collection>();
  }

  void finishObject()
  {
    if (polyLine) {
      if (!PolyLineWithNormals::allPointsHaveNormals(*polyLine)) polyLine->adjustClosedness(closednessDistance);
      polyLines->push_back(std::exchange(polyLine, nullptr));
    }
    if (collection) collections->push_back(std::exchange(collection, nullptr));
  }

  void finishFacets()
  {
    if (!mesh) return;
    mesh->check();
    mesh->computeNormals(false, true);
  }

  void finish()
  {
    if (section == Section::Facets) finishFacets();
    finishObject();
  }

  void readRow(std::string_view word)
  {
    switch (section) {
    case Section::Start:
    case Section::Skipped:
      break;
    case Section::Points:
      readPoint();
      break;
    case Section::ProjPoints:
      readProjPoint(word);
      break;
    case Section::Normals:
      readNormal();
      break;
    case Section::Poly3d:
      readPolyPoint();
      break;
    case Section::Facets:
      readFacet();
      break;
    case Section::Temperatures:
      readTemperature();
      break;
    case Section::Binormals:
      readBinormal();
      break;
    }
  }

  bool readVector(Vector<double, 3>& v) { return scanner.read(v[0]) && scanner.read(v[1]) && scanner.read(v[2]); }

  // A row that has no place raises even when its numbers are cut short.
  void readPoint()
  {
    if (!mesh) raise("The file seems to contain meshes.");
    Vector<double, 3> point;
    if (readVector(point)) mesh->addVertex(point.x(), point.y(), point.z());
  }

  void readFacet()
  {
    if (!mesh) raise("The file seems to contain meshes.");
    unsigned a = 0, b = 0, c = 0;
    if (scanner.read(a) && scanner.read(b) && scanner.read(c)) mesh->addTriangle(a, b, c);
  }

  void readProjPoint(std::string_view word)
  {
    Vector<double, 3> point(numberOfWord(word), 0, 0);
    Vector<double, 3> normal;
    int dropped = 0;
    if (scanner.read(point[1]) && scanner.read(point[2]) && scanner.read(dropped) && scanner.read(dropped) &&
        readVector(normal))
      addToObject(Point3N(point, normal));
  }

  void readPolyPoint()
  {
    Vector<double, 3> point;
    if (readVector(point)) addToObject(Point3N(point));
  }

  void addToObject(const Point3N& point)
  {
    if (polyLine) polyLine->addPoint(Point3NT(point));
    if (collection) collection->push_back(point);
  }

  void readNormal()
  {
    Point3N* target = nullptr;
    if (mesh) {
      if (position >= mesh->numberOfVertices()) raise("Mesh contains a wrong number of normals.");
      target = &mesh->getVertexRef(static_cast<unsigned>(position));
    } else if (polyLine) {
      if (position >= polyLine->numberOfPoints()) raise("Polyline contains a wrong number of normals.");
      target = &polyLine->getPoint(position);
    } else if (collection) {
      if (position >= collection->size()) raise("Point-Collection contains a wrong number of normals.");
      target = &(*collection)[position];
    }
    Vector<double, 3> normal;
    if (!readVector(normal) || !target) return;
    target->setNormal(normal);
    ++position;
  }

  void readBinormal()
  {
    if (polyLine && position >= polyLine->numberOfPoints()) raise("Polyline contains a wrong number of binormals.");
    Vector<double, 3> tangent;
    if (readVector(tangent) && polyLine) polyLine->getPoint(position++).setTangent(tangent);
  }

  void readTemperature()
  {
    double dropped = 0;
    scanner.read(dropped);
  }

  KvTextScanner& scanner;
  ImportType type;
  Mesh* mesh;
  PolyLines* polyLines;
  Collections* collections;
  Section section = Section::Start;
  std::size_t position = 0; // of the next point that gets a normal or tangent
  std::shared_ptr<TextPolyLine> polyLine;
  std::shared_ptr<Collection> collection;
};

/// Notes where a read ended, unless it came to the end of the text.
class StatusGuard
{
public:
  StatusGuard(TextImportStatus& target, const KvTextScanner& source) : status(target), scanner(source)
  {
    status = TextImportStatus();
  }
  StatusGuard(const StatusGuard&) = delete;
  StatusGuard& operator=(const StatusGuard&) = delete;
  ~StatusGuard()
  {
    if (!status.complete) status.line = scanner.lineOfWord();
  }

  void reachedEnd() { status.complete = !scanner.hasFailed(); }

private:
  TextImportStatus& status;
  const KvTextScanner& scanner;
};

void readInput(KvIfstream& stream, ImportType type, Mesh* mesh, PolyLines* polyLines, Collections* collections,
               TextImportStatus& status)
{
  const TextBuffer text = readRemainingText(stream);
  KvTextScanner scanner(text.view());
  StatusGuard guard(status, scanner);
  Reader(scanner, type, mesh, polyLines, collections).readInput();
  guard.reachedEnd();
}

} // namespace

void KvFileParser::readMesh(Mesh& mesh) { readInput(stream, ImportType::MeshImport, &mesh, nullptr, nullptr, status); }

void KvFileParser::readPolyLine(PolyLines& polylines)
{
  readInput(stream, ImportType::PolyLineImport, nullptr, &polylines, nullptr, status);
}

PolyLines KvFileParser::readPolyLine()
{
  PolyLines polylines;
  readPolyLine(polylines);
  return polylines;
}

void KvFileParser::readPoints(Collections& collections)
{
  readInput(stream, ImportType::PointsImport, nullptr, nullptr, &collections, status);
}

Collections KvFileParser::readPoints()
{
  Collections collections;
  readPoints(collections);
  return collections;
}

} // namespace Kavrel
