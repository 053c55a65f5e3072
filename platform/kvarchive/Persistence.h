#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/kvarchive/PersistenceAccess.h"
#include "platform/kvarchive/PersistenceArchiver.h"
#include "platform/kvarchive/Persistent.h"
#include "platform/kvarchive/null_deleter.h"

/// \file
/// How a class becomes persistent.
///
/// Header (include "platform/kvarchive/Persistent.h"), last line of the class, abstract classes and templates too:
///
///     KVSHAPES_PERSISTENT();
///
/// It declares `save`, `load`, `serialization_register` and `s_force_serialization_registration`. Source (include
/// "platform/kvarchive/Persistence.h") of a plain class, in the class's namespace:
///
///     KVSHAPES_PERSISTENT_CLASS(Mesh, "Mesh", 150001)
///
/// and of a class template, one key per instantiation, before the explicit instantiations:
///
///     KVSHAPES_PERSISTENT_KEY("Circle2f", 500001, Circle<float, 2>)
///     KVSHAPES_PERSISTENT_KEY("Circle3", 53013, Circle<double, 3>)
///     KVSHAPES_PERSISTENT_TEMPLATE((class T, unsigned int dim), (Circle<T, dim>))
///
/// If `save` and `load` stand in another source than the explicit instantiations of the class, end that source with
/// `KVSHAPES_PERSISTENT_INSTANTIATE(Circle<double, 3>)` per instantiation. The bodies:
///
///     void Circle<T, dim>::save(PersistenceArchiver& archiver, unsigned int) const
///     {
///       Persistence::saveParent<ConicArc<T, dim>>(archiver, *this); // raises "Parent not registered" before it writes
///       archiver << m_radius << m_closed << m_name;                 // scalars and strings
///       Persistence::saveObject(archiver, m_center);                // a member by value: a frame of its own
///       Persistence::saveContainer(archiver, m_points);             // elements, scalars, shared pointers, pairs
///       Persistence::saveContainer64(archiver, m_temperatures);     // the same with a 64-bit count
///       Persistence::savePointer(archiver, m_curve);                // a shared object, stored once
///     }
///
/// `load` mirrors it with `loadParent`, `>>`, `loadObject`, `loadContainer`, `loadContainer64` and `loadPointer`, and
/// branches on its version. `saveParent` also registers the pair (Base, Derived), whichever of the two is registered
/// first; a class with several parents calls `requireParentToSave<Base, Derived>()` for each before it writes. An
/// application saves and loads whole objects with the same functions. In a header, `template <> struct
/// PersistentFlat<Vector<T, dim>> { using Component = T; };` makes containers of plain number tuples as fast as memory.

namespace Kavrel::Persistence {

/// Whether a class and its base are registered with each other, once for `save` and once for `load`. Both are false
/// until the initialisers of the library have run.
template <class Base, class Derived>
struct ParentRegistration
{
  static const bool s_save;
  static const bool s_load;
};

template <class Base, class Derived>
const bool ParentRegistration<Base, Derived>::s_save = PersistenceAccess::registerParent<Base, Derived>();
template <class Base, class Derived>
const bool ParentRegistration<Base, Derived>::s_load = PersistenceAccess::registerParent<Base, Derived>();

/// Raises "Parent not registered" unless the pair is registered; to be called by `save`.
template <class Base, class Derived>
void requireParentToSave()
{
  if (!ParentRegistration<Base, Derived>::s_save) PersistenceAccess::raiseParentNotRegistered();
}

/// Raises "Parent not registered" unless the pair is registered; to be called by `load`.
template <class Base, class Derived>
void requireParentToLoad()
{
  if (!ParentRegistration<Base, Derived>::s_load) PersistenceAccess::raiseParentNotRegistered();
}

/// Saves \p object as a frame of its own: a member, or one of the classes that an object derives from. The frame holds
/// the class \p T and its base parts only.
template <class T>
void saveObject(PersistenceArchiver& archiver, const T& object)
{
  const BaseClassRegister& record = PersistenceAccess::record<T>();
  PersistenceAccess::SavedFrame frame(archiver, record.classHash);
  PersistenceAccess::save(archiver, object, record.saveVersion);
  frame.end();
}

/// Loads in place what `saveObject` saved.
template <class T>
void loadObject(PersistenceArchiver& archiver, T& object)
{
  PersistenceAccess::LoadedFrame frame(archiver);
  PersistenceAccess::load(archiver, object, frame.version(PersistenceAccess::record<T>()));
  frame.end();
}

/// Saves the part of class \p Base of \p object. Raises "Parent not registered" unless the pair is registered.
template <class Base, class Derived>
void saveParent(PersistenceArchiver& archiver, const Derived& object)
{
  requireParentToSave<Base, Derived>();
  saveObject<Base>(archiver, object);
}

/// Loads the part of class \p Base of \p object. Raises "Parent not registered" unless the pair is registered.
template <class Base, class Derived>
void loadParent(PersistenceArchiver& archiver, Derived& object)
{
  requireParentToLoad<Base, Derived>();
  loadObject<Base>(archiver, object);
}

/// Saves a shared object under its dynamic class: a frame where it is first met, a reference afterwards.
template <class T>
void savePointer(PersistenceArchiver& archiver, const std::shared_ptr<T>& pointer)
{
  using Class = std::remove_const_t<T>;
  PersistenceAccess::savePointer(archiver, PersistenceAccess::record<Class>(), const_cast<Class*>(pointer.get()));
}

/// Loads what `savePointer` saved. A null reference leaves \p pointer as it is. An object that \p pointer already holds
/// is loaded in place if its class is the one stored and the object is new to the archive. With \p nonOwning an object
/// made here isn't owned by \p pointer; it ends with the archive unless an owning pointer to it is loaded too.
template <class T>
void loadPointer(PersistenceArchiver& archiver, std::shared_ptr<T>& pointer, bool nonOwning = false)
{
  using Class = std::remove_const_t<T>;
  std::shared_ptr<void> target = std::const_pointer_cast<Class>(pointer);
  PersistenceAccess::PendingPointer pending =
      PersistenceAccess::loadPointerHead(archiver, PersistenceAccess::record<Class>(), target, nonOwning);
  pointer = std::static_pointer_cast<Class>(target);
  PersistenceAccess::loadPointerBody(archiver, pending);
}

namespace Detail {

template <class T>
struct IsSharedPointer : std::false_type
{};
template <class T>
struct IsSharedPointer<std::shared_ptr<T>> : std::true_type
{
  using Class = std::remove_const_t<T>;
};

template <class T>
struct IsPair : std::false_type
{};
template <class First, class Second>
struct IsPair<std::pair<First, Second>> : std::true_type
{};

template <class T>
concept Flat = requires
{
  typename PersistentFlat<T>::Component;
};

template <class Container>
concept Contiguous = requires(Container& c)
{
  c.data();
};

template <class T>
concept FixedScalar = PersistentScalar<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, std::string>;

/// The record whose key stands for an element of a container.
template <class Element>
const BaseClassRegister& elementRecord()
{
  if constexpr (IsSharedPointer<Element>::value)
    return PersistenceAccess::record<typename IsSharedPointer<Element>::Class>();
  else
    return PersistenceAccess::record<Element>();
}

/// The class that the frame of a container names: none for shared pointers, which bring their classes along.
template <class Element>
unsigned int containerHash()
{
  if constexpr (IsSharedPointer<Element>::value)
    return NO_HASH;
  else
    return elementRecord<Element>().classHash;
}

/// Fewest bytes that an element takes in the stream.
template <class Element>
constexpr std::size_t leastElementSize()
{
  if constexpr (FixedScalar<Element> || Flat<Element>)
    return sizeof(Element);
  else if constexpr (IsPair<Element>::value)
    return leastElementSize<typename Element::first_type>() + leastElementSize<typename Element::second_type>();
  else if constexpr (IsSharedPointer<Element>::value)
    return 8;
  else
    return 1;
}

template <class Element>
void saveElement(PersistenceArchiver& archiver, const Element& element, unsigned int version)
{
  if constexpr (IsSharedPointer<Element>::value)
    savePointer(archiver, element);
  else if constexpr (PersistentScalar<Element>)
    archiver << element;
  else
    PersistenceAccess::save(archiver, element, version);
}

template <class Element>
void loadElement(PersistenceArchiver& archiver, Element& element, unsigned int version)
{
  if constexpr (IsSharedPointer<Element>::value)
    loadPointer(archiver, element);
  else if constexpr (PersistentScalar<Element>)
    archiver >> element;
  else
    PersistenceAccess::load(archiver, element, version);
}

/// Lets \p container grow to \p count elements, in steps that the stream has paid for, and calls \p load for each.
template <class Container, class LoadElement>
void loadElements(PersistenceArchiver& archiver, Container& container, std::size_t count, LoadElement load)
{
  using Element = typename Container::value_type;
  const std::size_t plausible = PersistenceAccess::remaining(archiver) / sizeof(Element) + 1;
  std::size_t loaded = 0;
  if (container.size() > count) container.resize(count);
  while (loaded < count) {
    if (container.size() == loaded) container.resize(std::min(count, std::max(plausible, 2 * loaded)));
    for (const std::size_t ready = container.size(); loaded < ready; ++loaded) {
      if constexpr (std::is_same_v<Element, bool>) {
        bool value = false;
        load(value);
        container[loaded] = value;
      } else
        load(container[loaded]);
    }
  }
}

template <class Count, class Container>
void saveContainer(PersistenceArchiver& archiver, const Container& container)
{
  using Element = typename Container::value_type;
  if constexpr (IsPair<Element>::value) {
    const BaseClassRegister& first = elementRecord<typename Element::first_type>();
    const BaseClassRegister& second = elementRecord<typename Element::second_type>();
    PersistenceAccess::SavedFrame frame(archiver, second.classHash);
    archiver.noteClass(first.classHash);
    archiver << first.classHash << static_cast<Count>(container.size());
    for (const Element& element : container) {
      saveElement(archiver, element.first, first.saveVersion);
      saveElement(archiver, element.second, second.saveVersion);
    }
    frame.end();
  } else {
    const BaseClassRegister& record = elementRecord<Element>();
    PersistenceAccess::SavedFrame frame(archiver, containerHash<Element>());
    archiver << static_cast<Count>(container.size());
    if constexpr (Flat<Element> && Contiguous<const Container>) {
      using Component = typename PersistentFlat<Element>::Component;
      static_assert(std::is_trivially_copyable_v<Element> && sizeof(Element) % sizeof(Component) == 0);
      archiver.putArray(reinterpret_cast<const Component*>(container.data()),
                        container.size() * (sizeof(Element) / sizeof(Component)));
    } else if constexpr (FixedScalar<Element> && Contiguous<const Container>)
      archiver.putArray(container.data(), container.size());
    else
      for (const auto& element : container)
        saveElement<Element>(archiver, element, record.saveVersion);
    frame.end();
  }
}

template <class Count, class Container>
void loadContainer(PersistenceArchiver& archiver, Container& container)
{
  using Element = typename Container::value_type;
  PersistenceAccess::LoadedFrame frame(archiver);
  Count count = 0;
  if constexpr (IsPair<Element>::value) {
    const BaseClassRegister& first = elementRecord<typename Element::first_type>();
    unsigned int firstHash = NO_HASH;
    archiver >> firstHash >> count;
    PersistenceAccess::checkElementCount(archiver, count, leastElementSize<Element>());
    const unsigned int firstVersion = PersistenceAccess::versionFor(archiver, firstHash, first);
    const unsigned int secondVersion = frame.version(elementRecord<typename Element::second_type>());
    loadElements(archiver, container, static_cast<std::size_t>(count), [&](Element& element) {
      loadElement(archiver, element.first, firstVersion);
      loadElement(archiver, element.second, secondVersion);
    });
  } else {
    archiver >> count;
    PersistenceAccess::checkElementCount(archiver, count, leastElementSize<Element>());
    const auto size = static_cast<std::size_t>(count);
    const unsigned int version = frame.version(elementRecord<Element>());
    if constexpr (Flat<Element> && Contiguous<Container>) {
      using Component = typename PersistentFlat<Element>::Component;
      container.resize(size);
      archiver.getArray(reinterpret_cast<Component*>(container.data()), size * (sizeof(Element) / sizeof(Component)));
    } else if constexpr (FixedScalar<Element> && Contiguous<Container>) {
      container.resize(size);
      archiver.getArray(container.data(), size);
    } else
      loadElements(archiver, container, size, [&](Element& element) { loadElement(archiver, element, version); });
  }
  frame.end();
}

} // namespace Detail

/// Saves a vector, or a deque, as one frame with the element's class and the count: of class elements, scalars, shared
/// pointers (each then with a frame or reference of its own, and no class for the whole) or pairs of these.
template <class Container>
void saveContainer(PersistenceArchiver& archiver, const Container& container)
{
  if (container.size() > 0xFFFFFFFFu) throw PersistenceException("The container is too large for the archive.");
  Detail::saveContainer<unsigned int>(archiver, container);
}

/// Loads what `saveContainer` saved; elements that \p container already has are loaded in place.
template <class Container>
void loadContainer(PersistenceArchiver& archiver, Container& container)
{
  Detail::loadContainer<unsigned int>(archiver, container);
}

/// As `saveContainer`, with a 64-bit count.
template <class Container>
void saveContainer64(PersistenceArchiver& archiver, const Container& container)
{
  Detail::saveContainer<unsigned long long>(archiver, container);
}

/// Loads what `saveContainer64` saved.
template <class Container>
void loadContainer64(PersistenceArchiver& archiver, Container& container)
{
  Detail::loadContainer<unsigned long long>(archiver, container);
}

} // namespace Kavrel::Persistence

#define KVSHAPES_UNWRAP(...) __VA_ARGS__

/// Defines the registration of a plain class.
#define KVSHAPES_PERSISTENT_CLASS(Class, key, classVersion)                                                            \
  void Class::serialization_register(void* target)                                                                     \
  {                                                                                                                    \
    *static_cast<::Kavrel::BaseClassRegister*>(target) =                                                               \
        ::Kavrel::PersistenceAccess::registerClass<Class>(key, classVersion);                                          \
  }                                                                                                                    \
  bool Class::s_force_serialization_registration =                                                                     \
      ::Kavrel::PersistenceAccess::registerClass<Class>(key, classVersion).classHash != ::Kavrel::NO_HASH;

/// States the key and version of one instantiation of a class template.
#define KVSHAPES_PERSISTENT_KEY(keyText, classVersion, ...)                                                            \
  template <>                                                                                                          \
  struct PersistentKey<__VA_ARGS__>                                                                                    \
  {                                                                                                                    \
    static constexpr const char* key = keyText;                                                                        \
    static constexpr unsigned int version = classVersion;                                                              \
  };

/// Defines the registration of a class template: parameters and class in brackets.
#define KVSHAPES_PERSISTENT_TEMPLATE(parameters, type)                                                                 \
  template <KVSHAPES_UNWRAP parameters>                                                                                \
  void KVSHAPES_UNWRAP type::serialization_register(void* target)                                                      \
  {                                                                                                                    \
    using Self = KVSHAPES_UNWRAP type;                                                                                 \
    *static_cast<::Kavrel::BaseClassRegister*>(target) = ::Kavrel::PersistenceAccess::registerClass<Self>(             \
        ::Kavrel::PersistentKey<Self>::key, ::Kavrel::PersistentKey<Self>::version);                                   \
  }                                                                                                                    \
  template <KVSHAPES_UNWRAP parameters>                                                                                \
  bool KVSHAPES_UNWRAP type::s_force_serialization_registration =                                                      \
      ::Kavrel::PersistenceAccess::registerClass<KVSHAPES_UNWRAP type>(                                                \
          ::Kavrel::PersistentKey<KVSHAPES_UNWRAP type>::key, ::Kavrel::PersistentKey<KVSHAPES_UNWRAP type>::version)  \
          .classHash != ::Kavrel::NO_HASH;

/// Instantiates the archive members of one class, where the class itself is instantiated elsewhere.
#define KVSHAPES_PERSISTENT_INSTANTIATE(...)                                                                           \
  template void __VA_ARGS__::save(::Kavrel::PersistenceArchiver&, unsigned int) const;                                 \
  template void __VA_ARGS__::load(::Kavrel::PersistenceArchiver&, unsigned int);                                       \
  template void __VA_ARGS__::serialization_register(void*);                                                            \
  template bool __VA_ARGS__::s_force_serialization_registration;
