#include "geometry/mesh/Triangle.h"

#include "platform/kvarchive/Persistence.h"

#include <ostream>

namespace Kavrel {

void Triangle::save(PersistenceArchiver& archiver, unsigned int) const
{
  for (Vertex* const vertex : vertices)
    Persistence::savePointer(archiver, std::shared_ptr<Vertex>(vertex, null_deleter()));
  archiver << index;
}

void Triangle::load(PersistenceArchiver& archiver, unsigned int)
{
  for (Vertex*& vertex : vertices) {
    std::shared_ptr<Vertex> borrowed;
    if (vertex) borrowed.reset(vertex, null_deleter());
    Persistence::loadPointer(archiver, borrowed, true);
    vertex = borrowed.get();
  }
  archiver >> index;
}

std::ostream& operator<<(std::ostream& stream, const Triangle& triangle)
{
  unsigned a, b, c;
  triangle.getVertexIndices(a, b, c);
  return stream << a << ' ' << b << ' ' << c;
}

} // namespace Kavrel
