#pragma once

#include "geometry/mesh/MeshData.h"
#include "platform/Export.h"

#include <cstddef>

namespace Kavrel {

class Mesh;

/// An edit of a mesh, from the construction of the modifier to its destruction.
///
/// A modifier alone has write access to the collections of a mesh. On destruction it brings topology and cached values
/// back in line, as far as its flags say that it invalidated them. It needs the mesh to itself for its whole life and
/// borrows it: the mesh must outlive it and must not move. A copy is a second edit of the same mesh, with the flags
/// that the original had; both commit.
class KVSHAPES_EXPORT MeshModifier
{
public:
  /// What an edit has made stale.
  enum CacheInvalidate
  {
    InvalidateArea = 1,            ///< Area, curved area and area-weighted normal.
    InvalidateCenterOfGravity = 2, ///< The centre of gravity.
    InvalidateHash = 4,            ///< The content hash.
    InvalidateTopology = 8         ///< Half-edges: what happens to them says the TopologyCalcMode.
  };

  /// What happens to stale half-edges at destruction. "Had" speaks of the mesh at construction.
  enum TopologyCalcMode
  {
    TopologyClear = 0,  ///< Dropped, if the mesh had any.
    TopologyUpdate = 1, ///< Built again, if the mesh had any.
    TopologyCreate = 2, ///< Built; also where nothing is stale, if the mesh had none.
    TopologyKeep = 3    ///< Left alone.
  };

  virtual ~MeshModifier();

  TopologyCalcMode getTopologyCalcMode() const { return topologyCalcMode; }
  void setTopologyCalcMode(TopologyCalcMode mode) { topologyCalcMode = mode; }

protected:
  /// Starts with everything counted as stale and with TopologyUpdate.
  explicit MeshModifier(Mesh& meshToEdit);
  MeshModifier(const MeshModifier&) = default;
  MeshModifier& operator=(const MeshModifier&) = delete;

  /// A set of CacheInvalidate bits; with none of them set the destructor does nothing at all.
  int getCacheFlags() const { return cacheFlags; }
  void setCacheFlags(int flags) { cacheFlags = flags; }
  void clearCacheFlags() { cacheFlags = 0; }
  void setInvalid(CacheInvalidate bit) { cacheFlags |= bit; }
  bool isInvalid(CacheInvalidate bit) const { return (cacheFlags & bit) != 0; }

  Mesh& getMesh() const { return *mesh; }
  MeshData& getData() const { return *data; }
  const MeshData& getReadAccess(const Mesh& other) const;
  std::size_t halfEdgeCount() const { return data->halfEdges.size(); }

  /// Turns the cached area-weighted normal around, valid or not.
  void negateAreaWeightedNormal();

  /// Drops the half-edges if they are stale, not yet dealt with, and the mesh had some. Tells whether it did.
  bool clearTopology();
  /// Builds the half-edges under the same condition.
  bool updateTopology();
  /// Builds the half-edges if they are stale and not yet dealt with, or if the mesh had none.
  bool createTopology();

private:
  bool isTopologyPending() const { return isInvalid(InvalidateTopology) && !topologyHandled; }
  void commitTopology();
  void commitCaches();

  Mesh* mesh;
  MeshData* data;
  int cacheFlags = -1;
  TopologyCalcMode topologyCalcMode = TopologyUpdate;
  bool topologyHandled = false;
  bool hadTopology;
};

} // namespace Kavrel
