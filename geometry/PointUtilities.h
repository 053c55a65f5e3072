#pragma once

#include "geometry/Point.h"

#include <vector>

namespace Kavrel {

/// Measures and extracts of point clouds.
class KVSHAPES_EXPORT PointUtilities
{
public:
  /// The arithmetic mean; the origin for an empty list.
  static Point<double, 3> getCenter(const std::vector<Vector<double, 3>>& points);

  /// The largest distance of a point from \p center; 0 for an empty list.
  static double getRadius(const Vector<double, 3>& center, const std::vector<Vector<double, 3>>& points);

  /// Points of the cloud that can lie on its hull. Up to 64 points come back as they are. From more, the outermost
  /// ones along the directions of getSphereDirections(): first those of least, then those of greatest dot product, in
  /// the order of the directions, always 62, repeats included. Of equally far points the first is taken.
  static std::vector<Vector<double, 3>> getRelevantPointCloud(const std::vector<Vector<double, 3>>& points);

  /// 31 unit directions, spread over a half sphere.
  static const std::vector<Vector<double, 3>>& getSphereDirections();
};

} // namespace Kavrel
