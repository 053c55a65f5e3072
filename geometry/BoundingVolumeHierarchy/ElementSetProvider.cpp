#include "geometry/BoundingVolumeHierarchy/ElementSetProvider.h"

#include "geometry/ConstraintPoint.h"
#include "geometry/Point3NT.h"
#include "geometry/PolyLine.h"
#include "geometry/ProjectionPoint.h"
#include "geometry/mesh/Mesh.h"

#include <type_traits>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

// How many elements a source holds, and the elements one after another.

template <class Source>
std::size_t countElements(const Source& elements)
{
  return elements.size();
}

template <class P>
std::size_t countElements(const PolyLine<P>& line)
{
  return line.numberOfSegments();
}

std::size_t countElements(const Mesh& mesh) { return mesh.numberOfTriangles(); }

template <class Pointer>
std::size_t countElementsOfAll(const std::vector<Pointer>& sources)
{
  std::size_t count = 0;
  for (const auto& source : sources)
    if (source) count += countElements(*source);
  return count;
}

template <class P>
std::size_t countElements(const std::vector<std::shared_ptr<const PolyLine<P>>>& lines)
{
  return countElementsOfAll(lines);
}

std::size_t countElements(const std::vector<const Mesh*>& meshes) { return countElementsOfAll(meshes); }

std::size_t countElements(const std::vector<std::shared_ptr<const Mesh>>& meshes) { return countElementsOfAll(meshes); }

template <class E, class Visit>
void visitElements(const std::vector<E>& elements, const Visit& visit)
{
  for (const E& element : elements)
    visit(element);
}

template <class P, class Visit>
void visitElements(const PolyLine<P>& line, const Visit& visit)
{
  for (std::size_t i = 0; i < line.numberOfSegments(); ++i)
    visit(line.getSegment(i));
}

template <class Visit>
void visitElements(const Mesh& mesh, const Visit& visit)
{
  for (const Triangle& triangle : mesh.getTriangleCollection())
    visit(triangle);
}

template <class Pointer, class Visit>
void visitElementsOfAll(const std::vector<Pointer>& sources, const Visit& visit)
{
  for (const auto& source : sources)
    if (source) visitElements(*source, visit);
}

template <class P, class Visit>
void visitElements(const std::vector<std::shared_ptr<const PolyLine<P>>>& lines, const Visit& visit)
{
  visitElementsOfAll(lines, visit);
}

template <class Visit>
void visitElements(const std::vector<const Mesh*>& meshes, const Visit& visit)
{
  visitElementsOfAll(meshes, visit);
}

template <class Visit>
void visitElements(const std::vector<std::shared_ptr<const Mesh>>& meshes, const Visit& visit)
{
  visitElementsOfAll(meshes, visit);
}

template <class E, class Entry>
E toElement(const Entry& entry)
{
  if constexpr (std::is_same_v<E, Entry>) {
    return entry;
  } else if constexpr (std::is_same_v<E, Triangle*>) {
    // Hierarchies hand out what they were given and change nothing.
    return const_cast<Triangle*>(&entry);
  } else {
    E point;
    for (unsigned i = 0; i < E::Size; ++i)
      point[i] = static_cast<double>(entry[i]);
    return point;
  }
}

} // namespace

template <class E>
template <ElementSourceOf<E> Source>
ElementSetProvider<E>::ElementSetProvider(const Source& source) : records(countElements(source))
{
  std::uint32_t id = 0;
  visitElements(source, [this, &id](const auto& entry) {
    new (&records[id]) Record{toElement<E>(entry), id};
    ++id;
  });
}

#define KV_POINTS(...)                                                                                                 \
  template ElementSetProvider<Vector<double, 2>>::ElementSetProvider(const std::vector<__VA_ARGS__>&);
template class ElementSetProvider<Vector<double, 2>>;
KV_POINTS(Vector<double, 2>)
KV_FOR_EACH_POLYLINE_POINT_2D(KV_POINTS)
#undef KV_POINTS

#define KV_POINTS(...)                                                                                                 \
  template ElementSetProvider<Vector<double, 3>>::ElementSetProvider(const std::vector<__VA_ARGS__>&);
template class ElementSetProvider<Vector<double, 3>>;
KV_POINTS(Vector<double, 3>)
KV_FOR_EACH_POLYLINE_POINT_3D(KV_POINTS)
#undef KV_POINTS

#define KV_BOXES(dim)                                                                                                  \
  template class ElementSetProvider<AxisAlignedBox<double, dim>>;                                                      \
  template ElementSetProvider<AxisAlignedBox<double, dim>>::ElementSetProvider(                                        \
      const std::vector<AxisAlignedBox<double, dim>>&);
KV_BOXES(1)
KV_BOXES(2)
KV_BOXES(3)
#undef KV_BOXES

#define KV_SEGMENTS(...)                                                                                               \
  template class ElementSetProvider<Segment<__VA_ARGS__>>;                                                             \
  template ElementSetProvider<Segment<__VA_ARGS__>>::ElementSetProvider(const std::vector<Segment<__VA_ARGS__>>&);     \
  template ElementSetProvider<Segment<__VA_ARGS__>>::ElementSetProvider(const PolyLine<__VA_ARGS__>&);                 \
  template ElementSetProvider<Segment<__VA_ARGS__>>::ElementSetProvider(                                               \
      const std::vector<std::shared_ptr<const PolyLine<__VA_ARGS__>>>&);
KV_FOR_EACH_POLYLINE_POINT(KV_SEGMENTS)
#undef KV_SEGMENTS

#define KV_TRIANGLES(...)                                                                                              \
  template class ElementSetProvider<__VA_ARGS__>;                                                                      \
  template ElementSetProvider<__VA_ARGS__>::ElementSetProvider(const std::vector<Triangle>&);                          \
  template ElementSetProvider<__VA_ARGS__>::ElementSetProvider(const Mesh&);                                           \
  template ElementSetProvider<__VA_ARGS__>::ElementSetProvider(const std::vector<const Mesh*>&);                       \
  template ElementSetProvider<__VA_ARGS__>::ElementSetProvider(const std::vector<std::shared_ptr<const Mesh>>&);
KV_TRIANGLES(Triangle)
KV_TRIANGLES(Triangle*)
template ElementSetProvider<Triangle*>::ElementSetProvider(const std::vector<Triangle*>&);
#undef KV_TRIANGLES

} // namespace Kavrel::BoundingVolumeHierarchy
