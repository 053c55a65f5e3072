#pragma once

#include "geometry/BoundingVolumeHierarchy/MeshDeclaration.h"
#include "geometry/Instantiations.h"
#include "platform/Export.h"
#include "platform/kvmath/Vector.h"

#include <memory>
#include <vector>

namespace Kavrel {
template <class PointType>
class Segment;
template <class PointType>
class PolyLine;
class Triangle;
} // namespace Kavrel

namespace Kavrel::BoundingVolumeHierarchy {

/// Which sources fill a set of elements E: always a vector of elements.
template <class E>
struct ElementSources
{
  template <class Source>
  static constexpr bool accepts = false;
};

template <>
struct ElementSources<Vector<double, 2>>
{
  template <class Source>
  static constexpr bool accepts = OneOf<Source, std::vector<Point<float, 2>>, std::vector<Point<double, 2>>>;
};

template <>
struct ElementSources<Vector<double, 3>>
{
  template <class Source>
  static constexpr bool accepts =
      OneOf<Source, std::vector<Point<float, 3>>, std::vector<Point<double, 3>>, std::vector<ConstraintPoint>,
            std::vector<Point3N>, std::vector<Point3NT>, std::vector<ProjectionPoint>>;
};

template <class P>
struct ElementSources<Segment<P>>
{
  template <class Source>
  static constexpr bool accepts = OneOf<Source, PolyLine<P>, std::vector<std::shared_ptr<const PolyLine<P>>>>;
};

template <OneOf<Triangle, Triangle*> E>
struct ElementSources<E>
{
  template <class Source>
  static constexpr bool accepts =
      OneOf<Source, std::vector<Triangle>, Mesh, std::vector<const Mesh*>, std::vector<std::shared_ptr<const Mesh>>>;
};

/// A source from which a set of elements E can be filled.
template <class Source, class E>
concept ElementSourceOf = OneOf<Source, std::vector<E>> || ElementSources<E>::template accepts<Source>;

} // namespace Kavrel::BoundingVolumeHierarchy
