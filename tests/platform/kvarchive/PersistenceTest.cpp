#include "platform/kvarchive/Persistence.h"

#include <tuple>

#include <gmock/gmock.h>

#include "platform/kvarchive/ArchiveZoo.h"
#include "support/ArchiveWriter.h"

namespace Kavrel {
namespace {

using namespace Zoo;
using Testing::ArchiveWriter;
using Testing::loadFrom;
using Testing::roundTrip;
using testing::SizeIs;

/// An open stream with its bytes.
struct Reading
{
  explicit Reading(std::vector<char> stream) : bytes(std::move(stream)) { archive.openForReading(bytes); }

  template <class T>
  std::shared_ptr<T> pointer(bool nonOwning = false)
  {
    std::shared_ptr<T> result;
    Persistence::loadPointer(archive, result, nonOwning);
    return result;
  }

  std::vector<char> bytes;
  PersistenceArchiver archive;
};

TEST(Persistence, EveryKindOfMemberComesBack)
{
  const Crate saved = fullCrate();
  const std::vector<char> bytes = Testing::archiveOf(saved);
  Crate loaded;
  loaded.doubles = {9, 9, 9, 9, 9}; // longer than what is stored
  loaded.parcels.resize(5);
  loadFrom(bytes, loaded);
  EXPECT_EQ(Testing::archiveOf(loaded), bytes);
  const auto simple = [](const Crate& c) {
    return std::tie(c.number, c.text, c.doubles, c.flags, c.texts, c.ints, c.triples, c.scattered, c.manyFloats,
                    c.pairs.at(1).second, c.parcels.at(1).label);
  };
  EXPECT_EQ(simple(loaded), simple(saved));
  ASSERT_THAT(loaded.shapes, SizeIs(4));
  EXPECT_EQ(loaded.shapes[1], nullptr);
  EXPECT_EQ(loaded.shapes[2]->kind(), "Sign");
  EXPECT_EQ(loaded.shapes[3], loaded.shapes[0]);
  EXPECT_EQ(loaded.round, std::dynamic_pointer_cast<Ball>(loaded.shapes[0]));
}

TEST(Persistence, AContainerOfPairsNamesItsSecondHalfFirst)
{
  ArchiveWriter writer;
  Persistence::saveContainer(writer.archive(), std::vector<std::pair<Corner, Triple>>(2));
  Reading stream(writer.bytes());
  unsigned int address, end, second, first, count;
  stream.archive.read_to_address_header(address, end);
  stream.archive >> second >> first >> count;
  EXPECT_EQ(second, PersistenceArchiver::getHashForName("ZooTriple"));
  EXPECT_EQ(first, PersistenceArchiver::getHashForName("ZooCorner"));
  EXPECT_EQ(count, 2u);
  // The elements have no frames: 8 bytes for a corner and 12 for a triple.
  EXPECT_EQ(end, static_cast<unsigned int>(stream.archive.tellg()) + 2 * (8 + 12));
}

TEST(Persistence, AContainerOfPointersNamesNoClass)
{
  ArchiveWriter saved, byHand;
  Persistence::saveContainer(saved.archive(), std::vector<std::shared_ptr<Shape>>{redBall(), nullptr});
  byHand.objectWithoutClass([&] {
    byHand << 2u;
    Persistence::savePointer(byHand.archive(), redBall());
    byHand.archive().mark_null_pointer();
  });
  EXPECT_EQ(saved.bytes(), byHand.bytes());
}

TEST(Persistence, ASharedObjectIsStoredOnceWhateverPartRefersToIt)
{
  const auto sign = std::make_shared<Sign>();
  sign->label = "stop";
  sign->tag = 9;
  ArchiveWriter writer;
  Persistence::savePointer(writer.archive(), std::shared_ptr<Shape>(sign));
  const auto afterFirst = writer.archive().tellp();
  Persistence::savePointer(writer.archive(), std::shared_ptr<Labelled>(sign));
  EXPECT_EQ(writer.archive().tellp() - afterFirst, 12); // a reference
  Persistence::savePointer(writer.archive(), sign);

  Reading stream(writer.bytes());
  const auto shape = stream.pointer<Shape>();
  const auto labelled = stream.pointer<Labelled>();
  const auto whole = stream.pointer<Sign>();
  EXPECT_EQ(shape, whole);
  EXPECT_EQ(labelled, whole);
  EXPECT_EQ(whole->label, "stop");
  EXPECT_EQ(whole->tag, 9);
  EXPECT_EQ(whole.use_count() - 3, 1); // these three and the archive's own
}

TEST(Persistence, TheDynamicClassIsFoundThroughAChainAndWithoutVirtualOperations)
{
  ArchiveWriter writer;
  Persistence::savePointer(writer.archive(), std::shared_ptr<Shape>(redBall()));
  const auto rich = std::make_shared<RichCorner>();
  rich->x = 1;
  rich->extra = 2;
  Persistence::savePointer(writer.archive(), rich);
  // Without virtual operations the static class is all that is known.
  Persistence::savePointer(writer.archive(), std::shared_ptr<Corner>(std::make_shared<RichCorner>(*rich)));

  Reading stream(writer.bytes());
  const auto ball = std::dynamic_pointer_cast<Ball>(stream.pointer<Shape>());
  ASSERT_NE(ball, nullptr);
  EXPECT_EQ(ball->label, "red");
  const auto corner = stream.pointer<Corner>(); // the frame says RichCorner
  EXPECT_EQ(corner->x, 1);
  EXPECT_EQ(static_cast<RichCorner&>(*corner).extra, 2);
  EXPECT_EQ(stream.pointer<Corner>()->x, 1);
}

TEST(Persistence, CastersGoThroughTheClassesInBetween)
{
  const auto hash = PersistenceArchiver::getHashForName;
  Caster* const chain = PersistenceArchiver::getCaster(hash("ZooShape"), hash("ZooBall"));
  ASSERT_NE(chain, nullptr);
  EXPECT_EQ(PersistenceArchiver::getCaster(hash("ZooShape"), hash("ZooBall")), chain);
  Ball ball;
  Round round;
  EXPECT_EQ(chain->toBase(&ball), static_cast<Shape*>(&ball));
  EXPECT_EQ(chain->toDerived(static_cast<Shape*>(&ball)), &ball);
  EXPECT_EQ(chain->toDerived(static_cast<Shape*>(&round)), nullptr);
  EXPECT_EQ(PersistenceArchiver::getCaster(hash("ZooLabelled"), hash("ZooShape")), nullptr);
}

TEST(Persistence, CyclesClose)
{
  const auto first = std::make_shared<Link>(), second = std::make_shared<Link>();
  first->next = second;
  second->next = first;
  ArchiveWriter writer;
  Persistence::savePointer(writer.archive(), first);
  first->next.reset();

  Reading stream(writer.bytes());
  const auto loaded = stream.pointer<Link>();
  ASSERT_NE(loaded->next, nullptr);
  EXPECT_NE(loaded->next, loaded);
  EXPECT_EQ(loaded->next->next, loaded);
  loaded->next.reset();
}

TEST(Persistence, ATargetOfTheStoredClassIsLoadedInPlace)
{
  const auto stored = std::make_shared<Round>();
  stored->radius = 4;
  ArchiveWriter writer;
  writer.archive().mark_null_pointer();
  Persistence::savePointer(writer.archive(), stored);
  Persistence::savePointer(writer.archive(), redBall());
  Reading stream(writer.bytes());

  const auto owner = std::make_shared<Round>();
  std::shared_ptr<Round> target = owner;
  for (const double radius : {0.0, 4.0}) { // nothing comes first, and leaves the target alone
    Persistence::loadPointer(stream.archive, target);
    EXPECT_EQ(target, owner);
    EXPECT_EQ(owner->radius, radius);
  }

  Persistence::loadPointer(stream.archive, target); // a Ball: the Round is let go
  EXPECT_NE(target, owner);
  EXPECT_EQ(target->kind(), "Ball");
  EXPECT_EQ(owner->radius, 4);
}

TEST(Persistence, VersionsReachLoad)
{
  for (const unsigned int version : {1u, 2u, 3u, 4u}) {
    SCOPED_TRACE(version);
    ArchiveWriter writer;
    writer.version("ZooParcel", version);
    for (int i = 0; i < 2; ++i)
      writer.object("ZooParcel", [&] {
        version == 1 ? writer << 5 : writer << 5.5;
        if (version >= 3) writer << std::string("new");
        if (version >= 4) writer << 1.0 << 2.0; // skipped
      });
    writer << 42;
    Reading stream(writer.bytes());
    for (int i = 0; i < 2; ++i) {
      Parcel parcel;
      Persistence::loadObject(stream.archive, parcel);
      EXPECT_EQ(parcel.weight, version == 1 ? 5 : 5.5);
      EXPECT_EQ(parcel.label, version >= 3 ? "new" : "none");
    }
    int behind;
    stream.archive >> behind;
    EXPECT_EQ(behind, 42);
  }
}

TEST(Persistence, FramesWithoutClassHaveVersionZero)
{
  ArchiveWriter writer;
  const auto body = [&] {
    writer.object("ZooShape", [&] { writer << 1; });
    writer << 2.0;
  };
  writer.objectWithoutClass(body);
  writer.object("ZooRound", body);
  writer.objectWithoutClass(body);
  writer.objectWithoutClass(body);
  Reading stream(writer.bytes());
  Round round;
  Persistence::loadObject(stream.archive, round);
  EXPECT_EQ(round.loadedVersion, 0u);
  Persistence::loadObject(stream.archive, round);
  EXPECT_EQ(round.loadedVersion, 7u);
  const auto pointer = stream.pointer<Round>();
  EXPECT_EQ(pointer->loadedVersion, 0u);
  EXPECT_EQ(pointer->radius, 2.0);
  EXPECT_THROW(stream.pointer<Shape>(), PersistenceException); // abstract: nothing to create
}

TEST(Persistence, CornersReadThroughFacesEndUpOwnedByTheirSolid)
{
  ASSERT_EQ(Corner::alive, 0);
  Solid solid;
  roundTrip(twoFaces(), solid); // the archive is gone afterwards
  EXPECT_EQ(Corner::alive, 3);
  ASSERT_THAT(solid.corners, SizeIs(3));
  EXPECT_EQ(solid.faces[0].first, solid.corners[0]);
  EXPECT_EQ(solid.faces[0].second, solid.corners[1]);
  EXPECT_EQ(solid.faces[1].first, solid.corners[1]);
  EXPECT_EQ(solid.faces[1].second->x, 2);
  EXPECT_EQ(solid.corners[1].use_count(), 1); // the faces don't own
  solid.corners.clear();
  EXPECT_EQ(Corner::alive, 0);
}

std::vector<char> oneCornerTwice()
{
  ArchiveWriter writer;
  const auto corner = std::make_shared<Corner>(5);
  Persistence::savePointer(writer.archive(), corner);
  Persistence::savePointer(writer.archive(), corner);
  return writer.bytes();
}

TEST(Persistence, CornersThatNobodyOwnsEndWithTheArchive)
{
  ASSERT_EQ(Corner::alive, 0);
  const auto bytes = oneCornerTwice();
  {
    Reading stream(bytes);
    const auto first = stream.pointer<Corner>(true), second = stream.pointer<Corner>(true);
    EXPECT_EQ(first, second);
    EXPECT_EQ(Corner::alive, 1);
  }
  EXPECT_EQ(Corner::alive, 0);
}

TEST(Persistence, ATargetOfTheCallerIsNeverTakenOver)
{
  Reading stream(oneCornerTwice());
  Corner member;
  std::shared_ptr<Corner> view(&member, null_deleter());
  Persistence::loadPointer(stream.archive, view, true);
  EXPECT_EQ(view.get(), &member);
  EXPECT_EQ(member.x, 5);
  const auto other = stream.pointer<Corner>();
  EXPECT_EQ(other.get(), &member);
} // freeing `member` would end the program

TEST(Persistence, AReferenceReachesAFrameThatWasSkippedOrIsStillToCome)
{
  ArchiveWriter writer;
  unsigned int skipped = 0;
  writer.object("ZooCorner", [&] {
    writer << 1.0;
    skipped = writer.object("ZooRound", [&] {
      writer.object("ZooShape", [&] { writer << 8; });
      writer << 0.5;
    });
  });
  const auto laterFrame = static_cast<unsigned int>(writer.archive().tellp()) + 3 * 12 + 4;
  writer.reference(skipped, "ZooRound").reference(laterFrame, "ZooRound").reference(skipped, "ZooRound");
  const unsigned int later = writer.object("ZooRound", [&] {
    writer.object("ZooShape", [&] { writer << 9; });
    writer << 0.25;
  });
  ASSERT_EQ(later, laterFrame);
  writer << 42;

  Reading stream(writer.bytes());
  Corner corner;
  Persistence::loadObject(stream.archive, corner);
  const auto first = stream.pointer<Shape>();
  const auto ahead = stream.pointer<Round>();
  EXPECT_EQ(first->tag, 8);
  EXPECT_EQ(stream.pointer<Shape>(), first);
  EXPECT_EQ(ahead->radius, 0.25);
  ahead->radius = 1; // shows that the frame isn't read again
  EXPECT_EQ(stream.pointer<Shape>(), ahead);
  EXPECT_EQ(ahead->radius, 1);
  int behind;
  stream.archive >> behind;
  EXPECT_EQ(behind, 42);
}

TEST(Persistence, AnUnknownClassIsReadAsTheOneExpected)
{
  ArchiveWriter writer;
  writer.version("ZooFromTheFuture", 99);
  for (int i = 0; i < 2; ++i)
    writer.object("ZooFromTheFuture", [&] {
      writer.object("ZooShape", [&] { writer << 1; });
      writer << 3.0;
    });
  Reading stream(writer.bytes());
  EXPECT_EQ(stream.pointer<Round>()->radius, 3.0);
  EXPECT_EQ(stream.archive.numberOfCorruptedObjects(), 1u);
  EXPECT_EQ(stream.pointer<Round>()->radius, 3.0);
}

TEST(Persistence, LongChainsOfObjectsRaiseInsteadOfExhaustingTheStack)
{
  std::shared_ptr<Link> chain;
  const auto prepend = [&chain](int count) {
    for (; count > 0; --count) {
      const auto link = std::make_shared<Link>();
      link->next = std::exchange(chain, link);
    }
  };
  ArchiveWriter writer, refused;
  prepend(900);
  Persistence::savePointer(writer.archive(), chain);
  Reading stream(writer.bytes());
  int loaded = 0;
  for (auto link = stream.pointer<Link>(); link != nullptr; link = link->next)
    ++loaded;
  EXPECT_EQ(loaded, 900);
  prepend(200);
  EXPECT_THROW(Persistence::savePointer(refused.archive(), chain), PersistenceException);
}

} // namespace
} // namespace Kavrel
