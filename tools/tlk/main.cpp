#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/Version.h"
#include "tools/tlk/CommandForm.h"
#include "tools/tlk/Commands.h"
#include "tools/tlk/Nearest.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/Words.h"

namespace {

constexpr const char* kFooterEnd =
    "\n"
    "'tlk COMMAND --help' tells more about a command. Exit status: 2 when the command line is\n"
    "wrong, 3 when nobody reads standard output any more, else as the command says.";

/// The words behind the program's name, the last one first. `help COMMAND` is `COMMAND --help`.
std::vector<std::string> TakeWords(int argc, char** argv) {
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  std::reverse(words.begin(), words.end());
  if (!words.empty() && words.back() == "help") {
    words.pop_back();
    words.insert(words.begin(), "--help");
  }
  return words;
}

/// The words that can stand for a command.
std::vector<std::string> KnownCommands(const CLI::App& app) {
  std::vector<std::string> known = {"help"};
  for (const auto* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!command->get_group().empty()) known.push_back(command->get_name());
  }
  return known;
}

/// Throws when the command line begins with a word that is no command, which matters more than why
/// reading it ended; with an unknown option only if it did not end with help.
void RefuseUnknownWord(const CLI::App& app, const CLI::ParseError& end) {
  const auto unused = app.remaining();
  if (unused.empty() || !app.get_subcommands().empty()) return;
  const std::string& word = unused.front();
  if (!word.starts_with('-')) {
    const std::string nearest = tlk::Nearest(word, KnownCommands(app));
    const std::string meant = nearest.empty() ? "" : "; did you mean " + tlk::Quote(nearest) + "?";
    throw CLI::ParseError(tlk::UnknownCommand(word) + meant, tlk::kStatusWrongUse);
  }
  if (end.get_exit_code() != 0) {
    throw CLI::ParseError("unknown option " + tlk::Quote(word), tlk::kStatusWrongUse);
  }
}

void Parse(CLI::App& app, std::vector<std::string> words) {
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& end) {
    RefuseUnknownWord(app, end);
    throw;
  }
}

/// What is wrong with the command line, and where to read more.
std::string Explain(const CLI::App* app, const CLI::Error& error) {
  const auto chosen = app->get_subcommands();
  const std::string command = chosen.empty() ? "" : chosen.front()->get_name() + " ";
  return std::string(error.what()) + "\nRun 'tlk " + command + "--help' for more information.\n";
}

/// Shows what the command line asked for instead of a run: help, the version, or what is wrong.
int ShowAndExit(const CLI::App& app, const CLI::ParseError& end) {
  std::ostringstream shown;
  const bool wrong = app.exit(end, shown, std::cerr) != 0;
  tlk::OwnOutput::Get().Text(shown.str());
  return wrong ? tlk::kStatusWrongUse : 0;
}

}  // namespace

int main(int argc, char** argv) {
  tlk::OwnOutput::Get();

  CLI::App app("Talk to a message server, or be one.", "tlk");
  app.footer(std::string("Examples:\n") + tlk::kExamples + kFooterEnd);
  app.set_version_flag("--version", "tlk " TLKC2_VERSION);
  app.require_subcommand(1);
  app.failure_message(Explain);

  int exitStatus = 0;
  tlk::AddCommands(app, exitStatus);
  try {
    Parse(app, TakeWords(argc, argv));
  } catch (const CLI::ParseError& end) {
    return ShowAndExit(app, end);
  }
  return exitStatus;
}
