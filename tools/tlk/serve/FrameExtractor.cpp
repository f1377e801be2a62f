#include "tools/tlk/serve/FrameExtractor.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "tools/tlk/Words.h"

namespace tlk::serve {
namespace {

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// The seven characters behind the marker; empty when they do not lie within the prefix.
std::string_view FindStamp(std::string_view prefix) {
  const auto marker = prefix.find(kLengthMarker);
  if (marker == std::string_view::npos) {
    return {};
  }
  const auto stamp = prefix.substr(marker + kLengthMarker.size(), kLengthDigits);
  return stamp.size() == kLengthDigits ? stamp : std::string_view();
}

}  // namespace

void FrameExtractor::Append(std::string_view bytes) {
  if (m_error.empty()) {
    m_bytes += bytes;
  }
}

std::optional<std::string> FrameExtractor::Next() {
  if (!FindLength() || Waiting() < m_length) {
    return std::nullopt;
  }
  auto frame = m_bytes.substr(m_taken, m_length);
  Take(m_length);
  m_length = 0;
  return frame;
}

bool FrameExtractor::FindLength() {
  if (m_length != 0) {
    return true;
  }
  if (!m_error.empty() || Waiting() < kLengthPrefix) {
    return false;
  }
  const auto stamp = FindStamp(std::string_view(m_bytes).substr(m_taken, kLengthPrefix));
  std::size_t length = 0;
  std::from_chars(stamp.data(), stamp.data() + stamp.size(), length);
  if (stamp.empty()) {
    Fail("no length stamp in the first " + std::to_string(kLengthPrefix) + " bytes");
  } else if (!std::all_of(stamp.begin(), stamp.end(), IsDigit)) {
    Fail("length stamp " + Quote(stamp) + " is not seven digits");
  } else if (length < kLengthPrefix) {
    Fail("length " + std::to_string(length) + " is below " + std::to_string(kLengthPrefix));
  } else if (length > m_maxLength) {
    Fail("length " + std::to_string(length) + " is above " + std::to_string(m_maxLength));
  } else {
    m_length = length;
  }
  return m_length != 0;
}

void FrameExtractor::Fail(std::string error) {
  m_error = std::move(error);
  m_bytes.clear();
  m_taken = 0;
}

/// Moves what is left to the front only when that is little work for what it frees: many short
/// messages in one read cost one move.
void FrameExtractor::Take(std::size_t count) {
  m_taken += count;
  if (m_taken >= m_bytes.size() - m_taken) {
    m_bytes.erase(0, m_taken);
    m_taken = 0;
  }
}

}  // namespace tlk::serve
