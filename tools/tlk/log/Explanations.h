#pragma once

#include <string>

#include "tools/tlk/log/Record.h"

namespace tlk::log {

/// What docs/trace-log.md says of a record, from which the table is made when the program is built;
/// of an error number at its end, too. Empty when the page says nothing.
[[nodiscard]] std::string Explain(const Record& record);

}  // namespace tlk::log
