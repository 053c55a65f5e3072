#include "geometry/mesh/Triangle.h"
#include "geometry/mesh/TriangleUtilities.h"

#include <cmath>

namespace Kavrel {

namespace {

using Vector3 = Vector<double, 3>;

/// An orthonormal basis of a triangle's plane, and the form [[l, m], [m, n]] in it.
struct FittedForm
{
  Vector3 u;
  Vector3 v;
  double l = 0;
  double m = 0;
  double n = 0;
};

/// A direction a·u + b·v of unit length with the curvature along it.
struct PrincipalCurvature
{
  double value = 0;
  double a = 0;
  double b = 0;
};

void setBasis(FittedForm& form, const Vector3& e1, const Vector3& e2)
{
  form.u = e1.getNormalized();
  const Vector3 normal = form.u.cross(e2.getNormalized()).getNormalized();
  form.v = normal.cross(form.u).getNormalized();
}

// Along each edge the form must turn the normal as the corner normals differ: two equations for an edge, six for three
// unknowns, solved by their normal equations with Cramer's rule.
FittedForm fitForm(const Triangle& triangle)
{
  const Vertex& p0 = triangle.getVertexRef(0);
  const Vertex& p1 = triangle.getVertexRef(1);
  const Vertex& p2 = triangle.getVertexRef(2);
  const Vector3 edges[3] = {p1 - p0, p2 - p0, p1 - p2};
  const Vector3 turns[3] = {p1.getNormal() - p0.getNormal(), p2.getNormal() - p0.getNormal(),
                            p1.getNormal() - p2.getNormal()};
  FittedForm form;
  setBasis(form, edges[0], edges[1]);

  double aa = 0, ab = 0, bb = 0;
  double right1 = 0, right2 = 0, right3 = 0;
  for (int i = 0; i < 3; ++i) {
    const double a = edges[i].dot(form.u);
    const double b = edges[i].dot(form.v);
    const double r = turns[i].dot(form.u);
    const double s = turns[i].dot(form.v);
    aa += a * a;
    ab += a * b;
    bb += b * b;
    right1 += a * r;
    right2 += a * s + b * r;
    right3 += b * s;
  }

  const double middle = aa + bb;
  const double det = aa * (middle * bb - ab * ab) - ab * ab * bb;
  form.l = (right1 * (middle * bb - ab * ab) - ab * (right2 * bb - ab * right3)) / det;
  form.m = (aa * (right2 * bb - ab * right3) - right1 * ab * bb) / det;
  form.n = (aa * (middle * right3 - ab * right2) - ab * ab * right3 + right1 * ab * ab) / det;
  return form;
}

PrincipalCurvature eigenvector(double value, double slope)
{
  const double b = 1 / std::sqrt(1 + slope * slope);
  // A slope whose square overflows is that of the first basis vector.
  if (b == 0) return {value, -std::copysign(1.0, slope), 0};
  return {value, -slope * b, b};
}

/// Both principal curvatures, the larger magnitude first; of two equal ones the smaller eigenvalue.
void solveForm(const FittedForm& form, PrincipalCurvature& first, PrincipalCurvature& second)
{
  const double difference = form.n - form.l;
  const double radicand = difference * difference + 4 * form.m * form.m;
  const double root = radicand > 0 ? std::sqrt(radicand) : 0;
  const double mean = 0.5 * (form.l + form.n);
  PrincipalCurvature lower{mean - 0.5 * root, 1, 0};
  PrincipalCurvature upper{mean + 0.5 * root, 0, 1};
  if (form.m != 0) {
    lower = eigenvector(lower.value, (difference + root) / (2 * form.m));
    upper = eigenvector(upper.value, (difference - root) / (2 * form.m));
  } else if (difference < 0) {
    // A diagonal form has the basis vectors as its eigenvectors.
    lower = {lower.value, 0, 1};
    upper = {upper.value, 1, 0};
  }
  const bool upperLeads = std::abs(upper.value) > std::abs(lower.value);
  first = upperLeads ? upper : lower;
  second = upperLeads ? lower : upper;
}

/// x·u + y·v, written in the edges that span the basis.
Vector3 inEdges(const Vector3& e1, const Vector3& e2, double x, double y)
{
  const double base = e1.length();
  const double height = e1.cross(e2).length() / base;
  const double foot = e1.dot(e2) / base;
  return e1 * ((x * height - y * foot) / (base * height)) + e2 * (y / height);
}

/// The two edge vectors from one corner to the others.
struct CornerEdges
{
  CornerEdges(const Triangle& triangle, unsigned corner)
      : toNext(triangle.getVertexRef((corner + 1) % 3) - triangle.getVertexRef(corner)),
        toPrevious(triangle.getVertexRef((corner + 2) % 3) - triangle.getVertexRef(corner))
  {}

  bool isObtuse() const { return toNext.dot(toPrevious) < 0; }

  std::optional<double> cotangent() const
  {
    const double across = toNext.cross(toPrevious).length();
    if (across <= 1e-12) return std::nullopt;
    return toNext.dot(toPrevious) / across;
  }

  Vector3 toNext;
  Vector3 toPrevious;
};

} // namespace

bool Triangle::getCurvature(Vector3& direction1, double& curvature1, Vector3& direction2, double& curvature2,
                            double& directionCosine) const
{
  direction1 = direction2 = Vector3();
  curvature1 = curvature2 = directionCosine = 0;
  for (const Vertex* vertex : vertices)
    if (!vertex->hasNormal()) return false;

  const FittedForm form = fitForm(*this);
  if (form.l == 0 && form.m == 0 && form.n == 0) return true;

  PrincipalCurvature first, second;
  solveForm(form, first, second);
  curvature1 = first.value;
  curvature2 = second.value;
  directionCosine = first.a;

  const Vector3 e1 = *vertices[1] - *vertices[0];
  const Vector3 e2 = *vertices[2] - *vertices[0];
  direction1 = first.value * inEdges(e1, e2, first.a, first.b);
  // The second direction is the first one turned to the side of positive v.
  direction2 = second.value * (first.a > 0 ? inEdges(e1, e2, -first.b, first.a) : inEdges(e1, e2, first.b, -first.a));
  return true;
}

std::optional<FundamentalFormData> TriangleUtilities::computeBasisWithFundamentalForm2(const Triangle& triangle)
{
  const FittedForm fitted = fitForm(triangle);
  FundamentalFormData data;
  data.form(0, 0) = fitted.l;
  data.form(0, 1) = fitted.m;
  data.form(1, 0) = fitted.m;
  data.form(1, 1) = fitted.n;
  data.u = fitted.u;
  data.v = fitted.v;
  return data;
}

std::optional<double> TriangleUtilities::computeVoronoiAreaForVertexOfTriangle(const Triangle& triangle,
                                                                               unsigned cornerIndex)
{
  if (cornerIndex >= 3) return std::nullopt;
  for (unsigned corner = 0; corner < 3; ++corner)
    if (CornerEdges(triangle, corner).isObtuse()) return triangle.getArea() / (corner == cornerIndex ? 2 : 4);

  const CornerEdges own(triangle, cornerIndex);
  const auto nextCotangent = CornerEdges(triangle, (cornerIndex + 1) % 3).cotangent();
  const auto previousCotangent = CornerEdges(triangle, (cornerIndex + 2) % 3).cotangent();
  if (!nextCotangent || !previousCotangent) return 0;
  return (own.toPrevious.sqrLength() * *nextCotangent + own.toNext.sqrLength() * *previousCotangent) / 8;
}

} // namespace Kavrel
