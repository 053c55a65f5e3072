#include "geometry/VectorField.h"
#include "support/ArchiveWriter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Kavrel {
namespace {

using Values = std::vector<VectorField::Value>;

VectorField sample()
{
  VectorField field;
  field.setName("flow");
  field.addValue({1, 2, 3}, {4, 5, 6});
  field.addValue(VectorField::Value({7, 8, 9}, {0.5, 0, -1}));
  return field;
}

Values valuesOf(const VectorField& field) { return {field.getStart(), field.getEnd()}; }

TEST(VectorFieldTest, AppendsAnotherFieldAndItself)
{
  VectorField field = sample();
  const Values once = valuesOf(field);
  field.addValues(field);
  Values twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(valuesOf(field), twice);
  field.addValues(Values{{{0, 0, 0}, {1, 1, 1}}});
  twice.push_back({{0, 0, 0}, {1, 1, 1}});
  EXPECT_EQ(valuesOf(field), twice);
}

TEST(VectorFieldTest, CopyReplacesAllButTheIdentifier)
{
  const VectorField source = sample();
  VectorField target;
  target.setName("old");
  target.addValue({9, 9, 9}, {9, 9, 9});
  const Identifier id = target.getId();
  source.copy(target);
  EXPECT_EQ(valuesOf(target), valuesOf(source));
  EXPECT_EQ(target.getName(), "flow");
  EXPECT_EQ(target.getId(), id);
  target.copy(target);
  EXPECT_EQ(valuesOf(target), valuesOf(source));
}

TEST(VectorFieldTest, ErasesOneValue)
{
  VectorField field = sample();
  const Values values = valuesOf(field);
  field.erase(2);
  EXPECT_EQ(field.size(), 2U);
  field.erase(0);
  EXPECT_EQ(valuesOf(field), Values{values[1]});
}

void expectLoads(const std::vector<char>& bytes, const VectorField& source)
{
  VectorField loaded;
  loaded.addValue({9, 9, 9}, {9, 9, 9});
  Testing::loadFrom(bytes, loaded);
  EXPECT_EQ(loaded.getId(), source.getId());
  EXPECT_EQ(loaded.getName(), source.getName());
  EXPECT_EQ(valuesOf(loaded), valuesOf(source));
}

TEST(VectorFieldTest, ArchiveRoundTrip)
{
  const VectorField source = sample();
  expectLoads(Testing::archiveOf(source), source);
  const VectorField empty;
  expectLoads(Testing::archiveOf(empty), empty);
}

template <class T>
unsigned classHash()
{
  BaseClassRegister record;
  T::serialization_register(&record);
  return record.classHash;
}

TEST(VectorFieldTest, ValuesAreOneContainerOfPairs)
{
  const VectorField source = sample();
  PersistenceArchiver archive;
  const auto bytes = Testing::archiveOf(source);
  archive.openForReading(bytes);
  unsigned address = 0, end = 0, hash = 0, count = 0, pointHash = 0;
  Identifier id;
  std::string name;
  archive.read_to_address_header(address, end);
  archive >> hash;
  Persistence::loadObject(archive, id);
  archive >> name;
  archive.read_to_address_header(address, end);
  archive >> hash >> pointHash >> count;
  EXPECT_EQ(hash, (classHash<Vector<double, 3>>()));
  EXPECT_EQ(pointHash, (classHash<Point<double, 3>>()));
  EXPECT_EQ(count, 2U);
  for (const double expected : {1., 2., 3., 4., 5., 6., 7., 8., 9., 0.5, 0., -1.}) {
    double component = 0;
    archive >> component;
    EXPECT_EQ(component, expected);
  }
}

std::vector<char> oldForm(const VectorField& source, unsigned classVersion, unsigned streamVersion,
                          unsigned long long count)
{
  Testing::ArchiveWriter old(streamVersion);
  old.version("VectorField", classVersion);
  old.object("VectorField", [&] {
    Persistence::saveObject(old.archive(), source.getId());
    old << source.getName() << count;
    for (const auto& [point, vector] : valuesOf(source)) {
      Persistence::saveObject(old.archive(), point);
      Persistence::saveObject(old.archive(), vector);
    }
  });
  return old.bytes();
}

TEST(VectorFieldTest, OldStreamsHoldAFrameForEachHalf)
{
  const VectorField source = sample();
  expectLoads(oldForm(source, 300001, PersistenceArchiver::getCurrentVersion(0), 2), source);
  expectLoads(oldForm(source, 0, 63014, 2), source);
  expectLoads(oldForm(source, 300002, 63013, 2), source);
}

TEST(VectorFieldTest, HostileCountsRaise)
{
  const auto bytes = oldForm(sample(), 300001, PersistenceArchiver::getCurrentVersion(0), ~0ULL);
  VectorField field;
  EXPECT_ANY_THROW(Testing::loadFrom(bytes, field));
  EXPECT_LT(field.size(), 10U);
}

} // namespace
} // namespace Kavrel
