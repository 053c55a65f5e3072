#pragma once

#include "geometry/MeshModifiers/MeshModifier.h"

#include <list>
#include <memory>
#include <utility>

namespace Kavrel {

template <class T, unsigned dim>
class CoordinateSystem;

/// Adds other meshes to a mesh. However many are appended, half-edges are built once, at the end.
class KVSHAPES_EXPORT AppendMeshModifier : public MeshModifier
{
public:
  using PlacedMeshes = std::list<std::pair<std::shared_ptr<const Mesh>, CoordinateSystem<double, 3>>>;

  explicit AppendMeshModifier(Mesh& meshToEdit);
  AppendMeshModifier(const AppendMeshModifier&) = default;
  ~AppendMeshModifier() override;

  /// Appends the vertices of \p source, placed by \p system if there is one, and its triangles; \p source may be the
  /// mesh itself. The mesh has normals afterwards if both had them; an empty mesh takes over what \p source has. A
  /// source without vertices changes nothing.
  void appendMesh(const Mesh& source, const CoordinateSystem<double, 3>* system = nullptr);

  /// Appends each mesh of the list, in order and placed by its system; null and empty meshes are passed over.
  void appendMeshes(const PlacedMeshes& sources);

  void operator()(const Mesh& source, const CoordinateSystem<double, 3>* system = nullptr);
  void operator()(const PlacedMeshes& sources);

private:
  bool appended = false;
};

} // namespace Kavrel
