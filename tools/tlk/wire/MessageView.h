#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Surroundings.h"
#include "tools/tlk/wire/MessageRules.h"
#include "tools/tlk/wire/MessageText.h"

namespace tlk::wire {

/// How messages are shown to people.
struct ViewOptions {
  bool hideData = false;               ///< How long the body is, in its place.
  std::size_t mostShown = 64U << 10U;  ///< Bytes of what is shown of one body, or little more.
};

/// "HH:MM:SS.mmm".
[[nodiscard]] std::string ShowTime(const LocalTime& time);

/// A message as people read it, in lines of UTF-8 that a terminal may be given, each ended:
///
///     20:10:31.123 client 1 > type="Hello" from=-1 to=0 bytes=131
///       <Text>Good morning</Text>
///
/// `peer` is what stands behind the time, such as "client 1 >". Under the head is what `Data`
/// holds, two blanks further in for each level; every line but the head is indented, whatever a
/// peer sends. Of what is no XML the reason is shown, and how it begins. `message` was read from
/// `frame`.
[[nodiscard]] std::string ShowMessage(std::string_view frame, const MessageText& message,
                                      const LocalTime& time, std::string_view peer,
                                      const ViewOptions& options);

/// Findings as they stand under the message, in lines, each ended:
///
///       ! remark at byte 0: no Type; a host is told an empty one
[[nodiscard]] std::string ShowFindings(const std::vector<Finding>& findings);

}  // namespace tlk::wire
