// The contract of xml/Dom.h, on every DOM.

#include <thread>

#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

class DomTest : public CodecTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(m_real.NewDocument(m_document), kDomOk);
    ASSERT_EQ(m_document->SelectXPath(), kDomOk);
  }

  void Load(const std::string& text) {
    ASSERT_STREQ(m_gate.Pass(text).reason, nullptr) << text;
    bool loaded = false;
    ASSERT_EQ(m_document->LoadXml(text, loaded), kDomOk);
    ASSERT_TRUE(loaded) << text;
  }

  std::string Xml(DomNode node = nullptr) {
    std::string xml;
    EXPECT_EQ(m_document->Xml(node, xml), kDomOk);
    return WithoutIndentation(xml);
  }

  DomNode Root() {
    DomNode root = nullptr;
    EXPECT_EQ(m_document->DocumentElement(root), kDomOk);
    return root;
  }

  /// What a path selects from the document, serialised; or its result in angle brackets.
  std::string Selected(const std::string& path, DomNode context = nullptr) {
    DomNode node = nullptr;
    const DomResult result = m_document->SelectNode(context, path, node);
    EXPECT_EQ(node != nullptr, result == kDomOk);
    if (result == kDomNothing) return "<nothing>";
    return result == kDomOk ? Xml(node) : "<failed>";
  }

  void ExpectSelected(const std::vector<std::pair<const char*, std::string>>& cases) {
    for (const auto& [path, selected] : cases) EXPECT_EQ(Selected(path), selected) << path;
  }

  std::unique_ptr<DomDocument> m_document;
};

TEST_F(DomTest, WritesBackWhatItRead) {
  const std::string greater = kWrittenGreater;
  const std::string tab = kWrittenTab;
  const std::string end = kWrittenLineEnd;
  std::string every;
  for (int byte = 0x80; byte < 0x100; ++byte) every += static_cast<char>(byte);
  const std::pair<std::string, std::string> cases[] = {
      {"<a>" + every + "</a>", "<a>" + every + "</a>"},
      {"<?xml version='1.0' encoding='UTF-16' standalone='yes'?><a/>", "<a/>"},
      {"<!--b--><?p q?><a/><!--c-->", "<!--b--><?p q?><a/><!--c-->"},
      {"<a> x </a>", "<a> x </a>"},
      {"<a> </a>", kWrittenBlankElement},
      {"<a>\n  <b/>\n</a>", "<a><b/></a>"},
      {"<a>x <b/> y</a>", "<a>x <b/> y</a>"},
      {"<a>&lt;&gt;&amp;&quot;&apos;]]&gt;</a>", "<a>&lt;&gt;&amp;\"']]&gt;</a>"},
      {"<a b='&lt;>&amp;&quot;&apos;'/>", "<a b=\"&lt;" + greater + "&amp;&quot;'\"/>"},
      {"<a b='x\r\ny\tz'/>", "<a b=\"x y z\"/>"},
      {"<a b='&#13;&#10;&#9;'/>", "<a b=\"&#13;&#10;" + tab + "\"/>"},
      {"<a>x\r\ny\rz&#13;&#10;z</a>", "<a>x" + end + "y" + end + "z&#13;" + end + "z</a>"},
      {"<a><!--x\r\ny--><?p x\ry?><![CDATA[x\r\n<&]]></a>",
       "<a><!--x" + end + "y--><?p x" + end + "y?><![CDATA[x" + end + "<&]]></a>"},
      {"<a>&#x41;&#66;&#x20AC;&#xE9;</a>", "<a>AB\x80\xE9</a>"},
      {"<a b='&#x4E2D;'>&#x4E2D;<![CDATA[\xE9]]></a>", "<a b=\"?\">?<![CDATA[\xE9]]></a>"},
      {"<\xE9l\xE9ment \xE0='\xFF'/>", "<\xE9l\xE9ment \xE0=\"\xFF\"/>"},
      {"<p:a xmlns:p='urn:p' p:b='1' b='2'/>", "<p:a xmlns:p=\"urn:p\" p:b=\"1\" b=\"2\"/>"},
      {"<a xmlns=''><b xmlns='urn:b'/></a>", "<a xmlns=\"\"><b xmlns=\"urn:b\"/></a>"},
  };
  for (const auto& [read, written] : cases) {
    Load(read);
    EXPECT_EQ(Xml(), written) << read;
    Load(written);
    EXPECT_EQ(Xml(), written) << "read and written again, from " << read;
  }
}

TEST_F(DomTest, SelectsByPath) {
  Load("<r><x i='1'><d i='2'/><?d no?></x><d i='3'/><d i='4'>t</d><or i='5'><div i='6'/></or></r>");
  ExpectSelected({{"//d", "<d i=\"2\"/>"},
                  {"d", "<nothing>"},
                  {"r", Xml()},
                  {"//nothing", "<nothing>"},
                  {" / r / child :: d [ 2 ] / @ i ", "i=\"4\""},
                  {"/r/d[last()]/text()", "t"},
                  {"//d[@i='4' or @i=\"3\"]", "<d i=\"3\"/>"},
                  {"//d[@i > 2 and @i div 2 = 2]", "<d i=\"4\">t</d>"},
                  {"//d[count(../d) = 2][1]/@i", "i=\"3\""},
                  {"//or/div", "<div i=\"6\"/>"},
                  {"//div/ancestor::or/@i", "i=\"5\""},
                  {"/r/*[3]/@*", "i=\"4\""},
                  {"//*[2 * 3 = @i]", "<div i=\"6\"/>"},
                  {"//processing-instruction('d')", "<?d no?>"},
                  {"//d[.='t'] | //x/d", "<d i=\"2\"/>"},
                  {"namespace::d", "<nothing>"}});
  EXPECT_EQ(Selected("d", Root()), "<d i=\"3\"/>");
  EXPECT_EQ(Selected("..", Root()), Xml());
}

TEST_F(DomTest, FailsOnPathsThatSelectNothingByKind) {
  Load("<r xmlns:p='urn:p'><p:d/></r>");
  for (const char* path :
       {"", " ", "r[", "//", "1+1", "'text'", "count(//r)", "true()", "p:d", "//p:*", "/r/@p:x",
        "$v", "f()", "p:f()", "r r", "'open", "//d[p:x='1']", "child::p:d", "r\x01"})
    EXPECT_EQ(Selected(path), "<failed>") << path;
  const auto times = [](int count, const std::string& piece) {
    std::string text;
    while (count-- > 0) text += piece;
    return text;
  };
  EXPECT_EQ(Selected(times(3'000, "(") + "r" + times(3'000, ")")), "<failed>");
  EXPECT_EQ(Selected(times(1'200, "r[") + "r" + times(1'200, "]")), "<failed>");
  EXPECT_EQ(Selected(times(100'000, "-") + "1"), "<failed>");
}

TEST_F(DomTest, SelectsOnlyWhatIsInNoNamespace) {
  Load(
      "<r><m xmlns='urn:x' d='1'><d/><n xmlns=''><d i='2'/></n></m><d i='3'/>"
      "<p:d xmlns:p='urn:p' i='4'/></r>");
  ExpectSelected({{"//d", "<d i=\"2\"/>"},
                  {"/r/descendant::d[2]", "<d i=\"3\"/>"},
                  {"//m", "<nothing>"},
                  {"/r/m/d", "<nothing>"},
                  {"//*[@d]/@d", "d=\"1\""},
                  {"//*[d]/d", "<d i=\"2\"/>"},
                  {"//*[local-name()='d' and namespace-uri()='urn:p']/@i", "i=\"4\""}});
  EXPECT_EQ(Selected("m", Root()), "<nothing>");
  Load("<d xmlns='urn:x'/>");
  ExpectSelected({{"//d", "<nothing>"}, {"d", "<nothing>"}, {"/d", "<nothing>"}});
}

TEST_F(DomTest, RemembersMorePathsThanItKeeps) {
  Load("<r><a0/><a1/><a2/><a3/><a4/><a5/><a6/><a7/><a8/><a9/></r>");
  for (int i = 0; i < 40; ++i) {
    const std::string digit = std::to_string(i * 7 % 10);
    EXPECT_EQ(Selected("/r/a" + digit), "<a" + digit + "/>");
  }
}

TEST_F(DomTest, KeepsUnplacedElementsOutOfTheDocument) {
  DomNode first = nullptr;
  DomNode second = nullptr;
  ASSERT_EQ(m_document->CreateElement("x", first), kDomOk);
  EXPECT_EQ(Xml(), "");
  ExpectSelected({{"//x", "<nothing>"}, {"//*[1]", "<nothing>"}});

  Load("<r/>");
  ASSERT_EQ(m_document->CreateElement("x", first), kDomOk);
  ASSERT_EQ(m_document->CreateElement("y", second), kDomOk);
  EXPECT_EQ(Xml(), "<r/>");
  ExpectSelected({{"/x", "<nothing>"}, {"//y | //*[1]", "<r/>"}});
  ASSERT_EQ(m_document->AppendChild(first, second), kDomOk);
  EXPECT_EQ(Selected("y[1]", first), "<y/>");
  EXPECT_EQ(Selected("//y[1]", Root()), "<nothing>");
  ASSERT_EQ(m_document->AppendChild(Root(), first), kDomOk);
  EXPECT_EQ(Selected("/r/x/y"), "<y/>");
  EXPECT_LT(m_document->AppendChild(second, first), 0) << "into its own child";
  EXPECT_EQ(m_document->AppendChild(nullptr, first), kDomBadArgument);

  ASSERT_EQ(m_document->SetDocumentElement(second), kDomOk);
  EXPECT_EQ(Xml(), "<y/>");
  EXPECT_EQ(Selected("//r"), "<nothing>");
}

TEST_F(DomTest, RefusesWhatCannotBeAName) {
  Load("<r/>");
  DomNode element = nullptr;
  for (const char* name : {"", " ", "a b", "1a", "-a", "a>", "a:b", "xmlns:p", "a=\"\"", "\xD7"}) {
    EXPECT_EQ(m_document->CreateElement(name, element), kDomBadArgument) << name;
    EXPECT_EQ(m_document->SetAttribute(Root(), name, "v"), kDomBadArgument) << name;
  }
  EXPECT_EQ(m_document->SetAttribute(Root(), "\xC9t\xE9-1._", "v"), kDomOk);
  EXPECT_EQ(Xml(), "<r \xC9t\xE9-1._=\"v\"/>");
}

TEST_F(DomTest, BringsNodesOverWithTheirNamespaces) {
  const struct {
    const char* from;
    const char* path;
    std::string expected;
  } cases[] = {
      {"<a xmlns='urn:a'><b/></a>", "/*", "<a xmlns=\"urn:a\"><b/></a>"},
      {"<a xmlns='urn:a'><b/></a>", "/*/*", "<b xmlns=\"urn:a\"/>"},
      {"<a xmlns:p='urn:p' p:c='1'><p:b/></a>", "/*/*", "<p:b xmlns:p=\"urn:p\"/>"},
      {"<a xmlns=''><b/></a>", "//b", "<b/>"},
      {"<a>x<b/></a>", "/a/text()", "x"},
  };
  const std::unique_ptr<DomDocument> source = std::move(m_document);
  for (const auto& one : cases) {
    bool loaded = false;
    DomNode node = nullptr;
    ASSERT_EQ(source->LoadXml(one.from, loaded), kDomOk);
    ASSERT_EQ(source->SelectNode(nullptr, one.path, node), kDomOk);
    ASSERT_EQ(m_real.NewDocument(m_document), kDomOk);
    Load("<r xmlns=''/>");
    ASSERT_EQ(m_document->AppendChild(Root(), node), kDomOk);
    EXPECT_EQ(Xml(), "<r xmlns=\"\">" + one.expected + "</r>");
  }
}

TEST_F(DomTest, PutsElementsInNoNamespaceUnderADefaultOne) {
  Load("<r xmlns='urn:r'/>");
  DomNode made = nullptr;
  ASSERT_EQ(m_document->CreateElement("x", made), kDomOk);
  ASSERT_EQ(m_document->AppendChild(Root(), made), kDomOk);
  EXPECT_EQ(Xml(), "<r xmlns=\"urn:r\"><x xmlns=\"\"/></r>");
  EXPECT_EQ(Selected("//x"), "<x xmlns=\"\"/>");
}

TEST_F(DomTest, IsEmptyAfterATextThatCannotBeParsed) {
  Load("<r/>");
  bool loaded = true;
  EXPECT_EQ(m_document->LoadXml("<a><b></a>", loaded), kDomOk);
  EXPECT_FALSE(loaded);
  EXPECT_EQ(Xml(), "");
  std::string reason;
  EXPECT_EQ(m_document->ParseErrorReason(reason), kDomOk);
  EXPECT_FALSE(reason.empty());
}

TEST_F(DomTest, ServesSeveralThreads) {
  const auto work = [&](int number) {
    const DomThread thread;
    for (int i = 0; i < 200; ++i) {
      TLK_XMLParser parser({m_real, m_text, m_gate, m_log},
                           "<a>caf\xE9 " + std::to_string(number * i) + "</a>");
      std::string text;
      ASSERT_EQ(parser.GetNode("/a[1]", text, true), 0);
      ASSERT_EQ(text, "caf\xE9 " + std::to_string(number * i));
    }
  };
  std::vector<std::thread> threads;
  for (int number = 1; number <= 4; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tlk
