#include "platform/kvcadcore/nurbs/CurveEvaluation.h"

#include "platform/kvcadcore/nurbs/BasisFunctions.h"

namespace Kavrel::Nurbs {

namespace {

constexpr double binomial[maxOrder + 1][maxOrder + 1] = {{1}, {1, 1}, {1, 2, 1}, {1, 3, 3, 1}, {1, 4, 6, 4, 1}};

/// Homogeneous derivatives become those of the curve: (x / w)' by Leibniz's rule for x = w * (x / w).
template <unsigned order, unsigned dim>
void divideByWeight(CurveDerivatives<dim, order>& values, const double (&weight)[order + 1])
{
  for (unsigned d = 0; d <= order; ++d) {
    for (unsigned i = 1; i <= d; ++i)
      for (unsigned c = 0; c < dim; ++c)
        values[d][c] -= binomial[d][i] * weight[i] * values[d - i][c];
    for (double& coordinate : values[d])
      coordinate /= weight[0];
  }
}

template <unsigned fixedDegree, unsigned order, class Scalar, unsigned dim>
CurveDerivatives<dim, order> evaluate(const CurveView<Scalar, dim>& curve, std::size_t span, double u)
{
  const unsigned degree = fixedDegree > 0 ? fixedDegree : curve.degree;
  double rows[order + 1][fixedDegree > 0 ? fixedDegree + 1 : maxDegree + 1];
  basisFunctions<order, fixedDegree>(curve.knots.data(), span, degree, u, rows);

  const Scalar* const points = curve.points + (span - degree) * dim;
  const double* const weights = curve.weights ? curve.weights + (span - degree) : nullptr;
  double weight[order + 1] = {};
  if (weights)
    for (unsigned d = 0; d <= order; ++d)
      for (unsigned j = 0; j <= degree; ++j) {
        rows[d][j] *= weights[j];
        weight[d] += rows[d][j];
      }

  CurveDerivatives<dim, order> values{};
  for (unsigned d = 0; d <= order; ++d)
    for (unsigned j = 0; j <= degree; ++j)
      for (unsigned c = 0; c < dim; ++c)
        values[d][c] += rows[d][j] * double(points[j * dim + c]);
  if (weights) divideByWeight<order, dim>(values, weight);
  return values;
}

} // namespace

template <unsigned order, class Scalar, unsigned dim>
CurveDerivatives<dim, order> derivativesInSpan(const CurveView<Scalar, dim>& curve, std::size_t span, double u)
{
  if constexpr (order <= 2) switch (curve.degree) {
    case 1:
      return evaluate<1, order>(curve, span, u);
    case 2:
      return evaluate<2, order>(curve, span, u);
    case 3:
      return evaluate<3, order>(curve, span, u);
    case 4:
      return evaluate<4, order>(curve, span, u);
    case 5:
      return evaluate<5, order>(curve, span, u);
    default:
      break;
    }
  return evaluate<0, order>(curve, span, u);
}

#define KVSHAPES_NURBS_INSTANTIATE(order, Scalar, dim)                                                                 \
  template CurveDerivatives<dim, order> derivativesInSpan<order, Scalar, dim>(const CurveView<Scalar, dim>&,           \
                                                                              std::size_t, double);
KVSHAPES_NURBS_CURVES(KVSHAPES_NURBS_INSTANTIATE)
#undef KVSHAPES_NURBS_INSTANTIATE

} // namespace Kavrel::Nurbs
