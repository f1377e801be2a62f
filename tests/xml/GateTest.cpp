#include "xml/Gate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <ostream>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "tests/xml/GateOracle.h"
#include "tests/xml/GateTexts.h"

namespace tlk::test {
namespace {

/// Shows one text to the gate in each form in which it can be had.
class Doors {
 public:
  /// Empty when each door does as it should, else a description of what one does.
  [[nodiscard]] std::string Complaint(std::u16string_view text, bool expected) const {
    std::string complaint = Judge(m_pairs, text, expected);
    if (std::all_of(text.begin(), text.end(), [](char16_t c) { return c <= 0xFF; }))
      complaint += Judge(m_bytes, text, expected);
    return complaint;
  }

 private:
  struct Door {
    const AnsiText& page;
    XmlGate gate{page};
  };

  static std::string Judge(const Door& door, std::u16string_view text, bool expected) {
    std::string narrow;
    door.page.Narrow(text, narrow);
    const GateVerdict verdict = door.gate.Pass(narrow);
    if (verdict.Passed() == expected && verdict.position <= narrow.size()) return {};
    return std::string(door.page.IsSingleByte() ? "bytes: " : "wide: ") +
           (verdict.Passed() ? "let in" : verdict.reason) + " at " +
           std::to_string(verdict.position) + ": " + Utf8(text) + "\n";
  }

  BytePage m_bytePage;
  PairPage m_pairPage;
  Door m_bytes{m_bytePage};
  Door m_pairs{m_pairPage};
};

TEST(Gate, LetsInGoodTextsAndRefusesBadOnes) {
  const Doors doors;
  for (const auto text : kGoodTexts) {
    EXPECT_TRUE(OracleAccepts(text)) << Utf8(text);
    EXPECT_EQ(doors.Complaint(text, true), "");
  }
  for (const auto text : kBadTexts) {
    EXPECT_FALSE(OracleAccepts(text)) << Utf8(text);
    EXPECT_EQ(doors.Complaint(text, false), "");
  }
}

/// A place in a document for a character, between the two.
struct Place {
  const char* name;
  std::u16string_view before;
  std::u16string_view after;
};

void PrintTo(const Place& place, std::ostream* out) { *out << place.name; }

class GateCharacters : public testing::TestWithParam<Place> {
 protected:
  [[nodiscard]] std::u16string Around(char16_t c) const {
    return std::u16string(GetParam().before) + c + std::u16string(GetParam().after);
  }
};

TEST_P(GateCharacters, AgreeWithTheOracleOnAllOfTheBasicPlane) {
  const Doors doors;
  for (unsigned c = 0; c <= 0xFFFF; ++c) {
    const std::u16string text = Around(static_cast<char16_t>(c));
    ASSERT_EQ(doors.Complaint(text, OracleAccepts(text)), "") << std::hex << c;
  }
}

TEST_P(GateCharacters, AreThoseOfTheCodePage) {
  constexpr unsigned kUpperHalf = 0x80;
  for (unsigned first = 0x80; first <= 0xFFFF; first += kUpperHalf) {
    const BytePage page(static_cast<char16_t>(first));
    const XmlGate gate(page);
    for (unsigned i = 0; i < kUpperHalf; i += 5) {
      const auto byte = static_cast<char>(0x80 + i);
      const std::string narrow = Utf8(GetParam().before) + byte + Utf8(GetParam().after);
      const auto c = static_cast<char16_t>(first + i);
      ASSERT_EQ(gate.Pass(narrow).Passed(), OracleAccepts(Around(c))) << std::hex << first + i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Each, GateCharacters,
    testing::Values(Place{"start", u"", u"<a/>"}, Place{"nameStart", u"<", u" b=''/>"},
                    Place{"name", u"<a", u"b c=''/>"},
                    Place{"localName", u"<a p:", u"b='' xmlns:p='u'/>"},
                    Place{"everywhere", u"<a b='", u"'><?c d?><!-- --><![CDATA[]]></a>"}),
    [](const auto& place) { return place.param.name; });

TEST(Gate, RefusesWhatNoDocumentMayHoldWhereverItStands) {
  const Doors doors;
  constexpr Place kPlaces[] = {{"text", u"<a>", u"</a>"},
                               {"long text", u"<a>01234567", u"01234567</a>"},
                               {"value", u"<a b=\"", u"\"/>"},
                               {"comment", u"<!--", u"--><a/>"},
                               {"instruction", u"<?b ", u"?><a/>"},
                               {"section", u"<a><![CDATA[", u"]]></a>"},
                               {"behind", u"<a/>", u""}};
  constexpr char16_t kCharacters[] = {0,      1,      8,      9,      0xB,    0xC,    0xD,
                                      0x1F,   0x7F,   0x9F,   0xD7FF, 0xD800, 0xDBFF, 0xDC00,
                                      0xDFFF, 0xE000, 0xFFFD, 0xFFFE, 0xFFFF};
  for (const Place& place : kPlaces) {
    for (const char16_t c : kCharacters) {
      const auto text = std::u16string(place.before) + c + std::u16string(place.after);
      EXPECT_EQ(doors.Complaint(text, OracleAccepts(text)), "") << place.name;
    }
  }
}

/// Makes texts out of others, by small accidents.
class Mutator {
 public:
  Mutator() {
    std::copy(std::begin(kGoodTexts), std::end(kGoodTexts), std::back_inserter(m_seeds));
    std::copy(std::begin(kBadTexts), std::end(kBadTexts), std::back_inserter(m_seeds));
  }

  std::u16string Next() {
    std::u16string text(OneOf(m_seeds));
    for (std::size_t accidents = 1 + Below(3); accidents > 0; --accidents) Mutate(text);
    return text;
  }

 private:
  std::size_t Below(std::size_t limit) { return m_random() % limit; }

  std::u16string_view OneOf(std::span<const std::u16string_view> list) {
    return list[Below(list.size())];
  }

  void Mutate(std::u16string& text) {
    static constexpr std::u16string_view kPieces[] = {u"<",
                                                      u">",
                                                      u"/",
                                                      u"=",
                                                      u"'",
                                                      u"\"",
                                                      u"&",
                                                      u";",
                                                      u"!",
                                                      u"?",
                                                      u"-",
                                                      u"]",
                                                      u"[",
                                                      u":",
                                                      u" ",
                                                      u"\r",
                                                      u"\n",
                                                      u"a",
                                                      u"b",
                                                      u"1",
                                                      u"#",
                                                      u"x",
                                                      u"<a>",
                                                      u"</a>",
                                                      u"<b/>",
                                                      u"<!--",
                                                      u"-->",
                                                      u"<![CDATA[",
                                                      u"]]>",
                                                      u"<?",
                                                      u"?>",
                                                      u"&amp;",
                                                      u"&#x",
                                                      u" b=''",
                                                      u" xmlns:p='u'",
                                                      u" xmlns:q='u'",
                                                      u" p:x=''",
                                                      u" q:x=''",
                                                      u"p:",
                                                      u"xml",
                                                      u"xmlns",
                                                      u"\u00E4",
                                                      u"\u00D7",
                                                      u"\u0001",
                                                      u"\uFFFE",
                                                      u"\u3007",
                                                      u"\xD800",
                                                      u"\xDC00",
                                                      u"\uFEFF",
                                                      u"<?xml version='1.0'?>",
                                                      u"<!DOCTYPE a>"};
    const std::size_t at = Below(text.size() + 1);
    const std::size_t length = Below(4) == 0 ? Below(text.size() + 1) : Below(3);
    switch (Below(4)) {
      case 0:
        text.erase(at, length);
        break;
      case 1:
        text.insert(at, OneOf(kPieces));
        break;
      case 2:
        text.replace(at, length, OneOf(kPieces));
        break;
      default:
        text.insert(at, text.substr(Below(text.size() + 1), length));
        break;
    }
  }

  std::vector<std::u16string_view> m_seeds;
  std::minstd_rand m_random{20240117};
};

TEST(Gate, AgreesWithTheOracleOnRandomMutations) {
  constexpr int kCount = 60000;
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

TEST(Gate, ReadsNothingBehindTheText) {
  const BytePage page;
  const XmlGate gate(page);
  for (const auto text : kGoodTexts) {
    for (std::size_t length = 0; length <= text.size(); ++length) {
      std::string narrow;
      page.Narrow(text.substr(0, length), narrow);
      const std::vector<char> exact(narrow.begin(), narrow.end());
      const bool passed = gate.Pass({exact.data(), exact.size()}).Passed();
      ASSERT_EQ(passed, OracleAccepts(Utf16(narrow))) << narrow;
    }
  }
}

struct Fault {
  std::string_view text;
  std::string_view reason;
  std::size_t position;
};

TEST(Gate, TellsWhatIsWrongAndWhere) {
  constexpr Fault kFaults[] = {
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
  for (const Fault& fault : kFaults) {
    const GateVerdict verdict = XmlGate(bytes).Pass(fault.text);
    ASSERT_FALSE(verdict.Passed()) << fault.text;
    EXPECT_EQ(verdict.reason, fault.reason);
    EXPECT_EQ(verdict.position, fault.position) << fault.text;

    std::string doubled;
    pairs.Narrow(Utf16(fault.text), doubled);
    EXPECT_EQ(XmlGate(pairs).Pass(doubled).position, 2 * fault.position) << fault.text;
  }
}

}  // namespace
}  // namespace tlk::test
