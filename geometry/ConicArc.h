#pragma once

#include "geometry/CoordinateSystem.h"
#include "geometry/Curve.h"

namespace Kavrel {

/// A conic or a piece of one: the placement of the local frame in which the conic is given. The centre lies at the
/// origin of the frame, the conic in its XY plane.
template <class T, unsigned dim>
class KVSHAPES_EXPORT ConicArc : public Curve<T, dim>
{
public:
  /// Copies everything, the identifier included.
  ConicArc(const ConicArc&) = default;
  ConicArc& operator=(const ConicArc&) = default;
  /// The source is left with the default interval, tolerance 0 and the invalid identifier.
  ConicArc(ConicArc&&) noexcept = default;
  ConicArc& operator=(ConicArc&&) noexcept = default;
  ~ConicArc() override;

  const CoordinateSystem<T, dim>& getCoordinateSystem() const { return coordinateSystem; }
  void setCoordinateSystem(const CoordinateSystem<T, dim>& placement) { coordinateSystem = placement; }

  void transform(const CoordinateSystem<T, dim>& system) override;
  /// Raises ShapecoreException "Not implemented yet!".
  void reverse() override;

protected:
  static constexpr double fullTurn = 6.283185307179586; // radians

  /// At the identity placement.
  explicit ConicArc(T chordTolerance);
  ConicArc(const CoordinateSystem<T, dim>& placement, T chordTolerance);

  /// Takes over domain, tolerance and placement; the identifier stays.
  void copyConicArc(const ConicArc& other);

  /// The point with the local coordinates (x, y).
  Point<T, dim> placed(T x, T y) const
  {
    Point<T, dim> point;
    point[0] = x;
    point[1] = y;
    return point.transform(coordinateSystem);
  }
  /// The direction with the local components (x, y).
  Vector<T, dim> turned(T x, T y) const
  {
    Vector<T, dim> direction;
    direction[0] = x;
    direction[1] = y;
    return coordinateSystem.transformVectorCopy(direction);
  }

  /// Turns or flips the conic about its centre by \p axes, which are given in its own frame. Any turn counts, while
  /// CoordinateSystem::transform() passes over the smallest.
  void turnLocally(const OrthMatrix<T, dim>& axes)
  {
    coordinateSystem.setOrientation(coordinateSystem.getOrientation() * axes);
  }

  /// Raises ShapecoreException "Not yet implemented", for values that no formula gives.
  [[noreturn]] static void refuseValue();
  /// Raises ShapecoreException "Not implemented yet!", for derivations and changes of direction.
  [[noreturn]] static void refuseDirection();

  CoordinateSystem<T, dim> coordinateSystem;

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class ConicArc<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
