#pragma once

#include <type_traits>

#include "platform/Export.h"

namespace Kavrel {

/// Converts object addresses between a base class and a class derived from it, both known by their class hashes only.
class KVSHAPES_EXPORT Caster
{
public:
  virtual ~Caster();
  /// Address of the base part of the derived object at \p derived.
  virtual void* toBase(void* derived) = 0;
  /// Address of the derived object whose base part stands at \p base, null if a polymorphic object is of another class.
  virtual void* toDerived(void* base) = 0;
};

/// The caster of one pair. The way down is a `dynamic_cast` when \p polymorphicFlag is 1, else a `static_cast`.
template <class Base, class Derived, int polymorphicFlag, int offset>
class CasterAccess final : public Caster
{
  static_assert(std::is_base_of_v<Base, Derived> && offset == 0);

public:
  void* toBase(void* derived) override { return m_toBase(static_cast<Derived*>(derived)); }
  void* toDerived(void* base) override { return m_toDerived(static_cast<Base*>(base)); }

private:
  static Base* up(Derived* derived) { return derived; }

  static Derived* down(Base* base)
  {
    if constexpr (polymorphicFlag != 0)
      return dynamic_cast<Derived*>(base);
    else
      return static_cast<Derived*>(base);
  }

  Base* (*m_toBase)(Derived*) = &up;
  Derived* (*m_toDerived)(Base*) = &down;
};

} // namespace Kavrel
