#include "geometry/GeometricTolerances.h"

#include "platform/kvarchive/Persistence.h"

#include <cmath>

namespace Kavrel {

namespace {

constexpr double equalityEps = 1e-12; // tolerances at most this far apart are the same

// Class versions after which the archive form grew.
constexpr unsigned withoutGeomError = 300000;
constexpr unsigned withoutSmoothness = 500000;
constexpr unsigned withStrayValue = 500001;

bool agree(bool isSetA, double a, bool isSetB, double b)
{
  return isSetA == isSetB && (!isSetA || std::abs(a - b) <= equalityEps);
}

void skipDouble(PersistenceArchiver& archiver)
{
  double dropped = 0.0;
  archiver >> dropped;
}

} // namespace

KVSHAPES_PERSISTENT_CLASS(GeometricTolerances, "GeometricTolerances", 500002)

GeometricTolerances::GeometricTolerances(double cad, double stitching, double meshing, double geomError, double maxSide)
{
  setCadTolerance(cad);
  setStitchingDistance(stitching);
  setMeshingTolerance(meshing);
  setGeomErrorTolerance(geomError);
  setMaxMeshingSideLength(maxSide);
}

const GeometricTolerances& GeometricTolerances::getDefault()
{
  static const GeometricTolerances tolerances(
      CadConstants::DefaultModelSpaceTolerance, CadConstants::DefaultStitchingDistance,
      CadConstants::DefaultMeshingTolerance, CadConstants::DefaultErrorTolerance, CadConstants::DefaultMaxSideLength);
  return tolerances;
}

void GeometricTolerances::setCadTolerance(double value)
{
  cadTolerance = value;
  cadToleranceSet = true;
}

void GeometricTolerances::setStitchingDistance(double value)
{
  stitchingDistance = value;
  stitchingDistanceSet = true;
}

void GeometricTolerances::setMeshingTolerance(double value)
{
  meshingTolerance = value;
  meshingToleranceSet = true;
}

void GeometricTolerances::setGeomErrorTolerance(double value)
{
  geomErrorTolerance = value;
  geomErrorToleranceSet = true;
}

void GeometricTolerances::setMaxMeshingSideLength(double value)
{
  maxMeshingSideLength = value;
  maxMeshingSideLengthSet = true;
}

bool GeometricTolerances::operator==(const GeometricTolerances& other) const
{
  return agree(cadToleranceSet, cadTolerance, other.cadToleranceSet, other.cadTolerance) &&
         agree(stitchingDistanceSet, stitchingDistance, other.stitchingDistanceSet, other.stitchingDistance) &&
         agree(meshingToleranceSet, meshingTolerance, other.meshingToleranceSet, other.meshingTolerance) &&
         agree(geomErrorToleranceSet, geomErrorTolerance, other.geomErrorToleranceSet, other.geomErrorTolerance) &&
         agree(maxMeshingSideLengthSet, maxMeshingSideLength, other.maxMeshingSideLengthSet,
               other.maxMeshingSideLength);
}

void GeometricTolerances::save(PersistenceArchiver& archiver, unsigned int) const
{
  archiver << stitchingDistance << meshingTolerance << geomErrorTolerance << cadTolerance << maxMeshingSideLength;
  archiver << stitchingDistanceSet << meshingToleranceSet << geomErrorToleranceSet << cadToleranceSet
           << maxMeshingSideLengthSet;
  archiver << g1Tolerance << g2Tolerance;
}

void GeometricTolerances::load(PersistenceArchiver& archiver, unsigned int version)
{
  const bool hasGeomError = version > withoutGeomError;
  archiver >> stitchingDistance >> meshingTolerance;
  if (hasGeomError)
    archiver >> geomErrorTolerance;
  else
    geomErrorTolerance = meshingTolerance;
  archiver >> cadTolerance >> maxMeshingSideLength >> stitchingDistanceSet;
  if (hasGeomError) {
    archiver >> meshingToleranceSet >> geomErrorToleranceSet;
  } else {
    skipDouble(archiver);
    geomErrorToleranceSet = meshingToleranceSet;
  }
  archiver >> cadToleranceSet >> maxMeshingSideLengthSet;
  if (version > withoutSmoothness) {
    if (version == withStrayValue) skipDouble(archiver);
    archiver >> g1Tolerance >> g2Tolerance;
  }
}

} // namespace Kavrel
