#pragma once

#include "geometry/MeshModifiers/MeshModifier.h"

namespace Kavrel {

/// Turns a mesh inside out: all triangles and all normals. Area and centre of gravity stay valid, the area-weighted
/// normal turns along.
class KVSHAPES_EXPORT InvertOrientationMeshModifier : public MeshModifier
{
public:
  explicit InvertOrientationMeshModifier(Mesh& meshToEdit);
  InvertOrientationMeshModifier(const InvertOrientationMeshModifier&) = default;
  ~InvertOrientationMeshModifier() override;

  void invertOrientation();
  void operator()();
};

} // namespace Kavrel
