#include "xml/Gate.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/xml/GateOracle.h"

namespace tlk::test {
namespace {

/// Shows one text to the gate in each form in which it can be had.
class Doors {
 public:
  explicit Doors(char16_t firstOfBytePage = 0x80) : m_bytePage(firstOfBytePage) {}

  /// Empty when each door does as it should, else a description of what one does.
  [[nodiscard]] std::string Complaint(std::u16string_view text, bool expected) const {
    static const PairPage pairPage;
    static const XmlGate pairs(pairPage);
    std::string complaint = Judge(pairPage, pairs, text, expected);
    if (m_bytePage.Holds(text)) complaint += Judge(m_bytePage, m_bytes, text, expected);
    return complaint;
  }

 private:
  static std::string Judge(const AnsiText& page, const XmlGate& gate, std::u16string_view text,
                           bool expected) {
    std::string narrow;
    page.Narrow(text, narrow);
    // Nothing behind the end may be read, not even a zero.
    const std::vector<char> exact(narrow.begin(), narrow.end());
    const GateVerdict verdict = gate.Pass({exact.data(), exact.size()});
    if (verdict.Passed() == expected && verdict.position <= narrow.size()) return {};
    return std::string(page.IsSingleByte() ? "bytes: " : "wide: ") +
           (verdict.Passed() ? "let in" : verdict.reason) + " at " +
           std::to_string(verdict.position) + ": " + Utf8(text) + "\n";
  }

  BytePage m_bytePage;
  XmlGate m_bytes{m_bytePage};
};

TEST(Gate, LetsInGoodTextsAndRefusesBadOnes) {
  const Doors doors;
  for (const bool good : {true, false}) {
    for (const auto& text : GateTexts(good ? "good" : "bad")) {
      EXPECT_EQ(OracleAccepts(text), good) << Utf8(text);
      EXPECT_EQ(doors.Complaint(text, good), "");
    }
  }
}

/// A place in a document for a character, between the two.
struct Place {
  std::u16string_view before;
  std::u16string_view after;

  [[nodiscard]] std::u16string Around(char16_t c) const {
    return std::u16string(before) + c + std::u16string(after);
  }
};

using GateCharacters = testing::TestWithParam<Place>;
INSTANTIATE_TEST_SUITE_P(InNames, GateCharacters,
                         testing::Values(Place{u"<", u"/>"}, Place{u"<a", u"/>"}),
                         [](const auto& test) {
                           return std::string(test.index == 0 ? "AtTheStart" : "Behind");
                         });

TEST_P(GateCharacters, AgreeWithTheOracleInEveryCodePage) {
  constexpr unsigned kPage = 0x80;
  for (unsigned first = 0; first <= 0xFFFF; first += kPage) {
    const Doors doors(static_cast<char16_t>(first));
    for (unsigned c = first; c < first + kPage; ++c) {
      const std::u16string text = GetParam().Around(static_cast<char16_t>(c));
      ASSERT_EQ(doors.Complaint(text, OracleAccepts(text)), "") << std::hex << c;
    }
  }
}

TEST(Gate, RefusesWhatNoDocumentMayHoldWhereverItStands) {
  const Doors doors;
  constexpr Place kPlaces[] = {
      {u"<a>", u"</a>"},     {u"<a b='", u"'/>"},  {u"<a>01234567", u"01234567</a>"},
      {u"<!--", u"--><a/>"}, {u"<?b ", u"?><a/>"}, {u"<a><![CDATA[", u"]]></a>"},
      {u"", u"<a/>"},        {u"<a/>", u""}};
  constexpr char16_t kCharacters[] = {0,      1,      8,      9,      0xB,    0xC,    0xD,
                                      0x1F,   0x7F,   0x9F,   0xA0,   0xD7FF, 0xD800, 0xDBFF,
                                      0xDC00, 0xDFFF, 0xE000, 0xFEFF, 0xFFFD, 0xFFFE, 0xFFFF};
  for (const Place& place : kPlaces) {
    for (const char16_t c : kCharacters) {
      const std::u16string text = place.Around(c);
      EXPECT_EQ(doors.Complaint(text, OracleAccepts(text)), "");
    }
  }
}

/// Makes texts out of others, by small accidents.
class Mutator {
 public:
  std::u16string Next() {
    std::u16string text = OneOf(GateTexts(Below(3) == 0 ? "good" : "bad"));
    for (std::size_t accidents = 1 + Below(3); accidents > 0; --accidents) Mutate(text);
    return text;
  }

 private:
  std::size_t Below(std::size_t limit) { return m_random() % limit; }

  std::u16string OneOf(const std::vector<std::u16string>& list) { return list[Below(list.size())]; }

  void Mutate(std::u16string& text) {
    const std::size_t at = Below(text.size() + 1);
    const std::size_t length = Below(4) == 0 ? Below(text.size() + 1) : Below(3);
    const std::u16string own = text.substr(Below(text.size() + 1), length);
    const bool inserts = Below(2) == 0;
    text.replace(at, inserts ? 0 : length, OneOf({u"", own, OneOf(GateTexts("piece"))}));
  }

  std::minstd_rand m_random{20240117};
};

TEST(Gate, AgreesWithTheOracleOnRandomMutations) {
  constexpr int kCount = 10000;
  const Doors doors;
  Mutator mutator;
  int accepted = 0;
  for (int i = 0; i < kCount; ++i) {
    const std::u16string text = mutator.Next();
    const bool expected = OracleAccepts(text);
    accepted += expected ? 1 : 0;
    ASSERT_EQ(doors.Complaint(text, expected), "");
  }
  EXPECT_GT(accepted, kCount / 20) << "the mutations are too wild to tell anything";
}

TEST(Gate, AgreesWithTheOracleOnTextsThatEndTooEarly) {
  const Doors doors;
  for (const auto& text : GateTexts("good")) {
    for (std::size_t length = 0; length <= text.size(); ++length) {
      const std::u16string start = text.substr(0, length);
      ASSERT_EQ(doors.Complaint(start, OracleAccepts(start)), "");
    }
  }
}

TEST(Gate, TellsWhatIsWrongAndWhere) {
  const struct {
    std::string text;
    std::string reason;
    std::size_t position;
  } faults[] = {
      {"", "no root element", 0},
      {"<a>\xE4</b>", "end tag does not match start tag", 6},
      {"<a/>\n<b/>", "text after the root element", 5},
      {"<a><b>", "the text ends too early", 6},
      {"<a>&nbsp;</a>", "reference to an entity that is not declared", 3},
      {"<a>x\x01</a>", "character that no document may hold", 4},
      {"<a b='' c='' b=''/>", "attribute is there twice", 13},
      {"<a p:b=''/>", "prefix without a namespace", 3},
      {" <!DOCTYPE a><a/>", "document type declarations are not let in", 1},
  };
  const BytePage bytes;
  const PairPage pairs;
  for (const auto& fault : faults) {
    const GateVerdict verdict = XmlGate(bytes).Pass(fault.text);
    ASSERT_FALSE(verdict.Passed()) << fault.text;
    EXPECT_EQ(verdict.reason, fault.reason);
    EXPECT_EQ(verdict.position, fault.position) << fault.text;

    std::u16string wide;
    std::string doubled;
    bytes.Widen(fault.text, wide);
    pairs.Narrow(wide, doubled);
    EXPECT_EQ(XmlGate(pairs).Pass(doubled).position, 2 * fault.position) << fault.text;
  }
}

}  // namespace
}  // namespace tlk::test
