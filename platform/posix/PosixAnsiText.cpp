#include "platform/posix/PosixAnsiText.h"

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "platform/Ascii.h"
#include "platform/StandardOutput.h"
#include "platform/posix/CodePage.h"
#include "platform/posix/PageBytes.h"
#include "platform/posix/TablePage.h"

namespace tlk {
namespace {

/// ISO 8859-1 needs no converter: each byte is the character of its number.
std::unique_ptr<const CodePage> MakeLatin1() {
  PageBytes bytes;
  for (std::size_t byte = 0; byte < bytes.wide.size(); ++byte)
    bytes.wide[byte] = static_cast<char16_t>(byte);
  return std::make_unique<TablePage>(bytes);
}

std::unique_ptr<const CodePage> ReadUsablePage(const std::string& name) {
  if (auto page = ReadCodePage(name)) return page;
  PrintOnStandardError("Unusable code page \"" + name + "\"; Windows-1252 is used\n");
  if (auto page = ReadCodePage(PosixAnsiText::kDefaultCodePage)) return page;
  PrintOnStandardError("The system does not know Windows-1252; ISO 8859-1 is used\n");
  return MakeLatin1();
}

/// Replaces `to` by the ASCII that `from` begins with, and returns the rest.
template <typename From, typename To>
std::basic_string_view<From> TakeAscii(std::basic_string_view<From> from,
                                       std::basic_string<To>& to) {
  to.resize(from.size());
  std::size_t plain = CopyAscii(from, to.data());
  for (; plain < from.size(); ++plain) {
    const auto character = static_cast<std::make_unsigned_t<From>>(from[plain]);
    if (character >= 0x80) break;
    to[plain] = static_cast<To>(character);
  }
  to.resize(plain);
  return from.substr(plain);
}

}  // namespace

PosixAnsiText::PosixAnsiText(const std::string& codePage) : m_name(codePage) {
  try {
    static_cast<void>(Page());
  } catch (const std::bad_alloc&) {
    // ASCII is converted without a page; the first other text tries again.
  }
}

PosixAnsiText::~PosixAnsiText() = default;

const CodePage& PosixAnsiText::Page() const {
  if (const CodePage* page = m_page.load(std::memory_order_acquire)) return *page;
  auto read = ReadUsablePage(m_name);
  const std::lock_guard lock(m_mutex);
  if (!m_owned) m_owned = std::move(read);
  m_page.store(m_owned.get(), std::memory_order_release);
  return *m_owned;
}

void PosixAnsiText::Widen(std::string_view narrow, std::u16string& wide) const {
  const std::string_view rest = TakeAscii(narrow, wide);
  if (!rest.empty()) Page().AppendWide(rest, wide);
}

void PosixAnsiText::Narrow(std::u16string_view wide, std::string& narrow) const {
  const std::u16string_view rest = TakeAscii(wide, narrow);
  if (!rest.empty()) Page().AppendNarrow(rest, narrow);
}

bool PosixAnsiText::IsSingleByte() const {
  const CodePage* page = m_page.load(std::memory_order_acquire);
  return page != nullptr && page->IsSingleByte();
}

}  // namespace tlk
