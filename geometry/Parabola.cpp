#include "geometry/Parabola.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportParabola2f", 500001, Parabola<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportParabola3f", 500001, Parabola<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportParabola2", 53013, Parabola<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportParabola3", 53013, Parabola<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (Parabola<T, dim>))

template <class T, unsigned dim>
Parabola<T, dim>::Parabola(T chordTolerance) : ConicData<ParabolaType, T, dim>(ParabolaType::Parabola0, chordTolerance)
{}

template <class T, unsigned dim>
Parabola<T, dim>::Parabola(ParabolaType type, T firstParameter, T secondParameter,
                           const CoordinateSystem<T, dim>& placement, T chordTolerance)
    : ConicData<ParabolaType, T, dim>(type, firstParameter, secondParameter, placement, chordTolerance)
{}

template <class T, unsigned dim>
Parabola<T, dim>::~Parabola() = default;

template <class T, unsigned dim>
void Parabola<T, dim>::copy(const Curve<T, dim>& other)
{
  copyParabola(dynamic_cast<const Parabola&>(other));
}

template <class T, unsigned dim>
void Parabola<T, dim>::copyParabola(const Parabola& other)
{
  this->copyConicData(other);
}

template <class T, unsigned dim>
void Parabola<T, dim>::setType(int type)
{
  this->conicType = type >= 0 && type < 3 ? static_cast<ParabolaType>(type) : ParabolaType::Parabola3;
}

template <class T, unsigned dim>
std::shared_ptr<Curve<T, dim>> Parabola<T, dim>::create() const
{
  return std::make_shared<Parabola>();
}

template <class T, unsigned dim>
void Parabola<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<ConicArc<T, dim>>(archiver, *this);
  archiver << this->a << this->b; // the type isn't stored
}

template <class T, unsigned dim>
void Parabola<T, dim>::load(PersistenceArchiver& archiver, unsigned int /*version*/)
{
  Persistence::loadParent<ConicArc<T, dim>>(archiver, *this);
  archiver >> this->a >> this->b;
}

#define KV_INSTANTIATE(...) template class Parabola<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
