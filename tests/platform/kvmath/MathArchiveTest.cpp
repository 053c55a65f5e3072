#include <deque>

#include <gmock/gmock.h>

#include "platform/kvident/GUIdentifier.h"
#include "platform/kvident/Identifier.h"
#include "platform/kvmath/Interval.h"
#include "platform/kvmath/OrthMatrix.h"
#include "platform/kvmath/Vector.h"
#include "support/ArchiveWriter.h"

namespace Kavrel {
namespace {

/// One by one and in one piece, a list of vectors gives the same bytes, the components and nothing else.
template <class V>
void expectComponentsInARow()
{
  V saved;
  for (unsigned i = 0; i < V::Size; ++i)
    saved[i] = typename V::Scalar(i + 1);
  // The frame of one object: the stream without its head, the frame's head and the table of one class.
  EXPECT_EQ(Testing::archiveOf(saved).size(), 16 + 12 + sizeof(V) + (4 + 8));
  std::vector<V> list(3, saved), listLoaded;
  Testing::ArchiveWriter whole, single;
  Persistence::saveContainer(whole.archive(), list);
  Persistence::saveContainer(single.archive(), std::deque<V>(list.begin(), list.end()));
  const std::vector<char> bytes = whole.bytes();
  EXPECT_EQ(bytes, single.bytes());
  PersistenceArchiver archive;
  archive.openForReading(bytes);
  Persistence::loadContainer(archive, listLoaded);
  EXPECT_EQ(listLoaded, list);
}

TEST(MathArchive, VectorsAreTheirComponents)
{
  expectComponentsInARow<Vector<float, 2>>();
  expectComponentsInARow<Vector<float, 3>>();
  expectComponentsInARow<Vector<double, 1>>();
  expectComponentsInARow<Vector<double, 2>>();
  expectComponentsInARow<Vector<double, 3>>();
}

TEST(MathArchive, MatricesAreStoredRowByRow)
{
  const Vector<double, 3> columns[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const OrthMatrix<double, 3> saved(columns);
  OrthMatrix<double, 3> loaded;
  Testing::ArchiveWriter writer;
  writer.object("OrthMatrix3", [&] { writer << 1.0 << 4.0 << 7.0 << 2.0 << 5.0 << 8.0 << 3.0 << 6.0 << 9.0; });
  const std::vector<char> bytes = writer.bytes();
  EXPECT_EQ(Testing::archiveOf(saved), bytes);
  Testing::loadFrom(bytes, loaded);
  EXPECT_EQ(loaded, saved);
}

TEST(MathArchive, ValuesComeBackAsTheyWere)
{
  const auto expectSame = [](const auto& saved, auto loaded) {
    ASSERT_FALSE(loaded == saved);
    Testing::roundTrip(saved, loaded);
    EXPECT_TRUE(loaded == saved);
  };
  expectSame(Interval(5, -3, false, true), Interval());
  expectSame(Identifier(), Identifier());
  expectSame(GUIdentifier(0x0123456789ABCDEFu, 0xFEDCBA9876543210u), GUIdentifier());
  EXPECT_EQ(Interval(2, 1, true, false).sort(), Interval(1, 2, true, false)) << "the flags stay in their places";
}

} // namespace
} // namespace Kavrel
