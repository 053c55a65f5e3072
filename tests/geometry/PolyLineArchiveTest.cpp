#include "geometry/PolyLine.h"
#include "geometry/PolyLine2_Deprecated.h"
#include "support/ArchiveWriter.h"
#include "support/PolyLineBuilder.h"

#include <gtest/gtest.h>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Point2 = Point<double, 2>;
using Curve2 = Curve<double, 2>;

template <class P>
class PolyLineArchive : public testing::Test
{};
using PolyLinePoints = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N,
                                      Point3NT, ProjectionPoint, ConstraintPoint>;
TYPED_TEST_SUITE(PolyLineArchive, PolyLinePoints);

TYPED_TEST(PolyLineArchive, RoundTrip)
{
  using P = TypeParam;
  PolyLine<P> polyline(0.25);
  for (int i = 0; i < 5; ++i) {
    P point;
    point[0] = static_cast<typename P::Scalar>(i) / 3;
    point[1] = -point[0];
    if constexpr (P::TypeHasNormal) point.setNormal(0.0, i % 2, 0.0);
    if constexpr (P::TypeHasTangent) point.setTangent(1.0, 0.0, i);
    if constexpr (std::is_same_v<P, ConstraintPoint>) point.setConstraint(ConstraintPoint::Symmetry);
    if constexpr (std::is_same_v<P, ProjectionPoint>) point.setTriangleIndex(100 + i);
    polyline.addPoint(point);
  }
  polyline.setClosed(true);
  polyline.setDomain(Interval(0.25, 0.5, false, false));
  const std::string hash = polyline.getHash();

  PolyLine<P> loaded;
  loaded.resize(7);
  roundTrip(polyline, loaded);
  EXPECT_TRUE(loaded.isApproximatelyEqualTo(polyline, 0.0));
  EXPECT_TRUE(loaded.getId() == polyline.getId());
  EXPECT_EQ(loaded.getHash(), hash);
  // What else the points carry, and the line, shows when it is saved again.
  EXPECT_EQ(archiveOf(loaded), archiveOf(polyline));
}

/// A planar polyline, field by field.
void writePolyLine(ArchiveWriter& writer)
{
  writer.object("BoostExportPolyLinePoint2", [&] {
    writer.object("BoostExportCurve2", [&] {
      Persistence::saveObject(writer.archive(), Interval(0.0, 2.0, false, false));
      writer << 0.75;
      Persistence::saveObject(writer.archive(), Identifier::getInvalidId());
    });
    writer.container("Point2", 2, [&] { writer << 1.0 << 2.0 << 3.0 << 4.0; });
    writer << true;
  });
}

TEST(PolyLineArchive, ReadsFieldsInTheirOrderUnderBothKeys)
{
  for (const bool old : {false, true}) {
    SCOPED_TRACE(old);
    ArchiveWriter writer;
    if (old)
      writer.object("PolyLine2", [&] { writePolyLine(writer); });
    else
      writePolyLine(writer);
    const auto bytes = writer.bytes();
    std::shared_ptr<PolyLine<Point2>> polyline;
    std::shared_ptr<Curve2> curve;
    PersistenceArchiver archive;
    archive.openForReading(bytes);
    Persistence::loadPointer(archive, polyline);
    archive.openForReading(bytes);
    Persistence::loadPointer(archive, curve);
    EXPECT_EQ(std::dynamic_pointer_cast<PolyLine2_Deprecated>(polyline) != nullptr, old);
    for (const auto& line : {polyline, std::dynamic_pointer_cast<PolyLine<Point2>>(curve)}) {
      ASSERT_TRUE(line);
      EXPECT_TRUE(line->isCompletelyEqual(polyLineFrom<Point2>("1,2 3,4 closed"), 0.0));
      EXPECT_EQ(line->getDomain().upper, 2.0);
      EXPECT_EQ(line->getTolerance(), 0.75);
      EXPECT_TRUE(line->getId() == Identifier::getInvalidId());
    }
  }
}

TEST(PolyLineArchive, DamagedStreamsRaise)
{
  const auto source = polyLineFrom<Point3N>("0,0,0/0,0,1 1,2,3 closed");
  EXPECT_EQ(faultsOfDamaged(archiveOf(source),
                            [](const std::vector<char>& bytes) {
                              PolyLine<Point3N> target;
                              loadFrom(bytes, target);
                            }),
            "");
}

} // namespace
