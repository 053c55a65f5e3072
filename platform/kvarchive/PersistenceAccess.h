#pragma once

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "platform/Export.h"
#include "platform/kvarchive/PersistenceArchiver.h"
#include "platform/kvarchive/Persistent.h"

namespace Kavrel {

/// Key and version of one instantiation of a persistent class template, specialised by `KVSHAPES_PERSISTENT_KEY`.
template <class T>
struct PersistentKey;

/// What the archive writes without a class of its own.
template <class T>
concept PersistentScalar =
    std::is_same_v<T, bool> || std::is_same_v<T, int> || std::is_same_v<T, unsigned int> || std::is_same_v<T, float> ||
    std::is_same_v<T, double> || std::is_same_v<T, unsigned long long> || std::is_same_v<T, std::string>;

/// What stands between the archive and the private members of the persistent classes; classes use Persistence.h.
class KVSHAPES_EXPORT PersistenceAccess
{
public:
  /// Registers a class once; every call returns the stored record.
  template <class T>
  static const BaseClassRegister& registerClass(const char* key, unsigned int version);

  /// Registers the pair; true unless the archive refused it.
  template <class Base, class Derived>
  static bool registerParent();

  /// The stored record of a class, asked from the class itself, or of a scalar.
  template <class T>
  static const BaseClassRegister& record();

  template <class T>
  static void save(PersistenceArchiver& archiver, const T& object, unsigned int version)
  {
    object.T::save(archiver, version);
  }

  template <class T>
  static void load(PersistenceArchiver& archiver, T& object, unsigned int version)
  {
    object.T::load(archiver, version);
  }

  /// One frame: begun by the constructor, closed by `end`.
  class SavedFrame
  {
  public:
    SavedFrame(PersistenceArchiver& archiver, unsigned int classHash) : m_archiver(archiver), m_nesting(archiver)
    {
      m_address = static_cast<unsigned int>(archiver.position() + 4);
      archiver.mark_object_start(m_address, classHash);
    }
    void end() { m_archiver.mark_object_end(m_address, static_cast<unsigned int>(m_archiver.position())); }

  private:
    PersistenceArchiver& m_archiver;
    PersistenceArchiver::Nesting m_nesting;
    unsigned int m_address;
  };

  /// One frame: its head is read by the constructor, its end reached by `end`.
  class LoadedFrame
  {
  public:
    explicit LoadedFrame(PersistenceArchiver& archiver) : m_archiver(archiver), m_nesting(archiver)
    {
      unsigned int address;
      archiver.read_to_address_header(address, m_end);
      if (address == 0 || m_end == 0) raiseNoFrame();
      archiver >> m_hash;
    }
    /// The version of the class of the frame, read where the class of \p expected stands.
    unsigned int version(const BaseClassRegister& expected) const { return m_archiver.versionFor(m_hash, expected); }
    void end() { m_archiver.end_read_to_address(m_end); }

  private:
    PersistenceArchiver& m_archiver;
    PersistenceArchiver::Nesting m_nesting;
    unsigned int m_end;
    unsigned int m_hash;
  };

  static unsigned int versionFor(PersistenceArchiver& archiver, unsigned int hash, const BaseClassRegister& expected)
  {
    return archiver.versionFor(hash, expected);
  }

  /// Raises if the stream can't hold \p count elements of at least \p elementSize bytes.
  static void checkElementCount(const PersistenceArchiver& archiver, unsigned long long count, std::size_t elementSize)
  {
    archiver.checkElementCount(count, elementSize);
  }

  /// Unread bytes of the stream.
  static std::size_t remaining(const PersistenceArchiver& archiver) { return archiver.room(); }

  /// Saves the object of a shared pointer to a class with the record \p expected.
  static void savePointer(PersistenceArchiver& archiver, const BaseClassRegister& expected, void* object);

  /// A pointer whose frame's head has been read: the body is still to come.
  struct PendingPointer
  {
    BaseClassRegister record;
    unsigned int address = 0;
    unsigned int end = 0;
    bool hasBody = false;
  };

  /// Reads a pointer's head and settles to which object \p target refers.
  static PendingPointer loadPointerHead(PersistenceArchiver& archiver, const BaseClassRegister& expected,
                                        std::shared_ptr<void>& target, bool nonOwning);
  /// Reads the body, if one is to be read, and goes behind the frame.
  static void loadPointerBody(PersistenceArchiver& archiver, PendingPointer& pending);

  [[noreturn]] static void raiseParentNotRegistered();

private:
  template <class T>
  struct Entries;

  static const BaseClassRegister& scalarRecord(const std::type_info& type);
  static unsigned int hashForType(const std::type_info& type);
  static void selectClass(PersistenceArchiver& archiver, unsigned int hash, const BaseClassRegister& expected,
                          BaseClassRegister& record);
  static PointerMapContainerBase& pointerMap(PersistenceArchiver& archiver, PendingPointer& pending,
                                             const BaseClassRegister& expected);
  static void shareKnownObject(PersistenceArchiver& archiver, const PendingPointer& pending,
                               PointerMapContainerBase& container, std::shared_ptr<void> known,
                               std::shared_ptr<void>& target, bool nonOwning);
  static void takeNewObject(PersistenceArchiver& archiver, PendingPointer& pending, PointerMapContainerBase& container,
                            std::shared_ptr<void>& target, bool nonOwning);
  static void* asExpected(const PendingPointer& pending, void* object);
  [[noreturn]] static void raiseNoFrame();
};

/// The functions that a class's record points to.
template <class T>
struct PersistenceAccess::Entries
{
  static void load(PersistenceArchiver& archiver, BaseClassRegister& record)
  {
    PersistenceAccess::load(archiver, *static_cast<T*>(record.object), record.loadVersion);
  }

  static void save(PersistenceArchiver& archiver, BaseClassRegister& record)
  {
    PersistenceAccess::save(archiver, *static_cast<const T*>(record.object), record.saveVersion);
  }

  static void* create()
  {
    if constexpr (std::is_abstract_v<T>)
      return nullptr;
    else
      return new T();
  }

  static unsigned int typeHash(BaseClassRegister& record)
  {
    static const unsigned int ownHash = PersistenceAccess::record<T>().classHash;
    if constexpr (std::is_polymorphic_v<T>) {
      const std::type_info& type = typeid(*static_cast<const T*>(record.object));
      return type == typeid(T) ? ownHash : hashForType(type);
    } else {
      return ownHash;
    }
  }

  static MapContainer* mapContainer() { return new PointerMapContainer<T>(); }
};

template <class T>
const BaseClassRegister& PersistenceAccess::registerClass(const char* key, unsigned int version)
{
  static const BaseClassRegister* const stored = [&] {
    BaseClassRegister record;
    record.loadEntry = &Entries<T>::load;
    record.saveEntry = &Entries<T>::save;
    record.createEntry = &Entries<T>::create;
    record.typeHashEntry = &Entries<T>::typeHash;
    record.mapContainerEntry = &Entries<T>::mapContainer;
    record.polymorphic = std::is_polymorphic_v<T>;
    if (version == 0xFFFFFFFFu) version = PersistenceArchiver::getCurrentVersion(0);
    const BaseClassRegister* const entered = PersistenceArchiver::registerFactory(key, record, version);
    PersistenceArchiver::registerHash(PersistenceArchiver::getHashForName(typeid(T).name()), entered->classHash);
    return entered;
  }();
  return *stored;
}

template <class Base, class Derived>
bool PersistenceAccess::registerParent()
{
  BaseClassRegister local;
  Base::serialization_register(&local);
  Derived::serialization_register(&local);
  const auto hashOf = [](const std::type_info& type) {
    const unsigned int classHash = hashForType(type);
    return classHash != NO_HASH ? classHash : PersistenceArchiver::getHashForName(type.name());
  };
  return PersistenceArchiver::registerCaster(hashOf(typeid(Base)), hashOf(typeid(Derived)), new CasterAccess < Base,
                                             Derived, std::is_polymorphic_v<Base> ? 1 : 0, 0 > ());
}

template <class T>
const BaseClassRegister& PersistenceAccess::record()
{
  static const BaseClassRegister stored = [] {
    BaseClassRegister copy;
    if constexpr (PersistentScalar<T>)
      copy = scalarRecord(typeid(T));
    else
      T::serialization_register(&copy);
    return copy;
  }();
  return stored;
}

} // namespace Kavrel
