#include "platform/kvarchive/PersistenceAccess.h"

#include <cstdint>

#include "platform/kvarchive/null_deleter.h"

namespace Kavrel {

namespace {

template <class T>
bool registerScalar(const char* key)
{
  const BaseClassRegister* const record = PersistenceArchiver::registerFactory(key, BaseClassRegister(), 0);
  PersistenceArchiver::registerHash(PersistenceArchiver::getHashForName(typeid(T).name()), record->classHash);
  return true;
}

/// Containers of scalars carry these keys.
void registerScalars()
{
  static const bool registered =
      registerScalar<bool>("bool") && registerScalar<int>("int") && registerScalar<unsigned int>("unsigned int") &&
      registerScalar<float>("float") && registerScalar<double>("double") &&
      registerScalar<unsigned long long>("unsigned long long") && registerScalar<std::string>("string");
  static_cast<void>(registered);
}

[[maybe_unused]] const bool scalarsRegistered = (registerScalars(), true);

Caster& casterFor(unsigned int baseHash, unsigned int derivedHash)
{
  Caster* const caster = PersistenceArchiver::getCaster(baseHash, derivedHash);
  if (caster == nullptr)
    throw PersistenceException("The archive holds an object of a class that doesn't derive from the one expected.");
  return *caster;
}

} // namespace

const BaseClassRegister& PersistenceAccess::scalarRecord(const std::type_info& type)
{
  registerScalars();
  return PersistenceArchiver::getMapOfClasses().at(hashForType(type));
}

unsigned int PersistenceAccess::hashForType(const std::type_info& type)
{
  return PersistenceArchiver::getHashForType(PersistenceArchiver::getHashForName(type.name()));
}

void PersistenceAccess::savePointer(PersistenceArchiver& archiver, const BaseClassRegister& expected, void* object)
{
  if (object == nullptr) return archiver.mark_null_pointer();

  BaseClassRegister record = expected;
  record.object = object;
  const unsigned int hash = record.typeHashEntry(record);
  if (hash != NO_HASH && hash != expected.classHash) {
    record = PersistenceArchiver::getMapOfClasses().at(hash);
    record.caster = &casterFor(expected.classHash, hash);
    record.object = record.caster->toDerived(object);
  }

  const auto address = static_cast<unsigned int>(archiver.position() + 4);
  const auto key = static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(record.object));
  const auto [stored, isNew] = archiver.getStreamposMap(hash).try_emplace(key, address);
  if (!isNew) return archiver.mark_pointer(stored->second, hash);

  SavedFrame frame(archiver, hash);
  record.saveEntry(archiver, record);
  frame.end();
}

PersistenceAccess::PendingPointer PersistenceAccess::loadPointerHead(PersistenceArchiver& archiver,
                                                                     const BaseClassRegister& expected,
                                                                     std::shared_ptr<void>& target, bool nonOwning)
{
  PendingPointer pending;
  archiver.read_to_address_header(pending.address, pending.end);
  if (pending.address == 0) return {}; // whatever end stands there

  unsigned int hash;
  archiver >> hash;
  selectClass(archiver, hash, expected, pending.record);
  // A damaged stream may have met the hash of the class expected where another class was, which then is what is read.
  if (hash != expected.classHash || pending.record.classHash != expected.classHash) target.reset();

  PointerMapContainerBase& container = pointerMap(archiver, pending, expected);
  if (const std::shared_ptr<void> known = container.find(pending.address))
    shareKnownObject(archiver, pending, container, known, target, nonOwning);
  else
    takeNewObject(archiver, pending, container, target, nonOwning);
  return pending;
}

/// The class that is read for a pointer whose frame carries \p hash.
void PersistenceAccess::selectClass(PersistenceArchiver& archiver, unsigned int hash, const BaseClassRegister& expected,
                                    BaseClassRegister& record)
{
  record = expected;
  if (hash == NO_HASH) {
    record.loadVersion = 0;
    return;
  }
  const auto known = archiver.m_streamClasses.find(hash);
  if (known != archiver.m_streamClasses.end()) {
    record = known->second;
    return;
  }
  if (hash != expected.classHash) archiver.handle_currupted_object();
  archiver.m_streamClasses.emplace(hash, record);
}

/// The objects of the class that is read. Objects without class hash are kept by the class expected, so that a
/// container never holds objects of two classes.
PointerMapContainerBase& PersistenceAccess::pointerMap(PersistenceArchiver& archiver, PendingPointer& pending,
                                                       const BaseClassRegister& expected)
{
  const unsigned int hash = pending.record.classHash;
  if (hash != expected.classHash) pending.record.caster = &casterFor(expected.classHash, hash);
  return archiver.getPointerMap(hash, pending.record);
}

void PersistenceAccess::shareKnownObject(PersistenceArchiver& archiver, const PendingPointer& pending,
                                         PointerMapContainerBase& container, std::shared_ptr<void> known,
                                         std::shared_ptr<void>& target, bool nonOwning)
{
  const auto unclaimed = archiver.m_unclaimed.find(known.get());
  if (!nonOwning && unclaimed != archiver.m_unclaimed.end() && std::get_deleter<null_deleter>(known) != nullptr) {
    container.remove(pending.address);
    known = container.own(known.get());
    archiver.m_unclaimed.erase(unclaimed);
    container.add(pending.address, known);
  }
  void* const object = asExpected(pending, known.get());
  target = std::shared_ptr<void>(std::move(known), object);
}

void PersistenceAccess::takeNewObject(PersistenceArchiver& archiver, PendingPointer& pending,
                                      PointerMapContainerBase& container, std::shared_ptr<void>& target, bool nonOwning)
{
  pending.hasBody = true;
  if (target != nullptr) {
    pending.record.object = target.get();
    container.add(pending.address, target);
    return;
  }
  void* const object = pending.record.createEntry();
  if (object == nullptr) throw PersistenceException("The archive holds an object of an abstract class.");
  pending.record.object = object;

  std::shared_ptr<void> created;
  if (nonOwning) {
    archiver.m_unclaimed.emplace(object, PersistenceArchiver::Unclaimed{&container, object});
    created = std::shared_ptr<void>(object, null_deleter());
  } else
    created = container.own(object);
  container.add(pending.address, created);
  target = std::shared_ptr<void>(std::move(created), asExpected(pending, object));
}

/// The address of an object of the class that is read, as a pointer of the class expected.
void* PersistenceAccess::asExpected(const PendingPointer& pending, void* object)
{
  return pending.record.caster != nullptr ? pending.record.caster->toBase(object) : object;
}

void PersistenceAccess::loadPointerBody(PersistenceArchiver& archiver, PendingPointer& pending)
{
  if (pending.hasBody) {
    const PersistenceArchiver::Nesting nesting(archiver);
    if (pending.end != 0)
      pending.record.loadEntry(archiver, pending.record);
    else {
      std::streampos position = archiver.tellg();
      unsigned int saved = 0xFFFFFFFFu;
      archiver.begin_read_pointer(pending.address, saved, position);
      pending.record.loadEntry(archiver, pending.record);
      archiver.end_read_pointer(saved, position);
    }
  }
  if (pending.end != 0) archiver.end_read_to_address(pending.end);
}

void PersistenceAccess::raiseParentNotRegistered() { throw PersistenceException("Parent not registered"); }

void PersistenceAccess::raiseNoFrame()
{
  throw PersistenceException("The archive holds a reference where an object is expected.");
}

} // namespace Kavrel
