#include "tools/tlk/tap/TapCommand.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "tools/tlk/Commands.h"
#include "tools/tlk/InputFile.h"
#include "tools/tlk/NumberOption.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/net/BindOption.h"
#include "tools/tlk/net/TargetOption.h"
#include "tools/tlk/tap/Tap.h"

namespace tlk {
namespace {

using namespace tlk::tap;

constexpr const char* kTapProgram = "tlk tap";

constexpr const char* kTapHelp =
    "Stands between hosts and a server: whoever connects to it is connected to the server, and\n"
    "every byte is passed on as it is and at once. Of what passes it prints each message, with\n"
    "its body, and below it, behind a !, what docs/protocol.md has against it:\n"
    "\n"
    "  listening 127.0.0.1:1372\n"
    "  20:10:31.120 client 1 connected\n"
    "  20:10:31.123 client 1 > type=\"Hello\" from=-1 to=0 bytes=131\n"
    "    <Text>Good morning</Text>\n"
    "  20:10:31.125 client 1 < type=\"Hello\" from=0 to=1 bytes=130\n"
    "    <Text>Good morning</Text>\n"
    "  20:10:32.407 client 1 > end\n"
    "  20:10:32.408 client 1 < end\n"
    "  20:10:32.408 client 1 closed\n"
    "\n"
    "The server's messages are behind <, and 'end' is that of one side's stream. A connection can\n"
    "also be 'reset by the client' or by the server, and the tap 'cannot reach' the server. When\n"
    "the output is not read in time, messages are passed on and recorded all the same, and a line\n"
    "says how many are not shown. 'stopped' is the last line; SIGINT and SIGTERM bring it about.\n"
    "\n"
    "What --record writes, 'tlk serve --script FILE' plays to the hosts, should they say the same\n"
    "again: their messages are expected by type. The file holds what was said, so it is made for\n"
    "its user alone where the system has that, and it must not be there yet.\n"
    "\n"
    "Exit status: 0, or 1 when it cannot listen or record.\n"
    "\n"
    "Examples:\n"
    "  tlk tap --listen 1372 --to 127.0.0.1 1371         until Ctrl-C\n"
    "  tlk tap --listen 1372 --to server 1371 --record talk.txt --clients 1\n"
    "  tlk tap --listen 1372 --to server 1371 --hide-data";

/// What the command line says; absent numbers are 0.
struct TapCommandOptions {
  asio::ip::address bind = asio::ip::address_v4::loopback();
  std::uint16_t port = 0;
  net::Target target;
  wire::ViewOptions view;
  std::string record;
  unsigned seconds = 0;
  unsigned clients = 0;
};

int ReportTapFailure(const std::string& what) {
  std::fprintf(stderr, "%s: %s\n", kTapProgram, what.c_str());
  return 1;
}

int ReportNoRecord(const std::string& path, const std::string& why) {
  return ReportTapFailure("cannot record into " + path + ": " + why);
}

net::ServiceBounds Settle(const TapCommandOptions& options) {
  net::ServiceBounds bounds;
  bounds.where = {options.bind, options.port};
  if (options.seconds > 0) bounds.runFor = std::chrono::seconds(options.seconds);
  if (options.clients > 0) bounds.clients = options.clients;
  return bounds;
}

/// It listens before it makes a file, and says so when all is well.
int RunTap(const TapCommandOptions& options) {
  Tap tap(Settle(options), options.target);
  if (const auto error = tap.Listen()) return ReportTapFailure("cannot listen: " + error.message());
  OpenFile record;
  if (!options.record.empty()) record = MakeNewFile(options.record);
  if (!options.record.empty() && record == nullptr) {
    return ReportNoRecord(options.record,
                          errno == EEXIST ? "it is there already" : SystemFailure());
  }
  net::WarnIfOpen(kTapProgram, options.bind);
  WriteLine(tap.ListeningLine());
  Watch watch(options.view, std::move(record));
  tap.Run(watch);
  const std::string failure = watch.Finish();
  WriteLine("stopped");
  return failure.empty() ? 0 : ReportNoRecord(options.record, failure);
}

int RunTapWithinBounds(const TapCommandOptions& options) {
  try {
    return RunTap(options);
  } catch (const std::exception& error) {
    return ReportTapFailure(error.what());
  }
}

void AddTapOptions(CLI::App& tap, TapCommandOptions& options) {
  AddNumber<std::uint16_t>(tap, "--listen", options.port,
                           "Listen on that port; 0 lets the system choose", 0)
      ->type_name("PORT")
      ->default_str(std::to_string(options.port));
  net::AddBind(tap, options.bind);
  net::AddTarget(tap, options.target);
  tap.add_flag("--hide-data", options.view.hideData,
               "Leave bodies out of what is shown and recorded");
  tap.add_option("--record", options.record,
                 "Write it all into a new file, as a conversation for 'tlk serve --script'")
      ->type_name("FILE");
  AddNumber(tap, "--for", options.seconds, "Stop after so many seconds", 1U)->type_name("SECONDS");
  AddNumber(tap, "--clients", options.clients, "Stop when so many clients have come and gone", 1U)
      ->type_name("N");
}

}  // namespace

void AddTapCommand(CLI::App& app, int& exitStatus) {
  auto* const command = app.add_subcommand("tap", "Show what a host and a server say.");
  command->footer(kTapHelp);
  const auto options = std::make_shared<TapCommandOptions>();
  AddTapOptions(*command, *options);
  AddSystemOptions(*command);
  command->callback([options, &exitStatus] { exitStatus = RunTapWithinBounds(*options); });
}

}  // namespace tlk
