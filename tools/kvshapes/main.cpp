#include "Command.h"

#include <fmt/core.h>

#include <cstdio>
#include <exception>
#include <string>

namespace {

constexpr int failed = 1;
constexpr int wrongUsage = 2;

// The commands that were understood before the line went wrong.
std::string understood(const CLI::App& app)
{
  std::string names = app.get_name();
  for (const CLI::App* last = &app; !last->get_subcommands().empty();) {
    last = last->get_subcommands().front();
    names += ' ' + last->get_name();
  }
  return names;
}

int run(int argc, char** argv)
{
  CLI::App app("Asks questions about triangle meshes and works on polylines in the kvshapes text format.", "kvshapes");
  bool asJson = false;
  app.add_flag("--json", asJson, "Write the answer as JSON");
  app.require_subcommand(1);
  app.fallthrough();
  app.footer("Exit codes: 0 answered, 1 the input can't be used, 2 the command line can't be understood.");
  Kavrel::Tool::addInfo(app, asJson);
  Kavrel::Tool::addNearest(app, asJson);
  Kavrel::Tool::addRay(app, asJson);
  Kavrel::Tool::addSection(app, asJson);
  Kavrel::Tool::addDistance(app, asJson);
  Kavrel::Tool::addPolyLine(app, asJson);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    fmt::print(stderr, "kvshapes: {}; see {} --help\n", error.what(), understood(app));
    return wrongUsage;
  }
  return 0;
}

} // namespace

int main(int argc, char** argv)
{
  try {
    return run(argc, argv);
  } catch (const Kavrel::Tool::UsageError& error) {
    fmt::print(stderr, "kvshapes: {}\n", error.what());
    return wrongUsage;
  } catch (const std::exception& error) {
    fmt::print(stderr, "kvshapes: {}\n", error.what());
    return failed;
  }
}
