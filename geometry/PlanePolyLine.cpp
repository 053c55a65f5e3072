#include "geometry/Plane.h"

#include "geometry/PolyLine.h"

#include <cmath>
#include <utility>

namespace Kavrel {

namespace {

constexpr double levelDifference = 1e-5;   // at or below: the segment runs along the plane
constexpr double repeatedDistance = 1e-12; // strictly below: the crossing is a repeat
constexpr double pieceTolerance = 0.1;

/// The crossing of the segment whose ends have the signed distances \p e and \p next.
double crossingParameter(double e, double next) { return std::abs(e - next) > levelDifference ? e / (e - next) : 0.0; }

template <class PointType>
std::size_t indexBehind(const PolyLine<PointType>& polyLine, std::size_t i)
{
  return i + 1 < polyLine.numberOfPoints() ? i + 1 : 0;
}

} // namespace

template <class T, unsigned dim>
template <class PointType>
  requires(std::is_same_v<T, double>&& dim == 3)
bool Plane<T, dim>::intersect(const PolyLine<PointType>& polyLine, std::vector<PointType>* points,
                              std::vector<double>* arcLengths, double eps) const
{
  const std::size_t count = polyLine.numberOfSegments();
  if (count == 0) return false;
  bool crossed = false;
  double length = 0.0;
  double e = getDistanceOfPoint(polyLine[0]);
  for (std::size_t i = 0; i < count; ++i) {
    const PointType& from = polyLine[i];
    const PointType& to = polyLine[indexBehind(polyLine, i)];
    const double next = getDistanceOfPoint(to);
    const double segmentLength = arcLengths ? from.distance(to) : 0.0;
    if (e * next <= eps) {
      crossed = true;
      const double u = crossingParameter(e, next);
      const PointType crossing = from.linearInterpolation(u, to);
      if (!points || points->empty() || !(points->back().distance(crossing) < repeatedDistance)) {
        if (points) points->push_back(crossing);
        if (arcLengths) arcLengths->push_back(u * segmentLength + length);
      }
    }
    length += segmentLength;
    e = next;
  }
  return crossed;
}

template <class T, unsigned dim>
template <class PointType>
  requires(std::is_same_v<T, double>&& dim == 3)
void Plane<T, dim>::clipWithHalfSpace(const PolyLine<PointType>& polyLine, std::vector<PolyLine<PointType>>& out) const
{
  if (polyLine.isEmpty()) return;
  PolyLine<PointType> piece(pieceTolerance);
  piece.setClosed(polyLine.isClosed());
  double e = getDistanceOfPoint(polyLine[0]);
  if (e > 0.0) piece.addPoint(polyLine[0]);
  for (std::size_t i = 0; i < polyLine.numberOfSegments(); ++i) {
    const PointType& from = polyLine[i];
    const PointType& to = polyLine[indexBehind(polyLine, i)];
    const double next = getDistanceOfPoint(to);
    if (e * next <= 0.0) {
      piece.addPoint(from.linearInterpolation(crossingParameter(e, next), to));
      piece.setClosed(false);
      if (next < 0.0) {
        out.push_back(std::move(piece));
        piece = PolyLine<PointType>(pieceTolerance);
      }
    }
    if (next >= 0.0) piece.addPoint(to);
    e = next;
  }
  if (piece.isEmpty()) return;
  if (piece.isClosed()) piece.deletePoint(piece.numberOfPoints() - 1);
  out.push_back(std::move(piece));
}

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT bool Plane<double, 3>::intersect(const PolyLine<__VA_ARGS__>&, std::vector<__VA_ARGS__>*,   \
                                                            std::vector<double>*, double) const;
KV_INSTANTIATE(Point<double, 3>)
KV_INSTANTIATE(Point3N)
KV_INSTANTIATE(Point3NT)
#undef KV_INSTANTIATE

#define KV_INSTANTIATE(...)                                                                                            \
  template KVSHAPES_EXPORT void Plane<double, 3>::clipWithHalfSpace(const PolyLine<__VA_ARGS__>&,                      \
                                                                    std::vector<PolyLine<__VA_ARGS__>>&) const;
KV_INSTANTIATE(Point3N)
KV_INSTANTIATE(Point3NT)
#undef KV_INSTANTIATE

} // namespace Kavrel
