#include "geometry/Point.h"

#include "geometry/ConstraintPoint.h"
#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/Point3NT.h"
#include "geometry/ProjectionPoint.h"
#include "geometry/RotationPoint.h"
#include "geometry/StraightLine.h"
#include "platform/kvmath/MathException.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "support/ArchiveWriter.h"
#include "support/Matchers.h"
#include "support/RandomGeometry.h"

#include <limits>
#include <numbers>

namespace Kavrel::Testing {
namespace {

using Vector3 = Vector<double, 3>;
using Position = Point<double, 3>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

CoordinateSystem<double, 3> randomPlacement(RandomGeometry& random)
{
  const auto rotation = MatrixFunctions::makeRotationMatrix(random.uniform(-3.0, 3.0), random.direction<3>());
  return CoordinateSystem<double, 3>(OrthMatrix<double, 3>(rotation.second), Position(random.inCube<3>(10.0)));
}

TEST(PointTest, MeasuresAgreeWithVectorAlgebra)
{
  repeat(200, 11, [&](RandomGeometry& random) {
    const Position p(random.inCube<3>(10)), q(random.inCube<3>(10));
    const Vector3 d = random.direction<3>(), across = (p - q) - d * (p - q).dot(d);
    EXPECT_NEAR(p.sqrDistanceInProjection(q, d), across.sqrLength(), 1e-11);

    const Plane<double, 3> plane(random.direction<3>(), random.uniform(-5, 5));
    Position image(p), turned(p);
    image.mirror(plane);
    EXPECT_NEAR(plane.getDistanceOfPoint(Position((p + image) * 0.5)), 0.0, 1e-12);
    EXPECT_THAT(image.mirror(plane), IsNear(p, 1e-12));

    const StraightLine<double, 3> line(q, d * 3.0, 0.1);
    turned.mirror(line);
    EXPECT_NEAR(line.getDistance((p + turned) * 0.5), 0.0, 1e-12) << "the middle lies on the axis";
    EXPECT_NEAR((turned - p).dot(d), 0.0, 1e-12) << "and the way is across it";
  });
}

TEST(PointTest, CollinearityMeasuresTheHeightOverTheInfiniteLine)
{
  repeat(500, 12, [](RandomGeometry& random) {
    const Position b(random.inCube<3>(5.0)), c(random.inCube<3>(5.0));
    const Vector3 along = (c - b).getNormalized();
    const Position a(b + along * random.uniform(-20.0, 20.0) + along.getOrthoNormal() * random.logUniform(1e-3, 1.0));
    const double height = (a - b).cross(along).length();
    EXPECT_TRUE(a.isCollinear(b, c, height * 1.01));
    const bool apart = std::min({a.distance(b), a.distance(c), b.distance(c)}) > height;
    EXPECT_FALSE(apart && a.isCollinear(b, c, height * 0.99));
  });
}

TEST(PointTest, CollinearityIsStrictAndTakesNearPoints)
{
  const std::tuple<const char*, Point<double, 2>, Point<double, 2>, Point<double, 2>, double, bool> rows[] = {
      {"height is the tolerance", {0, 1}, {-4, 0}, {4, 0}, 1.0, false},
      {"b equals c", {5, 5}, {1, 0}, {1, 0}, 1e-9, true},
      {"b equals c without tolerance", {5, 5}, {1, 0}, {1, 0}, 0.0, false},
      {"near the first, far off the line", {0, 0.5}, {0, 0}, {1, 0}, 0.6, true},
      {"at the tolerance from all", {0, 2}, {0, 0}, {2, 0}, 2.0, false},
  };
  for (const auto& [what, a, b, c, tol, expected] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(a.isCollinear(b, c, tol), expected);
  }
}

TEST(PointTest, AttributesArePresentExactlyWhenAComponentDiffersFromZero)
{
  const std::tuple<Vector3, bool> rows[] = {{{0, -0.0, 0}, false}, {{0, 0, 1e-300}, true}, {{nan, 0, 0}, true}};
  for (const auto& [v, present] : rows) {
    SCOPED_TRACE(testing::PrintToString(v));
    Point3NT set(1, 2, 3);
    set.setNormal(v);
    set.setTangent(v.x(), v.y(), v.z());
    for (const Point3NT& p : {set, Point3NT(Vector3(1, 2, 3), v, v)}) {
      EXPECT_EQ(p.hasNormal(), present);
      EXPECT_EQ(p.hasTangent(), present);
    }
    EXPECT_EQ(ConstraintPoint(Vector3(), v, ConstraintPoint::Free).hasNormal(), present);
  }
}

TEST(PointTest, AssignmentsKeepAndDropAttributesAsTold)
{
  const Vector3 n(0, 0, 1), t(1, 0, 0), other(7, 8, 9);
  const Point3NT full(Vector3(1, 2, 3), n, t);
  const auto changed = [&full](auto change) {
    Point3NT p(full);
    change(p);
    return p;
  };
  const std::tuple<const char*, Point3NT, Vector3, bool, bool> rows[] = {
      {"set position", changed([&](Point3NT& p) { p.set(other); }), other, true, true},
      {"set one value", changed([&](Point3NT& p) { p.set(4.0); }), Vector3(4, 4, 4), true, true},
      {"set zero normal", changed([&](Point3NT& p) { p.set(other, Vector3()); }), other, false, true},
      {"set all", changed([&](Point3NT& p) { p.set(7, 8, 9, 0, 0, 0, 0, 0, 0); }), other, false, false},
      {"assign point", changed([&](Point3NT& p) { p = Position(other); }), other, false, false},
      {"assign point with normal", changed([&](Point3NT& p) { p = Point3N(other, n); }), other, true, false},
      {"assign its own kind", changed([&](Point3NT& p) { p = Point3NT(other, n, t); }), other, true, true},
      {"from point with normal", Point3NT(Point3N(other, n)), other, true, false},
      {"from x and y", Point3NT(Point3N(7, 8)), Vector3(7, 8, 0), false, false},
  };
  for (const auto& [what, result, position, normal, tangent] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(result, position);
    EXPECT_EQ(result.hasNormal(), normal);
    EXPECT_EQ(result.getNormal(), normal ? n : Vector3());
    EXPECT_EQ(result.hasTangent(), tangent);
    EXPECT_EQ(result.getTangent(), tangent ? t : Vector3());
  }
}

TEST(PointTest, ConstraintFollowsTheWayOfConstruction)
{
  const auto assigned = [](const auto& source) {
    ConstraintPoint p(Position(), ConstraintPoint::Symmetry);
    p = source;
    return p;
  };
  const std::tuple<const char*, ConstraintPoint, int, bool> rows[] = {
      {"default", ConstraintPoint(), 2, false},
      {"from point", ConstraintPoint(Position(1, 2, 3)), 1, false},
      {"point assigned", assigned(Position(1, 2, 3)), 2, false},
      {"no normal assigned", assigned(Point3N(1, 2, 3)), 1, false},
      {"normal at the bound assigned", assigned(Point3N(Vector3(), Vector3(0.06, 0.08, 0))), 1, true},
      {"normal above the bound assigned", assigned(Point3N(Vector3(), Vector3(0.06, 0.0801, 0))), 2, true},
      {"its own kind assigned", assigned(ConstraintPoint(Vector3(), ConstraintPoint::Free)), 0, false},
      {"converted with normal", ConstraintPoint(Point3N(Vector3(), Vector3(0, 1, 0))), 2, true},
  };
  for (const auto& [what, point, constraint, normal] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(point.getConstraint(), constraint);
    EXPECT_EQ(point.hasNormal(), normal);
  }
}

TEST(PointTest, AProjectionIsForgottenWithThePosition)
{
  const Identifier mesh;
  ProjectionPoint placed(Point3N(1, 2, 3));
  placed.setMeshId(mesh);
  placed.setTriangleIndex(5);
  placed.setBoundaryNumber(6);
  placed.setLogicalPosition(ProjectionPoint::Position5);
  ProjectionPoint byVector = placed, byPoint = placed;
  byVector = Vector3(7, 8, 9);
  byPoint = Point3N(7, 8, 9);
  const ProjectionPoint built(Vector3(7, 8, 9));
  for (const ProjectionPoint& p : {byVector, byPoint, built, ProjectionPoint(Point3N(7, 8, 9))}) {
    EXPECT_EQ(p.getTriangleIndex(), -2);
    EXPECT_EQ(p.getBoundaryNumber(), -2);
    EXPECT_EQ(p.getLogicalPosition(), ProjectionPoint::NotPlaced);
  }
  EXPECT_EQ(ProjectionPoint().getTriangleIndex(), -1);

  for (int position = 0; position <= 6; ++position) {
    byVector.setLogicalPosition(static_cast<ProjectionPoint::PointPosition>(position));
    const bool known = position == 1 || position == 2 || position == 5;
    EXPECT_EQ(byVector.getMeshId(), known ? mesh : Identifier::getInvalidId()) << "the mesh stays, but shows seldom";
  }
}

TEST(PointTest, AttributesFollowThePointThroughMirrorsAndPlacements)
{
  repeat(50, 13, [&](RandomGeometry& random) {
    const Vector3 n = random.ofAnySize<3>(0.1, 10), t = random.ofAnySize<3>(0.1, 10);
    const Point3NT start(random.inCube<3>(10), n, t);
    const Plane<double, 3> plane(random.direction<3>(), random.uniform(-5, 5));
    const StraightLine<double, 3> line(Position(random.inCube<3>(5)), random.direction<3>(), 0.1);
    const auto placement = randomPlacement(random);
    const auto expectFollows = [&](auto move) {
      Point3NT moved(start);
      Position tip(start + n), tangentTip(start + t);
      move(moved);
      move(tip);
      move(tangentTip);
      EXPECT_THAT(moved.getNormal(), IsNear(Vector3(tip - moved), 1e-12));
      EXPECT_THAT(moved.getTangent(), IsNear(Vector3(tangentTip - moved), 1e-12));
      Point3NT bare(static_cast<const Vector3&>(start));
      move(bare);
      EXPECT_FALSE(bare.hasNormal() || bare.hasTangent() || Point3N::isNonZero(bare.getNormal()));
    };
    expectFollows([&](auto& p) { p.mirror(plane); });
    expectFollows([&](auto& p) { p.mirror(line); });
    expectFollows([&](auto& p) { p.transform(placement); });
  });
}

TEST(PointTest, APlaneTakesTheNormalAlone)
{
  Point3N p(Vector3(1, 2, 3), Vector3(1, 0, 2)), upright(Vector3(1, 2, 3), Vector3(0, 0, 3));
  for (Point3N* point : {&p, &upright})
    point->projectNormalToPlane(Plane<double, 3>(Vector3(0, 0, 1), 5.0));
  EXPECT_EQ(p, Vector3(1, 2, 3));
  EXPECT_EQ(p.getNormal(), Vector3(1, 0, 0));
  EXPECT_FALSE(upright.hasNormal());
}

TEST(PointTest, InterpolationTurnsNormalsOnTheGreatCircle)
{
  const Vector3 up(0, 0, 1), side(1, 0, 0), between(0.5, 0, std::sqrt(0.75));
  const Point3NT a(Vector3(1, 2, 3), up, side), b(Vector3(4, 5, 6), side, up), withNormal(Vector3(), up),
      opposite(Vector3(), -up, -side);
  const Point3NT p = a.linearInterpolation(1.0 / 3, b);
  EXPECT_THAT(p, IsNear(Vector3(2, 3, 4), 1e-15));
  EXPECT_THAT(p.getNormal(), IsNear(between, 1e-15));
  EXPECT_THAT(p.getTangent(), IsNear(Vector3(between.z(), 0, between.x()), 1e-15));
  EXPECT_FALSE(a.linearInterpolation(0.0, withNormal).hasTangent()) << "lost even at the end that has it";
  const Point3NT none = a.linearInterpolation(0.5, opposite);
  EXPECT_FALSE(none.hasNormal() || none.hasTangent()) << "no way between opposite vectors";
}

TEST(PointTest, TheBinormalStandsAcrossTheDirection)
{
  repeat(50, 15, [&](RandomGeometry& random) {
    const Vector3 n = random.direction<3>(), t = random.direction<3>(), dir = random.ofAnySize<3>(0.1, 10);
    const Vector3 b = Point3NT(Vector3(), n, t).getBinormalPerpendicularToDirection(dir);
    EXPECT_NEAR(b.length(), 1.0, 1e-12);
    EXPECT_NEAR(b.dot(dir), 0.0, 1e-11);
    EXPECT_NEAR(dir.cross(t.cross(n)).dot(b), 0.0, 1e-11) << "in the plane of direction and t x n";
    EXPECT_GT(t.cross(n).dot(b), 0.0);
  });
}

TEST(PointTest, ARotationPointTurnsAboutItsNormal)
{
  const RotationPoint p(Point3N(Vector3(1, 2, 3), Vector3(0, 0, 7)), std::numbers::pi / 2);
  Position off(2, 2, 9);
  EXPECT_THAT(off.transform(p.calculateRotationCoordinateSystem()), IsNear(Vector3(1, 3, 9), 1e-14));
  EXPECT_TRUE(RotationPoint(Point3N(1, 2, 3), 1.0).calculateRotationCoordinateSystem().isIdentity());
  const RotationPoint unsteady(Point3N({}, {0, 0, 1e-300}), 1.0);
  EXPECT_THAT([&] { unsteady.calculateRotationCoordinateSystem(); },
              testing::ThrowsMessage<MathException>("OrthMatrix::setRotationMatrix: Couldn't normalize axis"));
}

TEST(PointArchiveTest, ReadsAndWritesTheFieldsInTheirOrder)
{
  const Vector3 at(1, 2, 3), n(0, 0, 1), t(1, 0, 0);
  const Identifier mesh;
  const auto expectForm = [&](const char* key, const auto& expected, auto body) {
    SCOPED_TRACE(key);
    ArchiveWriter writer;
    writer.object(key, [&] {
      writer.object("Point3N", [&] {
        writer << at.x() << at.y() << at.z() << true;
        Persistence::saveObject(writer.archive(), n);
      });
      body(writer);
    });
    std::remove_cvref_t<decltype(expected)> loaded;
    loadFrom(writer.bytes(), loaded);
    EXPECT_EQ(archiveOf(loaded), writer.bytes());
    EXPECT_EQ(archiveOf(expected), writer.bytes());
  };
  expectForm("Point3NT", Point3NT(at, n, t), [&](ArchiveWriter& w) {
    w << true;
    Persistence::saveObject(w.archive(), t);
  });
  expectForm("ConstraintPoint", ConstraintPoint(at, n, ConstraintPoint::Symmetry), [](ArchiveWriter& w) { w << -3; });
  expectForm("RotationPoint", RotationPoint(Point3N(at, n), 0.25), [](ArchiveWriter& w) { w << 0.25; });
  ProjectionPoint placed(Point3N(at, n));
  placed.setMeshId(mesh);
  placed.setTriangleIndex(17);
  placed.setBoundaryNumber(4);
  placed.setLogicalPosition(ProjectionPoint::Position3); // hides the mesh
  expectForm("ProjectionPoint", placed, [&](ArchiveWriter& w) {
    w << 3;
    Persistence::saveObject(w.archive(), mesh);
    w << 17 << 4;
  });
}

} // namespace
} // namespace Kavrel::Testing
