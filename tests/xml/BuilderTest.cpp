#include <functional>

#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class BuilderTest : public CodecTest {
 protected:
  /// The calls of the DOM that something makes.
  std::string StepsOf(const std::function<int()>& operation) {
    m_script.calls.clear();
    EXPECT_EQ(operation(), 0);
    std::string steps;
    for (const std::string& call : m_script.calls) steps += steps.empty() ? call : ", " + call;
    return steps;
  }

  static std::string Stamp(std::size_t length) {
    const std::string digits = std::to_string(length);
    return "Length=" + std::string(7 - std::min<std::size_t>(7, digits.size()), '0') + digits;
  }
};

TEST_F(BuilderTest, CreatesTheEnvelopeOfTheWire) {
  TLK_XMLBuilder builder(m_codec);
  ASSERT_EQ(builder.CreateMessage("Status", -1, 2147483647), 0);
  EXPECT_EQ(XmlOf(builder), R"(<TLK_Message Length="0000000" xmlns="" Type="Status">)"
                            R"(<From Id="-1"/><To Id="2147483647"/></TLK_Message>)");
  ASSERT_EQ(builder.CreateMessage(std::string_view("ab\0cd", 5), 1, 0), 0);
  EXPECT_THAT(XmlOf(builder), HasSubstr(R"( Type="ab">)"));
}

TEST_F(BuilderTest, TakesItsStepsInTheirOrder) {
  const std::string setUp = "new, async off, validate off, resolve off, ";
  const std::string list = "<Attribute_List><b/><c/></Attribute_List>";
  TLK_XMLBuilder builder(m_codec);
  EXPECT_EQ(StepsOf([&] { return builder.CreateMessage("Chat", 5, 0); }),
            setUp +
                "create TLK_Message, set Length=0000000, set xmlns=, set Type=Chat, root, "
                "create From, set Id=5, append, create To, set Id=0, append");
  EXPECT_THAT(StepsOf([&] { return builder.SetLength(); }),
              StartsWith("xml, get root, set Length=0000"));
  EXPECT_THAT(StepsOf([&] { return builder.AppendData(list); }),
              AnyOf("xpath, select, get root, create Data, append, xpath, select, read into",
                    "xpath, select, get root, create Data, append, xpath, select, " + setUp +
                        "xpath, load, get root, append"));
  EXPECT_EQ(StepsOf([&] { return builder.AddAttributes(list); }),
            setUp +
                "xpath, load, xpath, select, child, xpath, select, sibling, append, sibling, "
                "append");
  EXPECT_EQ(StepsOf([&] { return builder.LoadXml("<TLK_Message><To Id='5'/></TLK_Message>"); }),
            setUp + "xpath, load");
  TLK_XMLParser parser(m_codec, "<m><To Id='5'/><Data/></m>");
  std::string out;
  std::int32_t id = 0;
  EXPECT_EQ(StepsOf([&] { return parser.GetReceiverId(id); }),
            "get root, xpath, select, attribute Id");
  EXPECT_EQ(StepsOf([&] { return parser.GetData(out); }), "xpath, get root, select, xml");
  EXPECT_EQ(StepsOf([&] { return parser.GetNodeAttribute("//To", "Id", out); }),
            "xpath, select, element, attribute Id");
}

TEST_F(BuilderTest, StampsTheLengthOfWhatItSends) {
  const auto builder = NewMessage();
  ASSERT_EQ(builder->AppendData("<Line>caf\xE9 \x80 &lt;&#10;&#x4E2D;</Line>"), 0);
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(builder->SetLength(), 0);
    const std::string xml = WireOf(*builder);
    EXPECT_THAT(Replaced(xml, "\"", ""),
                StartsWith("<TLK_Message " + Stamp(xml.size()) + " xmlns="));
    EXPECT_EQ(WireOf(*builder), xml) << "the text at hand and the one written anew differ";
  }
}

TEST_F(BuilderTest, StampsDocumentsThatItDidNotMake) {
  for (const char* loaded :
       {"<m/>", R"(<TLK_Message Length="0"/>)", R"(<TLK_Message Length="12345678"/>)",
        R"(<!--x--><TLK_Message Length="0000000"/>)"}) {
    TLK_XMLBuilder builder(m_codec, loaded);
    const std::size_t length = WireOf(builder).size();
    EXPECT_EQ(builder.SetLength(), 0);
    EXPECT_THAT(Replaced(WireOf(builder), "\"", ""), HasSubstr(Stamp(length) + "/>")) << loaded;
  }
}

TEST_F(BuilderTest, StampsWithMoreDigitsWhatNeedsThemAndWithNoneWhatItCannotMeasure) {
  const auto builder = NewMessage();
  const std::size_t size = WireOf(*builder).size();
  for (const std::size_t length : {9'999'999U, 10'000'000U}) {
    m_script.tail = std::string(length - size, 'y');
    EXPECT_THAT(StepsOf([&] { return builder->SetLength(); }), HasSubstr(Stamp(length)));
    m_script.tail.clear();
  }
  m_script.Fail("xml", kDomFailed);
  EXPECT_THAT(StepsOf([&] { return builder->SetLength(); }), HasSubstr(Stamp(0)));
}

// No DOM gives what is behind a zero byte, but one that does is read as one that does not.
TEST_F(BuilderTest, ReadsNothingBehindAZeroByte) {
  m_script.tail = std::string("\0behind", 7);
  const auto builder = NewMessage();
  TLK_XMLParser parser(m_codec, "<m><Data>d</Data></m>");
  DomNode root = nullptr;
  parser.GetRootElement(root);
  const std::function<int(std::string&)> readers[] = {
      [&](auto& out) { return builder->GetXml(out); },
      [&](auto& out) { return builder->GetNodeText("//To/@Id", out); },
      [&](auto& out) { return parser.GetData(out); },
      [&](auto& out) { return parser.GetNode("Data", out, true); },
      [&](auto& out) { return parser.GetNodeXml(root, out); }};
  for (const auto& read : readers) {
    std::string out;
    EXPECT_EQ(read(out), 0);
    EXPECT_THAT(out, AllOf(Not(IsEmpty()), Not(HasSubstr("behind"))));
  }
}

TEST_F(BuilderTest, AppendsPayloadsInOrderUnderOneDataWhereverItIs) {
  const auto builder = NewMessage();
  EXPECT_EQ(builder->EnsureDataElement(), 0);
  EXPECT_EQ(builder->EnsureDataElement(), 0);
  EXPECT_EQ(builder->AppendData("<?xml version='1.0' encoding='UTF-8'?><!--c--><a>1</a>"), 0);
  EXPECT_EQ(builder->AppendData("<b x='2'><c/></b>"), 0);
  EXPECT_THAT(XmlOf(*builder),
              HasSubstr(R"(<To Id="0"/><Data><a>1</a><b x="2"><c/></b></Data></TLK_Message>)"));
  ASSERT_EQ(builder->LoadXml("<m><n xmlns='urn:n'><Data/><o xmlns=''><Data/></o></n></m>"), 0);
  ASSERT_EQ(builder->AppendData("<p/>"), 0);
  EXPECT_THAT(XmlOf(*builder), HasSubstr(R"(<Data/><o xmlns=""><Data><p/></Data></o>)"));
}

TEST_F(BuilderTest, LeavesOutAPayloadThatIsNotOneElement) {
  for (const char* payload : {"", "text", "<a/><b/>", "<a>", "<!DOCTYPE a><a/>", "<p:a/>"}) {
    SCOPED_TRACE(payload);
    m_log.records.clear();
    const auto builder = NewMessage();
    const std::string shown = ShownBy([&] { EXPECT_EQ(builder->AppendData(payload), 0); });
    EXPECT_THAT(shown, StartsWith("Failed to load DOM from source string. "));
    ASSERT_EQ(m_log.records.size(), 1U);
    EXPECT_EQ(m_log.records[0].source, "TLK_XMLParser");
    EXPECT_THAT(XmlOf(*builder), HasSubstr(R"(<To Id="0"/><Data/></TLK_Message>)"));
  }
}

TEST_F(BuilderTest, ReadsAndSetsByPath) {
  const std::string value = "<\"'&\t\xE9>";
  const auto builder = NewMessage();
  std::string text = "before";
  EXPECT_EQ(builder->GetNodeText("//Nothing", text), -1);
  EXPECT_EQ(builder->SetNodeAttribute("//Nothing", "n", "v"), -1);
  EXPECT_EQ(text, "before");
  EXPECT_EQ(builder->SetNodeAttribute("//To", "n", value), 0);
  EXPECT_EQ(builder->GetNodeText("//To/@n", text), 0);
  EXPECT_EQ(text, value);
  EXPECT_THAT(m_log.records, IsEmpty());
}

TEST_F(BuilderTest, WritesWhatItsOwnGateLetsIn) {
  std::string every;
  for (int byte = 1; byte < 256; ++byte) every += static_cast<char>(byte);
  TLK_XMLBuilder builder(m_codec);
  ASSERT_EQ(builder.CreateMessage(every, 1, 0), 0);
  const std::string xml = XmlOf(builder);
  std::string expected = every;
  for (char& c : expected)
    if (c > 0 && c < ' ' && c != '\t' && c != '\n' && c != '\r') c = '?';
  std::string type;
  EXPECT_EQ(TLK_XMLParser(m_codec, xml).GetType(type), 0);
  EXPECT_EQ(type, expected);
}

std::string Message(const std::string& inside) {
  return R"(<TLK_Message Length="0000000" xmlns="" Type="Chat">)" + inside + "</TLK_Message>";
}

using ParserTest = CodecTest;

TEST_F(ParserTest, ReadsAMessage) {
  const std::string all = "<Data><a n='&lt;'>x<b>&amp;</b></a></Data>";
  TLK_XMLParser parser(m_codec, Message("<From Id='7'/>" + all));
  std::string out;
  EXPECT_EQ(parser.GetType(out), 0);
  EXPECT_EQ(out, "Chat");
  const std::string a = R"(<a n="&lt;">x<b>&amp;</b></a>)";
  EXPECT_EQ(parser.GetData(out), 0);
  EXPECT_EQ(WithoutIndentation(out), "<Data>" + a + "</Data>");
  const struct {
    const char* path;
    bool textOnly;
    std::string read;
  } cases[] = {{"Data/a", false, a},
               {"Data/a", true, "x&"},
               {"/", true, "x&"},
               {"Data/a/@n", false, R"(n="&lt;")"}};
  for (const auto& [path, textOnly, read] : cases) {
    EXPECT_EQ(parser.GetNode(path, out, textOnly), 0);
    EXPECT_EQ(out, read);
  }
  EXPECT_EQ(parser.GetNodeAttribute("//a", "n", out), 0);
  EXPECT_EQ(out, "<");
  EXPECT_EQ(parser.GetNodeAttribute("//nothing", "n", out), -1);
  DomNode root = nullptr;
  EXPECT_EQ(parser.GetRootElement(root), -1);
  EXPECT_EQ(parser.GetAttribute(root, "Type", out), 0);
  EXPECT_EQ(out, "Chat");
  EXPECT_EQ(TLK_XMLParser(m_codec, Message("<Data></Data>")).GetData(out), 0);
  EXPECT_EQ(out, "<Data/>");
}

TEST_F(ParserTest, ReadsIdsAsFarAsTheyAreNumbers) {
  const std::string cases =
      "-1=-1; 12abc=12;  +12=12; =0; abc=0; - 3=0; 0x10=0;  \t+8=8; 2147483647=2147483647; "
      "99999999999999999999=2147483647; -99999999999999999999=-2147483648";
  for (const std::string& one : Split(cases, "; ")) {
    const auto [written, read] = Halves(one, '=');
    TLK_XMLParser parser(m_codec,
                         Message("<To Id='" + Replaced(written, "\t", "&#9;&#10;") + "'/>"));
    std::int32_t id = -5;
    EXPECT_EQ(parser.GetReceiverId(id), 0);
    EXPECT_EQ(std::to_string(id), read) << written;
  }
}

TEST_F(ParserTest, LooksForWhatItReadsInTheRootAlone) {
  TLK_XMLParser bare(m_codec, "<m><x Type='t'><To Id='3'/><Data/></x><To/></m>");
  std::string out = "before";
  std::int32_t id = -5;
  EXPECT_EQ(bare.GetType(out), -2);
  EXPECT_EQ(bare.GetReceiverId(id), -2);
  EXPECT_EQ(id, -5);
  EXPECT_EQ(ShownBy([&] { EXPECT_EQ(bare.GetData(out), 0); }),
            "Failed node does not exist. Data.\n");
  DomNode root = nullptr;
  EXPECT_EQ(bare.GetRootElement(root), -1) << "which is how it tells success";
  EXPECT_EQ(bare.GetAttribute(root, "Type", out), -1);
  EXPECT_EQ(out, "before");
  EXPECT_EQ(bare.LoadXml("no element"), 0);
  EXPECT_EQ(bare.GetRootElement(root), 0);
  EXPECT_EQ(root, nullptr);
}

}  // namespace
}  // namespace tlk
