#pragma once

namespace Kavrel {

class Caster;
class MapContainer;
class PersistenceArchiver;

/// In place of a class hash: no class.
inline constexpr unsigned int NO_HASH = 0xBBAFA6C8u;

/// Registration record of one persistent class, and the work record of one save or load of it.
struct BaseClassRegister
{
  /// Loads the object at `object` in the form of `loadVersion`.
  void (*loadEntry)(PersistenceArchiver& archiver, BaseClassRegister& record) = nullptr;
  /// Saves the object at `object`; its `save` gets `saveVersion`.
  void (*saveEntry)(PersistenceArchiver& archiver, BaseClassRegister& record) = nullptr;
  /// Makes an object with `new T()`; null if the class is abstract.
  void* (*createEntry)() = nullptr;
  /// Class hash of the dynamic class of the object, `NO_HASH` if that class isn't registered.
  unsigned int (*typeHashEntry)(BaseClassRegister& record) = nullptr;
  /// A new empty `PointerMapContainer` of the class, to be owned by the caller.
  MapContainer* (*mapContainerEntry)() = nullptr;
  /// True if the class has virtual operations.
  bool polymorphic = false;
  /// Name of the class in streams: its key, hashed.
  unsigned int classHash = NO_HASH;
  /// Version of the form that is written.
  unsigned int saveVersion = 0;
  /// Version of the form that is read.
  unsigned int loadVersion = 0xFFFFFFFFu;
  /// What is saved or loaded now: address of the object as a pointer to the record's class, not to a base.
  void* object = nullptr;
  /// Set while `object` is reached through a pointer to a base.
  Caster* caster = nullptr;
};

} // namespace Kavrel
