#pragma once

#include "geometry/Point3N.h"
#include "platform/kvident/Identifier.h"

namespace Kavrel {

/// A point with the record of its projection onto a mesh.
class KVSHAPES_EXPORT ProjectionPoint : public Point3N
{
public:
  /// Where the point was placed on its mesh. 0 is not placed; 1, 2 and 5 are the positions that refer to a mesh.
  enum PointPosition : std::int32_t
  {
    NotPlaced = 0,
    Position1 = 1,
    Position2 = 2,
    Position3 = 3,
    Position4 = 4,
    Position5 = 5,
    Position6 = 6
  };

  /// The origin, not placed: both indices are -1.
  constexpr ProjectionPoint() = default;
  /// Not placed, without normal: both indices are -2.
  constexpr ProjectionPoint(const Vector<double, 3>& position) : Point3N(position) { forgetPlace(); }
  /// Position and normal of \p point, not placed: both indices are -2.
  constexpr ProjectionPoint(const Point3N& point) : Point3N(point) { forgetPlace(); }

  /// Takes the coordinates and clears the normal. The indices become -2, the position not placed; the mesh stays.
  constexpr ProjectionPoint& operator=(const Vector<double, 3>& position)
  {
    Point3N::operator=(position);
    forgetPlace();
    return *this;
  }
  /// Takes position and normal. The indices become -2, the position not placed; the mesh stays.
  constexpr ProjectionPoint& operator=(const Point3N& point)
  {
    Point3N::operator=(point);
    forgetPlace();
    return *this;
  }

  constexpr std::int32_t getTriangleIndex() const { return triangleIndex; }
  constexpr void setTriangleIndex(std::int32_t index) { triangleIndex = index; }
  constexpr std::int32_t getBoundaryNumber() const { return boundaryNumber; }
  constexpr void setBoundaryNumber(std::int32_t number) { boundaryNumber = number; }
  constexpr PointPosition getLogicalPosition() const { return logicalPosition; }
  constexpr void setLogicalPosition(PointPosition position) { logicalPosition = position; }

  /// The mesh of a point in position 1, 2 or 5; the invalid identifier in every other position.
  constexpr Identifier getMeshId() const
  {
    return logicalPosition == Position1 || logicalPosition == Position2 || logicalPosition == Position5
               ? meshId
               : Identifier::getInvalidId();
  }
  constexpr void setMeshId(Identifier id) { meshId = id; }

private:
  constexpr void forgetPlace()
  {
    triangleIndex = boundaryNumber = -2;
    logicalPosition = NotPlaced;
  }

  Identifier meshId = Identifier::getInvalidId();
  std::int32_t triangleIndex = -1;
  std::int32_t boundaryNumber = -1;
  PointPosition logicalPosition = NotPlaced;

  KVSHAPES_PERSISTENT();
};

static_assert(std::is_trivially_copyable_v<ProjectionPoint>);

} // namespace Kavrel
