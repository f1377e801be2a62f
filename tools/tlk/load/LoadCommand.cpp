#include "tools/tlk/load/LoadCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "tools/tlk/NumberOption.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/load/LoadRun.h"
#include "tools/tlk/load/OwnProcess.h"
#include "tools/tlk/net/TargetOption.h"
#include "transport/Framing.h"

namespace tlk {
namespace {

using load::LoadOptions;
using load::LoadRun;
using load::LoadText;

constexpr const char* kLoadDescription = "Put a server under the load of many clients.";

constexpr const char* kLoadHelp =
    "Each client is on the wire what a control is. All connect first; then each sends in its turn\n"
    "messages of type Load. Without --rate, each sends the next when the last has come back. With\n"
    "it, message k is due at k/RATE seconds, and its latency counts from then on, not from when "
    "it\n"
    "could be sent: so a server that halts for a while shows all of it.\n"
    "\n"
    "A message is answered when it comes back to its sender (tlk serve sends each back). With\n"
    "--requests the next message of the server, whatever it is, is the reply, and no client sends\n"
    "another before. What a relay brings to others has its latency measured, too.\n"
    "\n"
    "Prints a table at its end, which SIGINT and SIGTERM bring about, too: connections made,\n"
    "failed and lost; messages sent, received and unanswered, after a few seconds' grace; errors\n"
    "by the numbers of the trace log; latencies; and, when that is less than was asked for, in\n"
    "what it fell short, and what bounded it. The rate is kept when 99 % of what was due half a\n"
    "second before the end has been answered by then, or sent, if nothing comes back. A terminal\n"
    "gets a line each second meanwhile, on standard error.\n"
    "\n"
    "Exit status: 0, or 1 when a connection failed or was lost, a request was not answered, the\n"
    "rate was not kept, or HOST is not known.\n"
    "\n"
    "Examples:\n"
    "  tlk load --to 127.0.0.1 1371 --requests               100 clients, as fast as they can\n"
    "  tlk load --to chat.example 1371 --clients 10000 --ramp 10 --rate 5000 --for 60\n"
    "  tlk load --to 127.0.0.1 1371 --rate 100 --size 100000 --json | jq .latency_us.p99";

/// What the command line says; absent numbers are 0.
struct LoadWords {
  LoadOptions options;
  std::uint32_t rate = 0;
  std::uint32_t seconds = 10;
  std::uint32_t ramp = 0;
  bool json = false;
};

int LoadFailed(const std::string& what) {
  std::fprintf(stderr, "tlk load: %s\n", what.c_str());
  return 1;
}

void WriteProgress(std::string_view line) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
}

int RunLoad(const LoadOptions& options, bool json) {
  LoadRun run(options, load::ErrorIsTerminal() ? WriteProgress : LoadRun::LineWriter());
  if (const auto error = run.LookUp()) {
    return LoadFailed("cannot find " + Quote(options.server.host) + ": " + error.message());
  }
  const auto outcome = run.Run();
  OwnOutput::Get().Text(json ? load::Json(outcome) + '\n' : load::Table(outcome));
  return load::Succeeded(outcome) ? 0 : 1;
}

int Run(const LoadWords& words) {
  auto options = words.options;
  if (words.rate > 0) options.rate = words.rate;
  options.runFor = std::chrono::seconds(words.seconds);
  options.ramp = std::chrono::seconds(words.ramp);
  try {
    return RunLoad(options, words.json);
  } catch (const std::exception& error) {
    return LoadFailed(error.what());
  }
}

template <typename Number>
void AddDefaulted(CLI::App& load, const char* name, const char* type, Number& number,
                  const char* description, Number least, Number most) {
  AddNumber(load, name, number, description, least, most)
      ->type_name(type)
      ->default_str(std::to_string(number));
}

void AddOptions(CLI::App& load, LoadWords& words) {
  constexpr std::uint32_t kDay = 86400;
  auto& options = words.options;
  net::AddTarget(load, options.server);
  AddDefaulted(load, "--clients", "N", options.clients, "So many clients", 1U, 1'000'000U);
  AddNumber(load, "--rate", words.rate, "So many messages a second, of all clients together", 1U,
            10'000'000U)
      ->type_name("N");
  AddDefaulted(load, "--size", "BYTES", options.size, "The length of a message",
               LoadText::kLeastSize, kMaxMessageLength);
  AddDefaulted(load, "--for", "SECONDS", words.seconds, "How long messages go out", 1U, kDay);
  AddDefaulted(load, "--ramp", "SECONDS", words.ramp, "The time over which the clients connect", 0U,
               kDay);
  load.add_flag("--requests", options.requests, "Each client waits for the reply to a message");
  load.add_flag("--json", words.json, "Print one JSON object instead of the table");
}

}  // namespace

void AddLoadCommand(CLI::App& app, int& exitStatus) {
  auto* const command = app.add_subcommand("load", kLoadDescription);
  command->footer(kLoadHelp);
  const auto words = std::make_shared<LoadWords>();
  AddOptions(*command, *words);
  command->callback([words, &exitStatus] { exitStatus = Run(*words); });
}

}  // namespace tlk
