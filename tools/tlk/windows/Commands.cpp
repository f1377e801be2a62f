#include "tools/tlk/Commands.h"

#include "tools/tlk/doctor/DoctorCommand.h"
#include "tools/tlk/host/HostCommand.h"
#include "tools/tlk/load/LoadCommand.h"
#include "tools/tlk/log/LogCommand.h"
#include "tools/tlk/message/MessageCommand.h"
#include "tools/tlk/serve/ServeCommand.h"
#include "tools/tlk/tap/TapCommand.h"

namespace tlk {

const char* const kExamples =
    "  tlk doctor                         see whether the control is registered well\n"
    "  tlk serve --port 1371              answer every message with itself\n"
    "  tlk host                           type commands, see events\n"
    "  tlk host --module TlkC2.dll        the same with a control that is not registered\n"
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
  AddDoctorCommand(app, exitStatus);
  AddTapCommand(app, exitStatus);
}

void AddSystemOptions(CLI::App& /*command*/) {}

}  // namespace tlk
