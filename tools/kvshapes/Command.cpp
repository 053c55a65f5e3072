#include "Command.h"

#include "geometry/KvFileParser.h"
#include "platform/kvfile/FileName.h"
#include "platform/kvfile/KvIfstream.h"

#include <fmt/core.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace Kavrel::Tool {

namespace {

constexpr unsigned leafSize = 8;
constexpr unsigned maxDepth = 64;
constexpr double largestCoordinate = 1e70; // products of four of them must be finite

[[noreturn]] void fail(const std::string& file, std::size_t line, const std::string& message)
{
  throw InputError(line > 0 ? fmt::format("{}:{}: {}", file, line, message) : fmt::format("{}: {}", file, message));
}

// Some editors write it before the first word, where it would hide a keyword.
void skipByteOrderMark(std::istream& stream)
{
  for (const int expected : {0xEF, 0xBB, 0xBF})
    if (stream.peek() == expected) stream.get();
}

// Runs a read by the parser of the text format; a raise or an early end becomes one message with file and line.
template <class Read>
auto readWhole(const std::string& file, Read read)
{
  std::error_code ignored;
  if (std::filesystem::is_directory(file, ignored)) fail(file, 0, "is a directory, not a file");
  KvIfstream stream{FileName(file)};
  if (!stream.is_open()) fail(file, 0, "could not be opened");
  skipByteOrderMark(stream);
  KvFileParser parser(stream);
  try {
    auto result = read(parser);
    const TextImportStatus& status = parser.getStatus();
    if (!status.complete) fail(file, status.line, "a row that can't be read ends the file here");
    return result;
  } catch (const InputError&) {
    throw;
  } catch (const std::exception& error) {
    fail(file, parser.getStatus().line, error.what());
  }
}

bool isUsable(double coordinate) { return std::abs(coordinate) <= largestCoordinate; }

bool isUsable(const Vector<double, 3>& v) { return isUsable(v.x()) && isUsable(v.y()) && isUsable(v.z()); }

} // namespace

std::shared_ptr<Mesh> readMesh(const std::string& file)
{
  const auto mesh = readWhole(file, [](KvFileParser& parser) {
    auto result = std::make_shared<Mesh>();
    parser.readMesh(*result);
    return result;
  });
  if (mesh->numberOfTriangles() == 0)
    fail(file, 0, "holds no mesh: \"points\" and \"facets\" with their rows are needed");
  for (auto vertex = mesh->beginVertex(); vertex != mesh->endVertex(); ++vertex)
    if (!isUsable(*vertex))
      fail(file, 0, fmt::format("vertex {} has a coordinate beyond {}", vertex->getIndex(), largestCoordinate));
  return mesh;
}

std::vector<Point3N> readPoints(const std::string& file)
{
  std::vector<Point3N> points;
  for (const auto& collection : readWhole(file, [](KvFileParser& parser) { return parser.readPoints(); }))
    points.insert(points.end(), collection->begin(), collection->end());
  if (points.empty()) fail(file, 0, "holds no points: \"poly3d\" or \"projpoints\" with their rows are needed");
  for (const Point3N& point : points)
    if (!isUsable(point)) fail(file, 0, fmt::format("has a coordinate that isn't within {}", largestCoordinate));
  return points;
}

std::vector<PolyLine<Point3N>> readPolyLines(const std::string& file)
{
  std::vector<PolyLine<Point3N>> lines;
  for (const auto& read : readWhole(file, [](KvFileParser& parser) { return parser.readPolyLine(); })) {
    PolyLine<Point3N> line(read->numberOfPoints(), read->getTolerance());
    line.setClosed(read->isClosed());
    for (const Point3NT& point : *read) {
      if (!isUsable(point))
        fail(file, 0,
             fmt::format("polyline {} has a coordinate that isn't within {}", lines.size(), largestCoordinate));
      line.addPoint(point);
    }
    if (line.isEmpty()) fail(file, 0, fmt::format("polyline {} has no points", lines.size()));
    lines.push_back(std::move(line));
  }
  if (lines.empty()) fail(file, 0, "holds no polyline: \"poly3d\" or \"projpoints\" with their rows are needed");
  return lines;
}

MeshSearchTree makeTree(const std::shared_ptr<const Mesh>& mesh)
{
  return MeshSearchTree(mesh, true, leafSize, maxDepth);
}

std::vector<double> parseNumbers(const std::string& option, const std::string& text, std::size_t count)
{
  std::vector<double> numbers;
  const char* position = text.data();
  const char* const end = position + text.size();
  while (numbers.size() < count) {
    double number = 0.0;
    const auto [rest, error] = std::from_chars(position, end, number);
    if (error != std::errc() || !isUsable(number)) break;
    numbers.push_back(number);
    position = rest;
    if (numbers.size() < count && (position == end || *position++ != ',')) break;
  }
  if (numbers.size() != count || position != end) {
    const std::string wanted = count == 1 ? "a number is" : fmt::format("{} numbers separated by commas are", count);
    throw UsageError(fmt::format("{}: {} needed, not \"{}\"", option, wanted, text));
  }
  return numbers;
}

Vector<double, 3> parseVector(const std::string& option, const std::string& text)
{
  const std::vector<double> numbers = parseNumbers(option, text, 3);
  return {numbers[0], numbers[1], numbers[2]};
}

Plane<double, 3> parsePlane(const std::string& option, const std::string& text)
{
  const std::vector<double> numbers = parseNumbers(option, text, 4);
  const Vector<double, 3> normal(numbers[0], numbers[1], numbers[2]);
  if (!normal.isNormalizable()) throw UsageError(fmt::format("{}: {} has no normal", option, text));
  return Plane<double, 3>(normal, numbers[3]);
}

double parsePositive(const std::string& option, const std::string& text)
{
  const double number = parseNumbers(option, text, 1).front();
  if (!(number > 0.0)) throw UsageError(fmt::format("{}: a number greater than 0 is needed, not \"{}\"", option, text));
  return number;
}

Json toJson(const Vector<double, 3>& v) { return Json::array({v.x(), v.y(), v.z()}); }

Json toJson(const XiEtaPoint& place, const Vector<double, 3>& position)
{
  return {{"position", toJson(position)},
          {"triangle", place.getElementIdx()},
          {"xi", place.getXi()},
          {"eta", place.getEta()}};
}

} // namespace Kavrel::Tool
