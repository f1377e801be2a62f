// The gate against a parser that is strict by repute, in several code pages; and the DOM behind the
// gate, on all that it lets in. An input is the choice of a code page and a text.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "fuzz/Fuzzing.h"
#include "fuzz/ReadBack.h"
#include "platform/posix/PosixAnsiText.h"
#include "tests/xml/GateOracle.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::fuzz {
namespace {

struct Page {
  explicit Page(const AnsiText& codePage, bool hasQuestionMark = true)
      : text(codePage), writes(hasQuestionMark) {}

  const AnsiText& text;
  const bool writes;  ///< Whether it has a "?" for what it lacks, as a document needs.
  XmlGate gate{text};
  PugiDomFactory dom{text};
};

// Single bytes, several bytes, all there are; and pages that no system has, with surrogates and
// with what is no character at all.
Page& ChosenPage(unsigned choice) {
  static const PosixAnsiText western("CP1252");
  static const PosixAnsiText cyrillic("CP1251");
  static const PosixAnsiText japanese("CP932");
  static const PosixAnsiText unicode("UTF-8");
  static const test::BytePage surrogates(0xD7C0);
  static const test::BytePage last(0xFF80);
  static std::array<Page, 6> pages{Page(western), Page(cyrillic),          Page(japanese),
                                   Page(unicode), Page(surrogates, false), Page(last, false)};
  return pages[choice % pages.size()];
}

void CheckLimit(std::string_view text, const GateVerdict& verdict) {
  const bool isDepth = std::string_view(verdict.reason).find("deep") != std::string_view::npos;
  const auto count = std::count(text.begin(), text.end(), isDepth ? '<' : '=');
  const auto limit = isDepth ? kMaxXmlDepth : kMaxXmlAttributes;
  Check(static_cast<std::size_t>(count) > limit, "a limit stops what is beyond it alone");
}

void CheckGate(const Page& page, const std::string& text, const GateVerdict& verdict) {
  std::u16string wide;
  page.text.Widen(text, wide);
  Check(verdict.position <= text.size(), "the position is one in the text");
  if (IsBeyondLimits(verdict)) {
    CheckLimit(text, verdict);
  } else {
    Check(verdict.Passed() == test::OracleAccepts(wide), "the gate and the oracle agree");
  }
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  Input input(data, size);
  Page& page = ChosenPage(input.Byte());
  const std::string text = input.Rest();
  const tlk::GateVerdict verdict = page.gate.Pass(text);
  CheckGate(page, text, verdict);
  if (verdict.Passed() && page.writes)
    CheckReadsBack(page.dom, page.gate, Rewritten(page.dom, text));
  return 0;
}
