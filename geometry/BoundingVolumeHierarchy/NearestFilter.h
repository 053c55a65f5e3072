#pragma once

#include "geometry/BoundingVolumeHierarchy/Lanes.h"
#include "geometry/BoundingVolumeHierarchy/PackedElements.h"
#include "geometry/BoundingVolumeHierarchy/RoundingSlack.h"
#include "platform/kvmath/Vector.h"

#include <cmath>
#include <cstdint>

namespace Kavrel::BoundingVolumeHierarchy {

/// Tells of four packed triangles at once which of them may lie within a distance of a point.
///
/// For whatever direction r, no triangle lies nearer than the least of its corners does along r: with r towards the
/// nearest place, found without care for rounding, this bound is as good as exact, and safe by a slack for the rounding
/// of the bound alone.
class NearestFilter
{
public:
  template <class Volume>
  NearestFilter(const Vector<double, 3>& query, const Volume& rootVolume)
      : slack(roundingSlack(query, rootVolume)), point{Lanes::all(static_cast<float>(query[0])),
                                                       Lanes::all(static_cast<float>(query[1])),
                                                       Lanes::all(static_cast<float>(query[2]))}
  {}

  /// Asks from now on for what lies no farther than that.
  void setReach(double squareDistance)
  {
    const double reach = std::sqrt(squareDistance) + slack;
    limit = Lanes::all(roundedUp(reach * reach));
  }

  /// One bit a triangle, set where it may matter. The triangles stand in four lanes of rows of the given stride.
  unsigned mayBeWithin(const float* rows, std::uint32_t stride) { return look(Offsets(point, rows, stride)); }

  /// The same for a caller who never asks what was seen. Most triangles are told by their corners alone: one of them
  /// lies within the distance, or all lie beyond it, as seen from their centre.
  unsigned mayBeWithin(const float* rows, std::uint32_t stride, unsigned wanted)
  {
    const Offsets from(point, rows, stride);
    const Float4 nearest =
        Lanes::smaller(dot(from.a, from.a), Lanes::smaller(dot(from.b, from.b), dot(from.c, from.c)));
    const unsigned within = ~Lanes::bits(nearest > limit);
    const Float4 middle[3] = {from.a[0] + from.b[0] + from.c[0], from.a[1] + from.b[1] + from.c[1],
                              from.a[2] + from.b[2] + from.c[2]};
    if (((within | ~reachesIn(from, middle)) & wanted) == wanted) return within;
    return look(from);
  }

  /// The greatest squared distance at which the nearest of some triangles of the last call may lie.
  double reachOfNearest(unsigned candidates) const
  {
    float nearest = std::numeric_limits<float>::infinity();
    for (unsigned lane = 0; lane < 4; ++lane)
      if ((candidates >> lane & 1) != 0 && sqrLength[lane] < nearest) nearest = sqrLength[lane];
    const double reach = std::sqrt(static_cast<double>(nearest) * (1.0 + 1e-5) + 1e-36) + slack;
    return reach * reach;
  }

  /// What the last call saw of a triangle, to ask again when the reach has become shorter.
  struct Sight
  {
    float along;
    float sqrLength;
  };
  Sight getSight(unsigned lane) const { return {beyond[lane] ? along[lane] : 0.0F, sqrLength[lane]}; }
  bool isOutOfReach(const Sight& sight) const { return sight.along > limit[0] * sight.sqrLength + tiny()[0]; }

private:
  using Float4 = Lanes::Float4;

  /// The ways from the corners of four triangles to the point.
  struct Offsets
  {
    Float4 a[3], b[3], c[3];

    Offsets(const Float4* point, const float* rows, std::uint32_t stride)
    {
      for (unsigned i = 0; i < 3; ++i) {
        a[i] = point[i] - Lanes::load(rows + i * stride);
        b[i] = point[i] - Lanes::load(rows + (i + 3) * stride);
        c[i] = point[i] - Lanes::load(rows + (i + 6) * stride);
      }
    }
  };

  unsigned look(const Offsets& from)
  {
    Float4 ab[3], ac[3];
    for (unsigned i = 0; i < 3; ++i) {
      ab[i] = from.a[i] - from.b[i];
      ac[i] = from.a[i] - from.c[i];
    }
    Float4 xi, eta;
    findNearestPlace(from.a, ab, ac, xi, eta);
    Float4 r[3];
    for (unsigned i = 0; i < 3; ++i)
      r[i] = from.a[i] - xi * ab[i] - eta * ac[i];
    return reachesIn(from, r);
  }

  /// One bit a triangle, cleared where all corners lie beyond the distance along r.
  unsigned reachesIn(const Offsets& from, const Float4* r)
  {
    sqrLength = dot(r, r);
    const Float4 least = Lanes::smaller(dot(r, from.a), Lanes::smaller(dot(r, from.b), dot(r, from.c)));
    along = least * least;
    // Anything that is not a number fails both comparisons, and stays.
    beyond = least > Float4{};
    return Lanes::bits(~(beyond & (along > limit * sqrLength + tiny())));
  }

  static Float4 dot(const Float4* a, const Float4* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
  static Float4 clampToUnit(Float4 t) { return Lanes::smaller(Lanes::greater(t, Float4{}), Lanes::all(1.0F)); }
  /// Below this, products lose digits to underflow.
  static Float4 tiny() { return Lanes::all(1e-36F); }

  /// The inner minimum where it lies inside, else the best of the three edges.
  static void findNearestPlace(const Float4* fromA, const Float4* ab, const Float4* ac, Float4& xi, Float4& eta)
  {
    const Float4 zero{}, one = Lanes::all(1.0F);
    const Float4 d1 = dot(ab, fromA), d2 = dot(ac, fromA);
    const Float4 bb = dot(ab, ab), bc = dot(ab, ac), cc = dot(ac, ac);
    const Float4 inverse = one / (bb * cc - bc * bc);
    const Float4 xiInside = (cc * d1 - bc * d2) * inverse;
    const Float4 etaInside = (bb * d2 - bc * d1) * inverse;
    const auto inside = (xiInside >= zero) & (etaInside >= zero) & (xiInside + etaInside <= one);

    // Squared distances along the edges, less that of corner a.
    const Float4 onAB = clampToUnit(d1 / bb);
    const Float4 valueAB = onAB * (onAB * bb - d1 - d1);
    const Float4 onAC = clampToUnit(d2 / cc);
    const Float4 valueAC = onAC * (onAC * cc - d2 - d2);
    const Float4 alongBC = d2 - d1 + bb - bc;
    const Float4 lengthBC = bb - bc - bc + cc;
    const Float4 onBC = clampToUnit(alongBC / lengthBC);
    const Float4 valueBC = bb - d1 - d1 + onBC * (onBC * lengthBC - alongBC - alongBC);

    const auto preferAC = valueAC < valueAB;
    xi = preferAC ? zero : onAB;
    eta = preferAC ? onAC : zero;
    const auto preferBC = valueBC < Lanes::smaller(valueAB, valueAC);
    xi = preferBC ? one - onBC : xi;
    eta = preferBC ? onBC : eta;
    xi = inside ? xiInside : xi;
    eta = inside ? etaInside : eta;
  }

  double slack;
  Float4 point[3];
  Float4 limit = Lanes::all(std::numeric_limits<float>::infinity());
  // What the last call saw.
  Float4 sqrLength{};
  Float4 along{};
  decltype(Float4{} > Float4{}) beyond{};
};

} // namespace Kavrel::BoundingVolumeHierarchy
