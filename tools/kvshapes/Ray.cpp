#include "Command.h"

#include <algorithm>

namespace Kavrel::Tool {

namespace {

struct Options
{
  std::string file;
  std::string origin;
  std::string direction;
  bool all = false;
};

struct Hit
{
  XiEtaPoint place;
  Point3N point;
  double distance;
};

std::vector<Hit> firstHit(const MeshSearchTree& tree, const Vector<double, 3>& origin,
                          const Vector<double, 3>& direction)
{
  Hit hit;
  if (!tree.raySelectFirst(origin, direction, hit.place, hit.point, hit.distance)) return {};
  return {hit};
}

std::vector<Hit> allHits(const MeshSearchTree& tree, const Mesh& mesh, const Vector<double, 3>& origin,
                         const Vector<double, 3>& direction)
{
  std::vector<XiEtaPoint> places;
  tree.raySelectAll(origin, direction, places);
  std::vector<Hit> hits;
  for (const XiEtaPoint& place : places) {
    const Point3N point = mesh.getPoint(place);
    hits.push_back({place, point, (point - origin).dot(direction)});
  }
  std::sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) {
    return a.distance != b.distance ? a.distance < b.distance : a.place.getElementIdx() < b.place.getElementIdx();
  });
  return hits;
}

Json answer(const Options& options)
{
  const Vector<double, 3> origin = parseVector("--origin", options.origin);
  Vector<double, 3> direction = parseVector("--direction", options.direction);
  if (!direction.normalize()) throw UsageError("--direction: " + options.direction + " has no direction");
  const auto mesh = readMesh(options.file);
  const MeshSearchTree tree = makeTree(mesh);
  Json records = Json::array();
  for (const Hit& hit : options.all ? allHits(tree, *mesh, origin, direction) : firstHit(tree, origin, direction)) {
    Json record = toJson(hit.place, hit.point);
    record["distance"] = hit.distance;
    records.push_back(std::move(record));
  }
  return {{"file", options.file}, {"hit", !records.empty()}, {"hits", std::move(records)}};
}

} // namespace

void addRay(CLI::App& app, const bool& asJson)
{
  auto* command = app.add_subcommand("ray", "Finds where a ray hits a mesh: the first hit, or all by distance");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file, "Mesh in the text format")->required();
  command->add_option("--origin", options->origin, "Start of the ray x,y,z")->required();
  command->add_option("--direction", options->direction, "Direction of the ray x,y,z, of any length")->required();
  command->add_flag("--all", options->all, "All hits instead of the first");
  command->callback([options, &asJson] { print(answer(*options), asJson); });
}

} // namespace Kavrel::Tool
