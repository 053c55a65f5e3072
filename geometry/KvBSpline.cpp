#include "geometry/KvBSpline.h"

#include "geometry/ChordLengthSpline.h"
#include "geometry/CoordinateSystem.h"
#include "geometry/DoublePrecision.h"
#include "geometry/NurbsCurve.h"
#include "geometry/Plane.h"
#include "geometry/PolyLine.h"
#include "geometry/PolyLineDump.h"
#include "geometry/PolyLineExactNearest.h"
#include "geometry/PolyLinePlaces.h"
#include "platform/kvarchive/Persistence.h"

#include <algorithm>
#include <utility>

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportKvBSpline2f", 500001, KvBSpline<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportKvBSpline3f", 500001, KvBSpline<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportKvBSpline2", 500000, KvBSpline<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportKvBSpline3", 500000, KvBSpline<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (KvBSpline<T, dim>))

namespace {

template <class T, unsigned dim>
std::vector<Vector<double, dim>> toDouble(const std::vector<Point<T, dim>>& points)
{
  std::vector<Vector<double, dim>> result(points.size());
  std::transform(points.begin(), points.end(), result.begin(),
                 [](const Point<T, dim>& p) { return Kavrel::toDouble(p); });
  return result;
}

template <class T, unsigned dim>
std::vector<Point<T, dim>> narrowed(const std::vector<Vector<double, dim>>& points)
{
  std::vector<Point<T, dim>> result(points.size());
  for (std::size_t i = 0; i < points.size(); ++i)
    for (unsigned axis = 0; axis < dim; ++axis)
      result[i][axis] = static_cast<T>(points[i][axis]);
  return result;
}

/// PolyLine::calculateParameter() of many points, in the scalar that a trim takes.
template <class P>
std::vector<typename P::Scalar> parametersOf(const std::vector<P>& points, const PolyLine<P>& polyline)
{
  std::vector<double> vertexParameters;
  polyline.getPointParameters(&vertexParameters);
  const PolyLineNearest::ManyNearest<P> nearest(polyline, points.size());
  std::vector<typename P::Scalar> parameters;
  parameters.reserve(points.size());
  for (const P& point : points) {
    double u = 0.0;
    std::size_t segment = 0;
    nearest.sqrDist(point, u, segment);
    const double parameter = (1.0 - u) * vertexParameters[segment] + u * vertexParameters[segment + 1];
    parameters.push_back(static_cast<typename P::Scalar>(parameter));
  }
  return parameters;
}

/// PolyLineAlgorithm::trim() between each parameter and the next, with one walk along the polyline for all.
template <class P>
std::vector<std::shared_ptr<PolyLine<P>>> piecesBetween(const std::vector<typename P::Scalar>& parameters,
                                                        const PolyLine<P>& polyline)
{
  PolyLine<P> empty(static_cast<double>(polyline.getTolerance()));
  empty.setId(polyline.getId());
  const PolyLinePlaces::ManyPlaces<P> places(polyline);
  std::vector<std::shared_ptr<PolyLine<P>>> pieces;
  pieces.reserve(parameters.size());
  auto from = places.at(static_cast<double>(parameters.front()));
  for (std::size_t k = 1; k < parameters.size(); ++k) {
    const auto to = places.at(static_cast<double>(parameters[k]));
    auto piece = std::make_shared<PolyLine<P>>(empty);
    PolyLinePlaces::appendPiece(polyline, from, to, !(parameters[k - 1] > parameters[k]), piece->getPointCollection());
    piece->setClosed(PolyLinePlaces::closes(from.point, to.point));
    pieces.push_back(std::move(piece));
    from = to;
  }
  return pieces;
}

} // namespace

// Construction --------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
KvBSpline<T, dim>::KvBSpline(T chordTolerance)
    : Curve<T, dim>(chordTolerance), nurbsCurve(std::make_shared<NurbsCurve<T, dim>>(chordTolerance))
{}

template <class T, unsigned dim>
KvBSpline<T, dim>::KvBSpline(const std::vector<Position>& points, bool isNowClosed, T chordTolerance)
    : KvBSpline(points, Direction(), Direction(), isNowClosed, chordTolerance)
{}

template <class T, unsigned dim>
KvBSpline<T, dim>::KvBSpline(const std::vector<Position>& points, const Direction& tangentAtStart,
                             const Direction& tangentAtEnd, bool isNowClosed, T chordTolerance)
    : KvBSpline(chordTolerance)
{
  interpolationPoints = points;
  startTangent = tangentAtStart;
  endTangent = tangentAtEnd;
  closed = isNowClosed;
  updateCurves();
}

template <class T, unsigned dim>
KvBSpline<T, dim>::KvBSpline(const KvBSpline& other) : Curve<T, dim>(other.tolerance)
{
  copyKvBSpline(other);
}

template <class T, unsigned dim>
KvBSpline<T, dim>& KvBSpline<T, dim>::operator=(const KvBSpline& other)
{
  copyKvBSpline(other);
  return *this;
}

template <class T, unsigned dim>
KvBSpline<T, dim>::~KvBSpline() = default;

template <class T, unsigned dim>
void KvBSpline<T, dim>::copy(const Curve<T, dim>& other)
{
  copyKvBSpline(dynamic_cast<const KvBSpline&>(other));
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::copyKvBSpline(const KvBSpline& other)
{
  this->domain = other.domain;
  this->tolerance = other.tolerance;
  interpolationPoints = other.interpolationPoints;
  startTangent = other.startTangent;
  endTangent = other.endTangent;
  startNormal = other.startNormal;
  endNormal = other.endNormal;
  closed = other.closed;
  nurbsCurve = std::make_shared<NurbsCurve<T, dim>>(*other.nurbsCurve);
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> KvBSpline<T, dim>::create() const
{
  return std::make_shared<KvBSpline>(this->tolerance);
}

// Edits ---------------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
void KvBSpline<T, dim>::addInterpolationPoint(const Position& point, std::size_t index)
{
  if (index > interpolationPoints.size()) return;
  interpolationPoints.insert(interpolationPoints.begin() + static_cast<std::ptrdiff_t>(index), point);
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::deleteInterpolationPoint(std::size_t index)
{
  if (index >= interpolationPoints.size()) return;
  interpolationPoints.erase(interpolationPoints.begin() + static_cast<std::ptrdiff_t>(index));
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::deleteMultipleInterpolationPoints(const std::vector<std::size_t>& indices)
{
  std::vector<bool> isDeleted(interpolationPoints.size());
  for (const std::size_t index : indices)
    if (index < isDeleted.size()) isDeleted[index] = true;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < isDeleted.size(); ++i)
    if (!isDeleted[i]) interpolationPoints[kept++] = interpolationPoints[i];
  interpolationPoints.resize(kept);
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::moveInterpolationPoint(std::size_t index, const Position& point)
{
  if (index >= interpolationPoints.size()) return;
  interpolationPoints[index] = point;
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::moveMultipleInterpolationPoints(const std::vector<std::size_t>& indices,
                                                        const std::vector<Position>& points)
{
  if (indices.size() != points.size()) return;
  for (std::size_t i = 0; i < indices.size(); ++i)
    if (indices[i] < interpolationPoints.size()) interpolationPoints[indices[i]] = points[i];
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::setStart(const Position& point)
{
  moveInterpolationPoint(0, point);
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::setEnd(const Position& point)
{
  if (!interpolationPoints.empty()) moveInterpolationPoint(interpolationPoints.size() - 1, point);
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::setStartTangent(const Direction& tangent)
{
  startTangent = tangent;
  startNormal = Direction();
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::setEndTangent(const Direction& tangent)
{
  endTangent = tangent;
  endNormal = Direction();
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::setStartNormal(const Direction& normal)
{
  startNormal = normal;
  startTangent = Direction();
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::setEndNormal(const Direction& normal)
{
  endNormal = normal;
  endTangent = Direction();
  updateCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::setClosed(bool isNowClosed)
{
  closed = isNowClosed;
  updateCurves();
}

// Computation ---------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
void KvBSpline<T, dim>::updateCurves()
{
  calculateNurbsCurve();
  calculateSubCurves();
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::calculateNurbsCurve()
{
  if (interpolationPoints.empty()) return;
  const ChordLengthSpline<dim> spline(
      toDouble(interpolationPoints), closed,
      {toDouble(startTangent), toDouble(endTangent), toDouble(startNormal), toDouble(endNormal)});
  nurbsCurve = std::make_shared<NurbsCurve<T, dim>>(narrowed<T, dim>(spline.controlPoints()), spline.knots(), closed,
                                                    false, false, this->tolerance, false);
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::calculateSubCurves()
{
  subCurves.clear();
  if (interpolationPoints.size() < 2) return;
  PolyLine<Position> polyline(static_cast<double>(this->tolerance));
  this->calcPolyLine(polyline);
  subCurves = piecesBetween(parametersOf(interpolationPoints, polyline), polyline);
}

// Queries -------------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
typename KvBSpline<T, dim>::Position KvBSpline<T, dim>::getStart() const
{
  return interpolationPoints.empty() ? Position() : interpolationPoints.front();
}

template <class T, unsigned dim>
typename KvBSpline<T, dim>::Position KvBSpline<T, dim>::getEnd() const
{
  if (interpolationPoints.empty()) return Position();
  return closed ? interpolationPoints.front() : interpolationPoints.back();
}

template <class T, unsigned dim>
typename KvBSpline<T, dim>::Direction KvBSpline<T, dim>::getStartTangent() const
{
  return evaluateDerivation(this->domain.lower);
}

template <class T, unsigned dim>
typename KvBSpline<T, dim>::Direction KvBSpline<T, dim>::getEndTangent() const
{
  return evaluateDerivation(this->domain.upper);
}

template <class T, unsigned dim>
typename KvBSpline<T, dim>::Position KvBSpline<T, dim>::evaluate(const double& t) const
{
  return nurbsCurve->evaluate(t);
}

template <class T, unsigned dim>
typename KvBSpline<T, dim>::Direction KvBSpline<T, dim>::evaluateDerivation(const double& t) const
{
  return nurbsCurve->evaluateDerivation(t);
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::transform(const CoordinateSystem<T, dim>& system)
{
  for (Position& point : interpolationPoints)
    point.transform(system);
  for (Direction* const direction : {&startTangent, &endTangent, &startNormal, &endNormal})
    system.transformVector(*direction);
  nurbsCurve->transform(system);
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::reverse()
{
  std::reverse(interpolationPoints.begin(), interpolationPoints.end());
  std::swap(startTangent, endTangent);
  std::swap(startNormal, endNormal);
  for (Direction* const direction : {&startTangent, &endTangent, &startNormal, &endNormal})
    direction->negate();
  nurbsCurve->reverse();
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> KvBSpline<T, dim>::mirror(const Plane<T, dim>& plane) const
{
  auto image = std::make_shared<KvBSpline>();
  image->domain = this->domain;
  image->tolerance = this->tolerance;
  image->closed = closed;
  image->interpolationPoints = interpolationPoints;
  for (Position& point : image->interpolationPoints)
    plane.mirrorPoint(point);
  image->startTangent = plane.getMirroredVector(startTangent);
  image->endTangent = plane.getMirroredVector(endTangent);
  image->startNormal = plane.getMirroredVector(startNormal);
  image->endNormal = plane.getMirroredVector(endNormal);
  image->nurbsCurve = std::dynamic_pointer_cast<NurbsCurve<T, dim>>(nurbsCurve->mirror(plane));
  return image;
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::dump(const std::string& fileName, bool useSubCurves, bool append) const
{
  const auto write = [&fileName](const PolyLine<Position>& polyline, bool keep) {
    PolyLineDump::toFile(polyline, fileName, -1, keep, PolyNormalDumpMode::PointsOnly);
  };
  write(PolyLine<Position>(interpolationPoints, static_cast<double>(this->tolerance)), append);
  if (useSubCurves) {
    for (const auto& piece : subCurves)
      if (piece) write(*piece, true);
  } else {
    PolyLine<Position> polyline(static_cast<double>(this->tolerance));
    this->calcPolyLine(polyline);
    write(polyline, true);
  }
}

// Archive -------------------------------------------------------------------------------------------------------------

template <class T, unsigned dim>
void KvBSpline<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<Curve<T, dim>>(archiver, *this);
  Persistence::saveContainer(archiver, interpolationPoints);
  for (const Direction* const direction : {&startTangent, &endTangent, &startNormal, &endNormal})
    Persistence::saveObject(archiver, *direction);
  archiver << closed;
  Persistence::savePointer(archiver, nurbsCurve);
  Persistence::saveContainer(archiver, subCurves);
}

template <class T, unsigned dim>
void KvBSpline<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  // Readers may hold the old objects: nothing is loaded into them.
  nurbsCurve = std::make_shared<NurbsCurve<T, dim>>(this->tolerance);
  subCurves.clear();

  Persistence::loadParent<Curve<T, dim>>(archiver, *this);
  Persistence::loadContainer(archiver, interpolationPoints);
  for (Direction* const direction : {&startTangent, &endTangent, &startNormal, &endNormal})
    Persistence::loadObject(archiver, *direction);
  archiver >> closed;
  Persistence::loadPointer(archiver, nurbsCurve);
  Persistence::loadContainer(archiver, subCurves);
}

#define KV_INSTANTIATE(...) template class KvBSpline<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
