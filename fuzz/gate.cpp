// The gate against a parser that is strict by repute, in several code pages; and the DOM behind the
// gate, on all that it lets in. An input is the choice of a code page and a text.

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
  PosixAnsiText text;
  XmlGate gate{text};
  PugiDomFactory dom{text};
};

// Single bytes, several bytes, all there are.
Page s_pages[] = {{PosixAnsiText("CP1252")},
                  {PosixAnsiText("CP1251")},
                  {PosixAnsiText("CP932")},
                  {PosixAnsiText("UTF-8")}};

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  Input input(data, size);
  Page& page = s_pages[input.Choice(4)];
  const std::string text = input.Rest();
  std::u16string wide;
  page.text.Widen(text, wide);
  const tlk::GateVerdict verdict = page.gate.Pass(text);
  Check(verdict.position <= text.size(), "the position is one in the text");
  if (IsBeyondLimits(verdict)) return 0;
  Check(verdict.Passed() == tlk::test::OracleAccepts(wide), "the gate and the oracle agree");
  if (verdict.Passed()) CheckReadsBack(page.dom, page.gate, Rewritten(page.dom, text));
  return 0;
}
