#include "platform/kvcadcore/NurbsCurveRecord.h"

#include "platform/kvcadcore/EdgeRecord.h"
#include "support/RandomNurbs.h"

#include <cstdlib>
#include <limits>

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;

/// Lives in the arrays of the curve.
PO_IG_NURBS_CRV recordOf(NurbsArrays& curve)
{
  PO_IG_NURBS_CRV record{};
  record.degree = static_cast<int>(curve.degree);
  record.controlPointCount = static_cast<int>(curve.count());
  record.controlPoints = reinterpret_cast<PO_VEC*>(curve.points.data());
  record.knotCount = static_cast<int>(curve.knots.size());
  record.knots = curve.knots.data();
  record.weightCount = static_cast<int>(curve.weights.size());
  record.weights = curve.weights.data();
  record.periodical = 1;
  return record;
}

void expectNear(const PO_VEC& a, const std::array<double, 3>& b, double tolerance)
{
  EXPECT_NEAR(a.x, b[0], tolerance);
  EXPECT_NEAR(a.y, b[1], tolerance);
  EXPECT_NEAR(a.z, b[2], tolerance);
}

TEST(NurbsCurveRecord, EveryWayToEvaluateIsThatOfTheCore)
{
  forRandomCurves(1, [](NurbsArrays curve, RandomGeometry& random) {
    const PO_IG_NURBS_CRV r = recordOf(curve);
    const double u = random.uniform(curve.domainStart(), curve.domainEnd());
    const auto expected = Nurbs::derivativesAt<4>(curve.view(), u);
    const auto mask = static_cast<int>(random.index(16)), highest = static_cast<int>(random.index(5));
    PO_VEC masked[5] = {}, inPlane[5] = {}, single{};
    PO_IG_NURBS_CRV_der(&r, masked, u, mask);
    Ap1xNurbs_derx_imp(inPlane, highest, u, 2, r.degree, r.controlPointCount, r.knots, r.controlPoints,
                       curve.view().weights);
    for (int d = 0; d <= 4; ++d) {
      const auto [x, y, z] = expected[static_cast<unsigned>(d)];
      const double tolerance = 1e-12 * (10 + std::abs(x) + std::abs(y) + std::abs(z));
      ASSERT_EQ(ra_al_DeBoor(&single, d, u, &r), 1);
      expectNear(single, {x, y, z}, tolerance);
      const double isAsked = d == 0 || mask & (1 << (d - 1)), isLow = d <= highest;
      expectNear(masked[d], {isAsked * x, isAsked * y, isAsked * z}, tolerance);
      expectNear(inPlane[d], {isLow * x, isLow * y, 0}, tolerance);
    }
  });
}

TEST(NurbsCurveRecord, ClampingDropsWhatTheDomainDoesNotNeed)
{
  NurbsArrays curve{2, {-1, 0, 0, 0, 2, 3, 3, 4}, {0, 7, 7, 1, 7, 7, 2, 7, 7, 3, 7, 7, 4, 7, 7}, {1, 1, 0, 1, 1}};
  PO_IG_NURBS_CRV record = recordOf(curve);
  ASSERT_EQ(PO_IG_NURBS_CRV_makeClamped(&record), 1);
  EXPECT_EQ(record.periodical, 0);
  EXPECT_EQ(record.controlPointCount, 4);
  EXPECT_EQ(record.weightCount, 4);
  EXPECT_EQ(std::vector(record.knots, record.knots + record.knotCount), (std::vector<double>{0, 0, 0, 2, 3, 3, 3}));
  EXPECT_EQ(record.knotMinimum, 0.0);
  EXPECT_EQ(record.knotMaximum, 3.0);
  EXPECT_EQ(record.controlPoints[1].x, 2.0) << "a point without weight stays in its place";
}

TEST(NurbsCurveRecord, BadRecordsAreRefused)
{
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
  using Record = PO_IG_NURBS_CRV;
  const struct Row
  {
    const char* what;
    void (*spoil)(Record&);
    int countsSuffice; ///< wrong counts stop evaluation too, wrong values only the full check
  } rows[] = {
      {"negative degree", [](Record& r) { r.degree = -1; }, 0},
      {"degree 256", [](Record& r) { r.degree = 256, r.controlPointCount = 300, r.knotCount = 557; }, 0},
      {"too few points", [](Record& r) { r.controlPointCount = 2, r.knotCount = 5; }, 0},
      {"overflow", [](Record& r) { r.controlPointCount = most, r.knotCount = least + 2; }, 0},
      {"a weight too few", [](Record& r) { --r.weightCount; }, 0},
      {"descending knots", [](Record& r) { std::reverse(r.knots, r.knots + r.knotCount); }, 1},
      {"knots not numbers", [](Record& r) { std::fill_n(r.knots, r.knotCount, std::nan("")); }, 1},
      {"empty domain", [](Record& r) { std::fill_n(r.knots, r.knotCount, 1.0); }, 1},
      {"infinite weight", [](Record& r) { r.weights[1] = -infinity; }, 1},
  };
  for (const auto& [what, spoil, countsSuffice] : rows) {
    SCOPED_TRACE(what);
    NurbsArrays curve{2, {0, 0, 0, 1, 2, 3, 3, 3}, std::vector(15, 1.0), std::vector(5, 1.0)};
    PO_IG_NURBS_CRV record = recordOf(curve);
    ASSERT_EQ(PO_IG_NURBS_CRV_check(&record, 1), 1);
    spoil(record);
    PO_VEC values[5] = {};
    EXPECT_EQ(PO_IG_NURBS_CRV_check(&record, 1), 0);
    EXPECT_EQ(PO_IG_NURBS_CRV_check(&record, 0), countsSuffice);
    EXPECT_EQ(PO_IG_NURBS_CRV_makeClamped(&record), 0);
    EXPECT_EQ(ra_al_DeBoor(values, 0, 1.0, &record), countsSuffice);
    EXPECT_EQ(PO_IG_NURBS_CRV_der(&record, values, std::nan(""), 15), countsSuffice);
  }
}

template <class Record>
Record* allocate(std::size_t count = 1)
{
  return static_cast<Record*>(std::calloc(count, sizeof(Record)));
}

PO_IG_EDG* edgeOf(int kind, void* curve)
{
  auto* edge = allocate<PO_IG_EDG>();
  edge->kind = kind;
  edge->curve = curve;
  edge->matrix = allocate<PO_IG_MAT>();
  return edge;
}

// The leak check of the sanitizer build looks at what is left.
TEST(EdgeRecord, FreeReleasesNestedComposites)
{
  auto* poly = allocate<PO_IG_POLY>();
  poly->points = allocate<PO_VEC>(3);
  auto* polygon = allocate<PO_IG_GE_CURVE>();
  polygon->points = allocate<PO_VEC>(3);
  polygon->normals = allocate<PO_VEC>(3);
  auto* nurbs = allocate<PO_IG_NURBS_CRV>();
  nurbs->knots = allocate<double>(4);
  nurbs->weights = allocate<double>(2);
  nurbs->controlPoints = allocate<PO_VEC>(2);
  PO_IG_EDG* edge = edgeOf(PO_IG_EDG_EMPTY, nullptr);
  for (PO_IG_EDG* other : {edgeOf(PO_IG_EDG_POLY, poly), edgeOf(PO_IG_EDG_GE_CURVE, polygon),
                           edgeOf(PO_IG_EDG_NURBS, nurbs), edgeOf(PO_IG_EDG_LINE, allocate<PO_IG_LINE>())}) {
    auto* composite = allocate<PO_IG_COMP_CRV>();
    composite->members = allocate<PO_IG_EDG*>(2);
    composite->members[composite->count++] = other;
    composite->members[composite->count++] = edge;
    edge = edgeOf(PO_IG_EDG_COMPOSITE, composite);
  }
  PO_IG_EDG_free(&edge);
  EXPECT_EQ(edge, nullptr);
}

} // namespace
