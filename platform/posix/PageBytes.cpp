#include "platform/posix/PageBytes.h"

#include <algorithm>
#include <cstddef>

#include "platform/posix/Converter.h"

namespace tlk {

std::optional<PageBytes> ReadPageBytes(Converter& toWide) {
  constexpr std::size_t kFirstLead = 0x81;
  constexpr std::size_t kLastLead = 0xFE;
  PageBytes bytes;
  bool leadsOnly = true;
  for (std::size_t byte = 0; byte < bytes.wide.size(); ++byte) {
    const char narrow = static_cast<char>(byte);
    std::array<char16_t, 4> units{};
    std::size_t written = 0;
    const auto step = toWide.ConvertAlone(&narrow, 1, units.data(), sizeof units, written);
    const bool isDefined = step == Converter::Step::kDone && written == sizeof units[0];
    if (byte < 0x80 && (!isDefined || units[0] != byte)) return std::nullopt;
    if (step == Converter::Step::kTruncated) {
      bytes.beginsLonger = true;
      continue;
    }
    bytes.wide[byte] = isDefined ? units[0] : static_cast<char16_t>(byte);
    if (isDefined && byte >= kFirstLead && byte <= kLastLead) leadsOnly = false;
  }
  // Where no byte from 0x81 to 0xFE is a character by itself, Windows takes each for the first of a
  // pair, even one with which the page has no pair, because users may add pairs of their own.
  if (bytes.beginsLonger && leadsOnly)
    std::fill(bytes.wide.begin() + kFirstLead, bytes.wide.begin() + kLastLead + 1, u'\0');
  return bytes;
}

}  // namespace tlk
