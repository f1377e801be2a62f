#include "tools/tlk/load/HeadReader.h"

#include <algorithm>

#include "transport/Framing.h"

namespace tlk::load {

bool HeadReader::Feed(std::string_view& bytes) {
  if (m_length != 0) {
    Take(bytes, m_length - m_taken);
    return true;
  }
  Take(bytes, kLengthPrefix - m_taken);
  if (m_taken < kLengthPrefix) return true;
  const auto length = GetMessageLength(m_head);
  if (length < static_cast<int>(kLengthPrefix)) return false;
  m_length = static_cast<std::size_t>(length);
  return true;
}

void HeadReader::Take(std::string_view& bytes, std::size_t most) {
  const auto count = std::min(bytes.size(), most);
  m_head += bytes.substr(0, std::min(count, kHead - m_head.size()));
  m_taken += count;
  bytes.remove_prefix(count);
}

}  // namespace tlk::load
