#pragma once

#include "geometry/BoundingVolumeHierarchy/MeshSearchTree.h"
#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kvmath/Vector.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kavrel::Tool {

using BoundingVolumeHierarchy::MeshSearchTree;
using Json = nlohmann::ordered_json;

/// What the user asked for can't be done as asked: exit code 2.
struct UsageError : std::runtime_error
{
  using std::runtime_error::runtime_error;
};

/// A file that can't be used; names the file and, where there is one, the line. Exit code 1.
struct InputError : std::runtime_error
{
  using std::runtime_error::runtime_error;
};

/// Writes a result to standard output: as JSON, or as lines of text with one table for each list of records. Raises
/// when standard output doesn't take all of it.
void print(const Json& result, bool asJson);

/// Reads a mesh that has triangles, and coordinates small enough to be computed with; anything else raises with the
/// file's name and, where there is one, the line.
std::shared_ptr<Mesh> readMesh(const std::string& file);

/// The points of all collections of a file in the text format, in order; raises like readMesh.
std::vector<Point3N> readPoints(const std::string& file);

/// The polylines of a file in the text format, in order; raises like readMesh, for a polyline without points, too.
std::vector<PolyLine<Point3N>> readPolyLines(const std::string& file);

/// A tree with the leaf size and depth that suit queries on one mesh. It keeps the mesh alive.
MeshSearchTree makeTree(const std::shared_ptr<const Mesh>& mesh);

/// `count` numbers of the size of coordinates, separated by commas; raises UsageError with the option's name.
std::vector<double> parseNumbers(const std::string& option, const std::string& text, std::size_t count);
Vector<double, 3> parseVector(const std::string& option, const std::string& text);
/// From normal and distance nx,ny,nz,d.
Plane<double, 3> parsePlane(const std::string& option, const std::string& text);
/// A number greater than 0.
double parsePositive(const std::string& option, const std::string& text);

Json toJson(const Vector<double, 3>& v);

/// A point of a mesh as a record: triangle, xi, eta and position.
Json toJson(const XiEtaPoint& place, const Vector<double, 3>& position);

// Each adds its subcommand; the flag is read when the command runs.
void addInfo(CLI::App& app, const bool& asJson);
void addNearest(CLI::App& app, const bool& asJson);
void addRay(CLI::App& app, const bool& asJson);
void addSection(CLI::App& app, const bool& asJson);
void addDistance(CLI::App& app, const bool& asJson);
void addPolyLine(CLI::App& app, const bool& asJson);

} // namespace Kavrel::Tool
