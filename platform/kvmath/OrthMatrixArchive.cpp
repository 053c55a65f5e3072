#include "platform/kvarchive/Persistence.h"
#include "platform/kvmath/OrthMatrix.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("OrthMatrix2f", 1, OrthMatrix<float, 2>)
KVSHAPES_PERSISTENT_KEY("OrthMatrix3f", 1, OrthMatrix<float, 3>)
KVSHAPES_PERSISTENT_KEY("OrthMatrix2", 1, OrthMatrix<double, 2>)
KVSHAPES_PERSISTENT_KEY("OrthMatrix3", 1, OrthMatrix<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (OrthMatrix<T, dim>))

/// The entries row by row.
template <class T, unsigned dim>
void OrthMatrix<T, dim>::save(PersistenceArchiver& archiver, unsigned /*version*/) const
{
  for (unsigned i = 0; i < dim * dim; ++i)
    archiver << (*this)[i];
}

template <class T, unsigned dim>
void OrthMatrix<T, dim>::load(PersistenceArchiver& archiver, unsigned /*version*/)
{
  for (unsigned i = 0; i < dim * dim; ++i)
    archiver >> (*this)[i];
}

KVSHAPES_PERSISTENT_INSTANTIATE(OrthMatrix<float, 2>)
KVSHAPES_PERSISTENT_INSTANTIATE(OrthMatrix<float, 3>)
KVSHAPES_PERSISTENT_INSTANTIATE(OrthMatrix<double, 2>)
KVSHAPES_PERSISTENT_INSTANTIATE(OrthMatrix<double, 3>)

} // namespace Kavrel
