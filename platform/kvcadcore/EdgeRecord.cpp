#include "platform/kvcadcore/EdgeRecord.h"

#include "platform/kvcadcore/NurbsCurveRecord.h"

#include <cstdlib>

namespace Kavrel {

namespace {

void freeComposite(PO_IG_COMP_CRV* composite)
{
  for (std::int32_t i = 0; i < composite->count; ++i)
    PO_IG_EDG_free(&composite->members[i]);
  std::free(composite->members);
  std::free(composite);
}

void freePoly(PO_IG_POLY* poly)
{
  std::free(poly->points);
  std::free(poly);
}

void freeGeCurve(PO_IG_GE_CURVE* curve)
{
  std::free(curve->points);
  std::free(curve->normals);
  std::free(curve);
}

void freeCurve(std::int32_t kind, void* curve)
{
  switch (kind) {
  case PO_IG_EDG_COMPOSITE:
    return freeComposite(static_cast<PO_IG_COMP_CRV*>(curve));
  case PO_IG_EDG_POLY:
    return freePoly(static_cast<PO_IG_POLY*>(curve));
  case PO_IG_EDG_NURBS:
    return cw_ig_freeNurbsCurve(static_cast<PO_IG_NURBS_CRV*>(curve));
  case PO_IG_EDG_GE_CURVE:
    return freeGeCurve(static_cast<PO_IG_GE_CURVE*>(curve));
  default:
    return std::free(curve); // circle, conic and line own no arrays
  }
}

} // namespace

void PO_IG_EDG_free(PO_IG_EDG** edge)
{
  if (!edge || !*edge) return;
  if ((*edge)->curve) freeCurve((*edge)->kind, (*edge)->curve);
  std::free((*edge)->matrix);
  std::free(*edge);
  *edge = nullptr;
}

} // namespace Kavrel
