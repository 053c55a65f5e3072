#pragma once

#include "geometry/Point3N.h"

namespace Kavrel {

/// A point with a boundary constraint.
class KVSHAPES_EXPORT ConstraintPoint : public Point3N
{
public:
  enum CONSTRAINT : std::int32_t
  {
    Symmetry = -3,
    Free = 0,
    Fixed = 1,
    Clamped = 2
  };

  /// The origin, clamped.
  constexpr ConstraintPoint() = default;
  /// Fixed, without normal.
  constexpr explicit ConstraintPoint(const Point<double, 3>& position) : Point3N(position), constraint(Fixed) {}
  /// Position and normal of \p point, constrained as the assignment from it does.
  constexpr explicit ConstraintPoint(const Point3N& point) : Point3N(point), constraint(constraintOf(point)) {}
  /// Without normal.
  constexpr ConstraintPoint(const Vector<double, 3>& position, CONSTRAINT value) : Point3N(position), constraint(value)
  {}
  /// A zero normal means none.
  constexpr ConstraintPoint(const Vector<double, 3>& position, const Vector<double, 3>& pointNormal, CONSTRAINT value)
      : Point3N(position, pointNormal), constraint(value)
  {}
  constexpr ConstraintPoint(const Point3N& point, CONSTRAINT value) : Point3N(point), constraint(value) {}

  /// Takes the coordinates, clears the normal and clamps the point.
  constexpr ConstraintPoint& operator=(const Vector<double, 3>& position)
  {
    Point3N::operator=(position);
    constraint = Clamped;
    return *this;
  }
  /// Takes position and normal. The point is clamped when the normal's squared length is above 0.01, else fixed.
  constexpr ConstraintPoint& operator=(const Point3N& point)
  {
    Point3N::operator=(point);
    constraint = constraintOf(point);
    return *this;
  }

  constexpr CONSTRAINT getConstraint() const { return constraint; }
  constexpr void setConstraint(CONSTRAINT value) { constraint = value; }

  /// Writes the form of Point3N, " C: ", the constraint's name (nothing for a value without name) and a line end.
  void dump(std::ostream& out) const;

private:
  static constexpr CONSTRAINT constraintOf(const Point3N& point)
  {
    return point.getNormal().sqrLength() > 0.01 ? Clamped : Fixed;
  }

  CONSTRAINT constraint = Clamped;

  KVSHAPES_PERSISTENT();
};

static_assert(std::is_trivially_copyable_v<ConstraintPoint>);

} // namespace Kavrel
