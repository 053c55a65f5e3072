#include "Command.h"

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
  const Plane<double, 3> plane = parsePlane("--plane", options.plane);
  const MeshSearchTree tree = makeTree(readMesh(options.file));
  std::vector<int> triangles;
  tree.planeIntersections(plane, triangles);
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
