#include "platform/kvcadcore/NurbsCurveRecord.h"

#include "platform/kvcadcore/nurbs/CurveEvaluation.h"
#include "platform/kvcadcore/nurbs/KnotInsertion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Kavrel {

namespace {

using RecordView = Nurbs::CurveView<double, 3>;
using Values = std::array<std::array<double, 3>, Nurbs::maxOrder + 1>;

struct Free
{
  void operator()(void* memory) const { std::free(memory); }
};
using Homogeneous = std::unique_ptr<double[], Free>;

bool canBeFollowed(const PO_IG_NURBS_CRV* record)
{
  if (!record || !record->controlPoints || !record->knots) return false;
  if (record->degree < 0 || record->degree > int(Nurbs::maxDegree)) return false;
  if (record->controlPointCount <= record->degree) return false;
  if (std::int64_t(record->knotCount) != std::int64_t(record->controlPointCount) + record->degree + 1) return false;
  return record->weightCount == 0 || (record->weights && record->weightCount == record->controlPointCount);
}

RecordView view(int degree, int count, const double* knots, const PO_VEC* points, const double* weights)
{
  return {unsigned(degree), {knots, std::size_t(count) + unsigned(degree) + 1}, &points->x, weights};
}

RecordView view(const PO_IG_NURBS_CRV& record)
{
  return view(record.degree, record.controlPointCount, record.knots, record.controlPoints,
              record.weightCount > 0 ? record.weights : nullptr);
}

template <unsigned order>
Values evaluateTo(const RecordView& curve, double u)
{
  Values values{};
  std::ranges::copy(Nurbs::derivativesAt<order>(curve, u), values.begin());
  return values;
}

Values evaluateTo(const RecordView& curve, double u, int order)
{
  switch (order) {
  case 0:
    return evaluateTo<0>(curve, u);
  case 1:
    return evaluateTo<1>(curve, u);
  case 2:
    return evaluateTo<2>(curve, u);
  case 3:
    return evaluateTo<3>(curve, u);
  default:
    return evaluateTo<4>(curve, u);
  }
}

bool knowsOrder(int order) { return order >= 0 && order <= int(Nurbs::maxOrder); }

PO_VEC vectorOf(const std::array<double, 3>& value) { return {value[0], value[1], value[2]}; }

bool isFinite(const PO_VEC& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

bool isFinite(double number) { return std::isfinite(number); }

template <class Value>
bool allFinite(const Value* values, int count)
{
  return std::all_of(values, values + count, [](const Value& value) { return isFinite(value); });
}

/// Four numbers for each control point; null without memory.
Homogeneous homogeneousPoints(const PO_IG_NURBS_CRV& record)
{
  const auto count = std::size_t(record.controlPointCount);
  Homogeneous points(static_cast<double*>(std::malloc(count * 4 * sizeof(double))));
  for (std::size_t i = 0; points && i < count; ++i) {
    const PO_VEC& p = record.controlPoints[i];
    const double w = record.weightCount > 0 ? record.weights[i] : 1.0;
    const double homogeneous[4] = {w * p.x, w * p.y, w * p.z, w};
    std::copy_n(homogeneous, 4, &points[4 * i]);
  }
  return points;
}

} // namespace

int ra_al_DeBoor(PO_VEC* result, int derivative, double u, const PO_IG_NURBS_CRV* record)
{
  if (!knowsOrder(derivative) || !canBeFollowed(record)) return 0;
  if (derivative == 0)
    *result = vectorOf(Nurbs::pointAt(view(*record), u));
  else
    *result = vectorOf(evaluateTo(view(*record), u, derivative)[std::size_t(derivative)]);
  return 1;
}

int Ap1xNurbs_derx_imp(PO_VEC* results, int highest, double u, int dimension, int degree, int controlPointCount,
                       const double* knots, const PO_VEC* controlPoints, const double* weights)
{
  if (!knowsOrder(highest) || dimension < 2 || dimension > 3) return 0;
  if (!knots || !controlPoints || degree < 0 || degree > int(Nurbs::maxDegree) || controlPointCount <= degree) return 0;
  const Values values = evaluateTo(view(degree, controlPointCount, knots, controlPoints, weights), u, highest);
  for (int d = 0; d <= highest; ++d) {
    results[d] = vectorOf(values[std::size_t(d)]);
    if (dimension == 2) results[d].z = 0.0;
  }
  return 1;
}

int PO_IG_NURBS_CRV_der(const PO_IG_NURBS_CRV* record, PO_VEC* results, double u, int mask)
{
  if (!canBeFollowed(record)) return 0;
  const Values values = evaluateTo(view(*record), u, int(Nurbs::maxOrder));
  results[0] = vectorOf(values[0]);
  for (unsigned d = 1; d <= Nurbs::maxOrder; ++d)
    if (mask & (1 << (d - 1))) results[d] = vectorOf(values[d]);
  return 1;
}

int PO_IG_NURBS_CRV_makeClamped(PO_IG_NURBS_CRV* record)
{
  if (!PO_IG_NURBS_CRV_check(record, 1)) return 0;
  const auto degree = unsigned(record->degree);
  const std::size_t pointCount = std::size_t(record->controlPointCount);
  const Homogeneous points = homogeneousPoints(*record);
  if (!points) return 0;

  const std::span<double> knots(record->knots, std::size_t(record->knotCount));
  const auto [first, count] = Nurbs::clampEnds(knots, degree, {points.get(), 4 * pointCount}, 4);
  std::memmove(record->knots, record->knots + first, (count + degree + 1) * sizeof(double));
  for (std::size_t i = 0; i < count; ++i) {
    const double* const p = &points[4 * (first + i)];
    if (p[3] != 0.0)
      record->controlPoints[i] = {p[0] / p[3], p[1] / p[3], p[2] / p[3]};
    else
      record->controlPoints[i] = record->controlPoints[first + i]; // without weight it has no influence: it stays
    if (record->weightCount > 0) record->weights[i] = p[3];
  }
  record->controlPointCount = int(count);
  record->knotCount = int(count + degree + 1);
  if (record->weightCount > 0) record->weightCount = int(count);
  record->periodical = 0;
  DOUBLE_ARRAY_minMax(record->knots, record->knotCount, &record->knotMinimum, &record->knotMaximum);
  return 1;
}

int PO_IG_NURBS_CRV_check(const PO_IG_NURBS_CRV* record, int values)
{
  if (!canBeFollowed(record) || record->degree < 1) return 0;
  if (!values) return 1;
  if (!allFinite(record->controlPoints, record->controlPointCount)) return 0;
  if (!allFinite(record->weights, record->weightCount)) return 0;
  if (!allFinite(record->knots, record->knotCount)) return 0;
  if (!std::is_sorted(record->knots, record->knots + record->knotCount)) return 0;
  return record->knots[record->degree] < record->knots[record->controlPointCount] ? 1 : 0;
}

void PO_IG_NURBS_CRV_free(PO_IG_NURBS_CRV** record)
{
  if (!record) return;
  cw_ig_freeNurbsCurve(*record);
  *record = nullptr;
}

void cw_ig_freeNurbsCurve(PO_IG_NURBS_CRV* record)
{
  if (!record) return;
  std::free(record->controlPoints);
  std::free(record->weights);
  std::free(record->knots);
  std::free(record);
}

void DOUBLE_ARRAY_minMax(const double* values, int count, double* minimum, double* maximum)
{
  if (count <= 0) return;
  const auto [low, high] = std::minmax_element(values, values + count);
  *minimum = *low;
  *maximum = *high;
}

} // namespace Kavrel
