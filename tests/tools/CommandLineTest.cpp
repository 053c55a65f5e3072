// Runs the command-line tool as a user does.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <sys/wait.h>
#include <tuple>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* cube = "Points 0 0 0 0 1 1 0 0 2 1 1 0 3 0 1 0 4 0 0 1 5 1 0 1 6 1 1 1 7 0 1 1 "
                             "Facets 0 0 2 1 1 0 3 2 2 4 5 6 3 4 6 7 4 0 1 5 5 0 5 4 "
                             "6 1 2 6 7 1 6 5 8 2 3 7 9 2 7 6 10 3 0 4 11 3 4 7";

constexpr const char* square = R"(poly3d
0 0 0 0
1 4 0 0
2 4 4 0
3 0 4 0
4 0 0 0
)";

struct Answer
{
  int code;
  std::string out;
  std::string error;
};

std::string contentOf(const std::filesystem::path& file)
{
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class CommandLine : public testing::Test
{
protected:
  CommandLine()
  {
    std::string name = (std::filesystem::temp_directory_path() / "kvshapesXXXXXX").string();
    if (!mkdtemp(name.data())) std::abort();
    folder = name;
    write("cube.txt", cube);
  }
  ~CommandLine() override { std::filesystem::remove_all(folder); }

  void write(const std::string& name, const std::string& text) { std::ofstream(folder / name) << text; }

  Answer run(const std::string& arguments)
  {
    const std::string command = "cd '" + folder.string() + "' && " KVSHAPES_TOOL " >out 2>error " + arguments;
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), contentOf(folder / "out"), contentOf(folder / "error")};
  }

  struct Row
  {
    const char* arguments;
    std::initializer_list<const char*> parts;
  };

  void expectAnswers(const std::string& command, std::span<const Row> rows)
  {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.arguments);
      const Answer answer = run(command + row.arguments);
      EXPECT_EQ(answer.code, 0);
      EXPECT_EQ(answer.error, "");
      for (const char* part : row.parts)
        EXPECT_THAT(answer.out, HasSubstr(part));
    }
  }

  void expectRefused(int code, std::initializer_list<std::string> commands)
  {
    for (const std::string& arguments : commands) {
      SCOPED_TRACE(arguments);
      const Answer answer = run(arguments);
      EXPECT_EQ(answer.code, code);
      EXPECT_EQ(answer.out, "");
      EXPECT_THAT(answer.error, MatchesRegex("kvshapes: [^\n]*\n"));
    }
  }

  std::filesystem::path folder;
};

TEST_F(CommandLine, AnswersInTextAndJson)
{
  write("points.txt", "poly3d\n0 0.5 0.5 3\n1 -1 0.5 0.5\n");
  write("far.txt", std::string("Points\n0 4 0 0\n1 5 0 0\n2 4 1 0\nFacets\n0 0 1 2\n"));
  const Row rows[] = {
      {"info cube.txt",
       {"vertices        8\n", "triangles       12\n", "area            6\n", "closed          yes\n"}},
      {"info far.txt", {"closed          no\n", "boundary edges  3\n"}},
      {"nearest cube.txt --point 0.5,0.25,3", {"0.5 0.25 1 ", " 2\n"}},
      {"nearest cube.txt --points points.txt --json", {"\"distance\": 2.0", "\"distance\": 1.0"}},
      {"ray cube.txt --origin=-1,0.25,0.5 --direction 7,0,0 --json", {"\"hit\": true", "\"distance\": 1.0"}},
      {"ray cube.txt --origin=-1,0.25,0.5 --direction 7,0,0 --all --json", {"\"distance\": 1.0", "\"distance\": 2.0"}},
      {"ray cube.txt --origin=-1,0.25,0.5 --direction=-1,0,0", {"hit   no\n"}},
      {"section cube.txt --plane 0,0,2,0.5", {"count      8\n", "4 5 6 7 8 9 10 11\n"}},
      {"distance cube.txt far.txt", {"distance            3\n", "crossing triangles  0\n"}},
  };
  expectAnswers("", rows);
}

TEST_F(CommandLine, WorksOnPolylines)
{
  write("square.txt", square);
  write("tiny.txt", "poly3d\n0 0 0 0\n1 2e-4 2e-4 0\n2 2e-4 0 0\n3 0 2e-4 0\n");
  write("hook.txt", "poly3d\n0 -1 1 5\n1 2 1 5\n2 2 -1 5\n");
  write("marked.txt", std::string("\xef\xbb\xbf") + square); // as some editors begin a file
  const Row rows[] = {
      {"square.txt info --json",
       {"\"points\": 4", "\"length\": 16.0", "\"area\": 16.0", "\"orientation\": \"counter-clockwise\"",
        "\"planar\": true", "\"self crossings\": 0"}},
      {"tiny.txt info", {"no      0.000765685425", "-            1\n"}},
      {"marked.txt info --json", {"\"points\": 4"}},
      {"tiny.txt intersect", {"count  1\n", "0.0001 0.0001 0\n"}},
      {"hook.txt thin --tolerance 3 --json", {"\"points after\": 2", "\"largest deviation\": 1.66410058"}},
      {"square.txt offset --distance 1 --tolerance 1e-6", {"16           35.14159"}},
      {"square.txt split --plane 1,0,0,1", {"count  2\n", "no      6\n", "no      10\n"}},
      {"square.txt split --at 1,3", {"count  2\n", "0     3       no      8\n"}},
      {"square.txt split --point 2,-1,0 --out -", {"0 2 0 0\n", "5 2 0 0\n"}},
      {"square.txt resample --length 3", {"4              8             4               2\n"}},
      {"square.txt resample --length 1 --halve", {"4              16            4               1\n"}},
      {"hook.txt intersect --with square.txt", {"count  2\n", " 1 5\n", "2 0 5\n"}},
      {"square.txt intersect --with square.txt --json", {"\"count\": 4"}}, // the vertices, once each
      {"hook.txt intersect --plane 0,2,0,0", {"0     1        0.5        2 0 5\n"}},
      {"hook.txt info --drop y", {"-1 -1 5  2 1 5"}},
      {"split --help", {"Usage: ", "--plane", "--svg"}},
  };
  expectAnswers("polyline ", rows);
}

TEST_F(CommandLine, WritesAndDrawsPolylines)
{
  // Seen along each axis the result must be what the turned input gives, and read back as it was written.
  const char* const turned[] = {"poly3d\n0 7 0 0\n1 7 4 0\n2 7 4 4\n3 7 0 4\n4 7 0 0\n",
                                "poly3d\n0 0 7 0\n1 4 7 0\n2 4 7 4\n3 0 7 4\n4 0 7 0\n",
                                "poly3d\n0 0 0 7\n1 4 0 7\n2 4 4 7\n3 0 4 7\n4 0 0 7\n"};
  std::string pictures[3];
  for (int axis = 0; axis < 3; ++axis) {
    SCOPED_TRACE(axis);
    write("in.txt", turned[axis]);
    const std::string drop = std::string(" --drop ") + "xyz"[axis];
    EXPECT_EQ(run("polyline in.txt offset --distance 1 --out out.txt --svg out.svg" + drop).code, 0);
    pictures[axis] = contentOf(folder / "out.svg");
    EXPECT_THAT(pictures[axis], testing::AllOf(HasSubstr("<svg "), HasSubstr("Z\"/>"), HasSubstr("</svg>\n")));
    EXPECT_EQ(pictures[axis], pictures[0]);
    const Answer back = run("polyline out.txt info --json" + drop);
    EXPECT_THAT(back.out, testing::AllOf(HasSubstr("\"closed\": true"), HasSubstr("\"area\": 35.1")));
  }

  // A second file is drawn and not written; lines too small for a scale are drawn as well.
  write("small.txt", "poly3d\n0 0 0 0\n1 1e-320 0 0\n");
  EXPECT_EQ(run("polyline in.txt intersect --with small.txt --out out.txt --svg out.svg").code, 0);
  EXPECT_THAT(contentOf(folder / "out.svg"), testing::ContainsRegex("second file</title>.<path"));
  EXPECT_THAT(contentOf(folder / "out.svg"), testing::Not(testing::ContainsRegex("nan|inf")));
}

TEST_F(CommandLine, RefusesBadInputInOneLine)
{
  const std::string points = "Points\n0 0 0 0\n1 1 0 0\n2 0 1 0\n";
  const std::tuple<std::string, std::string, const char*> rows[] = {
      {"empty", "", "kvshapes: empty:?[0-9]*: File is empty.\n"},
      {"cut", points + "Facets\n0 0 1\n", "kvshapes: cut:6: .*\n"},
      {"nan", "Points\n0 0 0 nan\n1 1 0 0\n2 0 1 0\nFacets\n0 0 1 2\n", "kvshapes: nan:2: .*\n"},
      {"huge", "Points\n0 0 0 0\n1 1 0 0\n2 0 1e100 0\nFacets\n0 0 1 2\n",
       "kvshapes: huge: vertex 2 has a coordinate beyond 1e\\+70\n"},
      {"M", points + "Facets\n0 0 1 3\n", "kvshapes: M:6: Mesh: Facet data is corrupted.\n"},
      {"negative", points + "Facets\n0 0 1 -1\n", "kvshapes: negative:6: .*\n"},
      {"other", "solid cube\nendsolid\n", "kvshapes: other: holds no mesh.*\n"},
      {"binary", std::string("\x7f\x45LF\0\0\x01\xff\xfe points\n\0\0", 20), "kvshapes: binary:?[0-9]*: .*\n"},
  };
  for (const auto& [name, text, message] : rows) {
    SCOPED_TRACE(name);
    write(name, text);
    expectRefused(1, {"info " + name});
    EXPECT_THAT(run("info " + name).error, MatchesRegex(message));
  }
  write("nanpoint.txt", "projpoints\nnan 0 0 0 0 0 0 1\n");
  write("cutpoints.txt", "poly3d\n0 1 2 3\n1 2");
  write("square.txt", square);
  write("onepoint.txt", "poly3d\n0 1 2 3\n");
  expectRefused(1, {"polyline nowhere info", "polyline cutpoints.txt info", "polyline nanpoint.txt info",
                    "polyline cube.txt info", "polyline onepoint.txt offset --distance 1",
                    "polyline square.txt intersect --with cube.txt", "polyline square.txt info --out /dev/full",
                    "polyline square.txt info --svg nowhere/x", "polyline square.txt info --out - >/dev/full", "info .",
                    "info ''", "info " + std::string(300, 'x'), "nearest cube.txt --points cube.txt",
                    "nearest cube.txt --points cutpoints.txt", "info cube.txt >/dev/full"});
}

TEST_F(CommandLine, RefusesWhatItCannotUnderstand)
{
  write("square.txt", square);
  expectRefused(2, {"polyline square.txt", "polyline bogus", "polyline square.txt info --out ''",
                    "polyline square.txt info --svg -", "polyline square.txt thin --tolerance 1 --svg a --out a",
                    "polyline square.txt info --svg ./square.txt", "polyline square.txt intersect --with ''",
                    "polyline square.txt thin --tolerance 0", "polyline square.txt split --at 9",
                    "polyline square.txt split --at 1 --point 0,0,0", "polyline square.txt offset --distance nan",
                    "polyline square.txt offset --distance 1 --tolerance 1e-20",
                    "polyline square.txt resample --length 1e-12", "polyline square.txt info --drop w",
                    "polyline square.txt intersect --plane 0,0,0,1"});
  expectRefused(2, {"", "bogus", "nearest cube.txt", "nearest cube.txt --point 1,2", "nearest cube.txt --point 1,2,x",
                    "nearest cube.txt --point 1,2,1e300", "ray cube.txt --origin 0,0,0 --direction 0,0,0",
                    "section cube.txt --plane 0,0,0,1", "info cube.txt --jsn"});
}

} // namespace
