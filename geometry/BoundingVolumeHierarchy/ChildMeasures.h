#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/Node.h"
#include "geometry/BoundingVolumeHierarchy/QueryShapes.h"
#include "geometry/BoundingVolumeHierarchy/VolumeTests.h"
#include "geometry/Plane.h"

#include <algorithm>
#include <cmath>
#include <limits>

/// What a query is to the two children of a node, both at once. A traversal visits the child of smaller value first.
namespace Kavrel::BoundingVolumeHierarchy {

struct ChildValues
{
  double first;
  double second;
};

/// The squared distances of a point or plane from both volumes.
template <class Query>
class SquareDistanceOfChildren;

template <unsigned dim>
class SquareDistanceOfChildren<Vector<double, dim>>
{
public:
  explicit SquareDistanceOfChildren(const Vector<double, dim>& query)
  {
    for (unsigned i = 0; i < dim; ++i)
      point[i] = Lanes::all(query[i]);
  }

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    const Lanes::BoxPair<dim> boxes(first.volume, second.volume);
    Lanes::Double2 sum{};
    for (unsigned i = 0; i < dim; ++i) {
      const Lanes::Double2 gap =
          Lanes::greater(Lanes::greater(boxes.min[i] - point[i], point[i] - boxes.max[i]), Lanes::Double2{});
      sum += gap * gap;
    }
    return {sum[0], sum[1]};
  }

private:
  Lanes::Double2 point[dim];
};

/// The squared distances of two volumes from the one of another node.
template <class VolumeA, class VolumeB>
ChildValues squareDistancesOfChildren(const Node<VolumeA>& first, const Node<VolumeA>& second,
                                      const Node<VolumeB>& other)
{
  constexpr unsigned dim = VolumeA::Dim;
  const Lanes::BoxPair<dim> boxes(first.volume, second.volume);
  const Lanes::BoxPair<dim> others(other.volume, other.volume);
  Lanes::Double2 sum{};
  for (unsigned i = 0; i < dim; ++i) {
    const Lanes::Double2 gap =
        Lanes::greater(Lanes::greater(boxes.min[i] - others.max[i], others.min[i] - boxes.max[i]), Lanes::Double2{});
    sum += gap * gap;
  }
  return {sum[0], sum[1]};
}

/// The least and the greatest value of normal · point over both volumes, each from the corner that has it. Rounding
/// keeps the order of sums, so no point inside has a value beyond, however much larger the rest of its box is.
template <unsigned dim>
class SpanOfChildren
{
public:
  struct Span
  {
    Lanes::Double2 low{};
    Lanes::Double2 high{};
  };

  explicit SpanOfChildren(const Vector<double, dim>& direction)
  {
    for (unsigned i = 0; i < dim; ++i)
      normal[i] = Lanes::all(direction[i]);
  }

  template <class Volume>
  Span operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    const Lanes::BoxPair<dim> boxes(first.volume, second.volume);
    Span span;
    for (unsigned i = 0; i < dim; ++i) {
      const Lanes::Double2 a = boxes.min[i] * normal[i];
      const Lanes::Double2 b = boxes.max[i] * normal[i];
      span.low += Lanes::smaller(a, b);
      span.high += Lanes::greater(a, b);
    }
    return span;
  }

private:
  Lanes::Double2 normal[dim];
};

/// The distances of a plane from both volumes, negative for one that it cuts.
template <class PlaneType>
class GapOfChildren;

template <unsigned dim>
class GapOfChildren<Plane<double, dim>>
{
public:
  explicit GapOfChildren(const Plane<double, dim>& plane)
      : spanOf(plane.getNormal()), offset(Lanes::all(plane.getDistance()))
  {}

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    const auto span = spanOf(first, second);
    const Lanes::Double2 gap = Lanes::greater(span.low - offset, offset - span.high);
    return {gap[0], gap[1]};
  }

private:
  SpanOfChildren<dim> spanOf;
  Lanes::Double2 offset;
};

template <unsigned dim>
class SquareDistanceOfChildren<Plane<double, dim>>
{
public:
  explicit SquareDistanceOfChildren(const Plane<double, dim>& plane) : gapOf(plane) {}

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    const ChildValues gap = gapOf(first, second);
    const double nearer = std::max(gap.first, 0.0);
    const double other = std::max(gap.second, 0.0);
    return {nearer * nearer, other * other};
  }

private:
  GapOfChildren<Plane<double, dim>> gapOf;
};

template <unsigned dim>
SquareDistanceOfChildren(const Vector<double, dim>&) -> SquareDistanceOfChildren<Vector<double, dim>>;
template <unsigned dim>
SquareDistanceOfChildren(const Plane<double, dim>&) -> SquareDistanceOfChildren<Plane<double, dim>>;
template <unsigned dim>
GapOfChildren(const Plane<double, dim>&) -> GapOfChildren<Plane<double, dim>>;

/// The signed lowest distances of both volumes from a plane.
class SignedDistanceOfChildren
{
public:
  explicit SignedDistanceOfChildren(const SignedPlane& plane) : spanOf(plane.normal), offset(Lanes::all(plane.offset))
  {}

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    const Lanes::Double2 lowest = spanOf(first, second).low - offset;
    return {lowest[0], lowest[1]};
  }

private:
  SpanOfChildren<3> spanOf;
  Lanes::Double2 offset;
};

/// The gaps along z between a point and both volumes, infinite for one that the vertical line misses.
class VerticalGapOfChildren
{
public:
  explicit VerticalGapOfChildren(const Vector<double, 3>& point) : origin(point) {}

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    return {verticalGap(origin, first.volume), verticalGap(origin, second.volume)};
  }

private:
  const Vector<double, 3>& origin;
};

/// The smallest size of a parameter at which a line or ray is inside each volume, infinite for one that it misses.
template <class LineType>
class ParameterOfChildren
{
public:
  explicit ParameterOfChildren(const LineType& line)
  {
    for (unsigned i = 0; i < 3; ++i) {
      origin[i] = Lanes::all(line.origin[i]);
      // A component of -0 counts as 0: the tests below expect a positive infinity.
      inverse[i] = Lanes::all(std::isinf(line.inverseDirection[i]) ? std::abs(line.inverseDirection[i])
                                                                   : line.inverseDirection[i]);
    }
    if constexpr (requires { line.tolerance; }) tolerance = Lanes::all(line.tolerance);
  }

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    constexpr double largest = std::numeric_limits<double>::max();
    const Lanes::BoxPair<3> boxes(first.volume, second.volume);
    Lanes::Double2 near = Lanes::all(isRay ? 0.0 : -largest);
    Lanes::Double2 far = Lanes::all(largest);
    for (unsigned i = 0; i < 3; ++i) {
      const Lanes::Double2 entry = ((hasTolerance ? boxes.min[i] - tolerance : boxes.min[i]) - origin[i]) * inverse[i];
      const Lanes::Double2 exit = ((hasTolerance ? boxes.max[i] + tolerance : boxes.max[i]) - origin[i]) * inverse[i];
      // 0 times infinity, on a face that runs along the line, is NaN and must not count: the order of the arguments
      // sees to that.
      near = Lanes::greater(Lanes::smaller(exit, entry), near);
      far = Lanes::smaller(Lanes::greater(entry, exit), far);
    }
    const Lanes::Double2 parameter = isRay ? near : Lanes::greater(Lanes::greater(near, -far), Lanes::Double2{});
    const Lanes::Double2 value = far > near ? parameter : Lanes::all(std::numeric_limits<double>::infinity());
    return {value[0], value[1]};
  }

private:
  static constexpr bool isRay = std::is_same_v<LineType, Ray>;
  static constexpr bool hasTolerance = std::is_same_v<LineType, LegacyLine>;

  Lanes::Double2 origin[3];
  Lanes::Double2 inverse[3];
  Lanes::Double2 tolerance{};
};

} // namespace Kavrel::BoundingVolumeHierarchy
