#include "geometry/mesh/MeshAlgorithm.h"
#include "geometry/mesh/Triangle.h"
#include "support/BruteForce.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace Kavrel {
namespace {

using namespace Testing;
using Vector3 = Vector<double, 3>;
using Corners = std::array<Vector3, 3>;

struct Crossing
{
  bool found = false;
  Point<double, 3> source{7, 7, 7};
  Point<double, 3> target{8, 8, 8};
};

Crossing cross(const Corners& a, const Corners& b)
{
  std::array<Vertex, 6> v = {Vertex(a[0]), Vertex(a[1]), Vertex(a[2]), Vertex(b[0]), Vertex(b[1]), Vertex(b[2])};
  const Triangle first(v[0], v[1], v[2], 0), second(v[3], v[4], v[5], 1);
  Crossing result;
  result.found = MeshAlgorithm::triangleTriangleIntersection(&first, &second, result.source, result.target);
  return result;
}

/// Where the edges of each triangle pierce the other one.
std::vector<Vector3> piercings(const Corners& a, const Corners& b)
{
  std::vector<Vector3> points;
  const auto collect = [&points](const Corners& edges, const Corners& face) {
    for (unsigned k = 0; k < 3; ++k) {
      const Vector3 d = edges[(k + 1) % 3] - edges[k];
      const auto t = BruteForce::lineTriangle(edges[k], d, face[0], face[1], face[2]);
      if (t && *t >= 0 && *t <= 1) points.push_back(edges[k] + d * *t);
    }
  };
  collect(a, b);
  collect(b, a);
  return points;
}

double distanceOfPairs(const Vector3& a, const Vector3& b, const Vector3& c, const Vector3& d)
{
  return std::min((a - c).length() + (b - d).length(), (a - d).length() + (b - c).length());
}

TEST(TriangleTriangleIntersection, givesTheTwoPiercingPoints)
{
  int hits = 0;
  repeat(5000, 541, [&](RandomGeometry& random) {
    const double size = random.logUniform(1e-2, 1e4);
    const Vector3 at = random.inCube<3>(10 * size);
    Corners a, b;
    for (unsigned k = 0; k < 3; ++k) {
      a[k] = at + random.inCube<3>(size);
      b[k] = at + random.inCube<3>(size);
    }
    const auto expected = piercings(a, b);
    const Crossing result = cross(a, b);
    ASSERT_EQ(result.found, expected.size() == 2);
    if (!result.found) {
      EXPECT_EQ(result.source, Vector3(7, 7, 7));
      EXPECT_EQ(result.target, Vector3(8, 8, 8));
      return;
    }
    ++hits;
    EXPECT_LT(distanceOfPairs(result.source, result.target, expected[0], expected[1]), 1e-8 * size);

    // Any first corner, either orientation, either order: the same segment.
    const Crossing variants[] = {cross({a[1], a[2], a[0]}, b), cross(a, {b[2], b[0], b[1]}),
                                 cross({a[0], a[2], a[1]}, b), cross(a, {b[1], b[0], b[2]}), cross(b, a)};
    for (const Crossing& variant : variants) {
      ASSERT_TRUE(variant.found);
      EXPECT_LT(distanceOfPairs(result.source, result.target, variant.source, variant.target), 1e-8 * size);
    }
  });
  EXPECT_GT(hits, 300);
}

TEST(TriangleTriangleIntersection, touchingIsNoCrossing)
{
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Corners face = {{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}};
  const std::tuple<const char*, Corners, bool> rows[] = {
      {"through the face", {{{1, 1, -1}, {1, 1, 1}, {2, 1, 1}}}, true},
      {"a corner in the plane, the others on either side", {{{1, 1, 0}, {1, 2, 1}, {1, 2, -1}}}, true},
      {"a corner on the face", {{{1, 1, 0}, {1, 1, 1}, {2, 1, 1}}}, false},
      {"a corner just through the face", {{{1, 1, -0.9e-12}, {1, 1, 1}, {2, 1, 1}}}, false},
      {"a corner a little further", {{{1, 1, -2e-12}, {1, 1, 1}, {2, 1, 1}}}, true},
      {"an edge on the face", {{{1, 1, 0}, {2, 1, 0}, {1, 1, 1}}}, false},
      {"a common edge", {{{0, 0, 0}, {4, 0, 0}, {0, 0, 4}}}, false},
      {"the same triangle", face, false},
      {"coplanar and overlapping", {{{1, 1, 0}, {5, 1, 0}, {1, 5, 0}}}, false},
      {"through the plane beside the face", {{{9, 9, -1}, {9, 9, 1}, {10, 9, 1}}}, false},
      {"parallel planes", {{{0, 0, 1}, {4, 0, 1}, {0, 4, 1}}}, false},
      {"an edge of no width", {{{1, 1, -1}, {1, 1, 1}, {1, 1, 1}}}, false},
      {"not a number", {{{1, 1, nan}, {1, 1, 1}, {2, 1, 1}}}, false}};
  for (const auto& [what, other, crosses] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(cross(face, other).found, crosses);
    EXPECT_EQ(cross(other, face).found, crosses);
  }
}

} // namespace
} // namespace Kavrel
