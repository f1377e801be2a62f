#pragma once

#include <cstddef>
#include <string_view>

namespace tlk::message {

/// The bytes that tell what a file is.
constexpr std::size_t kTellingBytes = 4;

/// What a file is whose first bytes are these, when it is one that people take for the bytes of a
/// stream; empty for any other.
[[nodiscard]] std::string_view ForeignKind(std::string_view firstBytes);

}  // namespace tlk::message
