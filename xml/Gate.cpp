#include "xml/Gate.h"

#include <algorithm>
#include <exception>
#include <numeric>
#include <string>

#include "platform/AnsiText.h"
#include "xml/GateScanner.h"
#include "xml/XmlCharacters.h"

namespace tlk {
namespace {

constexpr std::size_t kAsciiCount = 128;
constexpr GateVerdict kNoMemory{"not enough memory", 0, true};

bool IsAscii(std::string_view text) {
  unsigned all = 0;
  for (const char c : text) all |= static_cast<unsigned char>(c);
  return all < kAsciiCount;
}

/// ASCII text needs no code page: its bytes are the numbers of their characters.
GateVerdict PassAscii(std::string_view text, std::size_t maxDepth) {
  return ScanXml(text, {XmlTraitsOfUtf16(), nullptr}, maxDepth);
}

std::u16string UpperHalf(const AnsiText& codePage) {
  std::string bytes;
  for (std::size_t byte = kAsciiCount; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  std::u16string wide;
  codePage.Widen(bytes, wide);
  return wide;
}

}  // namespace

XmlGate::XmlGate(const AnsiText& codePage)
    : m_codePage(codePage), m_singleByte(codePage.IsSingleByte()) {
  if (!m_singleByte) return;
  std::iota(m_wide.begin(), m_wide.begin() + kAsciiCount, u'\0');
  const std::u16string upper = UpperHalf(codePage);
  std::copy_n(upper.begin(), std::min(upper.size(), kAsciiCount), m_wide.begin() + kAsciiCount);
  std::transform(m_wide.begin(), m_wide.end(), m_traits.begin(),
                 [traits = XmlTraitsOfUtf16()](char16_t c) { return traits[c]; });
}

GateVerdict XmlGate::Pass(std::string_view text, std::size_t maxDepth) const noexcept {
  try {
    if (m_singleByte) return ScanXml(text, {m_traits.data(), m_wide.data()}, maxDepth);
    return IsAscii(text) ? PassAscii(text, maxDepth) : PassWide(text, maxDepth);
  } catch (const std::exception&) {
    return kNoMemory;
  }
}

GateVerdict XmlGate::PassWide(std::string_view text, std::size_t maxDepth) const {
  std::u16string wide;
  m_codePage.Widen(text, wide);
  GateVerdict verdict = ScanXml<char16_t>(wide, {XmlTraitsOfUtf16(), nullptr}, maxDepth);
  if (verdict.Passed()) return verdict;
  std::string before;
  m_codePage.Narrow(std::u16string_view(wide).substr(0, verdict.position), before);
  verdict.position = std::min(before.size(), text.size());
  return verdict;
}

}  // namespace tlk
