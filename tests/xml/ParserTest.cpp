#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

using ParserTest = CodecTest;

std::string Message(const std::string& inside) {
  return R"(<TLK_Message Length="0000000" xmlns="" Type="Chat">)" + inside + "</TLK_Message>";
}

TEST_F(ParserTest, ReadsAMessage) {
  TLK_XMLParser parser(m_codec, Message("<From Id='7'/><To Id=' +12'/><Data><a>1</a></Data>"));
  std::string type;
  std::string data;
  EXPECT_EQ(parser.GetType(type), 0);
  EXPECT_EQ(type, "Chat");
  EXPECT_EQ(parser.GetData(data), 0);
  EXPECT_EQ(WithoutIndentation(data), "<Data><a>1</a></Data>");
  EXPECT_EQ(TLK_XMLParser(m_codec, Message("<Data></Data>")).GetData(data), 0);
  EXPECT_EQ(data, "<Data/>");
}

TEST_F(ParserTest, ReadsIdsAsFarAsTheyAreNumbers) {
  const std::pair<std::string, std::int32_t> cases[] = {{"-1", -1},
                                                        {"12abc", 12},
                                                        {"", 0},
                                                        {"abc", 0},
                                                        {"- 3", 0},
                                                        {"0x10", 0},
                                                        {"&#9;&#10; +8", 8},
                                                        {"2147483647", 2147483647},
                                                        {"99999999999999999999", 2147483647},
                                                        {"-99999999999999999999", -2147483647 - 1}};
  for (const auto& [written, read] : cases) {
    TLK_XMLParser parser(m_codec, Message("<To Id='" + written + "'/>"));
    std::int32_t id = -5;
    EXPECT_EQ(parser.GetReceiverId(id), 0);
    EXPECT_EQ(id, read) << written;
  }
}

TEST_F(ParserTest, TellsWhatIsMissing) {
  TLK_XMLParser bare(m_codec, "<TLK_Message><x><To Id='3'/><Data/></x></TLK_Message>");
  std::string out = "before";
  std::int32_t id = -5;
  EXPECT_EQ(bare.GetType(out), -2);
  EXPECT_EQ(bare.GetReceiverId(id), -2);
  EXPECT_EQ(TLK_XMLParser(m_codec, Message("<To/>")).GetReceiverId(id), -2);
  EXPECT_EQ(id, -5);
  EXPECT_EQ(ShownBy([&] { EXPECT_EQ(bare.GetData(out), 0); }),
            "Failed node does not exist. Data.\n");
  EXPECT_EQ(out, "before");
}

TEST_F(ParserTest, AnswersNothingWithoutADocument) {
  TLK_XMLParser parser(m_codec, "<a>");
  m_log.records.clear();
  EXPECT_FALSE(parser.HasDocument());
  std::string out = "before";
  std::int32_t id = -5;
  DomNode root = nullptr;
  EXPECT_EQ(ShownBy([&] {
              EXPECT_EQ(parser.GetRootElement(root), -1);
              EXPECT_EQ(parser.GetType(out), -1);
              EXPECT_EQ(parser.GetReceiverId(id), -1);
              EXPECT_EQ(parser.GetData(out), 0);
              EXPECT_EQ(parser.GetNodeXml(root, out), -1);
              EXPECT_EQ(parser.GetNodeAttribute("/a", "a", out), -1);
            }),
            "");
  EXPECT_EQ(out, "before");
  EXPECT_THAT(m_log.records, testing::IsEmpty());
}

TEST_F(ParserTest, TellsTheRootByTheElementNotTheResult) {
  TLK_XMLParser parser(m_codec, "<a b='c'/>");
  DomNode root = nullptr;
  EXPECT_EQ(parser.GetRootElement(root), -1);
  std::string out;
  EXPECT_EQ(parser.GetNodeXml(root, out), 0);
  EXPECT_EQ(out, R"(<a b="c"/>)");
  EXPECT_EQ(parser.GetAttribute(root, "b", out), 0);
  EXPECT_EQ(out, "c");
  EXPECT_EQ(parser.GetAttribute(root, "B", out), -1);
  EXPECT_EQ(parser.LoadXml("no element"), 0);
  EXPECT_EQ(parser.GetRootElement(root), 0);
  EXPECT_EQ(root, nullptr);
}

TEST_F(ParserTest, ReadsNodesByPath) {
  TLK_XMLParser parser(m_codec, Message("<Data><a n='&lt;'>x<b>&amp;</b></a></Data>"));
  std::string out;
  EXPECT_EQ(parser.GetNode("Data/a", out, false), 0);
  EXPECT_EQ(out, R"(<a n="&lt;">x<b>&amp;</b></a>)");
  EXPECT_EQ(parser.GetNode("Data/a", out, true), 0);
  EXPECT_EQ(out, "x&");
  EXPECT_EQ(parser.GetNode("/", out, true), 0);
  EXPECT_EQ(out, "x&");
  EXPECT_EQ(parser.GetNode("Data/a/@n", out, false), 0);
  EXPECT_EQ(out, R"(n="&lt;")");
  EXPECT_EQ(parser.GetNodeAttribute("//a", "n", out), 0);
  EXPECT_EQ(out, "<");
  EXPECT_EQ(parser.GetNodeAttribute("//nothing", "n", out), -1);
}

}  // namespace
}  // namespace tlk
