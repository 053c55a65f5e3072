#include "Command.h"

#include <cmath>
#include <limits>

namespace Kavrel::Tool {

namespace {

Json answer(const std::string& firstFile, const std::string& secondFile)
{
  MeshSearchTree first = makeTree(readMesh(firstFile));
  MeshSearchTree second = makeTree(readMesh(secondFile));
  Point3N onFirst, onSecond;
  double squareDistance = 0.0;
  first.getNearestPoints(second, onFirst, onSecond, squareDistance, std::numeric_limits<double>::max());
  std::vector<MeshSearchTree::TriangleIntersectionResult> crossings;
  first.getMeshIntersections(second, crossings);
  return {{"first", firstFile},          {"second", secondFile},          {"distance", std::sqrt(squareDistance)},
          {"on first", toJson(onFirst)}, {"on second", toJson(onSecond)}, {"crossing triangles", crossings.size()}};
}

} // namespace

void addDistance(CLI::App& app, const bool& asJson)
{
  auto* command =
      app.add_subcommand("distance", "Finds the nearest points of two meshes and counts crossing triangles");
  auto first = std::make_shared<std::string>();
  auto second = std::make_shared<std::string>();
  command->add_option("FIRST", *first, "Mesh in the text format")->required();
  command->add_option("SECOND", *second, "Mesh in the text format")->required();
  command->callback([first, second, &asJson] { print(answer(*first, *second), asJson); });
}

} // namespace Kavrel::Tool
