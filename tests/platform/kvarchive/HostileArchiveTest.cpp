#include <random>

#include <gmock/gmock.h>

#include "platform/kvarchive/ArchiveZoo.h"
#include "support/ArchiveWriter.h"

namespace Kavrel {
namespace {

using namespace Zoo;
using Testing::ArchiveWriter;
using Testing::faultsOfDamaged;

std::vector<char> streamOfEverything()
{
  const auto link = std::make_shared<Link>();
  link->next = link;
  ArchiveWriter writer;
  Persistence::saveObject(writer.archive(), fullCrate());
  Persistence::saveObject(writer.archive(), twoFaces());
  Persistence::savePointer(writer.archive(), link);
  link->next.reset();
  return writer.bytes();
}

/// Takes a ring of links apart, so that it can be freed.
struct CycleCutter
{
  const std::shared_ptr<Link>& link;
  ~CycleCutter()
  {
    if (link != nullptr) link->next.reset();
  }
};

/// Loads the stream and saves what came of it, so that every loaded object is looked at.
void loadEverything(const std::vector<char>& bytes)
{
  PersistenceArchiver archive;
  archive.openForReading(bytes);
  Crate crate;
  Solid solid;
  std::shared_ptr<Link> link;
  const CycleCutter cutter{link};
  Persistence::loadObject(archive, crate);
  Persistence::loadObject(archive, solid);
  PersistenceArchiver copy;
  Persistence::saveObject(copy, crate);
  Persistence::saveObject(copy, solid);
  Persistence::loadPointer(archive, link);
}

TEST(HostileArchive, DamageRaisesOrLoads)
{
  const std::vector<char> bytes = streamOfEverything();
  EXPECT_NO_THROW(loadEverything(bytes));
  EXPECT_EQ(faultsOfDamaged(bytes, loadEverything), "");
}

TEST(HostileArchive, RandomDamageRaisesOrLoads)
{
  const std::vector<char> bytes = streamOfEverything();
  std::mt19937 random(20240229);
  for (int round = 0; round < 3000; ++round) {
    std::vector<char> damaged = bytes;
    for (int i = 0; i < 6; ++i) {
      // Words from elsewhere in the stream make plausible addresses, ends and hashes.
      const std::size_t from = random() % (bytes.size() - 4), to = random() % (bytes.size() - 4);
      std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(from), 4,
                  damaged.begin() + static_cast<std::ptrdiff_t>(to));
    }
    ASSERT_EQ(Testing::faultOf(damaged, loadEverything), "") << "round " << round;
  }
}

TEST(HostileArchive, CountsAreCheckedBeforeAnythingIsAllocated)
{
  const auto raises = [](auto container, auto count) {
    ArchiveWriter writer;
    writer.object("double", [&] { writer << count << 1.0 << 2.0; });
    const auto bytes = writer.bytes();
    PersistenceArchiver archive;
    archive.openForReading(bytes);
    try {
      if constexpr (sizeof count == 8)
        Persistence::loadContainer64(archive, container);
      else
        Persistence::loadContainer(archive, container);
    } catch (const PersistenceException&) {
      return container.size() <= 2; // no more than the stream paid for
    }
    return false;
  };
  for (const unsigned int count : {3u, 17u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    SCOPED_TRACE(count);
    EXPECT_TRUE(raises(std::vector<double>(), count));
    EXPECT_TRUE(raises(std::vector<Triple>(), count));
    EXPECT_TRUE(raises(std::vector<Crate>(), count));
    EXPECT_TRUE(raises(std::vector<std::shared_ptr<Link>>(), count));
  }
  for (const unsigned long long count : {3ull, 0x2000000000000001ull, ~0ull})
    EXPECT_TRUE(raises(std::vector<double>(), count));
}

TEST(HostileArchive, FramesMustStandWhereTheySay)
{
  // A Round of [address][end][hash][Shape frame][radius] at 16, with one word altered.
  Round round;
  const std::vector<char> good = Testing::archiveOf(round);
  const std::tuple<const char*, std::size_t, unsigned int> cases[] = {
      {"address of another frame", 16, 32},    {"end inside the head", 20, 27},  {"end before its content", 20, 44},
      {"end beyond the data", 20, 0x10000000}, {"a reference", 20, 0},           {"no object", 16, 0},
      {"child that ends in its head", 32, 39}, {"child that ends late", 32, 56},
  };
  for (const auto& [what, offset, value] : cases) {
    SCOPED_TRACE(what);
    std::vector<char> bytes = good;
    for (std::size_t i = 0; i < 4; ++i)
      bytes[offset + i] = static_cast<char>(value >> (8 * i) & 0xFFu);
    EXPECT_THROW(Testing::loadFrom(bytes, round), PersistenceException);
  }
  EXPECT_NO_THROW(Testing::loadFrom(good, round));
}

TEST(HostileArchive, ReferencesMustReachAFrameOfTheirClass)
{
  // The head, no frame, a frame of another class, beyond the end, the reference itself, the class table.
  for (const unsigned int address : {4u, 24u, 20u, 0xFFFFFFFFu, 48u, 60u}) {
    SCOPED_TRACE(address);
    ArchiveWriter writer;
    writer.object("ZooCorner", [&] { writer << 1.0; });
    writer.reference(address, address == 20 ? "ZooCorner" : "ZooLink");
    const auto bytes = writer.bytes();
    PersistenceArchiver archive;
    archive.openForReading(bytes);
    Corner corner;
    Persistence::loadObject(archive, corner);
    std::shared_ptr<Link> link;
    EXPECT_THROW(Persistence::loadPointer(archive, link), PersistenceException);
  }
}

TEST(HostileArchive, AHashThatCameToStandForAnotherClassMissesTheTarget)
{
  // The class table leaves Round out. The first frame is read as a Ball, so that Round's hash stands for Ball from then
  // on; the Round that the second one would be loaded into is too small for a Ball.
  ArchiveWriter writer;
  const auto ball = [&] {
    writer.object("ZooUnknown", [&] {
      writer.object("ZooUnknown", [&] { writer << 1; });
      writer << 2.0;
    });
    writer << std::string("red");
  };
  const unsigned int frames[] = {writer.object("ZooUnknown", ball), writer.object("ZooUnknown", ball)};
  std::vector<char> bytes = writer.bytes();
  for (const unsigned int address : frames)
    for (std::size_t i = 0; i < 4; ++i)
      bytes[address + 4 + i] = static_cast<char>(PersistenceArchiver::getHashForName("ZooRound") >> (8 * i) & 0xFFu);

  PersistenceArchiver archive;
  archive.openForReading(bytes);
  std::shared_ptr<Ball> first;
  Persistence::loadPointer(archive, first);
  const auto owner = std::make_shared<Round>();
  std::shared_ptr<Round> second = owner;
  Persistence::loadPointer(archive, second);
  EXPECT_NE(second, owner);
  EXPECT_EQ(second->kind(), "Ball");
}

TEST(HostileArchive, DeepNestingRaises)
{
  // 20000 frames, each in the one before it, closed from the inside.
  ArchiveWriter writer;
  PersistenceArchiver& archive = writer.archive();
  std::vector<unsigned int> open;
  for (int i = 0; i < 20000; ++i) {
    open.push_back(static_cast<unsigned int>(archive.tellp()) + 4);
    archive.mark_object_start(open.back(), PersistenceArchiver::getHashForName("ZooLink"));
  }
  archive.mark_null_pointer();
  for (const unsigned int address : open)
    archive.mark_object_end(address, static_cast<unsigned int>(archive.tellp()));
  const auto bytes = writer.bytes();
  PersistenceArchiver reader;
  reader.openForReading(bytes);
  std::shared_ptr<Link> link;
  EXPECT_THROW(Persistence::loadPointer(reader, link), PersistenceException);
}

TEST(HostileArchive, OverlappingFramesDoNotCostSquaredTime)
{
  // 3000 frames, each with its head inside the body of the one before, all ending together behind a long tail. Whoever
  // follows the references reads the tail again and again.
  ArchiveWriter writer;
  PersistenceArchiver& archive = writer.archive();
  std::vector<unsigned int> addresses;
  for (unsigned int i = 0; i < 3000; ++i) {
    addresses.push_back(static_cast<unsigned int>(archive.tellp()) + 4);
    archive.mark_object_start(addresses.back(), NO_HASH);
  }
  archive << std::string(1u << 20, 'x');
  const auto end = static_cast<unsigned int>(archive.tellp());
  for (const unsigned int address : addresses)
    archive.mark_object_end(address, end);
  for (const unsigned int address : addresses)
    archive.mark_pointer(address, NO_HASH);
  const auto bytes = writer.bytes();

  PersistenceArchiver reader;
  reader.openForReading(bytes);
  reader.end_read_to_address(end);
  std::size_t read = 0;
  const auto followReference = [&] {
    unsigned int address, none, hash, saved = 0xFFFFFFFFu;
    reader.read_to_address_header(address, none);
    reader >> hash;
    std::streampos position = reader.tellg();
    reader.begin_read_pointer(address, saved, position);
    std::vector<unsigned char> body(end - address - 8);
    reader.getArray(body.data(), body.size());
    read += body.size();
    reader.end_read_pointer(saved, position);
  };
  const auto followAll = [&] {
    for (std::size_t i = 0; i < addresses.size(); ++i)
      followReference();
  };
  EXPECT_THROW(followAll(), PersistenceException);
  EXPECT_LT(read, 3 * bytes.size());
}

} // namespace
} // namespace Kavrel
