#pragma once

#include "platform/Export.h"
#include "platform/kvcadcore/CurveRecords.h"

/// \file
/// What the kernel does with the record of a B-spline curve. Parameters are never clipped: outside the domain, from
/// knots[degree] to knots[controlPointCount], the polynomial of the first or the last non-empty span goes on; at an
/// inner knot the span on its right counts, at the upper end of the domain the one on its left. Evaluations only read,
/// so that threads may share a record, and allocate nothing. They look at pointers and counts, not at values: a record
/// that they can't follow (null, negative counts, a degree above 255, counts that don't match) leaves the result alone.

namespace Kavrel {

/// The point at `u`, or with `derivative` from 1 to 4 that derivative. Gives 1, or 0 for a record that can't be
/// followed.
KVSHAPES_EXPORT int ra_al_DeBoor(PO_VEC* result, int derivative, double u, const PO_IG_NURBS_CRV* record);

/// Point, at index 0, and derivatives 1 to `highest` (at most 4) of a curve that lies in plain arrays. A `dimension` of
/// 2 takes no notice of the third coordinate of the control points and puts 0 into the results. `weights` may be null;
/// `knots` has controlPointCount + degree + 1 entries. Gives 1, or 0 for numbers that can't be followed.
KVSHAPES_EXPORT int Ap1xNurbs_derx_imp(PO_VEC* results, int highest, double u, int dimension, int degree,
                                       int controlPointCount, const double* knots, const PO_VEC* controlPoints,
                                       const double* weights);

/// Fills results[0] with the point and results[d] with derivative d for every bit d - 1 that is set in `mask`: 15 asks
/// for all four. Other entries stay as they are. Gives 1, or 0 for a record that can't be followed.
KVSHAPES_EXPORT int PO_IG_NURBS_CRV_der(const PO_IG_NURBS_CRV* record, PO_VEC* results, double u, int mask);

/// Rewrites the record so that its first and its last degree + 1 knots are the ends of its domain, by knot insertion:
/// the curve over the domain stays as it is. Empty spans at the ends go, with their control points. Ends the
/// periodical flag and brings knot minimum and maximum up to date. Gives 1, or 0 for a record that
/// PO_IG_NURBS_CRV_check refuses, or without memory; then nothing changes.
KVSHAPES_EXPORT int PO_IG_NURBS_CRV_makeClamped(PO_IG_NURBS_CRV* record);

/// Whether the record is a curve: 1 when its degree is 1 to 255, arrays and counts match, and, with `values` not 0, all
/// numbers are finite, knots never descend and the domain has a length. Else 0, also for null.
KVSHAPES_EXPORT int PO_IG_NURBS_CRV_check(const PO_IG_NURBS_CRV* record, int values);

/// Releases the record with its arrays and clears the pointer. Null stays null.
KVSHAPES_EXPORT void PO_IG_NURBS_CRV_free(PO_IG_NURBS_CRV** record);

/// Releases the record with its arrays; null is fine.
KVSHAPES_EXPORT void cw_ig_freeNurbsCurve(PO_IG_NURBS_CRV* record);

/// The smallest and the largest of `count` numbers. Without numbers nothing is written.
KVSHAPES_EXPORT void DOUBLE_ARRAY_minMax(const double* values, int count, double* minimum, double* maximum);

} // namespace Kavrel
