#include "platform/Ascii.h"

#include <cstdint>

namespace tlk {

bool IsAscii(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::array<std::uint64_t, 4> block{};
  std::size_t at = 0;
  for (; at + sizeof block <= text.size(); at += sizeof block) {
    std::memcpy(block.data(), text.data() + at, sizeof block);
    if (((block[0] | block[1] | block[2] | block[3]) & kHighBits) != 0) return false;
  }
  for (; at + sizeof block[0] <= text.size(); at += sizeof block[0]) {
    std::memcpy(block.data(), text.data() + at, sizeof block[0]);
    if ((block[0] & kHighBits) != 0) return false;
  }
  for (; at < text.size(); ++at)
    if (static_cast<unsigned char>(text[at]) >= 0x80) return false;
  return true;
}

}  // namespace tlk
