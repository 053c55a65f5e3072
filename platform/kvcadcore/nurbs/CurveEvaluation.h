#pragma once

#include "platform/Export.h"
#include "platform/kvcadcore/nurbs/KnotSpan.h"

#include <array>
#include <span>

namespace Kavrel::Nurbs {

/// Derivatives that an evaluation can give.
inline constexpr unsigned maxOrder = 4;

/// A B-spline curve that lies in somebody else's arrays. Coordinates of float are widened before anything is computed
/// with them, so the same numbers in float or double, or with a third coordinate added, give the same answers.
template <class Scalar, unsigned dim>
struct CurveView
{
  unsigned degree;               ///< at most maxDegree
  std::span<const double> knots; ///< n + degree + 1, ascending
  const Scalar* points;          ///< n times dim coordinates; n > degree
  const double* weights;         ///< n, or null for a polynomial curve
};

/// Value and derivatives up to `order`: [0] the point, [d] derivative d.
template <unsigned dim, unsigned order>
using CurveDerivatives = std::array<std::array<double, dim>, order + 1>;

/// Point and derivatives, `order` at most maxOrder, by the polynomial of one non-empty span, at `u` inside or outside
/// of it. Nothing is allocated. A weight sum of zero divides by zero.
template <unsigned order, class Scalar, unsigned dim>
KVSHAPES_EXPORT CurveDerivatives<dim, order> derivativesInSpan(const CurveView<Scalar, dim>& curve, std::size_t span,
                                                               double u);

/// Point and derivatives at `u`. Nothing is clipped: see findSpan for the polynomial that counts. A polynomial curve
/// meets its end control points to the bit where it is clamped. A curve whose domain has no length gives values that
/// are no numbers.
template <unsigned order, class Scalar, unsigned dim>
CurveDerivatives<dim, order> derivativesAt(const CurveView<Scalar, dim>& curve, double u)
{
  return derivativesInSpan<order>(curve, findSpan(curve.knots, curve.degree, u), u);
}

/// The point at `u`, as derivativesAt gives it.
template <class Scalar, unsigned dim>
std::array<double, dim> pointAt(const CurveView<Scalar, dim>& curve, double u)
{
  return derivativesAt<0>(curve, u)[0];
}

// clang-format off
#define KVSHAPES_NURBS_ORDERS(X, ...) X(0, __VA_ARGS__) X(1, __VA_ARGS__) X(2, __VA_ARGS__) X(3, __VA_ARGS__) X(4, __VA_ARGS__)
#define KVSHAPES_NURBS_CURVES(X) \
  KVSHAPES_NURBS_ORDERS(X, float, 2) KVSHAPES_NURBS_ORDERS(X, float, 3) \
  KVSHAPES_NURBS_ORDERS(X, double, 2) KVSHAPES_NURBS_ORDERS(X, double, 3)
// clang-format on

#define KVSHAPES_NURBS_EXTERN(order, Scalar, dim)                                                                      \
  extern template CurveDerivatives<dim, order> derivativesInSpan<order, Scalar, dim>(const CurveView<Scalar, dim>&,    \
                                                                                     std::size_t, double);
KVSHAPES_NURBS_CURVES(KVSHAPES_NURBS_EXTERN)
#undef KVSHAPES_NURBS_EXTERN

} // namespace Kavrel::Nurbs
