#pragma once

#include <cstdint>
#include <map>

#include "tools/tlk/load/LatencyHistogram.h"

namespace tlk::load {

/// What became of the clients and their messages.
struct Tally {
  std::uint64_t connected = 0;  ///< Connections made.
  std::uint64_t failed = 0;     ///< Those that could not be made.
  std::uint64_t lost = 0;       ///< Those made that ended before the end.

  std::uint64_t due = 0;   ///< Messages that the rate asked for; without one, those sent.
  std::uint64_t sent = 0;  ///< Messages that the system took whole.
  std::uint64_t received =
      0;  ///< Whole messages of the server, answers to keep-alives not counted.
  std::uint64_t answered = 0;          ///< Messages whose reply, or which themselves, came back.
  std::uint64_t keepAlives = 0;        ///< Keep-alives sent.
  std::uint64_t keepAliveAnswers = 0;  ///< Answers to them.

  std::map<int, std::uint64_t> errors;  ///< How often each number ended a connection, or made none.
  LatencyHistogram latencies;

  /// Messages that were sent and not heard of again.
  [[nodiscard]] std::uint64_t Unanswered() const { return sent > answered ? sent - answered : 0; }
};

}  // namespace tlk::load
