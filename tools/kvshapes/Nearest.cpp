#include "Command.h"

#include <cmath>

namespace Kavrel::Tool {

namespace {

struct Options
{
  std::string file;
  std::vector<std::string> points;
  std::string pointsFile;
};

std::vector<Vector<double, 3>> queriesOf(const Options& options)
{
  std::vector<Vector<double, 3>> queries;
  for (const std::string& text : options.points)
    queries.push_back(parseVector("--point", text));
  if (!options.pointsFile.empty())
    for (const Point3N& point : readPoints(options.pointsFile))
      queries.push_back(point);
  if (queries.empty()) throw UsageError("nearest: give --point x,y,z or --points FILE");
  return queries;
}

Json answer(const Options& options)
{
  const auto queries = queriesOf(options);
  const auto mesh = readMesh(options.file);
  const MeshSearchTree tree = makeTree(mesh);
  Json records = Json::array();
  for (const auto& query : queries) {
    Point3N nearest;
    XiEtaPoint place;
    tree.getNearestPoint(query, nearest, place);
    Json record = {{"point", toJson(query)}};
    record.update(toJson(place, nearest));
    record["distance"] = (nearest - query).length();
    records.push_back(std::move(record));
  }
  return {{"file", options.file}, {"nearest", std::move(records)}};
}

} // namespace

void addNearest(CLI::App& app, const bool& asJson)
{
  auto* command = app.add_subcommand("nearest", "Finds the nearest point of a mesh to each of the points");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file, "Mesh in the text format")->required();
  command->add_option("--point", options->points, "A point x,y,z; may be given several times");
  command->add_option("--points", options->pointsFile,
                      "A file of points in the text format (\"poly3d\", \"projpoints\")");
  command->callback([options, &asJson] { print(answer(*options), asJson); });
}

} // namespace Kavrel::Tool
