#pragma once

#include <cstddef>
#include <string_view>

namespace tlk {

enum class StandardStream { kOutput, kError };

/// Writes to a stream of the process as much of `text` as it takes without a wait, at its end in
/// the system's own form of a line end; returns how many bytes of `text` that were. The stream is
/// looked up each time, for a host may lead it elsewhere at any time. It stays as it is to the
/// host: whether its own writes wait does not change. No signal is raised.
[[nodiscard]] std::size_t WriteAtOnce(StandardStream stream, std::string_view text) noexcept;

}  // namespace tlk
