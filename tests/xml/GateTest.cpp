#include "xml/Gate.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>

#include "tests/scripted/ScarceMemory.h"
#include "tests/xml/GateOracle.h"

namespace tlk::test {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t kAnywhere = std::u16string::npos;

/// Shows one text to the gate in each form in which it can be had. Empty when each does as it
/// should, else a description of what one does. A refusal is at `fault`, if that is given.
std::string Complaint(std::u16string_view text, bool expected, std::size_t fault = kAnywhere,
                      char16_t firstOfBytePage = 0x80) {
  const BytePage bytePage(firstOfBytePage);
  const PairPage pairPage;
  std::string complaint;
  for (const AnsiText* page : std::initializer_list<const AnsiText*>{&bytePage, &pairPage}) {
    if (page == &bytePage && !bytePage.Holds(text)) continue;
    std::string narrow;
    page->Narrow(text, narrow);
    // Nothing behind the end may be read, not even a zero.
    const std::vector<char> exact(narrow.begin(), narrow.end());
    const GateVerdict verdict = XmlGate(*page).Pass({exact.data(), exact.size()});
    const std::size_t place = verdict.position / (page->IsSingleByte() ? 1 : 2);
    const bool isPlaced = fault == kAnywhere ? place <= text.size() : place == fault;
    if (verdict.Passed() == expected && (expected || isPlaced)) continue;
    complaint += std::string(page->IsSingleByte() ? "bytes: " : "wide: ") +
                 (verdict.Passed() ? "let in" : verdict.reason) + " at " + std::to_string(place) +
                 ": " + Utf8(text) + "\n";
  }
  return complaint;
}

void ExpectAgreement(const std::u16string& text, char16_t firstOfBytePage = 0x80) {
  ASSERT_EQ(Complaint(text, OracleAccepts(text), kAnywhere, firstOfBytePage), "");
}

TEST(Gate, LetsInGoodTextsAndRefusesBadOnesInTheirPlace) {
  for (const bool good : {true, false}) {
    for (const auto& [text, fault] : GateTexts(good ? "good" : "bad")) {
      EXPECT_EQ(OracleAccepts(text), good) << Utf8(text);
      EXPECT_EQ(Complaint(text, good, fault), "");
    }
  }
}

TEST(Gate, AgreesWithTheOracleOnEveryCharacterOfNames) {
  constexpr unsigned kPage = 0x80;
  for (unsigned c = 0; c <= 0xFFFF; ++c) {
    for (const std::u16string before : {u"<", u"<a"})
      ExpectAgreement(before + static_cast<char16_t>(c) + u"/>",
                      static_cast<char16_t>(c / kPage * kPage));
  }
}

TEST(Gate, AgreesWithTheOracleWhateverStandsWhere) {
  constexpr std::pair<const char16_t*, const char16_t*> kPlaces[] = {
      {u"<a>", u"</a>"},    {u"<a b='", u"'/>"},           {u"<!--", u"--><a/>"},
      {u"<?b ", u"?><a/>"}, {u"<a><![CDATA[", u"]]></a>"}, {u"", u"<a/>"},
      {u"<a/>", u""}};
  constexpr std::u16string_view kCharacters =
      u"\0\1\x8\t\xB\f\r\x1F &<\"'-?]\x7F\x9F\xA0\xD7FF\xD800\xDBFF\xDC00\xDFFF\xE000"
      u"\xFEFF\xFFFD\xFFFE\xFFFF"sv;
  for (const auto& [before, behind] : kPlaces) {
    for (const char16_t c : kCharacters) {
      // What is passed over several characters at a time has a place for each.
      for (std::size_t at = 0; at < 14; ++at) {
        for (const char16_t filler : {u'x', u' '})
          ExpectAgreement(before + std::u16string(at, filler) + c +
                          std::u16string(14 - at, filler) + behind);
      }
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

  std::u16string OneOf(const std::vector<GateText>& list) { return list[Below(list.size())].text; }

  void Mutate(std::u16string& text) {
    const std::size_t at = Below(text.size() + 1);
    const std::size_t length = Below(4) == 0 ? Below(text.size() + 1) : Below(3);
    const std::u16string own = text.substr(Below(text.size() + 1), length);
    const bool inserts = Below(2) == 0;
    text.replace(at, inserts ? 0 : length, OneOf({{u""}, {own}, {OneOf(GateTexts("piece"))}}));
  }

  std::minstd_rand m_random{20240117};
};

TEST(Gate, AgreesWithTheOracleOnRandomMutations) {
  constexpr int kCount = 10000;
  Mutator mutator;
  int accepted = 0;
  for (int i = 0; i < kCount; ++i) {
    const std::u16string text = mutator.Next();
    accepted += OracleAccepts(text) ? 1 : 0;
    ExpectAgreement(text);
  }
  EXPECT_GT(accepted, kCount / 20) << "the mutations are too wild to tell anything";
}

TEST(Gate, AgreesWithTheOracleOnTextsThatEndTooEarly) {
  for (const auto& [text, fault] : GateTexts("good"))
    for (std::size_t length = 0; length < text.size(); ++length)
      ExpectAgreement(text.substr(0, length));
}

/// As many pieces, each with its number where "#" stands.
std::string Times(std::size_t count, const std::string& piece, std::size_t first = 0) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    for (const char c : piece) text += c == '#' ? std::to_string(first + i) : std::string(1, c);
  }
  return text;
}

std::string Nested(std::size_t depth, const std::string& inside) {
  return Times(depth, "<a>") + inside + Times(depth, "</a>");
}

const std::string kMany = Times(kMaxXmlAttributes - 1, " a#=''");

GateVerdict Pass(const std::string& text, std::size_t maxDepth = kMaxXmlDepth) {
  static const BytePage page;
  static const XmlGate gate(page);
  return gate.Pass(text, maxDepth);
}

std::string ReasonFor(const std::string& text, std::size_t maxDepth = kMaxXmlDepth) {
  const GateVerdict verdict = Pass(text, maxDepth);
  return verdict.Passed() ? "" : verdict.reason;
}

TEST(GateLimits, BoundDepthAndAttributes) {
  const std::string tooDeep = "elements are nested too deeply";
  for (const std::size_t depth : {kMaxXmlDepth, kMaxMessageDepth}) {
    EXPECT_EQ(ReasonFor(Nested(depth - 1, "<b/><b></b>"), depth), "");
    EXPECT_EQ(ReasonFor(Nested(depth + 1, ""), depth), tooDeep);
    EXPECT_EQ(ReasonFor(Nested(depth, "<b/>"), depth), tooDeep);
  }
  EXPECT_EQ(ReasonFor(Nested(kMaxMessageDepth + 1, ""), kMaxMessageDepth + 1), tooDeep);
  const std::string most = "<b" + kMany + " c=''/>";
  EXPECT_EQ(ReasonFor("<a>" + most + most + "</a>"), "");
  for (const std::string more : {"c='' d=''", "c='' xmlns='u'"})
    EXPECT_EQ(ReasonFor("<b" + kMany + " " + more + "/>"), "too many attributes");
  EXPECT_EQ(ReasonFor("<b" + kMany + " a7=''/>"), "attribute is there twice");
}

TEST(GateMemory, IsNotAllocatedForOrdinaryDocuments) {
  const std::string text =
      "<?xml version='1.0'?><TLK_Message Length='0000000' xmlns='' xmlns:p='urn:p' Type='x'>" +
      Times(200, "<p:e xmlns:q='urn:q' q:a='' b='\xE4'>&amp;</p:e>") +
      Nested(kMaxXmlDepth - 1, "") + "<b" + kMany + "/></TLK_Message>";
  ASSERT_EQ(ReasonFor(text), "");
  EXPECT_EQ(FailOneByOne([&] { return Pass(text).Passed(); }), 0);
}

TEST(GateMemory, ThatIsNotToBeHadIsAReasonToRefuse) {
  const std::string text = "<a" + Times(1000, " xmlns:p#='urn:#'") + "/>";
  ASSERT_EQ(ReasonFor(text), "");
  const int failures = FailOneByOne([&] {
    const GateVerdict verdict = Pass(text);
    return verdict.lacksMemory == WasRefused() && verdict.Passed() != WasRefused() &&
           (verdict.Passed() || verdict.reason == std::string_view("not enough memory"));
  });
  EXPECT_GT(failures, 0);
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
  EXPECT_EQ(ReasonFor(longNames), "");
  EXPECT_EQ(ReasonFor(manyNames), "");
  EXPECT_LT(std::clock() - start, 15 * CLOCKS_PER_SEC);
}

}  // namespace
}  // namespace tlk::test
