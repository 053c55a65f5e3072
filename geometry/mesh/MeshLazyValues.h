#pragma once

#include "geometry/Point.h"
#include "platform/kvmath/Vector.h"

#include <boost/thread/recursive_mutex.hpp>
#include <string>

namespace Kavrel {

/// What a mesh remembers of itself, with the lock over it. Only sources of meshes and modifiers include this.
/// The lock is recursive, so that one lazy computation may ask for another. It never moves from mesh to mesh.
struct MeshLazyValues
{
  struct Values
  {
    bool areaValid = false;
    double area = 0;
    bool areaWeightedNormalValid = false;
    Vector<double, 3> areaWeightedNormal;
    bool centerOfGravityValid = false;
    Point<double, 3> centerOfGravity;
    bool curvedAreaValid = false;
    double curvedArea = 0;
    std::string hash;
    bool hashDirty = true;
  };

  using Lock = boost::recursive_mutex::scoped_lock;

  boost::recursive_mutex cacheMutex;
  Values values;
};

} // namespace Kavrel
