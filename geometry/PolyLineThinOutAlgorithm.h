#pragma once

#include "geometry/PolyLine.h"

#include <cstddef>
#include <set>
#include <unordered_set>

namespace Kavrel {

/// Drops vertices of a polyline that add nothing within a tolerance. The closed flag, the domain and the attributes of
/// the other points stay.
///
/// The greedy method looks at a vertex and its current neighbours alone: it is fast, and errors may add up, as vertices
/// already dropped aren't looked at again. The method with protected vertices checks every vertex under a new chord.
class KVSHAPES_EXPORT PolyLineThinOutAlgorithm
{
public:
  /// The indices of the vertices that the greedy method drops. In passes along the line it drops a vertex closer than
  /// \p tolerance to the line through its neighbours, or whose neighbours are closer than that to each other; the
  /// vertex behind a dropped one waits for the next pass. It ends when a pass drops nothing, or at two points. An open
  /// line keeps its ends. After the first pass only vertices are looked at whose neighbours have changed, so that the
  /// time is linear.
  template <PolyLinePoint P>
  static std::unordered_set<std::size_t> computeThinoutPoints(const PolyLine<P>& polyline,
                                                              typename P::Scalar tolerance);

  /// Drops the vertices that computeThinoutPoints() finds; a tolerance that isn't positive stands for that of the line.
  /// True if there were any.
  template <PolyLinePoint P>
  static bool thinout(PolyLine<P>& polyline, typename P::Scalar tolerance);

  /// Drops, in one pass along the line, each vertex for which all vertices between its remaining neighbours, itself and
  /// those already dropped included, are collinear with the two by Point::isCollinear(). Not dropped are the indices in
  /// \p protectedIndices, the first point, the last one of an open line, and the last three of a closed line. True if a
  /// vertex went. The time is quadratic in the number of vertices under one chord.
  template <PolyLinePoint P>
  static bool thinout(PolyLine<P>& polyline, typename P::Scalar tolerance,
                      const std::set<std::size_t>& protectedIndices);
};

#define KV_INSTANTIATE(...)                                                                                            \
  extern template std::unordered_set<std::size_t> PolyLineThinOutAlgorithm::computeThinoutPoints(                      \
      const PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar);                                                              \
  extern template bool PolyLineThinOutAlgorithm::thinout(PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar);                 \
  extern template bool PolyLineThinOutAlgorithm::thinout(PolyLine<__VA_ARGS__>&, __VA_ARGS__::Scalar,                  \
                                                         const std::set<std::size_t>&);
KV_FOR_EACH_POLYLINE_POINT(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
