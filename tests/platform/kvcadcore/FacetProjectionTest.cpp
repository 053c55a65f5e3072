#include "platform/kvcadcore/FacetProjection.h"

#include "support/BruteForce.h"
#include "support/RandomGeometry.h"

using namespace Kavrel;

TEST(FacetProjection, CountsWhatIsInTheFacetOrNearIt)
{
  const double corners[3][3] = {{0, 0, 1}, {2, 0, 1}, {0, 2, 1}};
  using V = Vector<double, 3>;
  const std::tuple<const char*, V, V, double, int, double, double> rows[] = {
      {"to behind", {0.5, 0.5, 9}, {0, 0, 3}, 0, 1, 0.25, 0.25},
      {"on the corner", {0, 2, 5}, {0, 0, 1}, 0, 1, 0, 1},
      {"beside, without tolerance", {-0.1, 0.5, 0}, {0, 0, 1}, 0, 0, 0, 0},
      {"beside, at the tolerance", {-0.125, 0.5, 0}, {0, 0, 1}, 0.125, 1, -0.0625, 0.25},
      {"beyond a corner, diagonally", {-0.1, -0.1, 0}, {0, 0, 1}, 0.14, 0, 0, 0},
      {"beyond a corner, reached", {-0.1, -0.1, 0}, {0, 0, 1}, 0.15, 1, -0.05, -0.05},
      {"along the facet", {0.5, 0.5, 1}, {1, 0, 0}, 1, 0, 0, 0},
  };
  double xi = 0, eta = 0;
  for (const auto& [name, origin, direction, tolerance, hit, expectedXi, expectedEta] : rows) {
    SCOPED_TRACE(name);
    xi = eta = -9;
    ASSERT_EQ(sn_pr_projPointOnFacet2(corners, origin.data(), direction.data(), tolerance, &xi, &eta), hit);
    EXPECT_NEAR(xi, hit ? expectedXi : -9, 1e-15);
    EXPECT_NEAR(eta, hit ? expectedEta : -9, 1e-15);
  }
}

TEST(FacetProjection, AgreesWithTheExactCrossing)
{
  Testing::repeat(2000, 5, [&](Testing::RandomGeometry& random) {
    const Vector<double, 3> a = random.inCube<3>(1), b = random.inCube<3>(1), c = random.inCube<3>(1);
    const Vector<double, 3> origin = random.inCube<3>(2), direction = random.direction<3>();
    double corners[3][3];
    for (unsigned k = 0; k < 3; ++k) {
      corners[0][k] = a[k];
      corners[1][k] = b[k];
      corners[2][k] = c[k];
    }
    double xi = 0, eta = 0;
    const int hit = sn_pr_projPointOnFacet2(corners, origin.data(), direction.data(), 0.0, &xi, &eta);
    const auto t = Testing::BruteForce::lineTriangle(origin, direction, a, b, c);
    ASSERT_EQ(hit, t ? 1 : 0);
    if (t) {
      EXPECT_LT((a + (b - a) * xi + (c - a) * eta - (origin + direction * *t)).length(), 1e-9);
    }
  });
}
