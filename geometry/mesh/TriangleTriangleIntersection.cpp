#include "geometry/mesh/MeshAlgorithm.h"
#include "geometry/mesh/Triangle.h"

#include <algorithm>
#include <cmath>

// P. Guigue, O. Devillers, Fast and Robust Triangle-Triangle Overlap Test Using Orientation Predicates, 2003.

namespace Kavrel {

namespace {

using Vector3 = Vector<double, 3>;

constexpr double planeTolerance = 1e-12; // inclusive: the corner lies in the plane

/// A corner with its depth below the plane of the other triangle.
struct Corner
{
  const Vector3* position;
  double depth;
};

/// Three corners, the first of which ends up alone on its side of the other plane.
struct Corners
{
  Corners(const Vector3& p, const Vector3& q, const Vector3& r, const Vector3& planePoint, const Vector3& planeNormal)
      : a(below(p, planePoint, planeNormal)), b(below(q, planePoint, planeNormal)), c(below(r, planePoint, planeNormal))
  {}

  static Corner below(const Vector3& p, const Vector3& planePoint, const Vector3& planeNormal)
  {
    const double depth = (planePoint - p).dot(planeNormal);
    return {&p, std::abs(depth) <= planeTolerance ? 0.0 : depth};
  }

  bool isOnOneSide() const { return a.depth * b.depth >= 0.0 && a.depth * c.depth >= 0.0 && b.depth * c.depth >= 0.0; }

  void rotate()
  {
    std::swap(a, b);
    std::swap(b, c);
  }

  Corner a;
  Corner b;
  Corner c;
};

/// Turns the triangle until its first corner is alone on its side; false when no corner is, for lack of numbers.
bool triTriIntersectionPermute(Corners& corners)
{
  const auto isAlone = [&corners] {
    return corners.a.depth != 0.0 && corners.a.depth * corners.b.depth <= 0.0 &&
           corners.a.depth * corners.c.depth <= 0.0;
  };
  for (int turn = 0; turn < 3; ++turn) {
    if (isAlone()) return true;
    corners.rotate();
  }
  return false;
}

Point<double, 3> planeCrossing(const Corner& from, const Corner& to)
{
  const double part = from.depth / (from.depth - to.depth);
  return Point<double, 3>(*from.position + part * (*to.position - *from.position));
}

/// Both first corners lie above the other plane. Along the common line of the planes, in the direction n1 x n2, the
/// first triangle reaches from its edge ac to its edge ab, the second one from ab to ac.
bool triTriIntersectionConstructIntersection(const Corners& first, const Corners& second, Point<double, 3>& source,
                                             Point<double, 3>& target)
{
  // Positive where the line meets the second triangle's edge to y before it meets the first one's edge to x.
  const Vector3& apex = *first.a.position;
  const Vector3 across = *second.a.position - apex;
  const auto orientation = [&](const Corner& x, const Corner& y) {
    return (*x.position - apex).cross(*y.position - apex).dot(across);
  };
  if (orientation(first.c, second.c) > 0 || orientation(first.b, second.b) < 0) return false;
  source = orientation(first.c, second.b) > 0 ? planeCrossing(first.a, first.c) : planeCrossing(second.a, second.b);
  target = orientation(first.b, second.c) > 0 ? planeCrossing(second.a, second.c) : planeCrossing(first.a, first.b);
  return true;
}

} // namespace

bool MeshAlgorithm::triangleTriangleIntersection(const Vector3& p1, const Vector3& q1, const Vector3& r1,
                                                 const Vector3& p2, const Vector3& q2, const Vector3& r2,
                                                 const Vector3& n1, const Vector3& n2, Point<double, 3>& source,
                                                 Point<double, 3>& target)
{
  Corners second(p2, q2, r2, p1, n1);
  if (second.isOnOneSide()) return false;
  Corners first(p1, q1, r1, p2, n2);
  if (first.isOnOneSide()) return false;

  if (!triTriIntersectionPermute(first) || !triTriIntersectionPermute(second)) return false;
  // A first corner below the other plane comes above it when the other triangle turns around.
  if (first.a.depth > 0) std::swap(second.b, second.c);
  if (second.a.depth > 0) std::swap(first.b, first.c);
  return triTriIntersectionConstructIntersection(first, second, source, target);
}

bool MeshAlgorithm::triangleTriangleIntersection(const Triangle* a, const Triangle* b, Point<double, 3>& source,
                                                 Point<double, 3>& target)
{
  return triangleTriangleIntersection(a->getVertexRef(0), a->getVertexRef(1), a->getVertexRef(2), b->getVertexRef(0),
                                      b->getVertexRef(1), b->getVertexRef(2), a->getNormal(), b->getNormal(), source,
                                      target);
}

} // namespace Kavrel
