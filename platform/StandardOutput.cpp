#include "platform/StandardOutput.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

#include "platform/WriteAtOnce.h"

namespace tlk {
namespace {

/// A stream, and what its reader is still to be told. There is no lock, which a fork could leave
/// locked in the child for ever: whoever prints takes both values out, and puts back what could not
/// be told.
struct Stream {
  StandardStream system;
  std::atomic<std::uint64_t> dropped{0};
  std::atomic<bool> isTorn{false};  // The last line that went out lacks its end.
};

constinit Stream outputStream{StandardStream::kOutput};
constinit Stream errorStream{StandardStream::kError};
constinit std::atomic<bool> isOutputSilent{false};

/// How many lines end or are left open in `text`.
std::uint64_t Lines(std::string_view text) {
  const auto ended = static_cast<std::uint64_t>(std::ranges::count(text, '\n'));
  return ended + (text.empty() || text.ends_with('\n') ? 0 : 1);
}

std::string Introduction(std::uint64_t dropped, bool isTorn) {
  std::string text(isTorn ? "\n" : "");
  if (dropped > 0)
    text += "Lines that could not be printed here: " + std::to_string(dropped) + '\n';
  return text;
}

void Owe(Stream& stream, std::uint64_t dropped, bool isTorn) {
  stream.dropped += dropped;
  if (isTorn) stream.isTorn = true;
}

/// Introduction and text go out in one piece, so that the one never goes without the other where
/// pieces stay whole.
void Print(Stream& stream, std::string_view text) noexcept {
  const std::uint64_t dropped = stream.dropped.exchange(0);
  const bool wasTorn = stream.isTorn.exchange(false);
  std::string introduced;
  std::size_t start = 0;
  if (dropped > 0 || wasTorn) {
    try {
      introduced = Introduction(dropped, wasTorn);
      start = introduced.size();
      text = introduced.append(text);
    } catch (const std::bad_alloc&) {
      return Owe(stream, dropped + Lines(text), wasTorn);
    }
  }
  const std::size_t written = WriteAtOnce(stream.system, text);
  if (written == text.size()) return;
  Owe(stream, Lines(text.substr(std::max(written, start))) + (written < start ? dropped : 0),
      written == 0 ? wasTorn : text[written - 1] != '\n');
}

}  // namespace

void PrintOnStandardOutput(std::string_view text) noexcept {
  if (!isOutputSilent) Print(outputStream, text);
}

void PrintOnStandardError(std::string_view text) noexcept { Print(errorStream, text); }

void SilenceStandardOutput(bool isSilent) noexcept { isOutputSilent = isSilent; }

}  // namespace tlk
