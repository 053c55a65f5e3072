#include "geometry/CoordinateSystem.h"
#include "geometry/CoordinateSystemHelper.h"
#include "geometry/Plane.h"
#include "geometry/StraightLine.h"
#include "platform/kvmath/MathException.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "support/ArchiveWriter.h"
#include "support/RandomGeometry.h"

#include <gmock/gmock.h>

#include <numbers>

namespace Kavrel {
namespace {

using CS = CoordinateSystem<double, 3>;
using P3 = Point<double, 3>;
using V3 = Vector<double, 3>;
using R3 = OrthMatrix<double, 3>;

constexpr double pi = std::numbers::pi;

R3 rotation(double angle, const V3& axis) { return R3(MatrixFunctions::makeRotationMatrix(angle, axis).second); }

CS randomSystem(Testing::RandomGeometry& random)
{
  return CS(rotation(random.uniform(-3, 3), random.direction<3>()), random.inCube<3>(10));
}

P3 moved(P3 p, const CS& cs) { return p.transform(cs); }

double gap(const V3& a, const V3& b) { return (a - b).length(); }

TEST(CoordinateSystemTest, PlacesPointsAndTurnsVectors)
{
  const CS cs(rotation(pi / 2, {0, 0, 1}), P3(10, 20, 30));
  EXPECT_LE(gap(moved({1, 2, 3}, cs), {8, 21, 33}), 1e-14);
  EXPECT_LE(gap(cs.transformVectorCopy({1, 2, 3}), {-2, 1, 3}), 1e-15);
  EXPECT_LE(gap(cs.getTranslatedAlongLocalX(2).getOrigin(), {10, 22, 30}), 1e-14);
  EXPECT_LE(gap(CS(cs).translateAlongLocalY(-3).getOrigin(), {13, 20, 30}), 1e-14);
}

TEST(CoordinateSystemTest, CompositionFollowsThePoints)
{
  Testing::repeat(100, 71, [&](Testing::RandomGeometry& random) {
    const CS a = randomSystem(random), b = randomSystem(random);
    const P3 p = random.inCube<3>(10);
    EXPECT_LE(gap(moved(p, a.getTransformed(b)), moved(moved(p, a), b)), 1e-13);
    EXPECT_LE(gap(moved(p, a * b), moved(moved(p, b), a)), 1e-13);
    EXPECT_LE(gap(moved(moved(p, a), a.getInverse()), p), 1e-13);
    EXPECT_LE(gap(moved(moved(p, a), CS::getRelativeTransformationFromAtoB(a, b)), moved(p, b)), 1e-13);
    EXPECT_LE(gap(moved(p, b * a.getRelativeCoordinateSystem(b)), moved(p, a)), 1e-13);
    EXPECT_EQ(CS().setTransformation(a.getTransformation()), a);
    // The homogeneous matrices multiply like the systems.
    EXPECT_TRUE((a.getTransformation() * b.getTransformation()).isEqual((a * b).getTransformation(), 1e-13));
  });
}

TEST(CoordinateSystemTest, IdentityIsAskedWithTolerance)
{
  const std::tuple<const char*, CS, bool> rows[] = {
      {"default", CS(), true},
      {"origin within", CS(R3(), P3(0.9e-12, 0, 0)), true},
      {"origin beyond", CS(R3(), P3(0.9e-12, 0.9e-12, 0)), false},
      {"turned within", CS(rotation(1.6e-6, {0, 0, 1}), P3()), true},
      {"turned beyond", CS(rotation(1.8e-6, {0, 0, 1}), P3()), false},
      {"NaN", CS(R3(), P3(std::nan(""), 0, 0)), false},
  };
  for (const auto& [name, cs, identity] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(cs.isIdentity(), identity);
    EXPECT_EQ(cs.isEqualTo(CS::getIdentity()), identity);
  }
}

// A default system knows that it is the identity, and must forget it with every change.
TEST(CoordinateSystemTest, EveryChangeDropsTheMemo)
{
  const R3 turn = rotation(1, {0, 0, 1});
  const CS shift = CS(R3(), P3(0, 1, 0));
  const std::pair<const char*, CS> rows[] = {
      {"origin", CS().setOrigin({1, 0, 0})},        {"translate", CS().translateBy({1, 0, 0})},
      {"orth matrix", CS().setOrientation(turn)},   {"mirror", CS().setUpMirror(V3(0, 0, 1), 0.0)},
      {"rotation", CS().setUpRotation(P3(), turn)}, {"homogeneous", CS().setTransformation(shift.getTransformation())},
      {"transform", CS().transform(shift)},
  };
  for (const auto& [name, changed] : rows) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(changed.isIdentity());
    EXPECT_TRUE(CS(changed).setOrigin(P3()).setOrientation(R3()).isIdentity());
  }
}

// What counts as the identity takes no part in arithmetic, so a tiny offset vanishes or stays whole.
TEST(CoordinateSystemTest, NearIdentitiesShortCut)
{
  const CS near(R3(), P3(5e-13, 0, 0));
  const CS shift = CS().translateBy({1, 2, 3});
  EXPECT_EQ(near.getTransformed(shift), shift);
  EXPECT_EQ(shift.getTransformed(near), shift);
  EXPECT_EQ(near.getInverse(), near);
}

TEST(CoordinateSystemTest, EqualityBounds)
{
  const CS cs(rotation(0.5, {1, 2, 3}), P3(1, 2, 3));
  const CS turned(rotation(0.01, cs.getLocalX()) * cs.getOrientation(), P3(1, 2, 3.5));
  EXPECT_TRUE(cs.isEqualTo(turned, 0.5, 0.0101));
  EXPECT_FALSE(cs.isEqualTo(turned, 0.5, 0.0099));
  EXPECT_FALSE(cs.isEqualTo(turned, 0.499, 0.0101));
  EXPECT_NE(cs, CS(cs).translateBy({0, 0, 1e-15}));
  EXPECT_TRUE(cs.isEqualTo(CS(cs).translateBy({0, 0, 1e-15})));
}

TEST(CoordinateSystemTest, MirrorsLikeThePlane)
{
  Testing::repeat(50, 72, [&](Testing::RandomGeometry& random) {
    const Plane<double, 3> plane(random.direction<3>(), random.uniform(-5, 5));
    const CS mirror = CS::createMirrorTransformation(plane);
    const P3 p = random.inCube<3>(10);
    EXPECT_LE(gap(moved(p, mirror), plane.getMirroredPoint(p)), 1e-13);
    EXPECT_LE(gap(mirror.transformVectorCopy(p), plane.getMirroredVector(p)), 1e-13);

    const CS frame = randomSystem(random);
    const CS right = CoordinateSystemHelper::createRightHandedMirrorOf(frame, plane);
    EXPECT_NEAR(right.getOrientation().determinant(), 1.0, 1e-14);
    EXPECT_LE(gap(right.getOrigin(), plane.getMirroredPoint(frame.getOrigin())), 1e-13);
    EXPECT_LE(gap(right.getLocalX(), -plane.getMirroredVector(frame.getLocalX())), 1e-13);
    EXPECT_LE(gap(right.getLocalY(), plane.getMirroredVector(frame.getLocalY())), 1e-13);
  });
}

TEST(CoordinateSystemTest, HalfTurnAboutALine)
{
  Testing::repeat(50, 73, [&](Testing::RandomGeometry& random) {
    const P3 start = random.inCube<3>(5);
    const StraightLine<double, 3> line(start, start + random.ofAnySize<3>(1e-3, 1e3), 0.1);
    const P3 p = random.inCube<3>(10);
    EXPECT_LE(gap(moved(p, CS::createMirrorTransformation(line)), P3(p).mirror(line)), 1e-12);
  });
  const StraightLine<double, 3> none(P3(1, 2, 3), P3(1, 2, 3), 0.1);
  EXPECT_EQ(CS::createMirrorTransformation(none), CS());
  EXPECT_THAT(
      ([&] { CoordinateSystem<double, 2>::createMirrorTransformation(none); }),
      testing::ThrowsMessage<MathException>("CoordinateSystem<T, dim>::createMirrorTransformation: dim == 3 expected"));
}

TEST(CoordinateSystemTest, RotatesAboutAFixedPoint)
{
  Testing::repeat(50, 74, [&](Testing::RandomGeometry& random) {
    const P3 centre = random.inCube<3>(5);
    const R3 r = rotation(random.uniform(-3, 3), random.direction<3>());
    const CS cs = CS().setUpRotation(centre, r);
    const P3 p = random.inCube<3>(10);
    EXPECT_LE(gap(moved(centre, cs), centre), 1e-14);
    EXPECT_LE(gap(moved(p, cs) - centre, r * (p - centre)), 1e-13);
  });
}

bool isRightHanded(const R3& m)
{
  return (m * m.getTranspose()).isEqual(R3(), 1e-14) && std::abs(m.determinant() - 1.0) < 1e-14;
}

TEST(CoordinateSystemTest, FrameFromDirections)
{
  const V3 up(0, 0, 1);
  const std::tuple<const char*, V3, V3, V3, V3> rows[] = {
      {"plain", {2, 0, 0}, {3, 4, 0}, {1, 0, 0}, {0, 0, 1}},
      {"too short", {0, 0, 9e-13}, {0, 5e-13, 0}, {1, 0, 0}, {0, -1, 0}},
      {"only a", {0, 3, 0}, {}, {0, 1, 0}, V3(0, 1, 0).cross(V3(0, 1, 0).getOrthoNormal())},
      {"only b", {}, {0, 0, 2}, up.getOrthoNormal(), up.getOrthoNormal().cross(up)},
      {"parallel", {1, 0, 0}, {-2, 0, 0}, {1, 0, 0}, V3(1, 0, 0).getOrthoNormal()},
  };
  for (const auto& [name, a, b, x, z] : rows) {
    SCOPED_TRACE(name);
    const CS cs = createCoordinateSystemFrom(P3(7, 8, 9), a, b);
    EXPECT_TRUE(isRightHanded(cs.getOrientation()));
    EXPECT_EQ(cs.getOrigin(), P3(7, 8, 9));
    EXPECT_LE(gap(cs.getLocalX(), x), 1e-15);
    EXPECT_LE(gap(cs.getOrientation().column(2), z), 1e-15);
  }
}

TEST(CoordinateSystemTest, FrameInThePlane)
{
  const auto cs = createCoordinateSystemFrom(Point<double, 2>(1, 2), Vector<double, 2>(3, -4));
  EXPECT_EQ(cs.getLocalX(), (Vector<double, 2>(0.6, -0.8)));
  EXPECT_EQ(cs.getLocalY(), (Vector<double, 2>(0.8, 0.6)));
  EXPECT_TRUE(createCoordinateSystemFrom(Point<double, 2>(), Vector<double, 2>(1e-13, 0)).isIdentity());
}

TEST(CoordinateSystemTest, FrameFromThreePoints)
{
  Testing::repeat(100, 75, [&](Testing::RandomGeometry& random) {
    const P3 p0 = random.inCube<3>(5);
    const P3 p1 = p0 + random.ofAnySize<3>(1e-6, 1e3), p2 = p0 + random.ofAnySize<3>(1e-6, 1e3);
    const CS cs = calcCoordinateSystemFromPoints(p0, p1, p2);
    EXPECT_TRUE(isRightHanded(cs.getOrientation()));
    const P3 local1 = moved(p1, cs.getInverse()), local2 = moved(p2, cs.getInverse());
    EXPECT_LE(std::hypot(local1.y(), local1.z()), 1e-12 * (1 + p1.length()));
    EXPECT_GT(local1.x(), 0.0);
    EXPECT_GT(local2.y(), 0.0);
    EXPECT_LE(std::abs(local2.z()), 1e-12 * (1 + p2.length()));
  });
  EXPECT_THAT(
      ([] {
        calcCoordinateSystemFromPoints({1, 1, 1}, {2, 2, 2}, {4, 4, 4});
      }),
      testing::ThrowsMessage<MathException>(
          "calcCoordinateSystemFromPoints: the given 3 Points are laying on a line and do not define a plane!"));
}

TEST(CoordinateSystemTest, ArchiveDropsTheMemo)
{
  Testing::RandomGeometry random(76);
  const CS source = randomSystem(random);
  CS loaded;
  Testing::roundTrip(source, loaded);
  EXPECT_EQ(loaded, source);
  EXPECT_FALSE(loaded.isIdentity());
  Testing::roundTrip(CS(), loaded);
  EXPECT_TRUE(loaded.isIdentity());
}

TEST(CoordinateSystemTest, OldStreamsHoldOneMoreFlag)
{
  const char* key = "BoostExportCoordinateSystem3";
  Testing::RandomGeometry random(77);
  const CS source = randomSystem(random);
  for (const unsigned version : {0U, 500001U, 500002U}) {
    SCOPED_TRACE(version);
    Testing::ArchiveWriter stream;
    stream.version(key, version);
    const auto write = [&] {
      Persistence::saveObject(stream.archive(), source.getOrientation());
      Persistence::saveObject(stream.archive(), source.getOrigin());
      if (version < 500002) stream << true;
    };
    // As elements of a container, without frames of their own, a wrong length shows in the second one.
    stream.container(key, 2, [&] {
      write();
      write();
    });
    PersistenceArchiver archive;
    const auto bytes = stream.bytes();
    archive.openForReading(bytes);
    std::vector<CS> loaded;
    Persistence::loadContainer(archive, loaded);
    EXPECT_EQ(loaded, (std::vector<CS>{source, source}));
  }
}

} // namespace
} // namespace Kavrel
