#include "platform/kvarchive/PersistenceArchiver.h"

#include <cstdlib>
#include <fstream>
#include <new>
#include <utility>

#include "platform/kvarchive/PersistenceRegistry.h"

namespace Kavrel {

namespace {

constexpr unsigned int suiteVersion = 500003;    // above every version at which a form of the archive changed
constexpr unsigned int streamMark = 0x5241564Bu; // "KVAR"
constexpr unsigned int streamFormat = 1;
constexpr std::size_t tablePositionOffset = 12;
constexpr std::size_t frameHeadSize = 12;
constexpr std::size_t bodyOffset = 8; // from a frame's address
constexpr std::size_t firstAllocation = 4096;

} // namespace

PersistenceArchiver::PersistenceArchiver() { openForWriting(); }

PersistenceArchiver::~PersistenceArchiver()
{
  releaseUnclaimed();
  std::free(m_owned);
}

void PersistenceArchiver::reset(Mode mode)
{
  releaseUnclaimed();
  std::free(std::exchange(m_owned, nullptr));
  m_begin = m_cursor = m_limit = nullptr;
  m_capacity = m_size = m_skipped = m_detourBytes = 0;
  m_sizeLimit = maxStreamSize;
  m_mode = mode;
  m_depth = m_streamVersion = m_corruptedObjects = 0;
  m_cache.fill({});
  m_detours.clear();
  m_streamClasses.clear();
  m_writtenClasses.clear();
  m_pointerMaps.clear();
  m_streamposMaps.clear();
}

void PersistenceArchiver::releaseUnclaimed()
{
  for (const auto& [object, unclaimed] : std::exchange(m_unclaimed, {}))
    unclaimed.container->own(unclaimed.object);
}

void PersistenceArchiver::openForWriting(unsigned int streamVersion, std::size_t sizeLimit)
{
  reset(Mode::writing);
  m_sizeLimit = std::min(sizeLimit, maxStreamSize);
  m_streamVersion = streamVersion;
  *this << streamMark << streamFormat << streamVersion << 0u;
}

std::span<const char> PersistenceArchiver::close()
{
  if (m_mode == Mode::writing) {
    const auto table = static_cast<unsigned int>(position());
    *this << static_cast<unsigned int>(m_writtenClasses.size());
    for (const auto& [hash, version] : m_writtenClasses)
      *this << hash << version;
    store(m_begin + tablePositionOffset, table);
    m_size = position();
    m_mode = Mode::closed;
  } else if (m_mode == Mode::reading)
    throw PersistenceException("The archive isn't open for writing.");
  return {m_begin, m_size};
}

void PersistenceArchiver::writeFile(const std::filesystem::path& path)
{
  const std::span<const char> bytes = close();
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw PersistenceException("The archive file \"" + path.string() + "\" can't be written.");
}

void PersistenceArchiver::openForReading(std::span<const char> bytes)
{
  reset(Mode::reading);
  // Reading never writes through these pointers.
  m_begin = const_cast<char*>(bytes.data());
  m_size = bytes.size();
  readHeadOrClose();
}

void PersistenceArchiver::openFile(const std::filesystem::path& path)
{
  reset(Mode::closed);
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file ? std::streamoff(file.tellg()) : -1;
  if (size < 0) throw PersistenceException("The archive file \"" + path.string() + "\" can't be opened.");
  if (static_cast<unsigned long long>(size) > maxStreamSize)
    throw PersistenceException("The archive file \"" + path.string() + "\" is too large.");
  m_owned = static_cast<char*>(std::malloc(std::max<std::size_t>(static_cast<std::size_t>(size), 1)));
  if (m_owned == nullptr) throw std::bad_alloc();
  file.seekg(0);
  if (!file.read(m_owned, static_cast<std::streamsize>(size)))
    throw PersistenceException("The archive file \"" + path.string() + "\" can't be read.");
  m_begin = m_owned;
  m_size = static_cast<std::size_t>(size);
  m_mode = Mode::reading;
  readHeadOrClose();
}

void PersistenceArchiver::readHeadOrClose()
{
  try {
    readHead();
  } catch (...) {
    reset(Mode::closed);
    throw;
  }
}

void PersistenceArchiver::readHead()
{
  m_cursor = m_begin;
  m_limit = m_begin + m_size;
  if (m_size > maxStreamSize || m_size < headSize) throw PersistenceException("The archive has no head.");
  unsigned int mark, format, table;
  *this >> mark >> format >> m_streamVersion >> table;
  if (mark != streamMark || format != streamFormat) throw PersistenceException("The data isn't an archive.");
  readClassTable(table, m_size);
  m_cursor = m_begin + headSize;
  m_limit = m_begin + table;
}

void PersistenceArchiver::readClassTable(std::size_t position, std::size_t size)
{
  if (position < headSize || size < position + 4) throw PersistenceException("The archive is truncated.");
  m_cursor = m_begin + position;
  unsigned int count;
  *this >> count;
  if (count != room() / 8 || room() % 8 != 0)
    throw PersistenceException("The class table of the archive is corrupted.");
  const auto& classes = getMapOfClasses();
  for (unsigned int i = 0; i < count; ++i) {
    unsigned int hash, version;
    *this >> hash >> version;
    const auto known = classes.find(hash);
    if (known == classes.end()) continue;
    if (!m_streamClasses.try_emplace(hash, known->second).second)
      throw PersistenceException("The class table of the archive is corrupted.");
    m_streamClasses[hash].loadVersion = version;
  }
}

BaseClassRegister* PersistenceArchiver::registerFactory(const std::string& key, const BaseClassRegister& record,
                                                        unsigned int version)
{
  return PersistenceRegistry::instance().enterClass(key, record, version);
}

unsigned int PersistenceArchiver::getCurrentVersion(unsigned int /*kind*/) { return suiteVersion; }

unsigned int PersistenceArchiver::getHashForName(const std::string& name)
{
  unsigned int hash = 2166136261u;
  for (const char c : name)
    hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
  return hash;
}

void PersistenceArchiver::registerHash(unsigned int typeHash, unsigned int classHash)
{
  PersistenceRegistry::instance().linkType(typeHash, classHash);
}

unsigned int PersistenceArchiver::getHashForType(unsigned int typeHash)
{
  return PersistenceRegistry::instance().classOfType(typeHash);
}

bool PersistenceArchiver::registerCaster(unsigned int baseHash, unsigned int derivedHash, Caster* caster)
{
  return PersistenceRegistry::instance().enterCaster(baseHash, derivedHash, std::unique_ptr<Caster>(caster));
}

Caster* PersistenceArchiver::getCaster(unsigned int baseHash, unsigned int derivedHash)
{
  return PersistenceRegistry::instance().caster(baseHash, derivedHash);
}

std::map<unsigned int, BaseClassRegister>& PersistenceArchiver::getMapOfClasses()
{
  return PersistenceRegistry::instance().classes();
}

PersistenceArchiver& PersistenceArchiver::operator<<(const std::string& value)
{
  if (value.size() > maxStreamSize) throw PersistenceException("The archive can't hold more than 4 GiB.");
  *this << static_cast<unsigned int>(value.size());
  putArray(value.data(), value.size());
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(bool& value)
{
  unsigned char byte = 0;
  get(byte);
  value = byte != 0;
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(std::string& value)
{
  unsigned int size;
  *this >> size;
  check_container_size(size);
  value.assign(m_cursor, size);
  m_cursor += size;
  return *this;
}

void PersistenceArchiver::grow(std::size_t bytes)
{
  if (m_mode != Mode::writing) throw PersistenceException("The archive isn't open for writing.");
  const std::size_t used = position();
  if (bytes > m_sizeLimit - used)
    throw PersistenceException("The archive can't hold more than " + std::to_string(m_sizeLimit) + " bytes.");
  const std::size_t wanted = std::max({used + bytes, 2 * m_capacity, firstAllocation});
  const std::size_t capacity = std::min(wanted, m_sizeLimit);
  char* const buffer = static_cast<char*>(std::realloc(m_owned, capacity));
  if (buffer == nullptr) throw std::bad_alloc();
  m_owned = m_begin = buffer;
  m_cursor = buffer + used;
  m_limit = buffer + capacity;
  m_capacity = capacity;
}

void PersistenceArchiver::mark_object_start(unsigned int address, unsigned int hash)
{
  if (address != static_cast<unsigned int>(position() + 4))
    throw PersistenceException("A frame of the archive begins at a wrong address.");
  reserve(frameHeadSize);
  store(m_cursor, address);
  store(m_cursor + 4, 0u);
  store(m_cursor + bodyOffset, hash);
  m_cursor += frameHeadSize;
  noteClass(hash);
}

void PersistenceArchiver::mark_object_end(unsigned int address, unsigned int end)
{
  if (m_mode != Mode::writing || address < headSize + 4 || end < address + bodyOffset || end > position())
    throw PersistenceException("A frame of the archive ends at a wrong address.");
  store(m_begin + address, end);
}

void PersistenceArchiver::mark_pointer(unsigned int address, unsigned int hash)
{
  *this << address << 0u << hash;
  noteClass(hash);
}

void PersistenceArchiver::mark_null_pointer() { *this << 0u << 0u; }

void PersistenceArchiver::read_to_address_header(unsigned int& address, unsigned int& end)
{
  *this >> address >> end;
  if (address == 0 || end == 0) return;
  if (address != position() - 4 || checkedFrameEnd(address) != end) raiseCorruptedFrame();
}

/// The end of the frame at \p address, once its head is known to lie in the stream and to be consistent.
std::size_t PersistenceArchiver::checkedFrameEnd(std::size_t address) const
{
  const auto size = static_cast<std::size_t>(m_limit - m_begin);
  if (address < headSize + 4 || address > size || size - address < bodyOffset) raiseCorruptedFrame();
  const std::size_t end = fetch<unsigned int>(m_begin + address);
  if (fetch<unsigned int>(m_begin + address - 4) != address || end < address + bodyOffset || end > size)
    raiseCorruptedFrame();
  return end;
}

void PersistenceArchiver::end_read_to_address(unsigned int end)
{
  if (m_mode != Mode::reading || end < position() || end > static_cast<std::size_t>(m_limit - m_begin))
    raiseCorruptedFrame();
  m_skipped += end - position();
  m_cursor = m_begin + end;
}

void PersistenceArchiver::begin_read_pointer(unsigned int& address, unsigned int& saved, std::streampos& position)
{
  const auto reference = static_cast<std::size_t>(std::streamoff(position));
  if (m_mode != Mode::reading || reference < headSize + frameHeadSize || reference > this->position())
    raiseCorruptedFrame();
  const std::size_t end = checkedFrameEnd(address);
  const std::size_t hash = address + 4;
  if (fetch<unsigned int>(m_begin + hash) != fetch<unsigned int>(m_begin + reference - 4)) raiseCorruptedFrame();
  saved = static_cast<unsigned int>(m_detours.size());
  m_detours.push_back({address + bodyOffset, end, m_skipped});
  m_cursor = m_begin + address + bodyOffset;
}

void PersistenceArchiver::end_read_pointer(unsigned int& saved, std::streampos& position)
{
  if (m_detours.empty() || saved != m_detours.size() - 1 || this->position() > m_detours.back().end)
    raiseCorruptedFrame();
  const Detour detour = m_detours.back();
  m_detours.pop_back();
  m_detourBytes += this->position() - detour.body - (m_skipped - detour.skipped);
  m_skipped = detour.skipped;
  // Every body is read once, so detours that read more than the stream holds go through overlapping frames.
  if (m_detourBytes > m_size) raiseCorruptedFrame();
  m_cursor = m_begin + static_cast<std::size_t>(std::streamoff(position));
}

PointerMapContainerBase& PersistenceArchiver::getPointerMap(unsigned int hash, BaseClassRegister& record)
{
  std::unique_ptr<PointerMapContainerBase>& container = m_pointerMaps[hash];
  if (container == nullptr) container.reset(static_cast<PointerMapContainerBase*>(record.mapContainerEntry()));
  return *container;
}

std::map<unsigned long long, unsigned int>& PersistenceArchiver::getStreamposMap(unsigned int hash)
{
  return m_streamposMaps[hash];
}

void PersistenceArchiver::handle_currupted_object() { ++m_corruptedObjects; }

void PersistenceArchiver::noteClass(unsigned int hash)
{
  CachedClass& cached = m_cache[hash % cacheSize];
  if ((cached.valid && cached.hash == hash) || hash == NO_HASH) return;
  const auto& classes = getMapOfClasses();
  if (const auto known = classes.find(hash); known != classes.end())
    m_writtenClasses.try_emplace(hash, known->second.saveVersion);
  cached = {hash, 0, true};
}

void PersistenceArchiver::declareClass(unsigned int hash, unsigned int version) { m_writtenClasses[hash] = version; }

unsigned int PersistenceArchiver::versionFor(unsigned int hash, const BaseClassRegister& expected)
{
  if (hash == NO_HASH) return 0;
  CachedClass& cached = m_cache[hash % cacheSize];
  if (cached.valid && cached.hash == hash) return cached.version;
  const BaseClassRegister& known = m_streamClasses.try_emplace(hash, expected).first->second;
  cached = {hash, known.loadVersion, true};
  return known.loadVersion;
}

void PersistenceArchiver::checkElementCount(unsigned long long count, std::size_t elementSize) const
{
  if (m_mode != Mode::reading || count > room() / elementSize)
    throw PersistenceException("A container of the archive has more elements than the stream can hold.");
}

void PersistenceArchiver::raiseEndOfStream() { throw PersistenceException("The archive ends too early."); }

void PersistenceArchiver::raiseTooDeep() { throw PersistenceException("The objects of the archive nest too deeply."); }

void PersistenceArchiver::raiseCorruptedFrame() { throw PersistenceException("A frame of the archive is corrupted."); }

} // namespace Kavrel
