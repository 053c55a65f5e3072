#pragma once

#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "geometry/StraightLine.h"
#include "platform/kvmath/MatrixFunctions.h"
#include "support/ArchiveWriter.h"
#include "support/Matchers.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <typeinfo>

namespace Kavrel::Testing {

/// What the derivation of a kind of curve tells.
enum class Derivation
{
  Velocity,  // the derivative by the parameter
  Direction, // its direction alone
  Refused
};

/// A kind of curve for the checks below: coordinates of up to about 10, curved no more than a circle of radius 0.5.
/// Flags tell where a kind deviates from what curves have in common.
template <class T, unsigned dim>
struct CurveKind
{
  std::string name;
  std::function<std::shared_ptr<Curve<T, dim>>()> make;
  Derivation derivation = Derivation::Velocity;
  bool mirrorTurnsAround = false; // the mirror image runs the other way
  bool reverseKeepsLength = true; // else it moves the start of a closed curve to another point
  bool measuresLength = true;     // else the length is an estimate
  bool hasBox = true;             // else the box is refused
  bool domainMovesEnds = true;    // else ends, and with them lengths, take no notice of the domain
};

template <class T, unsigned dim>
class CurveSuite
{
public:
  using Kind = CurveKind<T, dim>;
  using CurveType = Curve<T, dim>;
  using P = Point<T, dim>;
  using V = Vector<T, dim>;

  static constexpr bool isFloat = std::is_same_v<T, float>;
  static constexpr double eps = isFloat ? 1e-4 : 1e-11;

  static void checkDerivation(const Kind& kind)
  {
    const auto curve = kind.make();
    if (kind.derivation == Derivation::Refused) {
      EXPECT_THROW(curve->evaluateDerivation(parameter(*curve, 0.5)), ShapecoreException);
      return;
    }
    const double step = (isFloat ? 4e-3 : 1e-5) * width(*curve);
    for (const double f : innerFractions) {
      SCOPED_TRACE(f);
      const double t = parameter(*curve, f);
      V expected = (curve->evaluate(t + step) - curve->evaluate(t - step)) / static_cast<T>(2.0 * step);
      V actual = curve->evaluateDerivation(t);
      if (kind.derivation == Derivation::Direction) {
        ASSERT_TRUE(expected.normalize() && actual.normalize());
      }
      EXPECT_THAT(actual, IsNear(expected, (isFloat ? 2e-2 : 1e-6) * width(*curve)));
    }
    const auto& domain = curve->getDomain();
    EXPECT_LT(curve->getStartTangent().angle(curve->evaluateDerivation(domain.lower)), 0.05);
    EXPECT_LT(curve->getEndTangent().angle(curve->evaluateDerivation(domain.upper)), 0.05);
  }

  static void checkDiscretisation(const Kind& kind)
  {
    const auto curve = kind.make();
    const auto dense = sampled(*curve);
    for (const double tolerance : {0.5, 0.05, 0.005}) {
      SCOPED_TRACE(tolerance);
      curve->setTolerance(static_cast<T>(tolerance));
      PolyLine<P> polyline;
      polyline.addPoint(P());
      curve->calcPolyLine(polyline);
      EXPECT_EQ(polyline.isClosed(), curve->isClosed());
      EXPECT_THAT(polyline.front(), IsNear(curve->getStart(), eps));
      if (!curve->isClosed()) {
        EXPECT_THAT(polyline.back(), IsNear(curve->getEnd(), eps));
      }
      double worst = 0.0, offCurve = 0.0;
      for (const P& p : dense)
        worst = std::max(worst, static_cast<double>(polyline.dist(p)));
      for (const P& p : polyline)
        offCurve = std::max(offCurve, static_cast<double>(dense.dist(p)));
      EXPECT_LE(worst, tolerance + eps);
      EXPECT_LE(offCurve, 0.01) << "vertices lie on the curve";
      checkBox(kind, *curve, dense, tolerance);
    }
    if (kind.measuresLength) {
      EXPECT_NEAR(curve->getLength(), dense.getLength(), 2e-3 * static_cast<double>(dense.getLength()));
    }
  }

  static void checkReverse(const Kind& kind)
  {
    const auto curve = kind.make(), turned = kind.make();
    const Identifier id = turned->getId();
    turned->reverse();
    expectImage(kind, *turned, *curve, true, keep, kind.reverseKeepsLength);
    if (!curve->isClosed()) {
      EXPECT_THAT(turned->getStart(), IsNear(curve->getEnd(), eps));
      EXPECT_THAT(turned->getEnd(), IsNear(curve->getStart(), eps));
    }
    turned->reverse();
    expectImage(kind, *turned, *curve, false, keep);
    EXPECT_NEAR(turned->getDomain().lower, curve->getDomain().lower, 1e-12);
    EXPECT_TRUE(turned->getId() == id);
  }

  static void checkMirror(const Kind& kind)
  {
    V normal;
    for (unsigned i = 0; i < dim; ++i)
      normal[i] = T(i) + T(0.5);
    normal.normalize();
    const Plane<T, dim> plane(normal, T(1.25));
    const auto curve = kind.make(), image = curve->mirror(plane);
    expectImage(kind, *image, *curve, kind.mirrorTurnsAround, place(CoordinateSystem<T, dim>().setUpMirror(plane)));
    EXPECT_FALSE(image->getId() == curve->getId());
  }

  static void checkTransform(const Kind& kind)
  {
    const auto curve = kind.make(), moved = kind.make();
    const Identifier id = moved->getId();
    moved->transform(placement());
    expectImage(kind, *moved, *curve, false, place(placement()));
    EXPECT_TRUE(moved->getId() == id);
  }

  static void checkCopy(const Kind& kind)
  {
    const auto curve = kind.make(), twin = curve->create();
    curve->setTolerance(T(0.25));
    const Identifier id = twin->getId();
    EXPECT_FALSE(id == curve->getId());
    twin->copy(*curve);
    expectImage(kind, *twin, *curve, false, keep);
    EXPECT_TRUE(twin->getId() == id);
    twin->transform(placement());
    curve->setTolerance(kind.make()->getTolerance());
    const PolyLine<P> polyline;
    const StraightLine<T, dim> line;
    const CurveType* stranger = &line;
    if (dynamic_cast<const StraightLine<T, dim>*>(curve.get())) stranger = &polyline;
    EXPECT_THROW(curve->copy(*stranger), std::bad_cast);
    expectImage(kind, *curve, *kind.make(), false, keep);
  }

  static void checkArchive(const Kind& kind)
  {
    const std::shared_ptr<CurveType> curve = kind.make();
    curve->setTolerance(T(0.25));
    ArchiveWriter writer;
    Persistence::savePointer(writer.archive(), curve);
    const auto bytes = writer.bytes();
    PersistenceArchiver archive;
    archive.openForReading(bytes);
    std::shared_ptr<CurveType> loaded;
    Persistence::loadPointer(archive, loaded);
    ASSERT_TRUE(loaded);
    expectImage(kind, *loaded, *curve, false, keep);
    EXPECT_TRUE(loaded->getId() == curve->getId());
    EXPECT_EQ(loaded->getDomain(), curve->getDomain());
  }

  static void checkDomain(const Kind& kind)
  {
    const auto curve = kind.make(), head = kind.make(), tail = kind.make();
    const Interval domain = curve->getDomain();
    EXPECT_THAT(curve->getMid(), IsNear(pointAt(*curve, 0.5), eps));
    const double cut = parameter(*curve, 0.375);
    head->setDomainEnd(cut);
    tail->setDomainStart(cut);
    EXPECT_EQ(head->getDomain(), Interval(domain.lower, cut, false, false));
    EXPECT_EQ(tail->getDomain(), Interval(cut, domain.upper, false, false));
    EXPECT_THAT(head->getStart(), IsNear(curve->getStart(), eps));
    EXPECT_THAT(head->getEnd(), IsNear(kind.domainMovesEnds ? curve->evaluate(cut) : curve->getEnd(), eps));
    EXPECT_THAT(tail->getStart(), IsNear(kind.domainMovesEnds ? curve->evaluate(cut) : curve->getStart(), eps));
    if (kind.domainMovesEnds && !curve->isClosed()) { // parts of a closed curve stay marked as closed
      EXPECT_NEAR((head->getLength() + tail->getLength()) / curve->getLength(), 1.0, 0.02);
    }
    head->setDomainStart(domain.upper + 1.0);
    EXPECT_EQ(head->getDomain(), Interval(cut, domain.upper + 1.0, false, false));
  }

  /// A turn and a shift in general position.
  static CoordinateSystem<T, dim> placement()
  {
    P origin;
    for (unsigned i = 0; i < dim; ++i)
      origin[i] = T(i) * T(2) - T(1);
    if constexpr (dim == 2)
      return {OrthMatrix<T, 2>(MatrixFunctions::makeRotationMatrix(T(0.7))), origin};
    else
      return {OrthMatrix<T, 3>(MatrixFunctions::makeRotationMatrix(T(0.7), V(1, 2, 3)).second), origin};
  }

private:
  static constexpr double innerFractions[] = {0.03, 0.11, 0.23, 0.31, 0.47, 0.62, 0.67, 0.79, 0.91, 0.98};

  static double width(const CurveType& curve) { return curve.getDomain().length(); }
  static double parameter(const CurveType& curve, double f) { return curve.getDomain().lower + f * width(curve); }
  static P pointAt(const CurveType& curve, double f) { return curve.evaluate(parameter(curve, f)); }

  static constexpr auto keep = [](const auto& x) { return x; };

  static auto place(const CoordinateSystem<T, dim>& system)
  {
    return [system]<class X>(const X& x) {
      if constexpr (std::is_same_v<X, P>)
        return P(x).transform(system);
      else
        return system.transformVectorCopy(x);
    };
  }

  static PolyLine<P> sampled(const CurveType& curve)
  {
    PolyLine<P> polyline;
    for (int i = 0; i <= 1500; ++i)
      polyline.addPoint(pointAt(curve, i / 1500.0));
    return polyline;
  }

  static void checkBox(const Kind& kind, const CurveType& curve, const PolyLine<P>& samples, double tolerance)
  {
    if (!kind.hasBox) {
      EXPECT_THROW(curve.calculateBoundingBox(), ShapecoreException);
      return;
    }
    double worst = 0.0;
    const auto box = curve.calculateBoundingBox();
    for (const P& p : samples)
      worst = std::max(worst, static_cast<double>(box.distance(p)));
    EXPECT_LE(worst, tolerance + eps);
  }

  /// Each point and derivation of \p actual is what \p map makes of that of \p original at the same fraction of the
  /// domain, or, run backwards, at the opposite one; and all that a motion keeps is kept.
  template <class Map>
  static void expectImage(const Kind& kind, const CurveType& actual, const CurveType& original, bool backwards, Map map,
                          bool keepsLength = true)
  {
    for (const double f : innerFractions) {
      SCOPED_TRACE(f);
      const double g = backwards ? 1.0 - f : f;
      EXPECT_THAT(pointAt(actual, f), IsNear(map(pointAt(original, g)), eps));
      if (kind.derivation == Derivation::Refused) continue;
      const V expected = map(original.evaluateDerivation(parameter(original, g)));
      EXPECT_THAT(actual.evaluateDerivation(parameter(actual, f)), IsNear(backwards ? -expected : expected, 10 * eps));
    }
    EXPECT_TRUE(typeid(actual) == typeid(original));
    EXPECT_EQ(actual.getTolerance(), original.getTolerance());
    EXPECT_EQ(actual.isClosed(), original.isClosed());
    EXPECT_NEAR(width(actual), width(original), 1e-12);
    if (keepsLength) {
      EXPECT_NEAR(actual.getLength() / original.getLength(), 1.0, 10 * eps);
    }
  }
};

} // namespace Kavrel::Testing
