#pragma once

#include "geometry/mesh/HalfEdge.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

namespace Kavrel {

/// What the walks over half-edges have in common as iterators. Walk derives from this and adds the steps in front; T is
/// the element, const or not.
template <class Walk, class T>
class MeshWalk
{
public:
  using Edge = std::conditional_t<std::is_const_v<T>, const HalfEdge, HalfEdge>;
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = std::remove_const_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

  Walk operator++(int)
  {
    Walk before(walk());
    ++walk();
    return before;
  }
  Walk operator--(int)
  {
    Walk before(walk());
    --walk();
    return before;
  }

  friend bool operator==(const MeshWalk&, const MeshWalk&) = default;

private:
  Walk& walk() { return static_cast<Walk&>(*this); }
};

} // namespace Kavrel
