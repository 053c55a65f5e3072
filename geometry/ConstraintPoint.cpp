#include "geometry/ConstraintPoint.h"

#include "platform/kvarchive/Persistence.h"

#include <ostream>

namespace Kavrel {

namespace {

const char* nameOf(ConstraintPoint::CONSTRAINT constraint)
{
  switch (constraint) {
  case ConstraintPoint::Symmetry:
    return "Symmetry";
  case ConstraintPoint::Free:
    return "Free";
  case ConstraintPoint::Fixed:
    return "Fixed";
  case ConstraintPoint::Clamped:
    return "Clamped";
  }
  return "";
}

} // namespace

void ConstraintPoint::dump(std::ostream& out) const
{
  Point3N::dump(out);
  out << " C: " << nameOf(constraint) << '\n';
}

void ConstraintPoint::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveParent<Point3N>(archiver, *this);
  archiver << static_cast<std::int32_t>(constraint);
}

void ConstraintPoint::load(PersistenceArchiver& archiver, unsigned int)
{
  Persistence::loadParent<Point3N>(archiver, *this);
  std::int32_t value = 0;
  archiver >> value;
  constraint = static_cast<CONSTRAINT>(value);
}

KVSHAPES_PERSISTENT_CLASS(ConstraintPoint, "ConstraintPoint", 53013)

} // namespace Kavrel
