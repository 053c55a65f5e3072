#pragma once

#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <vector>

namespace Kavrel {

class Mesh;

/// Computes a unit normal for each vertex of a mesh from the triangles around it.
///
/// Each triangle counts with its area, or with its interior angle at the vertex. A vertex without usable triangles, or
/// whose triangles cancel, gets the normal of its first triangle that has one, else (0, 0, 1). Triangles without three
/// defined corner angles are left out of the weighting by angles.
class KVSHAPES_EXPORT MeshNormalCalculator
{
public:
  /// Borrows the mesh: it must outlive the calculator. Areas are the weights and hanging nodes are like any other.
  explicit MeshNormalCalculator(const Mesh& source) : mesh(source) {}
  MeshNormalCalculator(const MeshNormalCalculator&) = default;

  /// Weights by interior angles. A real change of an option drops the result.
  MeshNormalCalculator& setUseAngles(bool use);
  /// Gives hanging nodes the normalised sum of the normals at the ends of their edge.
  MeshNormalCalculator& setUseConstraints(bool use);
  MeshNormalCalculator& setUseConstraintsAndAngles(bool constraints, bool angles);

  /// Drops the result.
  void clear();
  /// Computes the normals; false, and nothing done, when a result is there.
  bool calculateNormals();
  /// One normal per vertex, by vertex index; empty while not computed.
  const std::vector<Vector<double, 3>>& getNormals() const { return normals; }

  /// Computes the normals of \p mesh into \p out; false for a mesh without vertices.
  static bool calculate(const Mesh& mesh, std::vector<Vector<double, 3>>& out, bool useConstraints, bool useAngles);

private:
  void changeOption(bool& option, bool value);
  template <class NormalsOf>
  void addWeighted(NormalsOf normalsOf);
  void addAreaWeighted();
  void addAngleWeighted();
  void normalizeAll();
  void replaceFailed(const std::vector<unsigned>& failed);
  void overwriteConstrained();

  const Mesh& mesh;
  bool useConstraints = false;
  bool useAngles = false;
  std::vector<Vector<double, 3>> normals;
};

} // namespace Kavrel
