#include "tools/tlk/posix/CodePage.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <string>

#include "platform/posix/CodePage.h"
#include "platform/posix/PosixAnsiText.h"
#include "tools/tlk/Words.h"

namespace tlk {

namespace {

void SetCodePage(const std::string& name) {
  if (ReadCodePage(name) == nullptr) {
    throw CLI::ValidationError("--code-page must be a code page that the system knows, such as " +
                               std::string(PosixAnsiText::kDefaultCodePage) +
                               ", the default; not " + Quote(name));
  }
  setenv("TLK_CODE_PAGE", name.c_str(), 1);
}

}  // namespace

void AddCodePageOption(CLI::App& command) {
  command
      .add_option_function<std::string>("--code-page", SetCodePage,
                                        "The system's ANSI code page, such as CP1252")
      ->type_name("NAME");
}

}  // namespace tlk
