#include "geometry/ConicArc.h"

#include "geometry/Plane.h"
#include "geometry/ShapecoreException.h"
#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

KVSHAPES_PERSISTENT_KEY("BoostExportConicArc2f", 500001, ConicArc<float, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportConicArc3f", 500001, ConicArc<float, 3>)
KVSHAPES_PERSISTENT_KEY("BoostExportConicArc2", 1, ConicArc<double, 2>)
KVSHAPES_PERSISTENT_KEY("BoostExportConicArc3", 1, ConicArc<double, 3>)
KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned dim), (ConicArc<T, dim>))

namespace {

constexpr unsigned versionWithOwnPlacement = 1; // earlier archives share it through a pointer

} // namespace

template <class T, unsigned dim>
ConicArc<T, dim>::ConicArc(T chordTolerance) : Curve<T, dim>(chordTolerance)
{}

template <class T, unsigned dim>
ConicArc<T, dim>::ConicArc(const CoordinateSystem<T, dim>& placement, T chordTolerance)
    : Curve<T, dim>(chordTolerance), coordinateSystem(placement)
{}

template <class T, unsigned dim>
ConicArc<T, dim>::~ConicArc() = default;

template <class T, unsigned dim>
void ConicArc<T, dim>::copyConicArc(const ConicArc& other)
{
  this->domain = other.domain;
  this->tolerance = other.tolerance;
  coordinateSystem = other.coordinateSystem;
}

template <class T, unsigned dim>
void ConicArc<T, dim>::transform(const CoordinateSystem<T, dim>& system)
{
  coordinateSystem.transform(system);
}

template <class T, unsigned dim>
void ConicArc<T, dim>::reverse()
{
  refuseDirection();
}

template <class T, unsigned dim>
void ConicArc<T, dim>::refuseValue()
{
  throw ShapecoreException("Not yet implemented");
}

template <class T, unsigned dim>
void ConicArc<T, dim>::refuseDirection()
{
  throw ShapecoreException("Not implemented yet!");
}

template <class T, unsigned dim>
void ConicArc<T, dim>::save(PersistenceArchiver& archiver, unsigned int /*version*/) const
{
  Persistence::saveParent<Curve<T, dim>>(archiver, *this);
  Persistence::saveObject(archiver, coordinateSystem);
}

template <class T, unsigned dim>
void ConicArc<T, dim>::load(PersistenceArchiver& archiver, unsigned int version)
{
  Persistence::loadParent<Curve<T, dim>>(archiver, *this);
  if (version >= versionWithOwnPlacement) {
    Persistence::loadObject(archiver, coordinateSystem);
    return;
  }
  std::shared_ptr<CoordinateSystem<T, dim>> shared;
  Persistence::loadPointer(archiver, shared);
  if (shared) coordinateSystem = *shared;
}

#define KV_INSTANTIATE(...) template class ConicArc<__VA_ARGS__>;
KV_FOR_EACH_SPACE(KV_INSTANTIATE)
#undef KV_INSTANTIATE

} // namespace Kavrel
