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

TYPED_TEST(PolyLineArchive, RoundTripThroughASharedCurve)
{
  using P = TypeParam;
  using CurveType = Curve<typename P::Scalar, P::Dim>;
  auto polyline = std::make_shared<PolyLine<P>>(0.25);
  for (int i = 0; i < 5; ++i) {
    P point;
    point[0] = static_cast<typename P::Scalar>(i) / 3;
    point[1] = -point[0];
    if constexpr (P::TypeHasNormal) point.setNormal(0.0, i % 2, 0.0);
    if constexpr (P::TypeHasTangent) point.setTangent(1.0, 0.0, i);
    if constexpr (std::is_same_v<P, ConstraintPoint>) point.setConstraint(ConstraintPoint::Symmetry);
    if constexpr (std::is_same_v<P, ProjectionPoint>) point.setTriangleIndex(100 + i);
    polyline->addPoint(point);
  }
  polyline->setClosed(true);
  polyline->setDomain(Interval(0.25, 0.5, false, false));
  const std::string hash = polyline->getHash();

  ArchiveWriter writer;
  Persistence::savePointer(writer.archive(), std::shared_ptr<CurveType>(polyline));
  Persistence::savePointer(writer.archive(), std::shared_ptr<PolyLine<P>>(polyline));
  const auto bytes = writer.bytes();
  PersistenceArchiver archive;
  archive.openForReading(bytes);
  std::shared_ptr<CurveType> curve;
  std::shared_ptr<PolyLine<P>> loaded;
  Persistence::loadPointer(archive, curve);
  Persistence::loadPointer(archive, loaded);

  ASSERT_TRUE(loaded);
  EXPECT_EQ(curve.get(), loaded.get());
  EXPECT_TRUE(loaded->isCompletelyEqual(*polyline, 0.0));
  EXPECT_TRUE(loaded->isApproximatelyEqualTo(*polyline, 0.0));
  EXPECT_EQ(loaded->getDomain(), polyline->getDomain());
  EXPECT_EQ(loaded->getTolerance(), polyline->getTolerance());
  EXPECT_TRUE(loaded->getId() == polyline->getId());
  EXPECT_EQ(loaded->getHash(), hash);
  for (std::size_t i = 0; i < loaded->numberOfPoints(); ++i) {
    const P &a = (*loaded)[i], &b = (*polyline)[i];
    if constexpr (P::TypeHasNormal) {
      EXPECT_EQ(a.hasNormal(), b.hasNormal());
    }
    if constexpr (P::TypeHasTangent) {
      EXPECT_EQ(a.getTangent(), b.getTangent());
    }
    if constexpr (std::is_same_v<P, ConstraintPoint>) {
      EXPECT_EQ(a.getConstraint(), b.getConstraint());
    }
    if constexpr (std::is_same_v<P, ProjectionPoint>) {
      EXPECT_EQ(a.getTriangleIndex(), b.getTriangleIndex());
    }
  }
}

TYPED_TEST(PolyLineArchive, LoadReplacesWhatWasThere)
{
  using P = TypeParam;
  PolyLine<P> source, target;
  source.resize(2);
  target.resize(7);
  target.setClosed(true);
  roundTrip(source, target);
  EXPECT_EQ(target.numberOfPoints(), 2U);
  EXPECT_FALSE(target.isClosed());
}

/// The body of a planar polyline, field by field.
void writeBody(ArchiveWriter& writer)
{
  writer.object("BoostExportCurve2", [&] {
    Persistence::saveObject(writer.archive(), Interval(0.0, 2.0, false, false));
    writer << 0.75;
    Persistence::saveObject(writer.archive(), Identifier::getInvalidId());
  });
  writer.container("Point2", 2, [&] { writer << 1.0 << 2.0 << 3.0 << 4.0; });
  writer << true;
}

TEST(PolyLineArchive, ReadsFieldsInTheirOrder)
{
  ArchiveWriter writer;
  writer.object("BoostExportPolyLinePoint2", [&] { writeBody(writer); });
  PolyLine<Point2> polyline;
  loadFrom(writer.bytes(), polyline);
  EXPECT_TRUE(polyline.isCompletelyEqual(polyLineFrom<Point2>("1,2 3,4 closed"), 0.0));
  EXPECT_EQ(polyline.getDomain().upper, 2.0);
  EXPECT_EQ(polyline.getTolerance(), 0.75);
  EXPECT_TRUE(polyline.getId() == Identifier::getInvalidId());
}

TEST(PolyLineArchive, ReadsTheOlderPlanarPolyLine)
{
  ArchiveWriter writer;
  writer.object("PolyLine2", [&] { writeBody(writer); });
  const auto bytes = writer.bytes();
  const auto expectIt = [](const Curve2* curve) {
    const auto* polyline = dynamic_cast<const PolyLine<Point2>*>(curve);
    ASSERT_TRUE(polyline);
    EXPECT_TRUE(polyline->isCompletelyEqual(polyLineFrom<Point2>("1,2 3,4 closed"), 0.0));
  };
  std::shared_ptr<PolyLine<Point2>> polyline;
  PersistenceArchiver archive;
  archive.openForReading(bytes);
  Persistence::loadPointer(archive, polyline);
  expectIt(polyline.get());
  EXPECT_TRUE(std::dynamic_pointer_cast<PolyLine2_Deprecated>(polyline));
  std::shared_ptr<Curve2> curve;
  archive.openForReading(bytes);
  Persistence::loadPointer(archive, curve);
  expectIt(curve.get());
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
