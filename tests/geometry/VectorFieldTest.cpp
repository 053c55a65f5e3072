#include "geometry/VectorField.h"
#include "support/ArchiveWriter.h"

#include <gtest/gtest.h>

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

TEST(VectorFieldTest, CopiesAndAppendsItself)
{
  const VectorField source = sample();
  VectorField target;
  const Identifier id = target.getId();
  target.addValue({9, 9, 9}, {9, 9, 9});
  source.copy(target);
  target.copy(target);
  target.erase(2);
  EXPECT_EQ(target.getName(), "flow");
  EXPECT_EQ(target.getId(), id);
  Values values = valuesOf(source);
  EXPECT_EQ(valuesOf(target), values);
  target.addValues(target);
  values.insert(values.end(), source.getStart(), source.getEnd());
  EXPECT_EQ(valuesOf(target), values);
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
  expectLoads(Testing::archiveOf(source), source);
  expectLoads(oldForm(source, 300001, PersistenceArchiver::getCurrentVersion(0), 2), source);
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
