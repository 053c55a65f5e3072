#include "geometry/KvFileParser.h"

#include "geometry/Point3NT.h"
#include "geometry/PolyLine.h"
#include "geometry/mesh/Mesh.h"
#include "platform/kverror/KvException.h"
#include "platform/kvfile/KvIfstream.h"
#include "support/MeshBuilder.h"
#include "support/TextFile.h"

#include <sstream>
#include <stdexcept>

namespace Kavrel {
namespace {

using namespace Testing;

/// What came out of a read: the objects, also when it raised, then how it ended.
struct Outcome
{
  std::string objects, error;
  TextImportStatus status;
};

template <class P>
requires P::TypeHasNormal void write(std::ostream& out, const P& point)
{
  out << '(' << static_cast<const Vector<double, 3>&>(point);
  if (point.hasNormal()) out << " n " << point.getNormal();
  if constexpr (P::TypeHasTangent)
    if (point.hasTangent()) out << " t " << point.getTangent();
  out << ')';
}

void write(std::ostream& out, const Mesh& mesh)
{
  for (auto v = mesh.beginVertex(); v != mesh.endVertex(); ++v)
    write(out, static_cast<const Point3N&>(*v));
  for (auto t = mesh.beginTriangle(); t != mesh.endTriangle(); ++t)
    out << '[' << *t << ']';
  if (mesh.hasNormals()) out << 'N';
}

template <class List>
void write(std::ostream& out, const std::vector<std::shared_ptr<List>>& lists)
{
  for (const auto& list : lists) {
    bool closed = false;
    if constexpr (std::is_same_v<List, PolyLine<Point3NT>>) closed = list->isClosed();
    out << (closed ? '{' : '<');
    for (const auto& point : *list)
      write(out, point);
    out << (closed ? '}' : '>');
  }
}

template <class Target, class Read>
Outcome outcomeOf(const std::string& text, Target target, Read&& read)
{
  const TextFile file(text);
  KvIfstream stream(file.getName());
  KvFileParser parser(stream);
  Outcome outcome;
  try {
    read(parser, target);
  } catch (const std::exception& error) {
    outcome.error = error.what();
  }
  std::ostringstream out;
  write(out, target);
  outcome.objects = out.str();
  outcome.status = parser.getStatus();
  return outcome;
}

Outcome readMesh(const std::string& text)
{
  return outcomeOf(text, Mesh(), [](KvFileParser& parser, Mesh& mesh) { parser.readMesh(mesh); });
}

Outcome readPolyLines(const std::string& text)
{
  return outcomeOf(text, std::vector<std::shared_ptr<PolyLine<Point3NT>>>(),
                   [](KvFileParser& parser, auto& lines) { parser.readPolyLine(lines); });
}

Outcome readPoints(const std::string& text)
{
  return outcomeOf(text, std::vector<std::shared_ptr<std::vector<Point3N>>>(),
                   [](KvFileParser& parser, auto& all) { parser.readPoints(all); });
}

struct Row
{
  const char* what;
  std::string text, objects, error;
  bool complete;
  std::size_t line;
};

template <class Read>
void expectRows(const std::vector<Row>& rows, Read&& read)
{
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Outcome outcome = read(row.text);
    EXPECT_EQ(outcome.objects, row.objects);
    EXPECT_EQ(outcome.error, row.error);
    EXPECT_EQ(outcome.status.complete, row.complete);
    EXPECT_EQ(outcome.status.line, row.line);
  }
}

const std::string corners = "points\n0 0 0 0\n1 1 0 0\n2 0 1 0\n"; // four lines
const std::string flat = "(0 0 0 n 0 0 1)(1 0 0 n 0 0 1)(0 1 0 n 0 0 1)[0 1 2]N";
const std::string bare = "(0 0 0)(1 0 0)(0 1 0)";

TEST(KvFileParser, meshes)
{
  expectRows(
      {{"as dumped", "#Mesh\nPoints\n0 0 0 0\n1 1 0 0\n2 0 1 0\n\nFacets\n0 0 1 2\n", flat, "", true, 0},
       {"carriage returns", "POINTS\r\n0 0 0 0\r\n1 1 0 0\r\n2 0 1 0\r\nFaCeTs\r\n0 0 1 2\r\n", flat, "", true, 0},
       {"words before the first keyword", "hello 1 2 3 world " + corners + "facets 0 0 1 2", flat, "", true, 0},
       {"a foreign keyword ends the section", corners + "poly3d\n9 9 9 9\nfacets 0 0 1 2", flat, "", true, 0},
       {"comment glued to the running number", "points 0# 0 0 0 1#1 0 0 2#0 1 0 facets 0#0 1 2", flat, "", true, 0},
       {"temperatures and binormals are dropped", corners + "temperatures 0 9.5 binormals 0 1 2 3 facets 0 0 1 2", flat,
        "", true, 0},
       {"points alone", corners, bare, "", true, 0},
       {"normals given", corners + "normals 0 1 0 0 1 0 1 0 2 0 0 2\nfacets 0 0 1 2",
        "(0 0 0 n 1 0 0)(1 0 0 n 0 1 0)(0 1 0 n 0 0 2)[0 1 2]N", "", true, 0},
       {"normals behind the facets, unchecked", corners + "facets 0 0 1 2\nnormals 0 1 0 0",
        "(0 0 0 n 1 0 0)(1 0 0 n 0 0 1)(0 1 0 n 0 0 1)[0 1 2]N", "", true, 0},

       {"empty", "", "", "File is empty.", false, 1},
       {"index out of range", corners + "facets\n0 0 1 2\n1 0 1 3\n2 0 1 2", bare + "[0 1 2]",
        "Mesh: Facet data is corrupted.", false, 7},
       {"index beyond 32 bits", corners + "facets\n0 0 1 4294967296", bare, "Mesh contains no facets.", false, 6},
       {"no facets behind the keyword", corners + "facets", bare, "Mesh contains no facets.", false, 5},
       {"too many normals", "points 0 1 2 3\nnormals\n0 1 0 0\n1 1 0 0", "(1 2 3 n 1 0 0)N",
        "Mesh contains a wrong number of normals.", false, 4},
       {"a zero normal", "points 0 0 0 0 1 1 0 0 2 0 1 0 normals 0 1 0 0 1 0 0 0 2 0 0 1 facets 0 0 1 2",
        "(0 0 0 n 1 0 0)(1 0 0)(0 1 0 n 0 0 1)[0 1 2]N", "Mesh: Wrong number of normals.", false, 1},

       {"a point that isn't a number", "points\n0 0 0 0\n1 nan 0 0\n2 0 1 0\nfacets\n0 0 1 2", "(0 0 0)", "", false, 3},
       {"truncated in a facet", corners + "facets\n0 0 1 2\n1 0 2", flat, "", false, 7},
       {"a short row eats the next one", "points\n0 0 0\n1 1 0 0\n2 0 1 0\nfacets\n0 0 1 2", "(0 0 1)(0 0 2)", "",
        false, 4}},
      readMesh);
}

TEST(KvFileParser, polylines)
{
  const std::string line = "poly3d 0 0 0 0 1 1 0 0 2 1 1 0\n";
  const std::string read = "<(0 0 0)(1 0 0)(1 1 0)>";
  expectRows({{"three sections", line + line + "POLY3D\n", read + read + "<>", "", true, 0},
              {"closed ends", line + "3 0.000009 0 0", "{(0 0 0)(1 0 0)(1 1 0)}", "", true, 0},
              {"ends apart", line + "3 0.0001 0 0", "<(0 0 0)(1 0 0)(1 1 0)(0.0001 0 0)>", "", true, 0},
              {"closed ends with normals stay open",
               "poly3d 0 0 0 0 1 1 0 0 2 0 1 0 3 0 0 0 normals 0 0 0 1 1 0 0 1 2 0 0 1 3 0 0 1",
               "<(0 0 0 n 0 0 1)(1 0 0 n 0 0 1)(0 1 0 n 0 0 1)(0 0 0 n 0 0 1)>", "", true, 0},
              {"normals, then binormals", line + "normals 0 0 0 2 binormals 0 3 0 0 1 4 0 0",
               "<(0 0 0 n 0 0 2 t 3 0 0)(1 0 0 t 4 0 0)(1 1 0)>", "", true, 0},
              {"second normals belong to nothing", line + "normals 0 0 0 1 normals 0 0 0 2 1 0 0 2",
               "<(0 0 0 n 0 0 1)(1 0 0)(1 1 0)>", "", true, 0},
              {"a zero normal is none", line + "normals 0 0 0 0", read, "", true, 0},
              {"points with normals", "projpoints\n0 0 0 1 2 0 0 3\n1 0 0 -1 -2 0 0 0\n", "<(0 0 0 n 0 0 3)(1 0 0)>",
               "", true, 0},
              {"a prefix and hexadecimal digits in front", "projpoints 1.5m 0 0 0 0 0 0 1 0x10 0 0 0 0 0 0 1",
               "<(1.5 0 0 n 0 0 1)(16 0 0 n 0 0 1)>", "", true, 0},
              {"temperatures end it", line + "temperatures 0 20 normals 0 0 0 1", read, "", true, 0},

              {"too many normals", line + line + "normals 0 0 0 1 1 0 0 1 2 0 0 1\n3 0 0 1", read,
               "Polyline contains a wrong number of normals.", false, 4},
              {"too many binormals", line + line + "binormals 0 0 0 1 1 0 0 1 2 0 0 1\n3 0 0 1", read,
               "Polyline contains a wrong number of binormals.", false, 4},
              {"no number in front", line + "projpoints\nx 0 0 0 0 0 0 1", read, "invalid stod argument", false, 3},
              {"fractional integer", line + "projpoints\n1 0 0 0.5 0 0 0 1", read + "<>", "", false, 3},
              {"truncated", line + "3 1", read, "", false, 2}},
             readPolyLines);
}

TEST(KvFileParser, pointCollections)
{
  expectRows(
      {{"collections and their normals",
        "poly3d 0 1 2 3 1 4 5 6\nnormals 0 0 0 2\nprojpoints 7 8 9 0 0 1 0 0\nprojpoints",
        "<(1 2 3 n 0 0 2)(4 5 6)><(7 8 9 n 1 0 0)><>", "", true, 0},
       {"closed ends stay apart", "poly3d 0 1 0 0 1 2 0 0 2 3 1 0 3 1 0 0", "<(1 0 0)(2 0 0)(3 1 0)(1 0 0)>", "", true,
        0},
       {"binormals are dropped", "poly3d 0 1 0 0 binormals 0 1 0 0 1 1 0 0 normals 0 0 0 1", "<(1 0 0 n 0 0 1)>", "",
        true, 0},
       {"a vertex", "poly3d 0 1 2 3\npoints\n0 1 2 3", "<(1 2 3)>", "The file seems to contain meshes.", false, 3},
       {"a facet", "poly3d 0 1 2 3\nfacets\n0 1 2 3", "<(1 2 3)>", "The file seems to contain meshes.", false, 3},
       {"too many normals", "poly3d 0 1 2 3\nnormals 0 1 2 3\n1 1 2 3", "",
        "Point-Collection contains a wrong number of normals.", false, 3}},
      readPoints);
}

TEST(KvFileParser, readsBackWhatAMeshDumps)
{
  Mesh mesh = hills(20, 30);
  mesh.computeNormals(false, true);
  for (const bool withNormals : {false, true}) { // else they are computed anew, from the same positions
    std::ostringstream text;
    text.precision(17);
    mesh.dump(text, withNormals, false);
    const TextFile file(text.str());
    KvIfstream stream(file.getName());
    Mesh read;
    KvFileParser(stream).readMesh(read);
    EXPECT_EQ(read.getHash(), mesh.getHash());
    for (unsigned i = 0; i < mesh.numberOfVertices(); ++i)
      EXPECT_EQ(read.getVertexRef(i).getNormal(), mesh.getVertexRef(i).getNormal());
  }
}

// Whatever the bytes, a read ends with objects or with a failure, and the objects that there are hang together.
TEST(KvFileParser, survivesDamagedFiles)
{
  Mesh mesh = hills(4, 4);
  mesh.computeNormals(false, true);
  std::ostringstream dumped;
  mesh.dump(dumped, true, true);
  const std::string sources[] = {
      dumped.str(), "poly3d\n0 1 2 3\n1 2 3 4\nnormals\n0 0 0 1\nbinormals\n0 1 0 0\nprojpoints\n1 2 3 4 5 6 7 8\n"};
  repeat(3000, 720, [&](RandomGeometry& random) {
    std::string text = sources[random.index(2)];
    for (std::size_t n = random.index(4); n > 0; --n)
      text[random.index(text.size())] = static_cast<char>(random.index(256));
    if (random.coin()) text.resize(random.index(text.size()));

    const TextFile file(text);
    for (int kind = 0; kind < 3; ++kind) {
      KvIfstream stream(file.getName());
      KvFileParser parser(stream);
      Mesh read;
      try {
        if (kind == 0) parser.readMesh(read);
        if (kind == 1) parser.readPolyLine();
        if (kind == 2) parser.readPoints();
      } catch (const KvException&) {
      } catch (const std::logic_error&) {
      }
      for (auto t = read.beginTriangle(); t != read.endTriangle(); ++t)
        for (unsigned corner = 0; corner < 3; ++corner)
          ASSERT_EQ(t->getVertex(corner), read.getVertex(t->getVertexRef(corner).getIndex()));
    }
  });
}

} // namespace
} // namespace Kavrel
