#include <CLI/CLI.hpp>
#include <iostream>
#include <sstream>
#include <string>

#include "platform/Version.h"
#include "tools/tlk/Commands.h"
#include "tools/tlk/OwnOutput.h"

namespace {

constexpr int kStatusWrongUse = 2;

constexpr const char* kFooterEnd =
    "\n"
    "'tlk COMMAND --help' tells more about a command. Exit status: 2 when the command line is\n"
    "wrong, 3 when nobody reads standard output any more, else as the command says.";

/// Shows what the command line asked for instead of a run: help, the version, or what is wrong.
int ShowAndExit(const CLI::App& app, const CLI::ParseError& end) {
  std::ostringstream shown;
  const bool wrong = app.exit(end, shown, std::cerr) != 0;
  tlk::OwnOutput::Get().Text(shown.str());
  return wrong ? kStatusWrongUse : 0;
}

}  // namespace

int main(int argc, char** argv) {
  tlk::OwnOutput::Get();

  CLI::App app("Talk to a message server, or be one.", "tlk");
  app.footer(std::string("Examples:\n") + tlk::kExamples + kFooterEnd);
  app.set_version_flag("--version", "tlk " TLKC2_VERSION);
  app.require_subcommand(1);

  int exitStatus = 0;
  tlk::AddCommands(app, exitStatus);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    return ShowAndExit(app, end);
  }
  return exitStatus;
}
