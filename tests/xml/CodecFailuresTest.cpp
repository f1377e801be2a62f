#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <span>

#include "log/MessageTexts.h"
#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

using Builder = TLK_XMLBuilder;
using Parser = TLK_XMLParser;

/// What the operations work on: a message with one reader and one writer, and places for answers.
struct Subject {
  const Codec& codec;
  std::unique_ptr<Builder> builder;
  std::unique_ptr<Parser> parser;
  std::string out = "before";
  std::int32_t id = -5;
  DomNode root = nullptr;
};

constexpr const char* kList = "<Attribute_List><a/></Attribute_List>";
constexpr const char* kPaths = "<Path_List><p>a[1]</p></Path_List>";
constexpr int kNotAsked = 1;

struct Operation {
  int (*run)(Subject& s);
  /// What it returns, the lines of what it reports (below zero for the parser's), and the calls of
  /// the DOM with which it comes to that. A call fails (!), gives nothing (?), does nothing and is
  /// content (=), cannot answer (#) or has a bad argument (-); "none" is no call at all.
  std::string outcomes;
  /// The calls that may lack memory.
  std::string asking;
  /// What it returns without a document.
  int without = kNotAsked;
};

const Operation kOperations[] = {
    {[](Subject& s) {
       s.builder = std::make_unique<Builder>(s.codec, "<a/>");
       return s.builder->HasDocument() ? 0 : -1;
     },
     "-1 38: new!; -1 46: async!; -1 54: validate!; -1 62: resolve!; -1 77: load=; 0: xpath!",
     "new, async, load"},
    {[](Subject& s) {
       s.parser = std::make_unique<Parser>(s.codec, "<a/>");
       return s.parser->HasDocument() ? 0 : -1;
     },
     "-1 -33: new!; -1 -41: async!; -1 -49: validate!; -1 -57: resolve!; -1 -72: load=; 0: xpath!",
     "new, load"},
    {[](Subject& s) { return s.builder->LoadXml("<a/>"); },
     "-1 112: new!; -1 119: async!; -1 126: validate!; -1 133: resolve!; -1 143: load!; "
     "0: load=, xpath!, none!",
     "new, load"},
    {[](Subject& s) { return s.parser->LoadXml("<a/>"); },
     "-1 -104: new!; -1 -111: async!; -1 -118: validate!; -1 -125: resolve!; -1 -135: load!; "
     "0: load=, xpath!",
     "new, load"},
    {[](Subject& s) { return s.builder->CreateMessage("Chat", 1, 0, 2, "d"); },
     "-1 178: new!, new?; -1 186: async!; -1 194: validate!; -1 202: resolve!; -1 211: create!; "
     "-1 230: create From!; -1 246: create To?, create To!; 0: set!, none!",
     "new, create, set, set text"},
    {[](Subject& s) { return s.builder->SetLength(); },
     "-1 336: get root!, get root?, get root|xml!; 0: xml!, set!, none!",
     "set Length, get root, xml", -1},
    {[](Subject& s) { return s.builder->EnsureDataElement(); },
     "-1 391: get root!, get root?; 0 291 409: select|create!; 0: select|append!, none!",
     "get root", -1},
    {[](Subject& s) { return s.builder->AppendData("<a/>"); },
     "-1 445: select?; -1 391 445: select|get root!; 0: none!", "select, read into|load", -1},
    {[](Subject& s) { return s.builder->SetNodeAttribute("/*", "a", "b"); },
     "-1 368: element?, element!, set-; 0: set!, none!; -1: select!; -1 352: select#",
     "select, element, set", -1},
    {[](Subject& s) { return s.builder->GetNodeText("/*", s.out); }, "-1: select!; -2: text?",
     "select, text", -1},
    {[](Subject& s) { return s.builder->LoadXml("<a/>") + s.builder->GetXml(s.out); },
     "-1: xml!, xml?", "xml"},
    {[](Subject& s) { return s.builder->GetXml(s.out); }, "", "", -1},
    {[](Subject& s) { return s.builder->AddStatus("2", "d"); },
     "0 502: select?; 0 511: element?; 0 291 520: create S!; 0 291 531: create V!; "
     "0 291 543: create D!; 0: none!",
     "element, set text", -1},
    {[](Subject& s) { return s.builder->AddConferenceList("c", 1, "d", 2); },
     "0 583: select?; 0 291: create Conference_L!; 0 291 596: create Conference$!", "create", -1},
    {[](Subject& s) { return s.builder->AddParticipantList("c", 1, 0, 2, "d"); },
     "0 641: select?; 0 291: create Participant_L!; 0 291 654: create Participant$!; 0: set!, "
     "none!",
     "set", -1},
    {[](Subject& s) { return s.builder->AddAttributes(kList); }, "0: append$!", "append$, new", -1},
    {[](Subject& s) { return s.builder->UpdateAttributes(kList); },
     "-1: base name!, replace!; 0: sibling!", "child, base name, sibling, replace", -1},
    {[](Subject& s) { return s.builder->DeleteAttributes(kList); }, "-1: remove!; 0: none!",
     "remove", -1},
    {[](Subject& s) { return s.builder->DeleteAttributesAtPaths(kPaths); }, "-1: text!; 0: none!",
     "text, new", -1},
    {[](Subject& s) { return s.parser->GetNode("Data", s.out, false); },
     "-1 -238: get root!, get root?; -1 -249: select!, select?; -2: xml?", "select, xml", -1},
    {[](Subject& s) { return s.parser->GetNode("Data", s.out, true); }, "-2: text!", "text", -1},
    {[](Subject& s) { return s.parser->GetData(s.out); }, "0: xml!", "xml", 0},
    {[](Subject& s) { return s.parser->GetType(s.out); },
     "-1: get root!, get root?; -2: attribute!", "attribute", -1},
    {[](Subject& s) { return s.parser->GetReceiverId(s.id); },
     "-1: get root!; -2: select!, attribute!", "select, attribute", -1},
    {[](Subject& s) { return s.parser->GetNodeAttribute("//To", "Id", s.out); },
     "-1 -324: element?; -1 -318: select#; -1: select?, attribute!", "select, element, attribute",
     -1},
    {[](Subject& s) { return s.parser->GetRootElement(s.root); }, "0: get root!", "", -1},
    {[](Subject& s) { return s.parser->GetNodeXml(s.root, s.out); }, "-1: xml!", "xml", -1},
    {[](Subject& s) { return s.parser->GetAttribute(s.root, "Type", s.out); }, "-1: attribute!",
     "attribute", -1},
};

/// What is reported, by the lines. It is shown with a line break behind it. "#" is the code, in the
/// record alone, "~" a line break there; behind "^" is what the record has instead. Some speak of
/// `From` whatever element could not be made; the code that goes with the reason of a parse error
/// is that of asking for it.
const std::pair<std::string, std::vector<int>> kTexts[] = {
    {"Failed to CoCreate an instance of an XML DOM\n@^"
     "Failed to CoCreate an instance of an XML DOM.#~",
     {38, -33, 178}},
    {"Failed to CoCreate an instance of an XML DOM\n@^"
     "Failed to CoCreate an instance of an XML DOM.#",
     {112, -104}},
    {"Failed to set async property^Failed to set async property.#~", {46, -41, 186}},
    {"Failed to set async property^Failed to set async property.#", {119, -111}},
    {"Failed to set validateOnParse^Failed to set validateOnParse.#~", {54, -49, 194}},
    {"Failed to set validateOnParse^Failed to set validateOnParse.#", {126, -118}},
    {"Failed to disable resolving externals.#~", {62, -57, 202}},
    {"Failed to disable resolving externals.#", {133, -125}},
    {"Failed to load DOM from source string. bad^"
     "Failed to load DOM from source string. \t\t\t@\nReason : bad",
     {77, -72}},
    {"Failed to load XML.#", {143, -135}},
    {"Failed to create root element.#~", {211}},
    {"Failed to create From element.#~", {230, 246, 291}},
    {"Failed to get document element.#~", {336, 391, 445}},
    {"Failed node does not exist. /*.#", {352}},
    {"Failed to get element from node.#~", {368, -324}},
    {"Failed to get document element.^Failed to get create data element.~", {409, 511}},
    {"Failed to find DataElement.~", {502}},
    {"Failed to create Status element.~", {520}},
    {"Failed to create Value element.~", {531}},
    {"Failed to create Description element.~", {543}},
    {"Failed to find Data element.~", {583, 641}},
    {"Failed to create Conference element.~", {596}},
    {"Failed to create Participant element.~", {654}},
    {"Failed to get root element.#~", {-238}},
    {"Failed node does not exist. Data.#", {-249}},
    {"Failed node does not exist. //To.#", {-318}},
};

class CodecFailuresTest : public CodecTest {
 protected:
  Subject NewSubject() {
    const char* const text = "<TLK_Message Type='t'><To Id='3'/><Data>d</Data></TLK_Message>";
    Subject subject = {m_codec, NewMessage(), std::make_unique<Parser>(m_codec, text)};
    EXPECT_EQ(subject.builder->AppendData(kList), 0);
    for (int round = 0; round < 2; ++round) EXPECT_EQ(subject.builder->SetLength(), 0);
    subject.parser->GetRootElement(subject.root);
    m_log.records.clear();
    return subject;
  }

  /// Runs an operation while a call ends as its last character tells.
  void Check(const Operation& operation, const std::string& call, int returned,
             std::span<const std::string> lines) {
    static const std::map<char, DomResult> kResults = {{'!', kDomFailed},
                                                       {'?', kDomNothing},
                                                       {'=', kDomOk},
                                                       {'#', kDomNotImplemented},
                                                       {'-', kDomBadArgument}};
    SCOPED_TRACE(operation.outcomes + " with " + call);
    Subject subject = NewSubject();
    const DomResult result = kResults.at(call.back());
    m_script.Fail(call.substr(0, call.size() - 1).c_str(), result);
    const std::string shown = ShownBy([&] { EXPECT_EQ(operation.run(subject), returned); });
    m_script.Fail("nothing", kDomOk);
    EXPECT_EQ(subject.out, "before");
    EXPECT_EQ(subject.id, -5);
    CheckReports(result, lines, shown);
    std::string xml;
    const int isThere = subject.builder->GetXml(xml);
    EXPECT_EQ(isThere, subject.builder->HasDocument() ? 0 : -1);
    if (isThere != 0) return;
    EXPECT_EQ(WireOf(*subject.builder), xml) << "the stamped text stayed";
  }

 private:
  void CheckReports(DomResult result, std::span<const std::string> lines,
                    const std::string& shown) {
    char code[40];
    std::snprintf(code, sizeof code, "Error code: %x", static_cast<unsigned>(result));
    std::string expected;
    ASSERT_EQ(m_log.records.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const int line = std::stoi(lines[i]);
      const auto* const text = std::ranges::find_if(
          kTexts, [&](auto& one) { return std::ranges::count(one.second, line) > 0; });
      const auto [first, second] = Halves(Replaced(text->first, "@", code), '^');
      expected += Replaced(first, "[#~]", "") + (line == kWithoutBreak ? "" : "\n");
      const std::string logged = Replaced(second.empty() ? first : second, "~", "\n");
      const LogRecord& record = m_log.records[i];
      EXPECT_EQ(record.text, Replaced(logged, "#", std::string(" ") + code));
      EXPECT_EQ(record.line, std::abs(line));
      EXPECT_EQ(record.source, line > 0 ? "TLK_XMLBuilder" : "TLK_XMLParser");
      EXPECT_EQ(record.module, nullptr);
      EXPECT_TRUE(record.severity == 'E' && record.level == 0 && record.message == 1);
    }
    EXPECT_EQ(shown, expected);
  }

  static constexpr int kWithoutBreak = -135;  // alone
};

TEST_F(CodecFailuresTest, AreReturnedAndReported) {
  for (const Operation& operation : kOperations) {
    for (const std::string& outcome : Split(operation.outcomes, "; ")) {
      if (outcome.empty()) continue;
      const auto [known, calls] = Halves(outcome, ':');
      const std::vector<std::string> numbers = Split(known, " ");
      for (const std::string& call : Split(calls.substr(1), ", "))
        Check(operation, call, std::stoi(numbers[0]), std::span(numbers).subspan(1));
    }
  }
}

TEST_F(CodecFailuresTest, GoWithoutTheTextsThatAreLeftOutOrCannotBeHad) {
  const std::string before = "Failed to load DOM from source string. ";
  const std::string record = before + "\t\t\tError code: ";
  m_script.Fail("load|reason", kDomFailed);
  EXPECT_EQ(ShownBy([&] { Parser(m_codec, "<a/>"); }), before + "\n");
  EXPECT_EQ(m_log.records.back().text, record + "80004005\nReason : ");
  LeaveOutMessageTexts();
  m_script.Fail("load", kDomFailed);
  EXPECT_EQ(ShownBy([&] { Parser(m_codec, "<a/>"); }), before + "(3 bytes left out)\n");
  EXPECT_EQ(m_log.records.back().text, record + "0\nReason : (3 bytes left out)");
  LeaveOutMessageTexts(false);
}

TEST_F(CodecFailuresTest, OfTheGateNameThePlace) {
  m_script.calls.clear();
  const std::string shown =
      ShownBy([&] { EXPECT_FALSE(Builder(m_codec, "<a>\n</b>").HasDocument()); });
  EXPECT_THAT(m_script.calls, testing::Not(testing::Contains("load")));
  const std::string reason = "end tag does not match start tag, at byte 6";
  EXPECT_EQ(shown, "Failed to load DOM from source string. " + reason + "\n");
  ASSERT_EQ(m_log.records.size(), 1U);
  EXPECT_THAT(m_log.records[0].text, testing::EndsWith("\t\t\tError code: 0\nReason : " + reason));
}

// Whatever is longer than what is kept at hand for it, to the byte.
TEST_F(CodecFailuresTest, AreToldWhole) {
  constexpr Failure failure = {"%s", "%S", FailureValues::kTextThenCode, 7};
  for (const std::size_t size : {0U, 1U, 254U, 255U, 256U, 257U, 900U}) {
    const std::string text = std::string(size, 'x').append(size > 0 ? "z" : "");
    EXPECT_EQ(ShownBy([&] { ReportFailure(m_codec, "", failure, kDomFailed, text); }), text);
    EXPECT_EQ(m_log.records.back().text, text);
  }
}

TEST_F(CodecFailuresTest, RememberThatMemoryRanOutUntilItBeginsAnew) {
  for (const Operation& operation : kOperations) {
    for (const std::string& call : Split(operation.asking, ", ")) {
      for (const DomResult result : {kDomFailed, kDomOutOfMemory}) {
        if (call.empty()) continue;
        SCOPED_TRACE(operation.outcomes + " with " + call);
        Subject s = NewSubject();
        const auto lacks = [&] { return s.builder->LacksMemory() || s.parser->LacksMemory(); };
        m_script.Fail(call.c_str(), result);
        ShownBy([&] { operation.run(s); });
        EXPECT_EQ(lacks(), result == kDomOutOfMemory);
        m_script.Fail("nothing", kDomOk);
        EXPECT_EQ(s.builder->CreateMessage("Chat", 1, 0), 0);
        EXPECT_EQ(s.parser->LoadXml("<a/>"), 0);
        EXPECT_FALSE(lacks());
      }
    }
  }
}

TEST_F(CodecFailuresTest, AreSilentWithoutADocument) {
  Subject s = {m_codec, std::make_unique<Builder>(m_codec), nullptr};
  ShownBy([&] { s.parser = std::make_unique<Parser>(m_codec, "<a>"); });
  m_log.records.clear();
  for (const Operation& operation : kOperations) {
    if (operation.without == kNotAsked) continue;
    EXPECT_FALSE(s.builder->HasDocument() || s.parser->HasDocument());
    EXPECT_EQ(ShownBy([&] { EXPECT_EQ(operation.run(s), operation.without); }), "");
  }
  EXPECT_EQ(s.out, "before");
  EXPECT_EQ(s.id, -5);
  EXPECT_THAT(m_log.records, testing::IsEmpty());
}

}  // namespace
}  // namespace tlk
