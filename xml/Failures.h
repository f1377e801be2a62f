#pragma once

#include <cstdint>
#include <string_view>

#include "xml/Codec.h"
#include "xml/Dom.h"

namespace tlk {

/// Which values follow the text of a failure into the log, in the order in which the text names
/// them: %x is the result code, an unsigned int; %S the text that goes with the failure, wide.
enum class FailureValues { kNone, kCode, kCodeThenText, kTextThenCode };

/// One failure of the codec: what standard output shows, what the log records, and the line number
/// that belongs to the record. The numbers are part of the records, so that a log reads the same
/// whatever becomes of the source.
///
/// `shown` is a printf format for the failure's text when `values` names one, else for its code.
struct Failure {
  const char* shown;     ///< On standard output.
  const char* logged;    ///< In the log.
  FailureValues values;  ///< What stands in `logged` for its placeholders.
  std::int32_t line;     ///< The record's line number.
};

/// Shows a failure on standard output and records it as message 1 of the main program's string
/// table, with the log text and its values for the placeholders. `text` is narrow, and is what a
/// peer or a host has written: it may be left out, as `LeaveOutMessageTexts` says.
void ReportFailure(const Codec& codec, const char* source, const Failure& failure, DomResult code,
                   std::string_view text = {}) noexcept;

/// The same with a text of this library's own words, which is never left out.
void ReportFailureInWords(const Codec& codec, const char* source, const Failure& failure,
                          DomResult code, std::string_view text) noexcept;

}  // namespace tlk
