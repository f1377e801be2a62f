#include "transport/Framing.h"

#include <cstdlib>
#include <string>

namespace tlk {

std::int32_t GetMessageLength(std::string_view text) {
  const auto marker = text.find(kLengthMarker);
  if (marker == std::string_view::npos) return -1;
  const auto behind = text.substr(marker + kLengthMarker.size());
  if (behind.size() < kLengthDigits) return -1;
  const std::string digits(behind.substr(0, kLengthDigits));
  const auto length = static_cast<std::int32_t>(std::strtol(digits.c_str(), nullptr, 10));
  return length == 0 ? -1 : length;
}

}  // namespace tlk
