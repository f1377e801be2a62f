#include "tools/tlk/AbsentCommand.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "tools/tlk/Commands.h"

namespace tlk {

void AddAbsentCommand(CLI::App& app, int& exitStatus, const std::string& name,
                      const std::string& why) {
  app.add_subcommand(name, why)->group("")->callback([&exitStatus, name, why] {
    std::cerr << "tlk " << name << ": " << why << '\n';
    exitStatus = kStatusWrongUse;
  });
}

}  // namespace tlk
