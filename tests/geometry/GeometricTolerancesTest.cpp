#include "geometry/GeometricTolerances.h"
#include "support/ArchiveWriter.h"

#include <gtest/gtest.h>

#include <limits>

namespace Kavrel {
namespace {

constexpr const char* key = "GeometricTolerances";

TEST(GeometricTolerancesTest, FlagsComeFirstThenTheSetValues)
{
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::tuple<const char*, void (GeometricTolerances::*)(double), double> rows[] = {
      {"cad", &GeometricTolerances::setCadTolerance, 0.01},
      {"stitching", &GeometricTolerances::setStitchingDistance, 0.5},
      {"meshing", &GeometricTolerances::setMeshingTolerance, 0.05},
      {"error", &GeometricTolerances::setGeomErrorTolerance, 0.1},
      {"side", &GeometricTolerances::setMaxMeshingSideLength, 20.0}};
  for (const auto& [name, set, value] : rows) {
    SCOPED_TRACE(name);
    const auto with = [set = set](GeometricTolerances tolerances, double changed) {
      (tolerances.*set)(changed);
      return tolerances;
    };
    const auto& usual = GeometricTolerances::getDefault();
    EXPECT_EQ(with(usual, value + 1e-13), usual);
    EXPECT_NE(with(usual, value + 2e-12), usual);
    EXPECT_NE(with(usual, nan), with(usual, nan));
    EXPECT_EQ(with(GeometricTolerances(), 1e-12), with(GeometricTolerances(), 0.0)) << "the bound is inclusive";
    EXPECT_NE(with(GeometricTolerances(), 0.0), GeometricTolerances()) << "same value, other flag";
  }
  EXPECT_EQ(GeometricTolerances(0.01, 0.5, 0.05, 0.1, 20.0), GeometricTolerances::getDefault());
}

TEST(GeometricTolerancesTest, ChecksHoldAtEquality)
{
  for (const double others : {0.04, 0.05, 0.06}) {
    const GeometricTolerances tolerances(0, others, 0.05, 0, others);
    EXPECT_EQ(tolerances.checkStitchingDistAndMeshingTolerance(), others >= 0.05);
    EXPECT_EQ(tolerances.checkMaxSideLengthAndMeshingTolerance(), others >= 0.05);
  }
}

// The current form byte by byte: the order is not that of the constructor.
TEST(GeometricTolerancesTest, ArchiveOrder)
{
  const GeometricTolerances source(0.02, 0.6, 0.06, 0.2, 30.0);
  Testing::ArchiveWriter expected;
  expected.object(key, [&] {
    expected << 0.6 << 0.06 << 0.2 << 0.02 << 30.0 << true << true << true << true << true;
    expected << CadConstants::DefaultG1Tolerance << CadConstants::DefaultG2Tolerance;
  });
  expected.archive().noteClass(PersistenceArchiver::getHashForName(key));
  EXPECT_EQ(Testing::archiveOf(source), expected.bytes());
}

TEST(GeometricTolerancesTest, OldStreamsLoad)
{
  for (const unsigned version : {0u, 300000u, 300001u, 500000u, 500001u, 500002u}) {
    SCOPED_TRACE(version);
    const bool hasGeomError = version >= 300001, hasSmoothness = version >= 500001;
    Testing::ArchiveWriter old;
    old.version(key, version);
    old.object(key, [&] {
      old << 0.6 << 0.07;
      if (hasGeomError) old << 0.2;
      old << 0.02 << 30.0 << true;
      if (hasGeomError)
        old << false << true;
      else
        old << 4711.0;
      old << true << true;
      if (version == 500001) old << 4711.0;
      if (hasSmoothness) old << 0.5 << 0.75;
    });
    const auto bytes = old.bytes();
    for (const bool wasSet : {true, false}) {
      GeometricTolerances loaded, expected;
      if (wasSet) loaded.setMeshingTolerance(1.0); // the oldest form leaves this flag and copies it to its neighbour
      Testing::loadFrom(bytes, loaded);
      expected.setStitchingDistance(0.6);
      expected.setCadTolerance(0.02);
      expected.setMaxMeshingSideLength(30.0);
      if (hasGeomError || wasSet) expected.setGeomErrorTolerance(hasGeomError ? 0.2 : 0.07);
      if (!hasGeomError && wasSet) expected.setMeshingTolerance(0.07);
      EXPECT_EQ(loaded, expected);
      EXPECT_EQ(loaded.getMeshingTolerance(), 0.07);
      EXPECT_EQ(loaded.getGeomErrorTolerance(), hasGeomError ? 0.2 : 0.07);
      EXPECT_EQ(loaded.getG1Tolerance(), hasSmoothness ? 0.5 : CadConstants::DefaultG1Tolerance);
      EXPECT_EQ(loaded.getG2Tolerance(), hasSmoothness ? 0.75 : CadConstants::DefaultG2Tolerance);
    }
  }
}

} // namespace
} // namespace Kavrel
