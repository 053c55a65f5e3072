#pragma once

#include "geometry/mesh/HalfEdge.h"
#include "geometry/mesh/MeshConstraint.h"
#include "geometry/mesh/Triangle.h"
#include "geometry/mesh/Vertex.h"

#include <boost/container/deque.hpp>
#include <memory>
#include <vector>

namespace Kavrel {

/// The container of a mesh's elements: elements never move while others are appended or removed at the end. Large
/// blocks of a power of two make random access a shift, a mask and one look-up.
template <class T>
using MeshCollection =
    boost::container::deque<T, void, boost::container::deque_options_t<boost::container::block_size<1024U>>>;

/// The collections of a mesh. Every element's index is its position; all links stay inside one record.
struct MeshData
{
  MeshCollection<Vertex> vertices;
  MeshCollection<HalfEdge> halfEdges; ///< Empty without topology.
  MeshCollection<Triangle> triangles;
  mutable std::unique_ptr<std::vector<MeshConstraint>> constraints; ///< One per vertex, null until computed.
};

} // namespace Kavrel
