#include <gmock/gmock.h>

#include "tests/xml/CodecTest.h"
#include "xml/Gate.h"

namespace tlk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

using BuilderTest = CodecTest;
INSTANTIATE_TEST_SUITE_P(Doms, BuilderTest, testing::Values(kPugixml), DomName);

TEST_P(BuilderTest, CreatesTheEnvelopeOfTheWire) {
  TLK_XMLBuilder builder(m_codec);
  EXPECT_FALSE(builder.HasDocument());
  ASSERT_EQ(builder.CreateMessage("Status", -1, 2147483647), 0);
  EXPECT_EQ(XmlOf(builder), R"(<TLK_Message Length="0000000" xmlns="" Type="Status">)"
                            R"(<From Id="-1"/><To Id="2147483647"/></TLK_Message>)");

  ASSERT_EQ(builder.CreateMessage("", -2147483647 - 1, 0), 0);
  EXPECT_EQ(XmlOf(builder), R"(<TLK_Message Length="0000000" xmlns="" Type="">)"
                            R"(<From Id="-2147483648"/><To Id="0"/></TLK_Message>)");
}

TEST_P(BuilderTest, TakesItsStepsInTheirOrder) {
  TLK_XMLBuilder builder(m_codec);
  ASSERT_EQ(builder.CreateMessage("T", 1, 2), 0);
  EXPECT_THAT(Script().calls,
              ElementsAre("new", "async off", "validate off", "resolve off", "create TLK_Message",
                          "set Length=0000000", "set xmlns=", "set Type=T", "root", "create From",
                          "set Id=1", "append", "create To", "set Id=2", "append"));
  Script().calls.clear();
  ASSERT_EQ(builder.LoadXml("<a/>"), 0);
  EXPECT_THAT(Script().calls,
              ElementsAre("new", "async off", "validate off", "resolve off", "xpath", "load"));
}

TEST_P(BuilderTest, StampsTheLengthOfWhatItSends) {
  const auto builder = NewMessage();
  ASSERT_EQ(builder->AppendData("<Line>caf\xE9 \x80 &lt;&#10;&#x4E2D;</Line>"), 0);
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(builder->SetLength(), 0);
    const std::string xml = XmlOf(*builder);
    const std::string stamp = std::to_string(xml.size());
    EXPECT_THAT(xml, StartsWith("<TLK_Message Length=\"" + std::string(7 - stamp.size(), '0') +
                                stamp + "\" xmlns="));
    EXPECT_EQ(XmlOf(*builder), xml) << "the text at hand and the one written anew differ";
  }
}

TEST_P(BuilderTest, ForgetsTheStampedTextWhenTheDocumentChanges) {
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

TEST_P(BuilderTest, SerialisesOnceForStampAndText) {
  const auto builder = NewMessage();
  Script().calls.clear();
  ASSERT_EQ(builder->SetLength(), 0);
  EXPECT_THAT(XmlOf(*builder), HasSubstr("0000091"));
  EXPECT_THAT(Script().calls, ElementsAre("xml", "get root", "set Length=0000091"));
}

// The stamp need not stand where the envelope has it, nor have its width.
TEST_P(BuilderTest, StampsDocumentsThatItDidNotMake) {
  const struct {
    const char* loaded;
    const char* stamped;
  } cases[] = {
      {"<m/>", R"(<m Length="0000004"/>)"},
      {R"(<TLK_Message Type="a" Length="0000000"/>)",
       R"(<TLK_Message Type="a" Length="0000040"/>)"},
      {R"(<TLK_Message Length="0"/>)", R"(<TLK_Message Length="0000025"/>)"},
      {R"(<TLK_Message Length="12345678"/>)", R"(<TLK_Message Length="0000032"/>)"},
      {R"(<!--x--><TLK_Message Length="0000000"/>)", R"(<!--x--><TLK_Message Length="0000039"/>)"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.loaded);
    TLK_XMLBuilder builder(m_codec, one.loaded);
    EXPECT_EQ(builder.SetLength(), 0);
    EXPECT_EQ(XmlOf(builder), one.stamped);
  }
}

TEST_P(BuilderTest, StampsWithMoreDigitsWhatNeedsThem) {
  const auto builder = NewMessage();
  ASSERT_EQ(builder->AppendData("<p>x</p>"), 0);
  const std::string filler(9'999'999 - XmlOf(*builder).size() - 2, 'y');
  ASSERT_EQ(builder->AppendData("<" + filler.substr(1) + "/>"), 0);
  ASSERT_EQ(builder->SetLength(), 0);
  EXPECT_THAT(XmlOf(*builder).substr(0, 40), StartsWith(R"(<TLK_Message Length="9999999" )"));

  ASSERT_EQ(builder->SetNodeAttribute("/TLK_Message", "Type", "Chats"), 0);
  ASSERT_EQ(builder->SetLength(), 0);
  EXPECT_THAT(XmlOf(*builder).substr(0, 40), StartsWith(R"(<TLK_Message Length="10000000" )"));
}

TEST_P(BuilderTest, AppendsPayloadsInOrderUnderOneData) {
  const auto builder = NewMessage();
  EXPECT_EQ(builder->EnsureDataElement(), 0);
  EXPECT_EQ(builder->EnsureDataElement(), 0);
  EXPECT_THAT(XmlOf(*builder), HasSubstr(R"(<To Id="0"/><Data/></TLK_Message>)"));
  EXPECT_EQ(builder->AppendData("<?xml version='1.0' encoding='UTF-8'?><!--c--><a>1</a>"), 0);
  EXPECT_EQ(builder->AppendData("<b x='2'><c/></b>"), 0);
  EXPECT_THAT(XmlOf(*builder),
              HasSubstr(R"(<Data><a>1</a><b x="2"><c/></b></Data></TLK_Message>)"));
}

TEST_P(BuilderTest, FindsDataAnywhere) {
  TLK_XMLBuilder builder(m_codec, "<m><n xmlns='urn:n'><Data/><o xmlns=''><Data/></o></n></m>");
  ASSERT_EQ(builder.AppendData("<p/>"), 0);
  EXPECT_EQ(XmlOf(builder),
            R"(<m><n xmlns="urn:n"><Data/><o xmlns=""><Data><p/></Data></o></n></m>)");
}

TEST_P(BuilderTest, LeavesOutAPayloadThatIsNotOneElement) {
  for (const char* payload :
       {"", "text", "<a/><b/>", "<a>", "<!DOCTYPE a><a/>", "&lt;", "<p:a/>"}) {
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

TEST_P(BuilderTest, ReadsAndSetsByPath) {
  const auto builder = NewMessage();
  ASSERT_EQ(builder->AppendData("<a>x<b>y</b><![CDATA[<z>]]><!--no--></a>"), 0);
  std::string text = "before";
  EXPECT_EQ(builder->GetNodeText("//Nothing", text), -1);
  EXPECT_EQ(builder->GetNodeText("//a[", text), -1);
  EXPECT_EQ(text, "before");
  EXPECT_EQ(builder->GetNodeText("//Data/a", text), 0);
  EXPECT_EQ(text, "xy<z>");
  EXPECT_EQ(builder->GetNodeText("/TLK_Message/From/@Id", text), 0);
  EXPECT_EQ(text, "5");

  EXPECT_EQ(builder->SetNodeAttribute("//b", "n", "<\"'&\t\xE9>"), 0);
  EXPECT_EQ(builder->SetNodeAttribute("//Nothing", "n", "v"), -1);
  EXPECT_EQ(builder->GetNodeText("//b/@n", text), 0);
  EXPECT_EQ(text, "<\"'&\t\xE9>");
  EXPECT_THAT(m_log.records, IsEmpty());
}

TEST_P(BuilderTest, WritesWhatItsOwnGateLetsIn) {
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

TEST_P(BuilderTest, EndsValuesAtAZeroByte) {
  TLK_XMLBuilder builder(m_codec);
  ASSERT_EQ(builder.CreateMessage(std::string_view("ab\0cd", 5), 1, 0), 0);
  EXPECT_THAT(XmlOf(builder), HasSubstr(R"( Type="ab">)"));
}

TEST_P(BuilderTest, HoldsNothingAfterATextThatCannotBeRead) {
  const auto builder = NewMessage();
  EXPECT_EQ(ShownBy([&] { EXPECT_EQ(builder->LoadXml("<a>"), 0); }), "");
  EXPECT_TRUE(builder->HasDocument());
  EXPECT_EQ(XmlOf(*builder), "");
  EXPECT_THAT(m_log.records, IsEmpty());

  TLK_XMLBuilder constructed(m_codec, "<!DOCTYPE a><a/>");
  EXPECT_FALSE(constructed.HasDocument());
}

TEST_P(BuilderTest, IsSilentWithoutADocument) {
  TLK_XMLBuilder builder(m_codec);
  std::string out = "before";
  const std::string shown = ShownBy([&] {
    EXPECT_EQ(builder.SetLength(), -1);
    EXPECT_EQ(builder.GetXml(out), -1);
    EXPECT_EQ(builder.EnsureDataElement(), -1);
    EXPECT_EQ(builder.AppendData("<a/>"), -1);
    EXPECT_EQ(builder.GetNodeText("//a", out), -1);
    EXPECT_EQ(builder.SetNodeAttribute("//a", "b", "c"), -1);
  });
  EXPECT_EQ(shown, "");
  EXPECT_EQ(out, "before");
  EXPECT_THAT(m_log.records, IsEmpty());
}

}  // namespace
}  // namespace tlk
