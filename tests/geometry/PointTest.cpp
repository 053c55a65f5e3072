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

#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <sstream>

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

template <class P>
class PointSpaces : public testing::Test
{};
using Spaces = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>>;
TYPED_TEST_SUITE(PointSpaces, Spaces);

TYPED_TEST(PointSpaces, MeasuresAgreeWithVectorAlgebra)
{
  using T = typename TypeParam::Scalar;
  constexpr unsigned dim = TypeParam::Dim;
  const double accuracy = std::is_same_v<T, float> ? 1e-5 : 1e-13;
  const auto narrowed = [](const Vector<double, dim>& v) {
    Vector<T, dim> result;
    for (unsigned i = 0; i < dim; ++i)
      result[i] = static_cast<T>(v[i]);
    return result;
  };
  repeat(200, 11, [&](RandomGeometry& random) {
    const double size = random.logUniform(1e-3, 1e3);
    const TypeParam p(narrowed(random.template inCube<dim>(size))), q(narrowed(random.template inCube<dim>(size)));
    const Vector<T, dim> d = narrowed(random.template direction<dim>());
    const Vector<T, dim> across = (p - q) - d * (p - q).dot(d);
    EXPECT_NEAR(p.distance(q), (p - q).length(), accuracy * size);
    EXPECT_NEAR(p.sqrDistanceInProjection(q, d), across.sqrLength(), 10 * accuracy * size * size);

    const Plane<T, dim> plane(narrowed(random.template direction<dim>()), static_cast<T>(random.uniform(-size, size)));
    TypeParam image(p);
    image.mirror(plane);
    EXPECT_NEAR(plane.getDistanceOfPoint(TypeParam((p + image) * T(0.5))), 0.0, 10 * accuracy * size);
    EXPECT_THAT(image.mirror(plane), IsNear(p, 20 * accuracy * size));

    const StraightLine<T, dim> line(q, d * static_cast<T>(size), T(0.1));
    image = p;
    image.mirror(line);
    const Vector<T, dim> middle = (p + image) * T(0.5);
    EXPECT_NEAR(line.getDistance(middle), 0.0, 20 * accuracy * size) << "the middle lies on the axis";
    EXPECT_NEAR((image - p).dot(d), 0.0, 20 * accuracy * size) << "and the way is across it";
  });
}

TEST(PointTest, CollinearityMeasuresTheHeightOverTheInfiniteLine)
{
  RandomGeometry random(12);
  for (int row = 0; row < 500; ++row) {
    const Position b(random.inCube<3>(5.0)), c(random.inCube<3>(5.0));
    const Vector3 along = (c - b).getNormalized();
    const Position a(b + along * random.uniform(-20.0, 20.0) + along.getOrthoNormal() * random.logUniform(1e-3, 1.0));
    const double height = (a - b).cross(along).length();
    SCOPED_TRACE("row " + std::to_string(row) + ", height " + std::to_string(height));
    EXPECT_TRUE(a.isCollinear(b, c, height * 1.01));
    if (std::min({a.distance(b), a.distance(c), b.distance(c)}) > height) {
      EXPECT_FALSE(a.isCollinear(b, c, height * 0.99));
    }
  }
}

TEST(PointTest, CollinearityIsStrictAndTakesNearPoints)
{
  const std::tuple<const char*, Point<double, 2>, Point<double, 2>, Point<double, 2>, double, bool> rows[] = {
      {"height is the tolerance", {0, 1}, {-4, 0}, {4, 0}, 1.0, false},
      {"height below the tolerance", {0, 1}, {-4, 0}, {4, 0}, 1.0000001, true},
      {"b equals c", {5, 5}, {1, 0}, {1, 0}, 1e-9, true},
      {"b equals c without tolerance", {5, 5}, {1, 0}, {1, 0}, 0.0, false},
      {"near the first, far off the line", {0, 0.5}, {0, 0}, {1, 0}, 0.6, true},
      {"at the tolerance from all", {0, 2}, {0, 0}, {2, 0}, 2.0, false},
      {"beyond the ends of the segment", {9, 0.1}, {0, 0}, {2, 0}, 0.2, true},
  };
  for (const auto& [what, a, b, c, tol, expected] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(a.isCollinear(b, c, tol), expected);
  }
}

TEST(PointTest, ANormalIsPresentExactlyWhenAComponentDiffersFromZero)
{
  const std::tuple<Vector3, bool> rows[] = {
      {{0, 0, 0}, false}, {{0, -0.0, 0}, false}, {{0, 0, 1e-300}, true}, {{nan, 0, 0}, true}, {{0, -2, 0}, true}};
  for (const auto& [normal, present] : rows) {
    SCOPED_TRACE(testing::PrintToString(normal));
    Point3NT set(1, 2, 3);
    set.setNormal(normal);
    set.setTangent(normal.x(), normal.y(), normal.z());
    EXPECT_EQ(set.hasNormal(), present);
    EXPECT_EQ(set.hasTangent(), present);
    const Point3NT built(Vector3(1, 2, 3), normal, normal);
    EXPECT_EQ(built.hasNormal(), present);
    EXPECT_EQ(built.hasTangent(), present);
    EXPECT_EQ(ConstraintPoint(Vector3(), normal, ConstraintPoint::Free).hasNormal(), present);
  }
}

TEST(PointTest, NormalizingNeedsAnAttributeThatGivesADirection)
{
  Point3NT p(Vector3(), Vector3(0, 0, 1e-13), Vector3(3, 4, 0));
  EXPECT_FALSE(p.normalizeNormal());
  EXPECT_EQ(p.getNormal(), Vector3(0, 0, 1e-13));
  EXPECT_TRUE(p.normalizeTangent());
  EXPECT_EQ(p.getTangent(), Vector3(0.6, 0.8, 0));
  p.clearTangent();
  EXPECT_FALSE(p.normalizeTangent());
  EXPECT_FALSE(p.hasTangent());
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
      {"set coordinates", changed([&](Point3NT& p) { p.set(7, 8, 9); }), other, true, true},
      {"set one value", changed([&](Point3NT& p) { p.set(4.0); }), Vector3(4, 4, 4), true, true},
      {"set zero normal", changed([&](Point3NT& p) { p.set(other, Vector3()); }), other, false, true},
      {"set all", changed([&](Point3NT& p) { p.set(7, 8, 9, 0, 0, 0, 0, 0, 0); }), other, false, false},
      {"assign vector", changed([&](Point3NT& p) { p = other; }), other, false, false},
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
      {"from vector", ConstraintPoint(Vector3(), ConstraintPoint::Symmetry), -3, false},
      {"from point with normal", ConstraintPoint(Point3N(Vector3(), Vector3(1, 0, 0)), ConstraintPoint::Free), 0, true},
      {"vector assigned", assigned(Vector3(1, 2, 3)), 2, false},
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
  const auto placed = [&mesh] {
    ProjectionPoint p(Point3N(1, 2, 3));
    p.setMeshId(mesh);
    p.setTriangleIndex(5);
    p.setBoundaryNumber(6);
    p.setLogicalPosition(ProjectionPoint::Position5);
    return p;
  };
  const auto expectState = [](const ProjectionPoint& p, int index, int position) {
    EXPECT_EQ(p.getTriangleIndex(), index);
    EXPECT_EQ(p.getBoundaryNumber(), index);
    EXPECT_EQ(p.getLogicalPosition(), position);
  };
  expectState(ProjectionPoint(), -1, 0);
  expectState(ProjectionPoint(Vector3()), -2, 0);
  expectState(ProjectionPoint(Position()), -2, 0);
  expectState(ProjectionPoint(Point3N()), -2, 0);
  EXPECT_FALSE(ProjectionPoint().getMeshId().isValid());

  ProjectionPoint byVector = placed(), byPoint = placed();
  byVector = Vector3(7, 8, 9);
  byPoint = Point3N(7, 8, 9);
  for (ProjectionPoint p : {byVector, byPoint}) {
    expectState(p, -2, 0);
    p.setLogicalPosition(ProjectionPoint::Position1);
    EXPECT_EQ(p.getMeshId(), mesh) << "the mesh stays";
  }
}

TEST(PointTest, TheMeshIsKnownInThreePositionsOnly)
{
  ProjectionPoint p;
  const Identifier mesh;
  p.setMeshId(mesh);
  for (int position = 0; position <= 6; ++position) {
    p.setLogicalPosition(static_cast<ProjectionPoint::PointPosition>(position));
    const bool known = position == 1 || position == 2 || position == 5;
    EXPECT_EQ(p.getMeshId(), known ? mesh : Identifier::getInvalidId()) << position;
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

TEST(PointTest, APlaneActsOnTheNormalAlone)
{
  const Plane<double, 3> plane(Vector3(0, 0, 1), 5.0);
  Point3N p(Vector3(1, 2, 3), Vector3(1, 0, 2));
  p.mirrorNormal(plane);
  EXPECT_EQ(p.getNormal(), Vector3(1, 0, -2));
  p.projectNormalToPlane(plane);
  EXPECT_EQ(p.getNormal(), Vector3(1, 0, 0));
  EXPECT_EQ(p, Vector3(1, 2, 3));
  p.setNormal(0, 0, 3);
  p.projectNormalToPlane(plane);
  EXPECT_FALSE(p.hasNormal());
}

TEST(PointTest, InterpolationTurnsNormalsOnTheGreatCircle)
{
  repeat(100, 14, [&](RandomGeometry& random) {
    const Vector3 n = random.direction<3>(), m = random.direction<3>();
    const Point3NT a(random.inCube<3>(3), n, m), b(random.inCube<3>(3), m, n);
    const double t = random.uniform(0, 1);
    const Point3NT p = a.linearInterpolation(t, b);
    EXPECT_THAT(p, IsNear(Vector3(a + (b - a) * t), 1e-14));
    EXPECT_NEAR(p.getNormal().length(), 1.0, 1e-12);
    EXPECT_NEAR(n.angle(p.getNormal()), t * n.angle(m), 1e-9);
    EXPECT_NEAR(m.angle(p.getTangent()), t * n.angle(m), 1e-9);
  });
  const Vector3 up(0, 0, 1);
  const Point3NT withBoth(Vector3(), up, up), withNormal(Vector3(), up), opposite(Vector3(), -up, -up);
  EXPECT_FALSE(withBoth.linearInterpolation(0.0, withNormal).hasTangent()) << "lost even at the end that has it";
  EXPECT_TRUE(withBoth.linearInterpolation(0.0, withNormal).hasNormal());
  EXPECT_FALSE(withBoth.linearInterpolation(0.5, opposite).hasNormal()) << "no way between opposite vectors";
  EXPECT_FALSE(withBoth.linearInterpolation(0.5, opposite).hasTangent());
}

TEST(PointTest, ClosenessLooksAtNormalsThatAreAbsent)
{
  const Point3N bare(1, 2, 3), tiny(Vector3(1, 2, 3.05), Vector3(0, 0.05, 0)), wide(Vector3(1, 2, 3), Vector3(0, 1, 0));
  EXPECT_TRUE(bare.isApproximatelyEqualTo(tiny, 0.1));
  EXPECT_FALSE(bare.isApproximatelyEqualTo(wide, 0.1));
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

TEST(PointTest, DumpsAreStable)
{
  const auto text = [](const auto& p) {
    std::ostringstream out;
    p.dump(out);
    return out.str();
  };
  const Vector3 at(1, 2, 3.5), n(0, 0, 1), t(1, 0, 0);
  EXPECT_EQ(text(Position(at)), "1 2 3.5");
  EXPECT_EQ(text(Point3N(at, n)), "P: 1 2 3.5 N: 0 0 1");
  EXPECT_EQ(text(Point3NT(at, n, t)), "1 2 3.5 T: 1 0 0");
  const std::pair<int, const char*> names[] = {{-3, "Symmetry"}, {0, "Free"}, {1, "Fixed"}, {2, "Clamped"}, {-1, ""}};
  for (const auto& [value, name] : names)
    EXPECT_EQ(text(ConstraintPoint(at, static_cast<ConstraintPoint::CONSTRAINT>(value))),
              std::string("P: 1 2 3.5 N: 0 0 0 C: ") + name + "\n");
}

TEST(PointTest, ARotationPointTurnsAboutItsNormal)
{
  const RotationPoint p(Point3N(Vector3(1, 2, 3), Vector3(0, 0, 7)), std::numbers::pi / 2);
  const auto system = p.calculateRotationCoordinateSystem();
  Position foot(1, 2, 9), off(2, 2, 3);
  EXPECT_THAT(foot.transform(system), IsNear(Vector3(1, 2, 9), 1e-14)) << "the axis stays";
  EXPECT_THAT(off.transform(system), IsNear(Vector3(1, 3, 3), 1e-14)) << "counter-clockwise";

  EXPECT_TRUE(RotationPoint(Point3N(1, 2, 3), 1.0).calculateRotationCoordinateSystem().isIdentity());
  EXPECT_THAT(
      [] {
        RotationPoint(Point3N({}, {0, 0, 1e-300}), 1.0).calculateRotationCoordinateSystem();
      },
      testing::ThrowsMessage<MathException>("OrthMatrix::setRotationMatrix: Couldn't normalize axis"));
}

/// Writes the fields one by one, in the order and the nesting of the archive form.
void writeBase(ArchiveWriter& writer, const Vector3& position, const Vector3& normal)
{
  writer.object("Point3N", [&] {
    writer << position.x() << position.y() << position.z() << true;
    Persistence::saveObject(writer.archive(), normal);
  });
}

TEST(PointArchiveTest, ReadsAndWritesTheFieldsInTheirOrder)
{
  const Vector3 at(1, 2, 3), n(0, 0, 1), t(1, 0, 0);
  const Identifier mesh;
  const auto expectForm = [&](const char* key, auto body, auto target, auto check) {
    SCOPED_TRACE(key);
    ArchiveWriter writer;
    writer.object(key, [&] {
      writeBase(writer, at, n);
      body(writer);
    });
    loadFrom(writer.bytes(), target);
    EXPECT_EQ(target, at);
    EXPECT_TRUE(target.hasNormal());
    EXPECT_EQ(target.getNormal(), n);
    check(target);
    EXPECT_EQ(archiveOf(target), writer.bytes());
  };
  expectForm(
      "Point3NT",
      [&](auto& w) {
        w << true;
        Persistence::saveObject(w.archive(), t);
      },
      Point3NT(), [&](const auto& p) { EXPECT_TRUE(p.hasTangent() && p.getTangent() == t); });
  expectForm(
      "ConstraintPoint", [](auto& w) { w << -3; }, ConstraintPoint(),
      [](const auto& p) { EXPECT_EQ(p.getConstraint(), ConstraintPoint::Symmetry); });
  expectForm(
      "RotationPoint", [](auto& w) { w << 0.25; }, RotationPoint(),
      [](const auto& p) { EXPECT_EQ(p.getRotationAngle(), 0.25); });
  for (const int position : {5, 3}) // the latter hides the mesh
    expectForm(
        "ProjectionPoint",
        [&](auto& w) {
          w << position;
          Persistence::saveObject(w.archive(), mesh);
          w << 17 << 4;
        },
        ProjectionPoint(),
        [&](auto p) {
          EXPECT_EQ(p.getLogicalPosition(), position);
          EXPECT_EQ(p.getTriangleIndex(), 17);
          EXPECT_EQ(p.getBoundaryNumber(), 4);
          p.setLogicalPosition(ProjectionPoint::Position1);
          EXPECT_EQ(p.getMeshId(), mesh);
        });
}

} // namespace
} // namespace Kavrel::Testing
