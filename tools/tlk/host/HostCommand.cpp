#include "tools/tlk/host/HostCommand.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <memory>

#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/host/HostSession.h"

namespace tlk {
namespace {

using host::HostSession;

constexpr const char* kHostHelp =
    "Commands, one per line:\n"
    "  connect SERVER PORT            connect the control to a message server\n"
    "  disconnect                     end the connection\n"
    "  status                         ask for the connection's status: 0 none, 3 connected\n"
    "  send TYPE [DATA]               send a message; DATA is one XML element\n"
    "  request TYPE DATA TIMEOUT_MS   send a message and wait for the next one\n"
    "  pump MS                        deliver notifications and timers for that long\n"
    "  wait status MS                 deliver until the next status of the control in use\n"
    "  wait message MS                deliver until its next message\n"
    "  on status COMMAND...           run a command inside the handler of its next status\n"
    "  on message COMMAND...          run a command inside the handler of its next message\n"
    "  new, use N, destroy            make another control, use control N, end the one in use\n"
    "  quit                           end, as the end of the input does\n"
    "\n"
    "A word in double quotes may hold blanks and \\\" \\\\ \\n \\r \\t \\xHH. Blank lines and\n"
    "lines that begin with # are ignored. The status is 1 when a line was refused.\n"
    "\n"
    "Examples:\n"
    "  tlk host\n"
    "  > connect 127.0.0.1 1371\n"
    "  > send Hello \"<Greeting>good morning</Greeting>\"\n"
    "  > wait message 2000\n"
    "\n"
    "  tlk host --script commands.txt --quiet\n"
    "  printf 'connect localhost 1371\\nrequest Time \"\" 500\\n' | tlk host";

struct HostOptions {
  std::string script;
  bool quiet = false;
  host::DriverOptions driver;
};

int Host(HostOptions& options) {
  std::ifstream script;
  if (!options.script.empty() && !OpenScript("tlk host", options.script, script)) return 1;

  options.driver.showLogLines = !options.quiet;
  const auto driver = host::NewSystemDriver(options.driver);
  HostSession session(*driver, [](std::string_view line) { OwnOutput::Get().Line(line); });
  if (script.is_open()) {
    RunScript(script, session);
  } else {
    RunStandardInput(
        [&](std::string& bytes) { return session.WaitForInput() && driver->ReadInput(bytes); },
        session);
  }
  return session.ExitStatus();
}

}  // namespace

void AddHostCommand(CLI::App& app, int& exitStatus) {
  auto* const command = app.add_subcommand("host", "Drive one or more controls by commands.");
  const auto options = std::make_shared<HostOptions>();
  command
      ->add_option("--script", options->script,
                   "Read the commands from FILE instead of standard input")
      ->type_name("FILE");
  host::AddDriverOptions(*command, options->driver);
  command->add_flag("-q,--quiet", options->quiet,
                    "Do not show the lines of the trace log on standard error");
  command->add_flag("--no-texts", options->driver.leaveOutTexts,
                    "Leave the texts of messages out of the trace log");
  command->footer(kHostHelp);
  command->callback([options, &exitStatus] { exitStatus = Host(*options); });
}

}  // namespace tlk
