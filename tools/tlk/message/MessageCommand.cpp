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

constexpr const char* kMessageHelp =
    "Commands, one per line; each prints its name, its result (0 done, -1 failed, -2 not there)\n"
    "and what it read. They build one message, which is empty at first:\n"
    "  create TYPE FROM TO [STATUS DESCRIPTION]\n"
    "                                 a new message, with a status reply in it\n"
    "  load TEXT                      the message that the text holds\n"
    "  append TEXT                    add one XML element to its Data\n"
    "  status VALUE DESCRIPTION       add a status reply\n"
    "  conference NAME COUNT CREATOR ELAPSED\n"
    "                                 add to its list of conferences\n"
    "  participant NAME LEADER CREATOR INDEX EXTRA\n"
    "                                 add to its list of participants; EXTRA is not used\n"
    "  add-attributes TEXT\n"
    "  delete-attributes TEXT\n"
    "  update-attributes TEXT         edit its attribute list by that of the text, by name\n"
    "  add-attributes-at-paths TEXT PATHS\n"
    "  delete-attributes-at-paths PATHS\n"
    "  update-attributes-at-paths TEXT PATHS\n"
    "                                 the same at the places that a path list names\n"
    "  set-length                     measure it and stamp its length\n"
    "  xml                            show it\n"
    "  node-text XPATH                the text of a node\n"
    "  set-node-attribute XPATH NAME VALUE\n"
    "                                 set an XML attribute\n"
    "and read another:\n"
    "  parse TEXT                     take the message to read; prints loaded or empty\n"
    "  type, receiver, data           its Type, the Id of its To, its Data\n"
    "  node XPATH text|xml            the text of a node, or all of it; XPATH starts at the root\n"
    "  attribute XPATH NAME           an XML attribute; XPATH starts at the document\n"
    "  quit                           end, as the end of the input does\n"
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

int Converse(const std::string& scriptPath) {
  std::ifstream script;
  if (!scriptPath.empty() && !OpenScript(kProgram, scriptPath, script)) return 1;

  const Workshop workshop;
  MessageSession session(workshop.codec, WriteLine);
  if (script.is_open()) {
    RunScript(script, session);
  } else {
    RunStandardInput(ReadStandardInput, session);
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
  command->footer(kMessageHelp);
  command->callback([options, check, &exitStatus] {
    exitStatus = check->empty() ? Converse(options->script) : Check(options->checked);
  });
}

}  // namespace tlk
