#include "tools/tlk/serve/ServeCommand.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/tlk/NumberOption.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/Printable.h"
#include "tools/tlk/net/BindOption.h"
#include "tools/tlk/net/System.h"
#include "tools/tlk/serve/Answers.h"
#include "tools/tlk/serve/ScriptPlayer.h"
#include "tools/tlk/serve/ScriptText.h"
#include "tools/tlk/serve/Server.h"

namespace tlk {
namespace {

using namespace tlk::serve;

constexpr const char* kDescription = "Run a development server to write hosts against.";

constexpr const char* kFooter =
    "Each client gets an id from 1 up, keep-alives are answered, and every other message goes "
    "back\n"
    "to its sender with the same Type and Data, or is answered as the file of --answer says:\n"
    "  on Question message Answer \"<Time>12:00</Time>\"\n"
    "  on News nothing\n"
    "  on * message Error <Unknown/>           every other type\n"
    "\n"
    "A conversation for --script has settings, then sections with indented lines:\n"
    "  limit 20                                seconds for each thing that is waited for\n"
    "  server:\n"
    "    accept\n"
    "    expect-message Hello \"<Text>hi</Text>\"\n"
    "    message Welcome <Hi/>                 more commands: client, stamped, send, pieces, "
    "wait,\n"
    "    expect-close                          expect, expect-stamped, expect-type, close, reset\n"
    "docs/conversations.md tells of each command, and of answers. In a file that is wrong the "
    "line,\n"
    "the column and what was expected are named before anything is played.\n"
    "\n"
    "Prints 'listening 127.0.0.1:PORT', then for each client\n"
    "  client 1 connected\n"
    "  client 1 message type=\"Hello\" bytes=123\n"
    "  client 1 closed           (or 'lost: REASON', or 'refused: REASON')\n"
    "and 'stopped' at its end, which SIGINT and SIGTERM bring about too. Exit status: 0, or\n"
    "1 when it cannot serve, or a file is wrong, or a script fails.\n"
    "\n"
    "Examples:\n"
    "  tlk serve --port 1371                   until Ctrl-C\n"
    "  tlk serve --port 1371 --show            the same, with the text of each message\n"
    "  tlk serve --relay                       clients talk to each other\n"
    "  tlk serve --clients 1 --for 60          for one client, a minute at most\n"
    "  tlk serve --answer answers.txt          replies by type\n"
    "  tlk serve --script conversation.talk    play the server's part of a conversation";

/// The least that lets a message in and out.
constexpr std::size_t kLeastMemory = 1U << 20U;

/// What the command line says; absent numbers are 0.
struct ServeOptions {
  ServerOptions server;
  asio::ip::address address = asio::ip::address_v4::loopback();
  std::uint16_t port = 0;

  [[nodiscard]] asio::ip::tcp::endpoint Where() const { return {address, port}; }

  unsigned seconds = 0;
  unsigned clients = 0;
  std::string answers;
  std::string script;
  bool indented = false;
};

int ReportFailure(const std::string& what) {
  std::fprintf(stderr, "tlk serve: %s\n", what.c_str());
  return 1;
}

/// Reads a file, and names it in what is wrong with it.
template <typename Read>
auto FromFile(const std::string& path, Read read) {
  std::string text;
  try {
    text = ReadScriptFile(path);
  } catch (const ScriptError& error) {
    throw ScriptError("cannot read " + path + ": " + error.what());
  }
  try {
    return read(text);
  } catch (const ScriptError& error) {
    throw ScriptError(path + ": " + error.what());
  }
}

int ReportNotListening(const asio::error_code& error) {
  return ReportFailure("cannot listen: " + Printable(error.message()));
}

int RunServer(const ServeOptions& options) {
  auto settled = options.server;
  settled.bounds.where = options.Where();
  if (options.seconds > 0) settled.bounds.runFor = std::chrono::seconds(options.seconds);
  if (options.clients > 0) settled.bounds.clients = options.clients;
  if (!options.answers.empty()) settled.answers = FromFile(options.answers, Answers::Read);
  net::WarnIfOpen("tlk serve", options.address);
  net::RaiseDescriptorLimit();
  Server server(settled, WriteLine);
  if (const auto error = server.Listen()) return ReportNotListening(error);
  server.Run();
  return 0;
}

int RunScript(const ServeOptions& options) {
  const auto conversation = FromFile(options.script, [](const std::string& text) {
    auto read = ReadConversation(text);
    ScriptPlayer::Check(read);
    return read;
  });
  net::WarnIfOpen("tlk serve", options.address);
  const LineWriter writeLine = WriteLine;
  ScriptPlayer player(conversation, writeLine, options.indented);
  if (const auto error = player.Listen(options.Where())) return ReportNotListening(error);
  return player.Play() ? 0 : 1;
}

int Run(const ServeOptions& options) {
  try {
    return options.script.empty() ? RunServer(options) : RunScript(options);
  } catch (const std::exception& error) {
    return ReportFailure(error.what());
  }
}

void AddOptions(CLI::App& serve, ServeOptions& options) {
  auto& [message, queue] = options.server.limits;
  net::AddBind(serve, options.address);
  AddNumber<std::uint16_t>(serve, "--port", options.port,
                           "Listen on that port; 0 lets the system choose", 0)
      ->type_name("N")
      ->default_str(std::to_string(options.port));
  serve.add_flag("--relay", options.server.relay, "Send messages to all other clients, not back");
  AddNumber(serve, "--for", options.seconds, "Stop after so many seconds", 1U)
      ->type_name("SECONDS");
  AddNumber(serve, "--clients", options.clients, "Stop when so many clients have come and gone", 1U)
      ->type_name("N");
  AddNumber(serve, "--max-length", message, "Refuse longer messages", kLengthPrefix,
            kMaxMessageLength)
      ->type_name("BYTES")
      ->default_str(std::to_string(message));
  AddNumber<std::size_t>(serve, "--max-queue", queue, "Refuse clients that leave more unread", 0)
      ->type_name("BYTES")
      ->default_str(std::to_string(queue));
  AddNumber(serve, "--max-memory", options.server.maxMemory,
            "Refuse those who leave most when all clients together take more", kLeastMemory)
      ->type_name("BYTES")
      ->default_str(std::to_string(options.server.maxMemory));
  serve.add_flag("--show", options.server.show, "Print each message in both directions");
  serve
      .add_option("--answer", options.answers,
                  "Answer the types of messages that a file names as it says")
      ->type_name("FILE");
  auto* const script =
      serve
          .add_option("--script", options.script,
                      "Play the server's part of a conversation file instead; goes with --bind, "
                      "--port and --indented only")
          ->type_name("FILE");
  serve
      .add_flag("--indented", options.indented,
                "The clients of the script indent their messages, as some DOMs do")
      ->needs(script);
}

/// With a script, options that say what becomes of clients and messages would have no effect.
void RefuseBesideScript(const CLI::App& serve) {
  for (const char* name : {"--relay", "--for", "--clients", "--max-length", "--max-queue",
                           "--max-memory", "--show", "--answer"}) {
    if (serve.count(name) > 0) throw CLI::ExcludesError("--script", name);
  }
}

}  // namespace

void AddServeCommand(CLI::App& app, int& exitStatus) {
  auto* command = app.add_subcommand("serve", kDescription);
  command->footer(kFooter);
  const auto options = std::make_shared<ServeOptions>();
  AddOptions(*command, *options);
  command->callback([command, options, &exitStatus] {
    if (!options->script.empty()) RefuseBesideScript(*command);
    exitStatus = Run(*options);
  });
}

}  // namespace tlk
