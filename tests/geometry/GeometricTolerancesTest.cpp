#include "geometry/GeometricTolerances.h"
#include "support/ArchiveWriter.h"

#include <gtest/gtest.h>

#include <limits>

namespace Kavrel {
namespace {

constexpr const char* key = "GeometricTolerances";

GeometricTolerances sample() { return {0.02, 0.6, 0.06, 0.2, 30.0}; }

TEST(GeometricTolerancesTest, FlagsComeFirstThenTheSetValues)
{
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Row
  {
    const char* name;
    void (GeometricTolerances::*set)(double);
    double usual;
  };
  const Row rows[] = {{"cad", &GeometricTolerances::setCadTolerance, 0.01},
                      {"stitching", &GeometricTolerances::setStitchingDistance, 0.5},
                      {"meshing", &GeometricTolerances::setMeshingTolerance, 0.05},
                      {"error", &GeometricTolerances::setGeomErrorTolerance, 0.1},
                      {"side", &GeometricTolerances::setMaxMeshingSideLength, 20.0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const auto with = [&](GeometricTolerances tolerances, double value) {
      (tolerances.*row.set)(value);
      return tolerances;
    };
    const auto& usual = GeometricTolerances::getDefault();
    EXPECT_EQ(with(usual, row.usual + 1e-13), usual);
    EXPECT_NE(with(usual, row.usual + 2e-12), usual);
    EXPECT_NE(with(usual, nan), with(usual, nan));
    EXPECT_EQ(with(GeometricTolerances(), 1e-12), with(GeometricTolerances(), 0.0)) << "the bound is inclusive";
    EXPECT_NE(with(GeometricTolerances(), 0.0), GeometricTolerances()) << "same value, other flag";
  }
  EXPECT_NE(GeometricTolerances(), GeometricTolerances::getDefault());
  EXPECT_EQ(GeometricTolerances(0.01, 0.5, 0.05, 0.1, 20.0), GeometricTolerances::getDefault());
}

TEST(GeometricTolerancesTest, ChecksHoldAtEquality)
{
  struct Row
  {
    double stitching, meshing, side;
    bool stitchingFits, sideFits;
  };
  for (const Row& row : {Row{0.05, 0.05, 0.05, true, true}, Row{0.04, 0.05, 20, false, true},
                         Row{0.06, 0.05, 0.01, true, false}, Row{0, 0, 0, true, true}}) {
    const GeometricTolerances tolerances(0, row.stitching, row.meshing, 0, row.side);
    EXPECT_EQ(tolerances.checkStitchingDistAndMeshingTolerance(), row.stitchingFits);
    EXPECT_EQ(tolerances.checkMaxSideLengthAndMeshingTolerance(), row.sideFits);
  }
}

TEST(GeometricTolerancesTest, ArchiveKeepsValuesAndFlags)
{
  GeometricTolerances partial;
  partial.setMeshingTolerance(0.07);
  for (const auto& source : {sample(), partial, GeometricTolerances()}) {
    GeometricTolerances loaded = GeometricTolerances::getDefault();
    Testing::roundTrip(source, loaded);
    EXPECT_EQ(loaded, source);
    EXPECT_EQ(loaded.getG0Tolerance(), source.getCadTolerance());
    EXPECT_EQ(loaded.getG1Tolerance(), source.getG1Tolerance());
    EXPECT_EQ(loaded.getG2Tolerance(), source.getG2Tolerance());
  }
}

// The current form byte by byte: the order is not that of the constructor.
TEST(GeometricTolerancesTest, ArchiveOrder)
{
  Testing::ArchiveWriter expected;
  expected.object(key, [&] {
    expected << 0.6 << 0.06 << 0.2 << 0.02 << 30.0 << true << true << true << true << true;
    expected << CadConstants::DefaultG1Tolerance << CadConstants::DefaultG2Tolerance;
  });
  expected.archive().noteClass(PersistenceArchiver::getHashForName(key));
  EXPECT_EQ(Testing::archiveOf(sample()), expected.bytes());
}

TEST(GeometricTolerancesTest, OldStreamsLoad)
{
  struct Row
  {
    unsigned version;
    bool hasGeomError, hasStray, hasSmoothness;
  };
  for (const Row& row :
       {Row{0, false, false, false}, Row{300000, false, false, false}, Row{300001, true, false, false},
        Row{500000, true, false, false}, Row{500001, true, true, true}, Row{500002, true, false, true}}) {
    SCOPED_TRACE(row.version);
    Testing::ArchiveWriter old;
    old.version(key, row.version);
    old.object(key, [&] {
      old << 0.6 << 0.07;
      if (row.hasGeomError) old << 0.2;
      old << 0.02 << 30.0 << true;
      if (row.hasGeomError)
        old << false << true;
      else
        old << 4711.0;
      old << true << true;
      if (row.hasStray) old << 4711.0;
      if (row.hasSmoothness) old << 0.5 << 0.75;
    });
    GeometricTolerances loaded;
    loaded.setMeshingTolerance(1.0); // a flag that the oldest form leaves as it is
    Testing::loadFrom(old.bytes(), loaded);

    GeometricTolerances expected;
    expected.setStitchingDistance(0.6);
    expected.setGeomErrorTolerance(row.hasGeomError ? 0.2 : 0.07);
    expected.setCadTolerance(0.02);
    expected.setMaxMeshingSideLength(30.0);
    if (!row.hasGeomError) expected.setMeshingTolerance(0.07);
    EXPECT_EQ(loaded, expected);
    EXPECT_EQ(loaded.getMeshingTolerance(), 0.07);
    EXPECT_EQ(loaded.getG1Tolerance(), row.hasSmoothness ? 0.5 : CadConstants::DefaultG1Tolerance);
    EXPECT_EQ(loaded.getG2Tolerance(), row.hasSmoothness ? 0.75 : CadConstants::DefaultG2Tolerance);
  }
}

TEST(GeometricTolerancesTest, OldestFormCopiesTheMeshingFlagOfTheTarget)
{
  Testing::ArchiveWriter old;
  old.version(key, 300000);
  old.object(key, [&] { old << 0.6 << 0.07 << 0.02 << 30.0 << true << 4711.0 << true << true; });
  const auto bytes = old.bytes();
  GeometricTolerances unset;
  Testing::loadFrom(bytes, unset);
  GeometricTolerances expected;
  expected.setStitchingDistance(0.6);
  expected.setCadTolerance(0.02);
  expected.setMaxMeshingSideLength(30.0);
  EXPECT_EQ(unset, expected);
  EXPECT_EQ(unset.getGeomErrorTolerance(), 0.07);
}

} // namespace
} // namespace Kavrel
