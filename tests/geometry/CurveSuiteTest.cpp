#include "support/CurveSuite.h"

#include "geometry/Circle.h"
#include "geometry/Ellipse.h"
#include "geometry/KvBSpline.h"
#include "geometry/NurbsCurve.h"
#include "geometry/StraightLine.h"

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

template <class T, unsigned dim>
struct Space
{
  using Kind = CurveKind<T, dim>;
  using Suite = CurveSuite<T, dim>;
  using P = Point<T, dim>;

  static P at(double x, double y, double z)
  {
    P p;
    const double xyz[] = {x, y, z};
    for (unsigned i = 0; i < dim; ++i)
      p[i] = static_cast<T>(xyz[i]);
    return p;
  }

  static std::vector<Kind> kinds()
  {
    const std::vector<P> corners = {at(0, 0, 0), at(3, 1, 2), at(4, 5, 1), at(-1, 4, 3)};
    const Vector<T, dim> normal = at(0.3, -0.2, 1);
    const auto polyLine = [corners](bool closed) {
      auto line = std::make_shared<PolyLine<P>>(corners, 0.1);
      line->setClosed(closed);
      return line;
    };
    const auto within = [](auto curve, double lower, double upper) {
      curve->setDomain(Interval(lower, upper, false, false));
      curve->setClosed(false);
      return curve;
    };
    const auto ellipse = [] { return std::make_shared<Ellipse<T, dim>>(T(4), T(1.5), Suite::placement(), T(0.1)); };

    std::vector<Kind> all;
    all.push_back({"PolyLine", [=] { return polyLine(false); }, Derivation::Direction});
    all.push_back({"PolyLine, closed", [=] { return polyLine(true); }, Derivation::Direction});

    Kind line{"StraightLine", [=] { return std::make_shared<StraightLine<T, dim>>(corners[1], corners[3], T(0.1)); }};
    line.domainMovesEnds = false;
    all.push_back(line);

    all.push_back({"Circle", [] { return std::make_shared<Circle<T, dim>>(T(3), Suite::placement(), T(0.1)); }});
    all.push_back({"Circle, arc between points", [=] {
                     const P end = corners[0] + corners[1].getOrthoNormal() * T(2);
                     return std::make_shared<Circle<T, dim>>(corners[0], T(2), normal, corners[1], end, T(0.1));
                   }});
    all.push_back({"Circle, arc within bounds", [=] {
                     return within(std::make_shared<Circle<T, dim>>(T(2), Suite::placement(), T(0.1)), 1.0, 5.5);
                   }});

    Kind whole{"Ellipse", ellipse};
    whole.mirrorTurnsAround = true;
    whole.measuresLength = false;
    whole.hasBox = false;
    all.push_back(whole);
    Kind part = whole;
    part.name = "Ellipse, arc within bounds";
    part.make = [=] { return within(ellipse(), 0.5, 4.0); };
    all.push_back(part);

    const std::vector<P> ring = {at(0, 0, 0), at(4, 0, 1), at(5, 4, 2), at(0, 5, 0), at(-3, 2, 1), at(0, 0, 0)};
    const std::vector<double> weights = {1, 0.7, 1, 2, 1, 1}, knots = {2, 2, 2, 2, 3, 4.5, 5, 5, 5, 5};
    constexpr bool planar = dim == 2;
    Kind spline{"NurbsCurve, closed",
                [=] { return std::make_shared<NurbsCurve<T, dim>>(ring, knots, true, planar, false, T(0.1), false); }};
    if (std::is_same_v<T, float> && dim == 2) spline.derivation = Derivation::Refused;
    all.push_back(spline);
    spline.name = "NurbsCurve, piece of a rational one";
    spline.make = [=] {
      return within(std::make_shared<NurbsCurve<T, dim>>(ring, weights, knots, false, planar, false, T(0.1)), 2.3, 4.8);
    };
    all.push_back(spline);
    spline.domainMovesEnds = false;
    spline.name = "KvBSpline";
    spline.make = [=] { return std::make_shared<KvBSpline<T, dim>>(corners, false, T(0.1)); };
    all.push_back(spline);
    spline.name = "KvBSpline, closed";
    spline.reverseKeepsLength = false;
    spline.make = [=] { return std::make_shared<KvBSpline<T, dim>>(corners, true, T(0.1)); };
    all.push_back(spline);
    return all;
  }
};

template <class S>
class CurveSuiteTest : public testing::Test
{
protected:
  template <class Check>
  static void forEachKind(Check check)
  {
    for (const auto& kind : S::kinds()) {
      SCOPED_TRACE(kind.name);
      check(kind);
    }
  }
};

using Spaces = testing::Types<Space<float, 2>, Space<float, 3>, Space<double, 2>, Space<double, 3>>;
TYPED_TEST_SUITE(CurveSuiteTest, Spaces);

TYPED_TEST(CurveSuiteTest, DerivationIsTheRateOfTravel) { this->forEachKind(TypeParam::Suite::checkDerivation); }

TYPED_TEST(CurveSuiteTest, DiscretisationStaysWithinTheTolerance)
{
  this->forEachKind(TypeParam::Suite::checkDiscretisation);
}

TYPED_TEST(CurveSuiteTest, ReverseRunsTheSameWayBack) { this->forEachKind(TypeParam::Suite::checkReverse); }

TYPED_TEST(CurveSuiteTest, MirrorReflectsEachPoint) { this->forEachKind(TypeParam::Suite::checkMirror); }

TYPED_TEST(CurveSuiteTest, TransformMovesEachPoint) { this->forEachKind(TypeParam::Suite::checkTransform); }

TYPED_TEST(CurveSuiteTest, CopyIsDeepAndKeepsItsIdentifier) { this->forEachKind(TypeParam::Suite::checkCopy); }

TYPED_TEST(CurveSuiteTest, CopyOfAnotherKindIsRefused)
{
  this->forEachKind([this](const auto& kind) {
    this->forEachKind([&kind](const auto& other) { TypeParam::Suite::checkCopyOfAnotherKind(kind, other); });
  });
}

TYPED_TEST(CurveSuiteTest, ArchiveRoundTripKeepsEachPoint) { this->forEachKind(TypeParam::Suite::checkArchive); }

TYPED_TEST(CurveSuiteTest, DomainRules) { this->forEachKind(TypeParam::Suite::checkDomain); }

} // namespace
