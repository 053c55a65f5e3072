#include "geometry/Circle.h"
#include "geometry/Ellipse.h"
#include "geometry/Hyperbola.h"
#include "geometry/Parabola.h"
#include "geometry/Plane.h"
#include "geometry/ShapecoreException.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "support/ArchiveWriter.h"
#include "support/Matchers.h"

#include <gtest/gtest.h>
#include <numbers>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using System = CoordinateSystem<double, 3>;
using Point3 = Point<double, 3>;
constexpr double pi = std::numbers::pi;

System shifted() { return System().translateBy({1, 2, 3}); }

TEST(Ellipse, LengthIsTheMeanRadiusTimesTheAngle)
{
  Ellipse<double, 3> ellipse(3.0, 1.0, shifted(), 0.1);
  EXPECT_DOUBLE_EQ(ellipse.getLength(), 4 * pi);
  ellipse.setDomain(Interval(2.0, -1.0, false, false));
  EXPECT_DOUBLE_EQ(ellipse.getLength(), 6.0);
  EXPECT_THAT(ellipse.evaluateDerivation(0.0), IsNear(Point3(0, 1, 0), 0.0)) << "a turned domain takes no part";
  ellipse.setDomain(Interval(0.0, 1.0, false, false));
  ellipse.reverse();
  EXPECT_DOUBLE_EQ(ellipse.getDomain().lower, 2 * pi - 1);
  EXPECT_DOUBLE_EQ(ellipse.getDomain().upper, 2 * pi);

  Ellipse<double, 2> tilted(1e6, 1.0, {OrthMatrix<double, 2>(MatrixFunctions::makeRotationMatrix(1e-6)), {}}, 0.1);
  const auto end = tilted.evaluate(2 * pi - 1.0);
  const Plane<double, 2> plane({1, 2}, 3.0);
  EXPECT_THAT(tilted.mirror(plane)->evaluate(1.0), IsNear(plane.getMirroredPoint(end), 1e-8));
  tilted.reverse();
  EXPECT_THAT(tilted.evaluate(1.0), IsNear(end, 1e-8)) << "a tilt so small counts";
}

template <class Conic, class Type>
void checkCarrier(Type type, const std::vector<std::pair<int, int>>& types)
{
  Conic conic(type, 3.0, 4.0, shifted(), 0.5);
  EXPECT_THROW(conic.evaluate(0.0), ShapecoreException);
  EXPECT_THROW(conic.evaluateDerivation(0.0), ShapecoreException);
  EXPECT_THROW(conic.reverse(), ShapecoreException);

  const auto twin = conic.create();
  twin->copy(conic);
  twin->transform(shifted());
  const auto& copied = dynamic_cast<const Conic&>(*twin);
  EXPECT_EQ(copied.getCoordinateSystem().getOrigin(), Point3(2, 4, 6));
  EXPECT_EQ(copied.getType(), type);

  Conic loaded;
  roundTrip(copied, loaded);
  EXPECT_EQ(loaded.getA(), 3.0);
  EXPECT_EQ(loaded.getB(), 4.0);
  EXPECT_EQ(loaded.getCoordinateSystem(), copied.getCoordinateSystem());

  for (const auto& [given, stored] : types) {
    conic.setType(given);
    EXPECT_EQ(static_cast<int>(conic.getType()), stored) << given;
  }
}

TEST(ConicArc, HyperbolaAndParabolaCarryTheirData)
{
  checkCarrier<Hyperbola<double, 3>>(HyperbolaType::Hyperbola7, {{5, 5}, {8, 8}, {4, 8}, {99, 8}});
  checkCarrier<Parabola<double, 3>>(ParabolaType::Parabola2, {{0, 0}, {3, 3}, {-1, 3}, {99, 3}});
}

TEST(ConicArc, PlacementWasOnceShared)
{
  Circle<double, 3> first(2.0, shifted(), 0.5), second;
  const auto placement = std::make_shared<System>(shifted());
  ArchiveWriter old;
  old.version("BoostExportConicArc3", 0);
  const auto put = [&](const Circle<double, 3>& circle) {
    old.object("BoostExportCircle3", [&] {
      old.object("BoostExportConicArc3", [&] {
        Persistence::saveObject<Curve<double, 3>>(old.archive(), circle);
        Persistence::savePointer(old.archive(), placement);
      });
      old << 4.0 << false;
    });
  };
  put(first);
  put(second);
  PersistenceArchiver archive;
  const auto bytes = old.bytes();
  archive.openForReading(bytes);
  for (int i = 0; i < 2; ++i) {
    Circle<double, 3> loaded;
    Persistence::loadObject(archive, loaded);
    EXPECT_EQ(loaded.evaluate(0.0), Point3(5, 2, 3)) << "also where it is a reference";
    EXPECT_FALSE(loaded.isClosed());
  }
}

} // namespace
