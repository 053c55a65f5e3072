#include "Command.h"

#include "geometry/Plane.h"

#include <algorithm>

namespace Kavrel::Tool {

namespace {

struct Options
{
  std::string file;
  std::string plane;
};

Json answer(const Options& options)
{
  const std::vector<double> numbers = parseNumbers("--plane", options.plane, 4);
  const Vector<double, 3> normal(numbers[0], numbers[1], numbers[2]);
  if (!normal.isNormalizable()) throw UsageError("--plane: " + options.plane + " has no normal");
  const MeshSearchTree tree = makeTree(readMesh(options.file));
  std::vector<int> triangles;
  tree.planeIntersections(Plane<double, 3>(normal, numbers[3]), triangles);
  std::sort(triangles.begin(), triangles.end());
  return {{"file", options.file}, {"count", triangles.size()}, {"triangles", triangles}};
}

} // namespace

void addSection(CLI::App& app, const bool& asJson)
{
  auto* command = app.add_subcommand("section", "Lists the triangles that a plane cuts");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file, "Mesh in the text format")->required();
  command
      ->add_option("--plane", options->plane,
                   "Normal and distance from the origin nx,ny,nz,d; the normal is normalised")
      ->required();
  command->callback([options, &asJson] { print(answer(*options), asJson); });
}

} // namespace Kavrel::Tool
