#pragma once

#include <string>
#include <string_view>

#include "tools/tlk/log/Record.h"

namespace tlk::log {

/// Appends a record as a line with one JSON object, which is plain ASCII whatever the record holds.
/// What the record does not have is not there. `explanation` may be empty.
void AppendJson(const Record& record, std::string_view explanation, std::string& json);

}  // namespace tlk::log
