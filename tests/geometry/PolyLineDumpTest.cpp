#include "geometry/PolyLineDump.h"

#include "support/CommaLocale.h"
#include "support/PolyLineBuilder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

using namespace Kavrel;
using namespace Kavrel::Testing;

namespace {

using Point2 = Point<double, 2>;
using Point3 = Point<double, 3>;
using Vector3 = Vector<double, 3>;
constexpr auto pointsOnly = PolyNormalDumpMode::PointsOnly;
constexpr auto strokes = PolyNormalDumpMode::NormalStrokes;
constexpr auto section = PolyNormalDumpMode::NormalsSection;

template <class P>
std::string dumped(const PolyLine<P>& polyline, PolyNormalDumpMode mode, bool fullPrecision = false,
                   bool scientific = false)
{
  std::ostringstream out;
  polyline.dump(out, mode, fullPrecision, scientific);
  return out.str();
}

TEST(PolyLineDump, RowsByModeAndType)
{
  EXPECT_EQ(dumped(polyLineFrom<Point2>("closed"), pointsOnly), "Poly3D\n");
  EXPECT_EQ(dumped(polyLineFrom<Point2>("0,0 1,0 closed"), section), "Poly3D\n0 0 0\n1 1 0\n2 0 0\n");
  const auto ring = polyLineFrom<ConstraintPoint>("1,0,0/0,0,0.5 2,0,0 closed");
  EXPECT_EQ(dumped(ring, pointsOnly), "Poly3D\n0 1 0 0\n1 2 0 0\n2 1 0 0\n");
  EXPECT_EQ(dumped(ring, strokes), "Poly3D\n0 1 0 0\n1 1 0 5\n2 1 0 0\n3 2 0 0\n4 1 0 0\n");
  EXPECT_EQ(dumped(ring, section), "Poly3D\n0 1 0 0\n1 2 0 0\n2 1 0 0\nNormals\n0 0 0 0.5\n1 0 0 0\n2 0 0 0.5\n");
  const PolyLine<Point3NT> tangents({Point3NT(Vector3(1, 2, 3), Vector3(0, 0, 1), Vector3(4, 0, 0))}, 0.1);
  EXPECT_EQ(dumped(tangents, section), "Poly3D\n0 1 2 3\nNormals\n0 0 0 1\nBinormals\n0 4 0 0\n");
}

TEST(PolyLineDump, FormatCoversThePointsAlone)
{
  const auto polyline = polyLineFrom<Point3N>("0.1234567890123456,0,0/0.1234567890123456,0,0");
  EXPECT_EQ(dumped(polyline, section, true), "Poly3D\n0 0.123456789012346 0 0\nNormals\n0 0.123457 0 0\n");
  EXPECT_EQ(dumped(polyline, section, false, true),
            "Poly3D\n0 1.234568e-01 0.000000e+00 0.000000e+00\nNormals\n0 0.123457 0 0\n");
  EXPECT_EQ(dumped(polyline, strokes, true, true),
            "Poly3D\n0 0.123456789012346 0 0\n1 1.3580246791358 0 0\n2 0.123456789012346 0 0\n");
}

TEST(PolyLineDump, NoLocaleReachesTheNumbers)
{
  const CommaLocale host;
  EXPECT_EQ(dumped(polyLineFrom<Point2>("0.5,123456"), pointsOnly), "Poly3D\n0 0.5 123456\n");
}

TEST(PolyLineDump, FilesAreNumberedAndAppended)
{
  const auto folder = std::filesystem::path(testing::TempDir()) / "PolyLineDumpTest";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  const std::string name = (folder / "line").string();
  const auto contentOf = [](const std::string& file) {
    std::ifstream in(file);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  const auto polyline = polyLineFrom<Point2>("1,2");
  const std::string once = "Poly3D\n0 1 2\n";
  polyline.dump(name, -1, false, pointsOnly);
  EXPECT_EQ(contentOf(name + ".kv"), once);
  for (const auto& [append, content] : {std::pair(false, once), {true, once + once}, {false, once}}) {
    polyline.dump(name, 7, append, pointsOnly);
    EXPECT_EQ(contentOf(name + "_7.kv"), content);
  }
  std::filesystem::remove_all(folder);
}

} // namespace
