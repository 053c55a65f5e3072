#pragma once

namespace Kavrel {

class PersistenceAccess;
class PersistenceArchiver;

/// Specialised with `using Component = T;` for a class whose archive form is its own memory, components of type T in a
/// row and nothing else: containers of it are then saved and loaded in one piece.
template <class Element>
struct PersistentFlat
{};

} // namespace Kavrel

/// Makes a class persistent; stands last in the class, since what follows it is private. How the members get their
/// definitions is told in Persistence.h.
#define KVSHAPES_PERSISTENT()                                                                                          \
public:                                                                                                                \
  /** Copies the archive's record of the class into \p target, a `BaseClassRegister`. */                               \
  static void serialization_register(void* target);                                                                    \
                                                                                                                       \
private:                                                                                                               \
  friend class ::Kavrel::PersistenceAccess;                                                                            \
  void save(::Kavrel::PersistenceArchiver& archiver, unsigned int version) const;                                      \
  void load(::Kavrel::PersistenceArchiver& archiver, unsigned int version);                                            \
  static bool s_force_serialization_registration
