#include "support/CurveSuite.h"

#include "geometry/Circle.h"
#include "geometry/Ellipse.h"
#include "geometry/KvBSpline.h"
#include "geometry/NurbsCurve.h"

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

  template <class C, class... Args>
  static auto made(const Args&... args)
  {
    return [=] { return std::make_shared<C>(args...); };
  }
  template <class Make>
  static auto closed(const Make& make)
  {
    return [=] {
      auto curve = make();
      curve->setClosed(true);
      return curve;
    };
  }
  template <class Make>
  static auto within(const Make& make, double lower, double upper)
  {
    return [=] {
      auto curve = make();
      curve->setDomain(Interval(lower, upper, false, false));
      curve->setClosed(false);
      return curve;
    };
  }

  static std::vector<Kind> kinds()
  {
    constexpr T tolerance = T(0.1);
    std::vector<Kind> all;
    const auto add = [&all](const char* name, const auto& make) -> Kind& { return all.emplace_back(Kind{name, make}); };

    const std::vector<P> corners = {at(0, 0, 0), at(3, 1, 2), at(4, 5, 1), at(-1, 4, 3)};
    const auto line = made<PolyLine<P>>(corners, 0.1);
    add("PolyLine", line).derivation = Derivation::Direction;
    add("PolyLine, closed", closed(line)).derivation = Derivation::Direction;
    add("StraightLine", made<StraightLine<T, dim>>(corners[1], corners[3], tolerance)).domainMovesEnds = false;

    const auto circle = made<Circle<T, dim>>(T(3), Suite::placement(), tolerance);
    const Vector<T, dim> normal = at(0.3, -0.2, 1);
    const P end = corners[0] + corners[1].getOrthoNormal() * T(2);
    add("Circle", circle);
    add("Circle, arc within bounds", within(circle, 1.0, 5.5));
    add("Circle, arc between points", made<Circle<T, dim>>(corners[0], T(2), normal, corners[1], end, tolerance));

    const auto ellipse = made<Ellipse<T, dim>>(T(4), T(1.5), Suite::placement(), tolerance);
    add("Ellipse", ellipse);
    add("Ellipse, arc within bounds", within(ellipse, 0.5, 4.0));
    for (auto kind = all.end() - 2; kind != all.end(); ++kind) {
      kind->mirrorTurnsAround = true;
      kind->measuresLength = kind->hasBox = false;
    }

    const std::vector<P> ring = {at(0, 0, 0), at(4, 0, 1), at(5, 4, 2), at(0, 5, 0), at(-3, 2, 1), at(0, 0, 0)};
    const std::vector<double> weights = {1, 0.7, 1, 2, 1, 1}, knots = {2, 2, 2, 2, 3, 4.5, 5, 5, 5, 5};
    using Nurbs = NurbsCurve<T, dim>;
    constexpr bool planar = dim == 2;
    add("NurbsCurve, closed", made<Nurbs>(ring, knots, true, planar, false, tolerance, false));
    const auto rational = made<Nurbs>(ring, weights, knots, false, planar, false, tolerance);
    add("NurbsCurve, piece of a rational one", within(rational, 2.3, 4.8));
    add("KvBSpline", made<KvBSpline<T, dim>>(corners, false, tolerance)).domainMovesEnds = false;
    Kind& loop = add("KvBSpline, closed", made<KvBSpline<T, dim>>(corners, true, tolerance));
    loop.domainMovesEnds = loop.reverseKeepsLength = false;
    if (std::is_same_v<T, float> && dim == 2)
      for (auto kind = all.end() - 4; kind != all.end(); ++kind)
        kind->derivation = Derivation::Refused;
    return all;
  }
};

template <class S>
class CurveSuiteTest : public testing::Test
{};
using Spaces = testing::Types<Space<float, 2>, Space<float, 3>, Space<double, 2>, Space<double, 3>>;
TYPED_TEST_SUITE(CurveSuiteTest, Spaces);

TYPED_TEST(CurveSuiteTest, EveryKindIsACurve)
{
  using Suite = typename TypeParam::Suite;
  const std::pair<const char*, void (*)(const typename TypeParam::Kind&)> checks[] = {
      {"the derivation is the rate of travel", Suite::checkDerivation},
      {"the discretisation stays within the tolerance", Suite::checkDiscretisation},
      {"reverse runs the same way back", Suite::checkReverse},
      {"mirror reflects each point", Suite::checkMirror},
      {"transform moves each point", Suite::checkTransform},
      {"a copy is deep and keeps its identifier", Suite::checkCopy},
      {"an archive keeps each point", Suite::checkArchive},
      {"domain", Suite::checkDomain},
  };
  for (const auto& kind : TypeParam::kinds())
    for (const auto& [rule, check] : checks) {
      SCOPED_TRACE(kind.name + ": " + rule);
      check(kind);
    }
}

} // namespace
