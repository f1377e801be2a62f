#include "platform/windows/WindowsAnsiText.h"

#include <windows.h>

#include <algorithm>
#include <limits>
#include <new>
#include <type_traits>

namespace tlk {
namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

// Characters of up to so many bytes have a lead byte that tells their length.
constexpr UINT kDoubleByte = 2;

UINT LongestCharacter() {
  CPINFO info{};
  return ::GetCPInfo(CP_ACP, &info) ? info.MaxCharSize : 1;
}

template <typename Character>
bool IsAscii(std::basic_string_view<Character> text) {
  return std::ranges::all_of(text, [](Character character) {
    return static_cast<std::make_unsigned_t<Character>>(character) < 0x80;
  });
}

/// The system counts characters in an `int`.
int CountOf(std::size_t size) {
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) throw std::bad_alloc();
  return static_cast<int>(size);
}

/// Converts into `room` and returns the count of characters, 0 when `narrow` has a broken one and
/// the flags do not allow that.
std::size_t ToWide(DWORD flags, std::string_view narrow, char16_t* room, std::size_t size) {
  const int count = ::MultiByteToWideChar(CP_ACP, flags, narrow.data(), CountOf(narrow.size()),
                                          reinterpret_cast<wchar_t*>(room), CountOf(size));
  const bool isBroken = flags != 0 && ::GetLastError() == ERROR_NO_UNICODE_TRANSLATION;
  if (count == 0 && !isBroken) throw std::bad_alloc();
  return static_cast<std::size_t>(count);
}

/// For text with broken characters: one character after the other, so that each of them can be
/// replaced by itself.
std::size_t WidenPiecemeal(std::string_view narrow, bool isSingleByte, char16_t* wide) {
  std::size_t count = 0;
  while (!narrow.empty()) {
    const char first = narrow.front();
    const bool leads = !isSingleByte && ::IsDBCSLeadByteEx(CP_ACP, static_cast<BYTE>(first));
    std::size_t length = std::min<std::size_t>(leads ? kDoubleByte : 1, narrow.size());
    if (ToWide(MB_ERR_INVALID_CHARS, narrow.substr(0, length), &wide[count], 1) != 1) {
      // A lead byte is passed over alone, so that it cannot swallow what follows.
      wide[count] = leads ? kBrokenCharacter : static_cast<unsigned char>(first);
      length = 1;
    }
    ++count;
    narrow.remove_prefix(length);
  }
  return count;
}

std::size_t ToNarrow(std::u16string_view wide, char* room, std::size_t size,
                     bool choosesReplacement) {
  const int count =
      ::WideCharToMultiByte(CP_ACP, choosesReplacement ? WC_NO_BEST_FIT_CHARS : 0,
                            reinterpret_cast<const wchar_t*>(wide.data()), CountOf(wide.size()),
                            room, CountOf(size), choosesReplacement ? "?" : nullptr, nullptr);
  if (count == 0) throw std::bad_alloc();
  return static_cast<std::size_t>(count);
}

}  // namespace

void WindowsAnsiText::Widen(std::string_view narrow, std::u16string& wide) const {
  if (IsAscii(narrow)) {
    wide.assign(narrow.begin(), narrow.end());
    return;
  }
  // No code page has a character that is longer in UTF-16 than in its own bytes.
  wide.resize(narrow.size());
  std::size_t count = ToWide(MB_ERR_INVALID_CHARS, narrow, wide.data(), wide.size());
  if (count == 0) {
    const UINT longest = LongestCharacter();
    count = longest > kDoubleByte ? ToWide(0, narrow, wide.data(), wide.size())
                                  : WidenPiecemeal(narrow, longest == 1, wide.data());
  }
  wide.resize(count);
}

void WindowsAnsiText::Narrow(std::u16string_view wide, std::string& narrow) const {
  if (IsAscii(wide)) {
    narrow.resize(wide.size());
    std::ranges::transform(wide, narrow.begin(),
                           [](char16_t character) { return static_cast<char>(character); });
    return;
  }
  // A page with characters of more than two bytes lacks none, and the system refuses a replacement
  // for such a page.
  const UINT longest = LongestCharacter();
  narrow.resize(wide.size() * longest);
  narrow.resize(ToNarrow(wide, narrow.data(), narrow.size(), longest <= kDoubleByte));
}

bool WindowsAnsiText::IsSingleByte() const { return LongestCharacter() == 1; }

}  // namespace tlk
