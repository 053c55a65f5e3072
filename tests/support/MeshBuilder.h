#pragma once

#include "geometry/mesh/Mesh.h"
#include "support/RandomGeometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

/// Meshes for tests: from short texts, solids, fields and a sphere of any size. All come without normals and
/// half-edges.
namespace Kavrel::Testing {

/// Points separated by commas, a bar, triangles separated by commas: "0 0 0, 1 0 0, 0 1 0 | 0 1 2".
inline Mesh meshFromText(std::string text)
{
  std::replace(text.begin(), text.end(), ',', ' ');
  const std::size_t bar = std::min(text.find('|'), text.size());
  std::istringstream points(text.substr(0, bar)), corners(text.substr(std::min(bar + 1, text.size())));
  points.imbue(std::locale::classic());
  Mesh mesh;
  for (double x, y, z; points >> x >> y >> z;)
    mesh.addVertex(x, y, z);
  for (std::uint64_t a, b, c; corners >> a >> b >> c;)
    mesh.addTriangle(a, b, c);
  return mesh;
}

/// The corner of the unit cube at the origin, closed, outside up: volume 1/6, area 1.5 + sqrt(3)/2.
inline Mesh tetrahedron() { return meshFromText("0 0 0, 1 0 0, 0 1 0, 0 0 1 | 0 2 1, 0 1 3, 1 2 3, 2 0 3"); }

/// The cube from 0 to 1 in all axes: 8 vertices, 12 triangles, closed, outside up.
inline Mesh cube()
{
  return meshFromText("0 0 0, 1 0 0, 1 1 0, 0 1 0, 0 0 1, 1 0 1, 1 1 1, 0 1 1 |"
                      "0 2 1, 0 3 2, 4 5 6, 4 6 7, 0 1 5, 0 5 4, 1 2 6, 1 6 5, 2 3 7, 2 7 6, 3 0 4, 3 4 7");
}

/// n by m unit cells from the origin over the xy plane, two triangles each, normal towards z. Vertex (i, j) has index
/// i + j (n + 1). `keeps(i, j)` says which cells are there, `height(x, y)` gives z.
template <class Keeps, class Height>
Mesh gridOf(unsigned n, unsigned m, Keeps&& keeps, Height&& height)
{
  Mesh mesh;
  for (unsigned j = 0; j <= m; ++j)
    for (unsigned i = 0; i <= n; ++i)
      mesh.addVertex(i, j, height(static_cast<double>(i), static_cast<double>(j)));
  for (unsigned j = 0; j < m; ++j)
    for (unsigned i = 0; i < n; ++i) {
      if (!keeps(i, j)) continue;
      const unsigned a = i + j * (n + 1), b = a + 1, c = b + n + 1, d = c - 1;
      mesh.addTriangle(a, b, c);
      mesh.addTriangle(a, c, d);
    }
  return mesh;
}

constexpr auto everyCell = [](unsigned, unsigned) { return true; };
constexpr auto noHeight = [](double, double) { return 0.0; };

inline Mesh grid(unsigned n, unsigned m) { return gridOf(n, m, everyCell, noHeight); }

/// A smooth field of hills about one unit high.
inline Mesh hills(unsigned n, unsigned m)
{
  return gridOf(n, m, everyCell, [](double x, double y) { return std::sin(0.7 * x) * std::cos(0.4 * y); });
}

/// A strip 2 `holes` + 1 cells long and three wide, every other cell of its middle row missing.
inline Mesh stripWithHoles(unsigned holes)
{
  const auto keeps = [](unsigned i, unsigned j) { return j != 1 || i % 2 == 0; };
  return gridOf(2 * holes + 1, 3, keeps, noHeight);
}

/// `count` triangles around vertex 0 at the origin, in the xy plane; a closed fan needs three or more.
inline Mesh fan(unsigned count, bool closed)
{
  Mesh mesh;
  mesh.addVertex(0, 0, 0);
  const unsigned rim = closed ? count : count + 1;
  const double step = 2 * std::numbers::pi / (closed ? count : count + 2);
  for (unsigned i = 0; i < rim; ++i)
    mesh.addVertex(std::cos(i * step), std::sin(i * step), 0);
  for (unsigned i = 0; i < count; ++i)
    mesh.addTriangle(0, 1 + i, 1 + (i + 1) % rim);
  return mesh;
}

/// A closed sphere about the origin, outside up, with about that many triangles and all vertices on it.
inline Mesh sphere(std::size_t triangles, double radius = 1.0)
{
  const auto bands = static_cast<std::size_t>((1.0 + std::sqrt(1.0 + static_cast<double>(triangles))) / 2.0);
  const std::size_t around = triangles / (2 * (bands - 1));
  Mesh mesh;
  const auto add = [&mesh, radius](double polar, double turn) {
    mesh.addVertex(radius * std::sin(polar) * std::cos(turn), radius * std::sin(polar) * std::sin(turn),
                   radius * std::cos(polar));
  };
  add(0, 0);
  for (std::size_t band = 1; band < bands; ++band)
    for (std::size_t i = 0; i < around; ++i)
      add(std::numbers::pi * static_cast<double>(band) / static_cast<double>(bands),
          2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(around));
  add(std::numbers::pi, 0);

  const std::size_t south = mesh.numberOfVertices() - 1;
  for (std::size_t i = 0; i < around; ++i)
    mesh.addTriangle(0, 1 + i, 1 + (i + 1) % around);
  for (std::size_t band = 0; band + 2 < bands; ++band)
    for (std::size_t i = 0; i < around; ++i) {
      const std::size_t a = 1 + band * around + i, b = 1 + band * around + (i + 1) % around;
      mesh.addTriangle(a, a + around, b + around);
      mesh.addTriangle(a, b + around, b);
    }
  for (std::size_t i = 0; i < around; ++i)
    mesh.addTriangle(south, south - around + (i + 1) % around, south - around + i);
  return mesh;
}

/// Unconnected triangles with random corners at most `size` apart per axis, in the cube from -half to half.
inline Mesh triangleSoup(RandomGeometry& random, std::size_t count, double size, double half = 1.0)
{
  Mesh mesh;
  for (std::size_t i = 0; i < count; ++i) {
    const auto at = random.inCube<3>(half);
    for (int corner = 0; corner < 3; ++corner) {
      const auto p = at + random.inCube<3>(size / 2);
      mesh.addVertex(p.x(), p.y(), p.z());
    }
    mesh.addTriangle(3 * i, 3 * i + 1, 3 * i + 2);
  }
  return mesh;
}

/// The same surface with vertices, triangles and first corners in random order.
inline Mesh shuffled(const Mesh& source, RandomGeometry& random)
{
  Mesh mesh;
  const auto vertexOrder = random.permutation(source.numberOfVertices());
  std::vector<std::size_t> place(vertexOrder.size());
  for (std::size_t i = 0; i < vertexOrder.size(); ++i) {
    mesh.addVertex(source.getVertexRef(static_cast<unsigned>(vertexOrder[i])));
    place[vertexOrder[i]] = i;
  }
  for (const std::size_t t : random.permutation(source.numberOfTriangles())) {
    unsigned c[3];
    source.getTriangleRef(static_cast<unsigned>(t)).getVertexIndices(c[0], c[1], c[2]);
    const std::size_t first = random.index(3);
    mesh.addTriangle(place[c[first]], place[c[(first + 1) % 3]], place[c[(first + 2) % 3]]);
  }
  return mesh;
}

} // namespace Kavrel::Testing
