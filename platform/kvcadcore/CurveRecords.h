#pragma once

#include <cstddef>
#include <cstdint>

/// \file
/// The flat records of curves: a binary interface, so every size and offset is fixed for 64-bit pointers. Records and
/// the arrays that they point to come from calloc or malloc and go back through free, PO_IG_NURBS_CRV_free or
/// PO_IG_EDG_free; what nobody writes is 0. The `reserved` fields belong to nobody here.

namespace Kavrel {

/// A position or direction.
struct PO_VEC
{
  double x, y, z;
};

struct PO_FVEC
{
  float x, y, z;
};

/// A placement: local p goes to matrix p + translation.
struct PO_IG_MAT
{
  std::uint8_t reserved[8];
  double matrix[9]; ///< by rows; the axes are its columns
  PO_VEC translation;
};

/// The flags that every curve record hands to its edge.
struct PO_IG_ATTRIB_CRV
{
  std::int32_t planar; ///< non-zero: the curve lies in a plane
  std::int32_t closed; ///< 1: start and end coincide
};

/// What PO_IG_EDG::kind says of PO_IG_EDG::curve. 0 and 9 stand for no curve.
enum PO_IG_EDG_KIND : std::int32_t
{
  PO_IG_EDG_NONE = 0,
  PO_IG_EDG_CIRCLE = 1,    ///< PO_IG_CIRCLE
  PO_IG_EDG_COMPOSITE = 2, ///< PO_IG_COMP_CRV
  PO_IG_EDG_CONIC = 3,     ///< PO_IG_CONIC
  PO_IG_EDG_POLY = 4,      ///< PO_IG_POLY
  PO_IG_EDG_LINE = 5,      ///< PO_IG_LINE
  PO_IG_EDG_SPLINE = 6,    ///< a record without a known layout
  PO_IG_EDG_NURBS = 7,     ///< PO_IG_NURBS_CRV
  PO_IG_EDG_GE_CURVE = 8,  ///< PO_IG_GE_CURVE
  PO_IG_EDG_EMPTY = 9
};

/// An edge: some curve, where it is placed and over which parameters.
struct PO_IG_EDG
{
  std::int64_t id; ///< identifier of the source curve, for members of a composite
  std::int64_t id2;
  std::uint8_t reserved16[8];
  std::int32_t kind; ///< a PO_IG_EDG_KIND
  void* curve;       ///< record of that kind; the edge owns it
  PO_IG_ATTRIB_CRV attributes;
  std::int32_t orientation; ///< 1: travel is opposite to that of `curve`
  PO_VEC minimum;           ///< extent
  PO_VEC maximum;
  std::uint8_t reserved104[24];
  double domainLower;
  double domainUpper;
  PO_IG_MAT* matrix; ///< may be null; the edge owns it
  PO_VEC startPoint;
  PO_VEC endPoint;
  std::uint8_t reserved200[104];
};

/// An arc in the plane z = 0 of its placement.
struct PO_IG_CIRCLE
{
  PO_VEC centre;
  double radius;
  PO_VEC start;
  PO_VEC end;
};

/// The members of a composite, in order; the record owns the array and the edges.
struct PO_IG_COMP_CRV
{
  std::int32_t count;
  PO_IG_EDG** members;
};

/// An arc of a conic section in its placement.
struct PO_IG_CONIC
{
  std::int32_t type; ///< 0 to 3 parabola, 4 ellipse, 5 to 8 hyperbola
  std::uint8_t reserved4[52];
  double a; ///< first radius of an ellipse, parameter a of the others
  double b;
  double z; ///< local height of the origin
  PO_VEC start;
  PO_VEC end;
};

struct PO_IG_POLY
{
  std::int32_t pointCount;
  PO_VEC* points;
  std::int32_t closed;
};

struct PO_IG_LINE
{
  PO_VEC start;
  PO_VEC end;
};

/// A B-spline curve, rational when it has weights; knotCount = controlPointCount + degree + 1.
struct PO_IG_NURBS_CRV
{
  std::int32_t degree;
  std::int32_t controlPointCount;
  PO_VEC* controlPoints;
  std::int32_t weightCount; ///< 0, or one for each control point
  std::uint8_t reserved20[4];
  double* weights; ///< null when there are none
  std::uint8_t reserved32[4];
  std::int32_t periodical;
  std::int32_t knotCount;
  double* knots; ///< ascending
  double knotMinimum;
  double knotMaximum;
};

/// A polygon with normals: both normal fields are 0 when it has none.
struct PO_IG_GE_CURVE
{
  std::int32_t pointCount;
  PO_VEC* points;
  std::int32_t normalCount;
  PO_VEC* normals;
  std::uint8_t reserved32[16];
  std::int32_t closed;
};

/// The plain polygon.
struct GE_CURVE
{
  std::int32_t pointCount;
  PO_VEC* points;
  PO_VEC* normals; ///< may be null
  std::uint8_t reserved24[8];
  std::int32_t closed;
};

static_assert(sizeof(void*) == 8);

static_assert(sizeof(PO_VEC) == 24);
static_assert(offsetof(PO_VEC, y) == 8);
static_assert(offsetof(PO_VEC, z) == 16);

static_assert(sizeof(PO_FVEC) == 12);
static_assert(offsetof(PO_FVEC, y) == 4);
static_assert(offsetof(PO_FVEC, z) == 8);

static_assert(sizeof(PO_IG_MAT) == 104);
static_assert(offsetof(PO_IG_MAT, matrix) == 8);
static_assert(offsetof(PO_IG_MAT, translation) == 80);

static_assert(sizeof(PO_IG_ATTRIB_CRV) == 8);
static_assert(offsetof(PO_IG_ATTRIB_CRV, planar) == 0);
static_assert(offsetof(PO_IG_ATTRIB_CRV, closed) == 4);

static_assert(sizeof(PO_IG_EDG) == 304);
static_assert(offsetof(PO_IG_EDG, id) == 0);
static_assert(offsetof(PO_IG_EDG, id2) == 8);
static_assert(offsetof(PO_IG_EDG, kind) == 24);
static_assert(offsetof(PO_IG_EDG, curve) == 32);
static_assert(offsetof(PO_IG_EDG, attributes) == 40);
static_assert(offsetof(PO_IG_EDG, orientation) == 48);
static_assert(offsetof(PO_IG_EDG, minimum) == 56);
static_assert(offsetof(PO_IG_EDG, maximum) == 80);
static_assert(offsetof(PO_IG_EDG, domainLower) == 128);
static_assert(offsetof(PO_IG_EDG, domainUpper) == 136);
static_assert(offsetof(PO_IG_EDG, matrix) == 144);
static_assert(offsetof(PO_IG_EDG, startPoint) == 152);
static_assert(offsetof(PO_IG_EDG, endPoint) == 176);

static_assert(sizeof(PO_IG_CIRCLE) == 80);
static_assert(offsetof(PO_IG_CIRCLE, centre) == 0);
static_assert(offsetof(PO_IG_CIRCLE, radius) == 24);
static_assert(offsetof(PO_IG_CIRCLE, start) == 32);
static_assert(offsetof(PO_IG_CIRCLE, end) == 56);

static_assert(sizeof(PO_IG_COMP_CRV) == 16);
static_assert(offsetof(PO_IG_COMP_CRV, count) == 0);
static_assert(offsetof(PO_IG_COMP_CRV, members) == 8);

static_assert(sizeof(PO_IG_CONIC) == 128);
static_assert(offsetof(PO_IG_CONIC, type) == 0);
static_assert(offsetof(PO_IG_CONIC, a) == 56);
static_assert(offsetof(PO_IG_CONIC, b) == 64);
static_assert(offsetof(PO_IG_CONIC, z) == 72);
static_assert(offsetof(PO_IG_CONIC, start) == 80);
static_assert(offsetof(PO_IG_CONIC, end) == 104);

static_assert(sizeof(PO_IG_POLY) == 24);
static_assert(offsetof(PO_IG_POLY, pointCount) == 0);
static_assert(offsetof(PO_IG_POLY, points) == 8);
static_assert(offsetof(PO_IG_POLY, closed) == 16);

static_assert(sizeof(PO_IG_LINE) == 48);
static_assert(offsetof(PO_IG_LINE, start) == 0);
static_assert(offsetof(PO_IG_LINE, end) == 24);

static_assert(sizeof(PO_IG_NURBS_CRV) == 72);
static_assert(offsetof(PO_IG_NURBS_CRV, degree) == 0);
static_assert(offsetof(PO_IG_NURBS_CRV, controlPointCount) == 4);
static_assert(offsetof(PO_IG_NURBS_CRV, controlPoints) == 8);
static_assert(offsetof(PO_IG_NURBS_CRV, weightCount) == 16);
static_assert(offsetof(PO_IG_NURBS_CRV, weights) == 24);
static_assert(offsetof(PO_IG_NURBS_CRV, periodical) == 36);
static_assert(offsetof(PO_IG_NURBS_CRV, knotCount) == 40);
static_assert(offsetof(PO_IG_NURBS_CRV, knots) == 48);
static_assert(offsetof(PO_IG_NURBS_CRV, knotMinimum) == 56);
static_assert(offsetof(PO_IG_NURBS_CRV, knotMaximum) == 64);

static_assert(sizeof(PO_IG_GE_CURVE) == 56);
static_assert(offsetof(PO_IG_GE_CURVE, pointCount) == 0);
static_assert(offsetof(PO_IG_GE_CURVE, points) == 8);
static_assert(offsetof(PO_IG_GE_CURVE, normalCount) == 16);
static_assert(offsetof(PO_IG_GE_CURVE, normals) == 24);
static_assert(offsetof(PO_IG_GE_CURVE, closed) == 48);

static_assert(sizeof(GE_CURVE) == 40);
static_assert(offsetof(GE_CURVE, pointCount) == 0);
static_assert(offsetof(GE_CURVE, points) == 8);
static_assert(offsetof(GE_CURVE, normals) == 16);
static_assert(offsetof(GE_CURVE, closed) == 32);

} // namespace Kavrel
