#include "xml/Gate.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>

#include "tests/scripted/ScarceMemory.h"
#include "tests/xml/GateOracle.h"
#include "tests/xml/MarkedTexts.h"
#include "xml/XmlCharacters.h"

namespace tlk::test {
namespace {

constexpr std::size_t kAnywhere = std::u16string::npos;
const auto kTexts = TextsByWord(TLKC2_GATE_TEXTS);

/// A multi-byte page that can hold any text, broken surrogates included: two bytes a unit, so
/// turned that no markup looks like ASCII.
struct PairPage : AnsiText {
  static constexpr char16_t kTurn = 0x8000;

  void Widen(std::string_view narrow, std::u16string& wide) const override {
    wide.resize(narrow.size() / 2);
    std::memcpy(wide.data(), narrow.data(), 2 * wide.size());
    for (char16_t& unit : wide) unit ^= kTurn;
  }
  void Narrow(std::u16string_view wide, std::string& narrow) const override {
    std::u16string turned(wide);
    for (char16_t& unit : turned) unit ^= kTurn;
    narrow.assign(reinterpret_cast<const char*>(turned.data()), 2 * turned.size());
  }
  [[nodiscard]] bool IsSingleByte() const override { return false; }
};

/// Shows one text to the gate in each form in which it can be had. A refusal is at `fault`, if that
/// is given.
void Expect(bool expected, std::u16string_view text, std::size_t fault = kAnywhere) {
  const BytePage bytePage(text);
  const PairPage pairPage;
  for (const AnsiText* page : std::initializer_list<const AnsiText*>{&bytePage, &pairPage}) {
    // A byte is no half of a pair.
    if (page == &bytePage && std::ranges::any_of(text, IsLowSurrogate)) continue;
    std::string narrow;
    page->Narrow(text, narrow);
    // Nothing behind the end may be read, not even a zero.
    const std::vector<char> exact(narrow.begin(), narrow.end());
    const GateVerdict verdict = XmlGate(*page).Pass({exact.data(), exact.size()});
    const std::size_t place = verdict.position / (page->IsSingleByte() ? 1 : 2);
    ASSERT_EQ(verdict.Passed(), expected) << testing::PrintToString(text);
    if (expected) continue;
    ASSERT_LE(place, text.size());
    ASSERT_TRUE(fault == kAnywhere || place == fault)
        << verdict.reason << " at " << place << ": " << testing::PrintToString(text);
  }
}

void ExpectAgreement(const std::u16string& text) { Expect(OracleAccepts(text), text); }

TEST(Gate, LetsInGoodTextsAndRefusesBadOnesInTheirPlace) {
  for (const bool good : {true, false}) {
    for (const auto& [text, fault] : kTexts.at(good ? "good" : "bad")) {
      EXPECT_EQ(OracleAccepts(text), good) << testing::PrintToString(text);
      Expect(good, text, fault);
    }
  }
}

TEST(Gate, AgreesWithTheOracleOnEveryCharacterOfNames) {
  for (unsigned c = 0; c <= 0xFFFF; ++c) {
    for (const std::u16string before : {u"<", u"<a"})
      ExpectAgreement(before + static_cast<char16_t>(c) + u"/>");
  }
}

TEST(Gate, AgreesWithTheOracleWhateverStandsWhere) {
  constexpr std::pair<const char16_t*, const char16_t*> kPlaces[] = {
      {u"<a>", u"</a>"},    {u"<a b='", u"'/>"},           {u"<!--", u"--><a/>"},
      {u"<?b ", u"?><a/>"}, {u"<a><![CDATA[", u"]]></a>"}, {u"", u"<a/>"},
      {u"<a/>", u""}};
  constexpr char16_t kCharacters[] =  // The zero at the end is one, too.
      u"\1\x8\t\xB\f\r\x1F &<\"'-?]\x7F\x9F\xA0\xD7FF\xD800\xDBFF\xDC00\xDFFF\xE000"
      u"\xFEFF\xFFFD\xFFFE\xFFFF";
  for (const auto& [before, behind] : kPlaces) {
    for (const char16_t c : kCharacters) {
      // What is passed over several characters at a time has a place for each.
      for (std::size_t at = 0; at < 14; ++at) {
        for (const char16_t filler : {u'x', u' '}) {
          ExpectAgreement(before + std::u16string(at, filler) + c +
                          std::u16string(14 - at, filler) + behind);
        }
      }
    }
  }
}

TEST(Gate, AgreesWithTheOracleOnTextsThatEndTooEarlyLackSomethingOrHaveMore) {
  const std::vector<MarkedText>& pieces = kTexts.at("piece");
  std::size_t count = 0;
  for (const char* kind : {"good", "bad"}) {
    for (const auto& [text, fault] : kTexts.at(kind)) {
      for (std::size_t at = 0; at < text.size(); ++at) {
        const std::u16string before = text.substr(0, at);
        ExpectAgreement(before);
        ExpectAgreement(before + text.substr(at + 1));
        ExpectAgreement(before + pieces[++count % pieces.size()].text + text.substr(at));
      }
    }
  }
}

std::string Nested(std::size_t depth, const std::string& inside) {
  return Times(depth, "<a>") + inside + Times(depth, "</a>");
}

const std::string kMany = Times(kMaxXmlAttributes - 1, " a#=''");

const BytePage kPage(u"\u00E4");
const XmlGate kGate(kPage);

GateVerdict Pass(const std::string& text, std::size_t maxDepth = kMaxXmlDepth) {
  return kGate.Pass(text, maxDepth);
}

TEST(GateLimits, BoundDepthAndAttributes) {
  constexpr const char* kTooDeep = "elements are nested too deeply";
  for (const std::size_t depth : {kMaxXmlDepth, kMaxMessageDepth}) {
    EXPECT_TRUE(Pass(Nested(depth - 1, "<b/><b></b>"), depth).Passed());
    EXPECT_STREQ(Pass(Nested(depth + 1, ""), depth).reason, kTooDeep);
    EXPECT_STREQ(Pass(Nested(depth, "<b/>"), depth).reason, kTooDeep);
  }
  EXPECT_STREQ(Pass(Nested(kMaxMessageDepth + 1, ""), kMaxMessageDepth + 1).reason, kTooDeep);
  const std::string most = "<b" + kMany + " c=''/>";
  EXPECT_TRUE(Pass("<a>" + most + most + "</a>").Passed());
  for (const std::string more : {" c='' d=''/>", " c='' xmlns='u'/>"})
    EXPECT_STREQ(Pass("<b" + kMany + more).reason, "too many attributes");
  EXPECT_STREQ(Pass("<b" + kMany + " a7=''/>").reason, "attribute is there twice");
}

TEST(GateMemory, IsNotAllocatedForOrdinaryDocuments) {
  const std::string text =
      "<?xml version='1.0'?><TLK_Message Length='0000000' xmlns='' xmlns:p='urn:p' Type='x'>" +
      Times(200, "<p:e xmlns:q='urn:q' q:a='' b='\x80'>&amp;</p:e>") +
      Nested(kMaxXmlDepth - 1, "") + "<b" + kMany + "/></TLK_Message>";
  EXPECT_EQ(FailOneByOne([&] { return Pass(text).Passed(); }), 0);
}

TEST(GateMemory, ThatIsNotToBeHadIsAReasonToRefuse) {
  const std::string text = "<a" + Times(1000, " xmlns:p#='urn:#'") + "/>";
  const auto passesOrTells = [&] {
    const GateVerdict verdict = Pass(text);
    return verdict.lacksMemory == WasRefused() && verdict.Passed() != WasRefused();
  };
  EXPECT_GT(FailOneByOne(passesOrTells), 0);
}

// Done naively, each of these takes time by the square of its length.
TEST(GateTime, StaysInProportionForHostileTexts) {
  const std::string longName(1000000, 'u');
  const std::string longNames = "<a xmlns:b='" + longName + "x' xmlns:c='" + longName + "y'>" +
                                Times(20000, "<d b:x='' c:x=''/>") + "</a>";
  std::string manyNames;
  for (std::size_t i = 0; i < 50; ++i)
    manyNames += "<a" + Times(500, " xmlns:p#='urn:#'", 500 * i) + ">";
  manyNames += Times(20000, "<p#:b/>") + Times(50, "</a>");
  const std::clock_t start = std::clock();
  EXPECT_TRUE(Pass(longNames).Passed());
  EXPECT_TRUE(Pass(manyNames).Passed());
  EXPECT_LT(std::clock() - start, 15 * CLOCKS_PER_SEC);
}

}  // namespace
}  // namespace tlk::test
