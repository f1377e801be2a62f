#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

using BuilderTest = CodecTest;

constexpr std::string_view kBeforeStamp = "<TLK_Message Length=\"";

TEST_F(BuilderTest, CreatesTheEnvelopeOfTheWire) {
  TLK_XMLBuilder builder(m_codec);
  ASSERT_EQ(builder.CreateMessage("Status", -1, 2147483647), 0);
  EXPECT_EQ(XmlOf(builder), R"(<TLK_Message Length="0000000" xmlns="" Type="Status">)"
                            R"(<From Id="-1"/><To Id="2147483647"/></TLK_Message>)");
  ASSERT_EQ(builder.CreateMessage(std::string_view("ab\0cd", 5), 1, 0), 0);
  EXPECT_THAT(XmlOf(builder), HasSubstr(R"( Type="ab">)"));
}

TEST_F(BuilderTest, TakesItsStepsInTheirOrder) {
  const auto builder = NewMessage();
  EXPECT_THAT(m_script.calls,
              ElementsAre("new", "async off", "validate off", "resolve off", "create TLK_Message",
                          "set Length=0000000", "set xmlns=", "set Type=Chat", "root",
                          "create From", "set Id=5", "append", "create To", "set Id=0", "append"));
  m_script.calls.clear();
  ASSERT_EQ(builder->SetLength(), 0);
  const std::string wire = WireOf(*builder);
  EXPECT_THAT(WithoutIndentation(wire), HasSubstr("0000091"));
  EXPECT_THAT(m_script.calls,
              ElementsAre("xml", "get root", "set Length=" + wire.substr(kBeforeStamp.size(), 7)));
  m_script.calls.clear();
  ASSERT_EQ(builder->LoadXml("<Attribute_List/>"), 0);
  EXPECT_THAT(m_script.calls,
              ElementsAre("new", "async off", "validate off", "resolve off", "xpath", "load"));
  m_script.calls.clear();
  ASSERT_EQ(builder->AddAttributes("<Attribute_List><b/><c/></Attribute_List>"), 0);
  m_script.calls.erase(m_script.calls.begin(), m_script.calls.begin() + 6);
  EXPECT_THAT(m_script.calls, ElementsAre("xpath", "select", "child", "xpath", "select", "sibling",
                                          "append", "sibling", "append"));
}

TEST_F(BuilderTest, StampsTheLengthOfWhatItSends) {
  const auto builder = NewMessage();
  ASSERT_EQ(builder->AppendData("<Line>caf\xE9 \x80 &lt;&#10;&#x4E2D;</Line>"), 0);
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(builder->SetLength(), 0);
    const std::string xml = WireOf(*builder);
    const std::string stamp = std::to_string(xml.size());
    EXPECT_THAT(xml, StartsWith("<TLK_Message Length=\"" + std::string(7 - stamp.size(), '0') +
                                stamp + "\" xmlns="));
    EXPECT_EQ(WireOf(*builder), xml) << "the text at hand and the one written anew differ";
  }
}

TEST_F(BuilderTest, ForgetsTheStampedTextWhenTheDocumentChanges) {
  const auto builder = NewMessage();
  ASSERT_EQ(builder->SetLength(), 0);
  ASSERT_EQ(builder->SetNodeAttribute("/TLK_Message/To", "Id", "12345"), 0);
  EXPECT_THAT(XmlOf(*builder), HasSubstr(R"(<To Id="12345"/>)"));
  ASSERT_EQ(builder->SetLength(), 0);
  ASSERT_EQ(builder->AppendData("<x/>"), 0);
  EXPECT_THAT(XmlOf(*builder), HasSubstr("<Data><x/></Data>"));
  ASSERT_EQ(builder->SetLength(), 0);
  ASSERT_EQ(builder->LoadXml("<y/>"), 0);
  EXPECT_EQ(XmlOf(*builder), "<y/>");
}

TEST_F(BuilderTest, StampsDocumentsThatItDidNotMake) {
  for (const char* loaded :
       {"<m/>", R"(<TLK_Message Length="0"/>)", R"(<TLK_Message Length="12345678"/>)",
        R"(<!--x--><TLK_Message Length="0000000"/>)"}) {
    TLK_XMLBuilder builder(m_codec, loaded);
    const std::string length = std::to_string(WireOf(builder).size());
    const std::string stamp = std::string(7 - length.size(), '0') + length;
    EXPECT_EQ(builder.SetLength(), 0);
    EXPECT_THAT(WireOf(builder), HasSubstr(" Length=\"" + stamp + "\"/>")) << loaded;
  }
}

TEST_F(BuilderTest, StampsWithMoreDigitsWhatNeedsThem) {
  const auto builder = NewMessage();
  const std::string payload = "<a>" + std::string(2'500'000, 'y') + "</a>";
  for (int i = 0; i < 4; ++i) ASSERT_EQ(builder->AppendData(payload), 0);
  ASSERT_EQ(builder->SetLength(), 0);
  const std::string wire = WireOf(*builder);
  EXPECT_EQ(wire.substr(kBeforeStamp.size(), 9), std::to_string(wire.size() - 1) + "\"");
}

TEST_F(BuilderTest, AppendsPayloadsInOrderUnderOneData) {
  const auto builder = NewMessage();
  EXPECT_EQ(builder->EnsureDataElement(), 0);
  EXPECT_EQ(builder->EnsureDataElement(), 0);
  EXPECT_EQ(builder->AppendData("<?xml version='1.0' encoding='UTF-8'?><!--c--><a>1</a>"), 0);
  EXPECT_EQ(builder->AppendData("<b x='2'><c/></b>"), 0);
  EXPECT_THAT(XmlOf(*builder),
              HasSubstr(R"(<To Id="0"/><Data><a>1</a><b x="2"><c/></b></Data></TLK_Message>)"));
}

TEST_F(BuilderTest, FindsDataAnywhere) {
  TLK_XMLBuilder builder(m_codec, "<m><n xmlns='urn:n'><Data/><o xmlns=''><Data/></o></n></m>");
  ASSERT_EQ(builder.AppendData("<p/>"), 0);
  EXPECT_THAT(XmlOf(builder), HasSubstr(R"(<Data/><o xmlns=""><Data><p/></Data></o>)"));
}

TEST_F(BuilderTest, LeavesOutAPayloadThatIsNotOneElement) {
  for (const char* payload : {"", "text", "<a/><b/>", "<a>", "<!DOCTYPE a><a/>", "<p:a/>"}) {
    SCOPED_TRACE(payload);
    m_log.records.clear();
    const auto builder = NewMessage();
    const std::string shown = ShownBy([&] { EXPECT_EQ(builder->AppendData(payload), 0); });
    EXPECT_THAT(shown, StartsWith("Failed to load DOM from source string. "));
    ASSERT_THAT(m_log.records, SizeIs(1));
    EXPECT_EQ(m_log.records[0].source, "TLK_XMLParser");
    EXPECT_THAT(XmlOf(*builder), HasSubstr(R"(<To Id="0"/><Data/></TLK_Message>)"));
  }
}

TEST_F(BuilderTest, ReadsAndSetsByPath) {
  const auto builder = NewMessage();
  ASSERT_EQ(builder->AppendData("<a>x<b>y</b><![CDATA[<z>]]><!--no--></a>"), 0);
  std::string text = "before";
  EXPECT_EQ(builder->GetNodeText("//Nothing", text), -1);
  EXPECT_EQ(text, "before");
  EXPECT_EQ(builder->GetNodeText("//Data/a", text), 0);
  EXPECT_EQ(text, "xy<z>");
  EXPECT_EQ(builder->SetNodeAttribute("//b", "n", "<\"'&\t\xE9>"), 0);
  EXPECT_EQ(builder->SetNodeAttribute("//Nothing", "n", "v"), -1);
  EXPECT_EQ(builder->GetNodeText("//b/@n", text), 0);
  EXPECT_EQ(text, "<\"'&\t\xE9>");
  EXPECT_THAT(m_log.records, IsEmpty());
}

TEST_F(BuilderTest, WritesWhatItsOwnGateLetsIn) {
  std::string every;
  for (int byte = 1; byte < 256; ++byte) every += static_cast<char>(byte);
  TLK_XMLBuilder builder(m_codec);
  ASSERT_EQ(builder.CreateMessage(every, 1, 0), 0);
  const std::string xml = XmlOf(builder);
  EXPECT_STREQ(m_gate.Pass(xml).reason, nullptr) << xml;

  std::string expected = every;
  for (char& c : expected)
    if (c > 0 && c < ' ' && c != '\t' && c != '\n' && c != '\r') c = '?';
  std::string type;
  EXPECT_EQ(TLK_XMLParser(m_codec, xml).GetType(type), 0);
  EXPECT_EQ(type, expected);
}

TEST_F(BuilderTest, HoldsNothingAfterATextThatCannotBeRead) {
  const auto builder = NewMessage();
  EXPECT_EQ(ShownBy([&] { EXPECT_EQ(builder->LoadXml("<a>"), 0); }), "");
  EXPECT_TRUE(builder->HasDocument());
  EXPECT_EQ(XmlOf(*builder), "");
  EXPECT_THAT(m_log.records, IsEmpty());
}

TEST_F(BuilderTest, IsSilentWithoutADocument) {
  TLK_XMLBuilder builder(m_codec);
  std::string out = "before";
  EXPECT_FALSE(builder.HasDocument());
  const std::string shown = ShownBy([&] {
    EXPECT_EQ(builder.SetLength(), -1);
    EXPECT_EQ(builder.GetXml(out), -1);
    EXPECT_EQ(builder.EnsureDataElement(), -1);
    EXPECT_EQ(builder.AppendData("<a/>"), -1);
    EXPECT_EQ(builder.AddStatus("1", "d"), -1);
    EXPECT_EQ(builder.AddParticipantList("a", 1, 0, 2, ""), -1);
    EXPECT_EQ(builder.AddAttributesAtPaths("<a>", "<b>"), -1);
    EXPECT_EQ(builder.GetNodeText("//a", out), -1);
    EXPECT_EQ(builder.SetNodeAttribute("//a", "b", "c"), -1);
  });
  EXPECT_EQ(shown, "");
  EXPECT_EQ(out, "before");
  EXPECT_THAT(m_log.records, IsEmpty());
}

}  // namespace
}  // namespace tlk
