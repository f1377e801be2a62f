#include "tools/tlk/posix/CodePage.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <string>

namespace tlk {

void AddCodePageOption(CLI::App& command) {
  command
      .add_option_function<std::string>(
          "--code-page", [](const std::string& name) { setenv("TLK_CODE_PAGE", name.c_str(), 1); },
          "The system's ANSI code page, such as CP1252")
      ->type_name("NAME");
}

}  // namespace tlk
