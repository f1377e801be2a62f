#pragma once

#include <cstdint>
#include <string_view>

#include "tools/tlk/log/LogTime.h"

namespace tlk::log {

/// What a line has that begins a record.
struct RecordHead {
  std::string_view stamp;   ///< The time as it stands there.
  Moment time = 0;          ///< The same as a number.
  std::int32_t thread = 0;  ///< What made the record.
  char mark = '\0';         ///< `N`, `W`, `E`; zero for a record that has none.
  std::size_t length = 0;   ///< Of all this; the message begins behind it.
};

/// The place in a program that wrote a record.
struct RecordSource {
  std::string_view name;
  std::int32_t line = 0;
  std::size_t begin = 0;  ///< Where it begins in the line that it ends.
};

/// A record of the trace log as its reader finds it. The texts are those of the file, and belong to
/// the reader.
struct Record {
  std::string_view text;  ///< All of it, without the end of its last line.
  bool hasHead = false;   ///< False for a line that belongs to no record, as those of the queue.
  RecordHead head;
  std::string_view message;  ///< Without a line break at its end.
  bool hasSource = false;
  RecordSource source;
  bool hasForgedLines = false;  ///< A peer's text in it holds lines that look like records.
  bool isSuspect = false;       ///< It may itself be part of a peer's text.
  bool isCut = false;           ///< It goes on, longer than any record is.

  [[nodiscard]] bool IsError() const { return hasHead && head.mark == 'E'; }
};

/// A record that holds what a peer or a host has written, by the beginning of its message; it ends
/// with the line of its own, whatever stands between.
struct PeerRecord {
  std::string_view opening;
  std::string_view ending;
  std::int32_t line;
};

inline constexpr PeerRecord kPeerRecords[] = {
    {"Message sent. ", " (Tlkc - 642)", 642},
    {"Message Recieved. ", " (Tlkc - 1000)", 1000},
    {"Message Skipped. ", " (Tlkc - 1009)", 1009},
};

/// Reads what a record begins with; false when the line begins none.
[[nodiscard]] bool ReadHead(std::string_view line, RecordHead& head);

/// Reads the source that a line ends with; false when it ends with none.
[[nodiscard]] bool ReadSource(std::string_view line, RecordSource& source);

/// A line without its end, be it that of either system.
[[nodiscard]] std::string_view WithoutEnd(std::string_view line);

/// Takes the next line off the front of a text and returns it without its end.
[[nodiscard]] std::string_view TakeLine(std::string_view& text);

}  // namespace tlk::log
