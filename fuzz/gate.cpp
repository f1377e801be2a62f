// The gate against a parser that is strict by repute, in several code pages; and the DOM behind the
// gate, on all that it lets in. An input is the choice of a code page and a text.

#include <array>
#include <numeric>
#include <string>

#include "fuzz/Fuzzing.h"
#include "fuzz/ReadBack.h"
#include "platform/posix/PosixAnsiText.h"
#include "tests/xml/GateOracle.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::fuzz {
namespace {

struct Page {
  const AnsiText& text;
  bool writes = true;  ///< Whether it has a "?" for what it lacks, as a document needs.
  XmlGate gate{text};
  PugiDomFactory dom{text};
};

std::u16string From(char16_t first) {
  std::u16string upperHalf(128, first);
  std::iota(upperHalf.begin(), upperHalf.end(), first);
  return upperHalf;
}

// Single bytes, several bytes, all there are; and pages that no system has, with surrogates and
// with what is no character at all.
Page& ChosenPage(unsigned choice) {
  static const std::array<PosixAnsiText, 4> systems{PosixAnsiText("CP1252"),
                                                    PosixAnsiText("CP1251"), PosixAnsiText("CP932"),
                                                    PosixAnsiText("UTF-8")};
  static const test::BytePage surrogates(From(0xD7C0));
  static const test::BytePage last(From(0xFF80));
  static std::array<Page, 6> pages{Page{systems[0]}, Page{systems[1]},        Page{systems[2]},
                                   Page{systems[3]}, Page{surrogates, false}, Page{last, false}};
  return pages[choice % pages.size()];
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  Input input(data, size);
  Page& page = ChosenPage(input.Byte());
  const std::string text = input.Rest();
  std::u16string wide;
  page.text.Widen(text, wide);
  const tlk::GateVerdict verdict = page.gate.Pass(text);
  Check(verdict.position <= text.size(), "the position is one in the text");
  if (IsBeyondLimits(text, verdict)) return 0;
  Check(verdict.Passed() == tlk::test::OracleAccepts(wide), "the gate and the oracle agree");
  if (verdict.Passed() && page.writes)
    CheckReadsBack(page.dom, page.gate, Rewritten(page.dom, text));
  return 0;
}
