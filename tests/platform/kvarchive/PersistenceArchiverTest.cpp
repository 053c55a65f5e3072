#include "platform/kvarchive/PersistenceArchiver.h"

#include <cstdio>
#include <limits>
#include <tuple>

#include <gmock/gmock.h>

#include "support/ArchiveWriter.h"

namespace Kavrel {
namespace {

using testing::ElementsAreArray;

/// Little-endian bytes of some 32-bit integers.
std::vector<char> words(std::initializer_list<unsigned int> values)
{
  std::vector<char> bytes;
  for (const unsigned int value : values)
    for (int shift = 0; shift < 32; shift += 8)
      bytes.push_back(static_cast<char>(value >> shift & 0xFFu));
  return bytes;
}

constexpr unsigned int mark = 0x5241564B; // "KVAR"

unsigned int positionOf(const PersistenceArchiver& archive) { return static_cast<unsigned int>(archive.tellp()); }

TEST(PersistenceArchiver, HashesNamesWithTheKnownFunction)
{
  // Published values of 32-bit FNV-1a.
  EXPECT_EQ(PersistenceArchiver::getHashForName(""), 0x811C9DC5u);
  EXPECT_EQ(PersistenceArchiver::getHashForName("foobar"), 0xBF9CF968u);
  EXPECT_EQ(PersistenceArchiver::getHashForName("\xFF"), (0x811C9DC5u ^ 0xFFu) * 16777619u);
}

TEST(PersistenceArchiver, RefusesKeysWhoseHashIsTaken)
{
  const BaseClassRegister record;
  const BaseClassRegister* const stored = PersistenceArchiver::registerFactory("costarring", record, 12);
  EXPECT_EQ(stored->classHash, PersistenceArchiver::getHashForName("costarring"));
  // A well-known collision of FNV-1a, the same key again, and a key that hashes to the mark of no class.
  EXPECT_THROW(PersistenceArchiver::registerFactory("liquid", record, 1), PersistenceException);
  EXPECT_THROW(PersistenceArchiver::registerFactory("costarring", record, 1), PersistenceException);
  EXPECT_THROW(PersistenceArchiver::registerFactory("i4GZ9T", record, 1), PersistenceException);
  EXPECT_EQ(stored->saveVersion, 12u);
}

TEST(PersistenceArchiver, LinksTypesToOneClassEach)
{
  EXPECT_EQ(PersistenceArchiver::getHashForType(4711), NO_HASH);
  PersistenceArchiver::registerHash(4711, 1);
  PersistenceArchiver::registerHash(4711, 1);
  EXPECT_EQ(PersistenceArchiver::getHashForType(4711), 1u);
  EXPECT_THROW(PersistenceArchiver::registerHash(4711, 2), PersistenceException);
}

TEST(PersistenceArchiver, LaysTheStreamOutAsDocumented)
{
  const unsigned int key = PersistenceArchiver::registerFactory("layout", BaseClassRegister(), 5)->classHash;
  PersistenceArchiver archive;
  archive.openForWriting(77);
  archive.mark_object_start(20, key);
  archive << 0x01020304u;
  archive.mark_object_end(20, 32);
  archive.mark_pointer(20, key);
  archive.mark_null_pointer();
  EXPECT_EQ(positionOf(archive), 52u);
  const auto expected = words({mark, 1, 77, 52,         // head
                               20, 32, key, 0x01020304, // frame
                               20, 0, key,              // reference
                               0, 0,                    // null reference
                               1, key, 5});             // class table
  EXPECT_THAT(archive.close(), ElementsAreArray(expected));
  EXPECT_THAT(archive.close(), ElementsAreArray(expected));
}

TEST(PersistenceArchiver, ValuesComeBackBitForBit)
{
  Testing::ArchiveWriter writer;
  const auto values = std::make_tuple(true, -2, 0xFFFFFFFEu, std::numeric_limits<float>::denorm_min(), -0.0,
                                      std::numeric_limits<double>::quiet_NaN(), 0x8000000000000001ull,
                                      std::string("a\0b", 3), std::string());
  std::apply([&](const auto&... value) { (writer << ... << value); }, values);
  const std::vector<char> bytes = writer.bytes();
  EXPECT_EQ(bytes.size(), 16u + 1 + 4 + 4 + 4 + 8 + 8 + 8 + (4 + 3) + 4 + 4);

  PersistenceArchiver archive;
  archive.openForReading(bytes);
  std::remove_const_t<decltype(values)> target;
  std::apply([&](auto&... value) { (archive >> ... >> value); }, target);
  Testing::ArchiveWriter again;
  std::apply([&](const auto&... value) { (again << ... << value); }, target);
  EXPECT_EQ(again.bytes(), bytes);
  EXPECT_EQ(std::get<1>(target), -2);
  EXPECT_EQ(std::get<7>(target), std::string("a\0b", 3));
  bool beyond;
  EXPECT_THROW(archive >> beyond, PersistenceException); // the class table isn't data
}

TEST(PersistenceArchiver, RefusesWhatIsNoStream)
{
  const std::tuple<const char*, std::vector<char>> cases[] = {
      {"nothing", {}},
      {"half a head", words({mark, 1, 77})},
      {"another mark", words({mark + 1, 1, 77, 16, 0})},
      {"another format", words({mark, 2, 77, 16, 0})},
      {"table within the head", words({mark, 1, 77, 12, 0})},
      {"table beyond the end", words({mark, 1, 77, 17, 0})},
      {"table count too large", words({mark, 1, 77, 16, 0x20000000})},
      {"table count too small", words({mark, 1, 77, 16, 0, 4711, 1})},
      {"class twice", words({mark, 1, 77, 16, 2, PersistenceArchiver::getHashForName("double"), 1,
                             PersistenceArchiver::getHashForName("double"), 2})},
  };
  for (const auto& [what, bytes] : cases) {
    SCOPED_TRACE(what);
    PersistenceArchiver archive;
    EXPECT_THROW(archive.openForReading(bytes), PersistenceException);
    bool leftOver;
    EXPECT_THROW(archive >> leftOver, PersistenceException);
  }
  const auto good = words({mark, 1, 77, 16, 1, 4711, 1});
  PersistenceArchiver archive;
  EXPECT_NO_THROW(archive.openForReading(good)); // a class that nobody knows does no harm by itself
}

TEST(PersistenceArchiver, WritesOnlyWhenWritingAndReadsOnlyWhenReading)
{
  PersistenceArchiver archive;
  int value = 0;
  EXPECT_THROW(archive >> value, PersistenceException);
  archive << 5;
  const auto closed = archive.close();
  const std::vector<char> bytes(closed.begin(), closed.end());
  EXPECT_THROW(archive << 6, PersistenceException);
  archive.openForReading(bytes);
  EXPECT_THROW(archive << 6, PersistenceException);
  EXPECT_THROW(archive.close(), PersistenceException);
  archive >> value;
  EXPECT_EQ(value, 5);
}

TEST(PersistenceArchiver, RaisesOnceTheStreamPassesItsLimit)
{
  PersistenceArchiver archive;
  archive.openForWriting(1, 32);
  archive << 1.0;
  EXPECT_THROW(archive << std::string(9, 'x'), PersistenceException);
  archive.openForWriting(1, 32);
  archive << 1.0 << 2 << 3;
  EXPECT_EQ(positionOf(archive), 32u);
  EXPECT_THROW(archive << true, PersistenceException);
  EXPECT_THROW(archive.close(), PersistenceException); // no room for the table
}

TEST(PersistenceArchiver, RefusesFramesAtWrongAddresses)
{
  PersistenceArchiver archive;
  EXPECT_THROW(archive.mark_object_start(16, NO_HASH), PersistenceException);
  archive.mark_object_start(20, NO_HASH);
  EXPECT_THROW(archive.mark_object_end(20, 27), PersistenceException);
  EXPECT_THROW(archive.mark_object_end(20, 29), PersistenceException);
  EXPECT_THROW(archive.mark_object_end(12, 28), PersistenceException);
  EXPECT_NO_THROW(archive.mark_object_end(20, 28));
}

TEST(PersistenceArchiver, GoesThroughFiles)
{
  const std::string path = testing::TempDir() + "kvshapes_archive_test.bin";
  PersistenceArchiver written, archive, unwritable;
  written << std::string("on disk");
  written.writeFile(path);
  archive.openFile(path);
  std::string text;
  archive >> text;
  EXPECT_EQ(text, "on disk");
  std::remove(path.c_str());
  EXPECT_THROW(archive.openFile(path), PersistenceException);
  EXPECT_THROW(unwritable.writeFile(path + "/no/such/place"), PersistenceException);
}

} // namespace
} // namespace Kavrel
