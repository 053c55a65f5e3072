#include "geometry/VectorField.h"

#include "platform/kvarchive/Persistence.h"

namespace Kavrel {

namespace {

constexpr unsigned currentVersion = 300002;
constexpr unsigned versionOfOneContainer = 300002; // earlier archives hold a frame for each value
constexpr unsigned lastStreamWithoutPairs = 63013;

} // namespace

KVSHAPES_PERSISTENT_CLASS(VectorField, "VectorField", currentVersion)

VectorField::~VectorField() = default;

void VectorField::addValues(const std::vector<Value>& more)
{
  const std::size_t count = more.size(); // counted first: the list may be this one
  if (values.capacity() < values.size() + count) values.reserve(values.size() + count);
  for (std::size_t i = 0; i < count; ++i)
    values.push_back(more[i]);
}

void VectorField::copy(VectorField& target) const
{
  if (&target == this) return;
  target.clear();
  target.addValues(values);
  target.name = name;
}

void VectorField::erase(std::size_t index)
{
  if (index < values.size()) values.erase(values.begin() + static_cast<std::ptrdiff_t>(index));
}

void VectorField::save(PersistenceArchiver& archiver, unsigned int) const
{
  Persistence::saveObject(archiver, id);
  archiver << name;
  Persistence::saveContainer(archiver, values);
}

void VectorField::load(PersistenceArchiver& archiver, unsigned int version)
{
  Persistence::loadObject(archiver, id);
  archiver >> name;
  if (version >= versionOfOneContainer && archiver.getStreamVersion() > lastStreamWithoutPairs) {
    Persistence::loadContainer(archiver, values);
    return;
  }
  unsigned long long count = 0;
  archiver >> count;
  values.clear();
  // Grows with what the stream really holds: the count may be anything.
  for (unsigned long long i = 0; i < count; ++i) {
    values.emplace_back();
    Persistence::loadObject(archiver, values.back().first);
    Persistence::loadObject(archiver, values.back().second);
  }
}

} // namespace Kavrel
