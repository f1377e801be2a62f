#include <algorithm>

#include "log/MessageTexts.h"
#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

/// What the operations work on: a message with one reader and one writer, and places for answers.
struct Subject {
  const Codec& codec;
  TLK_XMLBuilder& builder;
  TLK_XMLParser& parser;
  std::string out = "before";
  std::int32_t id = -5;
};

using Operation = int (*)(Subject&);

/// The result of an operation that makes a new document, if there is one exactly upon success.
template <typename Holder>
int Made(int result, const Holder& holder) {
  return holder.HasDocument() == (result == 0) ? result : 99;
}

constexpr Operation kBuilderFrom = [](Subject& s) {
  return TLK_XMLBuilder(s.codec, "<a/>").HasDocument() ? 0 : -1;
};
constexpr Operation kParserFrom = [](Subject& s) {
  return TLK_XMLParser(s.codec, "<a/>").HasDocument() ? 0 : -1;
};
constexpr Operation kLoad = [](Subject& s) { return Made(s.builder.LoadXml("<a/>"), s.builder); };
constexpr Operation kLoadIn = [](Subject& s) { return Made(s.parser.LoadXml("<a/>"), s.parser); };
constexpr Operation kCreate = [](Subject& s) {
  return Made(s.builder.CreateMessage("Chat", 1, 0), s.builder);
};
constexpr Operation kSetLength = [](Subject& s) { return s.builder.SetLength(); };
constexpr Operation kEnsure = [](Subject& s) { return s.builder.EnsureDataElement(); };
constexpr Operation kAppend = [](Subject& s) { return s.builder.AppendData("<a/>"); };
constexpr Operation kSet = [](Subject& s) { return s.builder.SetNodeAttribute("/*", "a", "b"); };
constexpr Operation kNodeText = [](Subject& s) { return s.builder.GetNodeText("/*", s.out); };
constexpr Operation kGetXml = [](Subject& s) { return s.builder.GetXml(s.out); };
constexpr Operation kNode = [](Subject& s) { return s.parser.GetNode("Data", s.out, false); };
constexpr Operation kText = [](Subject& s) { return s.parser.GetNode("Data", s.out, true); };
constexpr Operation kGetData = [](Subject& s) { return s.parser.GetData(s.out); };
constexpr Operation kGetType = [](Subject& s) { return s.parser.GetType(s.out); };
constexpr Operation kGetId = [](Subject& s) { return s.parser.GetReceiverId(s.id); };
constexpr Operation kGet = [](Subject& s) {
  return s.parser.GetNodeAttribute("//To", "Id", s.out);
};
constexpr Operation kPayloads = [](Subject& s) {
  return std::min({s.builder.CreateMessage("Status", 1, 0, 2, "d"),
                   s.builder.AddConferenceList("c", 1, "d", 2),
                   s.builder.AddParticipantList("c", 1, 0, 2, "d")});
};
constexpr const char* kList = "<Attribute_List><a/></Attribute_List>";
constexpr Operation kAdd = [](Subject& s) { return s.builder.AddAttributes(kList); };
constexpr Operation kUpdateAndDelete = [](Subject& s) {
  s.builder.AppendData(kList);
  const int updated = s.builder.UpdateAttributes(kList);
  return 10 * updated + s.builder.DeleteAttributes(kList);
};
constexpr Operation kGetRoot = [](Subject& s) {
  DomNode root = nullptr;
  return s.parser.GetRootElement(root);
};

/// Which calls of the DOM fail and how, and what an operation then returns, shows and records.
struct Row {
  Operation run;
  const char* call;
  DomResult result;
  int returned;
  std::string shown = {};
  std::string logged = {};
};

class CodecFailuresTest : public CodecTest {
 protected:
  void Check(const Row& row, const char* source) {
    SCOPED_TRACE(std::string(source) + ": " + row.call + ", " + row.logged);
    const auto builder = NewMessage();
    TLK_XMLParser parser(m_codec, "<TLK_Message Type='t'><To Id='3'/><Data>d</Data></TLK_Message>");
    Subject subject = {m_codec, *builder, parser};
    m_script.Fail(row.call, row.result);
    EXPECT_EQ(ShownBy([&] { EXPECT_EQ(row.run(subject), row.returned); }), row.shown);
    m_script.Fail("nothing", kDomOk);
    EXPECT_EQ(subject.out, "before");
    EXPECT_EQ(subject.id, -5);
    CheckRecords(row.logged, source);
  }

 private:
  void CheckRecords(const std::string& logged, const char* source) {
    std::string texts;
    for (const LogRecord& record : m_log.records) {
      EXPECT_EQ(record.severity, 'E');
      EXPECT_EQ(record.module, nullptr);
      EXPECT_EQ(record.level, 0);
      EXPECT_EQ(record.message, 1U);
      EXPECT_EQ(record.source, source);
      EXPECT_GT(record.line, 0);
      texts += record.text;
    }
    EXPECT_EQ(texts, logged);
    m_log.records.clear();
  }
};

TEST_F(CodecFailuresTest, OfMakingADocument) {
  const Row steps[] = {
      {nullptr, "new", kDomFailed, -1,
       "Failed to CoCreate an instance of an XML DOM\nError code: 80004005\n",
       "Failed to CoCreate an instance of an XML DOM. Error code: 80004005"},
      {nullptr, "async", kDomFailed, -1, "Failed to set async property\n",
       "Failed to set async property. Error code: 80004005"},
      {nullptr, "validate", kDomFailed, -1, "Failed to set validateOnParse\n",
       "Failed to set validateOnParse. Error code: 80004005"},
      {nullptr, "resolve", kDomFailed, -1, "Failed to disable resolving externals.\n",
       "Failed to disable resolving externals. Error code: 80004005"}};
  for (Row row : steps) {
    for (const Operation operation : {kLoad, kLoadIn, kBuilderFrom, kParserFrom, kCreate}) {
      if (operation == kBuilderFrom) row.logged += "\n";  // from here on
      row.run = operation;
      const bool parser = operation == kLoadIn || operation == kParserFrom;
      Check(row, parser ? "TLK_XMLParser" : "TLK_XMLBuilder");
    }
  }
}

// Some texts speak of `From` whatever element could not be made, and the code that goes with the
// reason of a parse error is that of asking for it.
TEST_F(CodecFailuresTest, OfADocumentThatIsThere) {
  const std::string noParse = "Failed to load DOM from source string. ";
  const std::string noFrom = "Failed to create From element.";
  const std::string noRoot = "Failed to get document element.";
  const std::string noElement = "Failed to get element from node.";
  const std::string failed = " Error code: 80004005\n";
  const std::string none = " Error code: 1\n";
  const Row rows[] = {
      {kBuilderFrom, "load", kDomOk, -1, noParse + "bad\n",
       noParse + "\t\t\tError code: 0\nReason : bad"},
      {kBuilderFrom, "load|reason", kDomFailed, -1, noParse + "\n",
       noParse + "\t\t\tError code: 80004005\nReason : "},
      {kBuilderFrom, "xpath", kDomFailed, 0},
      {kLoad, "load", kDomFailed, -1, "Failed to load XML.\n",
       "Failed to load XML. Error code: 80004005"},
      {kLoad, "load", kDomOk, 0},
      {kLoad, "xpath", kDomFailed, 0},
      {kCreate, "create", kDomFailed, -1, "Failed to create root element.\n",
       "Failed to create root element." + failed},
      {kCreate, "create From", kDomFailed, -1, noFrom + "\n", noFrom + failed},
      {kCreate, "create From", kDomNothing, -1, noFrom + "\n", noFrom + none},
      {kCreate, "create To", kDomFailed, -1, noFrom + "\n", noFrom + failed},
      {kCreate, "create To", kDomNothing, -1, noFrom + "\n", noFrom + none},
      {kCreate, "set|root", kDomFailed, 0},
      {kSetLength, "get root", kDomFailed, -1, noRoot + "\n", noRoot + failed},
      {kSetLength, "get root", kDomNothing, -1, noRoot + "\n", noRoot + none},
      {kSetLength, "xml|set", kDomFailed, 0},
      {kEnsure, "get root", kDomFailed, -1, noRoot + "\n", noRoot + failed},
      {kEnsure, "get root", kDomNothing, -1, noRoot + "\n", noRoot + none},
      {kEnsure, "create", kDomFailed, 0, noFrom + "\n" + noRoot + "\n",
       noFrom + failed + "Failed to get create data element.\n"},
      {kEnsure, "append", kDomFailed, 0},
      {kAppend, "select", kDomNothing, -1, noRoot + "\n", noRoot + none},
      {kAppend, "select", kDomFailed, -1, noRoot + "\n", noRoot + failed},
      {kAppend, "get root", kDomFailed, -1, noRoot + "\n" + noRoot + "\n",
       noRoot + failed + noRoot + none},
      {kSet, "element", kDomNothing, -1, noElement + "\n", noElement + none},
      {kSet, "element", kDomFailed, -1, noElement + "\n", noElement + failed},
      {kSet, "select", kDomFailed, -1},
      {kSet, "set", kDomFailed, 0},
      {kNodeText, "select", kDomFailed, -1},
      {kNodeText, "select", kDomNotImplemented, -1, "Failed node does not exist. /*.\n",
       "Failed node does not exist. /*. Error code: 80004001"},
      {kNodeText, "text", kDomNothing, -2},
      {kGetXml, "xml", kDomNothing, -1},
      {kGetXml, "xml", kDomFailed, -1},
  };
  for (const Row& row : rows) Check(row, "TLK_XMLBuilder");

  const std::string noNode = "Failed node does not exist. Data.";
  const Row parserRows[] = {
      {kParserFrom, "load", kDomFailed, -1, noParse + "bad\n",
       noParse + "\t\t\tError code: 0\nReason : bad"},
      {kLoadIn, "load", kDomFailed, -1, "Failed to load XML.",
       "Failed to load XML. Error code: 80004005"},
      {kLoadIn, "load", kDomOk, 0},
      {kNode, "get root", kDomFailed, -1, "Failed to get root element.\n",
       "Failed to get root element. Error code: 80004005\n"},
      {kNode, "select", kDomFailed, -1, noNode + "\n", noNode + " Error code: 80004005"},
      {kNode, "select", kDomNothing, -1, noNode + "\n", noNode + " Error code: 1"},
      {kNode, "xml", kDomNothing, -2},
      {kText, "text", kDomFailed, -2},
      {kGetData, "xml", kDomFailed, 0},
      {kGetType, "get root", kDomFailed, -1},
      {kGetType, "get root", kDomNothing, -1},
      {kGetType, "attribute", kDomFailed, -2},
      {kGetId, "get root", kDomFailed, -1},
      {kGetId, "select", kDomFailed, -2},
      {kGetId, "attribute", kDomFailed, -2},
      {kGet, "element", kDomNothing, -1, "Failed to get element from node.\n",
       "Failed to get element from node. Error code: 1\n"},
      {kGet, "select", kDomNotImplemented, -1, "Failed node does not exist. //To.\n",
       "Failed node does not exist. //To. Error code: 80004001"},
      {kGet, "attribute", kDomFailed, -1},
      {kGetRoot, "get root", kDomFailed, 0},
  };
  for (const Row& row : parserRows) Check(row, "TLK_XMLParser");
}

TEST_F(CodecFailuresTest, GoWithoutTheTextsThatAreLeftOut) {
  const std::string noParse = "Failed to load DOM from source string. ";
  const std::string noNode = "Failed node does not exist. (4 bytes left out).";
  LeaveOutMessageTexts();
  Check({kParserFrom, "load", kDomFailed, -1, noParse + "(3 bytes left out)\n",
         noParse + "\t\t\tError code: 0\nReason : (3 bytes left out)"},
        "TLK_XMLParser");
  Check({kNode, "select", kDomNothing, -1, noNode + "\n", noNode + " Error code: 1"},
        "TLK_XMLParser");
  LeaveOutMessageTexts(false);
}

TEST_F(CodecFailuresTest, OfLists) {
  const std::string noFrom = "Failed to create From element.\n";
  const std::string noFromRecord = "Failed to create From element. Error code: 80004005\n";
  const std::string noRoot = "Failed to get document element.\n";
  const std::string noData = "Failed to find Data element.\nFailed to find Data element.\n";
  const std::string nothing = "Failed to find DataElement.\n" + noData;
  const Row rows[] = {
      {kPayloads, "select", kDomNothing, 0, nothing, nothing},
      {kPayloads, "get root", kDomNothing, 0, noRoot + nothing,
       "Failed to get document element. Error code: 1\n" + nothing},
      {kPayloads, "element", kDomNothing, 0, noRoot, "Failed to get create data element.\n"},
      {kPayloads, "set", kDomFailed, 0},
      {kPayloads, "create Participant_L", kDomFailed, 0, noFrom, noFromRecord},
      {kAdd, "create", kDomFailed, -1, noFrom, noFromRecord},
      {kUpdateAndDelete, "base name", kDomFailed, -11},
      {kUpdateAndDelete, "remove", kDomFailed, -1},
      {kUpdateAndDelete, "replace", kDomFailed, -10},
  };
  for (const Row& row : rows) Check(row, "TLK_XMLBuilder");
  for (const std::string part : {"Status", "Value", "Description", "Conference", "Participant"}) {
    const std::string call = "create " + part + "$";
    const std::string text = "Failed to create " + part + " element.\n";
    Check({kPayloads, call.c_str(), kDomFailed, 0, noFrom + text, noFromRecord + text},
          "TLK_XMLBuilder");
  }
}

TEST_F(CodecFailuresTest, OfTheGateNameThePlace) {
  const std::string shown =
      ShownBy([&] { EXPECT_FALSE(TLK_XMLBuilder(m_codec, "<a>\n</b>").HasDocument()); });
  EXPECT_THAT(m_script.calls, testing::Not(testing::Contains("load")));
  EXPECT_EQ(shown,
            "Failed to load DOM from source string. end tag does not match start tag, at byte 6\n");
  ASSERT_EQ(m_log.records.size(), 1U);
  EXPECT_THAT(m_log.records[0].text, testing::EndsWith("\nReason : end tag does not match start "
                                                       "tag, at byte 6"));
}

TEST_F(CodecFailuresTest, RemembersThatMemoryRanOutUntilItBeginsAnew) {
  const std::pair<Operation, const char*> steps[] = {
      {kSetLength, "set Length"},
      {kSetLength, "get root"},
      {kSet, "element"},
      {kSet, "set"},
      {kNodeText, "select"},
      {kNodeText, "text"},
      {kPayloads, "set text"},
      {kUpdateAndDelete, "remove"},
      {kUpdateAndDelete, "replace"},
      {kUpdateAndDelete, "sibling"},
      {kUpdateAndDelete, "append$"},
  };
  for (const auto& [run, call] : steps) {
    const auto builder = NewMessage();
    TLK_XMLParser parser(m_codec, "<m/>");
    Subject subject = {m_codec, *builder, parser};
    m_script.Fail(call, kDomOutOfMemory);
    ShownBy([&, operation = run] { operation(subject); });
    EXPECT_TRUE(builder->LacksMemory()) << call;
    m_script.Fail("nothing", kDomOk);
    EXPECT_EQ(builder->CreateMessage("Chat", 1, 2), 0);
    EXPECT_FALSE(builder->LacksMemory()) << call;
  }
}

}  // namespace
}  // namespace tlk
