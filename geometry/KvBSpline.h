#pragma once

#include "geometry/Curve.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Kavrel {

template <class T, unsigned dim>
class NurbsCurve;

/// A smooth curve through points that may be edited: a C2 cubic by chord length, open or closed, kept as a clamped
/// NURBS curve over [0, 1] and as one polyline for each gap between successive points. A closed curve has no polyline
/// for the gap from its last point to the first.
///
/// Each end may be given a tangent or a normal, which counts when it is longer than 0.5; a tangent acts with the length
/// that it has. An open curve without one at an end has its end control point doubled: it starts there without speed
/// and only comes close to the inner points next to it. A closed curve takes no notice of tangents and normals.
///
/// Every edit computes curve and polylines anew, so the operations on many points pay for that once. An edit installs
/// new objects: whoever holds the old ones keeps them as they were. With one point the curve stays there; without any
/// the last curve remains, and a curve that never had a point raises ShapecoreException when evaluated.
/// Moving the curve as a whole (transform(), reverse()) takes the NURBS curve along but not the polylines.
template <class T, unsigned dim>
class KVSHAPES_EXPORT KvBSpline : public Curve<T, dim>
{
public:
  using Position = Point<T, dim>;
  using Direction = Vector<T, dim>;

  /// Open and without points.
  explicit KvBSpline(T chordTolerance = T(0.1));
  KvBSpline(const std::vector<Position>& points, bool isNowClosed, T chordTolerance);
  KvBSpline(const std::vector<Position>& points, const Direction& tangentAtStart, const Direction& tangentAtEnd,
            bool isNowClosed, T chordTolerance);
  /// Copies all but the identifier, which is a fresh one, and the polylines: there are none.
  KvBSpline(const KvBSpline& other);
  /// Copies all but identifier and polylines, which stay as they were.
  KvBSpline& operator=(const KvBSpline& other);
  ~KvBSpline() override;

  void copy(const Curve<T, dim>& other) override;
  /// A new curve without points and with the same tolerance.
  std::shared_ptr<Curve<T, dim>> create() const override;

  // Edits -------------------------------------------------------------------------------------------------------------

  /// Inserts before \p index, or appends at the number of points. Nothing happens beyond.
  void addInterpolationPoint(const Position& point, std::size_t index);
  /// Nothing happens for an index past the end.
  void deleteInterpolationPoint(std::size_t index);
  /// The indices may come in any order, several times, and past the end.
  void deleteMultipleInterpolationPoints(const std::vector<std::size_t>& indices);
  /// Nothing happens for an index past the end.
  void moveInterpolationPoint(std::size_t index, const Position& point);
  /// Indices past the end are skipped. Nothing happens for lists of different lengths.
  void moveMultipleInterpolationPoints(const std::vector<std::size_t>& indices, const std::vector<Position>& points);
  /// Replaces the first point, if there is one.
  void setStart(const Position& point) override;
  /// Replaces the last point, if there is one.
  void setEnd(const Position& point) override;
  /// Takes the normal at the start away.
  void setStartTangent(const Direction& tangent);
  /// Takes the normal at the end away.
  void setEndTangent(const Direction& tangent);
  /// Takes the tangent at the start away.
  void setStartNormal(const Direction& normal);
  /// Takes the tangent at the end away.
  void setEndNormal(const Direction& normal);
  void setClosed(bool isNowClosed);

  // Queries -----------------------------------------------------------------------------------------------------------

  std::size_t getNumberOfInterpolationPoints() const { return interpolationPoints.size(); }
  /// The piece from point \p index to the next one, found on the discretisation of the whole curve. The index isn't
  /// checked.
  std::shared_ptr<PolyLine<Position>> getSubCurve(std::size_t index) const { return subCurves[index]; }
  std::shared_ptr<const NurbsCurve<T, dim>> getNurbsCurve() const { return nurbsCurve; }

  /// The first point; the zero point without any.
  Position getStart() const override;
  /// The last point, of a closed curve the first; the zero point without any.
  Position getEnd() const override;
  /// The derivative at the lower bound of the domain.
  Direction getStartTangent() const override;
  /// The derivative at the upper bound of the domain.
  Direction getEndTangent() const override;
  bool isClosed() const override { return closed; }
  Position evaluate(const double& t) const override;
  /// The derivative by the parameter. Raises ShapecoreException "Not yet implemented" for `<float, 2>`.
  Direction evaluateDerivation(const double& t) const override;

  void transform(const CoordinateSystem<T, dim>& system) override;
  void reverse() override;
  /// The mirror image, without polylines.
  std::shared_ptr<Curve<T, dim>> mirror(const Plane<T, dim>& plane) const override;

  /// Replaces the curve alone, until the next edit.
  void setNurbsCurveForTesting(const std::shared_ptr<NurbsCurve<T, dim>>& curve) { nurbsCurve = curve; }

private:
  void copyKvBSpline(const KvBSpline& other);
  void updateCurves();
  void calculateNurbsCurve();
  void calculateSubCurves();
  /// Writes the points and then the polylines, or one new discretisation, to the file \p fileName + ".kv", for
  /// debugging; \p append keeps what the file holds.
  void dump(const std::string& fileName, bool useSubCurves, bool append) const;

  std::vector<Position> interpolationPoints;
  Direction startTangent;
  Direction endTangent;
  Direction startNormal;
  Direction endNormal;
  bool closed = false;
  std::shared_ptr<NurbsCurve<T, dim>> nurbsCurve;
  std::vector<std::shared_ptr<PolyLine<Position>>> subCurves;

  KVSHAPES_PERSISTENT();
};

#define KV_INSTANTIATE(...) extern template class KvBSpline<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
