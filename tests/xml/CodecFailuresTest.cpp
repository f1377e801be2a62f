#include <gmock/gmock.h>

#include <functional>

#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

using CodecFailuresTest = CodecTest;
INSTANTIATE_TEST_SUITE_P(Doms, CodecFailuresTest, testing::Values(kPugixml), DomName);

constexpr bool kNone = false;
constexpr bool kHeld = true;

// What a failing operation leaves behind.
struct Outcome {
  int result = 0;
  bool hasDocument = false;
};

struct Logged {
  std::int32_t line;
  const char* text;
};

// One row: which call fails and how, and what an operation then returns, shows and records.
struct Row {
  DomCall call;
  int nth;
  DomResult result;
  int returned;
  bool document;
  const char* shown;
  std::vector<Logged> logged;
};

// Checks the rows of a table. `prepare` is done before the failure is set up.
class Table {
 public:
  Table(DomScript& script, RecordingLogger& log, const char* source)
      : m_script(script), m_log(log), m_source(source) {}

  template <typename Prepare, typename Operation>
  void Check(const std::vector<Row>& rows, Prepare prepare, Operation operation) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      SCOPED_TRACE("row " + std::to_string(i));
      const auto subject = prepare();
      m_log.records.clear();
      m_script.Fail(rows[i].call, rows[i].result, rows[i].nth);
      testing::internal::CaptureStdout();
      const Outcome outcome = operation(*subject);
      const std::string shown = testing::internal::GetCapturedStdout();
      m_script.Fail(DomCall::kNone, kDomOk);
      EXPECT_EQ(outcome.result, rows[i].returned);
      EXPECT_EQ(outcome.hasDocument, rows[i].document);
      EXPECT_EQ(shown, rows[i].shown);
      CheckRecords(rows[i].logged);
    }
  }

 private:
  void CheckRecords(const std::vector<Logged>& logged) {
    ASSERT_EQ(m_log.records.size(), logged.size());
    for (std::size_t i = 0; i < logged.size(); ++i) {
      const LogRecord& record = m_log.records[i];
      EXPECT_EQ(record.severity, 'E');
      EXPECT_EQ(record.module, nullptr);
      EXPECT_EQ(record.level, 0);
      EXPECT_EQ(record.message, 1U);
      EXPECT_EQ(record.source, m_source);
      EXPECT_EQ(record.line, logged[i].line);
      EXPECT_EQ(record.text, logged[i].text);
    }
  }

  DomScript& m_script;
  RecordingLogger& m_log;
  const char* m_source;
};

// The steps before a text is parsed, which three operations of the builder and two of the parser
// share but for line numbers and the log texts' ends.
std::vector<Row> SetUpRows(int returned, const char* end, std::vector<std::int32_t> lines) {
  static std::vector<std::string> texts;
  texts.reserve(64);  // the rows point into it
  const auto text = [end](const char* start) {
    return texts.emplace_back(std::string(start) + " Error code: 80004005" + end).c_str();
  };
  return {
      {DomCall::kNewDocument,
       1,
       kDomFailed,
       returned,
       kNone,
       "Failed to CoCreate an instance of an XML DOM\nError code: 80004005\n",
       {{lines[0], text("Failed to CoCreate an instance of an XML DOM.")}}},
      {DomCall::kSetAsync,
       1,
       kDomFailed,
       returned,
       kNone,
       "Failed to set async property\n",
       {{lines[1], text("Failed to set async property.")}}},
      {DomCall::kSetValidateOnParse,
       1,
       kDomFailed,
       returned,
       kNone,
       "Failed to set validateOnParse\n",
       {{lines[2], text("Failed to set validateOnParse.")}}},
      {DomCall::kSetResolveExternals,
       1,
       kDomFailed,
       returned,
       kNone,
       "Failed to disable resolving externals.\n",
       {{lines[3], text("Failed to disable resolving externals.")}}},
  };
}

// The construction from a text that the DOM cannot parse; its reason is "bad".
std::vector<Row> ParseRows(std::int32_t line) {
  return {
      {DomCall::kLoadXml,
       1,
       kDomOk,
       0,
       kNone,
       "Failed to load DOM from source string. bad\n",
       {{line, "Failed to load DOM from source string. \t\t\tError code: 0\nReason : bad"}}},
      {DomCall::kLoadXml,
       1,
       kDomFailed,
       0,
       kNone,
       "Failed to load DOM from source string. bad\n",
       {{line, "Failed to load DOM from source string. \t\t\tError code: 0\nReason : bad"}}},
      {DomCall::kSelectXPath, 1, kDomFailed, 0, kHeld, "", {}},
  };
}

const auto kNothing = [] { return std::make_unique<int>(); };

TEST_P(CodecFailuresTest, BuilderFromText) {
  Script().reason = "bad";
  const auto construct = [&](int) {
    return Outcome{0, TLK_XMLBuilder(m_codec, "<a/>").HasDocument()};
  };
  Table table(Script(), m_log, "TLK_XMLBuilder");
  table.Check(SetUpRows(0, "\n", {38, 46, 54, 62}), kNothing, construct);
  table.Check(ParseRows(77), kNothing, construct);
}

TEST_P(CodecFailuresTest, ParserFromText) {
  Script().reason = "bad";
  const auto construct = [&](int) {
    return Outcome{0, TLK_XMLParser(m_codec, "<a/>").HasDocument()};
  };
  Table table(Script(), m_log, "TLK_XMLParser");
  table.Check(SetUpRows(0, "\n", {33, 41, 49, 57}), kNothing, construct);
  table.Check(ParseRows(72), kNothing, construct);
}

// The code that is recorded is that of reading the reason.
TEST_P(CodecFailuresTest, ReasonThatCannotBeRead) {
  const std::vector<Row> rows = {
      {DomCall::kParseErrorReason,
       1,
       kDomFailed,
       0,
       kNone,
       "Failed to load DOM from source string. \n",
       {{77, "Failed to load DOM from source string. \t\t\tError code: 80004005\nReason : "}}}};
  Script().parses = false;
  Table(Script(), m_log, "TLK_XMLBuilder").Check(rows, kNothing, [&](int) {
    return Outcome{0, TLK_XMLBuilder(m_codec, "<a/>").HasDocument()};
  });
}

TEST_P(CodecFailuresTest, TextThatTheGateRefuses) {
  const std::string shown =
      ShownBy([&] { EXPECT_FALSE(TLK_XMLBuilder(m_codec, "<a>\n</b>").HasDocument()); });
  EXPECT_THAT(Script().calls, testing::Not(testing::Contains("load")));
  EXPECT_THAT(shown,
              testing::MatchesRegex("Failed to load DOM from source string. .+, at byte [0-9]+\n"));
  ASSERT_EQ(m_log.records.size(), 1U);
  EXPECT_THAT(m_log.records[0].text,
              testing::MatchesRegex("Failed to load DOM from source string. \t\t\tError code: 0\n"
                                    "Reason : .+, at byte [0-9]+"));
}

TEST_P(CodecFailuresTest, BuilderLoadXml) {
  const auto load = [](TLK_XMLBuilder& builder) {
    const int result = builder.LoadXml("<a/>");
    return Outcome{result, builder.HasDocument()};
  };
  const std::vector<Row> rows = {{DomCall::kLoadXml,
                                  1,
                                  kDomFailed,
                                  -1,
                                  kNone,
                                  "Failed to load XML.\n",
                                  {{143, "Failed to load XML. Error code: 80004005"}}},
                                 {DomCall::kLoadXml, 1, kDomOk, 0, kHeld, "", {}},
                                 {DomCall::kSelectXPath, 1, kDomFailed, 0, kHeld, "", {}}};
  Table table(Script(), m_log, "TLK_XMLBuilder");
  const auto prepare = [&] { return NewMessage(); };
  table.Check(SetUpRows(-1, "", {112, 119, 126, 133}), prepare, load);
  table.Check(rows, prepare, load);
}

TEST_P(CodecFailuresTest, ParserLoadXml) {
  const auto load = [](TLK_XMLParser& parser) {
    const int result = parser.LoadXml("<a/>");
    return Outcome{result, parser.HasDocument()};
  };
  const std::vector<Row> rows = {{DomCall::kLoadXml,
                                  1,
                                  kDomFailed,
                                  -1,
                                  kNone,
                                  "Failed to load XML.",
                                  {{135, "Failed to load XML. Error code: 80004005"}}},
                                 {DomCall::kLoadXml, 1, kDomOk, 0, kHeld, "", {}}};
  Table table(Script(), m_log, "TLK_XMLParser");
  const auto prepare = [&] { return std::make_unique<TLK_XMLParser>(m_codec, "<b/>"); };
  table.Check(SetUpRows(-1, "", {104, 111, 118, 125}), prepare, load);
  table.Check(rows, prepare, load);
}

TEST_P(CodecFailuresTest, CreateMessage) {
  const auto create = [](TLK_XMLBuilder& builder) {
    const int result = builder.CreateMessage("Chat", 1, 0);
    return Outcome{result, builder.HasDocument()};
  };
  const char* const shown = "Failed to create From element.\n";
  const char* const failed = "Failed to create From element. Error code: 80004005\n";
  const char* const none = "Failed to create From element. Error code: 1\n";
  const std::vector<Row> rows = {
      {DomCall::kCreateElement,
       1,
       kDomFailed,
       -1,
       kNone,
       "Failed to create root element.\n",
       {{211, "Failed to create root element. Error code: 80004005\n"}}},
      {DomCall::kCreateElement, 2, kDomFailed, -1, kNone, shown, {{230, failed}}},
      {DomCall::kCreateElement, 2, kDomNothing, -1, kNone, shown, {{230, none}}},
      {DomCall::kCreateElement, 3, kDomFailed, -1, kNone, shown, {{246, failed}}},
      {DomCall::kCreateElement, 3, kDomNothing, -1, kNone, shown, {{246, none}}},
      {DomCall::kSetAttribute, DomScript::kEachTime, kDomFailed, 0, kHeld, "", {}},
      {DomCall::kSetDocumentElement, 1, kDomFailed, 0, kHeld, "", {}},
  };
  Table table(Script(), m_log, "TLK_XMLBuilder");
  const auto prepare = [&] { return NewMessage(); };
  table.Check(SetUpRows(-1, "\n", {178, 186, 194, 202}), prepare, create);
  table.Check(rows, prepare, create);
}

// An operation on a message that is already there; the message stays.
using MessageOperation = std::function<int(TLK_XMLBuilder&)>;

TEST_P(CodecFailuresTest, OperationsOnAMessage) {
  const char* const shown = "Failed to get document element.\n";
  const char* const failed = "Failed to get document element. Error code: 80004005\n";
  const char* const none = "Failed to get document element. Error code: 1\n";
  const char* const notAnElement = "Failed to get element from node.\n";
  std::string out;
  const struct {
    MessageOperation run;
    std::vector<Row> rows;
  } cases[] = {
      {[](TLK_XMLBuilder& builder) { return builder.SetLength(); },
       {{DomCall::kDocumentElement, 1, kDomFailed, -1, kHeld, shown, {{336, failed}}},
        {DomCall::kDocumentElement, 1, kDomNothing, -1, kHeld, shown, {{336, none}}},
        {DomCall::kXml, 1, kDomFailed, 0, kHeld, "", {}},
        {DomCall::kSetAttribute, 1, kDomFailed, 0, kHeld, "", {}}}},
      {[](TLK_XMLBuilder& builder) { return builder.EnsureDataElement(); },
       {{DomCall::kDocumentElement, 1, kDomFailed, -1, kHeld, shown, {{391, failed}}},
        {DomCall::kDocumentElement, 1, kDomNothing, -1, kHeld, shown, {{391, none}}},
        {DomCall::kCreateElement,
         1,
         kDomFailed,
         0,
         kHeld,
         "Failed to create From element.\nFailed to get document element.\n",
         {{291, "Failed to create From element. Error code: 80004005\n"},
          {409, "Failed to get create data element.\n"}}},
        {DomCall::kAppendChild, 1, kDomFailed, 0, kHeld, "", {}}}},
      {[](TLK_XMLBuilder& builder) { return builder.AppendData("<a/>"); },
       {{DomCall::kSelectNode, DomScript::kEachTime, kDomNothing, -1, kHeld, shown, {{445, none}}},
        {DomCall::kSelectNode, DomScript::kEachTime, kDomFailed, -1, kHeld, shown, {{445, failed}}},
        {DomCall::kDocumentElement,
         1,
         kDomFailed,
         -1,
         kHeld,
         "Failed to get document element.\nFailed to get document element.\n",
         {{391, failed}, {445, none}}},
        {DomCall::kDocumentElement, 2, kDomFailed, 0, kHeld, "", {}}}},
      {[](TLK_XMLBuilder& builder) { return builder.SetNodeAttribute("/*", "a", "b"); },
       {{DomCall::kAsElement,
         1,
         kDomNothing,
         -1,
         kHeld,
         notAnElement,
         {{368, "Failed to get element from node. Error code: 1\n"}}},
        {DomCall::kAsElement,
         1,
         kDomFailed,
         -1,
         kHeld,
         notAnElement,
         {{368, "Failed to get element from node. Error code: 80004005\n"}}},
        {DomCall::kSelectNode, 1, kDomFailed, -1, kHeld, "", {}},
        {DomCall::kSetAttribute, 1, kDomFailed, 0, kHeld, "", {}}}},
      {[&out](TLK_XMLBuilder& builder) { return builder.GetNodeText("/*", out); },
       {{DomCall::kSelectNode, 1, kDomFailed, -1, kHeld, "", {}},
        {DomCall::kText, 1, kDomNothing, -2, kHeld, "", {}},
        {DomCall::kText, 1, kDomFailed, -2, kHeld, "", {}}}},
      {[&out](TLK_XMLBuilder& builder) { return builder.GetXml(out); },
       {{DomCall::kXml, 1, kDomNothing, -1, kHeld, "", {}},
        {DomCall::kXml, 1, kDomFailed, -1, kHeld, "", {}}}},
  };
  Table table(Script(), m_log, "TLK_XMLBuilder");
  for (const auto& one : cases) {
    SCOPED_TRACE("operation " + std::to_string(&one - cases));
    table.Check(
        one.rows, [&] { return NewMessage(); },
        [&](TLK_XMLBuilder& builder) {
          const int result = one.run(builder);
          return Outcome{result, builder.HasDocument()};
        });
  }
}

using ParserOperation = std::function<int(TLK_XMLParser&)>;

TEST_P(CodecFailuresTest, Reading) {
  const char* const missing = "Failed node does not exist. Data.\n";
  const std::vector<Row> nodeRows = {
      {DomCall::kDocumentElement,
       1,
       kDomFailed,
       -1,
       kHeld,
       "Failed to get root element.\n",
       {{238, "Failed to get root element. Error code: 80004005\n"}}},
      {DomCall::kSelectNode,
       1,
       kDomFailed,
       -1,
       kHeld,
       missing,
       {{249, "Failed node does not exist. Data. Error code: 80004005"}}},
      {DomCall::kSelectNode,
       1,
       kDomNothing,
       -1,
       kHeld,
       missing,
       {{249, "Failed node does not exist. Data. Error code: 1"}}},
      {DomCall::kXml, 1, kDomFailed, -2, kHeld, "", {}},
      {DomCall::kXml, 1, kDomNothing, -2, kHeld, "", {}},
  };
  std::string out = "before";
  std::int32_t id = -5;
  const struct {
    ParserOperation run;
    std::vector<Row> rows;
  } cases[] = {
      {[&](TLK_XMLParser& parser) { return parser.GetNode("Data", out, false); }, nodeRows},
      {[&](TLK_XMLParser& parser) { return parser.GetNode("Data", out, true); },
       {{DomCall::kText, 1, kDomFailed, -2, kHeld, "", {}}}},
      {[&](TLK_XMLParser& parser) { return parser.GetData(out); },
       {{DomCall::kXml, 1, kDomFailed, 0, kHeld, "", {}}}},
      {[&](TLK_XMLParser& parser) { return parser.GetType(out); },
       {{DomCall::kDocumentElement, 1, kDomFailed, -1, kHeld, "", {}},
        {DomCall::kDocumentElement, 1, kDomNothing, -1, kHeld, "", {}},
        {DomCall::kAttribute, 1, kDomFailed, -2, kHeld, "", {}}}},
      {[&](TLK_XMLParser& parser) { return parser.GetReceiverId(id); },
       {{DomCall::kDocumentElement, 1, kDomFailed, -1, kHeld, "", {}},
        {DomCall::kSelectNode, 1, kDomFailed, -2, kHeld, "", {}},
        {DomCall::kAttribute, 1, kDomFailed, -2, kHeld, "", {}}}},
      {[&](TLK_XMLParser& parser) { return parser.GetNodeAttribute("//To", "Id", out); },
       {{DomCall::kAsElement,
         1,
         kDomNothing,
         -1,
         kHeld,
         "Failed to get element from node.\n",
         {{324, "Failed to get element from node. Error code: 1\n"}}},
        {DomCall::kAttribute, 1, kDomFailed, -1, kHeld, "", {}}}},
      {[](TLK_XMLParser& parser) {
         DomNode root = nullptr;
         const int result = parser.GetRootElement(root);
         return root == nullptr ? result : 99;
       },
       {{DomCall::kDocumentElement, 1, kDomFailed, 0, kHeld, "", {}}}},
  };
  const auto prepare = [&] {
    return std::make_unique<TLK_XMLParser>(
        m_codec, "<TLK_Message Type='t'><To Id='3'/><Data>d</Data></TLK_Message>");
  };
  Table table(Script(), m_log, "TLK_XMLParser");
  for (const auto& one : cases) {
    SCOPED_TRACE("operation " + std::to_string(&one - cases));
    table.Check(one.rows, prepare, [&](TLK_XMLParser& parser) {
      const int result = one.run(parser);
      return Outcome{result, parser.HasDocument()};
    });
  }
  EXPECT_EQ(out, "before");
  EXPECT_EQ(id, -5);
}

}  // namespace
}  // namespace tlk
