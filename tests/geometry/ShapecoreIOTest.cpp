#include "geometry/ShapecoreIO.h"

#include "geometry/PolyLine.h"
#include "geometry/ShapecoreException.h"
#include "geometry/mesh/Mesh.h"
#include "support/TextFile.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>

namespace Kavrel {
namespace {

using namespace Testing;

const std::string lines = "poly3d 0 1 2 3 1 4 5 6 2 7 8 10\nnormals 0 0 0 2 1 0 0 0.05\n"
                          "poly3d 0 0 0 0 1 1 0 0 2 1 1 0 3 0 0 0\n";

template <class PointType>
class ImportedLines : public testing::Test
{};

using PointTypes = testing::Types<Point<float, 2>, Point<float, 3>, Point<double, 2>, Point<double, 3>, Point3N,
                                  Point3NT, ProjectionPoint, ConstraintPoint>;
TYPED_TEST_SUITE(ImportedLines, PointTypes);

TYPED_TEST(ImportedLines, keepCoordinatesAttributesAndClosedness)
{
  const TextFile file(lines);
  const auto read = ShapecoreIO::importPolyLines<TypeParam>(file.getName(), 2, 0);
  ASSERT_EQ(read.size(), 2U);
  ASSERT_EQ(read[0]->numberOfPoints(), 3U);
  EXPECT_FALSE(read[0]->isClosed());
  EXPECT_TRUE(read[1]->isClosed());
  EXPECT_EQ(read[1]->getTolerance(), static_cast<typename TypeParam::Scalar>(0.1));

  const TypeParam& point = (*read[0])[1];
  using Position = Point<typename TypeParam::Scalar, TypeParam::Dim>;
  if constexpr (TypeParam::Dim == 2)
    EXPECT_EQ(point, Position(6, 4));
  else
    EXPECT_EQ(point, Position(4, 5, 6));
  if constexpr (TypeParam::TypeHasNormal) {
    EXPECT_EQ(point.getNormal(), (Vector<double, 3>(0, 0, 0.05)));
  }
  if constexpr (std::is_same_v<TypeParam, ConstraintPoint>) {
    // A normal longer than a tenth clamps a point.
    EXPECT_EQ((*read[0])[0].getConstraint(), ConstraintPoint::Clamped);
    EXPECT_EQ(point.getConstraint(), ConstraintPoint::Fixed);
  }

  const auto first = ShapecoreIO::importPolyLine<TypeParam>(file.getName(), 2, 0);
  ASSERT_TRUE(first);
  EXPECT_TRUE(first->isCompletelyEqual(*read[0], 0));
}

TEST(ShapecoreIO, meshFileHasNoPolyLine)
{
  const TextFile file("points 0 0 0 0 1 1 0 0 2 0 1 0 normals 0 0 0 1 facets 0 0 1 2");
  EXPECT_TRUE(ShapecoreIO::importPolyLines<Point3N>(file.getName()).empty());
  EXPECT_EQ(ShapecoreIO::importPolyLine<Point3N>(file.getName()), nullptr);
}

TEST(ShapecoreIO, coordinatesInThePlaneMustExist)
{
  const TextFile file(lines);
  using Plane = Point<double, 2>;
  EXPECT_THROW(ShapecoreIO::importPolyLine<Plane>(file.getName(), 3, 0), ShapecoreException);
  EXPECT_THROW(ShapecoreIO::importPolyLine<Plane>(file.getName(), 0, 4000000000U), ShapecoreException);
}

TEST(ShapecoreIO, tellsHowAMeshReadEnded)
{
  const std::string points = "points\n0 0 0 0\n1 1 0 0\n2 0 1 0\n";
  const TextFile whole(points + "facets\n0 0 1 2\n"), cut(points + "facets\n0 0 1 2\n1 0 1");
  const TextFile corrupted(points + "facets\n0 0 1 2\n1 0 1 9");
  TextImportStatus status;
  EXPECT_EQ(ShapecoreIO::importMesh(whole.getName(), &status)->numberOfTriangles(), 1U);
  EXPECT_TRUE(status.complete);
  EXPECT_EQ(ShapecoreIO::importMesh(cut.getName(), &status)->numberOfTriangles(), 1U);
  EXPECT_FALSE(status.complete);
  EXPECT_EQ(status.line, 7U);
  status = {};
  EXPECT_THROW(ShapecoreIO::importMesh(corrupted.getName(), &status), ShapecoreException);
  EXPECT_EQ(status.line, 7U);
}

TEST(ShapecoreIO, whatCannotBeOpenedRaises)
{
  const std::string message = "ShapecoreIO: file could not be opened! Check paths, permissions, etc.";
  for (const FileName& name :
       {FileName("/nowhere/at all.txt"), FileName(""), FileName(std::filesystem::temp_directory_path())}) {
    SCOPED_TRACE(name.toString());
    EXPECT_THAT([&] { ShapecoreIO::importMesh(name); }, testing::ThrowsMessage<std::runtime_error>(message));
    EXPECT_THROW(ShapecoreIO::importPolyLines<Point3N>(name), std::runtime_error);
  }
}

} // namespace
} // namespace Kavrel
