#pragma once

#include "geometry/mesh/Triangle.h"

#include <array>

namespace Kavrel::Testing {

/// A triangle that owns its corners.
struct OwnTriangle
{
  OwnTriangle(const Vector<double, 3>& a, const Vector<double, 3>& b, const Vector<double, 3>& c, unsigned index = 7)
      : corners{Vertex(a), Vertex(b), Vertex(c)}, triangle(corners[0], corners[1], corners[2], index)
  {}
  OwnTriangle(const OwnTriangle&) = delete;
  OwnTriangle& operator=(const OwnTriangle&) = delete;

  const Triangle* operator->() const { return &triangle; }

  std::array<Vertex, 3> corners;
  Triangle triangle;
};

} // namespace Kavrel::Testing
