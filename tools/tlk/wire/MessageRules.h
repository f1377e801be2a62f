#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/wire/FrameExtractor.h"
#include "tools/tlk/wire/MessageText.h"

namespace tlk::wire {

/// Who sent a message, as far as it is known.
enum class Sender { kUnknown, kClient, kServer };

/// What is to be said against a message, or against the end of a stream.
struct Finding {
  bool isFault = false;        ///< Else a remark: a host can live with it.
  std::uint64_t position = 0;  ///< At which byte.
  std::string text;            ///< ASCII that a terminal may be given.
};

/// What docs/protocol.md has against a message: a fault alone, or remarks in any number up to a
/// dozen. `message` was read from `frame`; positions count from its first byte.
[[nodiscard]] std::vector<Finding> JudgeMessage(std::string_view frame, const MessageText& message,
                                                Sender sender);

/// What is wrong with a stream that ends where `frames` is; positions count from its first byte.
/// None for a stream that ends behind a message.
[[nodiscard]] std::optional<Finding> JudgeEnd(const FrameExtractor& frames);

/// A number and what it counts, in the right number: "1 byte", "2 bytes".
[[nodiscard]] std::string Counted(std::uint64_t count, const char* unit);

}  // namespace tlk::wire
