#include "platform/posix/PosixAnsiText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "platform/posix/ConverterPool.h"

namespace tlk {
namespace {

using Step = ConverterPool::Step;

constexpr const char* kUtf16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
constexpr char16_t kReplacement = 0xFFFD;
constexpr size_t kBlock = 16;

/// Copies whole blocks of ASCII from one width to the other and returns how many characters that
/// were. Each block goes through a copy of its own, which the compiler can keep in vector
/// registers.
template <typename From, typename To>
size_t CopyAscii(const From* from, size_t size, To* to) {
  size_t done = 0;
  for (; done + kBlock <= size; done += kBlock) {
    std::array<std::make_unsigned_t<From>, kBlock> block;
    std::memcpy(block.data(), from + done, sizeof block);
    unsigned seen = 0;
    for (const auto character : block) seen |= character;
    if (seen >= 0x80) break;
    std::array<To, kBlock> copy;
    for (size_t i = 0; i < kBlock; ++i) copy[i] = static_cast<To>(block[i]);
    std::memcpy(to + done, copy.data(), sizeof copy);
  }
  return done;
}

/// What one byte alone means in a code page.
struct ByteMeaning {
  enum class Kind { kCharacter, kUndefined, kLead } kind;
  char16_t wide = 0;
};

ByteMeaning MeaningOf(ConverterPool::Loan& converter, char byte) {
  converter.Reset();
  char16_t units[4] = {};
  const char* in = &byte;
  char* out = reinterpret_cast<char*>(units);
  size_t inLeft = 1;
  size_t outLeft = sizeof units;
  const Step step = converter.Convert(in, inLeft, out, outLeft);
  if (step == Step::kTruncated) return {ByteMeaning::Kind::kLead};
  if (step != Step::kDone || converter.Finish(out, outLeft) != Step::kDone ||
      outLeft != sizeof units - sizeof(char16_t)) {
    return {ByteMeaning::Kind::kUndefined};
  }
  return {ByteMeaning::Kind::kCharacter, units[0]};
}

/// The rest of a conversion through iconv: appends to `to` what `from` converts to. `replacement`
/// stands for each part of it that is broken or lacking.
template <typename From, typename To>
void ConvertRest(ConverterPool& pool, std::basic_string_view<From> from, To replacement,
                 size_t unitsPerInput, std::basic_string<To>& to) {
  ConverterPool::Loan converter(pool);
  if (!converter.IsValid()) {
    to.append(from.size(), replacement);
    return;
  }
  converter.Reset();
  const char* in = reinterpret_cast<const char*>(from.data());
  size_t inLeft = from.size() * sizeof(From);
  size_t written = to.size();
  for (bool finished = false; !finished;) {
    to.resize(written + (inLeft / sizeof(From)) * unitsPerInput + kBlock);
    char* out = reinterpret_cast<char*>(to.data() + written);
    size_t outLeft = (to.size() - written) * sizeof(To);
    Step step = converter.Convert(in, inLeft, out, outLeft);
    if (step == Step::kDone) {
      step = converter.Finish(out, outLeft);
      finished = step == Step::kDone;
    }
    written = static_cast<size_t>(reinterpret_cast<To*>(out) - to.data());
    if (step == Step::kInvalid || step == Step::kTruncated) {
      to.resize(written);
      to.push_back(replacement);
      ++written;
      // A broken start is passed over alone, so that it cannot swallow what follows; at the end of
      // the text everything that is left is one broken sequence.
      const size_t skipped = step == Step::kTruncated ? inLeft : std::min(inLeft, sizeof(From));
      in += skipped;
      inLeft -= skipped;
      converter.Reset();
    }
  }
  to.resize(written);
}

}  // namespace

PosixAnsiText::PosixAnsiText(const std::string& codePage) {
  if (Use(codePage)) return;
  std::fprintf(stderr, "Unusable code page \"%s\"; Windows-1252 is used\n", codePage.c_str());
  if (!Use(kDefaultCodePage)) {
    std::fputs("The system does not know Windows-1252; ISO 8859-1 is used\n", stderr);
    for (size_t byte = 0; byte < m_wideOf.size(); ++byte)
      m_wideOf[byte] = static_cast<char16_t>(byte);
    m_isSingleByte = true;
    SortHighCharacters();
  }
}

PosixAnsiText::~PosixAnsiText() = default;

bool PosixAnsiText::Use(const std::string& codePage) {
  m_toWide = std::make_unique<ConverterPool>(kUtf16, codePage);
  m_toNarrow = std::make_unique<ConverterPool>(codePage, kUtf16);
  ConverterPool::Loan converter(*m_toWide);
  if (!converter.IsValid()) return false;
  m_isSingleByte = true;
  for (size_t byte = 0; byte < m_wideOf.size(); ++byte) {
    const ByteMeaning meaning = MeaningOf(converter, static_cast<char>(byte));
    if (meaning.kind == ByteMeaning::Kind::kLead) m_isSingleByte = false;
    const bool isDefined = meaning.kind == ByteMeaning::Kind::kCharacter;
    m_wideOf[byte] = isDefined ? meaning.wide : static_cast<char16_t>(byte);
    if (byte < 0x80 && (!isDefined || meaning.wide != byte)) return false;
  }
  SortHighCharacters();
  return true;
}

void PosixAnsiText::SortHighCharacters() {
  m_highCharacters.clear();
  for (size_t byte = 0x80; byte < m_wideOf.size(); ++byte)
    m_highCharacters.push_back({m_wideOf[byte], static_cast<char>(byte)});
  std::ranges::stable_sort(m_highCharacters, {}, &HighCharacter::wide);
}

void PosixAnsiText::Widen(std::string_view narrow, std::u16string& wide) const {
  wide.resize(narrow.size());
  const size_t plain = CopyAscii(narrow.data(), narrow.size(), wide.data());
  if (m_isSingleByte) {
    WidenByTable(narrow.substr(plain), wide.data() + plain);
  } else if (plain < narrow.size()) {
    wide.resize(plain);
    ConvertRest(*m_toWide, narrow.substr(plain), kReplacement, 1, wide);
  }
}

void PosixAnsiText::Narrow(std::u16string_view wide, std::string& narrow) const {
  narrow.resize(wide.size());
  const size_t plain = CopyAscii(wide.data(), wide.size(), narrow.data());
  if (m_isSingleByte) {
    NarrowByTable(wide.substr(plain), narrow.data() + plain);
  } else if (plain < wide.size()) {
    narrow.resize(plain);
    ConvertRest(*m_toNarrow, wide.substr(plain), '?', 2, narrow);
  }
}

void PosixAnsiText::WidenByTable(std::string_view narrow, char16_t* wide) const {
  for (size_t i = 0; i < narrow.size();) {
    i += CopyAscii(narrow.data() + i, narrow.size() - i, wide + i);
    const size_t end = std::min(narrow.size(), i + kBlock);
    for (; i < end; ++i) wide[i] = m_wideOf[static_cast<unsigned char>(narrow[i])];
  }
}

void PosixAnsiText::NarrowByTable(std::u16string_view wide, char* narrow) const {
  for (size_t i = 0; i < wide.size();) {
    i += CopyAscii(wide.data() + i, wide.size() - i, narrow + i);
    const size_t end = std::min(wide.size(), i + kBlock);
    for (; i < end; ++i) narrow[i] = NarrowOne(wide[i]);
  }
}

char PosixAnsiText::NarrowOne(char16_t wide) const {
  if (wide < m_wideOf.size() && m_wideOf[wide] == wide) return static_cast<char>(wide);
  const auto found = std::ranges::lower_bound(m_highCharacters, wide, {}, &HighCharacter::wide);
  return found != m_highCharacters.end() && found->wide == wide ? found->narrow : '?';
}

}  // namespace tlk
