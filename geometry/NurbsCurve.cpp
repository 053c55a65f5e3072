#include "geometry/NurbsCurve.h"

#include "geometry/CoordinateSystem.h"
#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "platform/kvarchive/Persistence.h"
#include "platform/kvcadcore/NurbsCurveRecord.h"
#include "platform/kvcadcore/nurbs/CurveEvaluation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportNurbsCurve2f", 500001, NurbsCurve<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportNurbsCurve3f", 500001, NurbsCurve<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportNurbsCurve2", 53013, NurbsCurve<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportNurbsCurve3", 53013, NurbsCurve<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (NurbsCurve<T, dim>))

namespace {

constexpr double equalEnds = 1e-12;          // per component, at or below: a closed line drops its last point
constexpr double equalForm = 1e-5;           // of the classification: numbers at most this far apart agree
constexpr double zeroSqrLength = 1e-10;      // of the classification: at or below is no length
constexpr double shortestNormalised = 1e-12; // of the classification

bool agree(double a, double b) { return std::abs(a - b) <= equalForm; }

template <class T, unsigned dim>
using View = Nurbs::CurveView<T, dim>;

template <class T, unsigned dim>
View<T, dim> viewOf(std::uint8_t degree, const std::vector<double>& knots, const std::vector<Point<T, dim>>& points,
                    const std::vector<double>& weights)
{
  static_assert(sizeof(Point<T, dim>) == dim * sizeof(T));
  return {degree, knots, &points.front()[0], weights.empty() ? nullptr : weights.data()};
}

template <class T, unsigned dim>
Point<T, dim> narrowed(const std::array<double, dim>& coordinates)
{
  Point<T, dim> point;
  for (unsigned i = 0; i < dim; ++i)
    point[i] = static_cast<T>(coordinates[i]);
  return point;
}

template <class T, unsigned dim>
PO_VEC widened(const Point<T, dim>& point)
{
  PO_VEC v{static_cast<double>(point[0]), static_cast<double>(point[1]), 0.0};
  if constexpr (dim == 3) v.z = static_cast<double>(point[2]);
  return v;
}

template <class T, unsigned dim>
Point<T, dim> narrowed(const PO_VEC& v)
{
  const double coordinates[] = {v.x, v.y, v.z};
  Point<T, dim> point;
  for (unsigned i = 0; i < dim; ++i)
    point[i] = static_cast<T>(coordinates[i]);
  return point;
}

/// Memory that the kernel frees, filled with zeros; null when there is none left.
template <class Element>
Element* allocateForKernel(std::size_t count)
{
  return static_cast<Element*>(std::calloc(std::max<std::size_t>(count, 1), sizeof(Element)));
}

/// Whether the polygon turns at b, between two legs of some length.
bool bends(const Point<double, 3>& a, const Point<double, 3>& b, const Point<double, 3>& c)
{
  Vector<double, 3> arriving = a - b;
  Vector<double, 3> leaving = b - c;
  if (arriving.sqrLength() <= zeroSqrLength || leaving.sqrLength() <= zeroSqrLength) return false;
  arriving.normalize(shortestNormalised);
  leaving.normalize(shortestNormalised);
  return arriving.cross(leaving).sqrLength() > zeroSqrLength;
}

/// Whether the numbers from `first` to before `last` agree with a given one.
bool allAgree(const std::vector<double>& numbers, std::size_t first, std::size_t last, double given)
{
  for (std::size_t i = first; i < last; ++i)
    if (!agree(numbers[i], given)) return false;
  return true;
}

/// Whether the weights alternate between 1 and w.
bool alternates(const std::vector<double>& weights, double w)
{
  for (std::size_t i = 0; i < weights.size(); ++i)
    if (!agree(weights[i], i % 2 == 0 ? 1.0 : w)) return false;
  return true;
}

/// Whether all knot gaps of some width agree, the outermost gaps left out.
bool hasUniformGaps(const std::vector<double>& knots)
{
  double width = 0.0;
  for (std::size_t i = 1; i + 2 < knots.size(); ++i) {
    const double gap = knots[i + 1] - knots[i];
    if (gap <= equalForm) continue;
    if (width == 0.0) width = gap;
    if (!agree(gap, width)) return false;
  }
  return true;
}

} // namespace

template <class T, unsigned dim>
void NurbsCurve<T, dim>::RecordDeleter::operator()(PO_IG_NURBS_CRV* record) const
{
  cw_ig_freeNurbsCurve(record);
}

// Construction --------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
NurbsCurve<T, dim>::NurbsCurve(T chordTolerance) : Curve<T, dim>(chordTolerance)
{}

template <class T, unsigned dim>
NurbsCurve<T, dim>::NurbsCurve(const std::vector<Point<T, dim>>& polygon, const std::vector<double>& pointWeights,
                               const std::vector<double>& knotVector, bool isNowClosed, bool isNowPlanar,
                               bool isNowPeriodical, T chordTolerance)
    : Curve<T, dim>(chordTolerance), controlPoints(polygon), weights(pointWeights), knots(knotVector),
      periodical(isNowPeriodical), closed(isNowClosed), planar(isNowPlanar)
{
  setDegreeFromCounts(controlPoints.size(), knots.size());
  setDomainFromKnots();
  determineTypeOfNurbsCurve();
}

template <class T, unsigned dim>
NurbsCurve<T, dim>::NurbsCurve(const std::vector<Point<T, dim>>& polygon, const std::vector<double>& knotVector,
                               bool isNowClosed, bool isNowPlanar, bool isNowPeriodical, T chordTolerance,
                               bool generateCache)
    : NurbsCurve(polygon, {}, knotVector, isNowClosed, isNowPlanar, isNowPeriodical, chordTolerance)
{
  if (generateCache) enableAndGenerateIgNurbsCurveCache();
}

template <class T, unsigned dim>
NurbsCurve<T, dim>::NurbsCurve(std::uint32_t controlPointCount, std::uint32_t weightCount, std::uint32_t knotCount,
                               bool isNowClosed, bool isNowPlanar, bool isNowPeriodical, T chordTolerance)
    : Curve<T, dim>(chordTolerance), periodical(isNowPeriodical), closed(isNowClosed), planar(isNowPlanar)
{
  controlPoints.reserve(controlPointCount);
  weights.reserve(weightCount);
  knots.reserve(knotCount);
  setDegreeFromCounts(controlPointCount, knotCount);
  determineTypeOfNurbsCurve();
}

template <class T, unsigned dim>
NurbsCurve<T, dim>::NurbsCurve(const NurbsCurve& other) : Curve<T, dim>(other.tolerance)
{
  copyNurbsCurve(other);
}

template <class T, unsigned dim>
NurbsCurve<T, dim>& NurbsCurve<T, dim>::operator=(const NurbsCurve& other)
{
  copyNurbsCurve(other);
  return *this;
}

template <class T, unsigned dim>
NurbsCurve<T, dim>::~NurbsCurve()
{
  clearIgNurbsCurveCache();
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::copy(const Curve<T, dim>& other)
{
  copyNurbsCurve(dynamic_cast<const NurbsCurve&>(other));
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::copyNurbsCurve(const NurbsCurve& other)
{
  this->domain = other.domain;
  this->tolerance = other.tolerance;
  controlPoints = other.controlPoints;
  weights = other.weights;
  knots = other.knots;
  type = other.type;
  degree = other.degree;
  periodical = other.periodical;
  closed = other.closed;
  planar = other.planar;
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> NurbsCurve<T, dim>::create() const
{
  return std::make_shared<NurbsCurve>(this->tolerance);
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::setDegreeFromCounts(std::size_t controlPointCount, std::size_t knotCount)
{
  degree = static_cast<std::uint8_t>(knotCount - controlPointCount - 1);
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::setDomainFromKnots()
{
  if (!knots.empty()) this->domain = Interval(knots.front(), knots.back(), false, false).sort();
}

// Form ----------------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
bool NurbsCurve<T, dim>::hasOpenKnotVector() const
{
  const std::size_t count = knots.size();
  if (count <= degree) return false;
  return knots[degree] > knots[0] || knots[count - 1] > knots[count - degree - 1u];
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::determineTypeOfNurbsCurve()
{
  if constexpr (std::is_same_v<T, double> && dim == 3) {
    const std::size_t count = knots.size();
    if (count == 2u * degree + 2u && weights.empty() && isStraightSpan()) {
      const bool clamped =
          allAgree(knots, 2, degree + 1u, knots[1]) && allAgree(knots, degree + 2u, count - 1, knots[degree + 1u]);
      type = clamped ? NurbsCurveType::Line : NurbsCurveType::General;
    } else {
      type = degree == 2 && weights.size() >= 2 ? conicForm() : NurbsCurveType::General;
    }
  }
}

template <class T, unsigned dim>
bool NurbsCurve<T, dim>::isStraightSpan() const
{
  if constexpr (std::is_same_v<T, double> && dim == 3)
    for (std::size_t i = 2; i < controlPoints.size(); ++i)
      if (bends(controlPoints[i - 2], controlPoints[i - 1], controlPoints[i])) return false;
  return true;
}

template <class T, unsigned dim>
NurbsCurveType NurbsCurve<T, dim>::conicForm() const
{
  const double w = weights[1];
  if (agree(w, -1.0) || !alternates(weights, w) || !hasUniformGaps(knots)) return NurbsCurveType::General;
  const double rho = w / (w + 1.0);
  if (std::abs(rho - 0.5) < equalForm) return NurbsCurveType::ParabolicArc;
  if (rho > 0.5) return NurbsCurveType::HyperbolicArc;
  if (!(rho < 0.5) || controlPoints.size() < 3) return NurbsCurveType::General;
  const auto first = static_cast<double>(controlPoints[0].distance(controlPoints[1]));
  const auto second = static_cast<double>(controlPoints[1].distance(controlPoints[2]));
  return agree(first, second) ? NurbsCurveType::CircularArc : NurbsCurveType::EllipticalArc;
}

// Record --------------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
typename NurbsCurve<T, dim>::Record NurbsCurve<T, dim>::createRecord() const
{
  Record record(allocateForKernel<PO_IG_NURBS_CRV>(1));
  if (!record) return nullptr;
  record->controlPoints = allocateForKernel<PO_VEC>(controlPoints.size());
  record->knots = allocateForKernel<double>(knots.size());
  if (!weights.empty()) record->weights = allocateForKernel<double>(weights.size());
  if (!record->controlPoints || !record->knots || (!weights.empty() && !record->weights)) return nullptr;

  std::transform(controlPoints.begin(), controlPoints.end(), record->controlPoints, widened<T, dim>);
  std::copy(knots.begin(), knots.end(), record->knots);
  std::copy(weights.begin(), weights.end(), record->weights);
  record->degree = degree;
  record->controlPointCount = static_cast<std::int32_t>(controlPoints.size());
  record->weightCount = static_cast<std::int32_t>(weights.size());
  record->knotCount = static_cast<std::int32_t>(knots.size());
  record->periodical = periodical ? 1 : 0;
  DOUBLE_ARRAY_minMax(record->knots, record->knotCount, &record->knotMinimum, &record->knotMaximum);
  return record;
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::enableAndGenerateIgNurbsCurveCache()
{
  igCurve = createRecord();
  igCacheEnabled = true;
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::disableAndCleanIgNurbsCurveCache()
{
  igCacheEnabled = false;
  clearIgNurbsCurveCache();
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::clearIgNurbsCurveCache()
{
  igCurve.reset();
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::makeClamped()
{
  if (!periodical && !hasOpenKnotVector()) return;
  requireMatchingCounts();
  const Record record = createRecord();
  if (!record || !PO_IG_NURBS_CRV_makeClamped(record.get()))
    throw ShapecoreException("NurbsCurve: The curve can't be clamped.");
  controlPoints.resize(static_cast<std::size_t>(record->controlPointCount));
  std::transform(record->controlPoints, record->controlPoints + record->controlPointCount, controlPoints.begin(),
                 [](const PO_VEC& v) { return narrowed<T, dim>(v); });
  knots.assign(record->knots, record->knots + record->knotCount);
  if (record->weightCount > 0) weights.assign(record->weights, record->weights + record->weightCount);
  periodical = false;
}

// Curve ---------------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
void NurbsCurve<T, dim>::requireMatchingCounts() const
{
  const std::size_t count = controlPoints.size();
  if (count <= degree || knots.size() != count + degree + 1 || (!weights.empty() && weights.size() != count))
    throw ShapecoreException("NurbsCurve: The numbers of control points, weights and knots don't match the degree.");
}

template <class T, unsigned dim>
Point<T, dim> NurbsCurve<T, dim>::evaluate(const double& t) const
{
  if (isIgNurbsCurveCacheReady()) {
    PO_VEC point{};
    if (!ra_al_DeBoor(&point, 0, t, igCurve.get()))
      throw ShapecoreException("NurbsCurve: The cache is no curve that can be evaluated.");
    return narrowed<T, dim>(point);
  }
  requireMatchingCounts();
  return narrowed<T, dim>(Nurbs::pointAt(viewOf(degree, knots, controlPoints, weights), t));
}

template <class T, unsigned dim>
Vector<T, dim> NurbsCurve<T, dim>::evaluateDerivation(const double& t) const
{
  if constexpr (std::is_same_v<T, float> && dim == 2) {
    throw ShapecoreException("Not yet implemented");
  } else {
    requireMatchingCounts();
    return narrowed<T, dim>(Nurbs::derivativesAt<1>(viewOf(degree, knots, controlPoints, weights), t)[1]);
  }
}

template <class T, unsigned dim>
Vector<T, dim> NurbsCurve<T, dim>::getStartTangent() const
{
  return evaluateDerivation(this->domain.lower);
}

template <class T, unsigned dim>
Vector<T, dim> NurbsCurve<T, dim>::getEndTangent() const
{
  return evaluateDerivation(this->domain.upper);
}

template <class T, unsigned dim>
int NurbsCurve<T, dim>::derivates(std::vector<Point<T, dim>>& derivatives, const double& t) const
{
  requireMatchingCounts();
  for (const auto& entry : Nurbs::derivativesAt<Nurbs::maxOrder>(viewOf(degree, knots, controlPoints, weights), t))
    derivatives.push_back(narrowed<T, dim>(entry));
  return std::is_same_v<T, double> && dim == 2 ? 0 : degree;
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::calcPolyLine(PolyLine<Point<T, dim>>& polyline) const
{
  Curve<T, dim>::calcPolyLine(polyline);
  const bool repeatsStart = polyline.isClosed() && polyline.numberOfPoints() >= 3 &&
                            polyline.back().isApproximatelyEqualTo(polyline.front(), equalEnds);
  if (repeatsStart) polyline.deletePoint(polyline.numberOfPoints() - 1);
}

template <class T, unsigned dim>
BoundingBox<T, dim> NurbsCurve<T, dim>::calculateBoundingBox() const
{
  BoundingBox<T, dim> box;
  for (const Point<T, dim>& point : controlPoints)
    box.enlarge(point);
  return box;
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::transform(const CoordinateSystem<T, dim>& system)
{
  for (Point<T, dim>& point : controlPoints)
    point.transform(system);
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::reverse()
{
  std::reverse(controlPoints.begin(), controlPoints.end());
  std::reverse(weights.begin(), weights.end());
  if (knots.empty()) return;
  const double first = knots.front();
  const double last = knots.back();
  for (double& knot : knots)
    knot = last - knot + first;
  std::reverse(knots.begin(), knots.end());
  const Interval& old = this->domain;
  this->setDomain(Interval(last - old.upper + first, last - old.lower + first, false, false).sort());
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> NurbsCurve<T, dim>::mirror(const Plane<T, dim>& plane) const
{
  auto image = std::make_shared<NurbsCurve>(*this);
  for (Point<T, dim>& point : image->controlPoints)
    plane.mirrorPoint(point);
  return image;
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<Curve<T, dim>>(archiver, *this);
  archiver << static_cast<int>(type);
  Persistence::saveContainer(archiver, controlPoints);
  Persistence::saveContainer(archiver, weights);
  Persistence::saveContainer(archiver, knots);
  archiver << static_cast<unsigned int>(degree) << periodical << closed << planar;
}

template <class T, unsigned dim>
void NurbsCurve<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<Curve<T, dim>>(archiver, *this);
  int form = 0;
  unsigned int wideDegree = 0;
  archiver >> form;
  Persistence::loadContainer(archiver, controlPoints);
  Persistence::loadContainer(archiver, weights);
  Persistence::loadContainer(archiver, knots);
  archiver >> wideDegree >> periodical >> closed >> planar;
  type = static_cast<NurbsCurveType>(form);
  degree = static_cast<std::uint8_t>(wideDegree);
  disableAndCleanIgNurbsCurveCache();
}

#define KV_INSTANTIATE(...) template class NurbsCurve<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
