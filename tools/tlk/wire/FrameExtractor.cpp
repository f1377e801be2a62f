#include "tools/tlk/wire/FrameExtractor.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "tools/tlk/Words.h"

namespace tlk {
namespace {

constexpr std::size_t kKeptCapacity = 64U << 10U;

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// The seven characters behind the marker; empty when they do not lie within the prefix.
std::string_view FindStamp(std::string_view prefix) {
  const auto marker = prefix.find(kLengthMarker);
  if (marker == std::string_view::npos) return {};
  const auto stamp = prefix.substr(marker + kLengthMarker.size(), kLengthDigits);
  return stamp.size() == kLengthDigits ? stamp : std::string_view();
}

}  // namespace

std::size_t MatchOpening(std::string_view bytes) {
  const auto differing =
      std::mismatch(bytes.begin(), bytes.end(), kMessageOpening.begin(), kMessageOpening.end());
  return static_cast<std::size_t>(differing.first - bytes.begin());
}

void FrameExtractor::Append(std::string_view bytes) {
  if (m_error.empty()) m_bytes += bytes;
}

std::optional<std::string> FrameExtractor::Next() {
  if (!FindLength() || Rest().size() < m_length) return std::nullopt;
  auto frame = m_bytes.substr(m_taken, m_length);
  Take(m_length);
  m_length = 0;
  return frame;
}

bool FrameExtractor::FindLength() {
  if (m_length != 0) return true;
  if (!m_error.empty() || Rest().size() < kLengthPrefix) return false;
  const auto prefix = Rest().substr(0, kLengthPrefix);
  const auto stamp = FindStamp(prefix);
  if (stamp.empty()) {
    return Fail("no length stamp in the first " + std::to_string(kLengthPrefix) + " bytes",
                MatchOpening(prefix));
  }
  return ReadLength(stamp, static_cast<std::size_t>(stamp.data() - prefix.data()));
}

bool FrameExtractor::ReadLength(std::string_view stamp, std::size_t position) {
  const auto* const stray = std::find_if_not(stamp.begin(), stamp.end(), IsDigit);
  if (stray != stamp.end()) {
    return Fail("length stamp " + Quote(stamp) + " is not seven digits",
                position + static_cast<std::size_t>(stray - stamp.begin()));
  }
  std::size_t length = 0;
  std::from_chars(stamp.data(), stamp.data() + stamp.size(), length);
  const std::string named = "length " + std::to_string(length);
  if (length < kLengthPrefix) {
    return Fail(named + " is below " + std::to_string(kLengthPrefix), position);
  }
  if (length > m_maxLength) {
    return Fail(named + " is above " + std::to_string(m_maxLength), position);
  }
  m_length = length;
  return true;
}

bool FrameExtractor::Fail(std::string error, std::size_t position) {
  m_error = std::move(error);
  m_errorOffset = m_offset + position;
  m_bytes.clear();
  m_taken = 0;
  return false;
}

/// Moves the rest to the front only when it is no longer than what has been taken: so many short
/// messages in one read cost few moves. Behind a long message its memory is given back.
void FrameExtractor::Take(std::size_t count) {
  m_offset += count;
  m_taken += count;
  if (m_taken >= m_bytes.size() - m_taken) {
    m_bytes.erase(0, m_taken);
    m_taken = 0;
    if (m_bytes.capacity() > kKeptCapacity) m_bytes.shrink_to_fit();
  }
}

}  // namespace tlk
