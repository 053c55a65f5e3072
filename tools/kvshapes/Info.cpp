#include "Command.h"

#include "geometry/BoundingBox.h"

#include <algorithm>
#include <chrono>

namespace Kavrel::Tool {

namespace {

std::size_t countBoundaryEdges(const Mesh& mesh)
{
  const auto& edges = mesh.getHalfEdgeCollection();
  return static_cast<std::size_t>(
      std::count_if(edges.begin(), edges.end(), [](const HalfEdge& edge) { return !edge.getNeighbourEdge(); }));
}

Json describe(const std::string& file)
{
  using Clock = std::chrono::steady_clock;
  const auto mesh = readMesh(file);
  const auto start = Clock::now();
  const MeshSearchTree tree = makeTree(mesh);
  const std::chrono::duration<double, std::milli> buildTime = Clock::now() - start;

  mesh->computeTopology();
  const std::size_t boundaryEdges = countBoundaryEdges(*mesh);
  const bool manifold = mesh->isTopologyConsistent();
  const BoundingBox<double, 3> box = mesh->calculateBoundingBox();
  return {{"file", file},
          {"vertices", mesh->numberOfVertices()},
          {"triangles", mesh->numberOfTriangles()},
          {"area", mesh->getArea()},
          {"box min", toJson(box.getMin())},
          {"box max", toJson(box.getMax())},
          {"closed", boundaryEdges == 0 && manifold},
          {"boundary edges", boundaryEdges},
          {"manifold", manifold},
          {"tree build ms", buildTime.count()},
          {"tree bytes", tree.estimateBytes()}};
}

} // namespace

void addInfo(CLI::App& app, const bool& asJson)
{
  auto* command = app.add_subcommand("info", "Says what a mesh is: counts, area, box, closed or not, cost of its tree");
  auto file = std::make_shared<std::string>();
  command->add_option("FILE", *file, "Mesh in the text format")->required();
  command->callback([file, &asJson] { print(describe(*file), asJson); });
}

} // namespace Kavrel::Tool
