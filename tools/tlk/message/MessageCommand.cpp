#include "tools/tlk/message/MessageCommand.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "tools/tlk/Commands.h"
#include "tools/tlk/InputFile.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/StandardInput.h"
#include "tools/tlk/console/Console.h"
#include "tools/tlk/message/MessageSession.h"
#include "tools/tlk/message/StreamCheck.h"
#include "tools/tlk/wire/SystemDom.h"
#include "tools/tlk/wire/Workshop.h"

namespace tlk {
namespace {

using message::MessageSession;
using message::StreamCheck;
using wire::Workshop;

constexpr const char* kProgram = "tlk message";

constexpr const char* kMessageHelpBegin =
    "Commands, one per line; each prints its name, its result (0 done, -1 failed, -2 not there)\n"
    "and what it read. They build one message, which is empty at first, and read another:\n";

constexpr const char* kMessageHelp =
    "\n"
    "A word in double quotes may hold blanks and \\\" \\\\ \\n \\r \\t \\xHH, and texts are "
    "printed\n"
    "so. For TEXT and PATHS, @FILE takes what the file holds; an XPATH is taken as it is. Blank\n"
    "lines and lines that begin with # are ignored. What the codec reports is on standard error.\n"
    "\n"
    "--check prints a line for each message of a stream, and where it goes wrong, counted in\n"
    "bytes from 0. What follows the first fault may come of it. A remark is what docs/protocol.md\n"
    "has against a message that hosts can live with.\n"
    "\n"
    "The status is 1 when a line was refused, when a checked stream has a fault, or when FILE\n"
    "cannot be read.\n"
    "\n"
    "Examples:\n"
    "  tlk message\n"
    "  > create Chat 5 0\n"
    "  > append \"<Text>good morning</Text>\"\n"
    "  > set-length\n"
    "  > xml\n"
    "\n"
    "  tlk message --script commands.txt\n"
    "  printf 'parse @reply.xml\\ntype\\ndata\\n' | tlk message\n"
    "  tlk message --check captured.bin";

struct MessageOptions {
  std::string script;
  std::string checked;
  bool escapes = false;
};

int CannotRead(const std::string& path, const std::string& failure) {
  std::cerr << kProgram << ": cannot read " << path << ": " << failure << '\n';
  return 1;
}

int CheckStream(const LineReader::More& more) {
  const Workshop workshop;
  StreamCheck check(workshop.codec, WriteLine);
  std::string piece;
  bool goesOn = true;
  while (goesOn && more(piece)) {
    goesOn = check.Append(piece);
    piece.clear();
  }
  if (goesOn) check.End();
  return check.FoundFault() ? 1 : 0;
}

int Check(const std::string& path) {
  if (path == "-") return CheckStream(ReadStandardInput);
  std::ifstream file;
  const std::string failure = OpenToRead(path, file);
  if (!failure.empty()) return CannotRead(path, failure);
  const int status = CheckStream([&](std::string& bytes) { return ReadPiece(file, bytes); });
  return file.bad() ? CannotRead(path, SystemFailure()) : status;
}

int Converse(const MessageOptions& options) {
  std::ifstream script;
  if (!options.script.empty() && !OpenScript(kProgram, options.script, script)) return 1;

  Console console(options.escapes);
  const Workshop workshop;
  MessageSession session(workshop.codec, [&](std::string_view line) { console.Print(line); });
  if (script.is_open()) {
    RunScript(script, session);
  } else {
    const auto wait = [] {
      WaitForStandardInput();
      return true;
    };
    console.Run(session, wait, ReadStandardInput);
  }
  return session.ExitStatus();
}

}  // namespace

void AddMessageCommand(CLI::App& app, int& exitStatus) {
  auto* const command = app.add_subcommand("message", "Build and read messages; check streams.");
  const auto options = std::make_shared<MessageOptions>();
  auto* const script = command
                           ->add_option("--script", options->script,
                                        "Read the commands from FILE instead of standard input")
                           ->type_name("FILE");
  auto* const check =
      command
          ->add_option("--check", options->checked,
                       "Check the bytes of a captured stream instead; - for standard input")
          ->type_name("FILE")
          ->excludes(script);
  AddSystemOptions(*command);
  command->add_flag("--escapes", options->escapes,
                    "Show texts with escapes at a terminal, too, as in a pipe");
  command->footer(kMessageHelpBegin + Explain(MessageSession::AllForms()) + kMessageHelp);
  command->callback([options, check, &exitStatus] {
    exitStatus = check->empty() ? Converse(*options) : Check(options->checked);
  });
}

}  // namespace tlk
