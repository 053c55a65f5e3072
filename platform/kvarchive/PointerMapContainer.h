#pragma once

#include <map>
#include <memory>

#include "platform/Export.h"

namespace Kavrel {

/// Root of the containers of objects that came out of an archive.
class KVSHAPES_EXPORT MapContainer
{
public:
  virtual ~MapContainer();
};

/// Objects of one class by their stream address, with the class left open. The pointers are those of the class itself.
class KVSHAPES_EXPORT PointerMapContainerBase : public MapContainer
{
public:
  /// Enters \p object, an object of the container's class, under \p address; an object already there is replaced.
  virtual void add(unsigned int address, const std::shared_ptr<void>& object) = 0;
  /// The object of \p address, null if absent.
  virtual std::shared_ptr<void> find(unsigned int address) const = 0;
  /// Drops the object of \p address, if any.
  virtual void remove(unsigned int address) = 0;
  /// An owner of \p object, which must be an object of the container's class made by `new`.
  virtual std::shared_ptr<void> own(void* object) const = 0;
};

/// What one archive has read of class \p T, by address: by this, two references lead to one object.
template <class T>
class PointerMapContainer final : public PointerMapContainerBase
{
public:
  void add(unsigned int address, const std::shared_ptr<void>& object) override
  {
    m_objects[address] = std::static_pointer_cast<T>(object);
  }

  std::shared_ptr<void> find(unsigned int address) const override
  {
    const auto found = m_objects.find(address);
    return found == m_objects.end() ? nullptr : found->second;
  }

  void remove(unsigned int address) override { m_objects.erase(address); }

  std::shared_ptr<void> own(void* object) const override { return std::shared_ptr<T>(static_cast<T*>(object)); }

private:
  std::map<unsigned int, std::shared_ptr<T>> m_objects;
};

} // namespace Kavrel
