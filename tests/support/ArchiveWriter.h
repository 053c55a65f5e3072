#pragma once

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/kvarchive/Persistence.h"

namespace Kavrel::Testing {

/// Writes streams by hand: older forms of a class, references out of order, frames of unknown classes.
///
///     ArchiveWriter old;
///     old.version("CoordinateSystem3", 500001);
///     old.object("CoordinateSystem3", [&] {
///       old << 1.0 << true;
///       Persistence::saveObject(old.archive(), Point<double, 3>(1, 2, 3));
///     });
///     CoordinateSystem<double, 3> system;
///     loadFrom(old.bytes(), system);
class ArchiveWriter
{
public:
  explicit ArchiveWriter(unsigned int streamVersion = PersistenceArchiver::getCurrentVersion(0))
  {
    m_archive.openForWriting(streamVersion);
  }

  /// The archive itself, to save present-day objects between the hand-written parts.
  PersistenceArchiver& archive() { return m_archive; }

  /// Makes the stream claim that the class of \p key was written with \p version.
  ArchiveWriter& version(const std::string& key, unsigned int version)
  {
    m_archive.declareClass(hash(key), version);
    return *this;
  }

  template <class T>
  ArchiveWriter& operator<<(const T& value)
  {
    m_archive << value;
    return *this;
  }

  /// A frame with the class hash of \p key round what \p body writes. Returns its address.
  template <class Body>
  unsigned int object(const std::string& key, Body body)
  {
    return frame(hash(key), body);
  }

  /// A frame that names no class.
  template <class Body>
  unsigned int objectWithoutClass(Body body)
  {
    return frame(NO_HASH, body);
  }

  /// A container frame: \p body writes the \p count elements.
  template <class Body>
  unsigned int container(const std::string& elementKey, unsigned int count, Body body)
  {
    return frame(hash(elementKey), [&] {
      m_archive << count;
      body();
    });
  }

  /// A reference to the frame at \p address.
  ArchiveWriter& reference(unsigned int address, const std::string& key)
  {
    m_archive.mark_pointer(address, hash(key));
    return *this;
  }

  /// Closes the stream.
  std::vector<char> bytes()
  {
    const auto closed = m_archive.close();
    return {closed.begin(), closed.end()};
  }

private:
  static unsigned int hash(const std::string& key) { return PersistenceArchiver::getHashForName(key); }

  template <class Body>
  unsigned int frame(unsigned int classHash, Body body)
  {
    const auto address = static_cast<unsigned int>(m_archive.tellp()) + 4;
    m_archive.mark_object_start(address, classHash);
    body();
    m_archive.mark_object_end(address, static_cast<unsigned int>(m_archive.tellp()));
    return address;
  }

  PersistenceArchiver m_archive;
};

/// The stream that holds \p object alone.
template <class T>
std::vector<char> archiveOf(const T& object)
{
  ArchiveWriter writer;
  Persistence::saveObject(writer.archive(), object);
  return writer.bytes();
}

/// Loads \p object from a stream that holds it alone.
template <class T>
void loadFrom(const std::vector<char>& bytes, T& object)
{
  PersistenceArchiver archive;
  archive.openForReading(bytes);
  Persistence::loadObject(archive, object);
}

/// Takes \p target through a stream and back: it becomes what \p source is.
template <class T>
void roundTrip(const T& source, T& target)
{
  loadFrom(archiveOf(source), target);
}

/// What \p load does with a damaged stream: "" if it loads or raises a proper error, else the fault.
template <class Load>
std::string faultOf(const std::vector<char>& bytes, Load load)
{
  try {
    load(bytes);
  } catch (const std::bad_alloc&) {
    return "allocates by a count";
  } catch (const std::length_error&) {
    return "allocates by a count";
  } catch (const std::exception&) {
  }
  return "";
}

/// Runs \p load over \p bytes cut at every length and with every byte altered in several ways. Returns a line for each
/// fault that isn't a crash.
template <class Load>
std::string faultsOfDamaged(const std::vector<char>& bytes, Load load)
{
  std::string faults;
  const auto run = [&](const std::vector<char>& damaged, const std::string& what) {
    if (const std::string fault = faultOf(damaged, load); !fault.empty()) faults += what + ": " + fault + "\n";
  };
  for (std::size_t size = 0; size < bytes.size(); ++size)
    run({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}, "cut at " + std::to_string(size));
  std::vector<char> damaged = bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (const unsigned char mask : {0x01, 0x04, 0x80, 0xFF}) {
      damaged[i] = static_cast<char>(static_cast<unsigned char>(bytes[i]) ^ mask);
      run(damaged, "byte " + std::to_string(i) + " xor " + std::to_string(mask));
    }
    damaged[i] = bytes[i];
  }
  return faults;
}

} // namespace Kavrel::Testing
