#pragma once

#include "platform/Export.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kavrel {

/// A random access iterator over a MeshCollection. T is the element, const or not. Appending ends it, unlike pointers
/// to elements.
template <class T>
class KVSHAPES_EXPORT MeshCollectionIterator
{
public:
  using Element = std::remove_const_t<T>;
  using iterator_category = std::random_access_iterator_tag;
  using value_type = Element;
  using difference_type = std::ptrdiff_t;
  using pointer = T*;
  using reference = T&;

  static constexpr unsigned blockShift = 10;
  static constexpr difference_type blockSize = difference_type{1} << blockShift;

  MeshCollectionIterator() = default;
  /// The element at \p offset, from 0 to blockSize - 1, of a block.
  MeshCollectionIterator(Element* const* blockEntry, difference_type offset)
      : block(blockEntry), first(*blockEntry), current(first + offset)
  {}
  /// From mutable to constant.
  operator MeshCollectionIterator<const Element>() const requires(!std::is_const_v<T>)
  {
    return {block, current - first};
  }

  reference operator*() const { return *current; }
  pointer operator->() const { return current; }
  reference operator[](difference_type n) const { return *(*this + n); }

  MeshCollectionIterator& operator++()
  {
    if (++current == first + blockSize) current = first = *++block;
    return *this;
  }
  MeshCollectionIterator& operator--()
  {
    if (current == first) current = (first = *--block) + blockSize;
    --current;
    return *this;
  }
  MeshCollectionIterator operator++(int)
  {
    MeshCollectionIterator before(*this);
    ++*this;
    return before;
  }
  MeshCollectionIterator operator--(int)
  {
    MeshCollectionIterator before(*this);
    --*this;
    return before;
  }

  MeshCollectionIterator& operator+=(difference_type n)
  {
    const difference_type offset = n + (current - first);
    block += offset >> blockShift;
    first = *block;
    current = first + (offset & (blockSize - 1));
    return *this;
  }
  MeshCollectionIterator& operator-=(difference_type n) { return *this += -n; }
  MeshCollectionIterator operator+(difference_type n) const { return MeshCollectionIterator(*this) += n; }
  MeshCollectionIterator operator-(difference_type n) const { return MeshCollectionIterator(*this) -= n; }
  friend MeshCollectionIterator operator+(difference_type n, const MeshCollectionIterator& i) { return i + n; }

  difference_type operator-(const MeshCollectionIterator& other) const
  {
    return (block - other.block) * blockSize + (current - first) - (other.current - other.first);
  }
  bool operator==(const MeshCollectionIterator& other) const { return current == other.current; }
  std::strong_ordering operator<=>(const MeshCollectionIterator& other) const
  {
    return (*this - other) <=> difference_type{0};
  }

private:
  Element* const* block = nullptr;
  Element* first = nullptr;
  Element* current = nullptr;
};

/// The container of a mesh's elements: plain records in blocks. Elements never move while others are appended or
/// removed at the end. Blocks of a power of two make random access a shift, a mask and one look-up.
template <class T>
class KVSHAPES_EXPORT MeshCollection
{
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
  using value_type = T;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using reference = T&;
  using const_reference = const T&;
  using iterator = MeshCollectionIterator<T>;
  using const_iterator = MeshCollectionIterator<const T>;

  MeshCollection() = default;
  explicit MeshCollection(std::size_t size) : MeshCollection() { resize(size); }
  MeshCollection(const MeshCollection& source) : MeshCollection() { append(source); }
  MeshCollection(MeshCollection&& source) noexcept { swap(source); }
  ~MeshCollection() { clear(); }
  MeshCollection& operator=(const MeshCollection& source)
  {
    MeshCollection(source).swap(*this);
    return *this;
  }
  MeshCollection& operator=(MeshCollection&& source) noexcept
  {
    MeshCollection(std::move(source)).swap(*this);
    return *this;
  }
  void swap(MeshCollection& other) noexcept
  {
    blocks.swap(other.blocks);
    std::swap(count, other.count);
  }

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }

  /// No access is checked.
  T& operator[](std::size_t i) { return blocks[i >> blockShift][i & blockMask]; }
  const T& operator[](std::size_t i) const { return blocks[i >> blockShift][i & blockMask]; }
  T& front() { return (*this)[0]; }
  const T& front() const { return (*this)[0]; }
  T& back() { return (*this)[count - 1]; }
  const T& back() const { return (*this)[count - 1]; }

  iterator begin() { return {entry(0), 0}; }
  iterator end() { return {entry(count >> blockShift), static_cast<difference_type>(count & blockMask)}; }
  const_iterator begin() const { return {entry(0), 0}; }
  const_iterator end() const { return {entry(count >> blockShift), static_cast<difference_type>(count & blockMask)}; }
  const_iterator cbegin() const { return begin(); }
  const_iterator cend() const { return end(); }

  template <class... Arguments>
  T& emplace_back(Arguments&&... arguments)
  {
    if ((count & blockMask) == 0) provideBlocks(count + 1);
    T* const place = blocks[count >> blockShift] + (count & blockMask);
    std::construct_at(place, std::forward<Arguments>(arguments)...);
    ++count;
    return *place;
  }
  void push_back(const T& element) { emplace_back(element); }
  void pop_back() { --count; }

  /// Appends default elements, or drops the last ones with the blocks that held them.
  void resize(std::size_t size)
  {
    provideBlocks(size);
    while (count < size) {
      const std::size_t offset = count & blockMask, added = std::min(blockSize - offset, size - count);
      std::uninitialized_value_construct_n(blocks[count >> blockShift] + offset, added);
      count += added;
    }
    count = size;
    dropBlocks();
  }
  /// Gives all memory back.
  void clear() { resize(0); }

private:
  static constexpr unsigned blockShift = iterator::blockShift;
  static constexpr std::size_t blockSize = std::size_t{1} << blockShift;
  static constexpr std::size_t blockMask = blockSize - 1;

  static constexpr std::size_t blocksFor(std::size_t size) { return (size + blockMask) >> blockShift; }

  T* const* entry(std::size_t block) const { return blocks.empty() ? &noBlock : blocks.data() + block; }

  void append(const MeshCollection& source)
  {
    provideBlocks(source.count);
    for (std::size_t begin = 0; begin < source.count; begin += blockSize)
      std::uninitialized_copy_n(source.blocks[begin >> blockShift], std::min(blockSize, source.count - begin),
                                blocks[begin >> blockShift]);
    count = source.count;
  }

  void provideBlocks(std::size_t size)
  {
    const std::size_t needed = blocksFor(size);
    if (needed < blocks.size() || needed == 0) return;
    // Room for all, so that no block gets lost where memory runs out. Ends in null, where an end iterator may stand.
    if (blocks.capacity() <= needed) blocks.reserve(std::max(needed + 1, 2 * blocks.size()));
    if (blocks.empty()) blocks.push_back(nullptr);
    while (blocks.size() <= needed) {
      blocks.back() = std::allocator<T>().allocate(blockSize);
      blocks.push_back(nullptr);
    }
  }

  void dropBlocks()
  {
    const std::size_t kept = blocksFor(count);
    if (blocks.size() <= kept + 1) return;
    for (std::size_t i = kept; i + 1 < blocks.size(); ++i)
      std::allocator<T>().deallocate(blocks[i], blockSize);
    blocks.resize(kept + 1);
    blocks.back() = nullptr;
  }

  static constexpr T* noBlock = nullptr;

  std::vector<T*> blocks; // one for each begun block, some to spare, and a null behind; empty at first
  std::size_t count = 0;
};

} // namespace Kavrel
