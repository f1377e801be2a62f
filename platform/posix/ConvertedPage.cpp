#include "platform/posix/ConvertedPage.h"

#include <algorithm>
#include <cstddef>

#include "platform/AnsiText.h"

namespace tlk {
namespace {

using Step = Converter::Step;

// So much more room than the text's own length is made at first: what one character may take.
constexpr std::size_t kSpare = 16;

// For each fault iconv goes over all that it was given once more. So it is given a few units at
// first, and again behind each fault, and twice as many each time that there is none.
constexpr std::size_t kFewUnits = 8;

/// A text on its way through a converter.
template <typename From, typename To>
class Conversion {
 public:
  /// It appends to `to`.
  Conversion(Converter& converter, std::basic_string_view<From> from, std::basic_string<To>& to)
      : m_converter(converter), m_from(from), m_to(to), m_written(to.size()) {
    m_converter.Reset();
    m_to.resize(m_written + from.size() + kSpare);
  }
  ~Conversion() { m_to.resize(m_written); }
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;

  /// Converts up to what cannot be, which is then what `Left` begins with, or up to the end.
  Step ConvertMore() {
    for (std::size_t units = kFewUnits;;) {
      const bool isLast = units >= m_from.size();
      const Step step = Convert(isLast ? m_from.size() : units, isLast);
      if (step == Step::kNoRoom) {
        m_to.resize(2 * m_to.size());
      } else if (isLast || step == Step::kInvalid) {
        return step;
      } else {
        units *= 2;
      }
    }
  }

  [[nodiscard]] std::basic_string_view<From> Left() const { return m_from; }

  /// Puts `replacement` in the place of so many units.
  void Replace(std::size_t units, To replacement) {
    if (m_written == m_to.size()) m_to.resize(2 * m_to.size());
    m_to[m_written++] = replacement;
    m_from.remove_prefix(units);
    m_converter.Reset();
  }

 private:
  Step Convert(std::size_t units, bool isLast) {
    const char* in = reinterpret_cast<const char*>(m_from.data());
    std::size_t inLeft = units * sizeof(From);
    char* out = reinterpret_cast<char*>(m_to.data() + m_written);
    std::size_t outLeft = (m_to.size() - m_written) * sizeof(To);
    Step step = m_converter.Convert(in, inLeft, out, outLeft);
    if (step == Step::kDone && isLast) step = m_converter.Finish(out, outLeft);
    m_written = m_to.size() - outLeft / sizeof(To);
    m_from.remove_prefix(units - inLeft / sizeof(From));
    return step;
  }

  Converter& m_converter;
  std::basic_string_view<From> m_from;
  std::basic_string<To>& m_to;
  std::size_t m_written;
};

/// Appends to `to` what `from` converts to. `replacementOf` tells what stands for an input unit
/// that begins nothing; at the end of the text, `cut` stands for all that is left.
template <typename From, typename To, typename Replacement>
void Append(Converter& converter, std::basic_string_view<From> from, Replacement replacementOf,
            To cut, std::basic_string<To>& to) {
  Conversion<From, To> conversion(converter, from, to);
  for (Step step = conversion.ConvertMore(); step != Step::kDone; step = conversion.ConvertMore()) {
    const std::basic_string_view<From> left = conversion.Left();
    if (step == Step::kTruncated || left.empty()) {
      conversion.Replace(left.size(), cut);
    } else {
      // A broken start is passed over alone, so that it cannot swallow what follows.
      conversion.Replace(1, replacementOf(left.front()));
    }
  }
}

}  // namespace

ConvertedPage::ConvertedPage(const std::string& name, const PageBytes& bytes)
    : m_bytes(bytes), m_toWide(kUtf16, name), m_toNarrow(name, kUtf16) {}

void ConvertedPage::AppendWide(std::string_view narrow, std::u16string& wide) const {
  const auto replacementOf = [this](char byte) {
    const char16_t character = m_bytes.wide[static_cast<unsigned char>(byte)];
    return character != 0 ? character : kBrokenCharacter;
  };
  const std::lock_guard lock(m_mutex);
  Append(m_toWide, narrow, replacementOf, kBrokenCharacter, wide);
}

void ConvertedPage::AppendNarrow(std::u16string_view wide, std::string& narrow) const {
  const std::lock_guard lock(m_mutex);
  Append(
      m_toNarrow, wide, [](char16_t) { return '?'; }, '?', narrow);
}

}  // namespace tlk
