#pragma once

#include "geometry/BoundingVolumeHierarchy/Distance.h"
#include "geometry/BoundingVolumeHierarchy/Intersection.h"
#include "geometry/BoundingVolumeHierarchy/VolumeTests.h"

/// The tests of a query against volumes and elements:
/// - VolumeTests.h: the arithmetic on boxes alone,
/// - Distance.h: `distance(query, volume or element, result)`,
/// - Intersection.h: `intersect(query, volume or element, result)` and the tests of segment pairs.
