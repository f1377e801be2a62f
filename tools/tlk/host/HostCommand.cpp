#include "tools/tlk/host/HostCommand.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <memory>

#include "tools/tlk/console/Console.h"
#include "tools/tlk/host/CommandReader.h"
#include "tools/tlk/host/HostSession.h"

namespace tlk {
namespace {

using host::HostSession;

constexpr const char* kHostHelp =
    "\n"
    "A word in double quotes may hold blanks and \\\" \\\\ \\n \\r \\t \\xHH. Blank lines and\n"
    "lines that begin with # are ignored. At a terminal lines can be edited and called back, and\n"
    "Tab completes commands.\n"
    "\n"
    "The status is 1 when a line was refused; 3 with --fail when a command failed, which is named\n"
    "on standard error, and as always when nobody reads standard output any more.\n"
    "\n"
    "Examples:\n"
    "  tlk host\n"
    "  > connect 127.0.0.1 1371\n"
    "  > send Hello \"<Greeting>good morning</Greeting>\"\n"
    "  > wait message 2000\n"
    "\n"
    "  tlk host --script commands.txt --quiet --fail\n"
    "  printf 'connect localhost 1371\\nrequest Time \"\" 500\\n' | tlk host";

struct HostOptions {
  std::string script;
  bool quiet = false;
  bool failsFast = false;
  bool escapes = false;
  host::DriverOptions driver;
};

int Host(HostOptions& options) {
  std::ifstream script;
  if (!options.script.empty() && !OpenScript("tlk host", options.script, script)) return 1;

  options.driver.showLogLines = !options.quiet;
  Console console(options.escapes);
  const auto driver = host::NewSystemDriver(options.driver);
  HostSession session(*driver, options.failsFast,
                      [&](std::string_view line) { console.Print(line); });
  if (script.is_open()) {
    RunScript(script, session);
  } else {
    const auto wait = [&] { return session.WaitForInput(); };
    console.Run(session, wait,
                [&](std::string& bytes) { return wait() && driver->ReadInput(bytes); });
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
  command->add_flag("--fail", options->failsFast,
                    "End with status 3 when a connect fails, a wait runs out or a request gets no "
                    "reply");
  command->add_flag("--escapes", options->escapes,
                    "Show texts with escapes at a terminal, too, as in a pipe");
  command->add_flag("--no-texts", options->driver.leaveOutTexts,
                    "Leave the texts of messages out of the trace log");
  command->footer("Commands, one per line:\n" + Explain(host::AllForms()) + kHostHelp);
  command->callback([options, &exitStatus] { exitStatus = Host(*options); });
}

}  // namespace tlk
