#include "platform/posix/TablePage.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/AnsiText.h"
#include "platform/Ascii.h"
#include "platform/posix/Converter.h"

namespace tlk {
namespace {

using Step = Converter::Step;

constexpr std::uint16_t kLacking = '?';
constexpr unsigned kUnits = 0x10000;
constexpr unsigned kAscii = 0x80;
constexpr unsigned kLetters = 0xA0;  // Below are control characters.
constexpr unsigned kFirstPair = kAscii << 8;

}  // namespace

TablePage::TablePage(const PageBytes& bytes) : m_bytes(bytes), m_narrowOf(kUnits, kLacking) {
  // Where several bytes mean the same character, it becomes the first of them, or the byte of the
  // character's own number if that is one of them.
  for (std::size_t byte = bytes.wide.size(); byte-- > 0;)
    m_narrowOf[bytes.wide[byte]] = static_cast<std::uint16_t>(byte);
  for (std::size_t byte = 0; byte < bytes.wide.size(); ++byte)
    if (bytes.wide[byte] == byte) m_narrowOf[byte] = static_cast<std::uint16_t>(byte);
}

bool TablePage::ReadPairs(Converter& toWide, Converter& toNarrow) {
  return ReadWidePairs(toWide) && ReadNarrow(toNarrow);
}

bool TablePage::ReadWidePairs(Converter& toWide) {
  m_wideOfPair.assign(kUnits - kFirstPair, u'\0');
  for (unsigned pair = kFirstPair; pair < kUnits; ++pair) {
    if (m_bytes.wide[pair >> 8] != 0) continue;
    const std::array<char, 2> bytes{static_cast<char>(pair >> 8), static_cast<char>(pair)};
    std::array<char16_t, 4> units{};
    std::size_t written = 0;
    const Step step =
        toWide.ConvertAlone(bytes.data(), sizeof bytes, units.data(), sizeof units, written);
    if (step == Step::kTruncated) return false;
    if (step != Step::kDone) continue;
    if (written != sizeof units[0]) return false;
    m_wideOfPair[pair - kFirstPair] = units[0];
  }
  return true;
}

bool TablePage::ReadNarrow(Converter& toNarrow) {
  for (unsigned unit = kAscii; unit < kUnits; ++unit) {
    const auto wide = static_cast<char16_t>(unit);
    std::array<unsigned char, 8> bytes{};
    std::size_t written = 0;
    const Step step =
        toNarrow.ConvertAlone(&wide, sizeof wide, bytes.data(), sizeof bytes, written);
    if (step == Step::kDone && written > 2) return false;
    // A byte that the page does not define widens to the character of its number. That is given
    // back if it is a control character; any other is a letter that the page lacks.
    const bool isControl = unit < kLetters && m_bytes.wide[unit] == unit;
    m_narrowOf[unit] = isControl ? static_cast<std::uint16_t>(unit) : kLacking;
    if (step != Step::kDone || written == 0) continue;
    const unsigned number = written == 1 ? bytes[0] : bytes[0] * 0x100U + bytes[1];
    m_narrowOf[unit] = static_cast<std::uint16_t>(number);
  }
  return true;
}

void TablePage::AppendWide(std::string_view narrow, std::u16string& wide) const {
  const std::size_t before = wide.size();
  wide.resize(before + narrow.size());
  char16_t* to = wide.data() + before;
  for (std::size_t at = 0; at < narrow.size();) {
    const std::size_t plain = CopyAscii(narrow.substr(at), to);
    at += plain;
    to += plain;
    for (const std::size_t stop = std::min(narrow.size(), at + kAsciiBlock); at < stop; ++to) {
      const auto byte = static_cast<unsigned char>(narrow[at++]);
      *to = m_bytes.wide[byte];
      if (*to != 0 || byte == 0) continue;
      const unsigned trail = at < narrow.size() ? static_cast<unsigned char>(narrow[at]) : 0;
      const char16_t character = m_wideOfPair[byte * 0x100U + trail - kFirstPair];
      // A broken start is passed over alone, so that it cannot swallow what follows.
      *to = character != 0 ? character : kBrokenCharacter;
      if (character != 0) ++at;
    }
  }
  wide.resize(static_cast<std::size_t>(to - wide.data()));
}

void TablePage::AppendNarrow(std::u16string_view wide, std::string& narrow) const {
  const std::size_t before = narrow.size();
  narrow.resize(before + wide.size() * (IsSingleByte() ? 1 : 2));
  char* to = narrow.data() + before;
  for (std::size_t at = 0; at < wide.size();) {
    const std::size_t plain = CopyAscii(wide.substr(at), to);
    at += plain;
    to += plain;
    for (const std::size_t stop = std::min(wide.size(), at + kAsciiBlock); at < stop; ++at) {
      const unsigned bytes = m_narrowOf[wide[at]];
      if (bytes > 0xFF) *to++ = static_cast<char>(bytes >> 8);
      *to++ = static_cast<char>(bytes);
    }
  }
  narrow.resize(static_cast<std::size_t>(to - narrow.data()));
}

}  // namespace tlk
