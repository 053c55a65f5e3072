#include "geometry/Plane.h"

#include "geometry/mesh/Mesh.h"

#include <fstream>
#include <locale>

namespace Kavrel {

template <class T, unsigned dim>
void Plane<T, dim>::dump(Vector<T, dim>& center, const std::string& fileName, double size) const requires(dim == 3)
{
  const Point<T, dim> middle = getProjectedPoint(center);
  const T half = static_cast<T>(size * 0.5);
  const Vector<T, dim> u = normal.getOrthoNormal() * half;
  const Vector<T, dim> v = normal.cross(u);
  Mesh square;
  for (const Vector<T, dim>& corner : {middle - u - v, middle + u - v, middle + u + v, middle - u + v})
    square.addVertex(static_cast<double>(corner.x()), static_cast<double>(corner.y()), static_cast<double>(corner.z()));
  square.addTriangle(0, 1, 2);
  square.addTriangle(0, 2, 3);
  std::ofstream file(fileName);
  file.imbue(std::locale::classic());
  square.dump(file, false, true);
}

template KVSHAPES_EXPORT void Plane<float, 3>::dump(Vector<float, 3>&, const std::string&, double) const;
template KVSHAPES_EXPORT void Plane<double, 3>::dump(Vector<double, 3>&, const std::string&, double) const;

} // namespace Kavrel
