#include "platform/kvarchive/Persistence.h"
#include "platform/kvmath/Vector.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("Vector2f", 1, Vector<float, 2>)
KVSHAPES_PERSISTENT_KEY("Vector3f", 1, Vector<float, 3>)
KVSHAPES_PERSISTENT_KEY("Vector1", 1, Vector<double, 1>)
KVSHAPES_PERSISTENT_KEY("Vector2", 1, Vector<double, 2>)
KVSHAPES_PERSISTENT_KEY("Vector3", 1, Vector<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Vector<T, dim>))

template <class T, unsigned dim>
void Vector<T, dim>::save(PersistenceArchiver& archiver, unsigned /*version*/) const
{
  archiver.putArray(values, dim);
}

template <class T, unsigned dim>
void Vector<T, dim>::load(PersistenceArchiver& archiver, unsigned /*version*/)
{
  archiver.getArray(values, dim);
}

KVSHAPES_PERSISTENT_INSTANTIATE(Vector<float, 2>)
KVSHAPES_PERSISTENT_INSTANTIATE(Vector<float, 3>)
KVSHAPES_PERSISTENT_INSTANTIATE(Vector<double, 1>)
KVSHAPES_PERSISTENT_INSTANTIATE(Vector<double, 2>)
KVSHAPES_PERSISTENT_INSTANTIATE(Vector<double, 3>)

} // namespace Kavrel
