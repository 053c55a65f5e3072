#include "geometry/Hyperbola.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportHyperbola2f", 500001, Hyperbola<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportHyperbola3f", 500001, Hyperbola<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportHyperbola2", 53013, Hyperbola<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportHyperbola3", 53013, Hyperbola<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Hyperbola<T, dim>))

template <class T, unsigned dim>
Hyperbola<T, dim>::Hyperbola(T chordTolerance)
    : ConicData<HyperbolaType, T, dim>(HyperbolaType::Hyperbola5, chordTolerance)
{}

template <class T, unsigned dim>
Hyperbola<T, dim>::Hyperbola(HyperbolaType type, T firstParameter, T secondParameter,
                             const CoordinateSystem<T, dim>& placement, T chordTolerance)
    : ConicData<HyperbolaType, T, dim>(type, firstParameter, secondParameter, placement, chordTolerance)
{}

template <class T, unsigned dim>
Hyperbola<T, dim>::~Hyperbola() = default;

template <class T, unsigned dim>
void Hyperbola<T, dim>::copy(const Curve<T, dim>& other)
{
  copyHyperbola(dynamic_cast<const Hyperbola&>(other));
}

template <class T, unsigned dim>
void Hyperbola<T, dim>::copyHyperbola(const Hyperbola& other)
{
  this->copyConicData(other);
}

template <class T, unsigned dim>
void Hyperbola<T, dim>::setType(int type)
{
  this->conicType = type >= 5 && type < 8 ? static_cast<HyperbolaType>(type) : HyperbolaType::Hyperbola8;
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> Hyperbola<T, dim>::create() const
{
  return std::make_shared<Hyperbola>(this->tolerance);
}

template <class T, unsigned dim>
void Hyperbola<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<ConicArc<T, dim>>(archiver, *this);
  archiver << this->a << this->b; // the type isn't stored
}

template <class T, unsigned dim>
void Hyperbola<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<ConicArc<T, dim>>(archiver, *this);
  archiver >> this->a >> this->b;
}

#define KV_INSTANTIATE(...) template class Hyperbola<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
