#include <deque>

#include <gmock/gmock.h>

#include "platform/kvgeneral/NameInterface.h"
#include "platform/kvident/GUIdentifier.h"
#include "platform/kvident/Identifier.h"
#include "platform/kvmath/Interval.h"
#include "platform/kvmath/OrthMatrix.h"
#include "platform/kvmath/Vector.h"
#include "support/ArchiveWriter.h"

namespace Kavrel {
namespace {

/// Size of the frame of one object: the stream without its head, the frame's head and the table of one class.
template <class T>
std::size_t bodySize(const T& object)
{
  return Testing::archiveOf(object).size() - 16 - 12 - (4 + 8);
}

template <class V>
class VectorArchive : public testing::Test
{};
using Vectors =
    testing::Types<Vector<float, 2>, Vector<float, 3>, Vector<double, 1>, Vector<double, 2>, Vector<double, 3>>;
TYPED_TEST_SUITE(VectorArchive, Vectors);

TYPED_TEST(VectorArchive, HoldsTheComponentsAndNothingElse)
{
  TypeParam saved, loaded;
  for (unsigned i = 0; i < TypeParam::Size; ++i)
    saved[i] = typename TypeParam::Scalar(0.1) * typename TypeParam::Scalar(i + 1);
  Testing::roundTrip(saved, loaded);
  EXPECT_EQ(loaded, saved);
  EXPECT_EQ(bodySize(saved), sizeof(TypeParam));

  // One by one and in one piece, a list of vectors gives the same bytes.
  std::vector<TypeParam> list(3, saved), listLoaded;
  Testing::ArchiveWriter whole, single;
  Persistence::saveContainer(whole.archive(), list);
  Persistence::saveContainer(single.archive(), std::deque<TypeParam>(list.begin(), list.end()));
  const std::vector<char> bytes = whole.bytes();
  EXPECT_EQ(bytes, single.bytes());
  PersistenceArchiver archive;
  archive.openForReading(bytes);
  Persistence::loadContainer(archive, listLoaded);
  EXPECT_EQ(listLoaded, list);
}

TEST(MathArchive, MatricesAreStoredRowByRow)
{
  const Vector<double, 3> columns[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const OrthMatrix<double, 3> saved(columns);
  OrthMatrix<double, 3> loaded;
  const std::vector<char> bytes = Testing::archiveOf(saved);
  Testing::loadFrom(bytes, loaded);
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j)
      EXPECT_EQ(loaded(i, j), columns[j][i]);

  Testing::ArchiveWriter writer;
  writer.object("OrthMatrix3", [&] { writer << 1.0 << 4.0 << 7.0 << 2.0 << 5.0 << 8.0 << 3.0 << 6.0 << 9.0; });
  EXPECT_EQ(writer.bytes(), bytes);
  EXPECT_EQ(bodySize(OrthMatrix<float, 2>()), 4 * sizeof(float));
}

TEST(MathArchive, ValuesComeBackAsTheyWere)
{
  const auto expectSame = [](const auto& saved, auto loaded) {
    ASSERT_FALSE(loaded == saved);
    Testing::roundTrip(saved, loaded);
    EXPECT_TRUE(loaded == saved);
  };
  expectSame(Interval(5, -3, false, true), Interval());
  expectSame(Interval(5, -3, true, false), Interval());
  expectSame(Identifier(), Identifier());
  expectSame(GUIdentifier(0x0123456789ABCDEFu, 0xFEDCBA9876543210u), GUIdentifier());
  NameInterface loaded("before");
  Testing::roundTrip(NameInterface("name"), loaded);
  EXPECT_EQ(loaded.getName(), "name");
}

} // namespace
} // namespace Kavrel
