#pragma once

namespace Kavrel {

class Caster;
class MapContainer;
class PersistenceArchiver;

/// Class hash that stands for no class.
inline constexpr unsigned int NO_HASH = 0xBBAFA6C8u;

/// Registration record of one persistent class, and the work record of one save or load of it.
struct BaseClassRegister
{
  /// Calls `load` of the object with `loadVersion`.
  void (*loadEntry)(PersistenceArchiver& archiver, BaseClassRegister& record) = nullptr;
  /// Calls `save` of the object with `saveVersion`.
  void (*saveEntry)(PersistenceArchiver& archiver, BaseClassRegister& record) = nullptr;
  /// A new object by the default constructor, null for an abstract class.
  void* (*createEntry)() = nullptr;
  /// Class hash of the dynamic class of the object, `NO_HASH` if that class isn't registered.
  unsigned int (*typeHashEntry)(BaseClassRegister& record) = nullptr;
  /// A new empty `PointerMapContainer` of the class, to be owned by the caller.
  MapContainer* (*mapContainerEntry)() = nullptr;
  /// True if the class has virtual operations.
  bool polymorphic = false;
  /// Hash of the class key.
  unsigned int classHash = NO_HASH;
  /// Version that `save` is given.
  unsigned int saveVersion = 0;
  /// Version that `load` is given.
  unsigned int loadVersion = 0xFFFFFFFFu;
  /// The object at hand, as the class's own pointer.
  void* object = nullptr;
  /// The caster that led to `object`, or null.
  Caster* caster = nullptr;
};

} // namespace Kavrel
