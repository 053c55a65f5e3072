#include "platform/kvcadcore/NurbsCurveRecord.h"

#include "platform/kvcadcore/EdgeRecord.h"
#include "support/RandomNurbs.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <string>

namespace {

using namespace Kavrel;
using namespace Kavrel::Testing;

struct Release
{
  void operator()(PO_IG_NURBS_CRV* record) const { cw_ig_freeNurbsCurve(record); }
};
using OwnedRecord = std::unique_ptr<PO_IG_NURBS_CRV, Release>;

template <class Record>
Record* allocate(std::size_t count = 1)
{
  return static_cast<Record*>(std::calloc(count, sizeof(Record)));
}

OwnedRecord recordOf(const NurbsArrays& curve)
{
  OwnedRecord record(allocate<PO_IG_NURBS_CRV>());
  record->degree = static_cast<int>(curve.degree);
  record->controlPointCount = static_cast<int>(curve.count());
  record->controlPoints = allocate<PO_VEC>(curve.count());
  for (std::size_t i = 0; i < curve.count(); ++i)
    record->controlPoints[i] = {curve.points[3 * i], curve.points[3 * i + 1], curve.points[3 * i + 2]};
  record->knotCount = static_cast<int>(curve.knots.size());
  record->knots = allocate<double>(curve.knots.size());
  std::ranges::copy(curve.knots, record->knots);
  record->weightCount = static_cast<int>(curve.weights.size());
  record->weights = curve.weights.empty() ? nullptr : allocate<double>(curve.weights.size());
  std::ranges::copy(curve.weights, record->weights);
  return record;
}

void expectNear(const PO_VEC& a, const PO_VEC& b, double tolerance)
{
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
  EXPECT_NEAR(a.z, b.z, tolerance);
}

TEST(NurbsCurveRecord, ThreeWaysToEvaluateAgree)
{
  RandomGeometry random(22);
  const PO_VEC untouched{-99, -99, -99};
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    const NurbsArrays curve = randomNurbs(random, 1 + static_cast<unsigned>(random.index(8)), random.coin(), i & 1);
    const OwnedRecord record = recordOf(curve);
    const double u = random.uniform(curve.domainStart(), curve.domainEnd());
    const auto expected = Nurbs::derivativesAt<4>(curve.view(), u);
    const int mask = i % 16, highest = i % 5, dimension = 2 + i / 2 % 2;
    std::array<PO_VEC, 5> byMask, byOrder;
    byMask.fill(untouched);
    byOrder.fill(untouched);
    ASSERT_EQ(PO_IG_NURBS_CRV_der(record.get(), byMask.data(), u, mask), 1);
    ASSERT_EQ(Ap1xNurbs_derx_imp(byOrder.data(), highest, u, dimension, record->degree, record->controlPointCount,
                                 record->knots, record->controlPoints, record->weights),
              1);
    for (unsigned d = 0; d <= 4; ++d) {
      SCOPED_TRACE(d);
      const PO_VEC value{expected[d][0], expected[d][1], expected[d][2]};
      const double tolerance = 1e-13 * (1 + std::abs(value.x) + std::abs(value.y) + std::abs(value.z));
      PO_VEC single{};
      ASSERT_EQ(ra_al_DeBoor(&single, static_cast<int>(d), u, record.get()), 1);
      expectNear(single, value, tolerance);
      expectNear(byMask[d], d == 0 || mask & (1 << (d - 1)) ? value : untouched, tolerance);
      PO_VEC ordered = static_cast<int>(d) <= highest ? value : untouched;
      if (dimension == 2 && static_cast<int>(d) <= highest) ordered.z = 0;
      expectNear(byOrder[d], ordered, tolerance);
    }
  }
}

TEST(NurbsCurveRecord, ClampingKeepsTheShape)
{
  RandomGeometry random(23);
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    const NurbsArrays curve = randomNurbs(random, 1 + static_cast<unsigned>(random.index(25)), false, i & 1);
    const OwnedRecord record = recordOf(curve);
    record->periodical = 1;
    ASSERT_EQ(PO_IG_NURBS_CRV_makeClamped(record.get()), 1);
    ASSERT_EQ(PO_IG_NURBS_CRV_check(record.get(), 1), 1);
    ASSERT_EQ(record->periodical, 0);
    ASSERT_EQ(record->knotMinimum, curve.domainStart());
    ASSERT_EQ(record->knotMaximum, curve.domainEnd());
    ASSERT_EQ(record->knots[record->degree], curve.domainStart());
    ASSERT_EQ(record->knots[record->controlPointCount], curve.domainEnd());
    for (int j = 0; j <= 20; ++j) {
      const double u = std::lerp(curve.domainStart(), curve.domainEnd(), j / 20.0);
      PO_VEC point{};
      ra_al_DeBoor(&point, 0, u, record.get());
      const auto [x, y, z] = Nurbs::pointAt(curve.view(), u);
      expectNear(point, {x, y, z}, 1e-11);
    }
  }
}

TEST(NurbsCurveRecord, ClampingDropsEmptySpansAtTheEnds)
{
  const NurbsArrays curve{1, {0, 1, 1, 1, 2, 3, 3, 4}, {9, 9, 9, 8, 8, 8, 0, 0, 0, 1, 2, 0, 3, 3, 0, 7, 7, 7}, {}};
  const OwnedRecord record = recordOf(curve);
  ASSERT_EQ(PO_IG_NURBS_CRV_makeClamped(record.get()), 1);
  ASSERT_EQ(record->controlPointCount, 3);
  EXPECT_EQ(std::vector<double>(record->knots, record->knots + record->knotCount),
            (std::vector<double>{1, 1, 2, 3, 3}));
  expectNear(record->controlPoints[0], {0, 0, 0}, 0);
  expectNear(record->controlPoints[1], {1, 2, 0}, 0);
  expectNear(record->controlPoints[2], {3, 3, 0}, 0);
}

TEST(NurbsCurveRecord, BadRecordsAreRefused)
{
  constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  struct Row
  {
    std::string what;
    std::function<void(PO_IG_NURBS_CRV&)> spoil;
    bool countsSuffice; ///< wrong counts stop evaluation too, wrong values only the full check
  };
  const Row rows[] = {
      {"negative degree", [](auto& r) { r.degree = -1; }, false},
      {"degree too high", [](auto& r) { r.degree = 256, r.controlPointCount = 300, r.knotCount = 557; }, false},
      {"largest degree", [](auto& r) { r.degree = std::numeric_limits<int>::max(); }, false},
      {"too few control points", [](auto& r) { r.controlPointCount = 2, r.knotCount = 5; }, false},
      {"negative count", [](auto& r) { r.controlPointCount = -7; }, false},
      {"a knot too few", [](auto& r) { --r.knotCount; }, false},
      {"a knot too many", [](auto& r) { ++r.knotCount; }, false},
      {"counts that overflow",
       [](auto& r) {
         r.controlPointCount = std::numeric_limits<int>::max(), r.knotCount = std::numeric_limits<int>::min() + 2;
       },
       false},
      {"a weight too few", [](auto& r) { --r.weightCount; }, false},
      {"negative weight count", [](auto& r) { r.weightCount = -1; }, false},
      {"no control points", [](auto& r) { std::free(std::exchange(r.controlPoints, nullptr)); }, false},
      {"no knots", [](auto& r) { std::free(std::exchange(r.knots, nullptr)); }, false},
      {"no weights", [](auto& r) { std::free(std::exchange(r.weights, nullptr)); }, false},
      {"descending knots", [](auto& r) { std::swap(r.knots[3], r.knots[5]); }, true},
      {"knot not a number", [](auto& r) { r.knots[4] = nan; }, true},
      {"infinite knot", [](auto& r) { r.knots[7] = infinity; }, true},
      {"domain without length", [](auto& r) { std::fill_n(r.knots, r.knotCount, 1.0); }, true},
      {"control point not a number", [](auto& r) { r.controlPoints[2].z = nan; }, true},
      {"infinite weight", [](auto& r) { r.weights[1] = -infinity; }, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const NurbsArrays curve{2, {0, 0, 0, 1, 2, 3, 3, 3}, std::vector<double>(15, 1.0), std::vector<double>(5, 1.0)};
    const OwnedRecord record = recordOf(curve);
    ASSERT_EQ(PO_IG_NURBS_CRV_check(record.get(), 1), 1);
    row.spoil(*record);
    PO_VEC values[5] = {};
    EXPECT_EQ(PO_IG_NURBS_CRV_check(record.get(), 1), 0);
    EXPECT_EQ(PO_IG_NURBS_CRV_check(record.get(), 0), row.countsSuffice);
    EXPECT_EQ(PO_IG_NURBS_CRV_makeClamped(record.get()), 0);
    EXPECT_EQ(ra_al_DeBoor(values, 0, 1.0, record.get()), row.countsSuffice);
    EXPECT_EQ(PO_IG_NURBS_CRV_der(record.get(), values, std::nan(""), 15), row.countsSuffice);
  }
  EXPECT_EQ(PO_IG_NURBS_CRV_check(nullptr, 1), 0);
  EXPECT_EQ(PO_IG_NURBS_CRV_makeClamped(nullptr), 0);
}

// The leak check of the sanitizer build looks at what is left.
TEST(EdgeRecord, FreeReleasesNestedComposites)
{
  const auto edgeOf = [](int kind, void* curve) {
    PO_IG_EDG* edge = allocate<PO_IG_EDG>();
    edge->kind = kind;
    edge->curve = curve;
    edge->matrix = allocate<PO_IG_MAT>();
    return edge;
  };
  const auto compositeOf = [](std::initializer_list<PO_IG_EDG*> members) {
    auto* composite = allocate<PO_IG_COMP_CRV>();
    composite->count = static_cast<int>(members.size());
    composite->members = allocate<PO_IG_EDG*>(members.size());
    std::ranges::copy(members, composite->members);
    return composite;
  };
  auto* poly = allocate<PO_IG_POLY>();
  poly->points = allocate<PO_VEC>(3);
  auto* polygon = allocate<PO_IG_GE_CURVE>();
  polygon->points = allocate<PO_VEC>(3);
  polygon->normals = allocate<PO_VEC>(3);
  const NurbsArrays line{1, {0, 0, 1, 1}, {0, 0, 0, 1, 0, 0}, {1, 1}};
  PO_IG_EDG* inner = edgeOf(PO_IG_EDG_COMPOSITE,
                            compositeOf({edgeOf(PO_IG_EDG_POLY, poly), nullptr, edgeOf(PO_IG_EDG_GE_CURVE, polygon),
                                         edgeOf(PO_IG_EDG_NURBS, recordOf(line).release())}));
  PO_IG_EDG* edge = edgeOf(PO_IG_EDG_COMPOSITE, compositeOf({edgeOf(PO_IG_EDG_CIRCLE, allocate<PO_IG_CIRCLE>()), inner,
                                                             edgeOf(PO_IG_EDG_EMPTY, nullptr)}));
  PO_IG_EDG_free(&edge);
  EXPECT_EQ(edge, nullptr);
  PO_IG_EDG_free(&edge);
}

} // namespace
