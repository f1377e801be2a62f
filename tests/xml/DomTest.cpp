// The contract of xml/Dom.h, on every DOM.

#include <fstream>
#include <list>
#include <random>
#include <thread>
#include <utility>

#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

using Text = std::string;

class DomTest : public CodecTest {
 protected:
  void SetUp() override { StartAnew(); }

  void StartAnew() {
    ASSERT_EQ(m_real.NewDocument(m_document), kDomOk);
    ASSERT_EQ(m_document->SelectXPath(), kDomOk);
  }

  void Load(const Text& text) {
    ASSERT_STREQ(m_gate.Pass(text).reason, nullptr) << text;
    ForgetNodes();
    bool loaded = false;
    ASSERT_EQ(m_document->LoadXml(text, loaded), kDomOk);
    ASSERT_TRUE(loaded) << text;
  }

  void ForgetNodes() {
    m_document->ForgetNodes();
    m_sources.clear();
    m_here = nullptr;
  }

  Text Xml(DomNode node = nullptr) {
    Text xml;
    EXPECT_EQ(m_document->Xml(node, xml), kDomOk);
    return WithoutIndentation(xml);
  }

  DomNode Root() {
    DomNode root = nullptr;
    EXPECT_EQ(m_document->DocumentElement(root), kDomOk);
    return root;
  }

  /// What a path selects, serialised; or its result in angle brackets.
  Text Selected(const Text& path, DomNode context = nullptr) {
    DomNode node = context;
    const DomResult result = m_document->SelectNode(context, path, node);
    EXPECT_EQ(node != nullptr, result == kDomOk) << path;
    if (result == kDomNothing) return "<nothing>";
    if (result == kDomNotImplemented) return "<not implemented>";
    return result == kDomOk ? Xml(node) : "<failed>";
  }

  DomNode Node(const Text& path, DomNode context = nullptr) {
    DomNode node = nullptr;
    EXPECT_EQ(m_document->SelectNode(context, path, node), kDomOk) << path;
    return node;
  }

  /// A fresh node out of the middle of another document.
  DomNode Given(const Text& path = "/in/n", const Text& text = "<in>\n <n/><!--n-->n</in>") {
    DomNode node = nullptr;
    bool loaded = false;
    auto& source = m_sources.emplace_back();
    EXPECT_EQ(m_real.NewDocument(source), kDomOk);
    EXPECT_EQ(source->LoadXml(text, loaded), kDomOk);
    EXPECT_EQ(source->SelectNode(nullptr, path, node), kDomOk);
    return node;
  }

  DomResult Append(DomNode parent, DomNode child) { return m_document->AppendChild(parent, child); }

  /// Takes a step: a verb, a path, and what else the verb needs.
  DomResult Take(const Text& step) {
    const auto [verb, behind] = Halves(step, ' ');
    if (verb == "forget") return ForgetNodes(), kDomOk;
    if (verb == "new") return m_document->CreateElement(behind, m_here);
    if (verb == "show") return Show(step == verb ? Xml() : Selected(behind, m_here));
    if (verb == "look") return Show(Selected(behind));
    const auto [path, arguments] = Halves(behind, ' ');
    const DomNode node = Node(path, verb == "place" ? nullptr : m_here);
    if (verb == "place") return m_document->AppendChild(node, m_here);
    if (verb == "at") return m_here = node, kDomOk;
    if (verb == "walk") return Show(Walked(node));
    if (verb == "remove") return m_document->Remove(node, m_here);
    if (verb == "text") return m_document->SetText(node, arguments);
    if (verb == "read") return Read(node, arguments);
    const auto [word, rest] = Halves(arguments, ' ');
    if (verb == "append") return Append(node, Given(word, rest));
    if (verb == "replace") return m_document->Replace(node, Given(word, rest), m_here);
    if (verb == "set") return m_document->SetAttribute(node, word, rest);
    Text value = "left alone";
    if (verb == "add") return Add(path == "/" ? nullptr : node, word, rest);
    const bool isThere = verb == "tell" ? m_document->Text(node, value) == kDomOk
                                        : m_document->Attribute(node, word, value) == kDomOk;
    EXPECT_TRUE(isThere || value == "left alone");
    return Show(isThere ? value : "<nothing>");
  }

  DomResult Show(const Text& text) {
    m_shown += " ; " + text;
    return kDomOk;
  }

  /// Adds an element, and attributes that are given as name=value.
  DomResult Add(DomNode parent, const Text& name, const Text& given) {
    std::list<std::pair<Text, Text>> pairs;
    std::vector<DomAttribute> attributes;
    for (const Text& one : Split(given, " ")) {
      if (one.empty()) continue;
      const auto& [key, value] = pairs.emplace_back(Halves(one, '='));
      attributes.push_back({key, value});
    }
    DomNode element = nullptr;
    const DomResult result = m_document->AddElement(parent, name, attributes, element);
    EXPECT_EQ(element != nullptr, result == kDomOk);
    return result;
  }

  /// A DOM may do without; what it does is what it does with a document of the text.
  DomResult Read(DomNode parent, const Text& text) {
    const DomResult result = m_document->ReadInto(parent, text);
    return m_document->ReadsInPlace() ? result : Append(parent, Given("/*", text));
  }

  /// The children of a node, each with its name if it has one.
  Text Walked(DomNode node) {
    Text walked;
    for (DomResult more = m_document->FirstChild(node, node); more == kDomOk;
         more = m_document->NextSibling(node, node)) {
      Text name = "-";
      DomNode element = nullptr;
      const bool isElement = m_document->AsElement(node, element) == kDomOk;
      EXPECT_EQ(m_document->BaseName(node, name) == kDomOk, isElement);
      EXPECT_EQ(element, isElement ? node : nullptr);
      walked += name + Xml(node);
    }
    return walked;
  }

  /// Plays a row of dom-texts.txt.
  void Play(const Text& row) {
    SCOPED_TRACE(row);
    const std::vector<Text> parts = Split(row, " =>");
    ASSERT_EQ(parts.size(), 3U);
    const std::vector<Text> answers = Split(parts[2], " ||");
    const Text expected = (kAnswersEveryPath ? answers.back() : answers.front()).substr(1);
    if (parts[1].empty()) return ExpectWritten(parts[0], expected);
    Load(parts[0]);
    m_shown.clear();
    for (const Text& step : Split(parts[1], " ;")) {
      const bool succeeds = step[1] != '!';
      EXPECT_EQ(Take(step.substr(succeeds ? 1 : 2)) == kDomOk, succeeds) << step;
    }
    EXPECT_EQ(m_shown.empty() ? Xml() : m_shown.substr(3), expected == "=" ? parts[0] : expected);
  }

  void ExpectWritten(const Text& read, const Text& written) {
    for (const Text& text : {read, written}) {
      Load(text);
      EXPECT_EQ(Xml(), written) << "written from " << text;
    }
  }

  std::unique_ptr<DomDocument> m_document;
  std::vector<std::unique_ptr<DomDocument>> m_sources;
  /// Where paths start, and what its owner goes on with when it is taken out.
  DomNode m_here = nullptr;
  Text m_shown;
};

TEST_F(DomTest, KeepsToItsContractStepByStep) {
  std::ifstream file(TLKC2_DOM_TEXTS);
  Text row;
  int rows = 0;
  for (Text line; std::getline(file, line);) {
    if (!line.starts_with(' ') && !row.empty()) Play(std::exchange(row, {})), ++rows;
    if (!line.starts_with('#'))
      row += row.empty() ? line : line.substr(line.find_first_not_of(' ') - 1);
  }
  Play(row);
  EXPECT_GT(rows, 50);
}

TEST_F(DomTest, WritesBackWhatItRead) {
  const Text end = kWrittenLineEnd;
  Text every;
  for (int byte = 0x80; byte < 0x100; ++byte) every += static_cast<char>(byte);
  const std::pair<Text, Text> cases[] = {
      {"<a>" + every + "</a>", "<a>" + every + "</a>"},
      {"<a> </a>", kWrittenBlankElement},
      {"<a>\n  <b/>\n</a>", "<a><b/></a>"},
      {"<a b='x\r\ny\tz'/>", "<a b=\"x y z\"/>"},
      {"<a>x\r\n</a>", "<a>x" + end + "</a>"},
      {"<a>x\r\ny\rz&#13;&#10;z</a>", "<a>x" + end + "y" + end + "z&#13;" + end + "z</a>"},
      {"<a><!--x\r\ny--><?p x\ry?><![CDATA[x\r\n<&]]></a>",
       "<a><!--x" + end + "y--><?p x" + end + "y?><![CDATA[x" + end + "<&]]></a>"},
      {"<a>&#x41;&#66;&#x20AC;&#xE9;</a>", "<a>AB\x80\xE9</a>"},
      {"<a b='&#x4E2D;'>&#x4E2D;<![CDATA[\xE9]]></a>", "<a b=\"?\">?<![CDATA[\xE9]]></a>"},
      {"<\xE9l\xE9ment \xE0='\xFF'/>", "<\xE9l\xE9ment \xE0=\"\xFF\"/>"},
  };
  for (const auto& [read, written] : cases) ExpectWritten(read, written);
}

TEST_F(DomTest, HoldsNothingAfterATextThatCannotBeRead) {
  for (const char* text : {"<a><b></a>", "<!--c-->", "t", ""}) {
    Load("<r/>");
    bool loaded = true;
    EXPECT_EQ(m_document->LoadXml(text, loaded), kDomOk);
    EXPECT_FALSE(loaded) << text;
    EXPECT_EQ(Xml(), "");
    DomNode root = nullptr;
    EXPECT_EQ(m_document->DocumentElement(root), kDomNothing);
  }
  Text reason;
  EXPECT_EQ(m_document->ParseErrorReason(reason), kDomOk);
  EXPECT_NE(reason, "");
  m_document = nullptr;
  StartAnew();
  EXPECT_EQ(Xml(), "") << "a document has something from one before it";
}

// A DOM answers a path rightly or says that it cannot: what is beside ASCII, wherever it stands.
TEST_F(DomTest, AnswersRightlyOrFails) {
  const auto known = [](const Text& selected) {
    return kAnswersEveryPath ? selected : "<not implemented>";
  };
  for (const Text place : {"<n\xE9/>", "<n \xE9=''/>", "<n k='\xE9'/>", "\xE9", "<!--\xE9-->"}) {
    Load("<r><d>cafe</d>" + place + "</r>");
    EXPECT_EQ(Selected("//d[substring(., 4, 1) = 'e']"), known("<d>cafe</d>")) << place;
    EXPECT_EQ(Selected("//d[. = 'cafe']"), "<d>cafe</d>");
  }
  Load("<r><d>cafe</d><d\xC0>caf\xE9</d\xC0></r>");
  for (const Text asked : {"string-length() = 4", "substring-after(., 'f') = '\xE9'",
                           "translate(., 'cf', 'CF') = 'CaF\xE9'"})
    EXPECT_EQ(Selected("/r/d\xC0[" + asked + "]/text()"), "caf\xE9") << asked;
  Load("<r><d>cafe</d></r>");
  for (const Text asked : {"translate(., '\xE9', 'e') = 'cafe'", "substring(., 4, 1) != '\xE9'",
                           "string(1.5) = '1.5'", "namespace::xml"})
    EXPECT_EQ(Selected("//d[" + asked + "]"), known("<d>cafe</d>")) << asked;
  EXPECT_EQ(Selected("//d[substring(., 4, 1) = 'e']"), "<d>cafe</d>");
}

TEST_F(DomTest, RefusesWhatCannotBeAName) {
  Load("<r/>");
  const Text good = "\xC9t\xE9-1._";
  for (const char* name : {"", " ", "a b", "1a", "-a", "a>", "a:b", "xmlns:p", "a=\"\"", "\xD7"}) {
    EXPECT_EQ(m_document->SetAttribute(Root(), good, "v"), kDomOk);
    EXPECT_EQ(m_document->SetAttribute(Root(), name, "v"), kDomBadArgument) << name;
    EXPECT_EQ(Add(Root(), name, ""), kDomBadArgument) << name;
  }
  EXPECT_EQ(Xml(), "<r " + good + "=\"v\"/>");
}

// A name alone may be looked up by other means than a path is.
TEST_F(DomTest, FindsTheFirstOfAListWhateverWasDoneToIt) {
  std::mt19937 random(7);
  const auto name = [&] { return "n" + std::to_string(random() % 12); };
  for (int list = 0; list < 40; ++list) {
    Text entries;
    for (int i = 0; i < 15; ++i)
      entries += "<" + name() + (random() % 4 == 0 ? " xmlns='n'/>t" : "/><!--c-->");
    Load("<l><o/>" + entries + "</l>");
    for (int step = 0; step < 40; ++step) {
      // It may take some searches before anything is remembered, and edits may end that.
      for (auto searches = random() % 24; searches > 0; --searches) {
        const Text sought = name();
        ASSERT_EQ(Selected(sought, Root()), Selected(sought + "[1]", Root()));
      }
      DomNode entry = nullptr;
      DomNode fresh = nullptr;
      const Text sought = name();
      const Text place = random() % 3 == 0 ? "node()[7]" : sought;
      if (m_document->SelectNode(Root(), place, entry) != kDomOk) continue;
      ASSERT_EQ(m_document->CreateElement(random() % 2 == 0 ? sought : name(), fresh), kDomOk);
      ASSERT_EQ(m_document->SetAttribute(fresh, "k", std::to_string(step)), kDomOk);
      DomNode kept = nullptr;
      const auto edit = random() % 8;
      EXPECT_EQ(edit == 0   ? m_document->AppendChild(Root(), fresh)
                : edit == 1 ? m_document->AppendChild(Node("o", Root()), fresh)
                : edit < 4  ? m_document->Remove(entry, kept)
                            : m_document->Replace(entry, fresh, kept),
                kDomOk);
    }
  }
}

TEST_F(DomTest, ReadsBackTheTextThatWasSet) {
  const Text kept = "a & <b> ]]> \"c\" 'd' &amp; v\tw\nx\r\ny\rz caf\xE9 \x80";
  const std::pair<Text, Text> cases[] = {
      {"", ""}, {kept, kept}, {"a\x01z\x1F", "a?z?"}, {Text("a\0b", 3), "a"}};
  for (const auto& [set, read] : cases) {
    Load("<r>t<a><b/></a><!--c--></r>");
    ASSERT_EQ(m_document->SetText(Root(), set), kDomOk);
    for (int times = 0; times < 2; ++times) {
      Text text = "before";
      EXPECT_EQ(m_document->Text(Root(), text), kDomOk);
      EXPECT_EQ(text, read) << "written and read again " << times;
      Load(Xml());
    }
  }
}

TEST_F(DomTest, ServesSeveralThreads) {
  const auto work = [&](int number) {
    const DomThread thread;
    for (int i = 0; i < 200; ++i) {
      const Text expected = "caf\xE9 " + std::to_string(number * i);
      TLK_XMLParser parser({m_real, m_text, m_gate, m_log}, "<a>" + expected + "</a>");
      Text text;
      ASSERT_EQ(parser.GetNode("/a[1]", text, true), 0);
      ASSERT_EQ(text, expected);
    }
  };
  std::vector<std::thread> threads;
  for (int number = 1; number <= 4; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tlk
