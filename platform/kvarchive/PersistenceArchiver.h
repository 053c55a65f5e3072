#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <ios>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Export.h"
#include "platform/kvarchive/BaseClassRegister.h"
#include "platform/kvarchive/Caster.h"
#include "platform/kvarchive/PersistenceException.h"
#include "platform/kvarchive/PointerMapContainer.h"

namespace Kavrel {

/// The archive: one stream of framed objects in a memory buffer, and the process-wide registry of persistent classes.
///
/// A stream begins with a head (mark, suite version, position of the class table), goes on with values and frames, and
/// ends with the table of the classes it holds and their versions. All numbers are little-endian. A frame is
/// [address][end][class hash] and the body, three unsigned 32-bit integers; its address is the position of `end`, and
/// `end` is the position behind the body. [address][0][class hash] refers to a frame elsewhere, [0][0] to no object.
///
/// An archive either writes or reads, and no two threads may share it. Any failure raises `PersistenceException`.
/// A stream may come from anywhere: what is read from it is checked before it is used.
class KVSHAPES_EXPORT PersistenceArchiver
{
public:
  /// Largest stream that 32-bit addresses reach.
  static constexpr std::size_t maxStreamSize = 0xFFFFFFFFu;

  /// An empty archive that writes with the current suite version.
  PersistenceArchiver();
  ~PersistenceArchiver();
  PersistenceArchiver(const PersistenceArchiver&) = delete;
  PersistenceArchiver& operator=(const PersistenceArchiver&) = delete;

  /// Starts an empty stream that carries \p streamVersion. It raises once it grows past \p sizeLimit bytes.
  void openForWriting(unsigned int streamVersion = getCurrentVersion(0), std::size_t sizeLimit = maxStreamSize);
  /// Ends the written stream with its class table. The bytes live until the archive is opened anew or destroyed.
  /// A second call gives the same bytes.
  std::span<const char> close();
  /// Closes the written stream and stores it in a file.
  void writeFile(const std::filesystem::path& path);

  /// Reads from \p bytes. Borrows them: they must outlive the reading. Bytes that are no archive leave it closed.
  void openForReading(std::span<const char> bytes);
  /// Reads from the file, which is taken into memory whole.
  void openFile(const std::filesystem::path& path);

  /// Enters \p record under the hash of \p key, which is unique in the process, and fills its hash and versions.
  /// Returns the stored record; it lives as long as the process.
  static BaseClassRegister* registerFactory(const std::string& key, const BaseClassRegister& record,
                                            unsigned int version);
  /// The suite version that new streams carry, asked with 0.
  static unsigned int getCurrentVersion(unsigned int kind);
  /// FNV-1a of \p name, 32 bit. The same on every machine.
  static unsigned int getHashForName(const std::string& name);
  /// Makes \p typeHash, the hash of a `typeid` name, stand for the class \p classHash. Raises if it stands for another.
  static void registerHash(unsigned int typeHash, unsigned int classHash);
  /// The class hash for which \p typeHash stands, `NO_HASH` if none.
  static unsigned int getHashForType(unsigned int typeHash);
  /// Stores \p caster for the pair and keeps it. A pair that is already there keeps its caster, and \p caster is freed.
  /// False if \p caster is null.
  static bool registerCaster(unsigned int baseHash, unsigned int derivedHash, Caster* caster);
  /// The caster of the pair, or one that goes through the classes in between, or null.
  static Caster* getCaster(unsigned int baseHash, unsigned int derivedHash);

  PersistenceArchiver& operator<<(bool value) { return put(static_cast<unsigned char>(value)); }
  PersistenceArchiver& operator<<(int value) { return put(value); }
  PersistenceArchiver& operator<<(unsigned int value) { return put(value); }
  PersistenceArchiver& operator<<(float value) { return put(value); }
  PersistenceArchiver& operator<<(double value) { return put(value); }
  PersistenceArchiver& operator<<(unsigned long long value) { return put(value); }
  /// The length as an unsigned 32-bit integer, then the bytes.
  PersistenceArchiver& operator<<(const std::string& value);
  /// A literal would otherwise turn into a bool.
  PersistenceArchiver& operator<<(const char* value) { return *this << std::string(value); }

  PersistenceArchiver& operator>>(bool& value);
  PersistenceArchiver& operator>>(int& value) { return get(value); }
  PersistenceArchiver& operator>>(unsigned int& value) { return get(value); }
  PersistenceArchiver& operator>>(float& value) { return get(value); }
  PersistenceArchiver& operator>>(double& value) { return get(value); }
  PersistenceArchiver& operator>>(unsigned long long& value) { return get(value); }
  PersistenceArchiver& operator>>(std::string& value);

  /// Writes \p count values in a row, each as `operator<<` does.
  template <class T>
  void putArray(const T* values, std::size_t count);
  /// Reads \p count values in a row, each as `operator>>` does.
  template <class T>
  void getArray(T* values, std::size_t count);

  /// Position of the next byte to write.
  std::streampos tellp() const { return std::streamoff(m_cursor - m_begin); }
  /// Position of the next byte to read.
  std::streampos tellg() const { return std::streamoff(m_cursor - m_begin); }
  /// The suite version that the open stream carries in its head.
  unsigned int getStreamVersion() const { return m_streamVersion; }
  /// How many shared objects were of a class that the stream doesn't tell, and read as the class expected instead.
  unsigned int numberOfCorruptedObjects() const { return m_corruptedObjects; }

  /// Begins a frame of class \p hash. \p address must be the current position plus 4.
  void mark_object_start(unsigned int address, unsigned int hash);
  /// Closes the frame at \p address, whose body ends at \p end.
  void mark_object_end(unsigned int address, unsigned int end);
  /// Writes a reference to the object stored at \p address.
  void mark_pointer(unsigned int address, unsigned int hash);
  /// Writes a reference to no object.
  void mark_null_pointer();
  /// Reads the two addresses of a frame's head: address 0 is a null reference, end 0 a reference to a frame elsewhere.
  void read_to_address_header(unsigned int& address, unsigned int& end);
  /// Goes to \p end, the end of a frame, over whatever of its body hasn't been read. Never goes back.
  void end_read_to_address(unsigned int end);
  /// Goes from behind a reference, at \p position, to the body of the frame at \p address. \p saved takes what the way
  /// back needs.
  void begin_read_pointer(unsigned int& address, unsigned int& saved, std::streampos& position);
  /// Goes back to \p position.
  void end_read_pointer(unsigned int& saved, std::streampos& position);

  /// Puts a class into the written stream's table with its current version, unless it stands there.
  void noteClass(unsigned int hash);
  /// Puts a class into the written stream's table with a version of choice: for streams that repeat an older form.
  void declareClass(unsigned int hash, unsigned int version);

protected:
  /// The registry by class hash.
  static std::map<unsigned int, BaseClassRegister>& getMapOfClasses();
  /// The objects read so far of the class of \p record, in a container made through its `mapContainerEntry`.
  PointerMapContainerBase& getPointerMap(unsigned int hash, BaseClassRegister& record);
  /// The addresses of the objects written so far of the class \p hash, by object pointer.
  std::map<unsigned long long, unsigned int>& getStreamposMap(unsigned int hash);
  /// Raises if the rest of the stream can't hold \p count elements.
  void check_container_size(unsigned int count) const { checkElementCount(count, 1); }
  /// Counts an object whose class the stream doesn't tell. It is then read as the class that the reader expects.
  void handle_currupted_object();

private:
  friend class PersistenceAccess;

  /// Objects that were read for non-owning pointers and that no owner has claimed yet.
  struct Unclaimed
  {
    PointerMapContainerBase* container;
    void* object;
  };

  /// Where a detour to another frame began.
  struct Detour
  {
    std::size_t body;
    std::size_t end;
    std::size_t skipped;
  };

  /// Keeps nested frames from exhausting the stack.
  class Nesting
  {
  public:
    explicit Nesting(PersistenceArchiver& archiver) : m_depth(archiver.m_depth)
    {
      if (m_depth >= maxDepth) raiseTooDeep();
      ++m_depth;
    }
    ~Nesting() { --m_depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

  private:
    unsigned int& m_depth;
  };

  static constexpr unsigned int maxDepth = 1000; // frames within frames
  static constexpr std::size_t headSize = 16;    // mark, format, suite version, position of the class table
  static constexpr std::size_t cacheSize = 16;

  enum class Mode
  {
    closed,
    writing,
    reading
  };

  /// A class hash met lately, with the version that its loads get.
  struct CachedClass
  {
    unsigned int hash = 0;
    unsigned int version = 0;
    bool valid = false;
  };

  template <class T>
  PersistenceArchiver& put(T value)
  {
    reserve(sizeof value);
    store(m_cursor, value);
    m_cursor += sizeof value;
    return *this;
  }

  template <class T>
  PersistenceArchiver& get(T& value)
  {
    if (m_mode != Mode::reading || room() < sizeof value) raiseEndOfStream();
    value = fetch<T>(m_cursor);
    m_cursor += sizeof value;
    return *this;
  }

  template <class T>
  static void store(char* target, T value)
  {
    std::memcpy(target, &value, sizeof value);
    if constexpr (std::endian::native == std::endian::big) std::reverse(target, target + sizeof value);
  }

  template <class T>
  static T fetch(const char* source)
  {
    std::array<char, sizeof(T)> bytes;
    std::memcpy(bytes.data(), source, sizeof(T));
    if constexpr (std::endian::native == std::endian::big) std::reverse(bytes.begin(), bytes.end());
    return std::bit_cast<T>(bytes);
  }

  std::size_t position() const { return static_cast<std::size_t>(m_cursor - m_begin); }
  std::size_t room() const { return static_cast<std::size_t>(m_limit - m_cursor); }
  void reserve(std::size_t bytes)
  {
    if (m_mode != Mode::writing || room() < bytes) grow(bytes);
  }
  void reset(Mode mode);
  void grow(std::size_t bytes);
  void releaseUnclaimed();
  void readHead();
  void readHeadOrClose();
  void readClassTable(std::size_t position, std::size_t size);
  std::size_t checkedFrameEnd(std::size_t address) const;
  void checkElementCount(unsigned long long count, std::size_t elementSize) const;
  /// The version for a load of a frame of class \p hash where the class of \p expected stands.
  unsigned int versionFor(unsigned int hash, const BaseClassRegister& expected);
  [[noreturn]] static void raiseEndOfStream();
  [[noreturn]] static void raiseTooDeep();
  [[noreturn]] static void raiseCorruptedFrame();

  char* m_begin = nullptr;
  char* m_cursor = nullptr;
  char* m_limit = nullptr; // writing: end of the allocation; reading: end of the values
  std::size_t m_capacity = 0;
  std::size_t m_sizeLimit = maxStreamSize;
  Mode m_mode = Mode::closed;
  unsigned int m_depth = 0;
  unsigned int m_streamVersion = 0;
  unsigned int m_corruptedObjects = 0;
  char* m_owned = nullptr; // the buffer, unless the bytes are borrowed
  std::size_t m_size = 0;  // of the closed stream
  std::size_t m_skipped = 0;
  std::size_t m_detourBytes = 0;
  std::array<CachedClass, cacheSize> m_cache;
  std::vector<Detour> m_detours;
  std::map<unsigned int, BaseClassRegister> m_streamClasses;
  std::map<unsigned int, unsigned int> m_writtenClasses;
  std::map<unsigned int, std::unique_ptr<PointerMapContainerBase>> m_pointerMaps;
  std::map<unsigned int, std::map<unsigned long long, unsigned int>> m_streamposMaps;
  std::map<const void*, Unclaimed> m_unclaimed;
};

template <class T>
void PersistenceArchiver::putArray(const T* values, std::size_t count)
{
  if constexpr (std::endian::native == std::endian::little) {
    const std::size_t bytes = count * sizeof(T);
    if (bytes == 0) return;
    reserve(bytes);
    std::memcpy(m_cursor, values, bytes);
    m_cursor += bytes;
  } else {
    for (std::size_t i = 0; i < count; ++i)
      put(values[i]);
  }
}

template <class T>
void PersistenceArchiver::getArray(T* values, std::size_t count)
{
  if (m_mode != Mode::reading || count > room() / sizeof(T)) raiseEndOfStream();
  if constexpr (std::endian::native == std::endian::little) {
    if (count != 0) std::memcpy(values, m_cursor, count * sizeof(T));
    m_cursor += count * sizeof(T);
  } else {
    for (std::size_t i = 0; i < count; ++i)
      get(values[i]);
  }
}

} // namespace Kavrel
