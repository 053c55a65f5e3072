#pragma once

#include "geometry/CadConstants.h"
#include "platform/Export.h"
#include "platform/kvarchive/Persistent.h"

namespace Kavrel {

/// The tolerances of a model, each of the five leading ones with a flag that tells whether somebody has set it.
///
/// Lengths are in model units, `g1Tolerance` is an angle in radians. A plain value that callers pass around and
/// archive.
class KVSHAPES_EXPORT GeometricTolerances
{
public:
  /// The five tolerances 0 and unset, the two smoothness tolerances at their defaults.
  GeometricTolerances() = default;

  /// All five tolerances set.
  GeometricTolerances(double cad, double stitching, double meshing, double geomError, double maxSide);

  /// The usual tolerances, all set.
  static const GeometricTolerances& getDefault();

  double getCadTolerance() const { return cadTolerance; }
  /// The model-space tolerance again: two ends nearer than this meet.
  double getG0Tolerance() const { return cadTolerance; }
  double getStitchingDistance() const { return stitchingDistance; }
  double getMeshingTolerance() const { return meshingTolerance; }
  double getGeomErrorTolerance() const { return geomErrorTolerance; }
  double getMaxMeshingSideLength() const { return maxMeshingSideLength; }
  double getG1Tolerance() const { return g1Tolerance; }
  double getG2Tolerance() const { return g2Tolerance; }

  void setCadTolerance(double value);
  void setStitchingDistance(double value);
  void setMeshingTolerance(double value);
  void setGeomErrorTolerance(double value);
  void setMaxMeshingSideLength(double value);

  /// Whether the stitching distance is at least the meshing tolerance.
  bool checkStitchingDistAndMeshingTolerance() const { return stitchingDistance >= meshingTolerance; }
  /// Whether the largest side of a mesh is at least the meshing tolerance.
  bool checkMaxSideLengthAndMeshingTolerance() const { return maxMeshingSideLength >= meshingTolerance; }

  /// Whether the same ones of the five tolerances are set, and those that are differ by at most 1e-12.
  /// Unset values and the smoothness tolerances don't matter.
  bool operator==(const GeometricTolerances& other) const;

private:
  double cadTolerance = 0.0;
  double stitchingDistance = 0.0;
  double meshingTolerance = 0.0;
  double geomErrorTolerance = 0.0;
  double maxMeshingSideLength = 0.0;
  bool cadToleranceSet = false;
  bool stitchingDistanceSet = false;
  bool meshingToleranceSet = false;
  bool geomErrorToleranceSet = false;
  bool maxMeshingSideLengthSet = false;
  double g1Tolerance = CadConstants::DefaultG1Tolerance;
  double g2Tolerance = CadConstants::DefaultG2Tolerance;

  KVSHAPES_PERSISTENT();
};

} // namespace Kavrel
