#pragma once

#include "platform/Export.h"

#include <cstdint>

namespace Kavrel {

/// A position in a triangle in the barycentric coordinates of its second and third vertex, with the index of the
/// triangle. The default is the triangle's centre, without a triangle.
class KVSHAPES_EXPORT XiEtaPoint
{
public:
  /// The index that stands for no triangle.
  static constexpr std::uint32_t InvalidElementIdx = 0xFFFFFFFF;

  constexpr XiEtaPoint() = default;
  constexpr XiEtaPoint(double xiValue, double etaValue) : xi(xiValue), eta(etaValue) {}

  constexpr double getXi() const { return xi; }
  constexpr XiEtaPoint& setXi(double value)
  {
    xi = value;
    return *this;
  }
  constexpr double getEta() const { return eta; }
  constexpr XiEtaPoint& setEta(double value)
  {
    eta = value;
    return *this;
  }
  constexpr std::uint32_t getElementIdx() const { return elementIdx; }
  constexpr void setElementIdx(std::uint32_t index) { elementIdx = index; }
  constexpr bool isElementIdxValid() const { return elementIdx < InvalidElementIdx; }

  /// Whether the position lies in the triangle, its border included.
  constexpr bool isOnTriangle() const { return xi >= 0.0 && eta >= 0.0 && xi + eta <= 1.0; }
  /// Whether the position doesn't lie beyond the hypotenuse; negative coordinates are valid.
  constexpr bool isValid() const { return !(xi + eta > 1.0); }

  /// The value at this position of the linear function with the values \p a, \p b and \p c at the triangle's vertices.
  /// NaN when one of the three is at or beyond the largest float in size, which marks an undefined value.
  double interpolateVertexValues(double a, double b, double c) const;

  /// Moves a position outside the triangle onto its border, in place: across the hypotenuse, else across the legs.
  void snapToTriangle();

private:
  double xi = 1.0 / 3.0;
  double eta = 1.0 / 3.0;
  std::uint32_t elementIdx = InvalidElementIdx;
};

} // namespace Kavrel
