#pragma once

#include <string>
#include <string_view>

#include "tools/tlk/log/Record.h"

namespace tlk::log {

/// Whether a text is plain ASCII that a terminal may be given as it is.
[[nodiscard]] bool IsPlain(std::string_view text);

/// Appends a record as a person reads it: its first line as the log has it, the lines of its
/// message behind that indented by two blanks, or with "! " where a peer has written what looks
/// like a record, and its source at the end of the last one. A line that belongs to no record has
/// "? " before it.
void AppendText(const Record& record, std::string& shown);

/// Appends what there is to say of how the record came to be, as lines that begin with "= ".
void AppendRemarks(const Record& record, std::string& shown);

/// Appends a line that tells something of the record above it.
void AppendRemark(std::string_view remark, std::string& shown);

}  // namespace tlk::log
