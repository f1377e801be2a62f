// The contract of xml/Dom.h, on every DOM.

#include <random>
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
    m_document->ForgetNodes();
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
    if (result == kDomNotImplemented) return "<not implemented>";
    return result == kDomOk ? Xml(node) : "<failed>";
  }

  DomNode Node(const std::string& path, DomNode context = nullptr) {
    DomNode node = nullptr;
    EXPECT_EQ(m_document->SelectNode(context, path, node), kDomOk) << path;
    return node;
  }

  /// A fresh node out of the middle of another document.
  DomNode Given(const char* path = "/in/n", const char* text = "<in>\n <n/><!--n-->n</in>") {
    DomNode node = nullptr;
    bool loaded = false;
    EXPECT_EQ(m_real.NewDocument(m_source), kDomOk);
    EXPECT_EQ(m_source->LoadXml(text, loaded), kDomOk);
    EXPECT_EQ(m_source->SelectNode(nullptr, path, node), kDomOk);
    return node;
  }

  DomResult Append(DomNode parent, DomNode child) { return m_document->AppendChild(parent, child); }
  DomResult Remove(DomNode node) {
    DomNode kept = nullptr;
    return m_document->Remove(node, kept);
  }
  DomResult Replace(DomNode node, DomNode replacement) {
    DomNode kept = nullptr;
    return m_document->Replace(node, replacement, kept);
  }

  void ExpectSelected(const std::vector<std::pair<const char*, std::string>>& cases) {
    for (const auto& [path, selected] : cases) EXPECT_EQ(Selected(path), selected) << path;
  }

  std::unique_ptr<DomDocument> m_document;
  std::unique_ptr<DomDocument> m_source;
};

TEST_F(DomTest, WritesBackWhatItRead) {
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
      {"<a b='&lt;>&amp;&quot;&apos;'/>", "<a b=\"&lt;&gt;&amp;&quot;'\"/>"},
      {"<a b='x\r\ny\tz'/>", "<a b=\"x y z\"/>"},
      {"<a b='&#13;&#10;&#9;'/>", "<a b=\"&#13;&#10;&#9;\"/>"},
      {"<a>x\r\n</a>", "<a>x" + end + "</a>"},
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
                  {"//*[substring(@i, 1, 1) = '6']", "<div i=\"6\"/>"}});
  EXPECT_EQ(Selected("d", Root()), "<d i=\"3\"/>");
  EXPECT_EQ(Selected("..", Root()), Xml());
}

TEST_F(DomTest, AnswersRightlyOrFails) {
  const auto known = [](const std::string& selected) {
    return kAnswersEveryPath ? selected : "<not implemented>";
  };
  Load("<r xml:lang='en-GB'><d>caf\xE9</d><e xmlns='urn:e' k='v'>t</e></r>");
  const std::string d = "<d>caf\xE9</d>";
  ExpectSelected(
      {{"//d[string-length() = 4 and string-length(.) = 4]", d},
       {"//d[@no < true() and false() < ../d]", d},
       {"//text()[namespace-uri() = '' and namespace-uri(..) = 'urn:e']", "t"},
       {"//d[../@xml:lang = 'en-GB' and ../attribute::xml:*]", d},
       {"//d[namespace-uri(../@xml:lang) = 'http://www.w3.org/XML/1998/namespace']", d},
       {"//d[../*/@k[lang('EN')]]", d},
       {"//d[round(-2.5) = -2 and round(2.5) = 3]", d},
       {"//d[translate(., 'cf', 'CF') = 'CaF\xE9' and substring-after(., 'f') = '\xE9']", d},
       {"//d[concat(count(//*) * 2, '') = '6']", d},
       {"//d[translate(., '\xE9', 'e') = 'cafe']", known(d)},
       {"//d[substring(., 4, 1) = '\xE9']", known(d)},
       {"//d[string(1.5) = '1.5']", known(d)},
       {"//d[namespace::xml]", known(d)}});
}

TEST_F(DomTest, FailsOnPathsThatSelectNothingByKind) {
  Load("<r xmlns:p='urn:p'><p:d/></r>");
  for (const char* path :
       {"",       " ",     "r[",           "//",         "1+1",   "'text'", "count(//r)",
        "true()", "p:d",   "//p:*",        "/r/@p:x",    "$v",    "f()",    "p:f()",
        "r r",    "'open", "//d[p:x='1']", "child::p:d", "r\x01", "1r",     "-r",
        ".r",     "@xml:", "xml:f()",      "round()",    "lang()"})
    EXPECT_EQ(Selected(path), "<failed>") << path;
}

// A message that its sender could write, nobody could read.
TEST_F(DomTest, DeclaresNoNamespaceThatIsReserved) {
  Load("<a/>");
  for (const char* reserved :
       {"http://www.w3.org/XML/1998/namespace", "http://www.w3.org/2000/xmlns/"})
    EXPECT_EQ(m_document->SetAttribute(Root(), "xmlns", reserved), kDomBadArgument);
  EXPECT_EQ(Xml(), "<a/>");
}

TEST_F(DomTest, SurvivesPathsThatAreAbsurd) {
  Load("<r/>");
  const auto times = [](std::size_t count, const std::string& piece) {
    std::string text;
    while (count-- > 0) text += piece;
    return text;
  };
  const std::string nested[][3] = {{"(", "r", ")"},       {"r[", "r", "]"},
                                   {"r[not(", "1", ")]"}, {"namespace-uri(r[", "1", "])"},
                                   {"-", "1", ""},        {"r[", "", ""}};
  for (const auto& [before, core, behind] : nested) {
    const std::size_t count = 4'095 / (before + behind).size();
    EXPECT_EQ(Selected(times(count, before) + core + times(count, behind)), "<failed>") << before;
  }
  for (const std::string piece : {"//*", "/r", "|r", "[1]", "/..", "+1", "@", "..", "::", " r"}) {
    const std::string path = std::string("r") + times(4'095 / piece.size(), piece);
    EXPECT_THAT(Selected(path), testing::AnyOf("<failed>", "<nothing>", "<r/>")) << piece;
  }
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
  EXPECT_EQ(Xml(first), "<x><y/></x>");
  EXPECT_EQ(Append(nullptr, first), kDomBadArgument);
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
      {"<a xml:lang='de'><xml:b xml:space='preserve'/></a>", "/*",
       "<a xml:lang=\"de\"><xml:b xml:space=\"preserve\"/></a>"},
      {"<o xmlns:p='u'><xml:a/></o>", "/*/*", "<xml:a xmlns:p=\"u\"/>"},
  };
  for (const auto& one : cases) {
    Load("<r xmlns=''><o/></r>");
    ASSERT_EQ(Append(Root(), Given(one.path, one.from)), kDomOk);
    ASSERT_EQ(Replace(Node("//o"), Given(one.path, one.from)), kDomOk);
    m_source = nullptr;
    EXPECT_EQ(Xml(), "<r xmlns=\"\">" + one.expected + one.expected + "</r>");
  }
}

// A DOM may do without; what it does is what it does with a document of the text.
TEST_F(DomTest, ReadsATextIntoAPlaceOrLeavesAllAsItIs) {
  const char* const texts[] = {"<a/>",
                               "<?xml version='1.0'?>\n<!--c--><?p?><a>\r\n <b/>\rt</a>\n<!--d-->",
                               "<a k='v\r\nw'>caf\xE9<![CDATA[<&]]>&lt;</a>",
                               "<p:a xmlns:p='n'><a xmlns='o'/></p:a>",
                               "<a><b></a>",
                               "<!--c-->",
                               "t",
                               ""};
  for (const char* const text : texts) {
    for (const char* const place : {"/*", "//in"}) {
      SCOPED_TRACE(std::string(place) + ": " + text);
      const char* const message = "<r xmlns='d'>t<in xmlns=''>t<o/>u</in></r>";
      Load(message);
      std::string expected = Xml();
      const DomResult result = m_document->ReadInto(Node(place), text);
      const std::string read = Xml();
      Load(message);
      if (result == kDomOk) {
        EXPECT_EQ(Append(Node(place), Given("/*", text)), kDomOk);
        expected = Xml();
      }
      EXPECT_EQ(read, expected);
    }
  }
}

TEST_F(DomTest, PutsElementsInNoNamespaceUnderADefaultOne) {
  const std::string none = "<x xmlns=\"\"/>";
  const std::string cases[][4] = {
      {"<r xmlns=\"urn:r\">", "/*", "</r>", none},
      {"<p:r xmlns:p=\"urn:p\" xmlns=\"urn:r\">", "/*", "</p:r>", none},
      {"<r xmlns=\"urn:r\"><p:n xmlns:p=\"urn:p\">", "//*[1]/*", "</p:n></r>", none},
      {"<r xmlns=\"urn:r\"><p:n xmlns:p=\"urn:p\" xmlns=\"\">", "//*[1]/*", "</p:n></r>", "<x/>"},
      {"<p:r xmlns:p=\"urn:p\">", "/*", "</p:r>", "<x/>"}};
  for (const auto& [before, place, behind, added] : cases) {
    Load(before + behind);
    DomNode made = nullptr;
    ASSERT_EQ(m_document->CreateElement("x", made), kDomOk);
    ASSERT_EQ(m_document->AppendChild(Node(place), made), kDomOk);
    EXPECT_EQ(Xml(), std::string(before).append(added).append(behind));
    EXPECT_NE(Selected("//x"), "<nothing>");
  }
  Load("<r xmlns='urn:r'/>");
  ASSERT_EQ(Append(Root(), Given("/*", "<p:a xmlns:p='urn:p'><b/></p:a>")), kDomOk);
  Load(Xml());
  EXPECT_EQ(Selected("//b"), "<b xmlns:p=\"urn:p\"/>");
}

// A DOM may have a short way for it, which must end as the steps do.
TEST_F(DomTest, AddsAnElementInOneAsInSteps) {
  const DomAttribute attributes[] = {{"k", "<\xE9\x01\n\">"}, {"no name", "v"}, {"xmlns", ""}};
  struct {
    std::string before, place, name;
  } const cases[] = {{"", "", "n"},
                     {"<r/>", "/r", "n\xE9"},
                     {"<r/>", "/r", "no name"},
                     {"<r xmlns='d'>t</r>", "/*", "n"},
                     {"<r xmlns='d'><a/></r>", "/*/*", "n"}};
  for (const auto& one : cases) {
    for (const std::size_t count : {0U, 3U}) {
      SCOPED_TRACE(one.before + one.place + one.name);
      const std::span some(attributes, count);
      const auto added = [&](const auto& add) {
        EXPECT_EQ(m_real.NewDocument(m_document), kDomOk);
        if (!one.before.empty()) Load(one.before);
        const DomNode place = one.place.empty() ? nullptr : Node(one.place);
        DomNode element = nullptr;
        EXPECT_EQ(Succeeded(add(place, element)), one.name != "no name");
        return Xml();
      };
      EXPECT_EQ(added([&](DomNode place, DomNode& element) {
                  return m_document->AddElement(place, one.name, some, element);
                }),
                added([&](DomNode place, DomNode& element) {
                  return m_document->DomDocument::AddElement(place, one.name, some, element);
                }));
    }
  }
}

TEST_F(DomTest, WalksOverEverythingButBlanks) {
  Load("<!--0--><r k='v'>\n <a/> \n<!--c-->x<p:b xmlns:p='urn:p'/><?i?><![CDATA[ ]]>\n</r>");
  DomNode node = nullptr;
  DomNode next = nullptr;
  std::string walked;
  ASSERT_EQ(m_document->FirstChild(Root(), node), kDomOk);
  for (DomResult more = kDomOk; more == kDomOk; node = next) {
    std::string name;
    walked += (m_document->BaseName(node, name) == kDomOk ? name : "-") + Xml(node);
    more = m_document->NextSibling(node, next);
  }
  EXPECT_EQ(walked, "a<a/>-<!--c-->-xb<p:b xmlns:p=\"urn:p\"/>-<?i?>-<![CDATA[ ]]>");
  ASSERT_EQ(m_document->CreateElement("stray", node), kDomOk);
  EXPECT_EQ(m_document->NextSibling(Root(), next), kDomNothing);
  EXPECT_EQ(m_document->FirstChild(Node("//@k"), next), kDomNothing);
  EXPECT_EQ(m_document->AsElement(Node("//@k"), next), kDomNoInterface);
}

TEST_F(DomTest, ChangesWhateverAPathSelectsOrFails) {
  const std::string whole = "<r><l k=\"\">t<a/></l><!--c--></r>";
  const std::string cases[][4] = {
      {"a", "<r><l k=\"\">t</l><!--c--></r>", "<r><l k=\"\">t<n/></l><!--c--></r>",
       "<r><l k=\"\">t<a><n/></a></l><!--c--></r>"},
      {"text()", "<r><l k=\"\"><a/></l><!--c--></r>", "<r><l k=\"\"><n/><a/></l><!--c--></r>",
       whole},
      {"//comment()", "<r><l k=\"\">t<a/></l></r>", "<r><l k=\"\">t<a/></l><n/></r>", whole},
      {".", "<r><!--c--></r>", "<r><n/><!--c--></r>", "<r><l k=\"\">t<a/><n/></l><!--c--></r>"},
      {"..", "", "<n/>", "<r><l k=\"\">t<a/></l><!--c--><n/></r>"},
      {"@k", whole, whole, whole},
      {"/", whole, whole, whole},
  };
  const auto expect = [&](const std::string& path, const std::string& left, const auto& change) {
    Load(whole);
    DomNode list = Node("//l");
    EXPECT_EQ(Succeeded(change(Node(path, list), list)), left != whole) << path;
    EXPECT_EQ(Xml(), left) << path;
    EXPECT_EQ(Selected("self::l/@k", list), "k=\"\"") << "the list lives on after " << path;
  };
  for (const auto& [path, removed, replaced, extended] : cases) {
    expect(path, removed,
           [&](DomNode node, DomNode& kept) { return m_document->Remove(node, kept); });
    expect(path, replaced,
           [&](DomNode node, DomNode& kept) { return m_document->Replace(node, Given(), kept); });
    expect(path, extended, [&](DomNode node, DomNode&) { return Append(node, Given()); });
  }
}

TEST_F(DomTest, GoesOnWithWhatWasTakenOut) {
  Load("<r><l><a-1.x><b/></a-1.x></l></r>");
  DomNode list = Node("//l");
  DomNode none = nullptr;
  ASSERT_EQ(m_document->Remove(Root(), list), kDomOk);
  EXPECT_EQ(m_document->DocumentElement(none), kDomNothing);
  EXPECT_EQ(Append(list, Given()), kDomOk);
  EXPECT_EQ(Replace(Node("a-1.x/b", list), Given()), kDomOk);
  EXPECT_EQ(Selected("..", list), "<r><l><a-1.x><n/></a-1.x><n/></l></r>");
  EXPECT_EQ(m_document->Remove(Node("..", list), list), kDomBadArgument);
  ASSERT_EQ(m_document->Replace(list, Given(), list), kDomOk);
  EXPECT_EQ(Xml(list), "<l><a-1.x><n/></a-1.x><n/></l>");
  EXPECT_EQ(m_document->Remove(list, list), kDomBadArgument);

  Load("<!--c--><r/>");
  EXPECT_LT(Replace(Root(), Given("//text()")), 0);
  EXPECT_EQ(Replace(Root(), Given("//comment()")), kDomOk);
  EXPECT_EQ(m_document->DocumentElement(none), kDomNothing);
  EXPECT_EQ(Replace(Node("/comment()"), Given()), kDomOk);
  EXPECT_EQ(Xml(), "<n/><!--n-->");
  EXPECT_LT(Replace(Node("/comment()"), Given()), 0) << "a second root";
}

TEST_F(DomTest, SeesNothingOfWhatWasRemoved) {
  Load("<r><Data><Size/></Data><Pen/></r>");
  ASSERT_EQ(Remove(Node("//Size")), kDomOk);
  ASSERT_EQ(Replace(Node("//Pen"), Given()), kDomOk);
  ASSERT_EQ(m_document->SetText(Node("//n"), "t"), kDomOk);
  ExpectSelected({{"(//*)[last()]", "<n>t</n>"},
                  {"//Data[not(//Size)]", "<Data/>"},
                  {"/*[count(/*)=1]", "<r><Data/><n>t</n></r>"},
                  {"//*[count(//*)=3]/Data", "<Data/>"},
                  {"/r[following::*]", "<nothing>"}});
}

TEST_F(DomTest, SetsAttributesWhosePrefixIsBound) {
  const std::string before = "<r xmlns:p=\"urn:p\"><a";
  struct {
    const char* name;
    const char* written;  // null for what cannot be set
  } const cases[] = {{"xml:lang", " xml:lang=\"v&amp;\""},
                     {"p:k", " p:k=\"v&amp;\""},
                     {"k", " k=\"v&amp;\""},
                     {"q:k", nullptr},
                     {"xmlns:p", nullptr},
                     {"xmlns:q", nullptr},
                     {"p:", nullptr},
                     {":k", nullptr},
                     {"xml:a:b", nullptr},
                     {"p:1", nullptr}};
  for (const auto& [name, written] : cases) {
    Load(before + "/></r>");
    const DomNode element = Node("//a");
    const DomResult expected = written != nullptr ? kDomOk : kDomBadArgument;
    EXPECT_EQ(m_document->SetAttribute(element, name, "before"), expected) << name;
    EXPECT_EQ(m_document->SetAttribute(element, name, "v&"), expected) << name;
    EXPECT_EQ(Xml(), before + (written != nullptr ? written : "") + "/></r>");
    std::string value;
    EXPECT_EQ(m_document->Attribute(element, name, value) == kDomOk, written != nullptr) << name;
    EXPECT_EQ(value, written != nullptr ? "v&" : "");
    EXPECT_EQ(Selected("//@*[namespace-uri()='urn:p']"),
              std::string_view(name) == "p:k" ? "p:k=\"v&amp;\"" : "<nothing>");
  }
}

// The namespace of an element that was there changed with the declaration.
TEST_F(DomTest, SettlesNamesWhenTheyAreMade) {
  const std::string cases[][4] = {
      {"<r><a/></r>", "/r", "urn:n", "<r xmlns=\"urn:n\"><a/><x/></r>"},
      {"<r xmlns=''><a/></r>", "/r", "urn:n", "<r xmlns=\"urn:n\"><a/><x/></r>"},
      {"<r xmlns=\"urn:r\"/>", "/*", "urn:n", ""},
      {"<r xmlns='urn:r'/>", "/*", "urn:r", "<r xmlns=\"urn:r\"><x xmlns=\"\"/></r>"},
      {"<r xmlns=\"urn:r\"><a xmlns=\"\"/></r>", "//a", "urn:r", ""},
      {"<p:r xmlns:p=\"urn:p\" xmlns=\"urn:r\"/>", "/*", "", ""}};
  for (const auto& [before, place, value, after] : cases) {
    Load(before);
    const bool isSet = !after.empty();
    EXPECT_EQ(m_document->SetAttribute(Node(place), "xmlns", value),
              isSet ? kDomOk : kDomBadArgument);
    if (!isSet) {
      EXPECT_EQ(Xml(), before);
      continue;
    }
    DomNode made = nullptr;
    ASSERT_EQ(m_document->CreateElement("x", made), kDomOk);
    ASSERT_EQ(m_document->AppendChild(Node(place), made), kDomOk);
    EXPECT_EQ(Xml(), after);
    std::string shown;
    EXPECT_EQ(m_document->Attribute(Node(place), "xmlns", shown), kDomOk);
    EXPECT_EQ(shown, value);
  }
}

// A name alone may be looked up by other means than a path is.
TEST_F(DomTest, FindsTheFirstOfAListWhateverWasDoneToIt) {
  std::mt19937 random(7);
  const auto name = [&] { return std::string("n").append(std::to_string(random() % 12)); };
  for (int list = 0; list < 40; ++list) {
    std::string entries;
    for (int i = 0; i < 15; ++i)
      entries.append("<").append(name()).append(random() % 4 == 0 ? " xmlns='n'/>t" : "/><!--c-->");
    Load(std::string("<l>").append(entries).append("</l>"));
    for (int step = 0; step < 40; ++step) {
      const std::string sought = name();
      EXPECT_EQ(Selected(sought, Root()), Selected(sought + "[1]", Root()));
      DomNode entry = nullptr;
      DomNode fresh = nullptr;
      const std::string place = random() % 3 == 0 ? "node()[7]" : sought;
      if (m_document->SelectNode(Root(), place, entry) != kDomOk) continue;
      ASSERT_EQ(m_document->CreateElement(random() % 2 == 0 ? sought : name(), fresh), kDomOk);
      const std::string value = std::to_string(step);
      ASSERT_EQ(m_document->SetAttribute(fresh, "k", value), kDomOk);
      switch (random() % 8) {
        case 0:
          EXPECT_EQ(Remove(entry), kDomOk);
          break;
        case 1:
          EXPECT_EQ(m_document->AppendChild(Root(), fresh), kDomOk);
          break;
        default:
          EXPECT_EQ(Replace(entry, fresh), kDomOk);
      }
    }
  }
}

TEST_F(DomTest, ReadsBackTheTextThatWasSet) {
  const std::string kept = "a & <b> ]]> \"c\" 'd' &amp; v\tw\nx\r\ny\rz caf\xE9 \x80";
  const std::pair<std::string, std::string> cases[] = {
      {"", ""}, {kept, kept}, {"a\x01z\x1F", "a?z?"}, {std::string("a\0b", 3), "a"}};
  for (const auto& [set, read] : cases) {
    Load("<r>t<a><b/></a><!--c--></r>");
    ASSERT_EQ(m_document->SetText(Root(), set), kDomOk);
    for (int times = 0; times < 2; ++times) {
      std::string text = "before";
      EXPECT_EQ(m_document->Text(Root(), text), kDomOk);
      EXPECT_EQ(text, read) << "written and read again " << times;
      Load(Xml());
    }
  }
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
