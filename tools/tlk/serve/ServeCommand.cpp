#include "tools/tlk/serve/ServeCommand.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/tlk/NumberOption.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/serve/ScriptPlayer.h"
#include "tools/tlk/serve/Server.h"

namespace tlk {
namespace {

using namespace tlk::serve;

constexpr const char* kDescription = "Run a development server to write hosts against.";

constexpr const char* kFooter =
    "Listens on 127.0.0.1. Each client gets an id from 1 up, keep-alives are answered, and every\n"
    "other message goes back to its sender with the same Type and Data.\n"
    "\n"
    "Prints 'listening 127.0.0.1:PORT', then for each client\n"
    "  client 1 connected\n"
    "  client 1 message type=\"Hello\" bytes=123\n"
    "  client 1 closed           (or 'lost: REASON', or 'refused: REASON')\n"
    "and 'stopped' at its end, which SIGINT and SIGTERM bring about too. Exit status: 0, or\n"
    "1 when it cannot serve or a script fails.\n"
    "\n"
    "Examples:\n"
    "  tlk serve --port 1371                   until Ctrl-C\n"
    "  tlk serve --relay                       clients talk to each other\n"
    "  tlk serve --clients 1 --for 60          for one client, a minute at most\n"
    "  tlk serve --script conversation.talk    play the server's part of a conversation";

/// What the command line says; absent numbers are 0.
struct ServeOptions {
  ServerOptions server;
  unsigned seconds = 0;
  unsigned clients = 0;
  std::string script;
  bool indented = false;
};

int ReportFailure(const std::string& what) {
  std::fprintf(stderr, "tlk serve: %s\n", what.c_str());
  return 1;
}

int RunServer(const ServeOptions& options) {
  auto settled = options.server;
  if (options.seconds > 0) settled.runFor = std::chrono::seconds(options.seconds);
  if (options.clients > 0) settled.clients = options.clients;
  Server server(settled, WriteLine);
  if (const auto error = server.Listen()) return ReportFailure("cannot listen: " + error.message());
  server.Run();
  return 0;
}

int RunScript(const ServeOptions& options) {
  std::string error;
  const auto conversation = ReadConversationFile(options.script, error);
  if (!conversation) return ReportFailure(error);
  const LineWriter writeLine = WriteLine;
  ScriptPlayer player(*conversation, writeLine, options.indented);
  if (const auto failure = player.Listen(options.server.port)) {
    return ReportFailure("cannot listen: " + failure.message());
  }
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
  AddNumber<std::uint16_t>(serve, "--port", options.server.port,
                           "Listen on that port; 0 lets the system choose", 0)
      ->type_name("N")
      ->default_str(std::to_string(options.server.port));
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
  auto* const script =
      serve
          .add_option("--script", options.script,
                      "Play the server's part of a conversation file instead; goes with --port and "
                      "--indented only")
          ->type_name("FILE");
  serve
      .add_flag("--indented", options.indented,
                "The clients of the script indent their messages, as some DOMs do")
      ->needs(script);
}

/// With a script, options that say what becomes of clients and messages would have no effect.
void RefuseBesideScript(const CLI::App& serve) {
  for (const char* name : {"--relay", "--for", "--clients", "--max-length", "--max-queue"}) {
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
