#include "geometry/Curve.h"

#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "platform/kvarchive/Persistence.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportCurve2f", 500001, Curve<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportCurve3f", 500001, Curve<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportCurve2", 53013, Curve<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportCurve3", 53013, Curve<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Curve<T, dim>))

namespace {

constexpr double shortestStretch = 1e-5; // parameter width strictly below: not refined
constexpr int relativeDepth = 5;
constexpr int mostRounds = 1000; // of each iteration in findIntersection

struct Probe
{
  double fraction;
  double sqrChordToSag; // the relative rule fires below this ratio of chord to sag, squared
};
constexpr std::array<Probe, 3> probes = {{{0.5, 900.0}, {0.25, 1600.0}, {0.75, 1600.0}}};

/// Collects the vertices that a stretch of a curve gains, in order.
template <class T, unsigned dim>
class Refiner
{
public:
  Refiner(const Curve<T, dim>& refined, std::vector<Point<T, dim>>& vertices)
      : curve(refined), sqrTolerance(refined.getTolerance() * refined.getTolerance()), out(vertices)
  {}

  void refine(const Point<T, dim>& a, double t0, const Point<T, dim>& b, double t1, int depth)
  {
    const double dt = t1 - t0;
    if (std::abs(dt) < shortestStretch) return;
    const Vector<T, dim> chord = b - a;
    const T sqrChord = chord.sqrLength();
    for (const Probe& probe : probes) {
      const double t = probe.fraction * dt + t0;
      const Point<T, dim> q = curve.evaluate(t);
      const T sqrSag = q.sqrDistance(a + chord * static_cast<T>(probe.fraction));
      const bool absolute = sqrSag > sqrTolerance;
      const bool relative = depth < relativeDepth && sqrSag * static_cast<T>(probe.sqrChordToSag) > sqrChord;
      if (!absolute && !relative) continue;
      const int nextDepth = absolute ? depth : depth + 1;
      if (t - t0 > 0.0) refine(a, t0, q, t, nextDepth);
      out.push_back(q);
      if (t1 - t > 0.0) refine(q, t, b, t1, nextDepth);
      return;
    }
  }

private:
  const Curve<T, dim>& curve;
  T sqrTolerance;
  std::vector<Point<T, dim>>& out;
};

/// Whether an iteration that went from one parameter to the other will stay there.
bool isStuck(double from, double to) { return from == to || (std::isnan(from) && std::isnan(to)); }

/// Signed distances of the points of a curve from a plane, over a stretch [a, b] of the parameter.
template <class T, unsigned dim>
class PlaneSearch
{
public:
  PlaneSearch(const Curve<T, dim>& searched, const Plane<T, dim>& cut, T eps)
      : curve(searched), normal(cut.getNormal()), distance(cut.getDistance()), limit(eps),
        a(searched.getDomain().lower), b(searched.getDomain().upper), fa(residual(curve.evaluate(a))),
        fb(residual(curve.evaluate(b)))
  {}

  bool endsLieOnOneSide() const { return fa * fb > T(0) && std::abs(fa) > limit && std::abs(fb) > limit; }

  bool findByNewton(Point<T, dim>& result, Vector<T, dim>* tangent) const
  {
    const T level = normal.dot(normal * distance);
    double t = chordZero();
    for (int round = 0; round < mostRounds; ++round) {
      const Point<T, dim> point = curve.evaluate(t);
      const Vector<T, dim> derivation = curve.evaluateDerivation(t);
      const T rest = normal.dot(point) - level;
      if (std::abs(rest) < limit) {
        result = point;
        if (tangent) *tangent = derivation;
        return true;
      }
      const double next = clamped(t - static_cast<double>(rest / normal.dot(derivation)));
      if (isStuck(t, next)) return false;
      t = next;
    }
    return false;
  }

  bool findByFalsePosition(Point<T, dim>& result, Vector<T, dim>* tangent)
  {
    double last = 0.0;
    for (int round = 0; round < mostRounds; ++round) {
      const double t = chordZero();
      if (round > 0 && isStuck(last, t)) return false;
      last = t;
      result = curve.evaluate(t);
      const T f = residual(result);
      if (std::abs(f) < limit) {
        if (tangent) *tangent = curve.evaluateDerivation(t);
        return true;
      }
      if (f * fa > T(0) && std::abs(fa) > limit && std::abs(f) > limit) {
        a = t;
        fa = f;
      } else {
        b = t;
        fb = f;
      }
    }
    return false;
  }

private:
  T residual(const Point<T, dim>& point) const { return normal.dot(point) - distance; }

  double chordZero() const
  {
    const double low = static_cast<double>(fa);
    const double high = static_cast<double>(fb);
    return (high * a - low * b) / (high - low);
  }

  double clamped(double t) const { return t < a ? a : t > b ? b : t; }

  const Curve<T, dim>& curve;
  Vector<T, dim> normal;
  T distance;
  T limit;
  double a;
  double b;
  T fa;
  T fb;
};

double tangentStep(const Interval& domain) { return std::min((domain.upper - domain.lower) * 0.01, 0.01); }

} // namespace

template <class T, unsigned dim>
Curve<T, dim>::Curve(T chordTolerance) : tolerance(chordTolerance)
{}

template <class T, unsigned dim>
Curve<T, dim>::Curve(double lower, double upper, T chordTolerance)
    : domain(Interval(lower, upper, false, false).sort()), tolerance(chordTolerance)
{}

template <class T, unsigned dim>
Curve<T, dim>::Curve(Curve&& other) noexcept : domain(other.domain), tolerance(other.tolerance), id(other.id)
{
  other.domain = Interval();
  other.tolerance = T(0);
  other.id = Identifier::getInvalidId();
}

template <class T, unsigned dim>
Curve<T, dim>& Curve<T, dim>::operator=(Curve&& other) noexcept
{
  if (this == &other) return *this;
  domain = std::exchange(other.domain, Interval());
  tolerance = std::exchange(other.tolerance, T(0));
  id = std::exchange(other.id, Identifier::getInvalidId());
  return *this;
}

template <class T, unsigned dim>
Curve<T, dim>::~Curve() = default;

template <class T, unsigned dim>
void Curve<T, dim>::setStart(const Point<T, dim>& /*point*/)
{}

template <class T, unsigned dim>
void Curve<T, dim>::setEnd(const Point<T, dim>& /*point*/)
{}

template <class T, unsigned dim>
Point<T, dim> Curve<T, dim>::getStart() const
{
  return evaluate(domain.lower);
}

template <class T, unsigned dim>
Point<T, dim> Curve<T, dim>::getEnd() const
{
  return evaluate(domain.upper);
}

template <class T, unsigned dim>
Point<T, dim> Curve<T, dim>::getMid() const
{
  return evaluate((domain.upper + domain.lower) * 0.5);
}

template <class T, unsigned dim>
Vector<T, dim> Curve<T, dim>::getStartTangent() const
{
  const double t = std::min(domain.lower + tangentStep(domain), domain.upper);
  return evaluate(t) - getStart();
}

template <class T, unsigned dim>
Vector<T, dim> Curve<T, dim>::getEndTangent() const
{
  const double t = std::max(domain.upper - tangentStep(domain), domain.lower);
  return getEnd() - evaluate(t);
}

template <class T, unsigned dim>
void Curve<T, dim>::setTolerance(T chordTolerance)
{
  tolerance = chordTolerance;
}

template <class T, unsigned dim>
bool Curve<T, dim>::isClosed() const
{
  return false;
}

template <class T, unsigned dim>
void Curve<T, dim>::setDomain(const Interval& interval)
{
  domain = interval;
}

template <class T, unsigned dim>
void Curve<T, dim>::setDomainStart(double lower)
{
  setDomain(Interval(lower, domain.upper, false, false).sort());
}

template <class T, unsigned dim>
void Curve<T, dim>::setDomainEnd(double upper)
{
  setDomain(Interval(domain.lower, upper, false, false).sort());
}

template <class T, unsigned dim>
int Curve<T, dim>::derivates(std::vector<Point<T, dim>>& /*derivatives*/, const double& /*t*/) const
{
  return 0;
}

template <class T, unsigned dim>
void Curve<T, dim>::calcPolyLine(PolyLine<Point<T, dim>>& polyline) const
{
  polyline.clear();
  polyline.addPoint(getStart());
  polyline.addPoint(getEnd());
  refine(polyline, 0, domain.lower, domain.upper, 0);
  polyline.setClosed(isClosed());
}

template <class T, unsigned dim>
void Curve<T, dim>::refine(PolyLine<Point<T, dim>>& polyline, int index, double t0, double t1, int depth) const
{
  const auto at = static_cast<std::size_t>(index);
  std::vector<Point<T, dim>> inner;
  Refiner<T, dim>(*this, inner).refine(polyline[at], t0, polyline[at + 1], t1, depth);
  auto& points = polyline.getPointCollection();
  points.insert(points.begin() + index + 1, inner.begin(), inner.end());
}

template <class T, unsigned dim>
T Curve<T, dim>::getLength() const
{
  PolyLine<Point<T, dim>> polyline;
  calcPolyLine(polyline);
  return polyline.getLength();
}

template <class T, unsigned dim>
BoundingBox<T, dim> Curve<T, dim>::calculateBoundingBox() const
{
  PolyLine<Point<T, dim>> polyline;
  calcPolyLine(polyline);
  return polyline.calculateBoundingBox();
}

template <class T, unsigned dim>
void Curve<T, dim>::setSymmetricalEnd(bool /*atStart*/, const Plane<T, dim>& /*plane*/)
{
  throw ShapecoreException("Not implemented yet!");
}

template <class T, unsigned dim>
bool Curve<T, dim>::findIntersection(const Plane<T, dim>& plane, T eps, Point<T, dim>& result,
                                     Vector<T, dim>* tangent) const
{
  PlaneSearch<T, dim> search(*this, plane, eps);
  if (search.endsLieOnOneSide()) return false;
  return search.findByNewton(result, tangent) || search.findByFalsePosition(result, tangent);
}

template <class T, unsigned dim>
bool Curve<T, dim>::isEqual(const std::shared_ptr<const Curve>& other) const
{
  return other.get() == this;
}

template <class T, unsigned dim>
void Curve<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveObject(archiver, domain);
  archiver << tolerance;
  Persistence::saveObject(archiver, id);
}

template <class T, unsigned dim>
void Curve<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadObject(archiver, domain);
  archiver >> tolerance;
  Persistence::loadObject(archiver, id);
}

#define KV_INSTANTIATE(...) template class Curve<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
