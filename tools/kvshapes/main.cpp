#include "Command.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

constexpr int failed = 1;
constexpr int wrongUsage = 2;

// One line, whatever stands in arguments and names of files.
int complain(int code, std::string text)
{
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
  fmt::print(stderr, "kvshapes: {}\n", text);
  return code;
}

// Names the commands that were understood before the line went wrong.
int complain(const CLI::ParseError& error, const CLI::App& app)
{
  std::string names = app.get_name();
  const CLI::App* last = &app;
  while (!last->get_subcommands().empty()) {
    last = last->get_subcommands().front();
    names += ' ' + last->get_name();
  }
  const std::vector<std::string> left = app.remaining(true);
  const bool wantsCommand = last->get_require_subcommand_min() > 0;
  const std::string reason = wantsCommand && !left.empty() ? left.front() + " isn't understood" : error.what();
  return complain(wrongUsage, fmt::format("{}; see {} --help", reason, names));
}

int run(int argc, char** argv)
{
  CLI::App app("Asks questions about triangle meshes and works on polylines in the kvshapes text format.", "kvshapes");
  bool asJson = false;
  app.add_flag("--json", asJson, "Write the answer as JSON");
  app.require_subcommand(1);
  app.fallthrough();
  app.footer("Every command takes --json.\n"
             "Exit codes: 0 answered, 1 the input can't be used, 2 the command line can't be understood.");
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
    return complain(error, app);
  }
  return 0;
}

} // namespace

int main(int argc, char** argv)
{
  try {
    return run(argc, argv);
  } catch (const Kavrel::Tool::UsageError& error) {
    return complain(wrongUsage, error.what());
  } catch (const std::exception& error) {
    return complain(failed, error.what());
  }
}
