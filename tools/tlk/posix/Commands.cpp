#include "tools/tlk/Commands.h"

#include "tools/tlk/AbsentCommand.h"
#include "tools/tlk/host/HostCommand.h"
#include "tools/tlk/load/LoadCommand.h"
#include "tools/tlk/log/LogCommand.h"
#include "tools/tlk/message/MessageCommand.h"
#include "tools/tlk/posix/CodePage.h"
#include "tools/tlk/serve/ServeCommand.h"
#include "tools/tlk/tap/TapCommand.h"

namespace tlk {

const char* const kExamples =
    "  tlk serve --port 1371              answer every message with itself\n"
    "  tlk host                           type commands, see events\n"
    "  tlk host --script commands.txt     run commands from a file\n"
    "  tlk load --to 127.0.0.1 1371       put a server under load\n"
    "  tlk log --errors --explain         see what went wrong, and what to do\n"
    "  tlk message                        build and read messages by hand\n"
    "  tlk message --check captured.bin   find the fault in a stream\n"
    "  tlk tap --to server 1371           see what hosts and a server say\n";

void AddCommands(CLI::App& app, int& exitStatus) {
  AddHostCommand(app, exitStatus);
  AddLoadCommand(app, exitStatus);
  AddLogCommand(app, exitStatus);
  AddMessageCommand(app, exitStatus);
  AddServeCommand(app, exitStatus);
  AddTapCommand(app, exitStatus);
  AddAbsentCommand(app, exitStatus, "doctor",
                   "looks at how the ActiveX control is registered, which is a thing of Windows: "
                   "run 'tlk.exe doctor' there");
}

void AddSystemOptions(CLI::App& command) { AddCodePageOption(command); }

}  // namespace tlk
