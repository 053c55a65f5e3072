#pragma once

#include "platform/Export.h"
#include "platform/kvmath/Matrix.h"
#include "platform/kvmath/Vector.h"

#include <optional>

namespace Kavrel {

class Triangle;

/// How the normals turn over a triangle: the second fundamental form in an orthonormal basis of the triangle's plane.
struct KVSHAPES_EXPORT FundamentalFormData
{
  SquareMatrix<double, 2> form; ///< [[L, M], [M, N]], in 1 / model unit.
  Vector<double, 3> u;          ///< First basis vector, along the edge from corner 0 to corner 1.
  Vector<double, 3> v;          ///< Second basis vector.
};

namespace TriangleUtilities {

/// The least-squares fit of the second fundamental form to the corner normals. The stored normals are used as they are,
/// a missing one as its stored value. There is always a result; a degenerate triangle gives one that isn't finite.
KVSHAPES_EXPORT std::optional<FundamentalFormData> computeBasisWithFundamentalForm2(const Triangle& triangle);

/// The part of the triangle's area that belongs to a corner: its Voronoi region, or in an obtuse triangle half of the
/// area for the obtuse corner and a quarter for the others. A triangle without area gives 0, a corner index of 3 or
/// more nothing. (Meyer, Desbrun, Schröder, Barr, Discrete Differential-Geometry Operators, 2003)
KVSHAPES_EXPORT std::optional<double> computeVoronoiAreaForVertexOfTriangle(const Triangle& triangle,
                                                                            unsigned cornerIndex);

} // namespace TriangleUtilities

} // namespace Kavrel
