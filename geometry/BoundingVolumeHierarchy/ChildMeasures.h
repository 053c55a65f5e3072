#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/Node.h"
#include "geometry/BoundingVolumeHierarchy/QueryShapes.h"
#include "geometry/BoundingVolumeHierarchy/VolumeTests.h"
#include "geometry/Plane.h"

#include <cmath>
#include <limits>

/// What a query is to the two children of a node, both at once. A traversal visits the child of smaller value first.
namespace Kavrel::BoundingVolumeHierarchy {

struct ChildValues
{
  double first;
  double second;
};

/// The squared distances of a query from both volumes, by squareDistance().
template <class Query>
class SquareDistanceOfChildren
{
public:
  explicit SquareDistanceOfChildren(const Query& q) : query(q) {}

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    return {squareDistance(query, first.volume), squareDistance(query, second.volume)};
  }

private:
  const Query& query;
};

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

/// The signed lowest distances of both volumes from a plane.
class SignedDistanceOfChildren
{
public:
  explicit SignedDistanceOfChildren(const SignedPlane& plane) : query(plane) {}

  template <class Volume>
  ChildValues operator()(const Node<Volume>& first, const Node<Volume>& second) const
  {
    return {signedDistance(query, first.volume), signedDistance(query, second.volume)};
  }

private:
  const SignedPlane& query;
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
